#include "dicom_helper/worker/converter.h"

#include "dicom_helper/worker/attributes.h"
#include "dicom_helper/worker/encapsulated_writer.h"
#include "dicom_helper/worker/fragment_reader.h"
#include "dicom_helper/worker/object_comparison.h"
#include "dicom_helper/worker/object_header.h"
#include "dicom_helper/worker/output_file.h"
#include "dicom_helper/worker/pixel_layout.h"
#include "dicom_helper/worker/toolkit_object.h"

#include <algorithm>
#include <array>
#include <optional>

namespace gateway::dicom_helper::worker {

namespace {

using platform::dicom_protocol::Record;

/// A reason not to convert that the sender of the job is told.
class Doubt : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

DicomSource openSource(const std::string &path)
{
    auto source = DicomSource::open(path);
    if (!source) {
        throw Doubt("it isn't a regular file");
    }
    return std::move(*source);
}

/// What a native transfer syntax says of the encoding; nothing for all others.
std::optional<DatasetEncoding> nativeEncoding(std::string_view transferSyntax)
{
    if (transferSyntax == kImplicitLittleEndian) {
        return DatasetEncoding{false, false};
    }
    if (transferSyntax == kExplicitLittleEndian || transferSyntax == kDeflatedExplicitLittleEndian) {
        return DatasetEncoding{true, false};
    }
    if (transferSyntax == kExplicitBigEndian) {
        return DatasetEncoding{true, true};
    }
    return std::nullopt;
}

/// Holds the elements of a dataset and of its items to PS3.5 7.1: each tag once, in ascending order.
class Order
{
public:
    bool isKeptBy(const Element &element)
    {
        m_last.resize(element.depth + std::size_t{1});
        std::optional<Tag> &last = m_last.back();
        const bool isKept = element.tag == kItem || !last || element.tag > *last;
        last = element.tag == kItem ? std::nullopt : std::optional(element.tag);
        return isKept;
    }

private:
    std::vector<std::optional<Tag>> m_last; // by depth
};

/// Makes sure that the toolkit can take the whole dataset: nested at most so deep, well formed to its end,
/// and in order, since it keeps one element of a tag only.
void checkStructure(const std::string &path, const DatasetEncoding &encoding)
{
    DicomSource source = openSource(path);
    ElementScanner scanner(source.dataset(), source.datasetOffset(), encoding, {.reportItems = true});
    Order order;
    while (const auto element = scanner.next()) {
        if (!order.isKeptBy(*element)) {
            throw Doubt("the object's elements aren't in ascending order");
        }
    }
    switch (scanner.end()) {
    case ScanEnd::atEnd:
        break;
    case ScanEnd::tooDeep:
        throw Doubt("the object's sequences are nested too deep");
    case ScanEnd::oddTail:
    case ScanEnd::truncated:
        throw Doubt("the object is truncated");
    case ScanEnd::running:
    case ScanEnd::malformed:
        throw Doubt("the object is malformed");
    }
    if (scanner.hasOddRepresentation()) {
        throw Doubt("the object is malformed");
    }
    if (!scanner.isConsistent()) {
        throw Doubt("the lengths in the object contradict each other");
    }
    if (!source.unpackedWhole()) {
        throw Doubt("the deflated object can't be unpacked whole");
    }
}

/// The work on one object.
class Conversion
{
public:
    Conversion(FrameCodec &codec, const std::function<bool()> &abandoned, std::string path)
        : m_codec(codec), m_abandoned(abandoned), m_path(std::move(path))
    {
    }

    /// \return false where nothing is to convert. \throws Doubt and the errors of what it uses
    bool into(const std::string &output);

private:
    void choosePrecision();
    bool encodeFrames(int descriptor);
    void verify(const std::string &output);
    void readFrame(FrameReader &frames, std::uint64_t index, std::span<std::byte> frame) const;

    FrameCodec &m_codec;
    const std::function<bool()> &m_abandoned;
    std::string m_path;
    PixelLayout m_layout;
    FrameShape m_shape; // with the precision that is encoded
};

bool Conversion::into(const std::string &output)
{
    DicomSource source = openSource(m_path);
    const auto stated = nativeEncoding(source.layout().transferSyntax);
    if (!stated) {
        return false;
    }
    const ObjectHeader header = readHeader(source);
    const auto layout = carriedPixels(header);
    if (!layout) {
        return false;
    }
    if (*stated != header.encoding) {
        throw Doubt("the object isn't encoded as it says");
    }
    checkStructure(m_path, header.encoding);
    m_layout = *layout;
    choosePrecision();

    ToolkitObject object = ToolkitObject::load(m_path);
    object.becomeJpegLs();
    OutputFile file(output);
    object.writeBeforePixels(file.descriptor());
    if (!encodeFrames(file.descriptor())) {
        return false;
    }
    object.writeAfterPixels(file.descriptor());
    if (file.size() >= source.file().size()) {
        return false;
    }
    verify(output);
    file.keep();
    return true;
}

void Conversion::readFrame(FrameReader &frames, std::uint64_t index, std::span<std::byte> frame) const
{
    if (m_abandoned()) {
        throw Doubt("nobody waits for the conversion any more");
    }
    if (!frames.read(index, frame)) {
        throw Doubt("the pixel data is truncated");
    }
}

/// All frames have the same precision, so that the first one tells readers the truth about the rest.
void Conversion::choosePrecision()
{
    DicomSource source = openSource(m_path);
    FrameReader frames(source.dataset(), m_layout);
    std::vector<std::byte> frame(m_layout.shape.bytes());
    unsigned used = 0;
    for (std::uint64_t i = 0; i < m_layout.frames; ++i) {
        readFrame(frames, i, frame);
        used |= usedBits(m_layout.shape, frame);
    }
    m_shape = m_layout.shape;
    m_shape.precision = m_layout.precisionFor(used);
}

/// \return false when the coded frames wouldn't be smaller.
bool Conversion::encodeFrames(int descriptor)
{
    DicomSource source = openSource(m_path);
    FrameReader frames(source.dataset(), m_layout);
    EncapsulatedWriter writer(descriptor, m_layout.frames);
    std::vector<std::byte> frame(m_shape.bytes());
    // A frame that grows is paid for by smaller ones, or the whole isn't worth it.
    std::vector<std::byte> encoded(frame.size() + frame.size() / 2 + 4096);
    for (std::uint64_t i = 0; i < m_layout.frames; ++i) {
        readFrame(frames, i, frame);
        const auto size = m_codec.encode(m_shape, frame, encoded);
        if (!size || writer.bytesWritten() + *size >= m_layout.bytes()) {
            return false;
        }
        writer.add(std::span(encoded).first(*size));
    }
    writer.finish();
    return true;
}

/// Reads the finished file as a stranger would.
void Conversion::verify(const std::string &output)
{
    DicomSource result = openSource(output);
    const ObjectHeader header = readHeader(result);
    if (header.layout.transferSyntax != kJpegLsLossless || !header.pixelData ||
        header.pixelData->length != kUndefinedLength ||
        header.unsignedShort(kPlanarConfiguration).value_or(0) != 0) {
        throw Doubt("the converted object isn't what it should be");
    }
    DicomSource source = openSource(m_path);
    FrameReader frames(source.dataset(), m_layout);
    FragmentReader fragments(result.file(), header.pixelData->valueOffset, m_layout.frames);
    std::vector<std::byte> wanted(m_shape.bytes());
    for (std::uint64_t i = 0; i < m_layout.frames; ++i) {
        readFrame(frames, i, wanted);
        if (!m_codec.carries(m_shape, wanted, fragments.next())) {
            throw Doubt("the converted pixels differ from the source's");
        }
    }
    if (!fragments.atEnd()) {
        throw Doubt("the converted object has more fragments than frames");
    }
    if (!sameAttributes(output, m_path)) {
        throw Doubt("the converted object's attributes differ from the source's");
    }
}

} // namespace

Converter::Converter(FrameCodec &codec, std::function<bool()> abandoned)
    : m_codec(codec), m_abandoned(std::move(abandoned))
{
}

Record Converter::convert(const std::string &path, const std::string &output)
try {
    Conversion conversion(m_codec, m_abandoned, path);
    return {"converted", {{"path", conversion.into(output) ? output : path}}};
} catch (const std::runtime_error &error) {
    return {"failed", {{"message", error.what()}}};
}

} // namespace gateway::dicom_helper::worker
