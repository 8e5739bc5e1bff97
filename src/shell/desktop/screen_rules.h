#pragma once

#include "platform/concurrency/main_executor.h"

#include <QtCore/QObject>
#include <QtCore/QString>

#include <memory>
#include <optional>

namespace gateway::account {
class AccountViewModel;
class CloudWatch;
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

    /// The preferences, as they were left.
    virtual void presentPreferences() = 0;

    /// The preferences at the account, where terms stand that wait for an answer.
    virtual void presentAccount() = 0;

    /// Whether the gateway is being set up: the wizard asks for all that it needs, the terms among it.
    virtual bool isSetupInTheWay() const = 0;
};

/// What an event of one screen means for the others: which comes, which gives way.
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
        state::GatewayAppState &appState;
        account::CloudWatch &cloudWatch;
        account::AccountViewModel &account;
    };

    explicit ScreenRules(const Collaborators &collaborators);

    /// The launch has shown the status item. Without a place for it on this desktop the dashboard follows, as
    /// the way in.
    void statusItemShown(bool hasPlace);

    /// The sheet for signing in is wanted; the dashboard presents it as soon as it is seen.
    void signInAskedFor();

    /// The preferences are wanted; they come with the next turn of the event loop, unless terms are required
    /// before, which lead to the account by themselves.
    void preferencesAskedFor();

    /// The account is wanted: asks for the preferences as everybody does, and has them come with the account.
    void accountAskedFor();

    /// The cloud wants its terms accepted: asks for them. Terms that wait for an answer bring their window to
    /// the front once a sign-in and version; from then on a person decides when to turn to them.
    void termsRequired();

    /// The terms were accepted: what is known of them is looked at again.
    void termsAccepted();

private:
    /// Terms that a person was led to.
    struct Presented
    {
        quint64 session = 0;
        QString version;

        bool operator==(const Presented &) const = default;
    };

    void termsChecked();

    const Collaborators m_collaborators;
    bool m_arePreferencesDue = false;
    bool m_isAccountWanted = false;
    std::optional<Presented> m_presented;
    std::shared_ptr<const bool> m_life = std::make_shared<const bool>(true);
    QObject m_context; // of what it is told
};

} // namespace gateway::shell
