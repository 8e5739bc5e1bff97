#include "platform/dicom/testing/small_object.h"

namespace gateway::platform::testing {

namespace {

constexpr std::uint16_t kColumns = 64;
constexpr std::uint16_t kRows = 48;

std::string littleEndian(std::uint32_t value, unsigned width)
{
    std::string bytes;
    for (unsigned i = 0; i < width; ++i) {
        bytes.push_back(static_cast<char>((value >> (8 * i)) & 0xFFU));
    }
    return bytes;
}

std::string number(std::uint16_t group, std::uint16_t element_, std::uint16_t value)
{
    return element(group, element_, "US", littleEndian(value, 2));
}

} // namespace

std::string
element(std::uint16_t group, std::uint16_t number, const std::string &representation, std::string value)
{
    if (value.size() % 2 != 0) {
        value.push_back(representation == "UI" ? '\0' : ' ');
    }
    return littleEndian(group, 2) + littleEndian(number, 2) + representation +
           littleEndian(static_cast<std::uint32_t>(value.size()), 2) + value;
}

std::string smallObject(const std::string &more, std::uint16_t bitsAllocated)
{
    const std::string ct = "1.2.840.10008.5.1.4.1.1.2";
    const std::string meta = element(0x0002, 0x0002, "UI", ct) + element(0x0002, 0x0003, "UI", "1.2.3.4.5") +
                             element(0x0002, 0x0010, "UI", "1.2.840.10008.1.2.1");
    std::string file = std::string(128, '\0') + "DICM";
    file += element(0x0002, 0x0000, "UL", littleEndian(static_cast<std::uint32_t>(meta.size()), 4)) + meta;
    file += element(0x0008, 0x0016, "UI", ct) + element(0x0008, 0x0018, "UI", "1.2.3.4.5");
    file += element(0x0008, 0x0020, "DA", "20200131") + more;
    file += element(0x0010, 0x0020, "LO", "P1") + element(0x0020, 0x000D, "UI", "1.2.3");
    file += number(0x0028, 0x0002, 1) + element(0x0028, 0x0004, "CS", "MONOCHROME2");
    file += number(0x0028, 0x0010, kRows) + number(0x0028, 0x0011, kColumns);
    file += number(0x0028, 0x0100, bitsAllocated) + number(0x0028, 0x0101, 12) + number(0x0028, 0x0102, 11);
    file += number(0x0028, 0x0103, 0);
    const unsigned width = bitsAllocated / 8U;
    file +=
        littleEndian(0x00107FE0, 4) + "OW" + littleEndian(0, 2) + littleEndian(kColumns * kRows * width, 4);
    for (std::uint32_t pixel = 0; pixel < std::uint32_t{kColumns} * kRows; ++pixel) {
        file += littleEndian(pixel / 8, width);
    }
    return file;
}

} // namespace gateway::platform::testing
