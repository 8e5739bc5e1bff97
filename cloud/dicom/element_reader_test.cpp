#include "cloud/dicom/element_reader.h"

#include "cloud/dicom/attributes.h"
#include "cloud/testing/dicom_builder.h"

#include <gtest/gtest.h>

namespace gateway::cloud {
namespace {

using testing::DatasetBuilder;

constexpr std::uint32_t kItem = 0xFFFEE000;
constexpr std::uint32_t kItemEnd = 0xFFFEE00D;
constexpr std::uint32_t kSequenceEnd = 0xFFFEE0DD;
constexpr std::uint32_t kUndefined = 0xFFFFFFFF;
constexpr std::uint32_t kSomeSequence = 0x00081140;

Bytes bytesOf(const QByteArray &array)
{
    return std::as_bytes(std::span(array.constData(), static_cast<std::size_t>(array.size())));
}

/// Writes down what it is told: tags in hexadecimal, brackets for sequences, braces for items.
class Transcript final : public DicomVisitor
{
public:
    void element(const DicomElement &element) override
    {
        text += QByteArray::number(element.tag, 16) + '=' +
                QByteArray::fromStdString(std::string(textOf(element.value))) + ' ';
    }

    void sequenceBegan(std::uint32_t tag) override { text += QByteArray::number(tag, 16) + "[ "; }

    void itemBegan() override { text += "{ "; }

    void itemEnded() override { text += "} "; }

    void sequenceEnded() override { text += "] "; }

    QByteArray text;
};

QByteArray transcriptOf(const QByteArray &dataset, Encoding encoding = Encoding::explicitLittle)
{
    Transcript transcript;
    readDataset(bytesOf(dataset), encoding, kFloatPixelData, transcript);
    return transcript.text;
}

TEST(ElementReader, ReadsTheMetaInformation)
{
    const QByteArray file = testing::sampleFile();

    const FileMeta meta = readFileMeta(bytesOf(file));

    EXPECT_EQ(meta.sopInstanceUid, "1.2.3.1.1");
    EXPECT_EQ(meta.sopClassUid, "1.2.840.10008.5.1.4.1.1.2");
    EXPECT_EQ(meta.transferSyntaxUid, "1.2.840.10008.1.2.1");
    EXPECT_EQ(file.mid(static_cast<qsizetype>(meta.datasetOffset), 4), QByteArray("\x08\x00\x05\x00", 4));
}

TEST(ElementReader, RefusesWhatIsNoDicomFile)
{
    EXPECT_THROW(readFileMeta({}), DicomFormatError);
    EXPECT_THROW(readFileMeta(bytesOf(QByteArray(200, 'x'))), DicomFormatError);
    EXPECT_THROW(readFileMeta(bytesOf(testing::sampleFile().left(150))), DicomFormatError);
}

TEST(ElementReader, ReadsBothEncodingsAlike)
{
    for (const bool implicit : {false, true}) {
        DatasetBuilder dataset(implicit);
        dataset.add(0x00080060, "CS", "CT").add(0x00100020, "LO", "P 1").add(0x7FE00010, "OW", "pixels");

        EXPECT_EQ(
            transcriptOf(dataset.bytes(), implicit ? Encoding::implicitLittle : Encoding::explicitLittle),
            "80060=CT 100020=P 1 ");
    }
}

TEST(ElementReader, FollowsSequencesOfDefinedAndUndefinedLength)
{
    const QByteArray inner = DatasetBuilder().add(0x00080060, "CS", "CT").bytes();
    DatasetBuilder dataset;
    dataset.head(kSomeSequence, "SQ", kUndefined)
        .mark(kItem, kUndefined)
        .raw(inner)
        .mark(kItemEnd, 0)
        .mark(kItem, static_cast<std::uint32_t>(inner.size()))
        .raw(inner)
        .mark(kSequenceEnd, 0)
        .head(kSomeSequence, "SQ", static_cast<std::uint32_t>(inner.size()) + 8)
        .mark(kItem, static_cast<std::uint32_t>(inner.size()))
        .raw(inner)
        .head(kSomeSequence, "SQ", 0)
        .add(0x00100020, "LO", "P1");

    EXPECT_EQ(transcriptOf(dataset.bytes()),
              "81140[ { 80060=CT } { 80060=CT } ] 81140[ { 80060=CT } ] 81140[ ] 100020=P1 ");
}

TEST(ElementReader, ReadsUnknownDataOfUndefinedLengthAsAnImplicitSequence)
{
    DatasetBuilder dataset;
    dataset.head(0x00091001, "UN", kUndefined)
        .mark(kItem, kUndefined)
        .raw(DatasetBuilder(true).add(0x00080060, "CS", "MR").bytes())
        .mark(kItemEnd, 0)
        .mark(kSequenceEnd, 0)
        .add(0x00100020, "LO", "P1");

    EXPECT_EQ(transcriptOf(dataset.bytes()), "91001[ { 80060=MR } ] 100020=P1 ");
}

TEST(ElementReader, PassesOverEncapsulatedPixelsInsideItems)
{
    DatasetBuilder dataset;
    dataset.head(0x00880200, "SQ", kUndefined)
        .mark(kItem, kUndefined)
        .head(0x7FE00010, "OB", kUndefined)
        .mark(kItem, 0)
        .mark(kItem, 4)
        .raw("abcd")
        .mark(kSequenceEnd, 0)
        .mark(kItemEnd, 0)
        .mark(kSequenceEnd, 0)
        .add(0x00880906, "ST", "t");

    EXPECT_EQ(transcriptOf(dataset.bytes()), "880200[ { } ] 880906=t ");
}

TEST(ElementReader, TellsWhatStandsBeforeABreak)
{
    const QByteArray whole = DatasetBuilder().add(0x00080060, "CS", "CT").add(0x00100020, "LO", "P1").bytes();
    Transcript transcript;

    EXPECT_THROW(
        readDataset(bytesOf(whole.chopped(1)), Encoding::explicitLittle, kFloatPixelData, transcript),
        DicomFormatError);
    EXPECT_EQ(transcript.text, "80060=CT ");
}

TEST(ElementReader, RefusesNestingWithoutEnd)
{
    DatasetBuilder dataset;
    for (int depth = 0; depth < 1000; ++depth) {
        dataset.head(kSomeSequence, "SQ", kUndefined).mark(kItem, kUndefined);
    }

    EXPECT_THROW(transcriptOf(dataset.bytes()), DicomFormatError);
}

TEST(ElementReader, RefusesLengthsThatLeaveTheData)
{
    EXPECT_THROW(transcriptOf(DatasetBuilder().head(0x00080060, "CS", 2000).bytes()), DicomFormatError);
    EXPECT_THROW(transcriptOf(DatasetBuilder().head(kSomeSequence, "SQ", 0xFFFFFFFE).bytes()),
                 DicomFormatError);
    EXPECT_THROW(transcriptOf(DatasetBuilder().mark(kSequenceEnd, 0).bytes()), DicomFormatError);
    EXPECT_THROW(
        transcriptOf(
            DatasetBuilder().head(kSomeSequence, "SQ", kUndefined).add(0x00080060, "CS", "CT").bytes()),
        DicomFormatError);
}

} // namespace
} // namespace gateway::cloud
