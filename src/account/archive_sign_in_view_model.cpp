#include "account/archive_sign_in_view_model.h"

#include "cloud_client/cloud_configuration.h"
#include "cloud_client/network_settings.h"
#include "cloud_client/sign_in_files.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/async_sleep.h"
#include "platform/concurrency/main_thread.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>

#include <utility>

namespace gateway::account {

namespace {

using cloud_client::ArchiveSignIn;
using cloud_client::TrialStep;
using std::chrono::seconds;

/// What was filled in, with what its files hold, or why they can't be read.
struct WithFiles
{
    ArchiveSignIn signIn;
    std::optional<QString> problem = std::nullopt;
};

/// A pipe in the place of a file might never end.
std::optional<QString> issueWithFile(const QString &path)
{
    return path.isEmpty() || QFileInfo(path).isFile()
               ? std::nullopt
               : std::optional(
                     QCoreApplication::translate("Archive", "There is no ordinary file at %1.").arg(path));
}

WithFiles withFiles(const ArchiveEntries &entries)
{
    WithFiles read{entries.signIn};
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

} // namespace

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

QCoro::Task<ArchiveSignInEnd>
ArchiveSignInViewModel::signIn(ArchiveSignIn wanted, ShowCode show, std::stop_token stop)
{
    const auto operation = m_scope.enter();
    if (const auto issue = issueWith(wanted)) {
        co_return ArchiveSignInEnd{.problem = *issue};
    }
    if (m_attempt) {
        m_attempt->request_stop(); // this one takes its place
    }
    std::optional<cloud_client::DeviceTokens> granted;
    if (wanted.method == ArchiveSignIn::Method::device) {
        DeviceSignInEnd end = co_await askForPerson(wanted, std::move(show), stop);
        if (!end.tokens) {
            co_return ArchiveSignInEnd{.problem = end.problem};
        }
        wanted.holder = end.tokens->holder;
        granted = std::move(end.tokens);
    }
    if (m_parts.auth.isChecking()) {
        co_return ArchiveSignInEnd{
            .problem = QCoreApplication::translate("Archive", "Another sign-in or sign-out is under way.")};
    }
    const bool isSignedIn = co_await m_parts.auth.signInToArchive(std::move(wanted), std::move(granted));
    const auto failed = QCoreApplication::translate("Archive", "Sign in failed.");
    co_return ArchiveSignInEnd{isSignedIn,
                               isSignedIn ? QString() : m_parts.auth.lastAuthError().value_or(failed)};
}

/// Nobody has let this gateway in who was given up, also where the answer was on its way.
QCoro::Task<DeviceSignInEnd>
ArchiveSignInViewModel::askForPerson(ArchiveSignIn wanted, ShowCode show, std::stop_token stop)
{
    const auto attempt = std::make_shared<std::stop_source>();
    m_attempt = attempt;
    const auto giveUp = [attempt] { attempt->request_stop(); };
    const std::stop_callback whenStopped(stop, giveUp);
    const std::stop_callback whenClosing(m_scope.stopToken(), giveUp);
    const auto tell = [this, attempt, show = std::move(show)](const cloud_client::DeviceCode &code) {
        showCode(attempt, code);
        if (show && !attempt->stop_requested()) {
            show(code);
        }
    };
    DeviceSignInEnd end =
        co_await signInByCode({m_parts.deviceGrants, m_parts.main, m_parts.pool, m_parts.clock},
                              std::move(wanted),
                              tell,
                              attempt->get_token());
    if (m_attempt == attempt) {
        m_attempt.reset();
        hideCode();
    }
    if (attempt->stop_requested()) {
        co_return DeviceSignInEnd{.problem =
                                      QCoreApplication::translate("Archive", "The sign-in was given up.")};
    }
    co_return end;
}

QCoro::Task<ArchiveSignInEnd> ArchiveSignInViewModel::signInBy(ArchiveEntries entries)
{
    const auto operation = m_scope.enter();
    WithFiles read =
        co_await platform::onPool(m_parts.main, m_parts.pool, [entries] { return withFiles(entries); });
    if (read.problem) {
        co_return ArchiveSignInEnd{.problem = *read.problem};
    }
    if (const std::optional<QString> session = presentSession()) {
        cloud_client::keepBesides(read.signIn, cloud_client::archiveSignIn(*session));
    }
    if (!entries.wantsCertificate) {
        read.signIn.certificate = {};
    } else if (read.signIn.certificate.isEmpty()) {
        co_return ArchiveSignInEnd{
            .problem = QCoreApplication::translate("Archive", "Name the file of the client certificate.")};
    }
    ArchiveSignInEnd end = co_await signIn(std::move(read.signIn), nullptr, std::stop_token());
    co_return end;
}

void ArchiveSignInViewModel::cancel()
{
    if (m_attempt) {
        m_attempt->request_stop();
        hideCode();
    }
    m_parts.auth.cancelSignIn();
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
