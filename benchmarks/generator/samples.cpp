#include "benchmarks/generator/samples.h"

#include "benchmarks/generator/dataset_writer.h"
#include "benchmarks/generator/phantom.h"

#include <array>
#include <string_view>

namespace gateway::bench {

namespace {

constexpr std::string_view kUidRoot = "2.25.177401913266113947316862093118520482175";

struct KindFacts
{
    std::string_view name;
    std::string_view modality;
    std::string_view sopClassUid;
    std::string_view description;
};

const KindFacts &factsOf(SampleKind kind)
{
    static constexpr std::array<KindFacts, 6> facts{{
        {"ct", "CT", "1.2.840.10008.5.1.4.1.1.2", "Thorax 1.0"},
        {"mr", "MR", "1.2.840.10008.5.1.4.1.1.4", "T2 axial"},
        {"us", "US", "1.2.840.10008.5.1.4.1.1.3.1", "Cine loop"},
        {"dx", "DX", "1.2.840.10008.5.1.4.1.1.1.1.1", "Chest p.a."},
        {"colour", "XC", "1.2.840.10008.5.1.4.1.1.77.1.4", "Photograph"},
        {"report", "SR", "1.2.840.10008.5.1.4.1.1.88.11", "Finding"},
    }};
    return facts[static_cast<std::size_t>(kind)];
}

std::string uid(const SampleRequest &request, int level)
{
    std::string text(kUidRoot);
    text += "." + std::to_string(request.seed % 1000000);
    if (level >= 1) {
        text += "." + std::to_string(static_cast<int>(request.kind) + 1);
    }
    if (level >= 2) {
        text += "." + std::to_string(request.instance);
    }
    return text;
}

void writeIdentity(DatasetWriter &writer, const SampleRequest &request)
{
    const KindFacts &facts = factsOf(request.kind);
    const bool utf8 = request.kind == SampleKind::report;
    writer.text(0x00080005, "CS", utf8 ? "ISO_IR 192" : "ISO_IR 100");
    writer.text(0x00080016, "UI", facts.sopClassUid);
    writer.text(0x00080018, "UI", uid(request, 2));
    writer.text(0x00080020, "DA", "20260314");
    writer.text(0x00080023, "DA", "20260314");
    writer.text(0x00080030, "TM", "091500");
    writer.text(0x00080033, "TM", "091500");
    writer.text(0x00080050, "SH", "A" + std::to_string(request.seed % 100000));
    writer.text(0x00080060, "CS", facts.modality);
    writer.text(0x00080080, "LO", "Sample Hospital");
    writer.text(0x00080090, "PN", "Referrer^Rita");
    writer.text(0x00081030, "LO", "Sample study");
    writer.text(0x0008103E, "LO", facts.description);
    writer.text(0x00081050, "PN", "Performer^Paul");
    writer.text(0x00100010, "PN", utf8 ? "M\xC3\xBCller^J\xC3\xB6rg" : "Sample^Sam");
    writer.text(0x00100020, "LO", "P" + std::to_string(request.seed % 100000));
    writer.text(0x00100030, "DA", "19700101");
    writer.text(0x00100040, "CS", "O");
}

void writeSeries(DatasetWriter &writer, const SampleRequest &request)
{
    writer.text(0x0020000D, "UI", uid(request, 0));
    writer.text(0x0020000E, "UI", uid(request, 1));
    writer.text(0x00200010, "SH", "1");
    writer.text(0x00200011, "IS", std::to_string(static_cast<int>(request.kind) + 1));
    writer.text(0x00200013, "IS", std::to_string(request.instance));
}

struct PixelFacts
{
    int columns;
    int rows;
    int bitsStored;
    int samples;
    double noise; // chosen so that JPEG-LS shrinks a CT about three times, as it does real ones
};

PixelFacts pixelFactsOf(SampleKind kind)
{
    switch (kind) {
    case SampleKind::ct:
        return {512, 512, 12, 1, 9};
    case SampleKind::mr:
        return {256, 256, 12, 1, 12};
    case SampleKind::ultrasound:
        return {512, 512, 8, 1, 3};
    case SampleKind::radiograph:
        return {3000, 3000, 14, 1, 20};
    case SampleKind::colour:
        return {640, 480, 8, 3, 0};
    case SampleKind::report:
        break;
    }
    return {0, 0, 8, 1, 0};
}

std::string pixelsOf(const SampleRequest &request, const PixelFacts &facts, int frames)
{
    Random random(request.seed * 1000003 + static_cast<std::uint64_t>(request.instance) * 17 +
                  static_cast<std::uint64_t>(request.kind));
    std::string pixels;
    for (int frame = 0; frame < frames; ++frame) {
        const double phase = 0.05 * (request.instance + frame);
        if (facts.samples == 3) {
            pixels += colourPicture(facts.columns, facts.rows, phase, random);
        } else {
            pixels += greyPicture({facts.columns, facts.rows, facts.bitsStored, facts.noise, phase}, random);
        }
    }
    return pixels;
}

void writeGeometry(DatasetWriter &writer, const SampleRequest &request)
{
    writer.text(0x00200032, "DS", "-200\\-200\\" + std::to_string(request.instance * 5));
    writer.text(0x00200037, "DS", "1\\0\\0\\0\\1\\0");
    writer.text(0x00201041, "DS", std::to_string(request.instance * 5));
}

void writePixels(DatasetWriter &writer, const SampleRequest &request)
{
    const PixelFacts facts = pixelFactsOf(request.kind);
    const int frames = request.kind == SampleKind::ultrasound ? request.frames : 1;
    const bool colour = facts.samples == 3;
    const int allocated = facts.bitsStored > 8 ? 16 : 8;
    writer.number(0x00280002, static_cast<std::uint16_t>(facts.samples));
    writer.text(0x00280004, "CS", colour ? "RGB" : "MONOCHROME2");
    if (colour) {
        writer.number(0x00280006, 0);
    }
    if (request.kind == SampleKind::ultrasound) {
        writer.text(0x00280008, "IS", std::to_string(frames));
    }
    writer.number(0x00280010, static_cast<std::uint16_t>(facts.rows));
    writer.number(0x00280011, static_cast<std::uint16_t>(facts.columns));
    writer.number(0x00280100, static_cast<std::uint16_t>(allocated));
    writer.number(0x00280101, static_cast<std::uint16_t>(facts.bitsStored));
    writer.number(0x00280102, static_cast<std::uint16_t>(facts.bitsStored - 1));
    writer.number(0x00280103, 0);
    if (!colour) {
        writer.text(0x00281050, "DS", std::to_string(1 << (facts.bitsStored - 1)));
        writer.text(0x00281051, "DS", std::to_string(1 << facts.bitsStored));
    }
    writer.bytes(0x7FE00010, allocated == 16 ? "OW" : "OB", pixelsOf(request, facts, frames));
}

std::string conceptItem(std::string_view code, std::string_view meaning)
{
    DatasetWriter item;
    item.text(0x00080100, "SH", code);
    item.text(0x00080102, "SH", "99SAMPLE");
    item.text(0x00080104, "LO", meaning);
    return item.data();
}

void writeReport(DatasetWriter &writer)
{
    DatasetWriter finding;
    finding.text(0x0040A010, "CS", "CONTAINS");
    finding.text(0x0040A040, "CS", "TEXT");
    finding.sequence(0x0040A043, {conceptItem("F1", "Finding")});
    finding.text(0x0040A160, "UT", "Nothing of note.");

    writer.text(0x0040A040, "CS", "CONTAINER");
    writer.sequence(0x0040A043, {conceptItem("R1", "Report")});
    writer.text(0x0040A050, "CS", "SEPARATE");
    writer.text(0x0040A491, "CS", "COMPLETE");
    writer.text(0x0040A493, "CS", "UNVERIFIED");
    writer.sequence(0x0040A730, {finding.data()});
}

} // namespace

std::string sampleName(SampleKind kind)
{
    return std::string(factsOf(kind).name);
}

std::string sampleFile(const SampleRequest &request)
{
    DatasetWriter writer;
    writeIdentity(writer, request);
    writeSeries(writer, request);
    if (request.kind == SampleKind::report) {
        writeReport(writer);
    } else {
        if (request.kind == SampleKind::ct || request.kind == SampleKind::mr) {
            writeGeometry(writer, request);
        }
        writePixels(writer, request);
    }
    return dicomFile(factsOf(request.kind).sopClassUid, uid(request, 2), writer.data());
}

} // namespace gateway::bench
