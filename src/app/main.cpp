#include "app/client_commands.h"
#include "app/command_line.h"
#include "app/console.h"
#include "app/home_layout.h"
#include "app/program.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QProcessEnvironment>

#include <csignal>

#include <sys/stat.h>

namespace app = gateway::app;

/// quorin-gateway: the gateway itself with --headless, else one command for the instance that runs.
int main(int argc, char **argv)
{
    // A peer or a pipe that has gone is an error of one write, not the end of the program.
    std::signal(SIGPIPE, SIG_IGN);
    // Images and settings are for their owner's eyes.
    ::umask(S_IRWXG | S_IRWXO);
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quorin-gateway"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QUORIN_VERSION));

    const auto parsed = app::parseCommandLine(QCoreApplication::arguments().mid(1));
    if (const auto *end = std::get_if<app::CommandLineEnd>(&parsed)) {
        if (end->exitCode == 0) {
            app::printOut(end->text);
        } else {
            app::printError(end->text.trimmed());
        }
        return end->exitCode;
    }
    const auto &invocation = std::get<app::Invocation>(parsed);
    const app::HomeLayout layout =
        app::homeLayout(invocation.options.home, QProcessEnvironment::systemEnvironment());
    const app::ExitCode code = std::holds_alternative<app::RunHeadless>(invocation.command)
                                   ? app::runHeadless(layout, invocation.options)
                                   : app::runCommand(layout, invocation);
    return static_cast<int>(code);
}
