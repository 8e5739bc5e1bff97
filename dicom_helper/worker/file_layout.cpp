#include "dicom_helper/worker/file_layout.h"

#include <array>

namespace gateway::dicom_helper::worker {

namespace {

constexpr std::uint64_t kPreambleBytes = 128;
constexpr std::uint64_t kPrefixBytes = 4;

/// PS3.5 allows 64 characters; what is longer than this is no UID at all.
constexpr std::size_t kLongestUid = 256;

constexpr Tag kMetaGroupLength = 0x00020000U;
constexpr Tag kMediaStorageSopClass = 0x00020002U;
constexpr Tag kMediaStorageSopInstance = 0x00020003U;
constexpr Tag kTransferSyntax = 0x00020010U;

bool isDeflated(std::string_view transferSyntax)
{
    // The second and third are references to pixel data elsewhere, with a deflated dataset.
    return transferSyntax == kDeflatedExplicitLittleEndian || transferSyntax == "1.2.840.10008.1.2.4.95" ||
           transferSyntax == "1.2.840.10008.1.2.4.205";
}

/// Holds the elements of a header to PS3.10 7.1 while they are read.
class MetaRules
{
public:
    MetaRules(ByteSource &file, DatasetEncoding encoding)
        : m_file(file), m_isKept(encoding == DatasetEncoding{true, false})
    {
    }

    void see(const Element &element)
    {
        const bool isUid = element.tag == kMediaStorageSopClass || element.tag == kMediaStorageSopInstance ||
                           element.tag == kTransferSyntax;
        m_isKept = m_isKept && element.tag > m_last && element.length != kUndefinedLength &&
                   (!isUid || element.vr == vr('U', 'I'));
        m_last = element.tag;
        if (element.tag == kMetaGroupLength) {
            const std::string bytes = m_file.text(element.valueOffset, element.length == 4 ? 4 : 0);
            for (std::size_t at = bytes.size(); at > 0; --at) {
                m_stated = (m_stated << 8U) | static_cast<unsigned char>(bytes[at - 1]);
            }
            m_counted = element.valueOffset + element.length;
        }
    }

    bool areKept(std::uint64_t end) const { return m_isKept && m_counted > 0 && m_counted + m_stated == end; }

private:
    ByteSource &m_file;
    bool m_isKept;
    Tag m_last = 0;
    std::uint64_t m_stated = 0;
    std::uint64_t m_counted = 0; // where the group length begins to count
};

void readMetaInformation(ByteSource &file, FileLayout &layout)
{
    const auto encoding = sniffEncoding(file, layout.datasetOffset);
    if (!encoding) {
        return;
    }
    ElementScanner scanner(file, layout.datasetOffset, *encoding, {.intoDefinedLength = false});
    MetaRules rules(file, *encoding);
    const bool hasPrefix = layout.isPart10;
    for (;;) {
        const std::uint64_t here = scanner.position();
        const auto element = scanner.next();
        if (!element || group(element->tag) != 0x0002) {
            layout.datasetOffset = here;
            layout.isRegular = hasPrefix && rules.areKept(here);
            return;
        }
        layout.isPart10 = true;
        rules.see(*element);
        if (element->length == 0 || element->length > kLongestUid) {
            continue;
        }
        if (element->tag == kTransferSyntax) {
            layout.transferSyntax = uidText(file.text(element->valueOffset, element->length));
        } else if (element->tag == kMediaStorageSopClass) {
            layout.mediaStorageSopClass = uidText(file.text(element->valueOffset, element->length));
        } else if (element->tag == kMediaStorageSopInstance) {
            layout.mediaStorageSopInstance = uidText(file.text(element->valueOffset, element->length));
        }
    }
}

} // namespace

FileLayout readLayout(ByteSource &file)
{
    FileLayout layout;
    if (file.text(kPreambleBytes, kPrefixBytes) == "DICM") {
        layout.isPart10 = true;
        layout.datasetOffset = kPreambleBytes + kPrefixBytes;
    }
    readMetaInformation(file, layout);
    layout.deflated = isDeflated(layout.transferSyntax);
    return layout;
}

std::optional<DatasetEncoding> sniffEncoding(ByteSource &source, std::uint64_t offset)
{
    std::array<std::byte, 8> bytes{};
    if (source.read(offset, bytes) < bytes.size()) {
        return std::nullopt;
    }
    // Groups come in ascending order from 0002 on, so the byte order with the lower first group is meant.
    const auto low = std::to_integer<unsigned>(bytes[0]);
    const auto high = std::to_integer<unsigned>(bytes[1]);
    const Vr stated = vr(static_cast<char>(bytes[4]), static_cast<char>(bytes[5]));
    return DatasetEncoding{isKnownVr(stated), high != 0 && low < high};
}

std::string uidText(std::string_view raw)
{
    if (raw.size() > kLongestUid) {
        return {};
    }
    const auto isPadding = [](char c) { return c == '\0' || c == ' '; };
    while (!raw.empty() && isPadding(raw.back())) {
        raw.remove_suffix(1);
    }
    while (!raw.empty() && isPadding(raw.front())) {
        raw.remove_prefix(1);
    }
    std::string text;
    for (const char c : raw) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7F) {
            text.push_back(c);
        } else {
            // No UID has such a byte; it becomes one character of its own, U+2400 and above in UTF-8.
            text += "\xE2";
            text.push_back(static_cast<char>(0x90U + (byte >> 6U)));
            text.push_back(static_cast<char>(0x80U + (byte & 0x3FU)));
        }
    }
    return text;
}

} // namespace gateway::dicom_helper::worker
