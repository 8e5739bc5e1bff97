#include "app/desktop_program.h"

#include "app/app_delegate.h"
#include "app/desktop_face.h"
#include "app/gateway.h"
#include "app/program.h"
#include "shell/desktop/desktop_application.h"
#include "terminal/client/console.h"

#include <QtCore/QProcessEnvironment>
#include <QtGui/QGuiApplication>

#include <cstdlib>

namespace gateway::app {

namespace {

/// The wizard comes back whenever somebody turns to the application before setup is finished.
void enforceSetupAtActivation(AppDelegate &delegate)
{
    QObject::connect(
        qGuiApp, &QGuiApplication::applicationStateChanged, qGuiApp, [&delegate](Qt::ApplicationState state) {
            if (state == Qt::ApplicationActive) {
                delegate.enforceSetupWizardIfNeeded();
            }
        });
}

} // namespace

terminal::ExitCode
runDesktop(int &argc, char **argv, const core::HomeLayout &layout, const terminal::GlobalOptions &options)
{
    if (const auto problem = shell::displayProblem(QProcessEnvironment::systemEnvironment())) {
        terminal::printError(*problem);
        return terminal::ExitCode::failed;
    }
    shell::DesktopApplication application(argc, argv, [](const QString &problem) {
        terminal::printError(problem);
        std::_Exit(static_cast<int>(terminal::ExitCode::failed));
    });
    DesktopFace face(application.theme(), application.preferences());
    return runInstance(layout, options, face, [&face](Gateway &gateway) {
        face.join(gateway.screenModels());
        enforceSetupAtActivation(gateway.delegate());
    });
}

} // namespace gateway::app
