#include "dicom_helper/worker/fragment_reader.h"

#include <array>

namespace gateway::dicom_helper::worker {

namespace {

std::uint32_t littleEndian(std::span<const std::byte> bytes)
{
    std::uint32_t value = 0;
    for (std::size_t i = 4; i > 0; --i) {
        value = (value << 8U) | std::to_integer<std::uint32_t>(bytes[i - 1]);
    }
    return value;
}

} // namespace

FragmentReader::FragmentReader(ByteSource &source, std::uint64_t offset, std::uint64_t frames)
    : m_source(source), m_position(offset)
{
    const auto length = itemLength();
    if (!length || *length != frames * 4) {
        throw FragmentError("the offset table hasn't an entry a frame");
    }
    m_table.resize(*length);
    if (m_source.read(m_position, m_table) != m_table.size()) {
        throw FragmentError("the offset table is truncated");
    }
    m_position += *length;
    m_firstFragment = m_position;
}

/// The length of the item at the position, which moves behind its header; nothing where there is none.
std::optional<std::uint32_t> FragmentReader::itemLength()
{
    std::array<std::byte, 8> header{};
    if (m_source.read(m_position, header) != header.size() || littleEndian(header) != 0xE000FFFEU) {
        return std::nullopt;
    }
    m_position += header.size();
    return littleEndian(std::span(header).subspan(4));
}

std::span<const std::byte> FragmentReader::next()
{
    const std::uint64_t here = m_position - m_firstFragment;
    if (littleEndian(std::span(m_table).subspan(m_index * 4, 4)) != here) {
        throw FragmentError("the offset table points elsewhere");
    }
    const auto length = itemLength();
    if (!length || *length > m_source.size()) {
        throw FragmentError("a fragment is missing");
    }
    m_fragment.resize(*length);
    if (m_source.read(m_position, m_fragment) != m_fragment.size()) {
        throw FragmentError("a fragment is truncated");
    }
    m_position += *length;
    ++m_index;
    return m_fragment;
}

bool FragmentReader::atEnd()
{
    std::array<std::byte, 4> tag{};
    return m_source.read(m_position, tag) == tag.size() && littleEndian(tag) == 0xE0DDFFFEU;
}

} // namespace gateway::dicom_helper::worker
