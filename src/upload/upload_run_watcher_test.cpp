#include "upload/upload_run_watcher.h"

#include <gtest/gtest.h>

namespace gateway::upload {
namespace {

using StoreUpload::ExecutionMode;

const QDateTime kEnd(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC);

/// Counts what it is told.
struct CountingObserver final : RunObserver
{
    void runStarted(const StoreUpload::ExecutionConfig &) override { ++starts; }
    void runFinished(const StoreUpload::RunSummary &summary, const QDateTime &) override
    {
        uploads += summary.successfulUploads;
    }
    void requestSucceeded(qint64 size) override { bytes += size; }
    void fileEnded(bool isSynced) override { synced += isSynced ? 1 : 0; }

    int starts = 0;
    std::int64_t uploads = 0;
    qint64 bytes = 0;
    int synced = 0;
};

} // namespace

TEST(UploadRunWatcher, KnowsARunFromItsStartToItsEnd)
{
    UploadRunWatcher watcher;
    EXPECT_FALSE(watcher.figures().isRunning);
    EXPECT_FALSE(watcher.figures().mode);
    EXPECT_FALSE(watcher.figures().last);

    watcher.runStarted({.mode = ExecutionMode::parallelFile});
    EXPECT_TRUE(watcher.figures().isRunning);
    EXPECT_EQ(watcher.figures().mode, ExecutionMode::parallelFile);
    EXPECT_FALSE(watcher.figures().last);

    watcher.runFinished({.successfulUploads = 3}, kEnd);
    EXPECT_FALSE(watcher.figures().isRunning);
    EXPECT_EQ(watcher.figures().mode, ExecutionMode::parallelFile);
    EXPECT_EQ(watcher.figures().last->summary.successfulUploads, 3);
    EXPECT_EQ(watcher.figures().last->at, kEnd);
}

TEST(RunObservers, TellEachOfThemEverything)
{
    CountingObserver one;
    CountingObserver other;
    RunObservers all({&one, &other});

    all.runStarted({});
    all.runFinished({.successfulUploads = 7}, kEnd);
    all.requestSucceeded(500);
    all.fileEnded(true);
    all.fileEnded(false);

    for (const CountingObserver &told : {one, other}) {
        EXPECT_EQ(told.starts, 1);
        EXPECT_EQ(told.uploads, 7);
        EXPECT_EQ(told.bytes, 500);
        EXPECT_EQ(told.synced, 1);
    }
}

} // namespace gateway::upload
