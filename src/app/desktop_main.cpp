#include "app/desktop_program.h"
#include "app/entry.h"
#include "terminal/client/console.h"

namespace app = gateway::app;
namespace terminal = gateway::terminal;

/// quorin-gateway-desktop: what quorin-gateway becomes when it is started without a command.
int main(int argc, char **argv)
{
    return app::enter(
        argc,
        argv,
        [&argc, argv](const terminal::Invocation &invocation, const gateway::core::HomeLayout &layout) {
            if (std::holds_alternative<terminal::RunDesktop>(invocation.command)) {
                return app::runDesktop(argc, argv, layout, invocation.options);
            }
            terminal::printError(QStringLiteral("Commands go to quorin-gateway."));
            return terminal::ExitCode::usage;
        });
}
