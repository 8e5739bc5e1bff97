#pragma once

#include "upload/testing/fake_surroundings.h"
#include "upload/upload_run.h"

#include <gtest/gtest.h>

namespace gateway::upload::testing {

inline StoreUpload::ExecutionConfig
config(StoreUpload::ExecutionMode mode, int maxConcurrent = 2, int batchSize = 2)
{
    return {.mode = mode,
            .batchEnabled = mode == StoreUpload::ExecutionMode::parallelBatch,
            .maxConcurrent = maxConcurrent,
            .batchSize = batchSize,
            .compressionEnabled = true,
            .fetchLimit = maxConcurrent * 4};
}

/// One upload run over fakes.
struct UploadRunTest : ::testing::Test
{
    FakeSurroundings around;
    std::stop_source stop;

    StoreUpload::RunSummary run(const StoreUpload::ExecutionConfig &orders)
    {
        StoreUpload::RunSummary summary =
            UploadRun(around.collaborators, QStringLiteral("RUN"), orders, QStringLiteral("DEVICE"))
                .run(stop.get_token());
        around.main.drain();
        return summary;
    }

    QStringList storeMany(int count)
    {
        QStringList paths;
        for (int number = 0; number < count; ++number) {
            paths.append(around.store(QStringLiteral("1.%1").arg(number)));
        }
        return paths;
    }

    log::GatewayLogEvent onlyEvent(log::GatewayLogAction action) const
    {
        const auto events = around.log.events(action);
        EXPECT_EQ(events.size(), 1U);
        return events.empty() ? log::GatewayLogEvent() : events.front();
    }

    static QString detail(const log::GatewayLogEvent &event, const QString &key)
    {
        return event.details ? event.details->value(key) : QString();
    }
};

/// The rules that hold in every mode.
struct UploadRunInEachModeTest : UploadRunTest, ::testing::WithParamInterface<StoreUpload::ExecutionMode>
{
    StoreUpload::RunSummary run() { return UploadRunTest::run(config(GetParam())); }
};

} // namespace gateway::upload::testing
