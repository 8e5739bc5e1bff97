#pragma once

#include <QtCore/QString>

namespace gateway::core {

/// The key under which the address is kept that feedback goes to; nothing there for none.
inline const QString kSupportEmailKey = QStringLiteral("QuorinGateway.supportEmail");

} // namespace gateway::core
