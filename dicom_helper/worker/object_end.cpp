#include "dicom_helper/worker/object_end.h"

#include "dicom_helper/worker/attributes.h"
#include "dicom_helper/worker/fragments.h"
#include "dicom_helper/worker/frame_count.h"
#include "dicom_helper/worker/identity.h"

#include <algorithm>
#include <array>

namespace gateway::dicom_helper::worker {

namespace {

constexpr std::size_t kShortestElement = 8;
constexpr std::uint16_t kDigitalSignatures = 0xFFFA;

/// Whoever rounds the length of pixel data up does it to a block of his disk at most.
constexpr std::uint64_t kLongestPadding = std::uint64_t{64} * 1024;
constexpr std::uint64_t kSmallestBlock = 512;

/// What nothing but the filling of a last block looks like.
bool isFilling(std::string_view tail)
{
    const bool isOneByte = std::ranges::all_of(tail, [&](char c) { return c == tail.front(); });
    const bool isUsual = tail.starts_with(' ') || tail.starts_with('\xFF') || tail.starts_with('\0');
    return tail.find_first_not_of("\r\n\x1A") == std::string_view::npos || (isUsual && isOneByte);
}

/// True where the file from `begin` on, behind its pixel data, holds what fills its last block up. What fills
/// a file up to the length it had before it was cut seldom ends with a block, and may be longer.
bool fillsLastBlock(ByteSource &file, std::uint64_t begin)
{
    const std::uint64_t size = file.size();
    const std::uint64_t length = size - std::min(size, begin);
    std::uint64_t block = kSmallestBlock;
    while (block <= length) {
        block *= 2;
    }
    return block <= kLongestPadding && size % block == 0 &&
           isFilling(file.text(begin, static_cast<std::size_t>(length)));
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
        const bool isShort = m_bytes.size() - m_last.end() < kShortestElement;
        const bool isCounted = isShort && !isVideo(m_header.layout.transferSyntax) && next != kItemBytes;
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
        return (m_tableSize > 0 ? m_lastFrameBegins == m_count - 1 : m_count == m_frames) && !endIsFilling();
    }

    /// A fragment that was cut may have been filled up, and what should stand behind it, too.
    bool endIsFilling() const
    {
        const std::uint64_t behind = m_bytes.size() - m_last.end();
        const std::uint64_t seen = std::min<std::uint64_t>(behind > 0 ? 1 : kShortestElement, m_last.length);
        return seen > 0 &&
               isFilling(m_bytes.text(m_last.end() - seen, static_cast<std::size_t>(seen + behind)));
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

/// Kinds of objects whose last attributes stand before those of an image's pixels (PS3.3 A), as the
/// beginnings of their class UIDs: stereometric relationships, measurements of eyes, visual fields, protocols
/// and inventories.
constexpr std::array<std::string_view, 5> kShortByNature{"1.2.840.10008.5.1.4.1.1.77.1.5.3",
                                                         "1.2.840.10008.5.1.4.1.1.78.",
                                                         "1.2.840.10008.5.1.4.1.1.80.1",
                                                         "1.2.840.10008.5.1.4.1.1.200.",
                                                         "1.2.840.10008.5.1.4.1.1.201."};

/// True for what is or may be an image whose pixels should be there and aren't (PS3.3 C.7.6.3.1): it says how
/// large they are, or ends before it could have.
bool mayLackPixels(const ObjectHeader &header)
{
    if (!header.raw(kPixelDataProviderUrl).empty()) {
        return false;
    }
    const std::string sopClass = identityOf(header).sopClass;
    const bool isShort = std::ranges::any_of(
        kShortByNature, [&](std::string_view kind) { return sopClass.starts_with(kind); });
    const bool saysSize =
        !header.raw(kRows).empty() && !header.raw(kColumns).empty() && !header.raw(kBitsAllocated).empty();
    return saysSize || (header.last <= kBitsAllocated && !isShort);
}

/// True where the elements up to the end, or to the pixel data, may be those of a whole object. Where the
/// pixels are there, nothing in front of them was cut off, in whatever order it stands.
bool mayBeWhole(const ObjectHeader &header)
{
    return !header.hasZeros && (header.pixelData || (header.isAscending && !mayLackPixels(header)));
}

/// Deflated datasets go up as they are, so that only how they end counts.
ObjectEnd endOfDeflated(ScanEnd end, std::uint64_t offset, DicomSource &source)
{
    ObjectEnd found{false, source.dataset().size(), {}};
    if (!source.isOutOfSight(offset)) {
        std::array<std::byte, 1> last{};
        const bool isThere = offset > 0 && source.dataset().read(offset - 1, last) == last.size();
        const bool hasEnd = end == ScanEnd::atEnd || end == ScanEnd::oddTail;
        found.isTooEarly = !hasEnd || !isThere || !source.unpackedWhole();
    }
    return found;
}

ObjectEnd endWithoutPixels(const ObjectHeader &header, DicomSource &source)
{
    // An odd tail may be the beginning of the next element, with which all others that follow are gone.
    const bool hasEnd = header.end == ScanEnd::atEnd ||
                        (header.end == ScanEnd::oddTail &&
                         isFilling(source.dataset().text(header.endOffset, kShortestElement)));
    return hasEnd ? ObjectEnd{false, header.endOffset, {}} : tooEarly(source);
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

/// The end of a file with something behind its pixel data that is no element.
ObjectEnd endBefore(std::uint64_t tail, const ElementScanner &scanner, DicomSource &source)
{
    const bool isFilled = !scanner.isInsideSequence() && fillsLastBlock(source.dataset(), tail);
    return isFilled ? ObjectEnd{false, source.dataset().size(), {}} : tooEarly(source);
}

ObjectEnd endBehindPixels(const ObjectHeader &header, DicomSource &source)
{
    ElementScanner scanner(source.dataset(),
                           header.pixelData->offset,
                           header.encoding,
                           {.deepest = kDeepestForReading, .intoDefinedLength = false});
    Element last = *header.pixelData;
    while (const auto element = scanner.next()) {
        last = element->depth == 0 ? *element : last;
        if (group(last.tag) == 0) {
            return header.layout.deflated ? tooEarly(source) : endBefore(last.offset, scanner, source);
        }
    }
    if (header.layout.deflated) {
        return endOfDeflated(scanner.end(), scanner.position(), source);
    }
    if (scanner.end() == ScanEnd::truncated) {
        return endInside(last, scanner, header, source);
    }
    if (scanner.end() == ScanEnd::malformed || scanner.end() == ScanEnd::tooDeep) {
        return endBefore(scanner.position(), scanner, source);
    }
    const std::string tail = source.dataset().text(scanner.position(), kShortestElement);
    const bool isCut = scanner.end() == ScanEnd::oddTail && mayBegin(tail, header.encoding.bigEndian);
    return isCut ? tooEarly(source) : ObjectEnd{false, scanner.position(), {}};
}

} // namespace

ObjectEnd endOf(const ObjectHeader &header, DicomSource &source)
{
    if (!source.isOutOfSight(header.endOffset) && !mayBeWhole(header)) {
        return tooEarly(source);
    }
    if (header.pixelData) {
        return endBehindPixels(header, source);
    }
    return header.layout.deflated ? endOfDeflated(header.end, header.endOffset, source)
                                  : endWithoutPixels(header, source);
}

} // namespace gateway::dicom_helper::worker
