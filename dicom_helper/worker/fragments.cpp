#include "dicom_helper/worker/fragments.h"

#include <array>

namespace gateway::dicom_helper::worker {

Fragments::Fragments(ByteSource &source, std::uint64_t offset) : m_source(source), m_position(offset)
{
    m_table = next();
}

std::optional<Fragments::Fragment> Fragments::next()
{
    const auto length = littleEndianAt(m_source, m_position + 4);
    if (!length || littleEndianAt(m_source, m_position) != kItemBytes) {
        return std::nullopt;
    }
    const Fragment found{m_position, m_position + 8, *length};
    m_position = found.end();
    return found;
}

std::optional<std::uint32_t> littleEndianAt(ByteSource &source, std::uint64_t offset)
{
    std::array<std::byte, 4> bytes{};
    if (source.read(offset, bytes) != bytes.size()) {
        return std::nullopt;
    }
    std::uint32_t value = 0;
    for (std::size_t i = bytes.size(); i > 0; --i) {
        value = (value << 8U) | std::to_integer<std::uint32_t>(bytes[i - 1]);
    }
    return value;
}

} // namespace gateway::dicom_helper::worker
