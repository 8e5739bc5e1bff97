#include "terminal/instance/archive_commands.h"

#include "cloud_client/quorin_api_client.h"
#include "platform/concurrency/main_thread.h"
#include "terminal/commands/archive_command.h"
#include "terminal/instance/session_commands.h"

#include <QtCore/QJsonArray>

namespace gateway::terminal {

namespace {

using cloud_client::TrialStep;

QString word(TrialStep::Outcome outcome)
{
    switch (outcome) {
    case TrialStep::Outcome::good:
        return QStringLiteral("good");
    case TrialStep::Outcome::remark:
        return QStringLiteral("remark");
    case TrialStep::Outcome::failed:
        return QStringLiteral("failed");
    }
    return {};
}

QJsonObject trialJson(const QList<TrialStep> &steps)
{
    QJsonArray list;
    bool isWell = true;
    for (const TrialStep &step : steps) {
        isWell = isWell && step.outcome != TrialStep::Outcome::failed;
        list.append(QJsonObject{{QStringLiteral("step"), step.step},
                                {QStringLiteral("outcome"), word(step.outcome)},
                                {QStringLiteral("words"), step.words}});
    }
    return {{QStringLiteral("steps"), list}, {QStringLiteral("well"), isWell}};
}

} // namespace

ArchiveCommands::ArchiveCommands(const Collaborators &collaborators)
    : m_collaborators(collaborators), m_scope(collaborators.main, collaborators.pool)
{
    platform::assertMainThread("ArchiveCommands");
}

bool ArchiveCommands::handle(const ControlRequest &request, const Answer &answer)
{
    const bool isSet = request.command == requests::kArchiveSet;
    const bool isTest = request.command == requests::kArchiveTest;
    const bool isWait = request.command == requests::kArchiveWait;
    if (!isSet && !isTest && !isWait && request.command != requests::kArchiveShow) {
        return false;
    }
    if (!m_collaborators.client.isPlainArchive()) {
        answer(ControlReply::failure(QStringLiteral(
            "The cloud of this gateway is of the kind quorin, where an account signs in: quorin-gateway "
            "sign-in --email ADDRESS.")));
    } else if (isSet) {
        m_scope.start(set(request, answer));
    } else if (isTest) {
        m_scope.start(test(request, answer));
    } else if (isWait) {
        wait(request, answer);
    } else {
        answer(show());
    }
    return true;
}

ControlReply ArchiveCommands::show() const
{
    cloud_client::NetworkSettings &settings = m_collaborators.client.networkSettings();
    const std::optional<QString> session = m_collaborators.archive.presentSession();
    QJsonObject shown = session
                            ? archiveJson(cloud_client::archiveSignIn(*session))
                            : QJsonObject{{QStringLiteral("method"), QStringLiteral("nobody is signed in")}};
    shown.insert(QStringLiteral("archive"),
                 m_collaborators.client.configuration().baseUrl.toString(QUrl::RemoveUserInfo));
    shown.insert(QStringLiteral("refused"), settings.areCredentialsRefused());
    shown.insert(QStringLiteral("ended"), settings.endedSession().has_value());
    return ControlReply::success(shown);
}

/// The answer to a sign-in by a code is the code that a person has to be told; who asks waits for the end
/// with another request.
QCoro::Task<> ArchiveCommands::set(ControlRequest request, Answer answer)
{
    const std::optional<QString> present = m_collaborators.archive.presentSession();
    if (const auto issue = issueWithKeeping(request, m_collaborators.archive.isKnown(), present)) {
        answer(ControlReply::failure(*issue));
        co_return;
    }
    const auto waiting = std::make_shared<Waiting>();
    waiting->giveUpOn(request.hungUp);
    const auto tell = [this, waiting, answer](const cloud_client::DeviceCode &code) {
        waiting->whenHungUp.reset(); // whoever asked goes now, and comes back to wait
        m_waiting = waiting;
        waiting->isTold = true;
        answer(ControlReply::success(codeJson(code)));
    };
    const account::ArchiveSignInEnd end =
        co_await m_collaborators.archive.signIn(signInIn(request, present), tell, waiting->stop.get_token());
    waiting->whenHungUp.reset();
    waiting->end = replyTo(end);
    if (!waiting->isTold) {
        answer(*waiting->end);
    } else if (waiting->answer) {
        waiting->answer(*waiting->end);
    }
}

ControlReply ArchiveCommands::replyTo(const account::ArchiveSignInEnd &end) const
{
    return end.isSignedIn ? signInReply(m_collaborators.auth, true, m_collaborators.plainSecrets())
                          : ControlReply::failure(end.problem);
}

void ArchiveCommands::wait(const ControlRequest &request, const Answer &answer)
{
    if (!m_waiting || m_waiting->answer) {
        answer(ControlReply::failure(QStringLiteral("No sign-in by a code is under way.")));
    } else if (m_waiting->end) {
        answer(*m_waiting->end);
        m_waiting.reset();
    } else {
        m_waiting->answer = answer;
        m_waiting->giveUpOn(request.hungUp);
    }
}

QCoro::Task<> ArchiveCommands::test(ControlRequest request, Answer answer)
{
    const std::optional<QList<TrialStep>> steps = co_await m_collaborators.archive.test(request.hungUp);
    answer(steps ? ControlReply::success(trialJson(*steps))
                 : ControlReply::failure(QStringLiteral("Another test of the archive is under way.")));
}

} // namespace gateway::terminal
