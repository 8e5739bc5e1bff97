#include "app/client_commands.h"
#include "app/command_line.h"
#include "app/console.h"
#include "app/desktop_program.h"
#include "app/home_layout.h"
#include "app/program.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QProcessEnvironment>

#include <csignal>

#include <sys/stat.h>

namespace app = gateway::app;

namespace {

QStringList argumentsOf(int argc, char **argv)
{
    QStringList arguments;
    for (int at = 1; at < argc; ++at) {
        arguments.append(QString::fromLocal8Bit(argv[at]));
    }
    return arguments;
}

app::ExitCode run(int argc, char **argv, const app::Invocation &invocation)
{
    const app::HomeLayout layout =
        app::homeLayout(invocation.options.home, QProcessEnvironment::systemEnvironment());
    if (std::holds_alternative<app::RunDesktop>(invocation.command)) {
        return app::runDesktop(argc, argv, layout, invocation.options);
    }
    const QCoreApplication application(argc, argv);
    return std::holds_alternative<app::RunHeadless>(invocation.command)
               ? app::runHeadless(layout, invocation.options)
               : app::runCommand(layout, invocation);
}

} // namespace

/// quorin-gateway: the gateway with its windows, the same with --headless, else one command for the instance
/// that runs.
int main(int argc, char **argv)
{
    // A peer or a pipe that has gone is an error of one write, not the end of the program.
    std::signal(SIGPIPE, SIG_IGN);
    // Images and settings are for their owner's eyes.
    ::umask(S_IRWXG | S_IRWXO);
    QCoreApplication::setApplicationName(QStringLiteral("quorin-gateway"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QUORIN_VERSION));

    const auto parsed = app::parseCommandLine(argumentsOf(argc, argv));
    if (const auto *end = std::get_if<app::CommandLineEnd>(&parsed)) {
        if (end->exitCode == 0) {
            app::printOut(end->text);
        } else {
            app::printError(end->text.trimmed());
        }
        return end->exitCode;
    }
    return static_cast<int>(run(argc, argv, std::get<app::Invocation>(parsed)));
}
