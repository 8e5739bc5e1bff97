#include "account/quorin_auth_view_model.h"

#include "account/poll.h"
#include "cloud_client/network_settings.h"
#include "cloud_client/qrn_user_api.h"
#include "cloud_client/quorin_error.h"
#include "core/device_id.h"
#include "core/notification_names.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/main_thread.h"
#include "platform/notifications/notification_center.h"

#include <QtCore/QStringList>
#include <QtCore/QtGlobal>

#include <algorithm>
#include <utility>

namespace gateway::account {

namespace {

using cloud_client::userFacingMessage;

/// Between two tries of refused credentials: at first the next poll, since a password that was changed back
/// should soon work again; seldom later.
constexpr std::chrono::seconds kFirstPause{50};
constexpr std::chrono::seconds kLongestPause{15 * 60};

const char *const kRefusedWords =
    "The archive refuses the user name or the password. They are kept and tried "
    "again. If the password has changed, sign in again.";

bool isSessionRefused(const std::exception &error)
{
    const auto *response = dynamic_cast<const cloud_client::QrnErrorResponse *>(&error);
    return response != nullptr && response->kind == cloud_client::QrnErrorKind::sessionInvalid;
}

/// What a sign-in couldn't make sure of; nothing where all is well.
std::optional<QString> remarkOn(const cloud_client::QrnLoginResponse &response)
{
    QStringList remarks;
    if (response.uncheckedStatus) {
        remarks.append(
            QStringLiteral(
                "The archive refuses queries (status %1), so address, user name and password could not be "
                "checked. The first upload will show whether they are right.")
                .arg(*response.uncheckedStatus));
    }
    if (!response.isKept) {
        remarks.append(
            QStringLiteral("The keyring has not taken the session, which lasts for this run of the program "
                           "until it does."));
    }
    return remarks.isEmpty() ? std::nullopt : std::optional(remarks.join(u' '));
}

QString labelOf(const cloud_client::QrnUser &user)
{
    if (user.workplaceName) {
        return *user.workplaceName;
    }
    return user.email ? *user.email : QStringLiteral("User #%1").arg(user.id);
}

} // namespace

QuorinAuthViewModel::QuorinAuthViewModel(const QuorinAuthParts &parts,
                                         const std::optional<QString> &clientVersion)
    : m_parts(parts),
      m_clientVersion(clientVersion && !clientVersion->isEmpty() ? *clientVersion : QStringLiteral("1.0.0")),
      m_scope(parts.main, parts.pool)
{
    platform::assertMainThread("QuorinAuthViewModel");
}

QuorinAuthViewModel::~QuorinAuthViewModel()
{
    close();
}

void QuorinAuthViewModel::close()
{
    m_scope.close();
}

void QuorinAuthViewModel::enterMain() const
{
    platform::assertMainThread("QuorinAuthViewModel");
}

void QuorinAuthViewModel::clearLastAuthError()
{
    enterMain();
    setError(std::nullopt);
}

void QuorinAuthViewModel::startPolling(std::chrono::seconds interval)
{
    enterMain();
    if (!std::exchange(m_isPolling, true)) {
        m_scope.start(poll(
            m_parts.main, m_parts.clock, interval, [this] { return refresh(false); }, m_scope.stopToken()));
    }
}

QCoro::Task<> QuorinAuthViewModel::refresh(bool force)
{
    enterMain();
    const bool mayRun = (force || !m_refreshInFlight) && !m_scope.stopToken().stop_requested();
    if (!mayRun) {
        co_return;
    }
    m_parts.networkSettings.askAgain();
    if (!m_parts.networkSettings.isKnown()) {
        lookOnceKnown();
        co_return;
    }
    const auto operation = m_scope.enter();
    m_refreshInFlight = true;
    bool isSettled = false;
    while (!isSettled) {
        isSettled = co_await lookOnce(force);
    }
    m_refreshInFlight = false;
}

/// Nothing is said while the keyring hasn't answered: there may be a session.
void QuorinAuthViewModel::lookOnceKnown()
{
    m_parts.networkSettings.whenKnown([this, &main = m_parts.main, life = std::weak_ptr<const void>(m_life)] {
        main.post(life, [this] { m_scope.start(refresh(false)); });
    });
}

/// One look at the session as it stands; false when the session became another one meanwhile.
QCoro::Task<bool> QuorinAuthViewModel::lookOnce(bool force)
{
    const std::optional<QString> token = m_parts.networkSettings.token();
    if (!token) {
        showNoSession();
        co_return true;
    }
    const bool isPausing = m_parts.networkSettings.areCredentialsRefused() && m_refusal &&
                           m_parts.clock.monotonic() < m_refusal->nextTry;
    if (isPausing && !force) {
        announce();
        co_return true;
    }
    Verdict verdict = co_await checkToken(*token);
    if (verdict == Verdict::good) {
        verdict = co_await loadUser(*token);
    }
    co_return verdict != Verdict::overtaken;
}

QCoro::Task<QuorinAuthViewModel::Verdict> QuorinAuthViewModel::checkToken(QString token)
{
    bool isRefused = false;
    std::optional<QString> message;
    try {
        co_await platform::onPool(
            m_parts.main, m_parts.pool, [api = &m_parts.user] { api->tokenExpiration(); });
    } catch (const std::exception &error) {
        isRefused = isSessionRefused(error);
        message = userFacingMessage(error,
                                    isRefused ? QStringLiteral("Session expired. Please sign in again.")
                                              : QStringLiteral("Unable to verify account session."));
    }
    if (m_scope.stopToken().stop_requested()) {
        co_return Verdict::closing;
    }
    if (isOvertaken(token)) {
        co_return Verdict::overtaken;
    }
    if (message) {
        setError(message);
    }
    if (isRefused) {
        m_parts.networkSettings.endSession(m_parts.clock.now());
        showNoSession();
        co_return Verdict::ended;
    }
    noteRefusal();
    co_return Verdict::good;
}

QCoro::Task<QuorinAuthViewModel::Verdict> QuorinAuthViewModel::loadUser(QString token)
{
    std::optional<cloud_client::QrnUser> user;
    QString message;
    try {
        user = co_await platform::onPool(
            m_parts.main, m_parts.pool, [api = &m_parts.user] { return api->getUser(); });
    } catch (const std::exception &error) {
        message = userFacingMessage(error, QStringLiteral("Unable to load account details."));
    }
    if (m_scope.stopToken().stop_requested()) {
        co_return Verdict::closing;
    }
    if (isOvertaken(token)) {
        co_return Verdict::overtaken;
    }
    m_signedInLabel = user ? std::optional(labelOf(*user)) : std::nullopt;
    showSession(user ? std::nullopt : std::optional(message));
    co_return Verdict::good;
}

QCoro::Task<bool> QuorinAuthViewModel::signIn(QString email, QString password)
{
    enterMain();
    if (m_isChecking || m_scope.stopToken().stop_requested()) {
        co_return false;
    }
    const auto operation = m_scope.enter();
    setChecking(true);
    setError(std::nullopt);
    const bool isSignedIn = co_await login(std::move(email), std::move(password));
    if (isSignedIn) {
        co_await refresh(true);
    }
    setChecking(false);
    co_return isSignedIn;
}

QCoro::Task<bool> QuorinAuthViewModel::login(QString email, QString password)
{
    m_signInRemark.reset();
    try {
        const cloud_client::QrnLoginResponse response = co_await platform::onPool(
            m_parts.main,
            m_parts.pool,
            [api = &m_parts.authentication, request = loginRequest(email, password)] {
                return api->login(request);
            });
        m_signInRemark = remarkOn(response);
    } catch (const std::exception &error) {
        setError(userFacingMessage(
            error, QStringLiteral("Sign in failed. Please check your credentials and try again.")));
        co_return false;
    }
    co_return true;
}

QCoro::Task<> QuorinAuthViewModel::signOut()
{
    enterMain();
    if (m_isChecking || m_scope.stopToken().stop_requested()) {
        co_return;
    }
    const auto operation = m_scope.enter();
    setChecking(true);
    co_await logout();
    co_await refresh(true);
    setChecking(false);
}

QCoro::Task<> QuorinAuthViewModel::logout()
{
    std::optional<QString> message;
    try {
        co_await platform::onPool(
            m_parts.main, m_parts.pool, [api = &m_parts.authentication] { api->logout(); });
    } catch (const std::exception &error) {
        message = userFacingMessage(error, QStringLiteral("Sign out failed. Local session was cleared."));
    }
    setError(message);
    if (message) {
        forgetSession();
        co_await platform::onPool(m_parts.main, m_parts.pool, [settings = &m_parts.networkSettings] {
            settings->waitUntilStored();
        });
    }
}

bool QuorinAuthViewModel::isOvertaken(const QString &token) const
{
    return m_parts.networkSettings.token() != token;
}

/// Refused credentials wait longer before each further try.
void QuorinAuthViewModel::noteRefusal()
{
    if (!m_parts.networkSettings.areCredentialsRefused()) {
        m_refusal.reset();
        return;
    }
    const std::chrono::seconds pause =
        m_refusal ? std::min(2 * m_refusal->pause, kLongestPause) : kFirstPause;
    const QDateTime since = m_refusal ? m_refusal->since : m_parts.clock.now();
    m_refusal = Refusal{since, pause, m_parts.clock.monotonic() + pause};
}

void QuorinAuthViewModel::showNoSession()
{
    const std::optional<QDateTime> endedAt = m_parts.networkSettings.endedAt();
    m_standing = {endedAt ? SessionState::ended : SessionState::signedOut, endedAt};
    m_refusal.reset();
    m_state = AuthState::signedOut();
    m_signedInLabel.reset();
    announce();
}

void QuorinAuthViewModel::showSession(std::optional<QString> message)
{
    if (m_refusal) {
        m_standing = {SessionState::credentialsRefused, m_refusal->since};
        m_lastAuthError = QString::fromLatin1(kRefusedWords);
    } else {
        m_standing = {SessionState::signedIn};
        m_lastAuthError = std::move(message);
    }
    m_state = AuthState::signedIn(m_signedInLabel);
    announce();
}

void QuorinAuthViewModel::forgetSession()
{
    m_parts.networkSettings.setToken(std::nullopt);
    m_parts.networkSettings.setUserId(std::nullopt);
}

void QuorinAuthViewModel::setChecking(bool isChecking)
{
    m_isChecking = isChecking;
    Q_EMIT changed();
}

void QuorinAuthViewModel::setError(std::optional<QString> message)
{
    if (m_lastAuthError != message) {
        m_lastAuthError = std::move(message);
        Q_EMIT changed();
    }
}

void QuorinAuthViewModel::announce()
{
    Q_EMIT changed();
    m_parts.notifications.post(core::kAuthStateChanged);
}

cloud_client::QrnLoginRequest QuorinAuthViewModel::loginRequest(const QString &email,
                                                                const QString &password) const
{
    const QString deviceId = core::deviceId(m_parts.defaults);
    const cloud_client::QrnUserDeviceRequest device(std::nullopt, deviceId, m_clientVersion);
    return {email, password, std::nullopt, QStringLiteral("macOS"), deviceId, std::nullopt, device};
}

} // namespace gateway::account
