#include "dicom_helper/worker/object_end.h"

#include "dicom_helper/worker/testing/sample_object.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::dicom_helper::worker::testing {

namespace {

using namespace std::string_literals;

const std::string kRle = "1.2.840.10008.1.2.5";
const std::string kMpeg4 = "1.2.840.10008.1.2.4.102";
const std::string kDelimiter = "\xFE\xFF\xDD\xE0\0\0\0\0"s;

struct ObjectEnds : ::testing::Test
{
    QTemporaryDir folder;

    ObjectEnd endOfFile(const std::string &bytes) const
    {
        const std::string path = folder.filePath(QStringLiteral("object")).toStdString();
        writeFile(path, bytes);
        auto source = DicomSource::open(path);
        return endOf(readHeader(*source), *source);
    }

    bool isWhole(const std::string &bytes) const { return !endOfFile(bytes).isTooEarly; }

    /// True when the object counts as whole, and its bytes up to there with what is missing are `wanted`.
    bool becomes(const std::string &bytes, const std::string &wanted) const
    {
        const ObjectEnd end = endOfFile(bytes);
        return !end.isTooEarly && bytes.substr(0, end.offset) + end.missing == wanted;
    }
};

std::string item(const std::string &bytes)
{
    return DatasetWriter().header(kItem, 0, static_cast<std::uint32_t>(bytes.size())).bytes(bytes).all();
}

std::string little(std::uint32_t value)
{
    std::string bytes;
    for (unsigned shift = 0; shift < 32; shift += 8) {
        bytes.push_back(static_cast<char>((value >> shift) & 0xFFU));
    }
    return bytes;
}

/// An image of so many frames whose pixel data are these items, and nothing else.
std::string encapsulated(int frames, const std::vector<std::string> &items, const std::string &syntax = kRle)
{
    DatasetWriter dataset;
    dataset.text(kSopInstanceUid, "UI", "1.2.3.4.5")
        .text(kNumberOfFrames, "IS", std::to_string(frames))
        .header(kPixelData, vr('O', 'B'), kUndefinedLength);
    for (const std::string &each : items) {
        dataset.bytes(item(each));
    }
    return part10(syntax, dataset.all());
}

const std::string kBegin = "\xFF\xD8\xFF\xF7";
const std::string kEnd = "..\xFF\xD9";

std::string report()
{
    return part10(kExplicitLittleEndian,
                  DatasetWriter()
                      .text(kSopInstanceUid, "UI", "1.2.3.4.5")
                      .text(kModality, "CS", "SR")
                      .text(0x0040A160U, "UT", "findings")
                      .all());
}

} // namespace

TEST_F(ObjectEnds, FragmentsOfAllFramesAreWholeWithoutTheirDelimiter)
{
    for (const std::string &whole :
         {encapsulated(1, {"", "frame one."}),
          encapsulated(2, {"", "frame one.", "frame 2."}),
          encapsulated(2, {little(0) + little(18), "frame one.", "frame 2."}),
          encapsulated(1, {"", kBegin, "....", kEnd}, std::string(kJpegLsLossless)),
          encapsulated(2, {"", kBegin + kEnd, kBegin, kEnd + "\0"s}, std::string(kJpegLsLossless))}) {
        for (std::size_t tail = 0; tail < kDelimiter.size(); ++tail) {
            EXPECT_TRUE(becomes(whole + kDelimiter.substr(0, tail), whole + kDelimiter)) << tail;
        }
        EXPECT_TRUE(becomes(whole + kDelimiter, whole + kDelimiter));
        EXPECT_TRUE(becomes(whole + "xyz", whole + kDelimiter));
    }
}

TEST_F(ObjectEnds, FragmentsThatAreCutAreNot)
{
    const std::string whole = encapsulated(2, {"", "frame one.", "frame 2."});

    for (std::size_t cut = 1; cut <= 8 + 8; ++cut) {
        EXPECT_FALSE(isWhole(whole.substr(0, whole.size() - cut))) << cut;
    }
    EXPECT_FALSE(isWhole(encapsulated(2, {})));
    EXPECT_FALSE(isWhole(encapsulated(2, {""})));
    EXPECT_FALSE(isWhole(whole + item("").substr(0, 4))) << "another one begins";
    EXPECT_FALSE(isWhole(whole + item("").substr(0, 7)));
}

TEST_F(ObjectEnds, FragmentsThatAreTooFewOrTooManyForTheFramesAreNotAll)
{
    EXPECT_FALSE(isWhole(encapsulated(3, {"", "frame one.", "frame 2."})));
    EXPECT_FALSE(isWhole(encapsulated(1, {"", "frame one.", "which?"})));
    EXPECT_FALSE(isWhole(encapsulated(2, {little(0) + little(18) + little(34), "frame one.", "frame 2."})));
    EXPECT_FALSE(isWhole(encapsulated(2, {little(0) + little(36), "frame one.", "frame 2."})));
    EXPECT_FALSE(isWhole(encapsulated(2, {little(0) + little(18), "frame one.", "frame 2.", "more?"})));
}

TEST_F(ObjectEnds, AFrameWhoseCodeStreamDoesNotEndIsNotWhole)
{
    const std::string syntax(kJpegLsLossless);

    EXPECT_FALSE(isWhole(encapsulated(1, {"", kBegin}, syntax))) << "the rest was in a second fragment";
    EXPECT_FALSE(isWhole(encapsulated(1, {"", kBegin, "...."}, syntax)));
    EXPECT_FALSE(isWhole(encapsulated(2, {"", kBegin, kEnd}, syntax))) << "two fragments, but of one frame";
    EXPECT_FALSE(isWhole(encapsulated(2, {little(0) + little(12), kBegin, kBegin, "...."}, syntax)));
    EXPECT_TRUE(isWhole(encapsulated(2, {little(0) + little(16), kBegin + kEnd, kBegin, kEnd}, syntax)));
}

TEST_F(ObjectEnds, AVideoWithoutItsDelimiterMayLackAnything)
{
    EXPECT_FALSE(isWhole(encapsulated(1, {"", "stream"}, kMpeg4)));
    EXPECT_TRUE(isWhole(encapsulated(100, {"", "stream"}, kMpeg4) + kDelimiter));
    EXPECT_TRUE(isWhole(encapsulated(100, {"", "stream"}, kMpeg4) + kDelimiter.substr(0, 4)));
}

TEST_F(ObjectEnds, FragmentsUnderAnUnknownRepresentationAreFragments)
{
    std::string dataset = DatasetWriter().text(kSopInstanceUid, "UI", "1.2").fragments({"frame."}).all();
    dataset.replace(dataset.find("OB"), 2, "UN");
    const std::string whole = part10(kRle, dataset);

    EXPECT_TRUE(becomes(whole, whole));
    EXPECT_TRUE(becomes(whole.substr(0, whole.size() - 8), whole));
}

TEST_F(ObjectEnds, AFewBytesBehindPixelDataBelongToNoElement)
{
    const std::string compressed = encapsulated(1, {"", "frame."}) + kDelimiter;
    for (const std::string &whole : {fileOf({}), compressed}) {
        for (const std::string &tail : {"\n"s, "abc"s, "\xDE\xAD\xBE\xEF"s, "1234567"s, "\0\0\0"s, "    "s}) {
            EXPECT_TRUE(becomes(whole + tail, whole)) << tail;
        }
    }
}

TEST_F(ObjectEnds, TheBeginningOfAnElementBehindPixelDataIsNoTail)
{
    const std::string signatures = DatasetWriter().header(0xFFFAFFFAU, vr('S', 'Q'), 0).all();
    const std::string privately = DatasetWriter().text(0x7FE10010U, "LO", "OURS").all();

    for (std::size_t size = 2; size < 8; ++size) {
        EXPECT_FALSE(isWhole(fileOf({}) + signatures.substr(0, size))) << size;
        EXPECT_FALSE(isWhole(fileOf({}) + privately.substr(0, size))) << size;
    }
    EXPECT_FALSE(isWhole(fileOf({}) + privately.substr(0, 10)));
}

TEST_F(ObjectEnds, PaddingThatIsCutIsNoLoss)
{
    const std::string padding = DatasetWriter().raw(0xFFFCFFFCU, vr('O', 'B'), std::string(100, '\0')).all();

    for (std::size_t size = 12; size < padding.size(); ++size) {
        EXPECT_TRUE(becomes(fileOf({}) + padding.substr(0, size), fileOf({}))) << size;
    }
    EXPECT_TRUE(becomes(fileOf({}) + padding, fileOf({}) + padding));
}

TEST_F(ObjectEnds, NativePixelDataMayLackItsPaddingAlone)
{
    SampleImage image;
    image.allocated = image.stored = 8;
    image.highBit = 7;
    image.rows = image.columns = 5;
    const std::string whole = fileOf(image);

    EXPECT_TRUE(becomes(whole.substr(0, whole.size() - 1), whole));
    EXPECT_FALSE(isWhole(whole.substr(0, whole.size() - 2)));
    image.frames = 3;
    const std::string frames = fileOf(image);
    EXPECT_TRUE(becomes(frames.substr(0, frames.size() - 1), frames));
    EXPECT_FALSE(isWhole(frames.substr(0, frames.size() - 26))) << "the last frame is gone";
}

TEST_F(ObjectEnds, PixelDataOfMoreFramesThanAreStatedMayNotBeCut)
{
    SampleImage image;
    image.pixels = std::string(std::size_t{64} * 48 * 2 * 2, 'x');
    const std::string two = fileOf(image);

    EXPECT_TRUE(isWhole(two));
    EXPECT_FALSE(isWhole(two.substr(0, two.size() - std::size_t{64} * 48 * 2)));
}

TEST_F(ObjectEnds, OfAReportOnlyFillingBelongsToNoElement)
{
    const std::string next = DatasetWriter().text(0x0040A730U, "UT", "more").all();

    for (const std::string &filling : {"\n"s, "\r\n"s, "\x1A"s, "      "s, "\xFF\xFF"s, "\0\0\0\0"s}) {
        EXPECT_TRUE(becomes(report() + filling, report()));
    }
    for (std::size_t size = 1; size < next.size(); ++size) {
        EXPECT_FALSE(isWhole(report() + next.substr(0, size))) << size;
    }
    EXPECT_TRUE(becomes(report(), report()));
}

TEST_F(ObjectEnds, AnImageThatIsCutJustBeforeItsPixelDataIsNotWhole)
{
    for (const std::string_view syntax : {kExplicitLittleEndian, kImplicitLittleEndian, kExplicitBigEndian}) {
        SampleImage image;
        image.transferSyntax = std::string(syntax);
        const std::string whole = fileOf(image);
        const std::string pixels = DatasetWriter(encodingOf(syntax)).raw(kPixelData, vr('O', 'W'), "").all();
        const std::string cut = whole.substr(0, whole.rfind(pixels.substr(0, 4)));
        DatasetWriter elsewhere(encodingOf(syntax));
        elsewhere.text(kPixelDataProviderUrl, "UT", "https://127.0.0.1/image");

        EXPECT_FALSE(isWhole(cut));
        EXPECT_FALSE(isWhole(cut + "\n"));
        EXPECT_TRUE(isWhole(cut + elsewhere.all())) << "the pixels are elsewhere";
    }
    DatasetWriter spectrum;
    spectrum.number(kRows, 1).number(kColumns, 1).raw(0x56000020U, vr('O', 'F'), "data");
    EXPECT_TRUE(isWhole(part10(kExplicitLittleEndian, spectrum.all())));
}

TEST_F(ObjectEnds, ADeflatedStreamThatDoesNotEndIsCut)
{
    SampleImage image;
    image.transferSyntax = kDeflatedExplicitLittleEndian;
    const std::string whole = fileOf(image);
    const std::string inside =
        DatasetWriter().text(kSopInstanceUid, "UI", "1.2").text(0x0040A160U, "UT", "findings").all();

    EXPECT_TRUE(isWhole(whole));
    EXPECT_TRUE(isWhole(whole + "\0"s));
    EXPECT_FALSE(isWhole(whole.substr(0, whole.size() - 40)));
    EXPECT_TRUE(isWhole(part10(kDeflatedExplicitLittleEndian, deflated(inside))));
    EXPECT_FALSE(
        isWhole(part10(kDeflatedExplicitLittleEndian, deflated(inside.substr(0, inside.size() - 1)))));
}

} // namespace gateway::dicom_helper::worker::testing
