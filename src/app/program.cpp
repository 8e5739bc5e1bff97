#include "app/program.h"

#include "app/cloud_account.h"
#include "app/gateway.h"
#include "app/headless_face.h"
#include "index/schema.h"
#include "monitor/health_verdict.h"
#include "monitor/service_manager.h"
#include "platform/files/file_error.h"
#include "platform/files/files.h"
#include "platform/files/home_lock.h"
#include "platform/process/quit_signals.h"
#include "terminal/client/console.h"
#include "terminal/commands/command_requests.h"
#include "terminal/commands/suggested_commands.h"
#include "terminal/control/control_client.h"
#include "terminal/control/control_server.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QLocale>
#include <QtCore/QTimer>

#include <chrono>
#include <cstdlib>
#include <optional>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include <unistd.h>

namespace gateway::app {

namespace {

/// An index of a million rows opens in a fraction of this.
constexpr std::chrono::seconds kStartingTimeout{3};
constexpr std::chrono::milliseconds kStartingStep{100};
constexpr std::chrono::seconds kAnswerTimeout{30};
constexpr std::chrono::seconds kStatusInterval{1};

/// Between two tries of a start for which there is no room.
constexpr std::chrono::seconds kRoomPause{2};
constexpr std::chrono::seconds kLongestRoomPause{60};

/// Hands the request to the instance that holds this home; false when none answers.
bool handOver(const core::HomeLayout &layout)
{
    const auto reply =
        terminal::askInstance(layout.controlSocket(), {terminal::requests::kActivate, {}}, kAnswerTimeout);
    if (!reply || reply->code != terminal::ExitCode::done) {
        return false;
    }
    terminal::printOut(QStringLiteral("The gateway runs already for this home, as process %1.\n")
                           .arg(reply->result.value(QStringLiteral("pid")).toInteger()));
    return true;
}

QString unansweredSentence(const core::HomeLayout &layout)
{
    const std::optional<qint64> owner = platform::HomeLock::owner(layout.lockFile());
    return owner ? QStringLiteral("This home is used by process %1, which doesn't answer.").arg(*owner)
                 : QStringLiteral("This home is used by another process, which doesn't answer.");
}

/// Becomes another program, with the arguments of this one. Its locks and sockets close by that, as they do
/// when it ends. Returns only where the program can't be started.
void becomeProgram(const QString &program)
{
    QList<QByteArray> arguments{QFile::encodeName(program)};
    for (const QString &argument : QCoreApplication::arguments().mid(1)) {
        arguments.append(argument.toLocal8Bit());
    }
    std::vector<char *> words;
    for (QByteArray &argument : arguments) {
        words.push_back(argument.data());
    }
    words.push_back(nullptr);
    ::execv(words.front(), words.data());
    terminal::printError(QStringLiteral("%1 can't be started.").arg(program));
}

/// Before the start has nobody left who could be asked what takes so long.
void announceMigration(const core::HomeLayout &layout)
{
    if (const auto bytes = index::olderIndexBytes(layout.indexFile)) {
        const QLocale c = QLocale::c();
        terminal::printError(
            QStringLiteral(
                "The index is being brought to this version. It has %1: that may take a minute for each "
                "200 MiB, and up to %2 more room on its volume, with a copy of what it was. Ending it "
                "meanwhile loses nothing.")
                .arg(c.formattedDataSize(*bytes), c.formattedDataSize(*bytes + *bytes / 2)));
    }
}

/// The event loop of one instance, from launch to quitting.
terminal::ExitCode live(const core::HomeLayout &layout,
                        const terminal::GlobalOptions &options,
                        bool isFirstTry,
                        GatewayFace &face,
                        const std::function<void(Gateway &)> &join)
{
    GatewayOptions told{.layout = layout,
                        .bindAddress = options.bindAddress,
                        .cloudUrl = options.cloudUrl,
                        .cloudKind = options.cloudKind,
                        .metricsAddress = options.metricsAddress,
                        .writeLine = [&options](const QString &line) {
                            terminal::printError(terminal::withOptions(line, options));
                        }};
    if (const auto problem =
            cloudConfiguration(told, platform::UserDefaults(layout.defaultsFile), {}).problem) {
        terminal::printError(*problem);
        return terminal::ExitCode::usage;
    }
    if (isFirstTry) {
        announceMigration(layout);
    }
    Gateway gateway(std::move(told), face);
    join(gateway);
    monitor::ServiceManager serviceManager;
    std::optional<terminal::ControlServer> server;
    server.emplace(
        layout.controlSocket(),
        [&gateway](const terminal::ControlRequest &request, const terminal::ControlServer::Answer &answer) {
            gateway.handle(request, answer);
        });
    // Not quit(), which windows may refuse.
    const platform::QuitSignals quitSignals([] { QCoreApplication::exit(); });
    QTimer watchdog;
    if (const auto interval = serviceManager.watchdogInterval()) {
        QObject::connect(&watchdog, &QTimer::timeout, &watchdog, [&] { serviceManager.alive(); });
        watchdog.start(*interval);
    }
    QTimer status;
    if (serviceManager.isPresent()) {
        QObject::connect(&status, &QTimer::timeout, &status, [&] {
            serviceManager.status(monitor::statusLine(gateway.healthFigures()));
        });
        status.start(kStatusInterval);
    }
    gateway.launch();
    // Behind the late part of the launch, which waits in the same queue.
    QTimer::singleShot(0, [&serviceManager] { serviceManager.ready(); });

    QCoreApplication::exec();

    serviceManager.stopping();
    gateway.terminate();
    server.reset();
    if (!gateway.successor().isEmpty()) {
        becomeProgram(gateway.successor());
    }
    // Nothing is waited for: what is in flight ends with the process, and the next start takes it up.
    std::_Exit(EXIT_SUCCESS);
}

/// Becomes the instance of this home, or hands the request to the one that is. Whoever holds the lock without
/// answering is given some time: an instance may still be starting, a command may be about to end.
terminal::ExitCode liveOrHandOver(const core::HomeLayout &layout,
                                  const std::function<terminal::ExitCode()> &liveHere)
{
    for (auto waited = std::chrono::milliseconds(0); waited < kStartingTimeout; waited += kStartingStep) {
        if (const auto lock = platform::HomeLock::tryLock(layout.lockFile())) {
            const auto indexLock = platform::HomeLock::tryLock(layout.indexLockFile());
            if (indexLock) {
                return liveHere();
            }
            terminal::printError(QStringLiteral("The index is used by another process."));
            return terminal::ExitCode::failed;
        }
        if (handOver(layout)) {
            return terminal::ExitCode::done;
        }
        std::this_thread::sleep_for(kStartingStep);
    }
    terminal::printError(unansweredSentence(layout));
    return terminal::ExitCode::failed;
}

/// The folder of this home where a start finds no room; nothing where there is some in each.
std::optional<QString> folderWithoutRoom(const core::HomeLayout &layout)
{
    constexpr qint64 kEnough = qint64{1024} * 1024; // for the logs of index and settings
    for (const QString &file : {layout.defaultsFile,
                                layout.indexFile,
                                layout.lockFile(),
                                layout.fileStore,
                                layout.incomingFolder}) {
        QString folder = QFileInfo(file).absolutePath();
        while (!QFileInfo::exists(folder) && !QFileInfo(folder).isRoot()) {
            folder = QFileInfo(folder).absolutePath();
        }
        const auto volume = platform::volumeFigures(folder);
        if (volume && volume->availableBytes < kEnough) {
            return folder;
        }
    }
    return std::nullopt;
}

/// Why a start failed before it began.
struct Problem
{
    QString sentence;                                 ///< for people
    std::optional<QString> fullFolder = std::nullopt; ///< where the error itself says that there is no room
};

/// How a try to start ended.
using Ending = std::variant<terminal::ExitCode, Problem>;

Ending tryToLive(const core::HomeLayout &layout, const std::function<terminal::ExitCode()> &liveHere)
{
    try {
        core::makeFolders(layout);
        return liveOrHandOver(layout, liveHere);
    } catch (const core::HomeError &error) {
        return Problem{error.message};
    } catch (const platform::SocketError &error) {
        return Problem{error.message};
    } catch (const platform::FileError &error) {
        return Problem{error.message() + u'.'};
    } catch (const platform::DefaultsError &error) {
        return Problem{error.message()};
    } catch (const index::StoreInUseError &error) {
        return Problem{error.message()};
    } catch (const index::IndexOpenError &error) {
        const QString folder = QFileInfo(layout.indexFile).absolutePath();
        return Problem{QStringLiteral("The index can't be opened: %1.").arg(error.message()),
                       error.isForLackOfRoom() ? std::optional(folder) : std::nullopt};
    }
}

} // namespace

terminal::ExitCode runInstance(const core::HomeLayout &layout,
                               const terminal::GlobalOptions &options,
                               GatewayFace &face,
                               const std::function<void(Gateway &)> &join)
{
    monitor::ServiceManager serviceManager;
    QString told;
    std::chrono::seconds pause = kRoomPause;
    for (;;) {
        const Ending ending =
            tryToLive(layout, [&] { return live(layout, options, told.isEmpty(), face, join); });
        if (const auto *code = std::get_if<terminal::ExitCode>(&ending)) {
            return *code;
        }
        const auto &problem = std::get<Problem>(ending);
        const auto full = folderWithoutRoom(layout);
        if (!full && !problem.fullFolder) {
            terminal::printError(problem.sentence);
            return terminal::ExitCode::failed;
        }
        if (std::exchange(told, problem.sentence) != problem.sentence) {
            const QString waits =
                problem.sentence +
                QStringLiteral(" There is no room at %1. The gateway starts by itself when there is some.")
                    .arg(full.value_or(problem.fullFolder.value_or(QString())));
            terminal::printError(waits);
            serviceManager.status(waits);
        }
        std::this_thread::sleep_for(pause);
        if (!full) {
            pause = std::min(2 * pause, kLongestRoomPause); // all that a try writes is undone again
        }
    }
}

terminal::ExitCode runHeadless(const core::HomeLayout &layout, const terminal::GlobalOptions &options)
{
    HeadlessFace face(
        [&options](const QString &line) { terminal::printError(terminal::withOptions(line, options)); });
    return runInstance(layout, options, face, [](Gateway &) {});
}

} // namespace gateway::app
