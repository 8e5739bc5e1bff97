#include "dicom_helper/worker/object_end.h"

#include "dicom_helper/worker/attributes.h"
#include "dicom_helper/worker/fragments.h"
#include "dicom_helper/worker/frame_count.h"

#include <algorithm>
#include <array>

namespace gateway::dicom_helper::worker {

namespace {

constexpr std::size_t kShortestElement = 8;
constexpr std::uint16_t kDigitalSignatures = 0xFFFA;

/// Whoever rounds the length of pixel data up does it to a block of his disk at most.
constexpr std::uint64_t kLongestPadding = std::uint64_t{64} * 1024;

/// The tags of an item and of a sequence's delimiter, as their four bytes read as one number.
constexpr std::uint32_t kItemBytes = 0xE000FFFEU;
constexpr std::uint32_t kDelimiterBytes = 0xE0DDFFFEU;

/// What nothing but the filling of a last block looks like.
bool isFilling(std::string_view tail)
{
    const bool isOneByte = std::ranges::all_of(tail, [&](char c) { return c == tail.front(); });
    return tail.find_first_not_of("\r\n\x1A") == std::string_view::npos ||
           (isOneByte && (tail.front() == ' ' || tail.front() == '\xFF'));
}

/// True where these bytes may be the beginning of an element that is worth something behind pixel data.
bool mayBegin(std::string_view tail, bool bigEndian)
{
    if (tail.size() < 2) {
        return false;
    }
    const auto low = static_cast<unsigned char>(tail[bigEndian ? 1 : 0]);
    const auto high = static_cast<unsigned char>(tail[bigEndian ? 0 : 1]);
    const auto first = static_cast<std::uint16_t>((high << 8U) | low);
    const bool isPrivate = first % 2 == 1 && first != 0xFFFF;
    return first == group(kPixelData) || first == kDigitalSignatures ||
           (isPrivate && first > group(kPixelData));
}

std::uint64_t statedFrames(const ObjectHeader &header)
{
    return static_cast<std::uint64_t>(
        std::max<std::int64_t>(header.integerString(kNumberOfFrames).value_or(1), 1));
}

/// JPEG, JPEG-LS and JPEG 2000 code streams show where they begin (SOI, SOC) and end (EOI, EOC).
bool beginsCodeStream(ByteSource &source, const Fragments::Fragment &fragment)
{
    std::array<std::byte, 3> bytes{};
    return fragment.length >= bytes.size() && source.read(fragment.value, bytes) == bytes.size() &&
           bytes[0] == std::byte{0xFF} && (bytes[1] == std::byte{0xD8} || bytes[1] == std::byte{0x4F}) &&
           bytes[2] == std::byte{0xFF};
}

bool endsCodeStream(ByteSource &source, const Fragments::Fragment &fragment)
{
    constexpr std::uint64_t kMostPadding = 16;
    const std::uint64_t size = std::min<std::uint64_t>(fragment.length, kMostPadding);
    std::string last = source.text(fragment.end() - size, static_cast<std::size_t>(size));
    last.erase(last.find_last_not_of('\0') + 1);
    return last.ends_with("\xFF\xD9");
}

/// The fragments of an object that ends behind one of them.
class OpenFragments
{
public:
    OpenFragments(const ObjectHeader &header, DicomSource &source)
        : m_header(header), m_bytes(source.dataset()), m_fragments(m_bytes, header.pixelData->valueOffset),
          m_frames(statedFrames(header))
    {
    }

    /// True when they are those of all frames, each of them whole: by a delimiter that is cut, or by their
    /// number and the offset table. The frames of a video can't be counted.
    bool areAll()
    {
        if (!readTable() || !readFragments()) {
            return false;
        }
        const auto next = littleEndianAt(m_bytes, m_fragments.position());
        const bool isCounted = !isVideo(m_header.layout.transferSyntax) && next != kItemBytes;
        return next == kDelimiterBytes || (isCounted && m_count > 0 && tableIsKept() && lastFrameIsWhole());
    }

    std::uint64_t end() const { return m_last.end(); }

private:
    bool readTable()
    {
        if (!m_fragments.table() || m_fragments.table()->end() > m_bytes.size()) {
            return false;
        }
        m_last = *m_fragments.table();
        m_tableSize = m_last.length / 4;
        return true;
    }

    bool readFragments()
    {
        const std::uint64_t first = m_fragments.position();
        while (const auto fragment = m_fragments.next()) {
            if (fragment->end() > m_bytes.size()) {
                return false;
            }
            if (m_tableIndex < m_tableSize && tableEntry() == fragment->offset - first) {
                ++m_tableIndex;
                m_lastFrameBegins = m_count;
            }
            m_codeStreams += beginsCodeStream(m_bytes, *fragment) ? 1 : 0;
            m_last = *fragment;
            ++m_count;
        }
        return true;
    }

    std::optional<std::uint32_t> tableEntry() const
    {
        return littleEndianAt(m_bytes, m_fragments.table()->value + m_tableIndex * 4);
    }

    bool tableIsKept() const
    {
        return m_tableSize == 0 || (m_tableSize == m_frames && m_tableIndex == m_tableSize);
    }

    /// Frames that show their ends are counted by these, all others by fragments, of which each has one.
    bool lastFrameIsWhole() const
    {
        if (m_codeStreams > 0) {
            return m_codeStreams == m_frames && endsCodeStream(m_bytes, m_last);
        }
        return m_tableSize > 0 ? m_lastFrameBegins == m_count - 1 : m_count == m_frames;
    }

    const ObjectHeader &m_header;
    ByteSource &m_bytes;
    Fragments m_fragments;
    std::uint64_t m_frames;
    Fragments::Fragment m_last;
    std::uint64_t m_count = 0;
    std::uint64_t m_codeStreams = 0; // that begin with a fragment
    std::uint64_t m_tableSize = 0;
    std::uint64_t m_tableIndex = 0;      // how many frames of the table have been met
    std::uint64_t m_lastFrameBegins = 0; // with this fragment, by the table
};

ObjectEnd tooEarly(DicomSource &source)
{
    return {true, source.dataset().size(), {}};
}

/// The end of a file that stops before its fragments are closed.
ObjectEnd endOfFragments(const ObjectHeader &header, DicomSource &source)
{
    OpenFragments fragments(header, source);
    if (!fragments.areAll()) {
        return tooEarly(source);
    }
    return {false, fragments.end(), {"\xFE\xFF\xDD\xE0\0\0\0\0", kShortestElement}};
}

/// The end of a file that stops inside native pixel data: whole where all that lacks is padding.
ObjectEnd endOfNative(const ObjectHeader &header, DicomSource &source)
{
    const Element &pixels = *header.pixelData;
    const std::uint64_t size = source.dataset().size();
    const std::uint64_t there = size - std::min(size, pixels.valueOffset);
    const std::uint64_t frameBits = nativeFrameBits(header).value_or(0);
    const std::uint64_t frames = statedFrames(header);
    if (frameBits == 0 || frames > there * 8 / frameBits) {
        return tooEarly(source);
    }
    const std::uint64_t padding = pixels.length - (frameBits * frames + 7) / 8;
    const bool isLessThanAFrame = padding <= 1 || (padding < kLongestPadding && padding * 8 < frameBits);
    return isLessThanAFrame ? ObjectEnd{false, size, std::string(pixels.length - there, '\0')}
                            : tooEarly(source);
}

/// Deflated datasets go up as they are, so that only how they end counts.
ObjectEnd endOfDeflated(ScanEnd end, std::uint64_t offset, DicomSource &source)
{
    ObjectEnd found{false, source.dataset().size(), {}};
    if (!source.isOutOfSight(offset) && end != ScanEnd::malformed && end != ScanEnd::tooDeep) {
        std::array<std::byte, 1> last{};
        const bool isThere = offset > 0 && source.dataset().read(offset - 1, last) == last.size();
        found.isTooEarly = end == ScanEnd::truncated || !isThere || !source.unpackedWhole();
    }
    return found;
}

/// True for an image whose pixels should be there and aren't (PS3.3 C.7.6.3.1): cut just before them.
bool lacksPixels(const ObjectHeader &header)
{
    return !header.raw(kRows).empty() && !header.raw(kColumns).empty() &&
           !header.raw(kBitsAllocated).empty() && header.raw(kPixelDataProviderUrl).empty();
}

ObjectEnd endWithoutPixels(const ObjectHeader &header, DicomSource &source)
{
    switch (header.end) {
    case ScanEnd::atEnd:
        return lacksPixels(header) ? tooEarly(source) : ObjectEnd{false, header.endOffset, {}};
    case ScanEnd::oddTail:
        // It may be the beginning of the next element, with which all others that follow are gone.
        return !lacksPixels(header) && isFilling(source.dataset().text(header.endOffset, kShortestElement))
                   ? ObjectEnd{false, header.endOffset, {}}
                   : tooEarly(source);
    case ScanEnd::truncated:
        return tooEarly(source);
    case ScanEnd::running:
    case ScanEnd::malformed:
    case ScanEnd::tooDeep:
        break;
    }
    return {false, source.dataset().size(), {}};
}

/// The end of a file that stops inside something, the last element of the dataset itself being `last`.
ObjectEnd
endInside(const Element &last, const ElementScanner &scanner, const ObjectHeader &header, DicomSource &source)
{
    const bool isInPixels = last.offset == header.pixelData->offset;
    const bool isInValue = !scanner.isInsideSequence() && scanner.position() > source.dataset().size();
    if (isInPixels && scanner.isInsideSequence()) {
        return endOfFragments(header, source);
    }
    if (isInPixels && isInValue) {
        return endOfNative(header, source);
    }
    // Padding may be missing in part as well as altogether.
    const bool isPadding = last.tag == kDataSetTrailingPadding && isInValue;
    return isPadding ? ObjectEnd{false, last.offset, {}} : tooEarly(source);
}

} // namespace

ObjectEnd endOf(const ObjectHeader &header, DicomSource &source)
{
    if (!header.pixelData) {
        return header.layout.deflated ? endOfDeflated(header.end, header.endOffset, source)
                                      : endWithoutPixels(header, source);
    }
    ElementScanner scanner(source.dataset(),
                           header.pixelData->offset,
                           header.encoding,
                           {.deepest = kDeepestForReading, .intoDefinedLength = false});
    Element last = *header.pixelData;
    while (const auto element = scanner.next()) {
        last = element->depth == 0 ? *element : last;
    }
    if (header.layout.deflated) {
        return endOfDeflated(scanner.end(), scanner.position(), source);
    }
    if (scanner.end() == ScanEnd::truncated) {
        return endInside(last, scanner, header, source);
    }
    const std::string tail = source.dataset().text(scanner.position(), kShortestElement);
    if (scanner.end() == ScanEnd::oddTail && mayBegin(tail, header.encoding.bigEndian)) {
        return tooEarly(source);
    }
    const bool hasEnd = scanner.end() == ScanEnd::atEnd || scanner.end() == ScanEnd::oddTail;
    return {false, hasEnd ? scanner.position() : source.dataset().size(), {}};
}

} // namespace gateway::dicom_helper::worker
