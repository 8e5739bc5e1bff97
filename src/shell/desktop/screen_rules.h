#pragma once

#include "platform/concurrency/task_scope.h"

#include <QCoro/QCoroTask>
#include <QtCore/QString>

#include <memory>

namespace gateway::account {
class CloudWatch;
class GatewayQuorinCloudTermsCoordinator;
class QuorinAuthViewModel;
} // namespace gateway::account

namespace gateway::platform {
class NotificationCenter;
}

namespace gateway::state {
class GatewayAppState;
}

namespace gateway::shell {

/// What the rules may put before a person. Owner: whoever has the windows. Thread: main.
class Screens
{
public:
    virtual ~Screens() = default;

    /// The settings, which may be left unchanged.
    virtual void presentPreferences() = 0;

    /// The terms that wait for an answer, over the dashboard, which comes to the front.
    virtual void presentTerms() = 0;

    /// There are terms to be answered, and they can't be had.
    virtual void tellTermsProblem(const QString &why) = 0;
};

/// What an event of one screen means for the others: which comes, which gives way, what an answer ends.
///
/// Owner: DesktopScreens. Thread: main.
class ScreenRules
{
public:
    /// What the rules work with; all of it outlives them.
    struct Collaborators
    {
        Screens &screens;
        platform::NotificationCenter &notifications; ///< windows are asked for through these
        platform::MainExecutor &main;
        platform::WorkerPool &networkPool;
        state::GatewayAppState &appState;
        account::QuorinAuthViewModel &auth;
        account::CloudWatch &cloudWatch;
        account::GatewayQuorinCloudTermsCoordinator &terms; ///< those that the screens show
    };

    explicit ScreenRules(const Collaborators &with);

    /// The launch has shown the status item. Without a place for it on this desktop the dashboard follows, as
    /// the way in.
    void statusItemShown(bool hasPlace);

    /// The sheet for signing in is wanted; the dashboard presents it as soon as it is seen.
    void signInAskedFor();

    /// The settings are wanted; they come with the next turn of the event loop, unless terms are required
    /// before: these have a sheet of their own.
    void preferencesAskedFor();

    /// The cloud wants its terms accepted: asks for them, and has them presented unless they were answered
    /// meanwhile.
    void termsRequired();

    /// The terms on the sheet were accepted: what is known of them is looked at again.
    void termsAccepted();

    /// The terms on the sheet were declined, which ends the session.
    void termsDeclined();

private:
    QCoro::Task<> loadTerms();

    const Collaborators m_with;
    bool m_arePreferencesDue = false;
    std::shared_ptr<const bool> m_life = std::make_shared<const bool>(true);
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::shell
