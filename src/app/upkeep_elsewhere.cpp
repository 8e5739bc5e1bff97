#include "app/upkeep_elsewhere.h"

#include <QtCore/QCoreApplication>

namespace gateway::app {

void PackagedUpkeep::checkForUpdates(const QString & /*reason*/)
{
    m_face.showNotice(QCoreApplication::translate("PackagedUpkeep", "Updates Come With the System"),
                      QCoreApplication::translate(
                          "PackagedUpkeep",
                          "This is version %1. Your system's package manager keeps the gateway up to "
                          "date; the gateway itself doesn't look for newer versions.")
                          .arg(QStringLiteral(QUORIN_VERSION)));
}

} // namespace gateway::app
