#pragma once

#include "account/auth_state.h"
#include "account/session_standing.h"
#include "cloud_client/qrn_authentication_api.h"
#include "platform/concurrency/task_scope.h"

#include <QCoro/QCoroTask>

#include <QtCore/QObject>
#include <QtCore/QString>

#include <chrono>
#include <memory>
#include <optional>

namespace gateway::cloud_client {
class NetworkSettings;
class QrnAuthenticationAPIProtocol;
class QrnUserAPIProtocol;
struct QrnLoginRequest;
} // namespace gateway::cloud_client

namespace gateway::platform {
class Clock;
class MainExecutor;
class NotificationCenter;
class UserDefaults;
class WorkerPool;
} // namespace gateway::platform

namespace gateway::account {

/// What the session model works with; all outlive it.
struct QuorinAuthParts
{
    cloud_client::QrnAuthenticationAPIProtocol &authentication;
    cloud_client::QrnUserAPIProtocol &user;
    cloud_client::NetworkSettings &networkSettings;
    platform::UserDefaults &defaults;
    platform::NotificationCenter &notifications;
    platform::MainExecutor &main;
    platform::WorkerPool &pool;
    platform::Clock &clock;
};

/// The one source of truth for whether the gateway has a cloud session.
///
/// It signs in and out, polls the session, and posts core::kAuthStateChanged after each look at it, changed
/// or not. The token itself is kept by NetworkSettings; here is only what the screens show. An unverifiable
/// session is not ended: only the service's own word ends one. Credentials that an archive refuses stay: the
/// poll tries them again, after pauses that grow, so that no account is locked by too many wrong sign-ins.
///
/// Owner: app; exactly one exists. Thread: main.
class QuorinAuthViewModel : public QObject
{
    Q_OBJECT

public:
    /// \param clientVersion  of this build; "1.0.0" stands in where it is absent or empty.
    explicit QuorinAuthViewModel(const QuorinAuthParts &parts, const std::optional<QString> &clientVersion);
    ~QuorinAuthViewModel() override;

    /// The state as of the last look, signed out before the first.
    const AuthState &state() const { return m_state; }

    /// How things stand as of the last look, in more detail: signed out isn't the same as ended by the cloud,
    /// and credentials that are refused are still there.
    const SessionStanding &standing() const { return m_standing; }

    /// Another number with each sign-in: whose it is may be another one by then.
    quint64 sessionNumber() const { return m_sessionNumber; }

    /// A sign-in or sign-out is in flight; both refuse to start meanwhile.
    bool isChecking() const { return m_isChecking; }

    /// The words for "signed in as".
    const std::optional<QString> &signedInLabel() const { return m_signedInLabel; }

    /// The last message for the user; nothing when the last step went well.
    const std::optional<QString> &lastAuthError() const { return m_lastAuthError; }

    /// What the last sign-in, which succeeded, could not make sure of; nothing where all is well.
    const std::optional<QString> &signInRemark() const { return m_signInRemark; }

    /// Takes the last message away, as the sign-in sheet does when it opens and closes.
    void clearLastAuthError();

    /// Looks at the session now and then after each `interval`, until the model closes. A second call changes
    /// nothing.
    void startPolling(std::chrono::seconds interval);

    /// Looks at the session: is the token good, and whose is it? While the place that keeps the session
    /// hasn't answered, nothing is known and nothing posted; the look follows as soon as it has.
    ///
    /// \param force  runs beside a look that is under way; without it the call returns at once then. It also
    ///               tries refused credentials before their pause is over.
    QCoro::Task<> refresh(bool force);

    /// Somebody else was told that there is no good session: looks at it at once.
    void refusedElsewhere();

    /// Signs in.
    ///
    /// \param email     as the service knows it, trimmed by the caller.
    /// \param password  as typed.
    /// \return true when signed in; false with `lastAuthError` set, or when another sign-in or sign-out runs,
    ///         or when it was given up.
    QCoro::Task<bool> signIn(QString email, QString password);

    /// The same at an archive, in a way of its own.
    ///
    /// \param granted  what a sign-in by a code has given.
    QCoro::Task<bool> signInToArchive(cloud_client::ArchiveSignIn archive,
                                      std::optional<cloud_client::DeviceTokens> granted = std::nullopt);

    /// Gives up the sign-in that waits for its answer: an answer that comes later signs nobody in, and the
    /// session that stood before stands. Nothing happens where none waits, or the answer is there and the
    /// session is being kept: it counts.
    void cancelSignIn();

    /// Tells whoever gave out these tokens that they won't be used: no session came of them. Waits for
    /// nothing.
    void takeBack(const cloud_client::ArchiveSignIn &archive, const cloud_client::DeviceTokens &granted);

    /// Signs out. The session ends here whatever the service says; whoever gave out its tokens is told
    /// afterwards, while nobody waits for it.
    QCoro::Task<> signOut();

    /// Ends the poll, refuses new operations, and returns when none is under way. Calls in flight are waited
    /// for; QuorinApiClient::shutDown makes them end.
    void close();

Q_SIGNALS:
    /// Some field has another value.
    void changed();

private:
    enum class Verdict
    {
        good,      // or unverifiable: the session goes on
        ended,     // the service refused the token
        overtaken, // the token is another one by now: the answer belongs to a session that is over
        closing
    };

    /// Credentials that an archive refuses.
    struct Refusal
    {
        QDateTime since;
        std::chrono::seconds pause;
        std::chrono::nanoseconds nextTry; // of the monotonic clock
        QString words;                    // for the user
    };

    /// What a sign-in takes can't be had.
    struct Lack
    {
        QDateTime since;
        QString words; // for the user
    };

    QCoro::Task<bool> lookOnce(bool force);
    QCoro::Task<Verdict> checkToken(QString token);
    QCoro::Task<Verdict> loadUser(QString token);
    QCoro::Task<bool> signInBy(cloud_client::QrnLoginRequest request);
    QCoro::Task<bool> login(cloud_client::QrnLoginRequest request);
    QCoro::Task<> logout();
    QCoro::Task<> revoke(QString session, QString refreshToken);

    void enterMain() const;
    void lookOnceKnown();
    bool isOvertaken(const QString &token) const;
    void noteRefusal(const QString &words);
    void noteLack(const std::optional<QString> &words);
    void showNoSession();
    void showSession(std::optional<QString> message);
    void forgetSession();
    void setChecking(bool isChecking);
    void setError(std::optional<QString> message);
    void announce();
    cloud_client::QrnLoginRequest loginRequest(const QString &email, const QString &password) const;

    const QuorinAuthParts m_parts;
    const QString m_clientVersion;
    AuthState m_state = AuthState::signedOut();
    SessionStanding m_standing;
    std::optional<Refusal> m_refusal;
    std::optional<Lack> m_lack;
    quint64 m_sessionNumber = 0;
    bool m_isChecking = false;
    std::optional<cloud_client::SignInChoice> m_waitingSignIn; // while its answer isn't there
    bool m_refreshInFlight = false;
    bool m_isPolling = false;
    std::optional<QString> m_signedInLabel;
    std::optional<QString> m_lastAuthError;
    std::optional<QString> m_signInRemark;
    const std::shared_ptr<const bool> m_life = std::make_shared<const bool>(true);
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::account
