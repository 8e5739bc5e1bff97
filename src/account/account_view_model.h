#pragma once

#include "account/gateway_account_settings_view_model.h"
#include "account/gateway_quorin_cloud_terms_coordinator.h"
#include "account/quorin_auth_view_model.h"
#include "platform/concurrency/task_scope.h"

#include <QCoro/QCoroTask>

#include <QtCore/QObject>
#include <QtCore/QString>

#include <optional>

namespace gateway::account {

/// What the account of this machine is made of; all outlive it.
struct AccountParts
{
    QuorinAuthViewModel &auth;
    cloud_client::QrnUserAPIProtocol &user;
    GatewayQuorinCloudTermsParts terms;
};

/// The account as a person sees it: who is signed in, the profile, the terms that wait for an answer. What
/// belongs to one session goes with it.
///
/// The terms are asked for at each sign-in, whether or not a screen shows the account.
///
/// Owner: DesktopScreens. Thread: main.
class AccountViewModel : public QObject
{
    Q_OBJECT

public:
    AccountViewModel(const AccountParts &parts, TermsSigner signer);
    ~AccountViewModel() override;

    QuorinAuthViewModel &auth() { return m_parts.auth; }
    GatewayAccountSettingsViewModel &profile() { return m_profile; }
    GatewayQuorinCloudTermsCoordinator &terms() { return m_terms; }
    const GatewayQuorinCloudTermsCoordinator &terms() const { return m_terms; }

    /// What stands in the way of the terms, or came of them; for the user.
    const std::optional<QString> &termsError() const { return m_termsError; }

    /// A screen that shows the account has come up, or gone.
    void setSeen(bool seen);

    /// Asks whether terms wait for an answer, and loads them if so. Nothing happens without a session.
    void checkTerms();

    /// The terms on the screen were accepted.
    void termsAccepted();

    /// The terms on the screen were declined, which ends the session.
    void termsDeclined();

    void signOut();

    /// Refuses new operations, and returns when none is under way.
    void close();

Q_SIGNALS:
    /// `termsError` has another value.
    void changed();

    /// It was asked for terms, and they are known.
    void termsChecked();

private:
    void authChanged();
    void enterSession();
    void leaveSession();
    QCoro::Task<> loadTerms();
    void termsChanged();
    QCoro::Task<> endSession();
    void setTermsError(const std::optional<QString> &error);

    const AccountParts m_parts;
    GatewayAccountSettingsViewModel m_profile;
    GatewayQuorinCloudTermsCoordinator m_terms;
    std::optional<quint64> m_session; // the one whose account is shown
    std::optional<QString> m_termsError;
    bool m_isSeen = false;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::account
