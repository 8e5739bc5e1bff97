#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace gateway::cloud {

/// What an attribute describes.
enum class Level
{
    study,
    series,
    instance
};

/// A DICOM attribute that the index keeps and queries can match.
///
/// Thread: any; a constant.
struct Attribute
{
    std::uint32_t tag;
    const char *keyword; ///< PS3.6; also the column's name
    const char *vr;
    Level level;
    bool counted; ///< worked out from the rows below, not read from the object
};

/// Every attribute of the index, in the order of tags within a level. Thread: any.
std::span<const Attribute> indexedAttributes();

/// The attribute of that tag, or null. Thread: any.
const Attribute *indexedAttribute(std::uint32_t tag);

/// Finds an attribute by keyword or by eight hexadecimal digits. Thread: any.
const Attribute *attributeNamed(std::string_view name);

/// The value representation that PS3.6 gives a tag, for syntaxes that don't carry it; "UN" where it isn't
/// known here. Thread: any.
std::string_view dictionaryVr(std::uint32_t tag);

inline constexpr std::uint32_t kSpecificCharacterSet = 0x00080005;
inline constexpr std::uint32_t kSopClassUid = 0x00080016;
inline constexpr std::uint32_t kSopInstanceUid = 0x00080018;
inline constexpr std::uint32_t kStudyInstanceUid = 0x0020000D;
inline constexpr std::uint32_t kSeriesInstanceUid = 0x0020000E;
inline constexpr std::uint32_t kAvailableTransferSyntaxUid = 0x00083002;
inline constexpr std::uint32_t kFloatPixelData = 0x7FE00008;

} // namespace gateway::cloud
