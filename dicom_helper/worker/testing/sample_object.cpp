#include "dicom_helper/worker/testing/sample_object.h"

#include <zlib.h>

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace gateway::dicom_helper::worker::testing {

namespace {

bool hasLongForm(Vr representation)
{
    return representation == vr('O', 'B') || representation == vr('O', 'W') ||
           representation == vr('S', 'Q') || representation == vr('U', 'N') ||
           representation == vr('U', 'T') || representation == vr('O', 'F');
}

/// A fixed sequence of random numbers.
class Noise
{
public:
    unsigned upTo(unsigned bound)
    {
        m_state = m_state * 6364136223846793005U + 1442695040888963407U;
        return static_cast<unsigned>(m_state >> 40U) % bound;
    }

private:
    std::uint64_t m_state = 42;
};

} // namespace

void DatasetWriter::put(std::uint32_t value, unsigned width)
{
    for (unsigned i = 0; i < width; ++i) {
        const unsigned shift = 8 * (m_encoding.bigEndian ? width - 1 - i : i);
        m_bytes.push_back(static_cast<char>((value >> shift) & 0xFFU));
    }
}

void DatasetWriter::putTag(Tag tag)
{
    put(tag >> 16U, 2);
    put(tag & 0xFFFFU, 2);
}

DatasetWriter &DatasetWriter::header(Tag tag, Vr representation, std::uint32_t length)
{
    putTag(tag);
    if (!m_encoding.explicitVr || group(tag) == 0xFFFE) {
        put(length, 4);
        return *this;
    }
    m_bytes.push_back(static_cast<char>(representation >> 8U));
    m_bytes.push_back(static_cast<char>(representation & 0xFFU));
    if (hasLongForm(representation)) {
        put(0, 2);
        put(length, 4);
    } else {
        put(length, 2);
    }
    return *this;
}

DatasetWriter &DatasetWriter::raw(Tag tag, Vr representation, std::string_view value)
{
    header(tag, representation, static_cast<std::uint32_t>(value.size()));
    return bytes(value);
}

DatasetWriter &DatasetWriter::text(Tag tag, std::string_view representation, std::string value)
{
    if (value.size() % 2 != 0) {
        value.push_back(representation == "UI" ? '\0' : ' ');
    }
    return raw(tag, vr(representation[0], representation[1]), value);
}

DatasetWriter &DatasetWriter::number(Tag tag, std::uint16_t value)
{
    header(tag, vr('U', 'S'), 2);
    put(value, 2);
    return *this;
}

DatasetWriter &DatasetWriter::sequence(Tag tag, const DatasetWriter &item, bool undefinedLength)
{
    return items(tag, {item.all()}, undefinedLength);
}

DatasetWriter &DatasetWriter::items(Tag tag, const std::vector<std::string> &items, bool undefinedLength)
{
    std::size_t size = 0;
    for (const std::string &item : items) {
        size += 8 + item.size();
    }
    header(tag, vr('S', 'Q'), undefinedLength ? kUndefinedLength : static_cast<std::uint32_t>(size));
    for (const std::string &item : items) {
        header(kItem, 0, undefinedLength ? kUndefinedLength : static_cast<std::uint32_t>(item.size()));
        bytes(item);
        if (undefinedLength) {
            header(kItemDelimiter, 0, 0);
        }
    }
    return undefinedLength ? header(kSequenceDelimiter, 0, 0) : *this;
}

DatasetWriter &DatasetWriter::fragments(const std::vector<std::string> &fragments)
{
    header(kPixelData, vr('O', 'B'), kUndefinedLength);
    header(kItem, 0, 0);
    for (const std::string &fragment : fragments) {
        header(kItem, 0, static_cast<std::uint32_t>(fragment.size()));
        bytes(fragment);
    }
    return header(kSequenceDelimiter, 0, 0);
}

DatasetWriter &DatasetWriter::bytes(std::string_view any)
{
    m_bytes += any;
    return *this;
}

DatasetEncoding encodingOf(std::string_view transferSyntax)
{
    return {transferSyntax != kImplicitLittleEndian, transferSyntax == kExplicitBigEndian};
}

std::string somePixels(const SampleImage &image)
{
    const unsigned top = 1U << image.stored;
    const bool bigEndian = encodingOf(image.transferSyntax).bigEndian;
    const std::size_t shift = image.highBit + 1U - image.stored;
    std::string pixels;
    Noise noise;
    const int count = image.frames * image.rows * image.columns * image.samples;
    for (int i = 0; i < count; ++i) {
        const unsigned slope = static_cast<unsigned>(i / 7) % top;
        unsigned value = (slope / 2 + noise.upTo(std::max(top / 64, 2U))) % top;
        if (image.sign == 1 && (value & (top >> 1U)) != 0) {
            value |= ~(top - 1); // sign extension
        }
        value <<= shift;
        const char low = static_cast<char>(value & 0xFFU);
        const char high = static_cast<char>((value >> 8U) & 0xFFU);
        if (image.allocated == 8) {
            pixels.push_back(low);
        } else {
            pixels.push_back(bigEndian ? high : low);
            pixels.push_back(bigEndian ? low : high);
        }
    }
    return pixels;
}

std::string datasetOf(const SampleImage &image)
{
    DatasetWriter writer(encodingOf(image.transferSyntax));
    writer.text(kSopClassUid, "UI", "1.2.840.10008.5.1.4.1.1.2")
        .text(kSopInstanceUid, "UI", image.sopInstance)
        .text(kStudyDate, "DA", "20200131")
        .text(kModality, "CS", "CT")
        .text(kPatientName, "PN", "Doe^Jane")
        .text(kPatientId, "LO", "P1")
        .text(kStudyInstanceUid, "UI", "1.2.3")
        .text(kSeriesInstanceUid, "UI", "1.2.3.4")
        .number(kSamplesPerPixel, image.samples)
        .text(kPhotometricInterpretation, "CS", image.photometric);
    if (image.samples > 1) {
        writer.number(kPlanarConfiguration, image.planar);
    }
    if (image.frames > 1) {
        writer.text(kNumberOfFrames, "IS", std::to_string(image.frames));
    }
    writer.number(kRows, image.rows)
        .number(kColumns, image.columns)
        .number(kBitsAllocated, image.allocated)
        .number(kBitsStored, image.stored)
        .number(kHighBit, image.highBit)
        .number(kPixelRepresentation, image.sign);
    std::string pixels = image.pixels.empty() ? somePixels(image) : image.pixels;
    pixels.resize(pixels.size() + pixels.size() % 2);
    writer.raw(kPixelData, image.allocated == 8 ? vr('O', 'B') : vr('O', 'W'), pixels);
    const bool deflate = image.transferSyntax == kDeflatedExplicitLittleEndian;
    return deflate ? deflated(writer.all()) : writer.all();
}

std::string part10(std::string_view transferSyntax,
                   std::string_view dataset,
                   std::string_view sopInstance,
                   std::string_view sopClass)
{
    DatasetWriter meta;
    meta.text(0x00020002U, "UI", std::string(sopClass))
        .text(0x00020003U, "UI", std::string(sopInstance))
        .text(0x00020010U, "UI", std::string(transferSyntax))
        .text(0x00020012U, "UI", "1.2.3.9");
    DatasetWriter file;
    file.bytes(std::string(128, '\0')).bytes("DICM").header(0x00020000U, vr('U', 'L'), 4);
    const auto size = static_cast<std::uint32_t>(meta.all().size());
    for (unsigned shift = 0; shift < 32; shift += 8) {
        file.bytes(std::string(1, static_cast<char>((size >> shift) & 0xFFU)));
    }
    return file.bytes(meta.all()).bytes(dataset).all();
}

std::string fileOf(const SampleImage &image)
{
    return part10(image.transferSyntax, datasetOf(image), image.sopInstance);
}

std::string deflated(std::string_view bytes)
{
    z_stream stream = {};
    if (::deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 9, Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::runtime_error("deflateInit2");
    }
    std::string source(bytes);
    std::string packed(::deflateBound(&stream, source.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef *>(source.data());
    stream.avail_in = static_cast<uInt>(source.size());
    stream.next_out = reinterpret_cast<Bytef *>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    ::deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    ::deflateEnd(&stream);
    return packed;
}

void writeFile(const std::string &path, std::string_view bytes)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc).write(bytes.data(), std::ssize(bytes));
}

std::string readFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace gateway::dicom_helper::worker::testing
