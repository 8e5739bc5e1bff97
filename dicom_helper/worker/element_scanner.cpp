#include "dicom_helper/worker/element_scanner.h"

#include <algorithm>
#include <array>

namespace gateway::dicom_helper::worker {

namespace {

constexpr std::uint64_t kOpenEnd = UINT64_MAX;

constexpr std::array kLongForm{vr('O', 'B'),
                               vr('O', 'D'),
                               vr('O', 'F'),
                               vr('O', 'L'),
                               vr('O', 'V'),
                               vr('O', 'W'),
                               vr('S', 'Q'),
                               vr('S', 'V'),
                               vr('U', 'C'),
                               vr('U', 'N'),
                               vr('U', 'R'),
                               vr('U', 'T'),
                               vr('U', 'V')};

constexpr std::array kShortForm{
    vr('A', 'E'), vr('A', 'S'), vr('A', 'T'), vr('C', 'S'), vr('D', 'A'), vr('D', 'S'), vr('D', 'T'),
    vr('F', 'D'), vr('F', 'L'), vr('I', 'S'), vr('L', 'O'), vr('L', 'T'), vr('P', 'N'), vr('S', 'H'),
    vr('S', 'L'), vr('S', 'S'), vr('S', 'T'), vr('T', 'M'), vr('U', 'I'), vr('U', 'L'), vr('U', 'S')};

bool isLongForm(Vr candidate)
{
    return std::ranges::find(kLongForm, candidate) != kLongForm.end();
}

bool isLetters(Vr candidate)
{
    const auto first = static_cast<char>(candidate >> 8U);
    const auto second = static_cast<char>(candidate & 0xFFU);
    return first >= 'A' && first <= 'Z' && second >= 'A' && second <= 'Z';
}

/// Numbers of a given byte order, taken from a header.
class Words
{
public:
    Words(std::span<const std::byte> bytes, bool bigEndian) : m_bytes(bytes), m_bigEndian(bigEndian) {}

    std::uint32_t number(std::size_t at, std::size_t width) const
    {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < width; ++i) {
            const std::size_t index = m_bigEndian ? at + i : at + width - 1 - i;
            value = (value << 8U) | std::to_integer<std::uint32_t>(m_bytes[index]);
        }
        return value;
    }

    Tag tag() const { return (number(0, 2) << 16U) | number(2, 2); }

private:
    std::span<const std::byte> m_bytes;
    bool m_bigEndian;
};

} // namespace

bool isKnownVr(Vr candidate)
{
    return isLongForm(candidate) || std::ranges::find(kShortForm, candidate) != kShortForm.end();
}

ElementScanner::ElementScanner(ByteSource &source,
                               std::uint64_t offset,
                               DatasetEncoding encoding,
                               Options options)
    : m_source(source), m_position(offset), m_encoding(encoding), m_options(options)
{
}

DatasetEncoding ElementScanner::encoding() const
{
    const bool implicit = !m_levels.empty() && m_levels.back().implicitInside;
    return implicit ? DatasetEncoding{false, false} : m_encoding;
}

bool ElementScanner::inside(Tag tag) const
{
    return std::ranges::any_of(m_levels, [tag](const Level &level) { return level.tag == tag; });
}

std::nullopt_t ElementScanner::stop(ScanEnd end)
{
    m_end = end;
    return std::nullopt;
}

void ElementScanner::pop()
{
    const std::uint64_t end = m_levels.back().end;
    m_isConsistent = m_isConsistent && (end == kOpenEnd || end == m_position);
    if (m_levels.back().kind == Kind::item) {
        --m_depth;
    }
    m_levels.pop_back();
}

void ElementScanner::leaveFinishedLevels()
{
    while (!m_levels.empty() && m_levels.back().end <= m_position) {
        pop();
    }
}

std::optional<ElementScanner::Header> ElementScanner::readHeader()
{
    std::array<std::byte, 12> bytes{};
    const std::size_t got = m_source.read(m_position, bytes);
    if (got < 8) {
        // Some writers fill the last block up with a few zeros.
        const bool isPadding =
            std::all_of(bytes.begin(), bytes.end(), [](std::byte b) { return b == std::byte{0}; });
        const bool isWhole = m_levels.empty() && m_position <= m_source.size();
        const ScanEnd whole = isPadding ? ScanEnd::atEnd : ScanEnd::oddTail;
        return stop(isWhole ? whole : ScanEnd::truncated);
    }
    const DatasetEncoding here = encoding();
    const Words words(bytes, here.bigEndian);
    Header header{words.tag(), 0, words.number(4, 4), 8};
    if (!here.explicitVr || group(header.tag) == 0xFFFE) {
        return header;
    }
    header.vr = vr(static_cast<char>(bytes[4]), static_cast<char>(bytes[5]));
    if (!isLetters(header.vr)) {
        return readOddHeader(std::span(bytes).first(got), header.vr);
    }
    // A value representation that is younger than this list has the long form (PS3.5 7.1.2).
    if (isLongForm(header.vr) || !isKnownVr(header.vr)) {
        if (got < 12) {
            return stop(ScanEnd::truncated);
        }
        header.length = words.number(8, 4);
        header.size = 12;
    } else {
        header.length = words.number(6, 2);
    }
    return header;
}

/// Some writers put "??", "ox", blanks or zeros where the representation stands, mostly into private
/// elements. Whether the length has two bytes or four is told by what stands behind the value.
std::optional<ElementScanner::Header> ElementScanner::readOddHeader(std::span<const std::byte> bytes, Vr odd)
{
    const Words words(bytes, encoding().bigEndian);
    Header header{words.tag(), vr('U', 'N'), words.number(6, 2), 8};
    bool isRead = fits(header, odd);
    if (!isRead && bytes.size() == 12) {
        header.length = words.number(8, 4);
        header.size = 12;
        isRead = fits(header, odd);
    }
    if (!isRead) {
        return stop(ScanEnd::malformed);
    }
    m_hasOddRepresentation = true;
    return header;
}

/// True where an element with this header, whose representation is no legal one, is followed by a higher one
/// of a known representation or of the same odd one, or ends what is around it.
bool ElementScanner::fits(const Header &header, Vr odd)
{
    const std::uint64_t next = m_position + header.size + header.length;
    const std::uint64_t end = m_levels.empty() ? kOpenEnd : m_levels.back().end;
    if (group(header.tag) == 0 || next > end || next == end) {
        return group(header.tag) != 0 && next == end;
    }
    std::array<std::byte, 8> bytes{};
    const std::size_t got = m_source.read(next, bytes);
    if (got == 0) {
        const bool isPrivate = group(header.tag) % 2 == 1;
        return isPrivate && m_levels.empty() && m_source.read(next - 1, std::span(bytes).first(1)) == 1;
    }
    const Words words(bytes, encoding().bigEndian);
    if (got < bytes.size() || words.tag() <= header.tag) {
        return false;
    }
    const Vr after = vr(static_cast<char>(bytes[4]), static_cast<char>(bytes[5]));
    return words.tag() == kItemDelimiter ? end == kOpenEnd && !m_levels.empty()
                                         : isKnownVr(after) || after == odd;
}

/// \return true when the header was one of the two delimiters, which close what they end.
bool ElementScanner::takeDelimiter(const Header &header)
{
    if (header.tag != kItemDelimiter && header.tag != kSequenceDelimiter) {
        return false;
    }
    m_position += 8;
    // A delimiter that closes nothing is stepped over; one that skips an unclosed item closes that too.
    if (header.tag == kItemDelimiter) {
        if (!m_levels.empty() && m_levels.back().kind == Kind::item) {
            pop();
        }
        return true;
    }
    while (!m_levels.empty()) {
        const bool closed = m_levels.back().kind != Kind::item;
        pop();
        if (closed) {
            break;
        }
    }
    return true;
}

/// Moves behind an item's header. \return true when what follows are the elements of that item.
bool ElementScanner::enterItem(const Header &header)
{
    m_position += 8;
    if (m_levels.empty() || m_levels.back().kind == Kind::item) {
        stop(ScanEnd::malformed);
        return false;
    }
    const Level around = m_levels.back();
    if (around.kind == Kind::fragments) {
        m_position += header.length;
        return false;
    }
    if (m_depth >= m_options.deepest) {
        stop(ScanEnd::tooDeep);
        return false;
    }
    const std::uint64_t end = header.length == kUndefinedLength ? kOpenEnd : m_position + header.length;
    m_levels.push_back({end, around.tag, Kind::item, around.implicitInside});
    ++m_depth;
    return true;
}

bool ElementScanner::beginsWithItem(const Element &element)
{
    std::array<std::byte, 4> bytes{};
    if (element.length < 8 || m_source.read(element.valueOffset, bytes) < bytes.size()) {
        return false;
    }
    return Words(bytes, encoding().bigEndian).tag() == kItem;
}

/// Whether a sequence of known length is to be walked through.
bool ElementScanner::mayEnter(Tag tag) const
{
    const Tag outermost = m_levels.empty() ? tag : m_levels.front().tag;
    return m_options.intoDefinedLength ||
           (m_options.intoGroup != 0 && group(outermost) == m_options.intoGroup);
}

/// Moves to what follows the element's header where the element is to be entered, else behind its value.
/// \return true when it is a sequence that was entered.
bool ElementScanner::stepPast(const Element &element)
{
    m_position = element.valueOffset;
    const bool sequence = element.vr == vr('S', 'Q');
    if (element.length == kUndefinedLength) {
        // Without a known representation only a sequence can have no length; its items are implicit.
        const bool unknown = (element.vr == vr('U', 'N') || element.vr == 0) && element.tag != kPixelData;
        const Kind kind = sequence || unknown ? Kind::sequence : Kind::fragments;
        m_levels.push_back({kOpenEnd, element.tag, kind, unknown});
        return kind == Kind::sequence;
    }
    const std::uint64_t end = m_position + element.length;
    const bool unknown = element.vr == 0 || (m_options.intoUnknown && element.vr == vr('U', 'N'));
    const bool isEntered =
        mayEnter(element.tag) && (sequence ? element.length > 0 : unknown && beginsWithItem(element));
    if (isEntered) {
        m_levels.push_back({end, element.tag, Kind::sequence, !sequence});
        return true;
    }
    m_position = end;
    return false;
}

std::optional<Element> ElementScanner::next()
{
    while (m_end == ScanEnd::running) {
        leaveFinishedLevels();
        const std::uint64_t here = m_position;
        const auto header = readHeader();
        if (!header || takeDelimiter(*header)) {
            continue;
        }
        if (header->tag == kItem) {
            if (enterItem(*header) && m_options.reportItems) {
                return Element{kItem, 0, header->length, here, m_position, m_depth};
            }
            continue;
        }
        if (!m_levels.empty() && m_levels.back().kind != Kind::item) {
            return stop(ScanEnd::malformed);
        }
        Element element{header->tag, header->vr, header->length, here, here + header->size, m_depth};
        element.isEntered = stepPast(element);
        return element;
    }
    return std::nullopt;
}

} // namespace gateway::dicom_helper::worker
