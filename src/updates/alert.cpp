#include "updates/alert.h"

#include <QtCore/QCoreApplication>

namespace gateway::updates {

namespace {

/// Gives the words below a context of their own.
class AlertWords
{
    Q_DECLARE_TR_FUNCTIONS(AlertWords)
};

} // namespace

Alert criticalUpdateAlert()
{
    return {.style = Alert::Style::informational,
            .title = AlertWords::tr("Critical Update Available"),
            .message = AlertWords::tr("A critical Quorin Gateway update is available. Installing the update "
                                      "now is strongly recommended."),
            .accept = AlertWords::tr("Install Update Now"),
            .dismiss = AlertWords::tr("Later")};
}

Alert longUncheckedAlert()
{
    return {.style = Alert::Style::informational,
            .title = AlertWords::tr("Unable to Check for Updates"),
            .message = AlertWords::tr("Quorin Gateway was unable to check for updates for over 30 days. "
                                      "Please connect to the internet so updates can be verified."),
            .accept = AlertWords::tr("OK"),
            .dismiss = {}};
}

Alert moveToApplicationsAlert()
{
    return {.style = Alert::Style::warning,
            .title = AlertWords::tr("Move Quorin Gateway to Applications?"),
            .message = AlertWords::tr(
                "Quorin Gateway is currently running outside the Applications folder. Move it now "
                "so it can update and run reliably."),
            .accept = AlertWords::tr("Move"),
            .dismiss = AlertWords::tr("Not Now")};
}

Alert moveFailedAlert(const QString &why)
{
    return {.style = Alert::Style::warning,
            .title = AlertWords::tr("Couldn’t Move Quorin Gateway"),
            .message =
                AlertWords::tr("Please move Quorin Gateway to Applications manually.\n\nError: %1").arg(why),
            .accept = AlertWords::tr("OK"),
            .dismiss = {}};
}

} // namespace gateway::updates
