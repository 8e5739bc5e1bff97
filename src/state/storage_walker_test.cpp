#include "state/storage_walker.h"

#include "platform/concurrency/testing/manual_clock.h"
#include "platform/files/testing/occupied_bytes.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <filesystem>

namespace gateway::state {

namespace {

using namespace std::chrono_literals;

class Walker : public ::testing::Test
{
protected:
    void write(const QString &name, qsizetype size) const
    {
        ASSERT_TRUE(QDir().mkpath(QFileInfo(m_folder.filePath(name)).path()));
        QFile file(m_folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(QByteArray(size, 'x')), size);
    }

    void remove(const QString &name) const { ASSERT_TRUE(QFile::remove(m_folder.filePath(name))); }

    qint64 walk() { return m_walker.usedBytes(m_folder.path(), std::stop_token()); }

    /// What a walk that remembers nothing finds.
    qint64 naive() const { return platform::testing::occupiedBytes(m_folder.path()); }

    /// Sets the times of all folders back, as if their last change were long ago.
    void age() const
    {
        const auto old = std::filesystem::file_time_type::clock::now() - 1h;
        std::filesystem::last_write_time(m_folder.path().toStdString(), old);
        for (const auto &entry :
             std::filesystem::recursive_directory_iterator(m_folder.path().toStdString())) {
            if (entry.is_directory()) {
                std::filesystem::last_write_time(entry.path(), old);
            }
        }
    }

    /// Lets the walker know all folders as they are, none of them young.
    void settle()
    {
        age();
        walk();
        walk();
        ASSERT_EQ(m_walker.foldersRead(), 0);
    }

    QTemporaryDir m_folder;
    platform::testing::ManualClock m_clock{QDateTime::currentDateTimeUtc()};
    StorageWalker m_walker{m_clock};
};

} // namespace

TEST_F(Walker, AddsUpWhatFilesOfAllFoldersOccupy)
{
    write(QStringLiteral("10000/0.dcm"), 10'000);
    write(QStringLiteral("20000/1.dcm"), 1);
    write(QStringLiteral("20000/deep/2.dcm"), 70'000);

    EXPECT_EQ(walk(), naive());
    EXPECT_GE(walk(), 80'001);
}

TEST_F(Walker, LeavesHiddenFilesFoldersAndLinksOut)
{
    write(QStringLiteral("10000/0.dcm"), 10'000);
    const qint64 before = walk();

    write(QStringLiteral(".hidden"), 50'000);
    write(QStringLiteral(".private/copy"), 50'000);
    write(QStringLiteral("10000/.part"), 50'000);
    ASSERT_TRUE(
        QFile::link(m_folder.filePath(QStringLiteral(".hidden")), m_folder.filePath(QStringLiteral("link"))));

    EXPECT_EQ(walk(), before);
}

TEST_F(Walker, CountsNothingWhereThereIsNoFolder)
{
    EXPECT_EQ(m_walker.usedBytes(m_folder.filePath(QStringLiteral("missing")), std::stop_token()), 0);
}

TEST_F(Walker, ReadsNoFolderAgainThatHasNotChanged)
{
    write(QStringLiteral("10000/0.dcm"), 10'000);
    write(QStringLiteral("20000/1.dcm"), 10'000);
    settle();

    EXPECT_EQ(walk(), naive());
    EXPECT_EQ(m_walker.foldersRead(), 0);
}

TEST_F(Walker, ReadsOnlyTheFolderThatChanged)
{
    write(QStringLiteral("10000/0.dcm"), 10'000);
    write(QStringLiteral("20000/1.dcm"), 10'000);
    settle();

    write(QStringLiteral("20000/2.dcm"), 30'000);

    EXPECT_EQ(walk(), naive());
    EXPECT_EQ(m_walker.foldersRead(), 1);
}

TEST_F(Walker, SeesFilesAndFoldersThatWentAway)
{
    write(QStringLiteral("10000/0.dcm"), 10'000);
    write(QStringLiteral("20000/1.dcm"), 10'000);
    settle();

    remove(QStringLiteral("10000/0.dcm"));
    EXPECT_EQ(walk(), naive());
    ASSERT_TRUE(QDir(m_folder.filePath(QStringLiteral("20000"))).removeRecursively());
    EXPECT_EQ(walk(), naive());
    EXPECT_EQ(walk(), 0);
}

TEST_F(Walker, SeesAFileThatComesInTheSameTickOfTheVolumesClock)
{
    for (int i = 0; i < 200; ++i) {
        write(QStringLiteral("10000/%1.dcm").arg(i), 5'000);

        ASSERT_EQ(walk(), naive()) << "file " << i;
    }
}

TEST_F(Walker, AgreesWithANaiveWalkAfterAnyChanges)
{
    quint32 random = 1;
    const auto next = [&](quint32 below) {
        random = random * 1664525 + 1013904223;
        return (random >> 8) % below;
    };
    for (int step = 0; step < 300; ++step) {
        const QString name = QStringLiteral("%1/%2.dcm").arg(next(4)).arg(next(30));
        if (next(3) != 0 && !QFile::exists(m_folder.filePath(name))) {
            write(name, 1 + next(60'000));
        } else {
            QFile::remove(m_folder.filePath(name));
        }
        if (next(10) == 0) {
            age();
        }
        ASSERT_EQ(walk(), naive()) << "step " << step;
    }
}

TEST_F(Walker, StopsBetweenFolders)
{
    write(QStringLiteral("10000/0.dcm"), 10'000);
    std::stop_source stop;
    stop.request_stop();

    EXPECT_EQ(m_walker.usedBytes(m_folder.path(), stop.get_token()), 0);
    EXPECT_EQ(walk(), naive()) << "what was left out is read later";
}

TEST_F(Walker, MeasuresTheRoomOfTheVolumeAsWell)
{
    write(QStringLiteral("10000/0.dcm"), 10'000);

    const ReceivedStorageUsage usage = measureStorage(m_walker, m_folder.path(), std::stop_token());

    EXPECT_EQ(usage.usedBytes, naive());
    EXPECT_GT(usage.availableBytes, 0);
    EXPECT_EQ(measureStorage(m_walker, m_folder.filePath(QStringLiteral("missing")), std::stop_token()),
              ReceivedStorageUsage());
}

} // namespace gateway::state
