#pragma once

#include <QtCore/QString>

namespace gateway::core {

/// The key under which the address of the page is kept on which an account can be had; nothing there for
/// none.
inline const QString kStorePageKey = QStringLiteral("QuorinGateway.storePage");

} // namespace gateway::core
