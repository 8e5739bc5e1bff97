#pragma once

#include "core/dcm_listener_settings.h"
#include "core/settings.h"
#include "platform/defaults/user_defaults.h"
#include "terminal/instance/settings_disk.h"

#include <QtCore/QString>

#include <functional>
#include <optional>
#include <vector>

namespace gateway::terminal::settings_rules {

// How a value that comes as text is checked and kept. Each returns the sentence when the value isn't taken,
// and nothing has changed then. Thread: plain functions.

using Issue = std::optional<QString>;

Issue setFlag(const QString &key, const QString &value, const std::function<bool(bool)> &keep);
Issue setChoice(const QString &key,
                const QString &value,
                const std::vector<int> &choices,
                const std::function<bool(int)> &keep);

/// Changes one member of the listener's record and keeps the others.
Issue changeListener(platform::UserDefaults &defaults,
                     const QString &value,
                     Issue (*change)(core::DCMListenerSettings &, const QString &));

Issue setAETitle(core::DCMListenerSettings &record, const QString &value);
Issue setPort(core::DCMListenerSettings &record, const QString &value);
Issue setTimeout(core::DCMListenerSettings &record, const QString &value);
Issue setAssociationsPerAddress(core::DCMListenerSettings &record, const QString &value);
Issue setSyntax(core::DCMListenerSettings &record, const QString &value);
Issue setIsEnabled(core::DCMListenerSettings &record, const QString &value);
Issue setAdvertise(core::DCMListenerSettings &record, const QString &value);

/// An empty value means the default folder.
Issue setDestinationFolder(core::Settings &settings, const SettingsDisk &disk, const QString &value);

Issue setCloudAddress(platform::UserDefaults &defaults, const QString &value);

/// The cloud's address without what may be a password in it.
QString cloudAddressText(const platform::UserDefaults &defaults);

Issue setCloudKind(platform::UserDefaults &defaults, const QString &value);

/// A file with certificates of authorities (PEM); an empty text takes it away.
Issue setCloudCertificateFile(platform::UserDefaults &defaults,
                              const SettingsDisk &disk,
                              const QString &value);

/// A web proxy as http://HOST:PORT; an empty text leaves it to the environment.
Issue setCloudProxy(platform::UserDefaults &defaults, const QString &value);

/// What --cloud and --cloud-kind named, as far as they did.
Issue keepCloud(platform::UserDefaults &defaults,
                const std::optional<QString> &address,
                const std::optional<QString> &kind);

Issue setRetrieveMode(platform::UserDefaults &defaults, const QString &value);

/// "dark", "light" or "desktop".
Issue setAppearance(platform::UserDefaults &defaults, const QString &value);

/// The most that the log files may take in all, in MiB; 0 or an empty text for no limit.
Issue setLogLimit(platform::UserDefaults &defaults, const QString &value);

/// The whole policy in one step, as setup words it: never, N-days or N-months.
Issue setAutoDelete(core::Settings &settings, const QString &value);

/// `never` forgets the amount; the other modes need one that fits.
Issue setAutoDeleteMode(core::Settings &settings, const QString &value);
Issue setAutoDeleteValue(core::Settings &settings, const QString &value);

} // namespace gateway::terminal::settings_rules
