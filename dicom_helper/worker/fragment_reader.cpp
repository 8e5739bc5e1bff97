#include "dicom_helper/worker/fragment_reader.h"

namespace gateway::dicom_helper::worker {

FragmentReader::FragmentReader(ByteSource &source, std::uint64_t offset, std::uint64_t frames)
    : m_source(source), m_fragments(source, offset), m_first(m_fragments.position())
{
    if (!m_fragments.table() || m_fragments.table()->length != frames * 4) {
        throw FragmentError("the offset table hasn't an entry a frame");
    }
}

std::span<const std::byte> FragmentReader::next()
{
    const std::uint64_t here = m_fragments.position() - m_first;
    if (littleEndianAt(m_source, m_fragments.table()->value + m_index * 4) != here) {
        throw FragmentError("the offset table points elsewhere");
    }
    const auto fragment = m_fragments.next();
    if (!fragment || fragment->length > m_source.size()) {
        throw FragmentError("a fragment is missing");
    }
    m_fragment.resize(fragment->length);
    if (m_source.read(fragment->value, m_fragment) != m_fragment.size()) {
        throw FragmentError("a fragment is truncated");
    }
    ++m_index;
    return m_fragment;
}

bool FragmentReader::atEnd()
{
    return littleEndianAt(m_source, m_fragments.position()) == kDelimiterBytes;
}

} // namespace gateway::dicom_helper::worker
