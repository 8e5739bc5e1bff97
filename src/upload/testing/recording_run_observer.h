#pragma once

#include "upload/run_observer.h"

#include <atomic>

namespace gateway::upload::testing {

/// Counts what it is told. Thread: any.
class RecordingRunObserver final : public RunObserver
{
public:
    void runStarted(const StoreUpload::ExecutionConfig &) override { ++startedRuns; }
    void runFinished(const StoreUpload::RunSummary &, const QDateTime &) override { ++finishedRuns; }
    void requestSucceeded(qint64 bytes) override
    {
        ++requests;
        sentBytes += bytes;
    }
    void fileEnded(bool isSynced) override { ++(isSynced ? syncedFiles : failedFiles); }

    std::atomic<int> startedRuns = 0;
    std::atomic<int> finishedRuns = 0;
    std::atomic<int> requests = 0;
    std::atomic<qint64> sentBytes = 0;
    std::atomic<int> syncedFiles = 0;
    std::atomic<int> failedFiles = 0;
};

} // namespace gateway::upload::testing
