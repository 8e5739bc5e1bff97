#include "dicom_helper/worker/object_comparison.h"

#include "dicom_helper/worker/testing/sample_object.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::dicom_helper::worker::testing {

namespace {

struct ObjectComparison : ::testing::Test
{
    QTemporaryDir folder;

    std::string file(const char *name, const std::string &bytes) const
    {
        const std::string path = folder.filePath(QString::fromLatin1(name)).toStdString();
        writeFile(path, bytes);
        return path;
    }

    std::string compare(const std::string &fetched, const std::string &sent) const
    {
        return compare(fetched, sent, sent);
    }

    std::string compare(const std::string &fetched, const std::string &sent, const std::string &stored) const
    {
        return compareObjects(file("fetched", fetched), file("sent", sent), file("stored", stored)).word;
    }
};

std::string withSequence(std::string_view syntax, const std::string &inside, bool undefinedLength)
{
    const DatasetEncoding encoding = encodingOf(syntax);
    const DatasetWriter item = DatasetWriter(encoding).text(0x00081150U, "UI", inside);
    return part10(syntax,
                  DatasetWriter(encoding)
                      .text(kSopInstanceUid, "UI", "1.2.3.4.5")
                      .sequence(0x00081140U, item, undefinedLength)
                      .text(kPatientId, "LO", "P1")
                      .all());
}

std::string compressed(const std::vector<std::string> &fragments)
{
    return part10(kJpegLsLossless,
                  DatasetWriter().text(kSopInstanceUid, "UI", "1.2.3.4.5").fragments(fragments).all());
}

} // namespace

TEST_F(ObjectComparison, FindsAnObjectTheSameInAnotherNativeEncodingAndUnderAnotherHeader)
{
    SampleImage image;
    const std::string explicitly = fileOf(image);
    image.transferSyntax = std::string(kImplicitLittleEndian);
    image.pixels = {};

    EXPECT_EQ(compare(explicitly, explicitly), "same");
    EXPECT_EQ(compare(fileOf(image), explicitly), "same");
    EXPECT_EQ(compare(part10(kExplicitLittleEndian, datasetOf(SampleImage{}), "9.9"), explicitly), "same");
}

TEST_F(ObjectComparison, FindsAnotherPixelAnotherValueAndAnotherElement)
{
    SampleImage image;
    const std::string sent = fileOf(image);
    std::string pixels = somePixels(image);
    pixels.back() = static_cast<char>(pixels.back() ^ 1);
    SampleImage retouched = image;
    retouched.pixels = pixels;
    SampleImage renamed = image;
    renamed.sopInstance = "1.2.3.4.6";

    EXPECT_EQ(compare(fileOf(retouched), sent), "different");
    EXPECT_EQ(compare(fileOf(renamed), sent), "different");
    EXPECT_EQ(compare(sent.substr(0, sent.size() - 2), sent), "different");
    EXPECT_EQ(compare(sent + DatasetWriter().text(0x7FE10010U, "LO", "X").all(), sent), "different");
    EXPECT_EQ(compare("<html>", sent), "different");
}

TEST_F(ObjectComparison, TakesPaddingForNothingInTextsAlone)
{
    const auto with = [](std::string_view representation, std::string_view value) {
        return part10(kExplicitLittleEndian,
                      DatasetWriter()
                          .text(kSopInstanceUid, "UI", "1.2.3.4.5")
                          .raw(0x00280120U, vr(representation[0], representation[1]), value)
                          .all());
    };
    using namespace std::string_view_literals;

    EXPECT_EQ(compare(with("US", " \0"sv), with("US", "\0\0"sv)), "different");
    EXPECT_EQ(compare(with("US", "\0 "sv), with("US", "\0\0"sv)), "different");
    EXPECT_EQ(compare(with("US", ""sv), with("US", "\0\0"sv)), "different");
    EXPECT_EQ(compare(with("LO", "ab  "sv), with("LO", "ab"sv)), "same");
}

TEST_F(ObjectComparison, LooksIntoSequencesHoweverTheyAreWritten)
{
    const std::string sent = withSequence(kExplicitLittleEndian, "1.2", false);

    EXPECT_EQ(compare(withSequence(kExplicitLittleEndian, "1.2", true), sent), "same");
    EXPECT_EQ(compare(withSequence(kImplicitLittleEndian, "1.2", true), sent), "same");
    EXPECT_EQ(compare(withSequence(kImplicitLittleEndian, "1.2", false), sent), "same");
    EXPECT_EQ(compare(withSequence(kExplicitLittleEndian, "1.3", true), sent), "different");
}

TEST_F(ObjectComparison, ComparesCompressedFramesOneByOne)
{
    const std::string sent = compressed({"frame one.", "frame two."});

    EXPECT_EQ(compare(sent, sent), "same");
    EXPECT_EQ(compare(compressed({"frame one.", "frame 2..."}), sent), "different");
    EXPECT_EQ(compare(compressed({"frame one."}), sent), "different");
}

TEST_F(ObjectComparison, TakesTheStoredFormForTheSameWhereAnArchiveHasDecodedIt)
{
    const std::string stored = fileOf({});
    const std::string sent = compressed({"the smaller form"});

    EXPECT_EQ(compare(stored, sent, stored), "same");
    SampleImage other;
    other.sopInstance = "1.2.3.4.6";
    EXPECT_EQ(compare(fileOf(other), sent, stored), "different");
}

TEST_F(ObjectComparison, SaysNothingOfWhatCannotBeRead)
{
    const std::string path = folder.path().toStdString();
    const std::string missing = path + "/missing";

    EXPECT_EQ(compareObjects(path, path, path).word, "failed");
    EXPECT_THROW(compareObjects(missing, missing, missing), ReadError);
}

} // namespace gateway::dicom_helper::worker::testing
