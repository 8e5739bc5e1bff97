#include "upload/store_upload_coordinator.h"

#include "upload/testing/fake_surroundings.h"
#include "upload/upload_run.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <thread>
#include <vector>

namespace gateway::upload {

using StoreUpload::ExecutionConfig;

TEST(StoreUploadCoordinatorWithRuns, SendsEveryFileThatThreadsStoreAndAskFor)
{
    constexpr int kThreads = 4;
    constexpr int kFilesEach = 30;
    testing::FakeSurroundings around;
    const ExecutionConfig orders = {.mode = StoreUpload::ExecutionMode::parallelBatch,
                                    .maxConcurrent = 2,
                                    .batchSize = 2,
                                    .compressionEnabled = true,
                                    .fetchLimit = 8};
    auto coordinator = std::make_unique<StoreUploadCoordinator>(StoreUploadCoordinator::Collaborators{
        around.emitter,
        around.observer,
        around.clock,
        around.index,
        [&] { return orders; },
        [&](const QString &runId, const ExecutionConfig &config, const std::stop_token &stop) {
            return UploadRun(around.collaborators, runId, config, QStringLiteral("DEVICE")).run(stop);
        },
        [] { return 0.0; }});
    {
        std::vector<std::jthread> receivers;
        receivers.reserve(kThreads);
        for (int thread = 0; thread < kThreads; ++thread) {
            receivers.emplace_back([&, thread] {
                for (int number = 0; number < kFilesEach; ++number) {
                    around.store(QStringLiteral("%1.%2").arg(thread).arg(number));
                    coordinator->requestUploadRun(QStringLiteral("receive_import_succeeded"));
                }
            });
        }
    }

    // No request comes any more: the run that a last one asked for must find the last file.
    while (around.index.count(testing::RowState::synced) < kThreads * kFilesEach) {
        std::this_thread::yield();
    }
    coordinator.reset();
    around.main.drain();
    EXPECT_EQ(around.cloud.attempts().size(), kThreads * kFilesEach);
    EXPECT_TRUE(std::ranges::all_of(around.cloud.attempts(), [](int attempts) { return attempts == 1; }));
}

} // namespace gateway::upload
