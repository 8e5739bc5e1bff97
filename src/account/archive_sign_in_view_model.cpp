#include "account/archive_sign_in_view_model.h"

#include "cloud_client/cloud_configuration.h"
#include "cloud_client/network_settings.h"
#include "cloud_client/sign_in_files.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/async_sleep.h"
#include "platform/concurrency/main_thread.h"
#include "platform/concurrency/patient_question.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>

#include <utility>

namespace gateway::account {

namespace {

using cloud_client::ArchiveSignIn;
using cloud_client::TrialStep;
using std::chrono::seconds;

constexpr seconds kPatience(10); // with the files of a sign-in

/// A pipe in the place of a file might never end.
std::optional<QString> issueWithFile(const QString &path)
{
    return path.isEmpty() || QFileInfo(path).isFile()
               ? std::nullopt
               : std::optional(
                     QCoreApplication::translate("Archive", "There is no ordinary file at %1.").arg(path));
}

ArchiveSignInEnd givenUp()
{
    return {.problem = QCoreApplication::translate("Archive", "The sign-in was given up.")};
}

} // namespace

ArchiveSignInViewModel::WithFiles ArchiveSignInViewModel::withFiles(const ArchiveEntries &entries)
{
    WithFiles read{.signIn = entries.signIn};
    for (const QString &path : {entries.secretFile, entries.certificateFile, entries.keyFile}) {
        read.problem = read.problem ? read.problem : issueWithFile(path);
    }
    if (!read.problem && !entries.secretFile.isEmpty()) {
        read.problem = cloud_client::addSecretFrom(entries.secretFile, read.signIn);
    }
    if (!read.problem && entries.wantsCertificate && !entries.certificateFile.isEmpty()) {
        read.problem =
            cloud_client::addCertificateFrom(entries.certificateFile, entries.keyFile, read.signIn);
    }
    return read;
}

ArchiveSignInViewModel::ArchiveSignInViewModel(ArchiveSignInParts parts)
    : m_parts(std::move(parts)), m_scope(m_parts.main, m_parts.pool)
{
    platform::assertMainThread("ArchiveSignInViewModel");
    connect(&m_parts.auth, &QuorinAuthViewModel::changed, this, &ArchiveSignInViewModel::authChanged);
}

QString ArchiveSignInViewModel::address() const
{
    return m_parts.configuration.baseUrl.toString(QUrl::RemoveUserInfo);
}

bool ArchiveSignInViewModel::isKnown() const
{
    return m_parts.settings.isKnown();
}

std::optional<QString> ArchiveSignInViewModel::presentSession() const
{
    const std::optional<QString> session = m_parts.settings.token();
    return session ? session : m_parts.settings.endedSession();
}

/// A service of tokens may keep one grant for a person and a client, and end all of it (RFC 7009 2.1).
bool ArchiveSignInViewModel::isPresentByTheSameGrant(const ArchiveSignIn &signIn) const
{
    const std::optional<QString> session = presentSession();
    if (!session) {
        return false;
    }
    const ArchiveSignIn present = cloud_client::archiveSignIn(*session);
    return present.method == ArchiveSignIn::Method::device && present.client.id == signIn.client.id &&
           present.client.issuer == signIn.client.issuer &&
           present.client.tokenEndpoint == signIn.client.tokenEndpoint;
}

std::optional<QString> ArchiveSignInViewModel::issueWith(const ArchiveSignIn &signIn) const
{
    if (auto issue = cloud_client::issueWith(signIn.certificate, m_parts.clock.now())) {
        return issue;
    }
    if (auto issue = cloud_client::issueWith(signIn)) {
        return issue;
    }
    return cloud_client::issueWith(signIn.extras, m_parts.configuration.allowPlainHttp);
}

/// The one before is given up: this one takes its place.
ArchiveSignInViewModel::Attempt ArchiveSignInViewModel::begin()
{
    if (m_attempt) {
        m_attempt->request_stop();
    }
    m_attempt = std::make_shared<std::stop_source>();
    return m_attempt;
}

void ArchiveSignInViewModel::end(const Attempt &attempt)
{
    if (m_attempt == attempt) {
        m_attempt.reset();
        hideCode();
    }
}

QCoro::Task<ArchiveSignInEnd>
ArchiveSignInViewModel::signIn(ArchiveSignIn wanted, ShowCode show, std::stop_token stop)
{
    const auto operation = m_scope.enter();
    if (const auto issue = issueWith(wanted)) {
        co_return ArchiveSignInEnd{.problem = *issue};
    }
    const Attempt attempt = begin();
    const std::stop_callback whenStopped(stop, [attempt] { attempt->request_stop(); });
    ArchiveSignInEnd ended = co_await carryOut(std::move(wanted), std::move(show), attempt);
    end(attempt);
    co_return ended;
}

QCoro::Task<ArchiveSignInEnd> ArchiveSignInViewModel::signInBy(ArchiveEntries entries)
{
    const auto operation = m_scope.enter();
    const Attempt attempt = begin();
    WithFiles read = co_await readFiles(entries, attempt);
    if (!read.problem) {
        completeFromSession(read, entries.wantsCertificate);
    }
    ArchiveSignInEnd ended{.problem = read.problem.value_or(QString())};
    if (attempt->stop_requested()) {
        ended = givenUp();
    } else if (!read.problem) {
        ended = co_await carryOut(std::move(read.signIn), nullptr, attempt);
    }
    end(attempt);
    co_return ended;
}

/// Files may lie on a share that doesn't answer; who waits for them can give the sign-in up.
QCoro::Task<ArchiveSignInViewModel::WithFiles> ArchiveSignInViewModel::readFiles(ArchiveEntries entries,
                                                                                 Attempt attempt)
{
    if (entries.secretFile.isEmpty() && entries.certificateFile.isEmpty() && entries.keyFile.isEmpty()) {
        co_return withFiles(entries);
    }
    const std::stop_callback whenClosing(m_scope.stopToken(), [attempt] { attempt->request_stop(); });
    std::optional<WithFiles> read = co_await platform::askPatiently(
        {m_parts.main, m_parts.clock, kPatience},
        "sign-in-files",
        [entries] { return withFiles(entries); },
        attempt->get_token());
    if (!read) {
        read = WithFiles{
            .problem = QCoreApplication::translate(
                "Archive", "A file of the sign-in can't be read: its disk or network share doesn't answer.")};
    }
    co_return std::move(*read);
}

/// What isn't asked for, or was said before, comes from the present session; what can't be is the problem.
void ArchiveSignInViewModel::completeFromSession(WithFiles &read, bool wantsCertificate) const
{
    if (const std::optional<QString> session = presentSession()) {
        cloud_client::keepBesides(read.signIn, cloud_client::archiveSignIn(*session));
    }
    if (!wantsCertificate) {
        read.signIn.certificate = {};
    } else if (read.signIn.certificate.isEmpty()) {
        read.problem = QCoreApplication::translate("Archive", "Name the file of the client certificate.");
        return;
    }
    read.problem = issueWith(read.signIn);
}

QCoro::Task<ArchiveSignInEnd>
ArchiveSignInViewModel::carryOut(ArchiveSignIn wanted, ShowCode show, Attempt attempt)
{
    std::optional<cloud_client::DeviceTokens> granted;
    if (wanted.method == ArchiveSignIn::Method::device) {
        DeviceSignInEnd asked = co_await askForPerson(wanted, std::move(show), attempt);
        if (!asked.tokens) {
            co_return attempt->stop_requested() ? givenUp() : ArchiveSignInEnd{.problem = asked.problem};
        }
        wanted.holder = asked.tokens->holder;
        granted = std::move(asked.tokens);
        hideCode();
    }
    ArchiveSignInEnd ended = co_await beginSession(wanted, granted, attempt);
    if (!ended.isSignedIn && granted && !isPresentByTheSameGrant(wanted)) {
        m_parts.auth.takeBack(wanted, *granted);
    }
    co_return ended;
}

/// The session, with all that it takes at hand.
QCoro::Task<ArchiveSignInEnd> ArchiveSignInViewModel::beginSession(
    ArchiveSignIn wanted, std::optional<cloud_client::DeviceTokens> granted, Attempt attempt)
{
    if (attempt->stop_requested()) {
        co_return givenUp();
    }
    if (m_parts.auth.isChecking()) {
        co_return ArchiveSignInEnd{
            .problem = QCoreApplication::translate("Archive", "Another sign-in or sign-out is under way.")};
    }
    const std::stop_callback whenStopped(attempt->get_token(), [this] { m_parts.auth.cancelSignIn(); });
    const bool isSignedIn = co_await m_parts.auth.signInToArchive(std::move(wanted), std::move(granted));
    if (!isSignedIn && attempt->stop_requested()) {
        co_return givenUp();
    }
    const auto failed = QCoreApplication::translate("Archive", "Sign in failed.");
    co_return ArchiveSignInEnd{isSignedIn,
                               isSignedIn ? QString() : m_parts.auth.lastAuthError().value_or(failed)};
}

/// Nobody has let this gateway in who was given up, also where the answer was on its way.
QCoro::Task<DeviceSignInEnd>
ArchiveSignInViewModel::askForPerson(ArchiveSignIn wanted, ShowCode show, Attempt attempt)
{
    const std::stop_callback whenClosing(m_scope.stopToken(), [attempt] { attempt->request_stop(); });
    const auto tell = [this, attempt, show = std::move(show)](const cloud_client::DeviceCode &code) {
        showCode(attempt, code);
        if (show && !attempt->stop_requested()) {
            show(code);
        }
    };
    DeviceSignInEnd asked =
        co_await signInByCode({m_parts.deviceGrants, m_parts.main, m_parts.pool, m_parts.clock},
                              std::move(wanted),
                              tell,
                              attempt->get_token());
    co_return asked;
}

void ArchiveSignInViewModel::cancel()
{
    if (m_attempt) {
        m_attempt->request_stop();
        hideCode();
    }
    m_parts.auth.cancelSignIn(); // one that didn't begin here
}

void ArchiveSignInViewModel::showCode(const Attempt &attempt, const cloud_client::DeviceCode &code)
{
    if (attempt->stop_requested()) {
        return;
    }
    m_code = code;
    m_codeEnds = m_parts.clock.monotonic() + code.lifetime;
    m_scope.start(countDown(attempt));
    Q_EMIT changed();
}

void ArchiveSignInViewModel::hideCode()
{
    m_code.reset();
    Q_EMIT changed();
}

seconds ArchiveSignInViewModel::codeLeft() const
{
    const auto left = m_code ? m_codeEnds - m_parts.clock.monotonic() : std::chrono::nanoseconds(0);
    return std::max(std::chrono::ceil<seconds>(left), seconds(0));
}

QCoro::Task<> ArchiveSignInViewModel::countDown(Attempt attempt)
{
    bool goesOn = true;
    while (goesOn && m_attempt == attempt && m_code && codeLeft() > seconds(0)) {
        goesOn = co_await platform::asyncSleep(m_parts.main, m_parts.clock, seconds(1), attempt->get_token());
        Q_EMIT changed();
    }
}

QCoro::Task<std::optional<QList<TrialStep>>> ArchiveSignInViewModel::test(std::stop_token stop)
{
    if (m_isTesting) {
        co_return std::nullopt;
    }
    const auto operation = m_scope.enter();
    m_isTesting = true;
    m_session = m_parts.auth.sessionNumber();
    m_steps.clear();
    Q_EMIT changed();
    const QList<TrialStep> steps = co_await platform::onPool(
        m_parts.main, m_parts.pool, [trial = m_parts.trial, stop] { return trial(stop); });
    m_isTesting = false;
    const bool isOfThisSession = m_session == m_parts.auth.sessionNumber();
    m_steps = isOfThisSession ? steps : QList<TrialStep>();
    Q_EMIT changed();
    co_return steps;
}

/// What one session was shown says nothing of another.
void ArchiveSignInViewModel::authChanged()
{
    const bool isOther = m_session != m_parts.auth.sessionNumber() || !m_parts.auth.state().isSignedIn();
    if (isOther && !m_isTesting && !m_steps.isEmpty()) {
        m_steps.clear();
        Q_EMIT changed();
    }
}

} // namespace gateway::account
