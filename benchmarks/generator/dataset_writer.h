#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace gateway::bench {

/// Writes one DICOM data set in Explicit VR Little Endian (PS3.5 section 7), element by element.
///
/// The caller keeps the ascending order of the tags. Thread: a plain value.
class DatasetWriter
{
public:
    /// An element of text; padded to an even length with a blank, or with a zero byte for UI.
    void text(std::uint32_t tag, std::string_view vr, std::string_view value);

    /// An element of one unsigned 16-bit number.
    void number(std::uint32_t tag, std::uint16_t value);

    /// Pixel data or other bytes: VR OB or OW, padded with a zero byte.
    void bytes(std::uint32_t tag, std::string_view vr, std::string_view value);

    /// A sequence of items, each given as a finished data set, with defined lengths.
    void sequence(std::uint32_t tag, const std::vector<std::string> &items);

    const std::string &data() const { return m_data; }

private:
    void tag(std::uint32_t tag);
    void uint16(std::uint16_t value);
    void uint32(std::uint32_t value);
    void longHeader(std::uint32_t tag, std::string_view vr, std::size_t length);

    std::string m_data;
};

/// A whole DICOM file (PS3.10 section 7): preamble, meta header, data set in Explicit VR Little Endian.
std::string
dicomFile(std::string_view sopClassUid, std::string_view sopInstanceUid, std::string_view dataset);

} // namespace gateway::bench
