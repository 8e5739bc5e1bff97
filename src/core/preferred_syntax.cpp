#include "core/preferred_syntax.h"

#include <algorithm>

namespace gateway::core {

std::optional<PreferredSyntaxForIncomingType> preferredSyntaxFromRawValue(int rawValue)
{
    const auto *const found = std::ranges::find(
        kAllPreferredSyntaxes, rawValue, [](auto syntax) { return static_cast<int>(syntax); });
    return found == kAllPreferredSyntaxes.end() ? std::nullopt : std::optional(*found);
}

QString displayText(PreferredSyntaxForIncomingType syntax)
{
    switch (syntax) {
    case PreferredSyntaxForIncomingType::explicitLittleEndian:
        return QStringLiteral("Explicit Little Endian");
    case PreferredSyntaxForIncomingType::jpeg2000LosslessAndlossy:
        return QStringLiteral("JPEG 2000 Lossless & Lossy");
    case PreferredSyntaxForIncomingType::jpegLSLosslessAndlossy:
        return QStringLiteral("JPEG LS Lossless & Lossy");
    case PreferredSyntaxForIncomingType::jpegLossless:
        return QStringLiteral("JPEG Lossless");
    case PreferredSyntaxForIncomingType::implicitLittleEndianOnly:
        return QStringLiteral("Implicit Little Endian - Only");
    case PreferredSyntaxForIncomingType::jpegLSLosslessOnly:
        return QStringLiteral("JPEG LS Lossless - Only");
    case PreferredSyntaxForIncomingType::jpeg2000LosslessOnly:
        return QStringLiteral("JPEG 2000 Lossless - Only");
    }
    return {};
}

} // namespace gateway::core
