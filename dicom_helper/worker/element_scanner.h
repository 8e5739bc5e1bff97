#pragma once

#include "dicom_helper/worker/byte_source.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace gateway::dicom_helper::worker {

/// Group in the upper, element in the lower 16 bits.
using Tag = std::uint32_t;

/// Two letters, the first in the upper 8 bits; 0 where the encoding is implicit.
using Vr = std::uint16_t;

constexpr Vr vr(char first, char second)
{
    return static_cast<Vr>((static_cast<unsigned char>(first) << 8U) | static_cast<unsigned char>(second));
}

constexpr std::uint16_t group(Tag tag)
{
    return static_cast<std::uint16_t>(tag >> 16U);
}

/// True for the value representations of PS3.5 6.2.
bool isKnownVr(Vr candidate);

inline constexpr std::uint32_t kUndefinedLength = 0xFFFFFFFFU;

inline constexpr Tag kItem = 0xFFFEE000U;
inline constexpr Tag kItemDelimiter = 0xFFFEE00DU;
inline constexpr Tag kSequenceDelimiter = 0xFFFEE0DDU;

inline constexpr Tag kFloatPixelData = 0x7FE00008U;
inline constexpr Tag kDoubleFloatPixelData = 0x7FE00009U;
inline constexpr Tag kPixelData = 0x7FE00010U;

constexpr bool isPixelData(Tag tag)
{
    return tag == kPixelData || tag == kFloatPixelData || tag == kDoubleFloatPixelData;
}

/// How the elements of a dataset are written (PS3.5 7.1).
struct DatasetEncoding
{
    bool explicitVr = true;
    bool bigEndian = false;

    bool operator==(const DatasetEncoding &) const = default;
};

/// Where a data element stands. Delimiters are never reported as elements, items where it is asked for.
struct Element
{
    Tag tag = 0;
    Vr vr = 0;
    std::uint32_t length = 0;      ///< in bytes, or kUndefinedLength
    std::uint64_t offset = 0;      ///< of its header, in the source
    std::uint64_t valueOffset = 0; ///< in the source
    unsigned depth = 0;            ///< how many items are around it; 0 in the dataset itself
    bool isEntered = false;        ///< a sequence whose items, if it has any, come next
};

enum class ScanEnd
{
    running,   ///< not there yet
    atEnd,     ///< the source was read to its end, and all that was opened was closed
    oddTail,   ///< so it was, but for fewer bytes than the shortest element has, which aren't all zero
    truncated, ///< the source ends in the middle of something
    malformed, ///< what stands there is no element
    tooDeep    ///< sequences are nested deeper than allowed
};

/// Walks the elements of a dataset one after another, without recursion and without reading values.
///
/// Its cost is bounded by the source's size: one small record a level of nesting, up to the limit.
/// Thread: the worker's only one. Borrows the source.
class ElementScanner
{
public:
    struct Options
    {
        /// Items within items; PS3.5 sets no limit, the toolkit's recursion does.
        unsigned deepest = 64;

        /// Walk through sequences of defined length too, instead of stepping over them.
        bool intoDefinedLength = true;

        /// Walk through sequences of this group all the same, and through all that is inside them.
        std::uint16_t intoGroup = 0;

        /// Walk through elements of representation UN that look like sequences, too.
        bool intoUnknown = false;

        /// Report each item of a sequence that is walked through, before what is in it, as an element kItem.
        bool reportItems = false;
    };

    ElementScanner(ByteSource &source, std::uint64_t offset, DatasetEncoding encoding, Options options);

    /// The next element; nothing at the end, whose kind `end()` tells.
    std::optional<Element> next();

    ScanEnd end() const { return m_end; }

    /// Where the next element is looked for.
    std::uint64_t position() const { return m_position; }

    /// True while some sequence or some fragments are open.
    bool isInsideSequence() const { return !m_levels.empty(); }

    /// False once an element has reached beyond the item or the sequence around it, or a delimiter has closed
    /// one elsewhere than its length says.
    bool isConsistent() const { return m_isConsistent; }

    /// True once an element has had a representation that is none, and was read as UN all the same.
    bool hasOddRepresentation() const { return m_hasOddRepresentation; }

    /// True when the last element stands somewhere inside the sequence `tag`.
    bool inside(Tag tag) const;

    /// The encoding of the last element: a sequence of unknown VR is implicit inside (PS3.5 6.2.2).
    DatasetEncoding encoding() const;

private:
    enum class Kind : std::uint8_t
    {
        sequence,
        item,
        fragments
    };

    struct Level
    {
        std::uint64_t end; ///< UINT64_MAX while undefined
        Tag tag;           ///< of the element that opened it
        Kind kind;
        bool implicitInside;
    };

    struct Header
    {
        Tag tag = 0;
        Vr vr = 0;
        std::uint32_t length = 0;
        unsigned size = 0;
    };

    std::optional<Header> readHeader();
    std::optional<Header> readOddHeader(std::span<const std::byte> bytes, Vr odd);
    bool fits(const Header &header, Vr odd);
    void leaveFinishedLevels();
    bool takeDelimiter(const Header &header);
    bool enterItem(const Header &header);
    bool stepPast(const Element &element);
    bool beginsWithItem(const Element &element);
    bool mayEnter(Tag tag) const;
    void pop();
    std::nullopt_t stop(ScanEnd end);

    ByteSource &m_source;
    std::uint64_t m_position;
    DatasetEncoding m_encoding;
    Options m_options;
    std::vector<Level> m_levels;
    unsigned m_depth = 0;
    bool m_isConsistent = true;
    bool m_hasOddRepresentation = false;
    ScanEnd m_end = ScanEnd::running;
};

} // namespace gateway::dicom_helper::worker
