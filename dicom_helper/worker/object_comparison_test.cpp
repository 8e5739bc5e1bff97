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

/// A dataset of an identity and these elements.
std::string with(const DatasetWriter &more, std::string_view syntax = kExplicitLittleEndian)
{
    return part10(
        syntax,
        DatasetWriter(encodingOf(syntax)).text(kSopInstanceUid, "UI", "1.2.3.4.5").bytes(more.all()).all());
}

std::string withItems(const std::vector<std::string> &items, bool undefinedLength = false)
{
    return with(DatasetWriter().items(0x00081140U, items, undefinedLength).text(kPatientId, "LO", "P1"));
}

std::string reference(Tag tag)
{
    return DatasetWriter().text(tag, "UI", "1.2").all();
}

/// Three samples a pixel, each frame by plane where `planar` says so.
SampleImage colours(std::uint16_t planar, const std::string &pixels)
{
    SampleImage image;
    image.photometric = "RGB";
    image.samples = 3;
    image.planar = planar;
    image.rows = 1;
    image.columns = 2;
    image.allocated = image.stored = 8;
    image.highBit = 7;
    image.frames = 2;
    image.pixels = pixels;
    return image;
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

TEST_F(ObjectComparison, SeesWhereAnItemEnds)
{
    const std::string a = reference(0x00081150U);
    const std::string b = reference(0x00081155U);

    for (const bool undefined : {false, true}) {
        EXPECT_EQ(compare(withItems({a, b}, undefined), withItems({a, b})), "same");
        EXPECT_EQ(compare(withItems({""}, undefined), withItems({""})), "same");
        EXPECT_EQ(compare(withItems({}, undefined), withItems({})), "same");
        EXPECT_EQ(compare(withItems({a, b}, undefined), withItems({a + b})), "different");
        EXPECT_EQ(compare(withItems({a, ""}, undefined), withItems({a})), "different");
        EXPECT_EQ(compare(withItems({"", a}, undefined), withItems({a, ""})), "different");
        EXPECT_EQ(compare(withItems({""}, undefined), withItems({})), "different");
        EXPECT_EQ(compare(withItems({a}, undefined), withItems({a, a})), "different");
    }
}

TEST_F(ObjectComparison, SeesInWhichItemOfWhichSequenceAnElementIs)
{
    const std::string a = reference(0x00081150U);
    const std::string b = reference(0x00081155U);
    const auto inner = [](const std::vector<std::string> &items) {
        return DatasetWriter().items(0x00081199U, items, true).all();
    };

    EXPECT_EQ(compare(withItems({inner({a}), b}), withItems({inner({a}), b})), "same");
    EXPECT_EQ(compare(withItems({inner({a}), b}), withItems({inner({a, b})})), "different");
    EXPECT_EQ(compare(withItems({inner({a}), inner({b})}), withItems({inner({a}) + inner({b})})),
              "different");
    EXPECT_EQ(compare(withItems({inner({})}), withItems({inner({""})})), "different");
}

TEST_F(ObjectComparison, TakesNoContradictionForTheSame)
{
    const std::string item = reference(0x00081150U);
    const std::string sent = withItems({item, item});
    const std::string start("\xFE\xFF\x00\xE0\x0C\0\0\0", 8);
    for (const char length : {'\x0A', '\x02'}) {
        std::string odd = sent;
        odd[odd.find(start) + 4] = length; // the item ends inside its element

        EXPECT_EQ(compare(odd, sent), "different");
        EXPECT_EQ(compare(sent, odd), "different");
        EXPECT_EQ(compare(odd, odd), "same") << "it is what was sent, byte by byte";
    }
}

TEST_F(ObjectComparison, TakesPrivateSequencesForTheSameHoweverTheyAreWritten)
{
    const auto implicitly = [](const std::string &value) {
        const DatasetEncoding encoding{false, false};
        return DatasetWriter(encoding)
            .items(0x00091001U, {DatasetWriter(encoding).text(0x00091002U, "LO", value).all()}, false)
            .all();
    };
    const std::string sent = with(DatasetWriter().bytes(implicitly("ours")), kImplicitLittleEndian);
    const auto unknown = [](const std::string &element) {
        return with(DatasetWriter().raw(0x00091001U, vr('U', 'N'), element.substr(8)));
    };

    EXPECT_EQ(compare(unknown(implicitly("ours")), sent), "same");
    EXPECT_EQ(compare(unknown(implicitly("hers")), sent), "different");
    const std::string noItems(12, 'x');
    EXPECT_EQ(compare(with(DatasetWriter().raw(0x00091001U, vr('U', 'N'), noItems)),
                      with(DatasetWriter().raw(0x00091001U, vr('U', 'N'), noItems))),
              "same");
}

TEST_F(ObjectComparison, SeesTheOrderOfElementsWithOneTag)
{
    const auto twice = [](const std::string &first, const std::string &second) {
        return with(DatasetWriter().text(kPatientId, "LO", first).text(kPatientId, "LO", second));
    };

    EXPECT_EQ(compare(twice("P1", "P2"), twice("P1", "P2")), "same");
    EXPECT_EQ(compare(twice("P2", "P1"), twice("P1", "P2")), "different");
    EXPECT_EQ(compare(with(DatasetWriter().text(kPatientId, "LO", "P1")), twice("P1", "P2")), "different");
}

TEST_F(ObjectComparison, TakesColoursForTheSameInAnotherArrangementAlone)
{
    const std::string byPixel = fileOf(colours(0, "RGBrgb123456"));

    EXPECT_EQ(compare(fileOf(colours(1, "RrGgBb142536")), byPixel), "same");
    EXPECT_EQ(compare(fileOf(colours(1, "RGBrgb123456")), byPixel), "different");
    EXPECT_EQ(compare(byPixel, fileOf(colours(1, "RGBrgb123456"))), "different");
    EXPECT_EQ(compare(fileOf(colours(1, "RrGgBb142537")), byPixel), "different");
    EXPECT_EQ(compare(fileOf(colours(7, "RGBrgb123456")), byPixel), "different");
}

TEST_F(ObjectComparison, TakesAnArrangementForAValueWhereNoPixelsShowIt)
{
    const auto alone = [](std::uint16_t planar) {
        return with(DatasetWriter().number(kPlanarConfiguration, planar));
    };
    const auto inside = [](std::uint16_t planar) {
        return withItems({DatasetWriter().number(kPlanarConfiguration, planar).all()});
    };
    const std::string image = fileOf(colours(1, "RGBrgb123456"));

    EXPECT_EQ(compare(alone(0), with(DatasetWriter())), "same");
    EXPECT_EQ(compare(alone(1), alone(0)), "different");
    EXPECT_EQ(compare(inside(1), inside(0)), "different");
    EXPECT_EQ(compare(image + DatasetWriter().number(kPlanarConfiguration, 1).all(), image), "different");
}

TEST_F(ObjectComparison, TakesTheSameBytesForAnotherValueInAnotherRepresentation)
{
    const auto as = [](std::string_view representation) {
        return with(DatasetWriter().raw(0x00091002U, vr(representation[0], representation[1]), "1234"));
    };

    EXPECT_EQ(compare(as("UN"), as("FL")), "same");
    EXPECT_EQ(compare(as("SH"), as("LO")), "same");
    EXPECT_EQ(compare(as("UL"), as("FL")), "different");
    EXPECT_EQ(compare(as("US"), as("SS")), "different");
    EXPECT_EQ(compare(as("OB"), as("LO")), "different");
}

TEST_F(ObjectComparison, TakesBigEndianForTheSame)
{
    SampleImage image;
    const std::string sent = fileOf(image);
    image.transferSyntax = std::string(kExplicitBigEndian);
    const std::string turned = fileOf(image);
    image.rows = 24;
    image.columns = 128;

    EXPECT_EQ(compare(turned, sent), "same");
    EXPECT_EQ(compare(sent, turned), "same");
    EXPECT_EQ(compare(fileOf(image), sent), "different");
    EXPECT_EQ(compare(part10(kExplicitBigEndian, datasetOf({})), sent), "same") << "the dataset shows it";
}

TEST_F(ObjectComparison, TakesFragmentsForOthersInAnotherSyntaxOrWithAnotherTable)
{
    const std::string sent = compressed({"frame one.", "frame two."});
    const auto withTable = [&](char entry) {
        std::string file = sent;
        const std::string empty("\xFE\xFF\x00\xE0\0\0\0\0", 8);
        return file.replace(file.find(empty), 8, std::string("\xFE\xFF\x00\xE0\4\0\0\0", 8) + entry + "abc");
    };
    std::string other = sent;
    other.replace(other.find(kJpegLsLossless), kJpegLsLossless.size(), "1.2.840.10008.1.2.4.81");

    EXPECT_EQ(compare(other, sent), "different");
    EXPECT_EQ(compare(withTable('1'), sent), "same");
    EXPECT_EQ(compare(withTable('1'), withTable('2')), "different");
}

TEST_F(ObjectComparison, SaysNothingOfWhatCannotBeRead)
{
    const std::string path = folder.path().toStdString();
    const std::string missing = path + "/missing";

    EXPECT_EQ(compareObjects(path, path, path).word, "failed");
    EXPECT_THROW(compareObjects(missing, missing, missing), ReadError);
}

} // namespace gateway::dicom_helper::worker::testing
