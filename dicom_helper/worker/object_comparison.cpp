#include "dicom_helper/worker/object_comparison.h"

#include "dicom_helper/worker/attributes.h"
#include "dicom_helper/worker/object_header.h"

#include <algorithm>
#include <array>
#include <optional>

namespace gateway::dicom_helper::worker {

namespace {

using platform::dicom_protocol::Record;

constexpr Tag kDataSetTrailingPadding = 0xFFFCFFFCU;
constexpr Tag kItem = 0xFFFEE000U;
constexpr std::size_t kPiece = std::size_t{64} * 1024;

/// What a change of the transfer syntax alone may add, drop or change.
bool isPassedOver(Tag tag)
{
    return (tag & 0xFFFFU) == 0 || tag == kPlanarConfiguration || tag == kDataSetTrailingPadding;
}

/// The elements of one object that count, one after another.
class Elements
{
public:
    explicit Elements(const std::string &path) : m_source(DicomSource::open(path))
    {
        if (m_source) {
            m_encoding = sniffEncoding(m_source->dataset(), m_source->datasetOffset());
        }
        if (m_encoding) {
            m_scanner.emplace(
                m_source->dataset(), m_source->datasetOffset(), *m_encoding, ElementScanner::Options{});
        }
    }

    bool isOpen() const { return m_source.has_value(); }
    bool isReadable() const { return m_scanner.has_value(); }
    bool isBigEndian() const { return m_encoding->bigEndian; }
    ByteSource &bytes() { return m_source->dataset(); }

    std::optional<Element> next()
    {
        std::optional<Element> element = m_scanner->next();
        while (element && isPassedOver(element->tag)) {
            element = m_scanner->next();
        }
        return element;
    }

    /// True when the last element there was, was the last of a whole dataset.
    bool endedWell() const { return m_scanner->end() == ScanEnd::atEnd && m_source->unpackedWhole(); }

private:
    std::optional<DicomSource> m_source;
    std::optional<DatasetEncoding> m_encoding;
    std::optional<ElementScanner> m_scanner;
};

bool sameBytes(
    ByteSource &one, std::uint64_t oneAt, ByteSource &other, std::uint64_t otherAt, std::uint64_t size)
{
    std::array<std::vector<std::byte>, 2> pieces{std::vector<std::byte>(kPiece),
                                                 std::vector<std::byte>(kPiece)};
    while (size > 0) {
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(kPiece, size));
        const auto first = std::span(pieces[0]).first(wanted);
        const auto second = std::span(pieces[1]).first(wanted);
        if (one.read(oneAt, first) != wanted || other.read(otherAt, second) != wanted ||
            !std::ranges::equal(first, second)) {
            return false;
        }
        oneAt += wanted;
        otherAt += wanted;
        size -= wanted;
    }
    return true;
}

/// The fragments of encapsulated pixel data (PS3.5 A.4), always little endian.
class Fragments
{
public:
    struct Fragment
    {
        std::uint64_t offset = 0;
        std::uint32_t length = 0;
    };

    Fragments(ByteSource &bytes, std::uint64_t offset) : m_bytes(bytes), m_position(offset)
    {
        next(); // the offset table, which an archive may drop or write anew
    }

    std::optional<Fragment> next()
    {
        std::array<std::byte, 8> header{};
        if (m_bytes.read(m_position, header) != header.size() || number(header, 0, 2) != (kItem >> 16U) ||
            number(header, 2, 2) != (kItem & 0xFFFFU)) {
            return std::nullopt;
        }
        const Fragment found{m_position + header.size(), number(header, 4, 4)};
        m_position = found.offset + found.length;
        return found;
    }

private:
    static std::uint32_t number(std::span<const std::byte> bytes, std::size_t at, std::size_t width)
    {
        std::uint32_t value = 0;
        for (std::size_t i = at + width; i > at; --i) {
            value = (value << 8U) | std::to_integer<std::uint32_t>(bytes[i - 1]);
        }
        return value;
    }

    ByteSource &m_bytes;
    std::uint64_t m_position;
};

bool sameFragments(Elements &one, const Element &first, Elements &other, const Element &second)
{
    Fragments left(one.bytes(), first.valueOffset);
    Fragments right(other.bytes(), second.valueOffset);
    for (;;) {
        const auto a = left.next();
        const auto b = right.next();
        if (!a || !b) {
            return !a && !b;
        }
        if (a->length != b->length ||
            !sameBytes(one.bytes(), a->offset, other.bytes(), b->offset, a->length)) {
            return false;
        }
    }
}

/// The value representations in which padding at the end says nothing (PS3.5 6.2); in all others a zero or a
/// space is a part of the value.
bool mayBePadded(Vr of)
{
    constexpr std::array kTexts{vr('A', 'E'),
                                vr('A', 'S'),
                                vr('C', 'S'),
                                vr('D', 'A'),
                                vr('D', 'S'),
                                vr('D', 'T'),
                                vr('I', 'S'),
                                vr('L', 'O'),
                                vr('L', 'T'),
                                vr('P', 'N'),
                                vr('S', 'H'),
                                vr('S', 'T'),
                                vr('T', 'M'),
                                vr('U', 'C'),
                                vr('U', 'I'),
                                vr('U', 'R'),
                                vr('U', 'T')};
    return std::ranges::find(kTexts, of) != kTexts.end();
}

/// How long a value is without the padding that a text may have at its end.
std::uint64_t lengthWithoutPadding(ByteSource &bytes, const Element &element)
{
    std::uint64_t length = element.length;
    std::array<std::byte, 1> last{};
    while (length > 0 && bytes.read(element.valueOffset + length - 1, last) == 1 &&
           (last[0] == std::byte{0} || last[0] == std::byte{' '}) && element.length - length < 2) {
        --length;
    }
    return length;
}

bool isSequence(const Element &element, Elements &of)
{
    if (element.vr == vr('S', 'Q') || element.length == kUndefinedLength) {
        return true;
    }
    std::array<std::byte, 4> start{};
    return element.vr == 0 && element.length >= 8 && of.bytes().read(element.valueOffset, start) == 4 &&
           start == std::array{std::byte{0xFE}, std::byte{0xFF}, std::byte{0x00}, std::byte{0xE0}};
}

bool sameElement(Elements &one, const Element &first, Elements &other, const Element &second)
{
    if (first.tag != second.tag || first.depth != second.depth) {
        return false;
    }
    if (isPixelData(first.tag)) {
        const bool isEncapsulated = first.length == kUndefinedLength;
        if (isEncapsulated != (second.length == kUndefinedLength)) {
            return false;
        }
        if (isEncapsulated) {
            return sameFragments(one, first, other, second);
        }
    } else if (isSequence(first, one) || isSequence(second, other)) {
        // What is inside comes one by one; an empty sequence has no length either way.
        return isSequence(first, one) == isSequence(second, other) || first.length == second.length;
    }
    // One of the two may not say its value representation: the other's holds for both.
    const bool isText = mayBePadded(first.vr != 0 ? first.vr : second.vr);
    const std::uint64_t length = isText ? lengthWithoutPadding(one.bytes(), first) : first.length;
    return length == (isText ? lengthWithoutPadding(other.bytes(), second) : second.length) &&
           sameBytes(one.bytes(), first.valueOffset, other.bytes(), second.valueOffset, length);
}

bool sameObject(const std::string &fetched, const std::string &mine)
{
    Elements one(fetched);
    Elements other(mine);
    if (!one.isReadable() || !other.isReadable() || one.isBigEndian() != other.isBigEndian()) {
        return false;
    }
    unsigned elements = 0;
    for (;;) {
        const auto first = one.next();
        const auto second = other.next();
        if (!first || !second) {
            return !first && !second && elements > 0 && one.endedWell() && other.endedWell();
        }
        if (!sameElement(one, *first, other, *second)) {
            return false;
        }
        ++elements;
    }
}

} // namespace

Record compareObjects(const std::string &fetched, const std::string &sent, const std::string &stored)
{
    if (!Elements(fetched).isOpen() || !Elements(sent).isOpen()) {
        return {"failed", {{"message", "it isn't a regular file"}}};
    }
    const bool isSame = sameObject(fetched, sent) || (sent != stored && sameObject(fetched, stored));
    return {isSame ? "same" : "different", {}};
}

} // namespace gateway::dicom_helper::worker
