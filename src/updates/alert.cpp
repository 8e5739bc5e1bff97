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

} // namespace gateway::updates
