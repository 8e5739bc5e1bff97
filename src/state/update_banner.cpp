#include "state/update_banner.h"

#include <QtCore/QCoreApplication>

namespace gateway::state {

QString updateAvailableBanner(const QString &displayVersion, const QString &version)
{
    const QString trimmed = displayVersion.trimmed();
    return QCoreApplication::translate("UpdateBanner",
                                       "Update available: Quorin Gateway %1. Choose Check for Updates…")
        .arg(trimmed.isEmpty() ? version : trimmed);
}

QString criticalUpdateBanner()
{
    return QCoreApplication::translate("UpdateBanner", "Critical update available. Install update now.");
}

QString installsOnQuitBanner()
{
    return QCoreApplication::translate(
        "UpdateBanner", "A new Quorin Gateway version is available. Updates install automatically on quit.");
}

QString longUncheckedBanner()
{
    return QCoreApplication::translate("UpdateBanner",
                                       "Quorin Gateway has not checked for updates for over 30 days. "
                                       "Please connect to the internet.");
}

} // namespace gateway::state
