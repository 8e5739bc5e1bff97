#include "platform/quorin_api/dicom_meta_header.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

namespace gateway::platform {

namespace {

constexpr qsizetype kPreamble = 128;
constexpr qsizetype kLongestUid = 64;
constexpr std::uint16_t kSopInstance = 0x0003;
constexpr std::uint16_t kTransferSyntax = 0x0010;

/// Value representations with two reserved bytes and a length of 32 bits (PS3.5 7.1.2).
constexpr std::array<std::string_view, 13> kLongLengths = {
    "OB", "OD", "OF", "OL", "OV", "OW", "SQ", "SV", "UC", "UN", "UR", "UT", "UV"};

struct Element
{
    std::uint16_t number = 0; // within group 0002
    QByteArrayView representation;
    QByteArrayView value;
};

/// Takes one element of group 0002 after the other from the bytes.
class MetaElements
{
public:
    explicit MetaElements(QByteArrayView bytes) : m_rest(bytes) {}

    /// Nothing at the end of the group, and where the bytes end or stop making sense.
    std::optional<Element> next()
    {
        if (m_rest.size() < 8 || word(0) != 0x0002) {
            return std::nullopt;
        }
        Element element{word(2), m_rest.sliced(4, 2), {}};
        const std::string_view representation(element.representation.data(), 2);
        const bool isLong =
            std::find(kLongLengths.begin(), kLongLengths.end(), representation) != kLongLengths.end();
        const qsizetype header = isLong ? 12 : 8;
        if (m_rest.size() < header) {
            return std::nullopt;
        }
        const qsizetype length = isLong ? (qsizetype{word(10)} << 16) | word(8) : word(6);
        if (length > m_rest.size() - header) {
            return std::nullopt;
        }
        element.value = m_rest.sliced(header, length);
        m_rest = m_rest.sliced(header + length);
        return element;
    }

private:
    std::uint16_t word(qsizetype offset) const
    {
        const auto low = static_cast<unsigned char>(m_rest[offset]);
        const auto high = static_cast<unsigned char>(m_rest[offset + 1]);
        return static_cast<std::uint16_t>(low | (high << 8));
    }

    QByteArrayView m_rest;
};

bool isPlain(char letter)
{
    return (letter >= '0' && letter <= '9') || (letter >= 'A' && letter <= 'Z') ||
           (letter >= 'a' && letter <= 'z') || letter == '.' || letter == '-' || letter == '_';
}

/// The text of a UID value without its padding; empty when it isn't one. Instance UIDs of careless senders
/// may hold letters, but nothing that means something to a query or a header.
QByteArray uidText(const Element &element)
{
    QByteArrayView text = element.value;
    while (!text.isEmpty() && (text.back() == '\0' || text.back() == ' ')) {
        text.chop(1);
    }
    const bool fits = element.representation == QByteArrayView("UI") && text.size() <= kLongestUid &&
                      std::all_of(text.begin(), text.end(), isPlain);
    return fits ? text.toByteArray() : QByteArray();
}

} // namespace

std::optional<DicomMetaHeader> readDicomMetaHeader(QByteArrayView start)
{
    if (start.size() < kPreamble + 4 || start.sliced(kPreamble, 4) != QByteArrayView("DICM")) {
        return std::nullopt;
    }
    DicomMetaHeader header;
    MetaElements elements(start.sliced(kPreamble + 4));
    std::optional<std::uint16_t> previous;
    while (const std::optional<Element> element = elements.next()) {
        if (previous && element->number <= *previous) {
            return std::nullopt;
        }
        previous = element->number;
        if (element->number == kSopInstance) {
            header.sopInstanceUid = uidText(*element);
        }
        if (element->number >= kTransferSyntax) {
            break;
        }
    }
    return header.sopInstanceUid.isEmpty() ? std::nullopt : std::optional(header);
}

} // namespace gateway::platform
