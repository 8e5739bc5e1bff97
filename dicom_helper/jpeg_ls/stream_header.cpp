#include "dicom_helper/jpeg_ls/stream_header.h"

namespace gateway::dicom_helper::jpeg_ls {

namespace {

class HeaderWriter
{
public:
    void marker(unsigned code)
    {
        byte(0xFF);
        byte(code);
    }

    void byte(unsigned value) { m_bytes.push_back(static_cast<std::uint8_t>(value)); }

    void word(unsigned value)
    {
        byte(value >> 8U);
        byte(value & 0xFFU);
    }

    std::vector<std::uint8_t> take() { return std::move(m_bytes); }

private:
    std::vector<std::uint8_t> m_bytes;
};

void writeFrameHeader(HeaderWriter &to, const ImageShape &shape)
{
    to.marker(0xF7);
    to.word(8 + 3 * shape.components);
    to.byte(shape.precision);
    to.word(shape.rows);
    to.word(shape.columns);
    to.byte(shape.components);
    for (unsigned component = 1; component <= shape.components; ++component) {
        to.byte(component);
        to.byte(0x11); // neither is subsampled
        to.byte(0);
    }
}

void writePresetParameters(HeaderWriter &to, const CodingParameters &parameters)
{
    to.marker(0xF8);
    to.word(13);
    to.byte(1);
    for (const int value : {parameters.MAXVAL, parameters.T1, parameters.T2, parameters.T3, RESET}) {
        to.word(static_cast<unsigned>(value));
    }
}

void writeScanHeader(HeaderWriter &to, const ImageShape &shape)
{
    to.marker(0xDA);
    to.word(6 + 2 * shape.components);
    to.byte(shape.components);
    for (unsigned component = 1; component <= shape.components; ++component) {
        to.byte(component);
        to.byte(0); // no mapping table
    }
    to.byte(0); // NEAR
    to.byte(static_cast<unsigned>(shape.interleave));
    to.byte(0); // no point transform
}

} // namespace

std::vector<std::uint8_t> streamHeader(const ImageShape &shape, const CodingParameters &parameters)
{
    HeaderWriter header;
    header.marker(0xD8);
    writeFrameHeader(header, shape);
    if (shape.precision > 12) {
        writePresetParameters(header, parameters);
    }
    writeScanHeader(header, shape);
    return header.take();
}

} // namespace gateway::dicom_helper::jpeg_ls
