#pragma once

#include <QtCore/QString>

namespace gateway::state {

// The texts of GatewayFigures::updateBannerMessage. Thread: any.

/// \param displayVersion  the update's version for people; `version` stands in where it is blank.
QString updateAvailableBanner(const QString &displayVersion, const QString &version);

QString criticalUpdateBanner();
QString installsOnQuitBanner();
QString longUncheckedBanner();

} // namespace gateway::state
