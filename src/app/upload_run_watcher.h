#pragma once

#include "log/gateway_logging.h"
#include "platform/concurrency/mutex.h"

#include <QtCore/QDateTime>
#include <QtCore/QMap>
#include <QtCore/QString>

#include <functional>
#include <optional>
#include <utility>

namespace gateway::app {

/// What is known of the upload runs.
struct UploadRunFigures
{
    bool isRunning = false;
    QString mode;             ///< execution mode of the current or last run; empty before the first
    QDateTime lastFinishedAt; ///< UTC; invalid before the first run has ended
    std::optional<QMap<QString, QString>> last; ///< summary of the last run that ended, by its log keys
};

/// Passes every event on to the log, remembers what the events tell about upload runs, and says when the
/// cloud took something.
///
/// Owner: Gateway. Thread: any.
class UploadRunWatcher final : public log::GatewayLogging
{
public:
    /// \param log        outlives the watcher.
    /// \param succeeded  called on the thread of each upload that succeeded; never blocks. May be empty.
    explicit UploadRunWatcher(log::GatewayLogging &log, std::function<void()> succeeded = {})
        : m_log(log), m_succeeded(std::move(succeeded))
    {
    }

    void log(log::GatewayLogEvent event) override;

    UploadRunFigures figures() const;

private:
    log::GatewayLogging &m_log;
    const std::function<void()> m_succeeded;
    mutable platform::Mutex m_mutex;
    UploadRunFigures m_figures QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::app
