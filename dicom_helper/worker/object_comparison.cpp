#include "dicom_helper/worker/object_comparison.h"

#include "dicom_helper/worker/attributes.h"
#include "dicom_helper/worker/element_comparison.h"
#include "dicom_helper/worker/object_header.h"
#include "dicom_helper/worker/pixel_layout.h"

#include <optional>
#include <vector>

namespace gateway::dicom_helper::worker {

namespace {

using platform::dicom_protocol::Record;

/// What a change of the transfer syntax alone may add, drop or change. How colours are arranged counts with
/// the pixels.
bool isPassedOver(const Element &element)
{
    constexpr std::uint32_t kGroupLengthBytes = 4;
    const bool isGroupLength = (element.tag & 0xFFFFU) == 0 && element.length == kGroupLengthBytes;
    return isGroupLength || (element.depth == 0 &&
                             (element.tag == kPlanarConfiguration || element.tag == kDataSetTrailingPadding));
}

/// The elements and items of one object that count, one after another.
class Elements
{
public:
    Elements(std::string path, bool intoUnknown)
        : m_path(std::move(path)), m_source(DicomSource::open(m_path))
    {
        if (m_source) {
            m_encoding = sniffEncoding(m_source->dataset(), m_source->datasetOffset());
        }
        if (m_encoding) {
            m_scanner.emplace(m_source->dataset(),
                              m_source->datasetOffset(),
                              *m_encoding,
                              ElementScanner::Options{.intoUnknown = intoUnknown, .reportItems = true});
        }
    }

    const std::string &path() const { return m_path; }
    bool isReadable() const { return m_scanner.has_value(); }
    const std::string &transferSyntax() const { return m_source->layout().transferSyntax; }

    std::optional<Element> next()
    {
        std::optional<Element> element = m_scanner->next();
        while (element && isPassedOver(*element)) {
            seeArrangement(*element);
            element = m_scanner->next();
        }
        return element;
    }

    /// The last element, with what it takes to read it.
    PlacedElement placed(const Element &element)
    {
        return {m_source->dataset(), element, m_scanner->encoding().bigEndian};
    }

    /// Planar Configuration as it has been met so far; nothing where it was met more than once.
    std::optional<std::string> arrangement() const
    {
        return m_arrangements > 1 ? std::nullopt : std::optional(m_arrangement);
    }

    /// True when the last element there was, was the last of a whole dataset without contradictions.
    bool endedWell() const
    {
        return m_scanner->end() == ScanEnd::atEnd && m_scanner->isConsistent() && m_source->unpackedWhole();
    }

private:
    void seeArrangement(const Element &element)
    {
        if (element.tag == kPlanarConfiguration) {
            ++m_arrangements;
            const std::string value = m_source->dataset().text(element.valueOffset, 2);
            const bool isByPixel = element.length == 2 && value == std::string(2, '\0');
            m_arrangement = isByPixel ? std::string() : value;
        }
    }

    std::string m_path;
    std::optional<DicomSource> m_source;
    std::optional<DatasetEncoding> m_encoding;
    std::optional<ElementScanner> m_scanner;
    unsigned m_arrangements = 0;
    std::string m_arrangement;
};

/// The same frames in whatever arrangement of colours, for pixel data of the kinds that are converted.
bool sameFrames(const std::string &one, const std::string &other)
{
    auto first = DicomSource::open(one);
    auto second = DicomSource::open(other);
    const auto left = first ? carriedPixels(readHeader(*first)) : std::nullopt;
    const auto right = second ? carriedPixels(readHeader(*second)) : std::nullopt;
    if (!left || !right || left->shape != right->shape || left->frames != right->frames) {
        return false;
    }
    FrameReader a(first->dataset(), *left);
    FrameReader b(second->dataset(), *right);
    std::vector<std::byte> frame(left->shape.bytes());
    std::vector<std::byte> counterpart(frame.size());
    for (std::uint64_t i = 0; i < left->frames; ++i) {
        if (!a.read(i, frame) || !b.read(i, counterpart) || frame != counterpart) {
            return false;
        }
    }
    return true;
}

enum class Pixels
{
    compared,
    passedOver
};

/// Two objects side by side.
class Comparison
{
public:
    Comparison(const std::string &one, const std::string &other, Pixels pixels, bool intoUnknown)
        : m_one(one, intoUnknown), m_other(other, intoUnknown), m_pixels(pixels)
    {
    }

    bool isSame()
    {
        if (!m_one.isReadable() || !m_other.isReadable()) {
            return false;
        }
        for (unsigned elements = 0;; ++elements) {
            const auto first = m_one.next();
            const auto second = m_other.next();
            if (!first || !second) {
                return !first && !second && elements > 0 && endedAlike();
            }
            if (first->tag != second->tag || first->depth != second->depth || !isSame(*first, *second)) {
                return false;
            }
        }
    }

private:
    bool endedAlike() const
    {
        return m_one.endedWell() && m_other.endedWell() && m_one.arrangement() && m_other.arrangement() &&
               (m_isArranged || m_one.arrangement() == m_other.arrangement());
    }

    bool isSame(const Element &first, const Element &second)
    {
        if (first.tag == kItem) {
            return true; // it is there
        }
        if (isPixelData(first.tag)) {
            return samePixelData(first, second);
        }
        if (first.isEntered || second.isEntered) {
            // What is inside comes one by one; an empty sequence needn't be entered.
            return (first.isEntered || first.length == 0) && (second.isEntered || second.length == 0);
        }
        return sameValue(m_one.placed(first), m_other.placed(second));
    }

    bool samePixelData(const Element &first, const Element &second)
    {
        const bool isEncapsulated = first.length == kUndefinedLength;
        if (first.depth == 0 && m_pixels == Pixels::passedOver) {
            m_isArranged = true;
            return true;
        }
        if (isEncapsulated != (second.length == kUndefinedLength)) {
            return false;
        }
        if (isEncapsulated) {
            m_isArranged = m_isArranged || first.depth == 0; // the fragments say it themselves
            return m_one.transferSyntax() == m_other.transferSyntax() &&
                   sameFragments(m_one.placed(first), m_other.placed(second));
        }
        if (first.depth > 0 || m_isArranged || m_one.arrangement() == m_other.arrangement()) {
            return sameValue(m_one.placed(first), m_other.placed(second));
        }
        m_isArranged = true;
        return first.tag == kPixelData && sameFrames(m_one.path(), m_other.path());
    }

    Elements m_one;
    Elements m_other;
    Pixels m_pixels;
    bool m_isArranged = false; // the arrangements of colours have been taken into account
};

/// Elements of unknown representation are taken for what they are, and else for the sequences that they look
/// like: whoever doesn't know a private sequence writes it so (PS3.5 6.2.2).
bool sameObject(const std::string &one, const std::string &other, Pixels pixels)
{
    return Comparison(one, other, pixels, false).isSame() || Comparison(one, other, pixels, true).isSame();
}

/// The same dataset byte by byte, which is the same object however odd it is.
bool sameDataset(const std::string &one, const std::string &other)
{
    auto first = DicomSource::open(one);
    auto second = DicomSource::open(other);
    return first && second && first->layout().transferSyntax == second->layout().transferSyntax &&
           sameRest({first->file(), first->layout().datasetOffset},
                    {second->file(), second->layout().datasetOffset});
}

bool isFile(const std::string &path)
{
    return DicomSource::open(path).has_value();
}

} // namespace

Record compareObjects(const std::string &fetched, const std::string &sent, const std::string &stored)
{
    if (!isFile(fetched) || !isFile(sent)) {
        return {"failed", {{"message", "it isn't a regular file"}}};
    }
    const auto isSameAs = [&fetched](const std::string &mine) {
        return sameDataset(fetched, mine) || sameObject(fetched, mine, Pixels::compared);
    };
    const bool isSame = isSameAs(sent) || (sent != stored && isSameAs(stored));
    return {isSame ? "same" : "different", {}};
}

bool sameAttributes(const std::string &converted, const std::string &source)
{
    return sameObject(converted, source, Pixels::passedOver);
}

} // namespace gateway::dicom_helper::worker
