#include "dicom_helper/worker/sendable.h"

#include "dicom_helper/worker/object_header.h"
#include "dicom_helper/worker/testing/sample_object.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::dicom_helper::worker::testing {

using platform::dicom_protocol::Record;

namespace {

struct Sendable : ::testing::Test
{
    QTemporaryDir folder;
    std::string path = folder.filePath(QStringLiteral("stored")).toStdString();
    std::string output = folder.filePath(QStringLiteral("output")).toStdString();

    Record answerFor(const std::string &bytes)
    {
        writeFile(path, bytes);
        return makeSendable(path, output);
    }

    /// The dataset's bytes of the copy that was made, after a look at its header.
    std::string datasetOfCopy(const std::string &instance, const std::string &transferSyntax)
    {
        const auto source = DicomSource::open(output);
        EXPECT_TRUE(source->layout().isRegular);
        EXPECT_EQ(source->layout().mediaStorageSopInstance, instance);
        EXPECT_EQ(source->layout().transferSyntax, transferSyntax);
        EXPECT_NE(source->layout().mediaStorageSopClass, "");
        return readFile(output).substr(source->layout().datasetOffset);
    }

    bool hasCopy() const { return QFile::exists(QString::fromStdString(output)); }
};

/// A dataset of a few elements in group 0008 and 0020, the instance as given or left out.
std::string datasetWith(const std::optional<std::string> &instance, DatasetEncoding encoding = {})
{
    DatasetWriter writer(encoding);
    writer.text(kSopClassUid, "UI", "1.2.840.10008.5.1.4.1.1.2");
    if (instance) {
        writer.text(kSopInstanceUid, "UI", *instance);
    }
    writer.text(kModality, "CS", "CT")
        .text(kStudyInstanceUid, "UI", "1.2.9")
        .text(kSeriesInstanceUid, "UI", "1.2.9.1");
    return writer.all();
}

} // namespace

TEST_F(Sendable, SendsAFileWhoseHeaderAgreesAsItIs)
{
    const Record answer = answerFor(part10(kExplicitLittleEndian, datasetWith("1.2.3.4.5")));

    EXPECT_EQ(answer.word, "sendable");
    EXPECT_EQ(answer.text("path"), path);
    EXPECT_EQ(answer.text("study"), "1.2.9");
    EXPECT_EQ(answer.text("series"), "1.2.9.1");
    EXPECT_EQ(answer.text("instance"), "1.2.3.4.5");
    EXPECT_GT(answer.number("version", 0), 0);
    EXPECT_FALSE(hasCopy());
}

TEST_F(Sendable, PutsAHeaderRightThatNamesAnotherInstanceOrNone)
{
    const std::string dataset = datasetWith("1.2.3.4.5");
    for (const std::string header : {"9.9.9", ""}) {
        const Record answer = answerFor(part10(kExplicitLittleEndian, dataset, header));

        EXPECT_EQ(answer.text("path"), output);
        EXPECT_EQ(answer.text("instance"), "1.2.3.4.5");
        EXPECT_EQ(datasetOfCopy("1.2.3.4.5", std::string(kExplicitLittleEndian)), dataset);
        QFile::remove(QString::fromStdString(output));
    }
}

TEST_F(Sendable, GivesABareDatasetAHeaderInTheEncodingItHas)
{
    for (const std::string_view syntax : {kExplicitLittleEndian, kImplicitLittleEndian, kExplicitBigEndian}) {
        const std::string dataset = datasetWith("1.2.3.4.5", encodingOf(syntax));

        EXPECT_EQ(answerFor(dataset).text("path"), output);
        EXPECT_EQ(datasetOfCopy("1.2.3.4.5", std::string(syntax)), dataset);
        QFile::remove(QString::fromStdString(output));
    }
}

TEST_F(Sendable, PutsAHeaderOutOfOrderRight)
{
    const std::string dataset = datasetWith("1.2.3.4.5");
    DatasetWriter meta;
    meta.text(0x00020010U, "UI", std::string(kExplicitLittleEndian))
        .text(0x00020003U, "UI", "1.2.3.4.5")
        .text(0x00020002U, "UI", "1.2.840.10008.5.1.4.1.1.2");
    const std::string preamble(128, 'P');

    EXPECT_EQ(answerFor(preamble + "DICM" + meta.all() + dataset).text("path"), output);
    EXPECT_EQ(datasetOfCopy("1.2.3.4.5", std::string(kExplicitLittleEndian)), dataset);
    EXPECT_TRUE(readFile(output).starts_with(preamble));
}

TEST_F(Sendable, PutsANativeTransferSyntaxRightThatContradictsTheDataset)
{
    const std::string dataset = datasetWith("1.2.3.4.5", encodingOf(kImplicitLittleEndian));

    answerFor(part10(kExplicitLittleEndian, dataset));

    EXPECT_EQ(datasetOfCopy("1.2.3.4.5", std::string(kImplicitLittleEndian)), dataset);
}

TEST_F(Sendable, GivesADatasetWithoutAnInstanceTheOneOfItsHeader)
{
    for (const std::string_view syntax : {kExplicitLittleEndian, kImplicitLittleEndian, kExplicitBigEndian}) {
        for (const auto &lacking : {std::optional<std::string>(), std::optional<std::string>("")}) {
            const Record answer =
                answerFor(part10(syntax, datasetWith(lacking, encodingOf(syntax)), "1.2.3.4.77"));

            EXPECT_EQ(answer.text("instance"), "1.2.3.4.77");
            EXPECT_EQ(datasetOfCopy("1.2.3.4.77", std::string(syntax)),
                      datasetWith("1.2.3.4.77", encodingOf(syntax)));
            QFile::remove(QString::fromStdString(output));
        }
    }
}

TEST_F(Sendable, PutsAnInstanceBehindASequenceAndNotIntoIt)
{
    constexpr Tag kLanguageCodeSequence = 0x00080006U;
    DatasetWriter item;
    item.text(0x00080100U, "SH", "de");
    for (const bool isUndefined : {true, false}) {
        const std::string sequence = DatasetWriter().sequence(kLanguageCodeSequence, item, isUndefined).all();
        const std::string rest = DatasetWriter().text(kStudyInstanceUid, "UI", "1.2.9").all();

        answerFor(part10(kExplicitLittleEndian, sequence + rest, "1.2.3.4.77"));

        EXPECT_EQ(datasetOfCopy("1.2.3.4.77", std::string(kExplicitLittleEndian)),
                  sequence + DatasetWriter().text(kSopInstanceUid, "UI", "1.2.3.4.77").all() + rest);
        QFile::remove(QString::fromStdString(output));
    }
}

TEST_F(Sendable, PutsAnInstanceBeforeAnElementThatEndsTooEarly)
{
    const std::string before = DatasetWriter().text(0x00080005U, "CS", "ISO_IR 100").all();
    const std::string cut = DatasetWriter().text(kSopClassUid, "UI", "1.2.840.10008.5.1.4.1.1.2").all();
    for (const std::size_t size : {std::size_t{8}, cut.size() - 1}) {
        const Record answer =
            answerFor(part10(kExplicitLittleEndian, before + cut.substr(0, size), "1.2.3.4.77"));

        EXPECT_EQ(answer.text("instance"), "1.2.3.4.77");
        EXPECT_EQ(datasetOfCopy("1.2.3.4.77", std::string(kExplicitLittleEndian)),
                  before + DatasetWriter().text(kSopInstanceUid, "UI", "1.2.3.4.77").all() +
                      cut.substr(0, size));
        QFile::remove(QString::fromStdString(output));
    }
}

TEST_F(Sendable, SendsSloppyUidsAsTheyStand)
{
    for (const std::string uid : {"1.2.3.4.abc", "01.002.0003"}) {
        const Record answer = answerFor(part10(kExplicitLittleEndian, datasetWith(uid), uid));

        EXPECT_EQ(answer.text("path"), path);
        EXPECT_EQ(answer.text("instance"), uid);
    }
}

TEST_F(Sendable, SaysWhatNoAnswerCouldName)
{
    EXPECT_EQ(answerFor(part10(kExplicitLittleEndian, datasetWith({}), "")).word, "nameless");
    EXPECT_EQ(answerFor(part10(kExplicitLittleEndian, datasetWith("1.2\n3"), "1.2")).word, "nameless");
    EXPECT_EQ(answerFor(part10(kExplicitLittleEndian, datasetWith("1.2.\xE4"), "1.2")).word, "nameless");
    EXPECT_FALSE(hasCopy());
}

TEST_F(Sendable, TellsTheVersionOfWhatCannotGoUpToo)
{
    const std::string zeroed(1000, '\0');
    writeFile(path, zeroed);
    const std::int64_t version = tellVersion(path).number("version", 0);
    EXPECT_GT(version, 0);

    const Record answer = answerFor(zeroed);

    EXPECT_EQ(answer.word, "nameless");
    EXPECT_EQ(answer.number("version", 0), version);
}

TEST_F(Sendable, TellsVersionsApartByTheDatasetAlone)
{
    const std::string dataset = datasetWith("1.2.3.4.5");
    const std::int64_t version = answerFor(part10(kExplicitLittleEndian, dataset)).number("version", 0);

    EXPECT_EQ(answerFor(part10(kExplicitLittleEndian, dataset, "9.9")).number("version", 0), version);
    QFile::remove(QString::fromStdString(output));
    const std::string corrected =
        DatasetWriter().text(kSopClassUid, "UI", "1.2").text(kSopInstanceUid, "UI", "1.2.3.4.5").all();
    EXPECT_NE(answerFor(part10(kExplicitLittleEndian, corrected)).number("version", 0), version);
}

TEST_F(Sendable, GivesAWholeObjectTheDelimiterThatItLacks)
{
    const std::string syntax = "1.2.840.10008.1.2.5";
    const std::string whole = DatasetWriter().bytes(datasetWith("1.2.3.4.5")).fragments({"frame."}).all();

    EXPECT_EQ(answerFor(part10(syntax, whole.substr(0, whole.size() - 8))).text("path"), output);
    EXPECT_EQ(datasetOfCopy("1.2.3.4.5", syntax), whole);
}

TEST_F(Sendable, LeavesOutWhatStandsBehindAWholeObject)
{
    SampleImage image;
    for (const std::string_view syntax : {kExplicitLittleEndian, kImplicitLittleEndian, kExplicitBigEndian}) {
        image.transferSyntax = std::string(syntax);
        for (const std::string tail : {"abc", "\n", "     "}) {
            EXPECT_EQ(answerFor(fileOf(image) + tail).text("path"), output);
            EXPECT_EQ(datasetOfCopy("1.2.3.4.5", std::string(syntax)), datasetOf(image));
            QFile::remove(QString::fromStdString(output));
        }
    }
}

TEST_F(Sendable, SendsWhatEndsTooEarlyAsItIs)
{
    const std::string whole = fileOf(SampleImage());

    EXPECT_EQ(answerFor(whole.substr(0, whole.size() - 100)).text("path"), path);
    EXPECT_FALSE(hasCopy());
}

TEST_F(Sendable, LeavesNoCopyWhereTheOutputCannotBeMade)
{
    output = folder.filePath(QStringLiteral("none/output")).toStdString();

    EXPECT_EQ(answerFor(datasetWith("1.2.3.4.5")).word, "unwritten") << "the file is well";
    EXPECT_THROW(makeSendable(folder.filePath(QStringLiteral("missing")).toStdString(), output), ReadError);
}

TEST_F(Sendable, DropsAConvertedFormWhoseHeaderDoesNotAgree)
{
    writeFile(path, part10(kExplicitLittleEndian, datasetWith("1.2.3.4.5")));
    writeFile(output, part10(kExplicitLittleEndian, datasetWith("1.2.3.4.5"), "9.9"));

    EXPECT_EQ(makeConvertedSendable(path, output).text("path"), path);
    EXPECT_FALSE(hasCopy());

    writeFile(output, part10(kExplicitLittleEndian, datasetWith("1.2.3.4.5")));
    EXPECT_EQ(makeConvertedSendable(path, output).text("path"), output);
    EXPECT_EQ(makeConvertedSendable(path, output).number("converted", 0), 1);
}

} // namespace gateway::dicom_helper::worker::testing
