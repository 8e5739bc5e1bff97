#pragma once

#include "index/upload_failure.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/worker_pool.h"

#include <QtCore/QMap>
#include <QtCore/QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace gateway::monitor {

/// How many files failed last, by the class of the failure, and how many of them wait for their time. They
/// are counted away from the main thread: a cloud that refuses everything leaves very many.
///
/// Owner: Gateway, as a shared pointer. Thread: main.
class FailedFiles : public std::enable_shared_from_this<FailedFiles>
{
public:
    struct Counts
    {
        QMap<QString, qint64> byClass;
        index::WaitingRetries waiting;

        bool operator==(const Counts &) const = default;
    };

    /// Counts older than this are taken again.
    static constexpr std::chrono::seconds kFresh{10};

    struct Collaborators
    {
        platform::MainExecutor &main;
        platform::WorkerPool &pool;
        const platform::Clock &clock;
        std::function<Counts()> count; ///< on the pool
    };

    explicit FailedFiles(Collaborators collaborators) : m_collaborators(std::move(collaborators)) {}

    /// Counts, unless that is under way or was done a moment ago; returns at once.
    void refresh();

    /// As of the last count; empty before the first.
    const Counts &counts() const { return m_counts; }

private:
    void counted(const Counts &counts);

    const Collaborators m_collaborators;
    Counts m_counts;
    std::optional<std::chrono::nanoseconds> m_askedAt;
    bool m_isCounting = false;
};

} // namespace gateway::monitor
