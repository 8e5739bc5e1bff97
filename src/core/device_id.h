#pragma once

#include <QtCore/QString>

namespace gateway::platform {
class UserDefaults;
}

namespace gateway::core {

/// The identity of this installation towards the cloud: a UUID in upper case, made on first use and the same
/// until the defaults are wiped. Threads and processes that ask at once get the same one. Thread: any.
QString deviceId(platform::UserDefaults &defaults);

/// The stored retrieve mode as a switch: true when a number other than 0 is stored. Thread: any.
bool retrieveMode(const platform::UserDefaults &defaults);

/// Stores the retrieve mode as 1 or 0. \return false when it could not be written.
bool setRetrieveMode(platform::UserDefaults &defaults, bool on);

} // namespace gateway::core
