#include "dicom_helper/sender/sample_object.h"

#include "dicom_helper/scp/bytes.h"

#include <cstdint>
#include <string_view>

namespace gateway::dicom_helper::sender {

namespace {

using scp::putLittle;

constexpr std::uint16_t kEdge = 128; // pixels

struct Tag
{
    std::uint16_t group;
    std::uint16_t element;
};

void putHead(std::string &bytes, Tag tag, std::string_view representation)
{
    putLittle(bytes, tag.group, 2);
    putLittle(bytes, tag.element, 2);
    bytes += representation;
}

/// An element whose length takes 16 bits.
void put(std::string &bytes, Tag tag, std::string_view representation, std::string value)
{
    if (value.size() % 2 != 0) {
        value.push_back(representation == "UI" ? '\0' : ' ');
    }
    putHead(bytes, tag, representation);
    putLittle(bytes, static_cast<std::uint32_t>(value.size()), 2);
    bytes += value;
}

void putShort(std::string &bytes, Tag tag, std::uint16_t value)
{
    std::string encoded;
    putLittle(encoded, value, 2);
    put(bytes, tag, "US", encoded);
}

/// A gradient with a frame around it: it shows at once whether a picture came through whole.
std::string pixels()
{
    constexpr std::uint32_t kBright = 4095;
    std::string bytes;
    for (std::uint32_t row = 0; row < kEdge; ++row) {
        for (std::uint32_t column = 0; column < kEdge; ++column) {
            const bool isFrame = row == 0 || column == 0 || row == kEdge - 1U || column == kEdge - 1U;
            putLittle(bytes, isFrame ? kBright : (row + column) * (kBright / (2U * kEdge)), 2);
        }
    }
    return bytes;
}

void putPatientAndStudy(std::string &bytes, const SampleIdentity &identity)
{
    put(bytes, {0x0010, 0x0010}, "PN", "TEST^QUORIN GATEWAY");
    put(bytes, {0x0010, 0x0020}, "LO", "QUORIN-GATEWAY-TEST");
    put(bytes, {0x0010, 0x0030}, "DA", {});
    put(bytes, {0x0010, 0x0040}, "CS", {});
    put(bytes, {0x0020, 0x000D}, "UI", identity.study);
    put(bytes, {0x0020, 0x000E}, "UI", identity.series);
    put(bytes, {0x0020, 0x0010}, "SH", "TEST");
    put(bytes, {0x0020, 0x0011}, "IS", "1");
    put(bytes, {0x0020, 0x0013}, "IS", "1");
}

void putPicture(std::string &bytes)
{
    putShort(bytes, {0x0028, 0x0002}, 1);
    put(bytes, {0x0028, 0x0004}, "CS", "MONOCHROME2");
    putShort(bytes, {0x0028, 0x0010}, kEdge);
    putShort(bytes, {0x0028, 0x0011}, kEdge);
    putShort(bytes, {0x0028, 0x0100}, 16);
    putShort(bytes, {0x0028, 0x0101}, 12);
    putShort(bytes, {0x0028, 0x0102}, 11);
    putShort(bytes, {0x0028, 0x0103}, 0);
    const std::string picture = pixels();
    putHead(bytes, {0x7FE0, 0x0010}, "OW");
    putLittle(bytes, 0, 2);
    putLittle(bytes, static_cast<std::uint32_t>(picture.size()), 4);
    bytes += picture;
}

} // namespace

std::string sampleDataSet(const SampleIdentity &identity)
{
    std::string bytes;
    put(bytes, {0x0008, 0x0016}, "UI", kSampleSopClass);
    put(bytes, {0x0008, 0x0018}, "UI", identity.instance);
    put(bytes, {0x0008, 0x0020}, "DA", identity.date);
    put(bytes, {0x0008, 0x0030}, "TM", identity.time);
    put(bytes, {0x0008, 0x0050}, "SH", {});
    put(bytes, {0x0008, 0x0060}, "CS", "OT");
    put(bytes, {0x0008, 0x0064}, "CS", "SYN");
    put(bytes, {0x0008, 0x0090}, "PN", {});
    put(bytes, {0x0008, 0x1030}, "LO", "Quorin Gateway sample, to be deleted");
    putPatientAndStudy(bytes, identity);
    putPicture(bytes);
    return bytes;
}

} // namespace gateway::dicom_helper::sender
