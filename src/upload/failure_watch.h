#pragma once

#include "core/failure_class.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/worker_pool.h"
#include "upload/failure_figures.h"

#include <QtCore/QList>
#include <QtCore/QObject>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace gateway::upload {

/// Why most of the images that could not be sent were not, as of the last reading of the index.
///
/// Owner: who shows it. Thread: main; the index is read on the pool.
class FailureWatch final : public QObject
{
    Q_OBJECT

public:
    struct Collaborators
    {
        platform::MainExecutor &main;
        platform::WorkerPool &pool;
        const platform::Clock &clock;
        std::function<QList<FailureFigure>()> read; ///< on the pool
    };

    /// The index is read at most this often: a cloud that refuses everything fails very many.
    static constexpr std::chrono::seconds kPause{2};

    explicit FailureWatch(const Collaborators &collaborators);

    /// Nothing before the first reading, or while nothing has failed.
    std::optional<core::FailureClass> mostFrequent() const { return m_mostFrequent; }

    /// Reads again, unless that was done a moment ago.
    void refresh();

Q_SIGNALS:
    /// Another reason is the most frequent one.
    void changed();

private:
    void show(const QList<FailureFigure> &figures);

    const Collaborators m_collaborators;
    std::optional<core::FailureClass> m_mostFrequent;
    std::optional<std::chrono::nanoseconds> m_readAt;
    std::shared_ptr<const bool> m_life = std::make_shared<const bool>(true);
};

} // namespace gateway::upload
