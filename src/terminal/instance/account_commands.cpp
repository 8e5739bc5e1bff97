#include "terminal/instance/account_commands.h"

#include "core/notification_names.h"
#include "platform/concurrency/main_thread.h"
#include "terminal/commands/account_requests.h"
#include "terminal/commands/command_requests.h"

#include <QtCore/QJsonArray>

#include <utility>

namespace gateway::terminal {

namespace {

ControlReply busy()
{
    return ControlReply::failure(QStringLiteral("Another request about the account is under way."));
}

QString sentence(const std::optional<QString> &message)
{
    const QString text = message.value_or(QString()).trimmed();
    return text.isEmpty() ? QStringLiteral("The cloud service gave no reason.") : text;
}

} // namespace

AccountCommands::AccountCommands(const Collaborators &collaborators)
    : m_collaborators(collaborators),
      m_profile({collaborators.user, collaborators.auth, collaborators.main, collaborators.pool}),
      m_password({collaborators.user, collaborators.main, collaborators.pool}),
      m_report({collaborators.bugReports, collaborators.defaults, collaborators.main, collaborators.pool}),
      m_scope(collaborators.main, collaborators.pool)
{
    platform::assertMainThread("AccountCommands");
    m_authObserver =
        collaborators.notifications.observe(core::kAuthStateChanged, [this](const QVariantMap &) {
            if (!m_collaborators.auth.state().isSignedIn()) {
                m_profile.reset();
            }
        });
}

bool AccountCommands::handle(const ControlRequest &request, const Answer &answer)
{
    if (request.command == requests::kReport) {
        m_scope.start(report(request, answer));
        return true;
    }
    const bool isShow = request.command == requests::kAccountShow;
    const bool isSet = request.command == requests::kAccountSet;
    if (!isShow && !isSet && request.command != requests::kAccountPassword) {
        return false;
    }
    if (!m_collaborators.auth.state().isSignedIn()) {
        answer(noSessionReply());
    } else if (m_profile.isLoading() || m_profile.isSaving() || m_password.isSaving()) {
        answer(busy());
    } else if (isShow) {
        m_scope.start(show(answer));
    } else if (isSet) {
        m_scope.start(set(request, answer));
    } else {
        m_scope.start(changePassword(request, answer));
    }
    return true;
}

QCoro::Task<> AccountCommands::show(Answer answer)
{
    co_await m_profile.load(true);
    if (!m_profile.user() || m_profile.errorMessage()) {
        answer(ControlReply::failure(sentence(m_profile.errorMessage())));
        co_return;
    }
    answer(ControlReply::success(profileJson(m_profile)));
}

QCoro::Task<> AccountCommands::set(ControlRequest request, Answer answer)
{
    const ProfileChange change = profileChangeIn(request);
    if (!change.field) {
        answer(ControlReply::failure(unknownFieldSentence(change.key), ExitCode::usage));
        co_return;
    }
    // What stands at the service now is changed, not what was read some time ago.
    co_await m_profile.load(true);
    if (m_profile.user() && !m_profile.errorMessage()) {
        account::GatewayAccountForm form = m_profile.form();
        form.*(change.field) = change.value;
        m_profile.setForm(form);
        co_await m_profile.save();
    }
    answer(m_profile.successMessage() ? ControlReply::success(profileJson(m_profile))
                                      : ControlReply::failure(sentence(m_profile.errorMessage())));
}

QCoro::Task<> AccountCommands::changePassword(ControlRequest request, Answer answer)
{
    m_password.setForm(passwordFormIn(request));
    const bool isChanged = co_await m_password.changePassword();
    m_password.setForm({}); // no password is kept longer than it is needed
    answer(isChanged ? ControlReply::success() : ControlReply::failure(sentence(m_password.errorMessage())));
}

QCoro::Task<> AccountCommands::report(ControlRequest request, Answer answer)
{
    if (m_report.isSending()) {
        answer(ControlReply::failure(QStringLiteral("Another report is being sent.")));
        co_return;
    }
    const account::GatewayBugReportForm form = reportFormIn(request);
    m_report.setForm(form);
    if (m_report.isSubmitDisabled()) {
        answer(ControlReply::failure(
            form.descriptionText.trimmed().isEmpty()
                ? QStringLiteral("The description is empty.")
                : QStringLiteral("Attachments are required for import/opening issues.")));
        co_return;
    }
    co_await m_report.send();
    const bool isSent = m_report.didSendSuccessfully();
    const QString problem = sentence(m_report.errorMessage());
    m_report.setForm({});
    answer(isSent ? ControlReply::success() : ControlReply::failure(problem));
}

} // namespace gateway::terminal
