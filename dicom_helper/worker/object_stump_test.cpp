#include "dicom_helper/worker/object_end.h"

#include "dicom_helper/worker/testing/sample_object.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace gateway::dicom_helper::worker::testing {

namespace {

using namespace std::string_literals;

constexpr std::size_t kDelimiterBytes = 8;

/// So many bytes of what disks, networks and login pages put where a file wasn't copied.
std::vector<std::string> fillings(std::size_t size)
{
    std::string text;
    while (text.size() < size) {
        text += "<html>Hotel LOGIN PAGE, not found";
    }
    return {std::string(size, '\0'), std::string(size, '\xFF'), std::string(size, ' '), text.substr(0, size)};
}

/// Objects that were cut somewhere.
struct Stumps : ::testing::Test
{
    QTemporaryDir folder;

    bool isWhole(const std::string &bytes) const
    {
        const std::string path = folder.filePath(QStringLiteral("object")).toStdString();
        writeFile(path, bytes);
        auto source = DicomSource::open(path);
        return !endOf(readHeader(*source), *source).isTooEarly;
    }

    bool isWholeDataset(std::string_view syntax, const std::string &dataset) const
    {
        return isWhole(part10(syntax, dataset));
    }

    /// Cuts a file at bytes in [begin, end), and fills it up to its old length.
    void expectNoFilledOneWhole(const std::string &whole,
                                std::size_t begin,
                                std::size_t end,
                                std::size_t step = 1) const
    {
        ASSERT_TRUE(isWhole(whole));
        for (std::size_t cut = begin; cut < end; cut += step) {
            for (const std::string &filling : fillings(whole.size() - cut)) {
                EXPECT_FALSE(isWhole(whole.substr(0, cut) + filling)) << cut << " of " << whole.size();
            }
        }
    }

    /// Leaves it cut, too.
    void
    expectNoneWhole(const std::string &whole, std::size_t begin, std::size_t end, std::size_t step = 1) const
    {
        expectNoFilledOneWhole(whole, begin, end, step);
        for (std::size_t cut = begin; cut < end; cut += step) {
            EXPECT_FALSE(isWhole(whole.substr(0, cut))) << cut << " of " << whole.size();
        }
    }
};

SampleImage small(std::string_view syntax)
{
    SampleImage image;
    image.transferSyntax = std::string(syntax);
    image.rows = image.columns = 20;
    return image;
}

std::string pixelHeader(std::string_view syntax)
{
    return DatasetWriter(encodingOf(syntax)).raw(kPixelData, vr('O', 'W'), "").all().substr(0, 4);
}

std::string fragmented(const std::vector<std::string> &fragments)
{
    const std::string image = datasetOf(small(kExplicitLittleEndian));
    const std::string head = image.substr(0, image.rfind(pixelHeader(kExplicitLittleEndian)));
    return part10(kJpegLsLossless, head + DatasetWriter().fragments(fragments).all());
}

std::string object(std::string_view sopClass, const DatasetWriter &more)
{
    DatasetWriter dataset;
    dataset.text(kSopClassUid, "UI", std::string(sopClass))
        .text(kSopInstanceUid, "UI", "1.2.3.4.5")
        .bytes(more.all());
    return part10(kExplicitLittleEndian, dataset.all());
}

} // namespace

TEST_F(Stumps, AnImageCutBeforeItsPixelsAndFilledUpIsNotWhole)
{
    for (const std::string_view syntax : {kExplicitLittleEndian, kImplicitLittleEndian, kExplicitBigEndian}) {
        const std::string whole = fileOf(small(syntax));
        const std::size_t begin = whole.size() - datasetOf(small(syntax)).size();
        const std::size_t length =
            whole.rfind(pixelHeader(syntax)) + (syntax == kImplicitLittleEndian ? 4 : 8);
        // The last two bytes of the length may be zero.
        expectNoneWhole(whole, begin + 8, length + 2);
    }
}

TEST_F(Stumps, ADeflatedImageThatIsCutAndFilledUpIsNotWhole)
{
    const std::string whole = fileOf(small(kDeflatedExplicitLittleEndian));
    const std::size_t begin = whole.size() - datasetOf(small(kDeflatedExplicitLittleEndian)).size();

    expectNoneWhole(whole, begin + 8, whole.size() - 1, 3);
}

TEST_F(Stumps, ADatasetThatWasFilledUpBeforeItWasDeflatedIsNotWhole)
{
    const std::string whole = datasetOf(small(kExplicitLittleEndian));
    const std::size_t pixels = whole.rfind(pixelHeader(kExplicitLittleEndian));
    for (std::size_t cut = 30; cut < pixels; ++cut) {
        for (const std::string &filling : fillings(whole.size() - cut)) {
            const std::string stump = deflated(whole.substr(0, cut) + filling);
            EXPECT_FALSE(isWholeDataset(kDeflatedExplicitLittleEndian, stump)) << cut;
        }
    }
}

TEST_F(Stumps, FragmentsThatAreCutAndFilledUpAreNotWhole)
{
    const std::string codeStream = "\xFF\xD8\xFF" + std::string(100, 'x') + "\xFF\xD9\0"s;
    for (const std::vector<std::string> &fragments : {std::vector<std::string>{std::string(100, 'r') + "un"},
                                                      {codeStream},
                                                      {codeStream.substr(0, 50), codeStream.substr(50)}}) {
        const std::string whole = fragmented(fragments);

        const std::size_t pixels = whole.rfind(pixelHeader(kExplicitLittleEndian));
        expectNoneWhole(whole, pixels, whole.size() - kDelimiterBytes);
        // The delimiter's length says nothing.
        expectNoFilledOneWhole(whole, whole.size() - kDelimiterBytes, whole.size() - kDelimiterBytes / 2);
        const std::string inLast = whole.substr(0, whole.size() - kDelimiterBytes - 30);
        const std::string inEnd = whole.substr(0, whole.size() - kDelimiterBytes - 2);
        for (std::size_t less = 1; less <= kDelimiterBytes; ++less) {
            EXPECT_FALSE(isWhole(inLast + std::string(30 + kDelimiterBytes - less, '\0'))) << less;
            // Two zeros that end a fragment may be its own.
            EXPECT_TRUE(less == kDelimiterBytes ||
                        !isWhole(inEnd + std::string(2 + kDelimiterBytes - less, '\0')))
                << less;
        }
    }
}

TEST_F(Stumps, WhatIsMissingBehindPixelDataIsSeenWhereItIsFilledUp)
{
    for (const std::string_view syntax : {kExplicitLittleEndian, kImplicitLittleEndian}) {
        const std::string image = fileOf(small(syntax));
        DatasetWriter more(encodingOf(syntax));
        more.text(0x7FE10010U, "LO", "OURS").text(0x7FE11001U, "LO", "loop");
        const std::string whole = image + more.all();

        expectNoFilledOneWhole(whole, image.size(), image.size() + 8);
    }
}

TEST_F(Stumps, AHoleOfZerosInFrontOfThePixelsIsALoss)
{
    for (const std::string_view syntax : {kExplicitLittleEndian, kImplicitLittleEndian, kExplicitBigEndian}) {
        const std::string image = datasetOf(small(syntax));
        const std::size_t pixels = image.rfind(pixelHeader(syntax));
        for (const std::size_t length : {8U, 16U, 512U}) {
            const std::string holed =
                image.substr(0, pixels) + std::string(length, '\0') + image.substr(pixels);
            EXPECT_FALSE(isWholeDataset(syntax, holed)) << length;
        }
    }
}

TEST_F(Stumps, TheFillingOfALastBlockBehindAnImageIsNoLoss)
{
    for (const std::string_view syntax : {kExplicitLittleEndian, kImplicitLittleEndian, kExplicitBigEndian}) {
        const std::string image = fileOf(small(syntax));
        const std::size_t last = 512 - image.size() % 512;
        ASSERT_GE(last, 8U);
        for (const char filler : {'\0', ' ', '\xFF'}) {
            const bool isElement = filler != '\0' && syntax == kImplicitLittleEndian;
            EXPECT_EQ(isWhole(image + std::string(last, filler)), !isElement) << int{filler};
            EXPECT_FALSE(isWhole(image + std::string(last + 512 + 20, filler)));
        }
        EXPECT_FALSE(isWhole(image + std::string(last, 'x')));
    }
}

TEST_F(Stumps, AnObjectThatEndsBeforeAnImageSaysItsSizeMayBeOne)
{
    const std::string ofAnImage = "1.2.840.10008.5.1.4.1.1.2";
    const std::string unknown = "1.2.3.4.99";
    const auto ends = [](Tag tag) { return DatasetWriter().text(tag, "UT", "text"); };

    for (const std::string &sopClass : {ofAnImage, unknown, ""s}) {
        EXPECT_FALSE(isWhole(object(sopClass, ends(0x00204000U))));
        EXPECT_FALSE(isWhole(object(sopClass, ends(kBitsAllocated))));
    }
    EXPECT_TRUE(isWhole(object(unknown, ends(0x0040A160U)))) << "no image by what it has";
    for (const char *shortByNature : {"1.2.840.10008.5.1.4.1.1.77.1.5.3",
                                      "1.2.840.10008.5.1.4.1.1.78.7",
                                      "1.2.840.10008.5.1.4.1.1.80.1",
                                      "1.2.840.10008.5.1.4.1.1.200.1",
                                      "1.2.840.10008.5.1.4.1.1.201.1"}) {
        EXPECT_TRUE(isWhole(object(shortByNature, ends(0x00220020U))));
    }
}

TEST_F(Stumps, OnlyWithoutPixelsIsAnOtherOrderADoubt)
{
    const DatasetWriter disorder =
        DatasetWriter().text(0x0040A160U, "UT", "text").text(kPatientId, "LO", "P1");
    const std::string image = datasetOf(small(kExplicitLittleEndian));

    EXPECT_FALSE(isWhole(object("1.2.840.10008.5.1.4.1.1.88.11", disorder)));
    const DatasetWriter noImage =
        DatasetWriter().text(0x0040A160U, "UT", "text").text(0x0040A123U, "PN", "Doe^John");
    EXPECT_FALSE(isWhole(object("1.2.840.10008.5.1.4.1.1.88.11", noImage)));
    EXPECT_TRUE(isWholeDataset(kExplicitLittleEndian, disorder.all() + image));
    EXPECT_TRUE(isWholeDataset(kExplicitLittleEndian, image + disorder.all()));
}

} // namespace gateway::dicom_helper::worker::testing
