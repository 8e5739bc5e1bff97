#include "cloud/store/instance_store.h"

#include "cloud/store/mapped_file.h"
#include "cloud/testing/dicom_builder.h"

#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <system_error>

namespace gateway::cloud {
namespace {

using testing::sampleFile;
using testing::sampleNumber;

class InstanceStoreTest : public ::testing::Test
{
protected:
    InstanceStore opened() const { return InstanceStore(home.path() + QStringLiteral("/data"), true); }

    static NewInstance placed(const InstanceStore &store, const QByteArray &bytes)
    {
        const auto part = store.newPart();
        part->write({bytes.constData(), static_cast<std::size_t>(bytes.size())});
        return store.place(*part);
    }

    /// The files below `folder` of the data folder.
    int filesIn(const QString &folder) const
    {
        QDirIterator files(
            home.path() + QStringLiteral("/data/") + folder, QDir::Files, QDirIterator::Subdirectories);
        int count = 0;
        while (files.hasNext()) {
            files.next();
            ++count;
        }
        return count;
    }

    QTemporaryDir home;
};

const QString kInstances = QStringLiteral("instances");
const QString kIncoming = QStringLiteral("incoming");

TEST_F(InstanceStoreTest, KeepsWhatWasCommittedByteForByte)
{
    const QByteArray file = sampleFile();
    {
        InstanceStore store = opened();
        store.commit({placed(store, file)});
    }

    const InstanceStore store = opened();

    const std::vector<StoredInstance> stored = store.index().instances({});
    ASSERT_EQ(stored.size(), 1U);
    QFile kept(store.pathOf(stored[0].file));
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.readAll(), file);
}

TEST_F(InstanceStoreTest, SweepsWhatACrashLeftBetweenPlacingAndCommitting)
{
    {
        InstanceStore store = opened();
        store.commit({placed(store, sampleFile(sampleNumber(1)))});
        placed(store, sampleFile(sampleNumber(2)));
        QFile unfinished(home.path() + QStringLiteral("/data/incoming/x.part"));
        ASSERT_TRUE(unfinished.open(QIODevice::WriteOnly));
        ASSERT_EQ(filesIn(kInstances), 2);
    }

    const InstanceStore store = opened();

    EXPECT_EQ(store.index().totals().instances, 1);
    EXPECT_EQ(filesIn(kInstances), 1);
    EXPECT_EQ(filesIn(kIncoming), 0);
}

TEST_F(InstanceStoreTest, LeavesNothingOfAPartThatWasDropped)
{
    const InstanceStore store = opened();

    {
        const auto part = store.newPart();
        part->write("half a file");
        EXPECT_EQ(filesIn(kIncoming), 1);
        EXPECT_THROW(store.place(*part), DicomFormatError);
    }

    EXPECT_EQ(filesIn(kIncoming), 0);
    EXPECT_EQ(filesIn(kInstances), 0);
}

TEST_F(InstanceStoreTest, KnowsNothingOfACommitThatFailed)
{
    InstanceStore store = opened();
    const NewInstance kept = placed(store, sampleFile(sampleNumber(1)));
    const NewInstance lost = placed(store, sampleFile(sampleNumber(2)));
    ASSERT_TRUE(QFile::remove(store.pathOf(lost.file)));

    EXPECT_THROW(store.commit({kept, lost}), std::system_error);

    EXPECT_EQ(store.index().totals().instances, 0);
    EXPECT_EQ(filesIn(kInstances), 0);
}

TEST_F(InstanceStoreTest, RemovesTheFilesOfWhatIsDeletedOrReplaced)
{
    InstanceStore store = opened();
    store.commit({placed(store, sampleFile(sampleNumber(1))), placed(store, sampleFile(sampleNumber(2)))});

    store.commit({placed(store, sampleFile(sampleNumber(2)))});
    EXPECT_EQ(filesIn(kInstances), 2);
    EXPECT_EQ(store.remove({QStringLiteral("1.2.3"), std::nullopt, std::nullopt}), 2U);

    EXPECT_EQ(filesIn(kInstances), 0);
}

TEST_F(InstanceStoreTest, SaysSoWhenItsFolderCantBeMade)
{
    QFile inTheWay(home.path() + QStringLiteral("/data"));
    ASSERT_TRUE(inTheWay.open(QIODevice::WriteOnly));

    EXPECT_THROW(opened(), std::system_error);
}

TEST(MappedFile, TakesAnEmptyFileAndRefusesAMissingOne)
{
    QTemporaryDir home;
    QFile empty(home.filePath(QStringLiteral("empty")));
    ASSERT_TRUE(empty.open(QIODevice::WriteOnly));

    EXPECT_TRUE(MappedFile(empty.fileName()).bytes().empty());
    EXPECT_THROW(MappedFile(home.filePath(QStringLiteral("missing"))), std::system_error);
}

} // namespace
} // namespace gateway::cloud
