#include "dicom_helper/file_header.h"

#include "dicom_helper/implementation.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace gateway::dicom_helper {

namespace {

constexpr std::size_t kPreambleBytes = 128;
constexpr std::size_t kMaxTitleBytes = 16;
constexpr std::size_t kMaxUidBytes = 256;

void putLittle(std::string &bytes, std::uint32_t value, unsigned width)
{
    for (unsigned shift = 0; shift < 8 * width; shift += 8) {
        bytes.push_back(static_cast<char>((value >> shift) & 0xFFU));
    }
}

void putTag(std::string &bytes, std::uint16_t element, std::string_view representation)
{
    putLittle(bytes, 0x0002, 2);
    putLittle(bytes, element, 2);
    bytes += representation;
}

void putText(std::string &bytes,
             std::uint16_t element,
             std::string_view representation,
             std::string value,
             char padding)
{
    if (value.size() % 2 != 0) {
        value.push_back(padding);
    }
    putTag(bytes, element, representation);
    putLittle(bytes, static_cast<std::uint32_t>(value.size()), 2);
    bytes += value;
}

bool isPlain(std::string_view text)
{
    return std::ranges::all_of(text, [](char one) { return one >= ' ' && one <= '~' && one != '\\'; });
}

void putUid(std::string &bytes, std::uint16_t element, const std::string &uid)
{
    const bool isHarmless = uid.size() <= kMaxUidBytes && isPlain(uid) && uid.find('/') == std::string::npos;
    putText(bytes, element, "UI", isHarmless ? uid : std::string(), '\0');
}

} // namespace

std::string encodeFileHeader(const FileHeader &header)
{
    std::string elements;
    putTag(elements, 0x0001, std::string_view("OB\0\0", 4)); // File Meta Information Version
    putLittle(elements, 2, 4);
    elements += std::string_view("\0\1", 2);
    putUid(elements, 0x0002, header.sopClass);
    putUid(elements, 0x0003, header.sopInstance);
    putUid(elements, 0x0010, header.transferSyntax);
    putUid(elements, 0x0012, kImplementationClassUid);
    putText(elements, 0x0013, "SH", kImplementationVersionName, ' ');
    const std::string &title = header.sourceTitle;
    if (!title.empty() && title.size() <= kMaxTitleBytes && isPlain(title)) {
        putText(elements, 0x0016, "AE", title, ' ');
    }
    std::string bytes(kPreambleBytes, '\0');
    bytes += "DICM";
    putTag(bytes, 0x0000, "UL");
    putLittle(bytes, 4, 2);
    putLittle(bytes, static_cast<std::uint32_t>(elements.size()), 4);
    return bytes + elements;
}

} // namespace gateway::dicom_helper
