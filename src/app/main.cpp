#include "app/entry.h"
#include "app/program.h"
#include "terminal/client/client_commands.h"
#include "terminal/client/console.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <unistd.h>

namespace app = gateway::app;
namespace terminal = gateway::terminal;

namespace {

/// Becomes the program with windows, which lies beside this one. Returns only where that isn't installed.
terminal::ExitCode becomeDesktop(char **argv)
{
    const QString here = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalPath();
    const QByteArray program = QFile::encodeName(here + QStringLiteral("/quorin-gateway-desktop"));
    ::execv(program.constData(), argv);
    terminal::printError(
        QStringLiteral("The gateway's windows aren't installed here; start it with --headless to run "
                       "it without them."));
    return terminal::ExitCode::failed;
}

} // namespace

/// quorin-gateway: the gateway with its windows, the same with --headless, else one command for the instance
/// that runs.
int main(int argc, char **argv)
{
    return app::enter(argc,
                      argv,
                      [argc, argv](const terminal::Invocation &invocation,
                                   const gateway::core::HomeLayout &layout) mutable {
                          if (std::holds_alternative<terminal::RunDesktop>(invocation.command)) {
                              return becomeDesktop(argv);
                          }
                          const QCoreApplication application(argc, argv);
                          return std::holds_alternative<terminal::RunHeadless>(invocation.command)
                                     ? app::runHeadless(layout, invocation.options)
                                     : terminal::runCommand(layout, invocation);
                      });
}
