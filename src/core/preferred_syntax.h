#pragma once

#include <QtCore/QString>

#include <array>
#include <optional>

namespace gateway::core {

/// The transfer syntax that the listener announces to browsing peers as the one it likes best.
///
/// The numbers stand in stored settings and don't change. Every transfer syntax is taken, whatever is chosen.
enum class PreferredSyntaxForIncomingType
{
    explicitLittleEndian = 2,
    jpeg2000LosslessAndlossy = 27,
    jpegLSLosslessAndlossy = 24,
    jpegLossless = 21,
    implicitLittleEndianOnly = 0,
    jpegLSLosslessOnly = 23,
    jpeg2000LosslessOnly = 26
};

/// All cases, in the order in which they are offered.
inline constexpr std::array kAllPreferredSyntaxes{
    PreferredSyntaxForIncomingType::explicitLittleEndian,
    PreferredSyntaxForIncomingType::jpeg2000LosslessAndlossy,
    PreferredSyntaxForIncomingType::jpegLSLosslessAndlossy,
    PreferredSyntaxForIncomingType::jpegLossless,
    PreferredSyntaxForIncomingType::implicitLittleEndianOnly,
    PreferredSyntaxForIncomingType::jpegLSLosslessOnly,
    PreferredSyntaxForIncomingType::jpeg2000LosslessOnly,
};

/// The case with this number, or nothing.
std::optional<PreferredSyntaxForIncomingType> preferredSyntaxFromRawValue(int rawValue);

/// How people read it, in the picker and in the network announcement.
QString displayText(PreferredSyntaxForIncomingType syntax);

} // namespace gateway::core
