#include "terminal/client/offline_commands.h"

#include "core/settings.h"
#include "platform/defaults/user_defaults.h"
#include "platform/files/file_error.h"
#include "platform/files/home_lock.h"
#include "terminal/commands/command_requests.h"
#include "terminal/instance/doctor_commands.h"
#include "terminal/instance/settings_commands.h"
#include "terminal/instance/settings_rules.h"
#include "terminal/instance/setup_commands.h"

#include <QCoro/QCoroTask>

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>

#include <chrono>
#include <optional>

namespace gateway::terminal {

namespace {

/// The listener that comes with the next start of the gateway; until then the look at the port has to do.
class ComingListener final : public wizard::SetupListener
{
public:
    bool isListenerRunning() const override { return false; }
    void startListener() override {}
    void stopListener() override {}

    QCoro::Task<void> waitForListenerStart(std::chrono::nanoseconds /*wait*/, double /*seconds*/) override
    {
        co_return;
    }
};

ControlReply setUp(const core::HomeLayout &layout,
                   const GlobalOptions &options,
                   const ControlRequest &request,
                   core::Settings &settings,
                   platform::UserDefaults &defaults)
{
    const CloudArguments cloud = cloudArgumentsIn(request.arguments);
    if (const std::optional<QString> issue = settings_rules::keepCloud(defaults, cloud.url, cloud.kind)) {
        return ControlReply::failure(*issue, ExitCode::usage);
    }
    platform::MainExecutor main;
    platform::WorkerPool pool(QStringLiteral("setup"), 1);
    platform::SystemClock clock;
    ComingListener listener;
    wizard::SetupTurn turn;
    std::optional<ControlReply> reply;
    const auto task =
        carryOutSetup({.defaults = defaults,
                       .settings = settings,
                       .main = main,
                       .pool = pool,
                       .clock = clock,
                       .listener = listener,
                       .turn = turn,
                       .machine = wizard::SetupMachine::here(options.bindAddress, layout.incomingFolder)},
                      request)
            .then([&reply](const ControlReply &result) { reply = result; });
    while (!reply) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    // What listens there, if anything, isn't the gateway yet.
    reply->result.insert(QStringLiteral("isListening"), false);
    return *reply;
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
            return setUp(layout, options, request, settings, defaults);
        }
        if (request.command == requests::kDoctor) {
            return examineWithoutInstance(layout, defaults, settings, request);
        }
        SettingsCatalogue catalogue(settings, defaults, SettingsDisk::here());
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
