#include "cloud/dicom/summary.h"

#include "cloud/dicom/attributes.h"
#include "cloud/testing/dicom_builder.h"

#include <gtest/gtest.h>

namespace gateway::cloud {
namespace {

using testing::Sample;

constexpr const char *kImplicit = "1.2.840.10008.1.2";
constexpr const char *kExplicit = "1.2.840.10008.1.2.1";
constexpr const char *kBigEndian = "1.2.840.10008.1.2.2";
constexpr const char *kDeflated = "1.2.840.10008.1.2.1.99";

DicomSummary summaryOf(const QByteArray &file)
{
    return summarize(std::as_bytes(std::span(file.constData(), static_cast<std::size_t>(file.size()))));
}

TEST(Summary, FindsTheIndexedAttributes)
{
    Sample sample;
    sample.patientName = "M\xfcller^Anna";

    const DicomSummary summary = summaryOf(testing::sampleFile(sample));

    EXPECT_EQ(summary.value(0x00100010), QStringLiteral("Müller^Anna"));
    EXPECT_EQ(summary.value(0x00280010), QStringLiteral("16"));
    EXPECT_EQ(summary.value(kStudyInstanceUid), QStringLiteral("1.2.3"));
    EXPECT_EQ(summary.value(kAvailableTransferSyntaxUid), QStringLiteral("1.2.840.10008.1.2.1"));
}

TEST(Summary, IgnoresAttributesInsideSequences)
{
    testing::DatasetBuilder dataset;
    dataset.add(0x00080018, "UI", "1.9")
        .head(0x00081140, "SQ", 0xFFFFFFFF)
        .mark(0xFFFEE000, 0xFFFFFFFF)
        .add(0x0020000D, "UI", "9.9")
        .mark(0xFFFEE00D, 0)
        .mark(0xFFFEE0DD, 0)
        .add(0x0020000D, "UI", "1.2");

    const DicomSummary summary = summaryOf(testing::fileHead("1.2.840.10008.1.2.1", "1.9") + dataset.bytes());

    EXPECT_EQ(summary.value(kStudyInstanceUid), QStringLiteral("1.2"));
}

TEST(Summary, ReadsEverySyntax)
{
    for (const char *syntax : {kImplicit, kExplicit, kBigEndian, kDeflated}) {
        Sample sample;
        sample.transferSyntaxUid = syntax;

        const DicomSummary summary = summaryOf(testing::sampleFile(sample));

        EXPECT_EQ(summary.value(kSopInstanceUid), QStringLiteral("1.2.3.1.1")) << syntax;
        EXPECT_EQ(summary.value(kSeriesInstanceUid), QStringLiteral("1.2.3.1")) << syntax;
        EXPECT_EQ(summary.value(kStudyInstanceUid), QStringLiteral("1.2.3")) << syntax;
        EXPECT_EQ(summary.value(0x00280010), QStringLiteral("16")) << syntax;
    }
}

TEST(Summary, LetsTheInstanceStandForAMissingStudyAndSeries)
{
    const QByteArray dataset = testing::DatasetBuilder().add(0x00080060, "CS", "CT").bytes();

    const DicomSummary summary = summaryOf(testing::fileHead(kExplicit, "1.9") + dataset);

    EXPECT_EQ(summary.value(kSopInstanceUid), QStringLiteral("1.9"));
    EXPECT_EQ(summary.value(kStudyInstanceUid), QStringLiteral("1.9"));
    EXPECT_EQ(summary.value(kSeriesInstanceUid), QStringLiteral("1.9"));
    EXPECT_EQ(summary.value(kSopClassUid), QStringLiteral("1.2.840.10008.5.1.4.1.1.2"));
}

TEST(Summary, RefusesADatasetThatBreaksOffBeforeItSaysWhereItBelongs)
{
    for (const char *syntax : {kImplicit, kExplicit, kBigEndian, kDeflated}) {
        EXPECT_THROW(summaryOf(testing::fileHead(syntax, "1.9") + "\x01\x02\x03"), DicomFormatError)
            << syntax;
    }
    Sample deflated;
    deflated.transferSyntaxUid = kDeflated;
    const QByteArray whole = testing::sampleFile(deflated);
    EXPECT_THROW(summaryOf(whole.first(whole.size() / 2)), DicomFormatError);
}

TEST(Summary, KeepsWhatBreaksOffAfterItHasSaidWhereItBelongs)
{
    const QByteArray dataset = testing::DatasetBuilder()
                                   .add(0x00080018, "UI", "1.9")
                                   .add(0x0020000D, "UI", "1.2")
                                   .add(0x0020000E, "UI", "1.2.1")
                                   .add(0x00280010, "US", "ab")
                                   .bytes();

    const DicomSummary summary = summaryOf(testing::fileHead(kExplicit, "1.9") + dataset.chopped(1));

    EXPECT_EQ(summary.value(kStudyInstanceUid), QStringLiteral("1.2"));
    EXPECT_EQ(summary.value(kSeriesInstanceUid), QStringLiteral("1.2.1"));
}

TEST(Summary, RefusesAFileThatNamesNoInstance)
{
    EXPECT_THROW(summaryOf(testing::fileHead("1.2.840.10008.1.2.1", "")), DicomFormatError);
    EXPECT_THROW(summaryOf(testing::fileHead("1.2.840.10008.1.2.1", "") + "\x01"), DicomFormatError);
    EXPECT_THROW(summaryOf("text"), DicomFormatError);
}

TEST(Attributes, AreFoundByKeywordAndByTag)
{
    EXPECT_STREQ(attributeNamed("PatientName")->keyword, "PatientName");
    EXPECT_STREQ(attributeNamed("00100010")->keyword, "PatientName");
    EXPECT_STREQ(attributeNamed("0020000d")->keyword, "StudyInstanceUID");
    EXPECT_EQ(attributeNamed("NoSuchThing"), nullptr);
    EXPECT_EQ(attributeNamed("99999999"), nullptr);
}

TEST(Attributes, KnowTheRepresentationOfCommonTags)
{
    EXPECT_EQ(dictionaryVr(0x00080005), "CS");
    EXPECT_EQ(dictionaryVr(0x00081140), "SQ");
    EXPECT_EQ(dictionaryVr(0x00881234), "UN");
    EXPECT_EQ(dictionaryVr(0x7FE00010), "OW");
    EXPECT_EQ(dictionaryVr(0xFFFFFFFF), "UN");
}

} // namespace
} // namespace gateway::cloud
