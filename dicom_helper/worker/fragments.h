#pragma once

#include "dicom_helper/worker/byte_source.h"

#include <cstdint>
#include <optional>

namespace gateway::dicom_helper::worker {

/// The tags of an item and of a sequence's delimiter, as their four bytes read as one number.
inline constexpr std::uint32_t kItemBytes = 0xE000FFFEU;
inline constexpr std::uint32_t kDelimiterBytes = 0xE0DDFFFEU;

/// The fragments of encapsulated pixel data, one after another (PS3.5 A.4). They may reach beyond the source.
///
/// Thread: the worker's only one. Borrows the source.
class Fragments
{
public:
    struct Fragment
    {
        std::uint64_t offset = 0; ///< of its header
        std::uint64_t value = 0;  ///< where its bytes begin
        std::uint32_t length = 0;

        std::uint64_t end() const { return value + length; }
    };

    /// \param offset  of the element's value, where the offset table stands.
    Fragments(ByteSource &source, std::uint64_t offset);

    /// The basic offset table; nothing where no item stands.
    const std::optional<Fragment> &table() const { return m_table; }

    /// The next fragment; nothing where no item follows.
    std::optional<Fragment> next();

    /// Where the next fragment is looked for.
    std::uint64_t position() const { return m_position; }

private:
    ByteSource &m_source;
    std::uint64_t m_position;
    std::optional<Fragment> m_table;
};

/// A number of 32 bits, little endian, as all of encapsulated pixel data is; nothing where the source ends.
std::optional<std::uint32_t> littleEndianAt(ByteSource &source, std::uint64_t offset);

} // namespace gateway::dicom_helper::worker
