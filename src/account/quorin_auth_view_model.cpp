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

#include <QtCore/QCoreApplication>
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

QString refusedWords()
{
    return QCoreApplication::translate(
        "Account",
        "The archive refuses the sign-in. It is kept and tried again. If the "
        "password, or whatever else it is made of, has changed, sign in again.");
}

/// What to tell of a refused sign-in: the words of who refused it where there are any.
QString refusalWords(const std::exception &error)
{
    const auto *response = dynamic_cast<const cloud_client::QrnErrorResponse *>(&error);
    return response != nullptr && response->message
               ? QCoreApplication::translate("Account", "%1 It is kept and tried again.")
                     .arg(*response->message)
               : refusedWords();
}

/// True where not the archive failed to answer, but whoever it takes to sign in there.
bool isSignInUnavailable(const std::exception &error)
{
    const auto *failure = dynamic_cast<const cloud_client::AFError *>(&error);
    return failure != nullptr && failure->noAnswer == cloud_client::NoAnswer::signInUnavailable;
}

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
            QCoreApplication::translate(
                "Account",
                "The archive refuses queries (status %1), so address, user name and password could not be "
                "checked. The first upload will show whether they are right.")
                .arg(*response.uncheckedStatus));
    }
    if (!response.isKept) {
        remarks.append(QCoreApplication::translate(
            "Account",
            "The keyring has not taken the session, which lasts for this run of the program "
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

void QuorinAuthViewModel::refusedElsewhere()
{
    enterMain();
    m_scope.start(refresh(false));
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
    std::optional<QString> lack;
    QString refusal = refusedWords();
    try {
        co_await platform::onPool(
            m_parts.main, m_parts.pool, [api = &m_parts.user] { api->tokenExpiration(); });
    } catch (const std::exception &error) {
        isRefused = isSessionRefused(error);
        refusal = refusalWords(error);
        message = userFacingMessage(
            error,
            isRefused ? QCoreApplication::translate("Account", "Session expired. Please sign in again.")
                      : QCoreApplication::translate("Account", "Unable to verify account session."));
        lack = isSignInUnavailable(error) ? message : std::nullopt;
    }
    if (m_scope.stopToken().stop_requested()) {
        co_return Verdict::closing;
    }
    // Who renews an archive's tokens has ended the session where it was refused.
    const bool hasEnded = isRefused && m_parts.networkSettings.endedAt().has_value();
    if (isOvertaken(token) && !hasEnded) {
        co_return Verdict::overtaken;
    }
    if (message) {
        setError(message);
    }
    if (isRefused) {
        if (!hasEnded) {
            m_parts.networkSettings.endSession(m_parts.clock.now());
        }
        showNoSession();
        co_return Verdict::ended;
    }
    noteRefusal(refusal);
    noteLack(lack);
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
        message = userFacingMessage(
            error, QCoreApplication::translate("Account", "Unable to load account details."));
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
    return signInBy(loginRequest(email, password));
}

QCoro::Task<bool> QuorinAuthViewModel::signInToArchive(cloud_client::ArchiveSignIn archive,
                                                       std::optional<cloud_client::DeviceTokens> granted)
{
    enterMain();
    cloud_client::QrnLoginRequest request = loginRequest({}, {});
    request.archive = std::move(archive);
    request.granted = std::move(granted);
    return signInBy(std::move(request));
}

QCoro::Task<bool> QuorinAuthViewModel::signInBy(cloud_client::QrnLoginRequest request)
{
    if (m_isChecking || m_scope.stopToken().stop_requested()) {
        co_return false;
    }
    const auto operation = m_scope.enter();
    setChecking(true);
    setError(std::nullopt);
    m_signInRemark.reset();
    const cloud_client::SignInChoice choice = request.choice;
    m_waitingSignIn = choice;
    const bool isSignedIn = co_await login(std::move(request));
    if (choice.isGivenUp()) {
        co_return false; // another one may wait by now
    }
    m_waitingSignIn.reset();
    if (isSignedIn) {
        ++m_sessionNumber;
        co_await refresh(true);
    }
    setChecking(false);
    co_return isSignedIn;
}

void QuorinAuthViewModel::cancelSignIn()
{
    enterMain();
    if (m_waitingSignIn && m_waitingSignIn->giveUp()) {
        m_waitingSignIn.reset();
        setChecking(false);
    }
}

QCoro::Task<bool> QuorinAuthViewModel::login(cloud_client::QrnLoginRequest request)
{
    const cloud_client::SignInChoice choice = request.choice;
    try {
        const cloud_client::QrnLoginResponse response =
            co_await platform::onPool(m_parts.main, m_parts.pool, [api = &m_parts.authentication, request] {
                return api->login(request);
            });
        if (!response.isGivenUp) {
            m_signInRemark = remarkOn(response);
        }
        co_return !response.isGivenUp;
    } catch (const std::exception &error) {
        if (!choice.isGivenUp()) {
            setError(userFacingMessage(
                error,
                QCoreApplication::translate("Account",
                                            "Sign in failed. Please check your credentials and try again.")));
        }
    }
    co_return false;
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
    const QString session = m_parts.networkSettings.token().value_or(QString());
    const QString refreshToken = m_parts.networkSettings.refreshToken(session).value_or(QString());
    try {
        co_await platform::onPool(
            m_parts.main, m_parts.pool, [api = &m_parts.authentication] { api->logout(); });
    } catch (const std::exception &error) {
        message = userFacingMessage(
            error, QCoreApplication::translate("Account", "Sign out failed. Local session was cleared."));
    }
    setError(message);
    if (message) {
        forgetSession();
        co_await platform::onPool(m_parts.main, m_parts.pool, [settings = &m_parts.networkSettings] {
            settings->waitUntilStored();
        });
    }
    if (!refreshToken.isEmpty()) {
        m_scope.start(revoke(session, refreshToken));
    }
}

void QuorinAuthViewModel::takeBack(const cloud_client::ArchiveSignIn &archive,
                                   const cloud_client::DeviceTokens &granted)
{
    enterMain();
    m_scope.start(revoke(cloud_client::sessionText(archive), granted.refreshToken));
}

/// Whether it is taken back or not, nobody is signed in here: there is nothing to tell.
QCoro::Task<> QuorinAuthViewModel::revoke(QString session, QString refreshToken)
{
    try {
        co_await platform::onPool(
            m_parts.main, m_parts.pool, [api = &m_parts.authentication, session, refreshToken] {
                api->revoke(session, refreshToken);
            });
    } catch (const cloud_client::QuorinError &) {
        co_return;
    }
}

bool QuorinAuthViewModel::isOvertaken(const QString &token) const
{
    return m_parts.networkSettings.token() != token;
}

/// Refused credentials wait longer before each further try.
void QuorinAuthViewModel::noteRefusal(const QString &words)
{
    if (!m_parts.networkSettings.areCredentialsRefused()) {
        m_refusal.reset();
        return;
    }
    const std::chrono::seconds pause =
        m_refusal ? std::min(2 * m_refusal->pause, kLongestPause) : kFirstPause;
    const QDateTime since = m_refusal ? m_refusal->since : m_parts.clock.now();
    m_refusal = Refusal{since, pause, m_parts.clock.monotonic() + pause, words};
}

void QuorinAuthViewModel::noteLack(const std::optional<QString> &words)
{
    if (words) {
        m_lack = Lack{m_lack ? m_lack->since : m_parts.clock.now(), *words};
    } else {
        m_lack.reset();
    }
}

void QuorinAuthViewModel::showNoSession()
{
    const std::optional<QDateTime> endedAt = m_parts.networkSettings.endedAt();
    m_standing = {endedAt ? SessionState::ended : SessionState::signedOut, endedAt};
    m_refusal.reset();
    m_lack.reset();
    m_state = AuthState::signedOut();
    m_signedInLabel.reset();
    announce();
}

void QuorinAuthViewModel::showSession(std::optional<QString> message)
{
    if (m_refusal) {
        m_standing = {SessionState::credentialsRefused, m_refusal->since};
        m_lastAuthError = m_refusal->words;
    } else if (m_lack) {
        m_standing = {SessionState::signInUnavailable, m_lack->since};
        m_lastAuthError = m_lack->words;
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
