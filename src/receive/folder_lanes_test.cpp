#include "receive/folder_lanes.h"

#include <gtest/gtest.h>

#include <atomic>
#include <semaphore>

namespace gateway::receive {
namespace {

const QString kDead = QStringLiteral("/dead");
const QString kSound = QStringLiteral("/sound");

TEST(FolderLanes, GoOnInOtherFoldersWhileOneDoesNotAnswer)
{
    platform::WorkerPool pool(QStringLiteral("test"), FolderLanes::kThreads);
    FolderLanes lanes(pool);
    std::counting_semaphore<> answers(0);
    std::atomic<int> atOnce = 0;
    std::atomic<int> most = 0;
    constexpr int kFiles = 10 * FolderLanes::kAtOnce;
    for (int file = 0; file < kFiles; ++file) {
        lanes.run(kDead, [&] {
            most = std::max(most.load(), ++atOnce);
            answers.acquire();
            --atOnce;
        });
    }

    std::binary_semaphore done(0);
    for (int file = 0; file < kFiles; ++file) {
        lanes.run(kSound, [&done, isLast = file == kFiles - 1] {
            if (isLast) {
                done.release();
            }
        });
    }
    done.acquire();

    answers.release(kFiles);
    pool.waitUntilIdle();
    EXPECT_EQ(most, FolderLanes::kAtOnce);
    EXPECT_EQ(atOnce, 0);
}

TEST(FolderLanes, GoOnInOneFolderWhileFiveDoNotAnswer)
{
    platform::WorkerPool pool(QStringLiteral("test"), FolderLanes::kThreads);
    FolderLanes lanes(pool);
    std::counting_semaphore<> answers(0);
    constexpr int kFiles = 10;
    constexpr int kFolders = 5;
    for (int folder = 0; folder < kFolders; ++folder) {
        for (int file = 0; file < kFiles; ++file) {
            lanes.run(kDead + QString::number(folder), [&answers] { answers.acquire(); });
        }
    }

    std::binary_semaphore done(0);
    lanes.run(kSound, [&done] { done.release(); });
    done.acquire();

    answers.release(kFiles * kFolders);
    pool.waitUntilIdle();
}

TEST(FolderLanes, DoWhatIsQueuedAlsoWhenTheyAreGone)
{
    platform::WorkerPool pool(QStringLiteral("test"), 2);
    std::atomic<int> done = 0;
    constexpr int kFiles = 3 * FolderLanes::kAtOnce;
    {
        FolderLanes lanes(pool);
        for (int file = 0; file < kFiles; ++file) {
            lanes.run(kSound, [&done] { ++done; });
        }
    }

    pool.waitUntilIdle();

    EXPECT_EQ(done, kFiles);
}

} // namespace
} // namespace gateway::receive
