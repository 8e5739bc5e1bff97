#include "app/client_commands.h"
#include "app/console.h"
#include "app/entry.h"
#include "app/program.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <unistd.h>

namespace app = gateway::app;

namespace {

/// Becomes the program with windows, which lies beside this one. Returns only where that isn't installed.
app::ExitCode becomeDesktop(char **argv)
{
    const QString here = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalPath();
    const QByteArray program = QFile::encodeName(here + QStringLiteral("/quorin-gateway-desktop"));
    ::execv(program.constData(), argv);
    app::printError(
        QStringLiteral("The gateway's windows aren't installed here; start it with --headless to run "
                       "it without them."));
    return app::ExitCode::failed;
}

} // namespace

/// quorin-gateway: the gateway with its windows, the same with --headless, else one command for the instance
/// that runs.
int main(int argc, char **argv)
{
    return app::enter(
        argc, argv, [argc, argv](const app::Invocation &invocation, const app::HomeLayout &layout) mutable {
            if (std::holds_alternative<app::RunDesktop>(invocation.command)) {
                return becomeDesktop(argv);
            }
            const QCoreApplication application(argc, argv);
            return std::holds_alternative<app::RunHeadless>(invocation.command)
                       ? app::runHeadless(layout, invocation.options)
                       : app::runCommand(layout, invocation);
        });
}
