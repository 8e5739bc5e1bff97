#include "dicom_helper/worker/elements.h"

#include "dicom_helper/worker/byte_source.h"
#include "dicom_helper/worker/testing/sample_object.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::dicom_helper::worker::testing {

using gateway::platform::dicom_protocol::Record;

namespace {

using namespace std::string_literals;

class Elements : public ::testing::Test
{
protected:
    /// The answer with the elements alone, which a look at the whole of an object only adds its version to.
    Record parsed(std::string_view bytes)
    {
        const std::string path = m_folder.filePath(QStringLiteral("object")).toStdString();
        writeFile(path, bytes);
        Record record = parseObject(path, Look::elements);
        Record whole = parseObject(path, Look::whole);
        EXPECT_EQ(whole.number("version", 0) > 0, whole.word == "parsed");
        whole.fields.erase("version");
        EXPECT_EQ(whole.fields, record.fields);
        return record;
    }

    bool isDamaged(std::string_view bytes)
    {
        const Record record = parsed(bytes);
        EXPECT_EQ(record.word, "parsed");
        return record.fields.contains("damaged");
    }

    /// A dataset with an identity and whatever the test puts there before; explicit little endian.
    static std::string identified(const DatasetWriter &more)
    {
        DatasetWriter dataset;
        dataset.text(kSopClassUid, "UI", "1.2.840.10008.5.1.4.1.1.7")
            .text(kSopInstanceUid, "UI", "1.2.3.4.5")
            .text(kStudyInstanceUid, "UI", "1.2.3")
            .bytes(more.all());
        return part10(kExplicitLittleEndian, dataset.all());
    }

    QTemporaryDir m_folder;
};

DatasetWriter nativePixels(std::string_view frames, std::uint32_t length, std::string_view bytes)
{
    DatasetWriter image;
    image.number(kSamplesPerPixel, 1)
        .text(kNumberOfFrames, "IS", std::string(frames))
        .number(kRows, 4)
        .number(kColumns, 4)
        .number(kBitsAllocated, 8)
        .header(kPixelData, vr('O', 'B'), length)
        .bytes(bytes);
    return image;
}

/// What the object of the next test holds, in the words of the parser.
const Record kAllKeys{"parsed",
                      {{"studyDate", "d2020-01-31T23:59:58.500+01:00"},
                       {"accessionNumber", "sA7"},
                       {"modality", "sCT"},
                       {"institutionName", "sKlinik"},
                       {"referringPhysiciansName", "sRef^R"},
                       {"studyDescription", "sThorax"},
                       {"seriesDescription", "saxial"},
                       {"performingPhysiciansName", "sPerf^P"},
                       {"patientName", "sMüller^Jane"},
                       {"patientUID", "sP1"},
                       {"studyNumber", "sP1"},
                       {"studyID", "s1.2.3"},
                       {"seriesID", "s1.2.3.4"},
                       {"seriesInstanceUID", "s1.2.3.4"},
                       {"seriesDICOMUID", "s1.2.3.4"},
                       {"SOPClassUID", "s1.2.840.10008.5.1.4.1.1.2"},
                       {"SOPUID", "s1.2.3.4.5"},
                       {"seriesNumber", "i3"},
                       {"imageID", "i17"},
                       {"fileType", "sDICOM"},
                       {"hasDICOM", "b1"},
                       {"height", "i2"},
                       {"width", "i3"},
                       {"orientation", "v1\\0\\0\\0\\1\\0"},
                       {"origin", "v-1.5\\2\\3"},
                       {"sliceLocation", "r12.25"},
                       {"ImageComments", "sline\r\nline"},
                       {"WindowCenter", "r40"},
                       {"WindowWidth", "r350"}}};

} // namespace

TEST_F(Elements, OfAnImageCarryAllKeys)
{
    DatasetWriter dataset;
    dataset.text(kSpecificCharacterSet, "CS", "ISO_IR 100")
        .text(kSopClassUid, "UI", "1.2.840.10008.5.1.4.1.1.2")
        .text(kSopInstanceUid, "UI", "1.2.3.4.5")
        .text(kStudyDate, "DA", "20200131")
        .text(kStudyTime, "TM", "235958.5")
        .text(kAccessionNumber, "SH", "A7")
        .text(kModality, "CS", "CT")
        .text(kInstitutionName, "LO", "Klinik")
        .text(kReferringPhysicianName, "PN", "Ref^R")
        .text(kTimezoneOffsetFromUtc, "SH", "+0100")
        .text(kStudyDescription, "LO", "Thorax")
        .text(kSeriesDescription, "LO", "axial")
        .text(kPerformingPhysicianName, "PN", "Perf^P")
        .text(kPatientName, "PN", "M\xFCller^Jane")
        .text(kPatientId, "LO", "P1")
        .text(kStudyInstanceUid, "UI", "1.2.3")
        .text(kSeriesInstanceUid, "UI", "1.2.3.4")
        .text(kSeriesNumber, "IS", "3")
        .text(kInstanceNumber, "IS", "17")
        .text(kImagePositionPatient, "DS", "-1.5\\2\\3")
        .text(kImageOrientationPatient, "DS", "1\\0\\0\\0\\1\\0")
        .text(kSliceLocation, "DS", "12.25")
        .text(kImageComments, "LT", "line\r\nline")
        .number(kSamplesPerPixel, 1)
        .number(kRows, 2)
        .number(kColumns, 3)
        .number(kBitsAllocated, 16)
        .text(kWindowCenter, "DS", "40\\400")
        .text(kWindowWidth, "DS", "350\\2000")
        .raw(kPixelData, vr('O', 'W'), std::string(12, '\0'));

    const Record record = parsed(part10(kExplicitLittleEndian, dataset.all()));

    EXPECT_EQ(record, kAllKeys);
}

TEST_F(Elements, AreTheSameInEveryEncoding)
{
    SampleImage image;
    const Record wanted = parsed(fileOf(image));
    ASSERT_EQ(wanted.word, "parsed");

    for (const auto syntax : {kImplicitLittleEndian, kExplicitBigEndian, kDeflatedExplicitLittleEndian}) {
        image.transferSyntax = syntax;
        EXPECT_EQ(parsed(fileOf(image)), wanted) << syntax;
    }
}

TEST_F(Elements, AreReadAlsoWhereTheMetaInformationIsWrongOrMissing)
{
    const SampleImage image;
    const Record wanted = parsed(fileOf(image));

    EXPECT_EQ(parsed(part10(kImplicitLittleEndian, datasetOf(image))), wanted);
    EXPECT_EQ(parsed(datasetOf(image)), wanted);
    EXPECT_EQ(parsed(fileOf(image).substr(132)), wanted);
    EXPECT_EQ(parsed(std::string(128, '\0') + "DICM" + datasetOf(image)), wanted);
}

TEST_F(Elements, WhatIsNotDicomIsUnreadable)
{
    EXPECT_EQ(parsed("").word, "unreadable");
    EXPECT_EQ(parsed("Dear colleague, here is the image that you asked for.").word, "unreadable");
    EXPECT_EQ(parsed(std::string(4096, '\0')).word, "unreadable");
    EXPECT_EQ(parsed(std::string(128, '\0') + "DICM").word, "unreadable");
    EXPECT_EQ(parsed(std::string(128, '\0') + "DICM" + std::string(512, '\x7F')).word, "unreadable");
    EXPECT_EQ(parseObject(m_folder.path().toStdString(), Look::elements).word, "unreadable");
    EXPECT_THROW(parseObject(m_folder.filePath(QStringLiteral("none")).toStdString(), Look::elements),
                 ReadError);
}

TEST_F(Elements, AHeaderCutInsideTheMetaInformationIsUnreadable)
{
    const std::string whole = fileOf({});
    const std::size_t dataset = part10(kExplicitLittleEndian, "").size();

    for (std::size_t size = 0; size < dataset + 8; ++size) {
        EXPECT_EQ(parsed(std::string_view(whole).substr(0, size)).word, "unreadable") << size;
    }
}

TEST_F(Elements, ACutAnywhereBehindThatKeepsTheImage)
{
    const std::string whole = fileOf({});
    const std::size_t begin = part10(kExplicitLittleEndian, "").size() + 80;

    for (std::size_t size = begin; size < whole.size(); size += size < 900 ? 1 : 997) {
        const Record record = parsed(std::string_view(whole).substr(0, size));
        ASSERT_EQ(record.word, "parsed") << size;
        EXPECT_EQ(record.text("SOPUID"), "s1.2.3.4.5");
        EXPECT_GT(record.text("patientUID").size(), 1U);
        EXPECT_GT(record.text("studyID").size(), 1U);
    }
}

TEST_F(Elements, TruncatedPixelDataKeepsTheImage)
{
    const std::string whole = fileOf({});

    Record kept = parsed(std::string_view(whole).substr(0, whole.size() - 100));
    EXPECT_EQ(kept.fields.erase("damaged"), 1U);
    EXPECT_EQ(kept, parsed(whole));
}

TEST_F(Elements, AWholeObjectIsNotDamaged)
{
    SampleImage image;
    EXPECT_FALSE(isDamaged(fileOf(image)));
    image.transferSyntax = kImplicitLittleEndian;
    EXPECT_FALSE(isDamaged(fileOf(image)));
    image.transferSyntax = kDeflatedExplicitLittleEndian;
    EXPECT_FALSE(isDamaged(fileOf(image)));
    EXPECT_FALSE(isDamaged(identified(DatasetWriter().fragments({"", "abcd", "efgh"}))));
    EXPECT_FALSE(isDamaged(identified(DatasetWriter().text(0x0040A160U, "UT", "A report has no pixels"))));
}

TEST_F(Elements, AFewZerosBehindTheObjectAreNoDamage)
{
    EXPECT_FALSE(isDamaged(fileOf(SampleImage()) + std::string(5, '\0')));
}

TEST_F(Elements, AnObjectCutInsideItsPixelDataIsDamaged)
{
    const std::string whole = fileOf(SampleImage());

    EXPECT_TRUE(isDamaged(whole.substr(0, whole.size() - 1)));
    EXPECT_TRUE(isDamaged(whole.substr(0, whole.size() / 2)));
}

TEST_F(Elements, AnObjectCutInsideAnElementBeforeThePixelDataIsDamaged)
{
    const std::string whole = identified(DatasetWriter().text(0x00400275U, "LO", "Somebody's request"));

    EXPECT_FALSE(isDamaged(whole));
    EXPECT_TRUE(isDamaged(whole.substr(0, whole.size() - 4)));
}

TEST_F(Elements, AnObjectThatEndsInsideItsFragmentsIsDamaged)
{
    const std::string whole = identified(DatasetWriter().fragments({"", "abcd", "efgh"}));

    EXPECT_TRUE(isDamaged(whole.substr(0, whole.size() - 8))) << "the delimiter is missing";
    EXPECT_TRUE(isDamaged(whole.substr(0, whole.size() - 10)));
    EXPECT_TRUE(isDamaged(whole.substr(0, whole.size() - 16)));
}

TEST_F(Elements, AnObjectWithASequenceThatNothingClosesIsDamaged)
{
    DatasetWriter item;
    item.text(kPatientId, "LO", "inside");
    const std::string whole =
        identified(DatasetWriter().sequence(kSharedFunctionalGroupsSequence, item, true));
    EXPECT_FALSE(isDamaged(whole));
    EXPECT_TRUE(isDamaged(whole.substr(0, whole.size() - 8)));

    const std::string measured =
        identified(DatasetWriter().sequence(kSharedFunctionalGroupsSequence, item, false));
    EXPECT_FALSE(isDamaged(measured));
    EXPECT_TRUE(isDamaged(measured.substr(0, measured.size() - 2)));
}

TEST_F(Elements, AnOddRepresentationHidesNothingBehindIt)
{
    const std::string whole = datasetOf({});
    const std::size_t at = whole.find("PN") - 4;
    for (const std::string &odd : {"??"s, "ox"s, "\0\0"s, "  "s}) {
        const std::string four = "\x09\0\x10\x10"s + odd + "\x04\0abcd"s;
        const std::string longForm = "\x09\0\x11\x10"s + odd + "\0\0\x04\0\0\0abcd"s;
        for (const std::string &elements : {four, longForm, four + longForm}) {
            const std::string bytes =
                part10(kExplicitLittleEndian, whole.substr(0, at) + elements + whole.substr(at));

            EXPECT_FALSE(isDamaged(bytes)) << odd;
            EXPECT_EQ(parsed(bytes).text("patientName"), "sDoe^Jane") << odd;
            EXPECT_EQ(parsed(bytes).text("width"), "i64") << odd;
        }
    }
}

TEST_F(Elements, PatientUidFallsBackFromIdToNameToStudy)
{
    DatasetWriter withIssuer;
    withIssuer.text(kPatientName, "PN", "Doe^Jane")
        .text(kPatientId, "LO", "P1")
        .text(kIssuerOfPatientId, "LO", "H");
    EXPECT_EQ(parsed(identified(withIssuer)).text("patientUID"), "sP1^^^H");

    DatasetWriter emptyId;
    emptyId.text(kPatientName, "PN", "Doe^Jane")
        .text(kPatientId, "LO", "  ")
        .text(kIssuerOfPatientId, "LO", "H");
    const Record named = parsed(identified(emptyId));
    EXPECT_EQ(named.text("patientUID"), "sDoe^Jane");
    EXPECT_EQ(named.text("studyNumber"), "");

    DatasetWriter nothing;
    nothing.text(kPatientName, "PN", "^^").text(kPatientId, "LO", "");
    EXPECT_EQ(parsed(identified(nothing)).text("patientUID"), "s1.2.3");
}

TEST_F(Elements, WithoutSopInstanceUidTheMetaInformationsIsTaken)
{
    DatasetWriter dataset;
    dataset.text(kStudyInstanceUid, "UI", "1.2.3");

    const Record record = parsed(part10(kExplicitLittleEndian, dataset.all(), "9.9.9"));

    EXPECT_EQ(record.text("SOPUID"), "s9.9.9");
    EXPECT_EQ(record.text("SOPClassUID"), "s1.2.840.10008.5.1.4.1.1.2");
}

TEST_F(Elements, WithoutAnyUidEachObjectIsStillOneOfItsOwn)
{
    DatasetWriter first;
    first.text(kPatientName, "PN", "Doe^Jane").raw(kPixelData, vr('O', 'W'), "abcd");
    DatasetWriter second;
    second.text(kPatientName, "PN", "Doe^Jane").raw(kPixelData, vr('O', 'W'), "abce");

    const Record one = parsed(part10(kExplicitLittleEndian, first.all(), "", ""));
    const Record again = parsed(part10(kExplicitLittleEndian, first.all(), "", ""));
    const Record other = parsed(part10(kExplicitLittleEndian, second.all(), "", ""));

    ASSERT_EQ(one.word, "parsed");
    EXPECT_TRUE(one.text("SOPUID").starts_with("s2.25."));
    EXPECT_LE(one.text("SOPUID").size(), 65U);
    EXPECT_EQ(one, again);
    EXPECT_NE(one.text("SOPUID"), other.text("SOPUID"));
    EXPECT_EQ(one.text("studyID"), one.text("SOPUID"));
}

TEST_F(Elements, WithoutStudyUidTheSeriesHoldsTogether)
{
    DatasetWriter dataset;
    dataset.text(kSopInstanceUid, "UI", "1.2.3.4.5").text(kSeriesInstanceUid, "UI", "1.2.3.4");

    const Record record = parsed(part10(kExplicitLittleEndian, dataset.all()));

    EXPECT_EQ(record.text("studyID"), "s1.2.3.4");
    EXPECT_EQ(record.text("patientUID"), "s1.2.3.4");
}

TEST_F(Elements, OddUidsStayDistinctTexts)
{
    const auto uidOf = [this](std::string uid) {
        DatasetWriter dataset;
        dataset.raw(kSopInstanceUid, vr('U', 'I'), uid).text(kStudyInstanceUid, "UI", "1.2.3");
        return std::string(parsed(part10(kExplicitLittleEndian, dataset.all())).text("SOPUID"));
    };

    EXPECT_EQ(uidOf("../../etc/passwd"), "s../../etc/passwd");
    EXPECT_EQ(uidOf(std::string("1.2\0", 4)), "s1.2");
    EXPECT_EQ(uidOf(" 1.2.3"), "s1.2.3");
    EXPECT_NE(uidOf(std::string("1.2\0"
                                "3.4",
                                7)),
              uidOf(std::string("1.2\0"
                                "3.5",
                                7)));
    EXPECT_EQ(uidOf(std::string("1\0"
                                "2",
                                3)),
              "s1\u24002");
    EXPECT_EQ(uidOf("1\xFF"), "s1\u24FF");
    EXPECT_EQ(uidOf(std::string(1000, '1')), "s1.2.3.4.5");
}

TEST_F(Elements, FramesThatTheNativePixelDataCannotHoldCountAsAbsent)
{
    const std::string three(48, 'x');

    EXPECT_EQ(parsed(identified(nativePixels("3", 48, three))).text("numberOfFrames"), "i3");
    EXPECT_EQ(parsed(identified(nativePixels("1", 48, three))).text("numberOfFrames"), "i1");
    EXPECT_EQ(parsed(identified(nativePixels("4", 48, three))).text("numberOfFrames"), "");
    EXPECT_EQ(parsed(identified(nativePixels("2147483647", 48, three))).text("numberOfFrames"), "");
    EXPECT_EQ(parsed(identified(nativePixels("2147483647", 0xFFFFFFFEU, three))).text("numberOfFrames"), "");
    EXPECT_EQ(parsed(identified(nativePixels("0", 48, three))).text("numberOfFrames"), "");
    EXPECT_EQ(parsed(identified(nativePixels("-3", 48, three))).text("numberOfFrames"), "");
    EXPECT_EQ(parsed(identified(nativePixels("abc", 48, three))).text("numberOfFrames"), "");
}

TEST_F(Elements, FramesWithoutFragmentsCountAsAbsent)
{
    const auto framesOf = [this](std::string_view stated, const std::string &syntax) {
        DatasetWriter dataset;
        dataset.text(kSopInstanceUid, "UI", "1.2.3.4.5")
            .text(kStudyInstanceUid, "UI", "1.2.3")
            .text(kNumberOfFrames, "IS", std::string(stated))
            .fragments({"first.", "second", "third."});
        return std::string(parsed(part10(syntax, dataset.all())).text("numberOfFrames"));
    };
    const std::string rle = "1.2.840.10008.1.2.5";
    const std::string mpeg4 = "1.2.840.10008.1.2.4.102";

    EXPECT_EQ(framesOf("3", rle), "i3");
    EXPECT_EQ(framesOf("2", rle), "i2");
    EXPECT_EQ(framesOf("4", rle), "");
    EXPECT_EQ(framesOf("2147483647", rle), "");
    EXPECT_EQ(framesOf("4", mpeg4), "i4");
    EXPECT_EQ(framesOf("2147483647", mpeg4), "");
}

TEST_F(Elements, FramesWithoutPixelDataCountAsAbsent)
{
    DatasetWriter frames;
    frames.text(kNumberOfFrames, "IS", "200");

    EXPECT_EQ(parsed(identified(frames)).text("numberOfFrames"), "");
}

TEST_F(Elements, FiftyThousandNestedSequencesHideNoAttribute)
{
    DatasetWriter dataset;
    for (int i = 0; i < 50'000; ++i) {
        dataset.header(0x00081115U, vr('S', 'Q'), kUndefinedLength).header(0xFFFEE000U, 0, kUndefinedLength);
    }
    for (int i = 0; i < 50'000; ++i) {
        dataset.header(0xFFFEE00DU, 0, 0).header(0xFFFEE0DDU, 0, 0);
    }
    dataset.text(kPatientId, "LO", "P1").text(kStudyInstanceUid, "UI", "1.2.3");

    const Record record = parsed(part10(kExplicitLittleEndian, dataset.all()));

    EXPECT_EQ(record.text("studyID"), "s1.2.3");
    EXPECT_EQ(record.text("SOPUID"), "s1.2.3.4.5");
}

TEST_F(Elements, ADeflateBombGivesWhatStandsBeforeIt)
{
    DatasetWriter dataset;
    dataset.text(kSopInstanceUid, "UI", "1.2.3.4.5")
        .header(0x00091001U, vr('O', 'B'), 200U * 1024 * 1024)
        .bytes(std::string(std::size_t{200} * 1024 * 1024, '\0'))
        .text(kStudyInstanceUid, "UI", "1.2.3");

    const Record record = parsed(part10(kDeflatedExplicitLittleEndian, deflated(dataset.all())));

    ASSERT_EQ(record.word, "parsed");
    EXPECT_EQ(record.text("SOPUID"), "s1.2.3.4.5");
    EXPECT_EQ(record.text("studyID"), "s1.2.3.4.5");
}

TEST_F(Elements, ADamagedDeflateStreamKeepsTheImage)
{
    SampleImage image;
    image.transferSyntax = kDeflatedExplicitLittleEndian;
    std::string bytes = fileOf(image);
    bytes.resize(bytes.size() - 40);

    EXPECT_EQ(parsed(bytes).text("SOPUID"), "s1.2.3.4.5");
}

TEST_F(Elements, OfAMultiFrameObjectComeFromItsFunctionalGroups)
{
    for (const bool undefined : {true, false}) {
        DatasetWriter position;
        position.text(kImagePositionPatient, "DS", "1\\2\\3");
        DatasetWriter orientation;
        orientation.text(kImageOrientationPatient, "DS", "1\\0\\0\\0\\1\\0");
        DatasetWriter shared;
        shared.sequence(0x00209113U, position, true).sequence(0x00209116U, orientation, true);
        DatasetWriter dataset;
        dataset.sequence(kSharedFunctionalGroupsSequence, shared, undefined);

        const Record record = parsed(identified(dataset));

        EXPECT_EQ(record.text("origin"), "v1\\2\\3");
        EXPECT_EQ(record.text("orientation"), "v1\\0\\0\\0\\1\\0");
    }
}

TEST_F(Elements, AttributesInsideOtherSequencesAreNotTheObjects)
{
    DatasetWriter referenced;
    referenced.text(kPatientId, "LO", "other").text(kImagePositionPatient, "DS", "9\\9\\9");
    DatasetWriter dataset;
    dataset.sequence(0x00081115U, referenced, true).text(kPatientId, "LO", "P1");

    const Record record = parsed(identified(dataset));

    EXPECT_EQ(record.text("patientUID"), "sP1");
    EXPECT_EQ(record.text("origin"), "");
}

TEST_F(Elements, NamesComeInUtf8)
{
    DatasetWriter dataset;
    dataset.text(kSpecificCharacterSet, "CS", "\\ISO 2022 IR 87")
        .text(kPatientName, "PN", "Yamada^Tarou=\x1B$B;3ED\x1B(B^\x1B$BB@O:\x1B(B");
    EXPECT_EQ(parsed(identified(dataset)).text("patientName"), "sYamada^Tarou=山田^太郎");

    DatasetWriter chinese;
    chinese.text(kSpecificCharacterSet, "CS", "GB18030")
        .text(kPatientName, "PN", "\xCD\xF5^\xD0\xA1\xB6\xAB");
    EXPECT_EQ(parsed(identified(chinese)).text("patientName"), "s王^小东");
}

TEST_F(Elements, OverlongTextsAreCutSoThatTheAnswerFits)
{
    DatasetWriter dataset;
    for (const Tag tag : {kPatientName,
                          kPatientId,
                          kStudyDescription,
                          kModality,
                          kAccessionNumber,
                          kInstitutionName,
                          kReferringPhysicianName,
                          kPerformingPhysicianName,
                          kSeriesDescription,
                          kImageComments}) {
        dataset.text(tag, "UT", std::string(200'000, '\xFF'));
    }

    const Record record = parsed(identified(dataset));

    EXPECT_EQ(record.word, "parsed");
    EXPECT_LE(encode(record).size(), gateway::platform::dicom_protocol::kMaxRecordBytes);
}

TEST_F(Elements, OfAReportHaveNoSize)
{
    DatasetWriter content;
    content.text(0x0040A160U, "UT", "findings");
    DatasetWriter dataset;
    dataset.text(kModality, "CS", "SR").sequence(0x0040A730U, content, true);

    const Record record = parsed(identified(dataset));

    EXPECT_EQ(record.text("modality"), "sSR");
    EXPECT_EQ(record.text("height"), "");
    EXPECT_EQ(record.text("numberOfFrames"), "");
}

TEST_F(Elements, ADirectoryOfAMediumIsNoObject)
{
    DatasetWriter dataset;
    dataset.text(0x00041130U, "CS", "DISC");

    const Record record =
        parsed(part10(kExplicitLittleEndian, dataset.all(), "1.2.3.4.5", "1.2.840.10008.1.3.10"));

    EXPECT_EQ(record.word, "unreadable");
}

} // namespace gateway::dicom_helper::worker::testing
