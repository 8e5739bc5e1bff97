#pragma once

#include <QtCore/QString>
#include <QtCore/QtGlobal>

namespace gateway::platform {
class UserDefaults;
}

namespace gateway::core {

/// The key of the most that the log files may take in all, in MiB; nothing there, or 0, for no limit.
inline const QString kLogLimitKey = QStringLiteral("GatewayLogLimitMiB");

/// The bounds of a limit, in MiB: less than some files would hold no story.
inline constexpr int kLeastLogLimitMiB = 50;
inline constexpr int kMostLogLimitMiB = 10'000'000;

/// The limit in bytes; 0 for none. Thread: any.
qint64 logLimitBytes(const platform::UserDefaults &defaults);

} // namespace gateway::core
