#include "index/testing/temporary_index.h"

#include <QtCore/QRandomGenerator>

#include <gtest/gtest.h>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <latch>
#include <thread>
#include <vector>

namespace gateway::index {

namespace {

using testing::SyntheticParser;
using testing::TemporaryIndex;

/// The acknowledgements of a child process that imports, one number a finished import.
class Acknowledgements
{
public:
    Acknowledgements()
    {
        if (::pipe(m_ends) != 0) {
            throw std::runtime_error("no pipe");
        }
    }
    ~Acknowledgements()
    {
        ::close(m_ends[0]);
        closeWriting();
    }
    Acknowledgements(const Acknowledgements &) = delete;
    Acknowledgements &operator=(const Acknowledgements &) = delete;

    void send(int number) const
    {
        EXPECT_EQ(::write(m_ends[1], &number, sizeof number), ssize_t{sizeof number});
    }
    bool receive(int &number) const
    {
        return ::read(m_ends[0], &number, sizeof number) == ssize_t{sizeof number};
    }
    void closeWriting()
    {
        if (m_ends[1] >= 0) {
            ::close(std::exchange(m_ends[1], -1));
        }
    }

private:
    int m_ends[2] = {-1, -1};
};

QString uidOf(int number)
{
    return QStringLiteral("9.%1").arg(number);
}

[[noreturn]] void importUntilKilled(TemporaryIndex &home, const Acknowledgements &done, int first)
{
    home.reopen();
    DBService service(home.index(), ImportSource::ownInbox);
    for (int number = first;; ++number) {
        const QVariantMap frames{{QStringLiteral("numberOfFrames"), 1 + number % 3}};
        const QUrl inbox = home.file(TemporaryIndex::image(uidOf(number), frames),
                                     QStringLiteral("inbox-%1.dcm").arg(number));
        service.importFile(inbox);
        QFile::remove(inbox.toLocalFile());
        done.send(number);
    }
}

// Every acknowledged image has all its rows, and they lead to the whole file.
void expectAllThere(TemporaryIndex &home, int acknowledged)
{
    for (int number = 0; number < acknowledged; ++number) {
        const QStringList rows =
            home.rows(QStringLiteral("SELECT pathString FROM DicomImage WHERE originalSOPInstanceUID = '%1'")
                          .arg(uidOf(number)));
        ASSERT_EQ(rows.size(), 1 + number % 3) << number;
        const platform::ParsedFile file = home.parser.parse(home.index().fileURL(rows[0]).toLocalFile());
        ASSERT_EQ(file.fate, platform::ParsedFile::Fate::parsed) << number;
        EXPECT_EQ(file.elements.value(QStringLiteral("SOPUID")).toString(), uidOf(number));
    }
}

} // namespace

TEST(ImportAndKill, EveryAcknowledgedImportIsThereWholeAfterwards)
{
    const quint32 seed = QRandomGenerator::global()->generate();
    QRandomGenerator dice(seed);
    SCOPED_TRACE(QStringLiteral("seed %1").arg(seed).toStdString());
    TemporaryIndex home;
    home.close();
    int next = 0;

    for (int round = 0; round < 6; ++round) {
        Acknowledgements done;
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            importUntilKilled(home, done, next);
        }
        done.closeWriting();
        const int wanted = next + dice.bounded(1, 25);
        int number = 0;
        while (next < wanted && done.receive(number)) {
            ASSERT_EQ(number, next++);
        }
        ::kill(child, SIGKILL);
        while (done.receive(number)) { // what it managed to say before it died
            ASSERT_EQ(number, next++);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;

        home.reopen();
        expectAllThere(home, next);
        home.close();
    }
}

TEST(DicomDBThreads, ImportUploadAndCountAtTheSameTime)
{
    constexpr int kImporters = 8;
    constexpr int kImages = 12;
    TemporaryIndex home;
    DicomDB &index = home.index();
    std::atomic<int> importing = kImporters;
    std::latch start(kImporters + 2);
    std::vector<std::thread> threads;
    threads.reserve(kImporters + 2);
    for (int importer = 0; importer < kImporters; ++importer) {
        threads.emplace_back([&, importer] {
            start.arrive_and_wait();
            for (int image = 0; image < kImages; ++image) {
                index.importFile(home.file(TemporaryIndex::image(uidOf(importer * kImages + image)),
                                           QStringLiteral("source-%1.dcm").arg(importer)));
            }
            --importing;
        });
    }
    std::int64_t uploaded = 0;
    threads.emplace_back([&] {
        start.arrive_and_wait();
        for (bool last = false; !last;) {
            last = importing == 0;
            for (const PendingImageUpload &candidate : index.pendingImageUploads(5)) {
                index.markImagesInProgress(candidate.imageObjectIDs);
                uploaded += index.recordUploadResult(candidate.imageObjectIDs, candidate.storagePath, true)
                                .value_or(0);
                last = false;
            }
        }
    });
    threads.emplace_back([&] {
        start.arrive_and_wait();
        while (importing > 0) {
            const EntityCounts counts = index.counts().total;
            EXPECT_LE(counts.images, kImporters * kImages);
            EXPECT_LE(index.studySnapshots().size(), 1);
            EXPECT_LE(index.seriesSnapshots(QStringLiteral("1.2")).size(), 1);
        }
    });
    for (std::thread &thread : threads) {
        thread.join();
    }

    EXPECT_EQ(uploaded, kImporters * kImages);
    EXPECT_EQ(index.counts().syncedImages, kImporters * kImages);
    EXPECT_EQ(index.counts().notSynced, (EntityCounts{0, 0, 0}));
    EXPECT_EQ(home.number(QStringLiteral("SELECT count(DISTINCT pathString) FROM DicomImage")),
              kImporters * kImages)
        << "no number was given twice";
}

TEST(DicomDBAnnouncements, ShareOnePostUntilItRunsAndMissNoChange)
{
    TemporaryIndex home;
    int seen = 0;
    const auto token = home.notifications.observe(QStringLiteral("QuorinGateway.localSyncStateChanged"),
                                                  [&](const QVariantMap &) {
                                                      if (++seen == 1) {
                                                          home.index().postLocalSyncStateChanged();
                                                      }
                                                  });

    home.index().postLocalSyncStateChanged();
    home.index().postLocalSyncStateChanged();
    EXPECT_EQ(seen, 0) << "posted from the main thread's queue, never in place";
    home.main.drain();

    EXPECT_EQ(seen, 2) << "one for both, and one for the change that came while it ran";
}

TEST(DicomDBAnnouncements, OutliveTheIndex)
{
    TemporaryIndex home;
    home.index().postLocalSyncStateChanged();

    home.close();

    EXPECT_EQ(home.announcements(), 1);
}

} // namespace gateway::index
