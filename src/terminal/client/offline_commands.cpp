#include "terminal/client/offline_commands.h"

#include "core/settings.h"
#include "platform/defaults/user_defaults.h"
#include "platform/files/file_error.h"
#include "platform/files/home_lock.h"
#include "receive/network_address.h"
#include "terminal/commands/command_requests.h"
#include "terminal/instance/doctor_commands.h"
#include "terminal/instance/settings_commands.h"
#include "wizard/setup_apply.h"

#include <QtCore/QDateTime>

namespace gateway::terminal {

namespace {

ControlReply setUp(const ControlRequest &request,
                   const QString &bindAddress,
                   core::Settings &settings,
                   platform::UserDefaults &defaults)
{
    const std::optional<wizard::SetupDraft> draft = draftIn(request);
    if (!draft) {
        return ControlReply::failure(QStringLiteral("This is no retention policy."), ExitCode::usage);
    }
    const auto probe = [&](int port) { return wizard::probePort(port, bindAddress); };
    if (const std::optional<QString> issue = wizard::firstBlockingIssue(*draft, probe)) {
        return ControlReply::failure(*issue);
    }
    if (const std::optional<QString> issue = wizard::writeDraft(*draft, settings, defaults)) {
        return ControlReply::failure(*issue);
    }
    if (!wizard::markSetupCompleted(settings, QDateTime::currentDateTimeUtc())) {
        return ControlReply::failure(QStringLiteral("The settings could not be written."));
    }
    return ControlReply::success(
        {{QStringLiteral("address"),
          receive::listenerAddressText(bindAddress, wizard::parsedPort(draft->portText))}});
}

} // namespace

ControlReply workWithoutInstance(const core::HomeLayout &layout,
                                 const GlobalOptions &options,
                                 const ControlRequest &request)
{
    try {
        core::makeFolders(layout);
        const std::optional<platform::HomeLock> lock = platform::HomeLock::tryLock(layout.lockFile());
        if (!lock) {
            return ControlReply::failure(
                QStringLiteral("Another process uses this home and doesn't answer; try again in a moment."));
        }
        platform::UserDefaults defaults(layout.defaultsFile);
        core::Settings settings(defaults);
        if (request.command == requests::kSetup) {
            return setUp(request, options.bindAddress, settings, defaults);
        }
        if (request.command == requests::kDoctor) {
            return examineWithoutInstance(layout, defaults, settings, request);
        }
        SettingsCatalogue catalogue(settings, defaults);
        return answerSettings(catalogue, request).reply;
    } catch (const core::HomeError &error) {
        return ControlReply::failure(error.message);
    } catch (const platform::FileError &error) {
        return ControlReply::failure(error.message());
    } catch (const platform::DefaultsError &error) {
        return ControlReply::failure(error.message());
    }
}

} // namespace gateway::terminal
