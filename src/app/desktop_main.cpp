#include "app/console.h"
#include "app/desktop_program.h"
#include "app/entry.h"

namespace app = gateway::app;

/// quorin-gateway-desktop: what quorin-gateway becomes when it is started without a command.
int main(int argc, char **argv)
{
    return app::enter(
        argc, argv, [&argc, argv](const app::Invocation &invocation, const app::HomeLayout &layout) {
            if (std::holds_alternative<app::RunDesktop>(invocation.command)) {
                return app::runDesktop(argc, argv, layout, invocation.options);
            }
            app::printError(QStringLiteral("Commands go to quorin-gateway."));
            return app::ExitCode::usage;
        });
}
