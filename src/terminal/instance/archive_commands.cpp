#include "terminal/instance/archive_commands.h"

#include "cloud_client/quorin_api_client.h"
#include "platform/concurrency/async.h"
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

ArchiveCommands::ArchiveCommands(const Collaborators &with) : m_with(with), m_scope(with.main, with.pool)
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
    if (!m_with.client.isPlainArchive()) {
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
    cloud_client::NetworkSettings &settings = m_with.client.networkSettings();
    const std::optional<QString> session = presentSession();
    QJsonObject shown = session
                            ? archiveJson(cloud_client::archiveSignIn(*session))
                            : QJsonObject{{QStringLiteral("method"), QStringLiteral("nobody is signed in")}};
    shown.insert(QStringLiteral("archive"),
                 m_with.client.configuration().baseUrl.toString(QUrl::RemoveUserInfo));
    shown.insert(QStringLiteral("refused"), settings.areCredentialsRefused());
    shown.insert(QStringLiteral("ended"), settings.endedSession().has_value());
    return ControlReply::success(shown);
}

/// The session, or the one that was ended: what stands in it needn't be said again.
std::optional<QString> ArchiveCommands::presentSession() const
{
    const cloud_client::NetworkSettings &settings = m_with.client.networkSettings();
    const std::optional<QString> session = settings.token();
    return session ? session : settings.endedSession();
}

std::optional<QString> ArchiveCommands::issueWith(const cloud_client::ArchiveSignIn &signIn) const
{
    if (auto issue = cloud_client::issueWith(signIn.certificate, m_with.clock.now())) {
        return issue;
    }
    if (auto issue = cloud_client::issueWith(signIn)) {
        return issue;
    }
    return cloud_client::issueWith(signIn.extras, m_with.client.configuration().allowPlainHttp);
}

QCoro::Task<> ArchiveCommands::set(ControlRequest request, Answer answer)
{
    const std::optional<QString> present = presentSession();
    if (const auto issue = issueWithKeeping(request, m_with.client.networkSettings().isKnown(), present)) {
        answer(ControlReply::failure(*issue));
        co_return;
    }
    const cloud_client::ArchiveSignIn wanted = signInIn(request, present);
    if (const auto issue = issueWith(wanted)) {
        answer(ControlReply::failure(*issue));
        co_return;
    }
    if (m_waiting) {
        m_waiting->stop.request_stop(); // this one takes its place
    }
    if (wanted.method == cloud_client::ArchiveSignIn::Method::device) {
        co_await setByCode(wanted, answer);
        co_return;
    }
    ControlReply reply = co_await signIn(wanted, std::nullopt);
    answer(reply);
}

QCoro::Task<ControlReply> ArchiveCommands::signIn(cloud_client::ArchiveSignIn signIn,
                                                  std::optional<cloud_client::DeviceTokens> granted)
{
    if (m_with.auth.isChecking()) {
        co_return ControlReply::failure(QStringLiteral("Another sign-in or sign-out is under way."));
    }
    const bool isSignedIn = co_await m_with.auth.signInToArchive(std::move(signIn), std::move(granted));
    co_return signInReply(m_with.auth, isSignedIn, m_with.plainSecrets());
}

/// The answer is the code that a person has to be told; who asks waits for the end with another request.
QCoro::Task<> ArchiveCommands::setByCode(cloud_client::ArchiveSignIn wanted, Answer answer)
{
    const auto waiting = std::make_shared<Waiting>();
    m_waiting = waiting;
    const std::stop_callback whenClosing(m_scope.stopToken(),
                                         [stop = waiting->stop]() mutable { stop.request_stop(); });
    const auto tell = [waiting, answer](const cloud_client::DeviceCode &code) {
        waiting->isTold = true;
        answer(ControlReply::success(codeJson(code)));
    };
    account::DeviceSignInEnd end =
        co_await account::signInByCode({m_with.deviceGrants, m_with.main, m_with.pool, m_with.clock},
                                       wanted,
                                       tell,
                                       waiting->stop.get_token());
    ControlReply reply = ControlReply::failure(end.problem);
    if (end.tokens) {
        wanted.holder = end.tokens->holder;
        reply = co_await signIn(std::move(wanted), std::move(end.tokens));
    }
    waiting->whenHungUp.reset();
    waiting->end = reply;
    if (!waiting->isTold) {
        answer(reply);
    } else if (waiting->answer) {
        waiting->answer(reply);
    }
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
        m_waiting->whenHungUp.emplace(request.hungUp,
                                      [stop = m_waiting->stop]() mutable { stop.request_stop(); });
    }
}

QCoro::Task<> ArchiveCommands::test(ControlRequest request, Answer answer)
{
    if (m_isTesting) {
        answer(ControlReply::failure(QStringLiteral("Another test of the archive is under way.")));
        co_return;
    }
    m_isTesting = true;
    const QList<TrialStep> steps =
        co_await platform::onPool(m_with.main, m_with.pool, [trial = &m_with.trial, stop = request.hungUp] {
            return trial->run(stop);
        });
    m_isTesting = false;
    answer(ControlReply::success(trialJson(steps)));
}

} // namespace gateway::terminal
