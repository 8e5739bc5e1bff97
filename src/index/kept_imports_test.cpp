#include "index/testing/temporary_index.h"
#include "platform/files/files.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <gtest/gtest.h>

namespace gateway::index {

namespace {

using testing::TemporaryIndex;

/// Whether what an import wrote is kept without the file that it came in.
struct KeptImports : ::testing::Test
{
    ImportedFileSummary import(const QString &path)
    {
        home.clock.advance(std::chrono::milliseconds(1));
        return index.importFile(QUrl::fromLocalFile(path), ImportSource::ownInbox);
    }

    /// A file as the listener leaves it, acknowledged at this second.
    QString receive(std::chrono::seconds acknowledged, const QString &comment)
    {
        const QString path = home.path(QStringLiteral("inbox-%1.dcm").arg(++received));
        testing::writeSyntheticFile(
            path, TemporaryIndex::image(QStringLiteral("9.1"), {{QStringLiteral("ImageComments"), comment}}));
        platform::systemFiles().setModified(path, acknowledged);
        return path;
    }

    static void lose(const ImportedFileSummary &imported)
    {
        ASSERT_TRUE(QFile::remove(imported.storedFile.toLocalFile()));
    }

    TemporaryIndex home;
    DicomDB &index = home.index();
    int received = 0;
};

constexpr std::chrono::seconds kMorning{1'700'000'000};
constexpr std::chrono::seconds kNoon{1'700'010'000};

} // namespace

TEST_F(KeptImports, AreThoseWhoseFileIsThereOrThatNobodyNeedsAnyMore)
{
    const ImportedFileSummary imported = import(receive(kMorning, QStringLiteral("an image")));
    EXPECT_EQ(index.isKept(imported), true);

    lose(imported);
    EXPECT_EQ(index.isKept(imported), false);
    const QString root = home.fileStoreRoot();
    ASSERT_TRUE(QDir().rename(root, root + QStringLiteral("-away")));
    EXPECT_EQ(index.isKept(imported), std::nullopt) << "it can't be asked";
    ASSERT_TRUE(QDir().rename(root + QStringLiteral("-away"), root));

    ImportedFileSummary ofAnotherStore = imported;
    ++ofAnotherStore.store.number;
    EXPECT_EQ(index.isKept(ofAnotherStore), false) << "the name is another image's, or nobody's";

    index.recordUploadResult({}, imported.storagePath, true);
    EXPECT_EQ(index.isKept(imported), true) << "the cloud has it";
    home.execute(QStringLiteral("DELETE FROM DicomImage"));
    EXPECT_EQ(index.isKept(imported), true) << "let go of";
}

/// From another volume a file gets another name in the store at each import, and only the first one stays.
TEST_F(KeptImports, OfAnotherNameRestOnTheOneThatStays)
{
    const QString path = receive(kMorning, QStringLiteral("an image"));
    const QString copy = path + QStringLiteral("-copy");
    ASSERT_TRUE(QFile::copy(path, copy));
    platform::systemFiles().setModified(copy, kMorning);
    const ImportedFileSummary first = import(path);
    const ImportedFileSummary again = import(copy);
    ASSERT_NE(first.storagePath, again.storagePath);
    ASSERT_FALSE(QFile::exists(again.storedFile.toLocalFile()));
    EXPECT_EQ(index.isKept(again), true);

    lose(first);

    EXPECT_EQ(index.isKept(again), false);
    EXPECT_EQ(index.isKept(import(copy)), true) << "it has taken the place";
}

TEST_F(KeptImports, ThatWereSupersededUnsentAreKeptWhileTheirOwnFileIs)
{
    const ImportedFileSummary earlier = import(receive(kMorning, QStringLiteral("an image")));
    const ImportedFileSummary later = import(receive(kNoon, QStringLiteral("corrected")));
    EXPECT_EQ(index.isKept(earlier), true);

    lose(earlier);

    EXPECT_EQ(index.isKept(earlier), false);
    EXPECT_EQ(index.isKept(later), true);
}

/// Or it would come again and take the place of one that was lost, of which nobody would hear.
TEST_F(KeptImports, ThatWereSentDoNotRestOnWhatCameLater)
{
    const ImportedFileSummary earlier = import(receive(kMorning, QStringLiteral("an image")));
    index.recordUploadResult({}, earlier.storagePath, true);
    const ImportedFileSummary later = import(receive(kNoon, QStringLiteral("corrected")));

    lose(later);

    EXPECT_EQ(index.isKept(earlier), true);
    EXPECT_EQ(index.isKept(later), false);
}

} // namespace gateway::index
