#include "dicom_helper/scp/file_header.h"

#include "dicom_helper/implementation.h"
#include "dicom_helper/scp/bytes.h"
#include "dicom_helper/scp/sop_classes.h"

#include <algorithm>
#include <string_view>

namespace gateway::dicom_helper::scp {

namespace {

constexpr std::size_t kPreambleBytes = 128;
constexpr std::size_t kMaxTitleBytes = 16;

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

void putUid(std::string &bytes, std::uint16_t element, const std::string &uid)
{
    putText(bytes, element, "UI", isPlainUid(uid) ? uid : std::string(), '\0');
}

bool isPlainTitle(std::string_view title)
{
    const auto isPlain = [](char one) { return one >= ' ' && one <= '~' && one != '\\'; };
    return !title.empty() && title.size() <= kMaxTitleBytes &&
           std::all_of(title.begin(), title.end(), isPlain);
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
    if (isPlainTitle(header.sourceTitle)) {
        putText(elements, 0x0016, "AE", header.sourceTitle, ' ');
    }
    std::string bytes(kPreambleBytes, '\0');
    bytes += "DICM";
    putTag(bytes, 0x0000, "UL");
    putLittle(bytes, 4, 2);
    putLittle(bytes, static_cast<std::uint32_t>(elements.size()), 4);
    return bytes + elements;
}

} // namespace gateway::dicom_helper::scp
