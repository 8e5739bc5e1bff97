#include "terminal/instance/instance_commands.h"

#include "core/dcm_listener_settings.h"
#include "platform/concurrency/main_thread.h"
#include "terminal/commands/command_requests.h"
#include "terminal/instance/import_commands.h"
#include "terminal/instance/settings_commands.h"

#include <QtCore/QCoreApplication>

#include <algorithm>
#include <utility>

namespace gateway::terminal {

InstanceCommands::InstanceCommands(Collaborators collaborators) : m_with(std::move(collaborators))
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
        answer(answerImport(m_with.manualImports, request, core::isSetupRequired(m_with.settings)));
    } else if (request.command == requests::kSettingsList || request.command == requests::kSettingsGet ||
               request.command == requests::kSettingsSet) {
        answer(changeSettings(request));
    } else if (std::none_of(m_with.handlers.begin(), m_with.handlers.end(), isHandled)) {
        answer(ControlReply::failure(
            QStringLiteral("The running gateway doesn't know the command %1.").arg(request.command),
            ExitCode::usage));
    }
}

ControlReply InstanceCommands::activate()
{
    m_with.reopen();
    return ControlReply::success({{QStringLiteral("pid"), QCoreApplication::applicationPid()}});
}

ControlReply InstanceCommands::requestUpload()
{
    if (core::isSetupRequired(m_with.settings)) {
        return ControlReply::failure(QStringLiteral("Setup isn't finished, so nothing can be uploaded."));
    }
    if (!m_with.auth.state().isSignedIn()) {
        return ControlReply::failure(QStringLiteral("No account is signed in, so nothing can be uploaded."));
    }
    m_with.uploadRequests.requestUpload(QStringLiteral("command_line"), upload::UploadUrgency::everythingNow);
    return ControlReply::success();
}

ControlReply InstanceCommands::changeSettings(const ControlRequest &request)
{
    SettingsCatalogue catalogue(m_with.settings, m_with.defaults);
    SettingsAnswer answer = answerSettings(catalogue, request);
    if (answer.needsListenerRestart) {
        restartListener();
    }
    const QString key = request.arguments.value(QStringLiteral("key")).toString();
    if (request.command == requests::kSettingsSet && answer.reply.code == ExitCode::done &&
        key.startsWith(QStringLiteral("QuorinAPI."))) {
        answer.reply.result.insert(QStringLiteral("remark"),
                                   QStringLiteral("It counts from the gateway's next start."));
    }
    return std::move(answer.reply);
}

/// Makes the listener go by its new settings: off when it is disabled, else stopped and, with setup finished,
/// started.
void InstanceCommands::restartListener()
{
    receive::StoreListenerService &listener = m_with.listenerService;
    const bool isEnabled = core::DCMListenerSettings::load(m_with.defaults).isEnabled.value_or(true);
    if (!isEnabled || listener.storeListener()) {
        listener.stopListener();
    }
    if (isEnabled && !core::isSetupRequired(m_with.settings)) {
        listener.startListener();
    }
}

} // namespace gateway::terminal
