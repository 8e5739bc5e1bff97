#include "benchmarks/generator/dataset_writer.h"

namespace gateway::bench {

namespace {

constexpr std::string_view kExplicitLittleEndian = "1.2.840.10008.1.2.1";
constexpr std::string_view kImplementationClassUid = "2.25.177401913266113947316862093118520482175.1";

bool hasLongLength(std::string_view vr)
{
    return vr == "OB" || vr == "OW" || vr == "SQ" || vr == "UN" || vr == "UT";
}

} // namespace

void DatasetWriter::uint16(std::uint16_t value)
{
    m_data.push_back(static_cast<char>(value & 0xFFU));
    m_data.push_back(static_cast<char>(value >> 8U));
}

void DatasetWriter::uint32(std::uint32_t value)
{
    uint16(static_cast<std::uint16_t>(value & 0xFFFFU));
    uint16(static_cast<std::uint16_t>(value >> 16U));
}

void DatasetWriter::tag(std::uint32_t tag)
{
    uint16(static_cast<std::uint16_t>(tag >> 16U));
    uint16(static_cast<std::uint16_t>(tag & 0xFFFFU));
}

void DatasetWriter::longHeader(std::uint32_t tagValue, std::string_view vr, std::size_t length)
{
    tag(tagValue);
    m_data += vr;
    uint16(0);
    uint32(static_cast<std::uint32_t>(length));
}

void DatasetWriter::text(std::uint32_t tagValue, std::string_view vr, std::string_view value)
{
    std::string padded(value);
    if (padded.size() % 2 != 0) {
        padded.push_back(vr == "UI" ? '\0' : ' ');
    }
    if (hasLongLength(vr)) {
        longHeader(tagValue, vr, padded.size());
    } else {
        tag(tagValue);
        m_data += vr;
        uint16(static_cast<std::uint16_t>(padded.size()));
    }
    m_data += padded;
}

void DatasetWriter::number(std::uint32_t tagValue, std::uint16_t value)
{
    tag(tagValue);
    m_data += "US";
    uint16(2);
    uint16(value);
}

void DatasetWriter::bytes(std::uint32_t tagValue, std::string_view vr, std::string_view value)
{
    const bool odd = value.size() % 2 != 0;
    longHeader(tagValue, vr, value.size() + (odd ? 1 : 0));
    m_data += value;
    if (odd) {
        m_data.push_back('\0');
    }
}

void DatasetWriter::sequence(std::uint32_t tagValue, const std::vector<std::string> &items)
{
    std::size_t length = 0;
    for (const std::string &item : items) {
        length += 8 + item.size();
    }
    longHeader(tagValue, "SQ", length);
    for (const std::string &item : items) {
        tag(0xFFFEE000);
        uint32(static_cast<std::uint32_t>(item.size()));
        m_data += item;
    }
}

std::string dicomFile(std::string_view sopClassUid, std::string_view sopInstanceUid, std::string_view dataset)
{
    DatasetWriter meta;
    meta.bytes(0x00020001, "OB", std::string_view("\0\1", 2));
    meta.text(0x00020002, "UI", sopClassUid);
    meta.text(0x00020003, "UI", sopInstanceUid);
    meta.text(0x00020010, "UI", kExplicitLittleEndian);
    meta.text(0x00020012, "UI", kImplementationClassUid);

    const auto length = static_cast<std::uint32_t>(meta.data().size());
    std::string file(128, '\0');
    file += "DICM";
    file += std::string_view("\x02\x00\x00\x00UL\x04\x00", 8);
    for (unsigned shift = 0; shift < 32; shift += 8) {
        file.push_back(static_cast<char>((length >> shift) & 0xFFU));
    }
    file += meta.data();
    file += dataset;
    return file;
}

} // namespace gateway::bench
