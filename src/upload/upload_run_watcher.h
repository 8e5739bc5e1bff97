#pragma once

#include "log/gateway_logging.h"
#include "platform/concurrency/mutex.h"
#include "state/upload_run_figures.h"

#include <functional>
#include <utility>

namespace gateway::upload {

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

    state::UploadRunFigures figures() const;

private:
    log::GatewayLogging &m_log;
    const std::function<void()> m_succeeded;
    mutable platform::Mutex m_mutex;
    state::UploadRunFigures m_figures QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::upload
