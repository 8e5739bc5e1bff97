#include "dicom_helper/sender/sample_object.h"

#include "dicom_helper/scp/bytes.h"

#include <gtest/gtest.h>

#include <map>

namespace gateway::dicom_helper::sender {
namespace {

const SampleIdentity kIdentity{"2.25.1.1", "2.25.1.2", "2.25.1.3", "20260203", "040506"};

/// The values by their tags, group before element. \throws scp::ProtocolError
std::map<std::uint32_t, std::string> elementsOf(const std::string &dataSet)
{
    scp::ByteReader reader(dataSet);
    std::map<std::uint32_t, std::string> elements;
    while (!reader.atEnd()) {
        const std::uint32_t group = reader.littleShort();
        const std::uint32_t tag = (group << 16U) | reader.littleShort();
        EXPECT_TRUE(elements.empty() || elements.rbegin()->first < tag) << std::hex << tag;
        const bool isLong = reader.take(2) == "OW";
        const std::uint32_t length =
            isLong ? (reader.littleShort(), reader.littleLong()) : reader.littleShort();
        EXPECT_EQ(length % 2, 0U) << std::hex << tag;
        elements[tag] = std::string(reader.take(length));
    }
    return elements;
}

TEST(SampleObject, HoldsWhatItIsCalledAndAWholePicture)
{
    const auto elements = elementsOf(sampleDataSet(kIdentity));

    EXPECT_EQ(elements.at(0x0020000D), kIdentity.study);
    EXPECT_EQ(elements.at(0x0020000E), kIdentity.series);
    EXPECT_EQ(elements.at(0x00080018), kIdentity.instance);
    EXPECT_EQ(elements.at(0x00080020), kIdentity.date);
    EXPECT_EQ(elements.at(0x7FE00010).size(), 128U * 128U * 2U);
}

TEST(SampleObject, SaysPlainlyThatItIsNobody)
{
    const auto elements = elementsOf(sampleDataSet(kIdentity));

    EXPECT_EQ(elements.at(0x00100010), "TEST^QUORIN GATEWAY ");
    EXPECT_EQ(elements.at(0x00100030), "");
    EXPECT_EQ(elements.at(0x00100040), "");
}

} // namespace
} // namespace gateway::dicom_helper::sender
