#include "cloud/dicom/dicom_json.h"

#include "cloud/dicom/character_set.h"
#include "cloud/testing/dicom_builder.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

#include <gtest/gtest.h>

namespace gateway::cloud {
namespace {

using testing::DatasetBuilder;

QByteArray jsonOf(const QByteArray &dataset, Encoding encoding = Encoding::explicitLittle)
{
    const auto bytes =
        std::as_bytes(std::span(dataset.constData(), static_cast<std::size_t>(dataset.size())));
    return QJsonDocument(jsonFromDataset(bytes, encoding)).toJson(QJsonDocument::Compact);
}

QByteArray jsonOfText(const char *vr, const QString &text)
{
    return QJsonDocument(jsonFromText(vr, text)).toJson(QJsonDocument::Compact);
}

TEST(DicomJson, WritesEachKindOfValueAsTheModelWantsIt)
{
    EXPECT_EQ(jsonOfText("LO", QStringLiteral("a\\b")), R"({"Value":["a","b"],"vr":"LO"})");
    EXPECT_EQ(jsonOfText("LO", QStringLiteral("a\\\\b")), R"({"Value":["a",null,"b"],"vr":"LO"})");
    EXPECT_EQ(jsonOfText("LT", QStringLiteral("a\\b")), R"({"Value":["a\\b"],"vr":"LT"})");
    EXPECT_EQ(jsonOfText("IS", QStringLiteral(" 12")), R"({"Value":[12],"vr":"IS"})");
    EXPECT_EQ(jsonOfText("DS", QStringLiteral("1.5\\x")), R"({"Value":[1.5,"x"],"vr":"DS"})");
    EXPECT_EQ(jsonOfText("DS", QStringLiteral("nan")), R"({"Value":["nan"],"vr":"DS"})");
    EXPECT_EQ(jsonOfText("CS", QString()), R"({"vr":"CS"})");
    EXPECT_EQ(jsonOfText("PN", QStringLiteral("Yamada^Tarou==yomi")),
              R"({"Value":[{"Alphabetic":"Yamada^Tarou","Phonetic":"yomi"}],"vr":"PN"})");
}

TEST(DicomJson, WritesNumbersBinariesAndSequencesOfADataset)
{
    DatasetBuilder dataset;
    dataset.add(0x00080000, "UL", QByteArray(4, '\0'))
        .head(0x00081140, "SQ", 0xFFFFFFFF)
        .mark(0xFFFEE000, 0xFFFFFFFF)
        .add(0x00081155, "UI", "1.2")
        .mark(0xFFFEE00D, 0)
        .mark(0xFFFEE0DD, 0)
        .add(0x00280009, "AT", QByteArray("\x18\x00\x63\x10", 4))
        .add(0x00280010, "US", QByteArray("\x00\x02\xff\xff", 4))
        .add(0x00290010, "OB", QByteArray("\x01\x02", 2))
        .add(0x00290011, "OB", QByteArray(2000, 'x'))
        .add(0x7FE00010, "OW", "pixels");

    EXPECT_EQ(jsonOf(dataset.bytes()),
              R"({"00081140":{"Value":[{"00081155":{"Value":["1.2"],"vr":"UI"}}],"vr":"SQ"},)"
              R"("00280009":{"Value":["00181063"],"vr":"AT"},"00280010":{"Value":[512,65535],"vr":"US"},)"
              R"("00290010":{"InlineBinary":"AQI=","vr":"OB"},"00290011":{"vr":"OB"}})");
}

TEST(DicomJson, DecodesTextByTheDatasetsCharacterSet)
{
    DatasetBuilder dataset(true);
    dataset.add(0x00080005, "CS", "ISO_IR 192").add(0x00100010, "PN", "M\xc3\xbcller");

    EXPECT_EQ(jsonOf(dataset.bytes(), Encoding::implicitLittle),
              "{\"00080005\":{\"Value\":[\"ISO_IR 192\"],\"vr\":\"CS\"},"
              "\"00100010\":{\"Value\":[{\"Alphabetic\":\"M\xc3\xbcller\"}],\"vr\":\"PN\"}}");
}

TEST(DicomJson, GivesWhatStandsBeforeABreak)
{
    const QByteArray whole = DatasetBuilder().add(0x00080060, "CS", "CT").add(0x00100020, "LO", "P1").bytes();

    EXPECT_EQ(jsonOf(whole.chopped(1)), R"({"00080060":{"Value":["CT"],"vr":"CS"}})");
}

TEST(CharacterSet, DecodesCommonSetsAndLosesNothingOfBrokenText)
{
    EXPECT_EQ(decodeText("M\xfcller", ""), QStringLiteral("Müller"));
    EXPECT_EQ(decodeText("M\xfcller", "ISO_IR 100"), QStringLiteral("Müller"));
    EXPECT_EQ(decodeText("\xbb\xee", "ISO_IR 144"), QStringLiteral("Лю"));
    EXPECT_EQ(decodeText("\xb1", "ISO_IR 13"), QStringLiteral("ｱ"));
    EXPECT_EQ(decodeText("Yamada=\x1b$B;3ED\x1b(B", "\\ISO 2022 IR 87"), QStringLiteral("Yamada=山田"));
    EXPECT_EQ(decodeText("\xcd\xf5", "GB18030"), QStringLiteral("王"));
    EXPECT_EQ(decodeText("M\xfcller", "ISO_IR 192"), QStringLiteral("Müller"));
    EXPECT_EQ(decodeText("x", "NO SUCH SET"), QStringLiteral("x"));
}

} // namespace
} // namespace gateway::cloud
