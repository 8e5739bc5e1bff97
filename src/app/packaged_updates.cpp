#include "app/packaged_updates.h"

#include <QtCore/QCoreApplication>

namespace gateway::app {

void PackagedUpdates::checkForUpdates()
{
    m_face.showNotice(QCoreApplication::translate("PackagedUpdates", "Updates Come With the System"),
                      QCoreApplication::translate(
                          "PackagedUpdates",
                          "This is version %1. Your system's package manager keeps the gateway up to "
                          "date; the gateway itself doesn't look for newer versions.")
                          .arg(QStringLiteral(QUORIN_VERSION)));
}

} // namespace gateway::app
