#include "index/testing/temporary_index.h"

#include "platform/files/testing/dying_file_system.h"
#include "platform/files/testing/forgetful_disk.h"

#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QRandomGenerator>

#include <gtest/gtest.h>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace gateway::index {

namespace {

using platform::testing::DyingFileSystem;
using platform::testing::ForgetfulDisk;
using platform::testing::kDied;
using testing::TemporaryIndex;

/// Three files of the study 1.2: two uploaded, one with 2 frames, and one that waits; and one of another
/// study.
void fill(TemporaryIndex &home)
{
    const QVariantMap frames{{QStringLiteral("numberOfFrames"), 2}};
    const QVariantMap elsewhere{{QStringLiteral("studyID"), QStringLiteral("8")}};
    for (const QString &path : {home.import(TemporaryIndex::image(QStringLiteral("9.1"), frames)),
                                home.import(TemporaryIndex::image(QStringLiteral("9.2")))}) {
        home.index().recordUploadResult({}, path, true);
    }
    home.import(TemporaryIndex::image(QStringLiteral("9.3")));
    home.import(TemporaryIndex::image(QStringLiteral("8.1"), elsewhere));
    home.clock.advance(std::chrono::milliseconds(1));
}

QStringList storedFiles(const TemporaryIndex &home)
{
    QStringList files;
    QDirIterator walk(home.fileStoreRoot(), QDir::Files, QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        files.append(walk.next().mid(home.fileStoreRoot().size() + 1));
    }
    files.sort();
    return files;
}

QStringList referredFiles(TemporaryIndex &home)
{
    QStringList files = home.rows(QStringLiteral("SELECT DISTINCT pathString FROM DicomImage"));
    files.sort();
    return files;
}

void expectEachRowHasItsFile(TemporaryIndex &home)
{
    const QStringList stored = storedFiles(home);
    for (const QString &path : referredFiles(home)) {
        EXPECT_TRUE(stored.contains(path)) << path.toStdString();
    }
}

/// After the next opening the disk holds what the rows refer to, and nothing else.
void expectNoOrphanAfterReopening(TemporaryIndex &home)
{
    home.reopen();
    expectEachRowHasItsFile(home);
    home.index().finishRemovals();
    EXPECT_EQ(storedFiles(home), referredFiles(home));
    EXPECT_EQ(home.number(QStringLiteral("SELECT count(*) FROM PendingRemoval")), 0);
}

using Operation = void (*)(TemporaryIndex &);

void prune(TemporaryIndex &home)
{
    home.index().pruneSyncedImages(home.clock.now());
}

void deleteStudy(TemporaryIndex &home)
{
    home.index().deleteStudies({QStringLiteral("1.2")});
}

void deleteSeries(TemporaryIndex &home)
{
    home.index().deleteSeries(QStringLiteral("1.2"), {QStringLiteral("1.2.30")});
}

/// The operation in a process of its own, which dies at a step. \return true when it came as far as the end.
bool survives(TemporaryIndex &home, DyingFileSystem &disk, Operation operation, int step)
{
    home.close();
    const pid_t child = ::fork();
    if (child == 0) {
        home.reopen();
        disk.dieBefore(step);
        operation(home);
        ::_exit(0);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && (WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == kDied)) << status;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

class DeletionCrash : public ::testing::TestWithParam<Operation>
{
};

} // namespace

TEST_P(DeletionCrash, AtAnyStepLeavesNoRowWithoutFileAndAfterTheNextOpeningNoOrphan)
{
    bool finished = false;
    int step = 0;
    for (; !finished; ++step) {
        SCOPED_TRACE(step);
        DyingFileSystem disk;
        TemporaryIndex home(disk);
        fill(home);

        finished = survives(home, disk, GetParam(), step);

        expectNoOrphanAfterReopening(home);
        EXPECT_GE(home.index().counts().total.images, 1) << "the other study";
    }
    EXPECT_GE(step, 4) << "two removals, a sync, and the whole way";
}

TEST_P(DeletionCrash, APowerCutBehindItBringsNothingBackForGood)
{
    QTemporaryDir volume;
    ForgetfulDisk disk(volume.path());
    TemporaryIndex home(disk, volume.filePath(QStringLiteral("Pavan Data")));
    fill(home);

    GetParam()(home);
    disk.cutPower();

    expectNoOrphanAfterReopening(home);
}

INSTANTIATE_TEST_SUITE_P(Of, DeletionCrash, ::testing::Values(prune, deleteStudy, deleteSeries));

TEST(PruneAndKill, LeavesNoRowWithoutFileAndIsFinishedByTheNextOne)
{
    const quint32 seed = QRandomGenerator::global()->generate();
    QRandomGenerator dice(seed);
    SCOPED_TRACE(QStringLiteral("seed %1").arg(seed).toStdString());
    for (int round = 0; round < 3; ++round) {
        TemporaryIndex home;
        for (int file = 0; file < 4; ++file) {
            const QVariantMap frames{{QStringLiteral("numberOfFrames"), 300}};
            const QString path = home.import(TemporaryIndex::image(QStringLiteral("7.%1").arg(file), frames));
            home.index().recordUploadResult({}, path, true);
        }
        fill(home);
        home.close();
        const pid_t child = ::fork();
        if (child == 0) {
            home.reopen();
            prune(home);
            ::_exit(0);
        }
        // Any moment will do; this many looks spread over the length of a prune.
        for (int look = dice.bounded(400); look > 0; --look) {
            storedFiles(home);
        }
        ::kill(child, SIGKILL);
        ASSERT_EQ(::waitpid(child, nullptr, 0), child);

        expectNoOrphanAfterReopening(home);
        prune(home);
        EXPECT_EQ(home.index().counts().total, (EntityCounts{2, 2, 2}));
        EXPECT_EQ(storedFiles(home).size(), 2);
    }
}

} // namespace gateway::index
