#include "dicom_helper/worker/converter.h"

#include "dicom_helper/worker/elements.h"
#include "dicom_helper/worker/object_comparison.h"
#include "dicom_helper/worker/testing/converter_world.h"

namespace gateway::dicom_helper::worker::testing {

using gateway::platform::dicom_protocol::Record;

namespace {

std::string littleEndianWords(std::string bytes)
{
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        std::swap(bytes[i], bytes[i + 1]);
    }
    return bytes;
}

std::string byPixel(const std::string &planes, std::size_t frames, std::size_t width)
{
    std::string pixels;
    const std::size_t frame = planes.size() / frames;
    for (std::size_t base = 0; base < planes.size(); base += frame) {
        for (std::size_t i = 0; i < frame / 3; i += width) {
            for (std::size_t sample = 0; sample < 3; ++sample) {
                pixels += planes.substr(base + sample * (frame / 3) + i, width);
            }
        }
    }
    return pixels;
}

} // namespace

TEST_F(ConverterTest, GreyOfAllDepthsIsDecodedToTheSameBitsByAnotherDecoder)
{
    for (const auto &[allocated, stored] : std::vector<std::pair<std::uint16_t, std::uint16_t>>{{8, 2},
                                                                                                {8, 7},
                                                                                                {8, 8},
                                                                                                {16, 8},
                                                                                                {16, 9},
                                                                                                {16, 10},
                                                                                                {16, 11},
                                                                                                {16, 12},
                                                                                                {16, 13},
                                                                                                {16, 14},
                                                                                                {16, 15},
                                                                                                {16, 16}}) {
        for (const auto sign : std::initializer_list<std::uint16_t>{0, 1}) {
            SampleImage image;
            image.allocated = allocated;
            image.stored = stored;
            image.highBit = static_cast<std::uint16_t>(stored - 1);
            image.sign = sign;
            QFile::remove(QString::fromStdString(path("output")));

            const Record record = converted(fileOf(image));

            ASSERT_TRUE(isConverted(record)) << allocated << ' ' << stored << record.text("message");
            EXPECT_EQ(decodedByTheToolkit(), somePixels(image)) << allocated << ' ' << stored << ' ' << sign;
        }
    }
}

TEST_F(ConverterTest, EveryNativeEncodingGivesTheSameResult)
{
    SampleImage image;
    ASSERT_TRUE(isConverted(converted(fileOf(image))));
    const std::string wanted = readFile(path("output"));

    for (const auto syntax : {kImplicitLittleEndian, kExplicitBigEndian, kDeflatedExplicitLittleEndian}) {
        image.transferSyntax = syntax;
        QFile::remove(QString::fromStdString(path("output")));
        const Record record = converted(fileOf(image));
        ASSERT_TRUE(isConverted(record)) << syntax << record.text("message");
        EXPECT_EQ(readFile(path("output")), wanted) << syntax;
    }
}

TEST_F(ConverterTest, BytesInBigEndianWordsComeInTheirOrder)
{
    SampleImage image;
    image.allocated = 8;
    image.stored = 8;
    image.highBit = 7;
    const std::string pixels = somePixels(image);
    image.transferSyntax = kExplicitBigEndian;
    image.pixels = littleEndianWords(pixels);
    std::string bytes = fileOf(image);
    const std::size_t at = bytes.rfind("OB");
    bytes.replace(at, 2, "OW");

    ASSERT_TRUE(isConverted(converted(bytes)));

    EXPECT_EQ(decodedByTheToolkit(), pixels);
}

TEST_F(ConverterTest, BitsOutsideTheStoredOnesSurvive)
{
    SampleImage overlay;
    overlay.pixels = somePixels(overlay);
    for (std::size_t i = 1; i < overlay.pixels.size(); i += 20) {
        overlay.pixels[i] = static_cast<char>(overlay.pixels[i] | '\x80');
    }
    ASSERT_TRUE(isConverted(converted(fileOf(overlay))));
    EXPECT_EQ(decodedByTheToolkit(), overlay.pixels);

    SampleImage shifted;
    shifted.highBit = 15;
    QFile::remove(QString::fromStdString(path("output")));
    ASSERT_TRUE(isConverted(converted(fileOf(shifted))));
    EXPECT_EQ(decodedByTheToolkit(), somePixels(shifted));
}

TEST_F(ConverterTest, ColourByPixelAndByPlaneBothArriveByPixel)
{
    for (const auto allocated : std::initializer_list<std::uint16_t>{8, 16}) {
        for (const auto planar : std::initializer_list<std::uint16_t>{0, 1}) {
            SampleImage image;
            image.photometric = "RGB";
            image.samples = 3;
            image.planar = planar;
            image.allocated = allocated;
            image.stored = allocated;
            image.highBit = static_cast<std::uint16_t>(allocated - 1);
            image.frames = 2;
            QFile::remove(QString::fromStdString(path("output")));

            ASSERT_TRUE(isConverted(converted(fileOf(image)))) << planar;

            const std::string pixels = somePixels(image);
            EXPECT_EQ(decodedByTheToolkit("+px"), planar == 0 ? pixels : byPixel(pixels, 2, allocated / 8U));
            auto output = DicomSource::open(path("output"));
            EXPECT_EQ(readHeader(*output).unsignedShort(kPlanarConfiguration), 0U);
        }
    }
}

TEST_F(ConverterTest, MultiFrameAndPaletteObjectsAreConverted)
{
    SampleImage cine;
    cine.allocated = 8;
    cine.stored = 8;
    cine.highBit = 7;
    cine.frames = 9;
    ASSERT_TRUE(isConverted(converted(fileOf(cine))));
    EXPECT_EQ(decodedByTheToolkit(), somePixels(cine));

    SampleImage palette = cine;
    palette.frames = 1;
    palette.photometric = "PALETTE COLOR";
    QFile::remove(QString::fromStdString(path("output")));
    ASSERT_TRUE(isConverted(converted(fileOf(palette))));
    EXPECT_EQ(decodedByTheToolkit(), somePixels(palette));
}

TEST_F(ConverterTest, LargeImagesAreDecodedToTheSameBitsByAnotherDecoder)
{
    SampleImage grey;
    grey.columns = 701;
    grey.rows = 512;
    grey.sign = 1;
    ASSERT_TRUE(isConverted(converted(fileOf(grey))));
    EXPECT_TRUE(decodedByTheToolkit() == somePixels(grey));

    SampleImage colour = grey;
    colour.photometric = "RGB";
    colour.samples = 3;
    colour.sign = 0;
    colour.allocated = 8;
    colour.stored = 8;
    colour.highBit = 7;
    QFile::remove(QString::fromStdString(path("output")));
    ASSERT_TRUE(isConverted(converted(fileOf(colour))));
    EXPECT_TRUE(decodedByTheToolkit("+px") == somePixels(colour));
}

TEST_F(ConverterTest, FramesOfAnOddNumberOfBytesAreConverted)
{
    SampleImage image;
    image.allocated = 8;
    image.stored = 8;
    image.highBit = 7;
    image.columns = 63;
    image.rows = 47;
    image.frames = 3;

    ASSERT_TRUE(isConverted(converted(fileOf(image))));

    EXPECT_EQ(decodedByTheToolkit().substr(0, std::size_t{63} * 47 * 3), somePixels(image));
}

TEST_F(ConverterTest, AllOtherAttributesStay)
{
    DatasetWriter item;
    item.text(0x00081150U, "UI", "1.2").text(0x00081155U, "UI", "3.4");
    SampleImage image;
    DatasetWriter dataset;
    dataset.sequence(0x00080006U, item, true)
        .bytes(datasetOf(image))
        .text(0x7FE11001U, "LO", "behind the pixels")
        .raw(0xFFFCFFFCU, vr('O', 'B'), std::string(6, '\0'));

    ASSERT_TRUE(isConverted(converted(part10(kExplicitLittleEndian, dataset.all()))));

    auto output = DicomSource::open(path("output"));
    EXPECT_EQ(output->layout().transferSyntax, kJpegLsLossless);
    EXPECT_EQ(output->layout().mediaStorageSopInstance, image.sopInstance);
    const std::string bytes = readFile(path("output"));
    EXPECT_NE(bytes.find("behind the pixels"), std::string::npos);
    ElementScanner scanner(output->file(), output->datasetOffset(), {}, {});
    std::vector<Tag> tags;
    while (const auto element = scanner.next()) {
        tags.push_back(element->tag);
    }
    EXPECT_EQ(scanner.end(), ScanEnd::atEnd);
    EXPECT_EQ(tags,
              (std::vector<Tag>{0x00080006U,
                                0x00081150U,
                                0x00081155U,
                                kSopClassUid,
                                kSopInstanceUid,
                                kStudyDate,
                                kModality,
                                kPatientName,
                                kPatientId,
                                kStudyInstanceUid,
                                kSeriesInstanceUid,
                                kSamplesPerPixel,
                                kPhotometricInterpretation,
                                kRows,
                                kColumns,
                                kBitsAllocated,
                                kBitsStored,
                                kHighBit,
                                kPixelRepresentation,
                                kPixelData,
                                0x7FE11001U,
                                0xFFFCFFFCU}));
}

TEST_F(ConverterTest, WhatIsNotForTheEncoderComesBackAsItIs)
{
    SampleImage image;
    DatasetWriter compressed;
    compressed.bytes(datasetOf(image).substr(0, datasetOf(image).size() - 12 - somePixels(image).size()))
        .fragments({"0123"});
    EXPECT_TRUE(nothingToConvert(converted(part10("1.2.840.10008.1.2.5", compressed.all()))));
    EXPECT_TRUE(nothingToConvert(converted(part10(kJpegLsLossless, compressed.all()))));
    EXPECT_TRUE(nothingToConvert(converted(part10("1.2.3.4.private", datasetOf(image)))));

    DatasetWriter report;
    report.text(kSopInstanceUid, "UI", "1.2").text(kStudyInstanceUid, "UI", "1.2.3");
    EXPECT_TRUE(nothingToConvert(converted(part10(kExplicitLittleEndian, report.all()))));

    const auto varied = [this](auto change) {
        SampleImage other;
        change(other);
        other.pixels = std::string(std::size_t{64} * 48 * 2 * other.samples, '\0');
        return nothingToConvert(converted(fileOf(other)));
    };
    EXPECT_TRUE(varied([](SampleImage &i) { i.allocated = 32; }));
    EXPECT_TRUE(varied([](SampleImage &i) { i.allocated = 1; }));
    EXPECT_TRUE(varied([](SampleImage &i) { i.stored = 17; }));
    EXPECT_TRUE(varied([](SampleImage &i) { i.stored = 1; }));
    EXPECT_TRUE(varied([](SampleImage &i) { i.photometric = "YBR_FULL_422"; }));
    EXPECT_TRUE(varied([](SampleImage &i) { i.samples = 4; }));
    EXPECT_TRUE(varied([](SampleImage &i) { i.rows = 0; }));
    EXPECT_TRUE(varied([](SampleImage &i) { i.frames = 2; }));
    EXPECT_TRUE(varied([](SampleImage &i) { i.sign = 2; }));
}

TEST_F(ConverterTest, ObjectsThatOtherToolsEncodedAreReadTheSameAndConvertedWhereNative)
{
    const struct
    {
        const char *tool;
        QStringList options;
        bool native;
    } tools[] = {{"dcmcrle", {}, false},
                 {"dcmcjpeg", {QStringLiteral("+e1")}, false},
                 {"dcmcjpls", {}, false},
                 {"dcmconv", {QStringLiteral("+ti"), QStringLiteral("-e")}, true},
                 {"dcmconv", {QStringLiteral("+ti"), QStringLiteral("+e"), QStringLiteral("+g")}, true},
                 {"dcmconv", {QStringLiteral("+tb"), QStringLiteral("+g=")}, true},
                 {"dcmconv", {QStringLiteral("+td")}, true},
                 {"dcmconv", {QStringLiteral("-F")}, true}};
    const std::string native = path("native");
    writeFile(native, fileOf({}));
    const auto elementsOf = [](const std::string &file) { return parseObject(file, Look::elements); };
    const Record wanted = elementsOf(native);
    const QStringList files{QString::fromStdString(native), QString::fromStdString(path("source"))};
    for (const auto &tool : tools) {
        QFile::remove(QString::fromStdString(path("output")));
        ASSERT_EQ(QProcess::execute(QString::fromLatin1(tool.tool), tool.options + files), 0) << tool.tool;

        EXPECT_EQ(elementsOf(path("source")), wanted) << tool.tool;
        const Record record = Converter(m_codec).convert(path("source"), path("output"));
        if (tool.options.contains(QStringLiteral("-F"))) {
            EXPECT_TRUE(nothingToConvert(record));
        } else if (tool.native) {
            ASSERT_TRUE(isConverted(record)) << tool.tool << record.text("message");
            EXPECT_EQ(decodedByTheToolkit(), somePixels({}));
        } else {
            EXPECT_TRUE(nothingToConvert(record)) << tool.tool;
        }
    }
}

TEST_F(ConverterTest, WhatWouldNotGetSmallerComesBackAsItIs)
{
    SampleImage image;
    image.allocated = 8;
    image.stored = 8;
    image.highBit = 7;
    std::uint64_t state = 7;
    while (image.pixels.size() < std::size_t{64} * 48) {
        state = state * 6364136223846793005U + 1442695040888963407U;
        image.pixels.push_back(static_cast<char>(state >> 56U));
    }

    EXPECT_TRUE(nothingToConvert(converted(fileOf(image))));
}

} // namespace gateway::dicom_helper::worker::testing
