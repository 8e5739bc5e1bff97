#pragma once

#include "core/preferred_syntax.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <chrono>
#include <optional>

namespace gateway::platform {
class UserDefaults;
}

namespace gateway::core {

/// The stored TLS profile. The listener itself is plain; a number that has no name here is kept as it is.
enum class TLSSecurityProfile : int
{
    bcp195 = 1 ///< BCP 195 TLS Secure Transport Connection Profile, PS3.15, B.9
};

/// How many associations one address may have at once, unless the settings say otherwise: half of the most
/// that there may be in all, so that no sender alone shuts out the others, and far more than any opens.
inline constexpr int kDefaultAssociationsPerAddress = 128;

/// Under which title and port the listener answers, and how it shows itself on the network.
///
/// A plain value without a live object: loaded at each use, so that a change is seen by the next reader and
/// a running listener keeps what it was started with.
struct DCMListenerSettings
{
    QString aeTitle;
    int port = 1115;
    PreferredSyntaxForIncomingType syntax = PreferredSyntaxForIncomingType::explicitLittleEndian;
    std::chrono::seconds timeout{30};
    std::optional<bool> isEnabled = true;            ///< absent counts as true
    std::optional<bool> advertiseWithBonjour = true; ///< absent counts as true
    std::optional<TLSSecurityProfile> securityProfile = TLSSecurityProfile::bcp195;
    std::optional<bool> verifyPeer = false;
    std::optional<int> associationsPerAddress = std::nullopt; ///< absent counts as the default

    bool operator==(const DCMListenerSettings &) const = default;

    /// The default record, with the computer's name as AE title.
    static DCMListenerSettings recommended();

    /// The stored record, or the default one when there is none or it can't be read as a whole; the stored
    /// bytes then stay as they are. Thread: any.
    static DCMListenerSettings load(const platform::UserDefaults &defaults);

    /// Stores the record durably. \return false when it could not be written. Thread: any.
    bool save(platform::UserDefaults &defaults) const;

    /// One JSON object; absent members are left out.
    QByteArray toJson() const;

    /// Nothing when a member is missing, of the wrong type, out of range or no case of its enumeration. Only
    /// the first four members are required; unknown ones are passed over.
    static std::optional<DCMListenerSettings> fromJson(const QByteArray &bytes);
};

/// The AE title that a computer of this name gets: its first 16 characters, formatted; never empty.
QString aeTitleForComputer(const QString &computerName);

} // namespace gateway::core
