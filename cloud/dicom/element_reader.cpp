#include "cloud/dicom/element_reader.h"

#include "cloud/dicom/attributes.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace gateway::cloud {

namespace {

constexpr std::size_t kPreamble = 128;
constexpr std::size_t kMaxDepth = 64;
constexpr std::uint32_t kUndefinedLength = 0xFFFFFFFF;
constexpr std::uint32_t kItem = 0xFFFEE000;
constexpr std::uint32_t kItemEnd = 0xFFFEE00D;
constexpr std::uint32_t kSequenceEnd = 0xFFFEE0DD;

std::endian orderOf(Encoding encoding)
{
    return encoding == Encoding::explicitBig ? std::endian::big : std::endian::little;
}

/// Reads numbers from a place that moves forward.
class Cursor
{
public:
    Cursor(Bytes bytes, std::size_t at) : m_bytes(bytes), m_at(at) {}

    /// What is read from here on is written so. Little endian until then.
    void setOrder(std::endian order) { m_order = order; }

    std::size_t at() const { return m_at; }

    std::size_t left() const { return m_bytes.size() - m_at; }

    std::uint16_t number16()
    {
        const Bytes two = take(2);
        const bool isBig = m_order == std::endian::big;
        return static_cast<std::uint16_t>(std::to_integer<unsigned>(two[isBig ? 1 : 0]) |
                                          (std::to_integer<unsigned>(two[isBig ? 0 : 1]) << 8U));
    }

    std::uint32_t number32()
    {
        const std::uint32_t first = number16();
        const std::uint32_t second = number16();
        return m_order == std::endian::big ? (first << 16U) | second : first | (second << 16U);
    }

    std::uint32_t tag()
    {
        const std::uint32_t group = number16();
        return (group << 16U) | number16();
    }

    Bytes take(std::size_t count)
    {
        if (count > left()) {
            throw DicomFormatError("The DICOM data ends inside an element.");
        }
        const Bytes taken = m_bytes.subspan(m_at, count);
        m_at += count;
        return taken;
    }

private:
    Bytes m_bytes;
    std::size_t m_at;
    std::endian m_order = std::endian::little;
};

struct Header
{
    std::uint32_t tag = 0;
    std::string_view vr;
    std::uint32_t length = 0;
};

bool hasLongLength(std::string_view vr)
{
    constexpr std::string_view kLong[] = {
        "OB", "OD", "OF", "OL", "OV", "OW", "SQ", "SV", "UC", "UN", "UR", "UT", "UV"};
    return std::find(std::begin(kLong), std::end(kLong), vr) != std::end(kLong);
}

Header readHeader(Cursor &cursor, Encoding encoding)
{
    Header header;
    cursor.setOrder(orderOf(encoding));
    header.tag = cursor.tag();
    if (header.tag >> 16U == 0xFFFE || encoding == Encoding::implicitLittle) {
        header.vr = header.tag >> 16U == 0xFFFE ? std::string_view() : dictionaryVr(header.tag);
        header.length = cursor.number32();
        return header;
    }
    const Bytes vr = cursor.take(2);
    header.vr = {reinterpret_cast<const char *>(vr.data()), vr.size()};
    if (hasLongLength(header.vr)) {
        cursor.number16(); // reserved
        header.length = cursor.number32();
    } else {
        header.length = cursor.number16();
    }
    return header;
}

/// A sequence or an item that has begun and not ended.
struct Frame
{
    bool isItem = false;
    Encoding encoding = Encoding::explicitLittle;
    std::optional<std::size_t> end; // none: ended by a delimiter
};

/// The walk through one data set.
class Walk
{
public:
    Walk(Bytes bytes, Encoding encoding, std::uint32_t stopTag, DicomVisitor &visitor)
        : m_cursor(bytes, 0), m_encoding(encoding), m_stopTag(stopTag), m_visitor(visitor)
    {
    }

    void run()
    {
        while (true) {
            endFinishedFrames();
            if (m_frames.empty() && m_cursor.left() == 0) {
                return;
            }
            const bool inSequence = !m_frames.empty() && !m_frames.back().isItem;
            if (inSequence) {
                stepInSequence();
            } else if (!stepInItem()) {
                return;
            }
        }
    }

private:
    Encoding encoding() const { return m_frames.empty() ? m_encoding : m_frames.back().encoding; }

    void endFinishedFrames()
    {
        while (!m_frames.empty() && m_frames.back().end && m_cursor.at() >= *m_frames.back().end) {
            endFrame();
        }
    }

    void endFrame()
    {
        const bool isItem = m_frames.back().isItem;
        m_frames.pop_back();
        if (isItem) {
            m_visitor.itemEnded();
        } else {
            m_visitor.sequenceEnded();
        }
    }

    void push(bool isItem, Encoding encoding, std::uint32_t length)
    {
        if (m_frames.size() >= kMaxDepth) {
            throw DicomFormatError("The DICOM data is nested too deeply.");
        }
        Frame frame{isItem, encoding, std::nullopt};
        if (length != kUndefinedLength) {
            if (length > m_cursor.left()) {
                throw DicomFormatError("A DICOM sequence is longer than what holds it.");
            }
            frame.end = m_cursor.at() + length;
        }
        m_frames.push_back(frame);
    }

    void stepInSequence()
    {
        const Header header = readHeader(m_cursor, encoding());
        if (header.tag == kSequenceEnd && !m_frames.back().end) {
            endFrame();
        } else if (header.tag == kItem) {
            push(true, encoding(), header.length);
            m_visitor.itemBegan();
        } else {
            throw DicomFormatError("A DICOM sequence holds something that isn't an item.");
        }
    }

    /// Reads one element of an item or of the top level; false at the stop tag.
    bool stepInItem()
    {
        const Header header = readHeader(m_cursor, encoding());
        if (m_frames.empty() && header.tag >= m_stopTag && header.tag >> 16U != 0xFFFE) {
            return false;
        }
        if (header.tag == kItemEnd && !m_frames.empty() && !m_frames.back().end) {
            endFrame();
            return true;
        }
        if (header.tag >> 16U == 0xFFFE) {
            throw DicomFormatError("A DICOM delimiter stands where none may.");
        }
        const bool undefined = header.length == kUndefinedLength;
        if (undefined && (header.vr == "OB" || header.vr == "OW")) {
            skipFragments();
        } else if (undefined || header.vr == "SQ") {
            // Unknown data of undefined length is a sequence in implicit form (PS3.5, section 6.2.2).
            const bool implicit = undefined && header.vr == "UN";
            push(false, implicit ? Encoding::implicitLittle : encoding(), header.length);
            m_visitor.sequenceBegan(header.tag);
        } else {
            m_visitor.element({header.tag, header.vr, m_cursor.take(header.length), orderOf(encoding())});
        }
        return true;
    }

    void skipFragments()
    {
        while (true) {
            const std::uint32_t tag = m_cursor.tag();
            const std::uint32_t length = m_cursor.number32();
            if (tag == kSequenceEnd) {
                return;
            }
            if (tag != kItem || length == kUndefinedLength) {
                throw DicomFormatError("Encapsulated DICOM pixel data is broken.");
            }
            m_cursor.take(length);
        }
    }

    Cursor m_cursor;
    const Encoding m_encoding;
    const std::uint32_t m_stopTag;
    DicomVisitor &m_visitor;
    std::vector<Frame> m_frames;
};

} // namespace

FileMeta readFileMeta(Bytes file)
{
    Cursor cursor(file, 0);
    if (file.size() < kPreamble + 4) {
        throw DicomFormatError("The file is too short for a DICOM file.");
    }
    cursor.take(kPreamble);
    if (textOf(cursor.take(4)) != "DICM") {
        throw DicomFormatError("The file doesn't carry the DICOM prefix.");
    }
    FileMeta meta;
    while (cursor.left() >= 8) {
        Cursor ahead = cursor;
        if (ahead.tag() >> 16U != 0x0002) {
            break;
        }
        const Header header = readHeader(cursor, Encoding::explicitLittle);
        const std::string_view value = textOf(cursor.take(header.length));
        if (header.tag == 0x00020002) {
            meta.sopClassUid = value;
        } else if (header.tag == 0x00020003) {
            meta.sopInstanceUid = value;
        } else if (header.tag == 0x00020010) {
            meta.transferSyntaxUid = value;
        }
    }
    meta.datasetOffset = cursor.at();
    return meta;
}

void readDataset(Bytes dataset, Encoding encoding, std::uint32_t stopTag, DicomVisitor &visitor)
{
    Walk(dataset, encoding, stopTag, visitor).run();
}

std::string_view textOf(Bytes value)
{
    constexpr std::string_view kPadding(" \0", 2);
    const std::string_view text(reinterpret_cast<const char *>(value.data()), value.size());
    const std::size_t first = text.find_first_not_of(kPadding);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kPadding) - first + 1);
}

} // namespace gateway::cloud
