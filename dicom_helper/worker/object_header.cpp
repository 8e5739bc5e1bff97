#include "dicom_helper/worker/object_header.h"

#include "dicom_helper/worker/attributes.h"
#include "dicom_helper/worker/numbers.h"

#include <algorithm>
#include <array>

namespace gateway::dicom_helper::worker {

namespace {

/// No attribute that is shown needs more; a longer one is cut there.
constexpr std::size_t kLongestValue = 2048;

/// Image Comments may have 10240 characters (LT, PS3.5 6.2).
constexpr std::size_t kLongestComment = 10240;

/// How much of a deflated dataset is unpacked in search of the pixel data.
constexpr std::uint64_t kInflateLimit = std::uint64_t{64} * 1024 * 1024;

constexpr std::array kWanted{kSpecificCharacterSet,
                             kSopClassUid,
                             kSopInstanceUid,
                             kStudyDate,
                             kStudyTime,
                             kAccessionNumber,
                             kModality,
                             kInstitutionName,
                             kReferringPhysicianName,
                             kTimezoneOffsetFromUtc,
                             kStudyDescription,
                             kSeriesDescription,
                             kPerformingPhysicianName,
                             kPatientName,
                             kPatientId,
                             kIssuerOfPatientId,
                             kStudyInstanceUid,
                             kSeriesInstanceUid,
                             kSeriesNumber,
                             kInstanceNumber,
                             kImagePositionPatient,
                             kImageOrientationPatient,
                             kSliceLocation,
                             kImageComments,
                             kSamplesPerPixel,
                             kPhotometricInterpretation,
                             kPlanarConfiguration,
                             kNumberOfFrames,
                             kRows,
                             kColumns,
                             kBitsAllocated,
                             kBitsStored,
                             kHighBit,
                             kPixelRepresentation,
                             kWindowCenter,
                             kWindowWidth,
                             kPixelDataProviderUrl};
static_assert(std::ranges::is_sorted(kWanted));

/// Multi-frame objects keep these in functional groups (PS3.3 C.7.6.16); the first one found is taken.
constexpr std::array kWantedInGroups{
    kImagePositionPatient, kImageOrientationPatient, kWindowCenter, kWindowWidth};

bool isWanted(const Element &element, const ElementScanner &scanner)
{
    if (element.depth == 0) {
        return std::ranges::binary_search(kWanted, element.tag);
    }
    return std::ranges::find(kWantedInGroups, element.tag) != kWantedInGroups.end() &&
           (scanner.inside(kSharedFunctionalGroupsSequence) ||
            scanner.inside(kPerFrameFunctionalGroupsSequence));
}

void count(ObjectHeader &header, const Element &element)
{
    // Without representations zeros read as elements of no length. No dataset holds one of a command's group.
    header.hasZeros = header.hasZeros || (header.elements > 0 && group(element.tag) == 0);
    if (element.depth == 0) {
        header.isAscending = header.isAscending && (header.elements == 0 || element.tag > header.last);
        header.last = element.tag;
    }
    ++header.elements;
}

void take(ObjectHeader &header, const Element &element, ByteSource &source)
{
    if (element.length == kUndefinedLength || header.values.contains(element.tag)) {
        return;
    }
    const std::size_t longest = element.tag == kImageComments ? kLongestComment : kLongestValue;
    const std::size_t size = std::min<std::size_t>(element.length, longest);
    header.values.emplace(element.tag, source.text(element.valueOffset, size));
}

std::string_view nativeSyntax(const DatasetEncoding &encoding)
{
    if (encoding.bigEndian) {
        return kExplicitBigEndian;
    }
    return encoding.explicitVr ? kExplicitLittleEndian : kImplicitLittleEndian;
}

} // namespace

std::string_view ObjectHeader::raw(Tag tag) const
{
    const auto found = values.find(tag);
    return found == values.end() ? std::string_view() : std::string_view(found->second);
}

std::string_view ObjectHeader::word(Tag tag) const
{
    const std::string_view all = raw(tag);
    return trimmed(all.substr(0, all.find('\\')));
}

std::optional<std::uint32_t> ObjectHeader::unsignedShort(Tag tag) const
{
    const std::string_view bytes = raw(tag);
    if (bytes.size() == 2 || bytes.size() == 4) {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            const std::size_t at = encoding.bigEndian ? i : bytes.size() - 1 - i;
            value = (value << 8U) | static_cast<unsigned char>(bytes[at]);
        }
        return value;
    }
    return std::nullopt;
}

std::optional<std::int64_t> ObjectHeader::integerString(Tag tag) const
{
    return parseInteger(word(tag));
}

std::optional<DicomSource> DicomSource::open(const std::string &path)
{
    DicomSource source;
    source.m_file = FileBytes::open(path);
    if (!source.m_file) {
        return std::nullopt;
    }
    source.m_layout = readLayout(*source.m_file);
    if (source.m_layout.deflated) {
        source.m_inflated =
            std::make_unique<InflatedBytes>(*source.m_file, source.m_layout.datasetOffset, kInflateLimit);
    }
    return source;
}

ByteSource &DicomSource::dataset()
{
    if (m_inflated) {
        return *m_inflated;
    }
    return *m_file;
}

bool DicomSource::isOutOfSight(std::uint64_t offset)
{
    constexpr std::uint64_t kLongestHeader = 12; // nothing begins where its header doesn't fit
    std::array<std::byte, 1> last{};
    return m_inflated && offset + kLongestHeader > kInflateLimit &&
           m_inflated->read(kInflateLimit - 1, last) == last.size();
}

ObjectHeader readHeader(DicomSource &source)
{
    ObjectHeader header;
    header.layout = source.layout();
    ByteSource &bytes = source.dataset();
    const auto encoding = sniffEncoding(bytes, source.datasetOffset());
    if (!encoding) {
        header.end = ScanEnd::truncated;
        return header;
    }
    header.encoding = *encoding;
    ElementScanner scanner(bytes,
                           source.datasetOffset(),
                           *encoding,
                           {.deepest = kDeepestForReading,
                            .intoDefinedLength = false,
                            .intoGroup = group(kSharedFunctionalGroupsSequence)});
    while (const auto element = scanner.next()) {
        count(header, *element);
        if (element->depth == 0 && isPixelData(element->tag)) {
            header.pixelData = element;
            return header;
        }
        if (isWanted(*element, scanner)) {
            take(header, *element, bytes);
        }
    }
    header.end = scanner.end();
    header.endOffset = scanner.position();
    return header;
}

std::string transferSyntaxOf(const ObjectHeader &header)
{
    const std::string &stated = header.layout.transferSyntax;
    const bool isNative =
        stated == kImplicitLittleEndian || stated == kExplicitLittleEndian || stated == kExplicitBigEndian;
    const bool isEncapsulated = header.pixelData && header.pixelData->length == kUndefinedLength;
    if (!stated.empty() && (!isNative || isEncapsulated)) {
        return stated;
    }
    return isEncapsulated ? std::string() : std::string(nativeSyntax(header.encoding));
}

} // namespace gateway::dicom_helper::worker
