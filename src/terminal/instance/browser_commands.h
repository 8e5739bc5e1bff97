#pragma once

#include "account/quorin_auth_view_model.h"
#include "browser/cloud_table.h"
#include "browser/local_table.h"
#include "platform/concurrency/task_scope.h"
#include "terminal/commands/browser_report.h"

#include <functional>
#include <memory>

namespace gateway::terminal {

/// What the running instance does for the commands that look at what the cloud and this machine hold, and
/// delete of it. A deletion ends behind the target at which it is when its caller goes away.
///
/// Owner: app. Thread: main.
class BrowserCommands
{
public:
    using Answer = std::function<void(ControlReply)>;

    /// \param auth  outlives this.
    BrowserCommands(const browser::CloudBrowserParts &cloud,
                    const browser::LocalBrowserParts &local,
                    const account::QuorinAuthViewModel &auth);

    /// Carries the request out if it is one of these; `answer` is called once then, now or later.
    ///
    /// \return false when it is about something else.
    bool handle(const ControlRequest &request, const Answer &answer);

private:
    QCoro::Task<> list(BrowserCommand command, std::stop_token hungUp, Answer answer);
    QCoro::Task<QStringList> namesInTable(BrowserCommand command);
    QCoro::Task<> removeUnlessAtFault(BrowserCommand command, std::stop_token hungUp, Answer answer);
    QCoro::Task<>
    remove(BrowserCommand command, index::OutsideCloud told, std::stop_token hungUp, Answer answer);
    std::unique_ptr<browser::BrowserTable> tableFor(const BrowserCommand &command) const;

    const browser::CloudBrowserParts m_cloud;
    const browser::LocalBrowserParts m_local;
    const account::QuorinAuthViewModel &m_auth;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::terminal
