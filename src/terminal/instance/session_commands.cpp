#include "terminal/instance/session_commands.h"

#include "platform/concurrency/main_thread.h"
#include "terminal/commands/command_requests.h"

namespace gateway::terminal {

ControlReply
signInReply(const account::QuorinAuthViewModel &auth, bool isSignedIn, const QString &plainSecrets)
{
    if (!isSignedIn) {
        return ControlReply::failure(auth.lastAuthError().value_or(QStringLiteral("Sign in failed.")));
    }
    QStringList remarks{auth.signInRemark().value_or(QString())};
    if (!plainSecrets.isEmpty()) {
        remarks.append(
            QStringLiteral("There is no keyring here, so the session is kept in a file in %1, for this "
                           "user alone to read but not encrypted.")
                .arg(plainSecrets));
    }
    remarks.removeAll(QString());
    return ControlReply::success({{QStringLiteral("label"), auth.signedInLabel().value_or(QString())},
                                  {QStringLiteral("remark"), remarks.join(u' ')}});
}

SessionCommands::SessionCommands(const Collaborators &collaborators)
    : m_collaborators(collaborators), m_scope(collaborators.main, collaborators.pool)
{
    platform::assertMainThread("SessionCommands");
}

bool SessionCommands::handle(const ControlRequest &request, const Answer &answer)
{
    if (request.command == requests::kSignIn) {
        m_scope.start(signIn(request, answer));
    } else if (request.command == requests::kSignOut) {
        m_scope.start(signOut(answer));
    } else {
        return false;
    }
    return true;
}

QCoro::Task<void> SessionCommands::signIn(ControlRequest request, Answer answer)
{
    const QString email = request.arguments.value(QStringLiteral("email")).toString().trimmed();
    const QString password = request.arguments.value(QStringLiteral("password")).toString();
    const bool isWithoutPair = request.arguments.value(QStringLiteral("noAuth")).toBool();
    if (!isWithoutPair && (email.isEmpty() || password.isEmpty())) {
        answer(ControlReply::failure(QStringLiteral("Enter both email and password to sign in.")));
        co_return;
    }
    if (m_collaborators.auth.isChecking()) {
        answer(ControlReply::failure(QStringLiteral("Another sign-in or sign-out is under way.")));
        co_return;
    }

    const std::stop_callback whenHungUp(request.hungUp, [this] { m_collaborators.auth.cancelSignIn(); });
    const bool signedIn = co_await m_collaborators.auth.signIn(email, password);

    answer(signInReply(m_collaborators.auth, signedIn, m_collaborators.plainSecrets()));
}

QCoro::Task<void> SessionCommands::signOut(Answer answer)
{
    if (m_collaborators.auth.isChecking()) {
        answer(ControlReply::failure(QStringLiteral("Another sign-in or sign-out is under way.")));
        co_return;
    }

    co_await m_collaborators.auth.signOut();

    // The session has ended here in any case; what the cloud had to say about it is told.
    answer(ControlReply::success(
        {{QStringLiteral("notice"), m_collaborators.auth.lastAuthError().value_or(QString())}}));
}

} // namespace gateway::terminal
