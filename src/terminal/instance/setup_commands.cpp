#include "terminal/instance/setup_commands.h"

#include "terminal/commands/command_requests.h"

#include <optional>

namespace gateway::terminal {

SetupCommands::SetupCommands(const Collaborators &with) : m_with(with), m_scope(with.main, with.pool) {}

bool SetupCommands::handle(const ControlRequest &request, const Answer &answer)
{
    if (request.command != requests::kSetup) {
        return false;
    }
    if (const std::optional<wizard::SetupDraft> draft = draftIn(request)) {
        m_scope.start(apply(*draft, answer));
    } else {
        answer(ControlReply::failure(QStringLiteral("This is no retention policy."), ExitCode::usage));
    }
    return true;
}

QCoro::Task<void> SetupCommands::apply(wizard::SetupDraft draft, Answer answer)
{
    const std::optional<QString> problem = co_await m_with.setup.apply(draft);
    const int port = wizard::parsedPort(draft.portText).value_or(0);
    answer(problem ? ControlReply::failure(*problem)
                   : ControlReply::success({{QStringLiteral("address"), m_with.listener.addressText(port)}}));
}

} // namespace gateway::terminal
