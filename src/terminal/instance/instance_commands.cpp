#include "terminal/instance/instance_commands.h"

#include "platform/concurrency/main_thread.h"
#include "terminal/commands/command_requests.h"
#include "terminal/instance/import_commands.h"

#include <QtCore/QCoreApplication>

#include <algorithm>
#include <utility>

namespace gateway::terminal {

InstanceCommands::InstanceCommands(Collaborators collaborators) : m_collaborators(std::move(collaborators))
{
    platform::assertMainThread("InstanceCommands");
}

void InstanceCommands::handle(const ControlRequest &request, const Answer &answer)
{
    const auto isHandled = [&](const Handler &handler) { return handler(request, answer); };
    if (request.command == requests::kActivate) {
        answer(activate());
    } else if (request.command == requests::kUpload) {
        answer(requestUpload());
    } else if (isImportRequest(request)) {
        answer(answerImport(
            m_collaborators.manualImports, request, core::isSetupRequired(m_collaborators.settings)));
    } else if (std::none_of(m_collaborators.handlers.begin(), m_collaborators.handlers.end(), isHandled)) {
        answer(ControlReply::failure(
            QStringLiteral("The running gateway doesn't know the command %1.").arg(request.command),
            ExitCode::usage));
    }
}

ControlReply InstanceCommands::activate()
{
    m_collaborators.reopen();
    return ControlReply::success({{QStringLiteral("pid"), QCoreApplication::applicationPid()}});
}

ControlReply InstanceCommands::requestUpload()
{
    if (core::isSetupRequired(m_collaborators.settings)) {
        return ControlReply::failure(QStringLiteral("Setup isn't finished, so nothing can be uploaded."));
    }
    if (!m_collaborators.auth.state().isSignedIn()) {
        return ControlReply::failure(QStringLiteral("No account is signed in, so nothing can be uploaded."));
    }
    m_collaborators.uploadRequests.requestUpload(QStringLiteral("command_line"),
                                                 upload::UploadUrgency::everythingNow);
    return ControlReply::success();
}

} // namespace gateway::terminal
