#include "cloud_client/stow_answer.h"

#include "platform/dicom/testing/identities.h"

#include <QtCore/QSet>

#include <gtest/gtest.h>

namespace gateway::cloud_client {

using platform::testing::instanceUid;

namespace {

const QByteArray kJson = "application/dicom+json";
const QByteArray kXml = "application/dicom+xml";

QByteArray model(const QByteArray &inside)
{
    return "<?xml version=\"1.0\"?><NativeDicomModel "
           "xmlns=\"http://dicom.nema.org/PS3.19/models/NativeDICOM\">" +
           inside + "</NativeDicomModel>";
}

QSet<QString> instances(const StowAnswer &answer)
{
    QSet<QString> found;
    for (const StowReference &reference : answer.referenced) {
        found.insert(reference.sopInstanceUid.value());
    }
    return found;
}

} // namespace

TEST(StowAnswer, ReadsWhereAnInstanceIsStored)
{
    const auto json = parseStowAnswer(kJson, R"({"00081199": {"vr": "SQ", "Value": [
        {"00081190": {"vr": "UR", "Value": ["http://x/1"]}, "00081155": {"vr": "UI", "Value": ["1.2.4"]}}]}})");
    const auto xml = parseStowAnswer(
        kXml,
        model("<DicomAttribute tag=\"00081199\" vr=\"SQ\"><Item number=\"1\">"
              "<DicomAttribute tag=\"00081155\" vr=\"UI\"><Value number=\"1\">1.2.4</Value></DicomAttribute>"
              "<DicomAttribute tag=\"00081190\" vr=\"UR\"><Value "
              "number=\"1\">http://x/1</Value></DicomAttribute>"
              "</Item></DicomAttribute>"));

    const QList<StowReference> expected{{instanceUid("1.2.4"), QStringLiteral("http://x/1")}};
    ASSERT_TRUE(json);
    EXPECT_EQ(json->referenced, expected);
    ASSERT_TRUE(xml);
    EXPECT_EQ(xml->referenced, expected);
}

TEST(StowAnswer, ReadsStoredAndFailedInstancesFromJson)
{
    const auto answer = parseStowAnswer(kJson, R"({
        "00081190": {"vr": "UR", "Value": ["http://x/studies/1"]},
        "00081198": {"vr": "SQ", "Value": [
            {"00081155": {"vr": "UI", "Value": ["1.2.3"]}, "00081197": {"vr": "US", "Value": [272]}}]},
        "00081199": {"vr": "SQ", "Value": [
            {"00081150": {"vr": "UI", "Value": ["1.2.840"]}, "00081155": {"vr": "UI", "Value": ["1.2.4"]},
             "00081196": {"vr": "US", "Value": [45056]}},
            {"00081155": {"vr": "UI", "Value": ["1.2.5"]}}]}})");

    ASSERT_TRUE(answer);
    EXPECT_EQ(instances(*answer), (QSet<QString>{QStringLiteral("1.2.4"), QStringLiteral("1.2.5")}));
    EXPECT_EQ(answer->refused, (QList<StowRefusal>{{instanceUid("1.2.3"), 272}}));
}

TEST(StowAnswer, ReadsStoredAndFailedInstancesFromXml)
{
    const auto answer = parseStowAnswer(kXml, model(R"(
        <DicomAttribute tag="00081190" vr="UR"><Value number="1">http://x</Value></DicomAttribute>
        <DicomAttribute tag="00081198" vr="SQ" keyword="FailedSOPSequence"><Item number="1">
            <DicomAttribute tag="00081155" vr="UI"><Value number="1">1.2.3</Value></DicomAttribute>
            <DicomAttribute tag="00081197" vr="US"><Value number="1">45070</Value></DicomAttribute>
        </Item></DicomAttribute>
        <DicomAttribute tag="00081199" vr="SQ"><Item number="1">
            <DicomAttribute tag="00081155" vr="UI"><Value number="1">1.2.4</Value></DicomAttribute>
            <DicomAttribute tag="00081196" vr="US"><Value number="1">45070</Value></DicomAttribute>
        </Item><Item number="2">
            <DicomAttribute tag="00081155" vr="UI"><Value number="1"> 1.2.5 </Value></DicomAttribute>
            <DicomAttribute tag="00081196" vr="US"><Value number="1">45056</Value></DicomAttribute>
        </Item></DicomAttribute>)"));

    ASSERT_TRUE(answer);
    EXPECT_EQ(instances(*answer), (QSet<QString>{QStringLiteral("1.2.4"), QStringLiteral("1.2.5")}));
    EXPECT_EQ(answer->refused, (QList<StowRefusal>{{instanceUid("1.2.3"), 45070}}));
    EXPECT_TRUE(answer->refused.first().isAlreadyStored());
    EXPECT_TRUE(answer->referenced.first().isAlreadyStored());
    EXPECT_FALSE(answer->referenced.last().isAlreadyStored());
}

TEST(StowAnswer, CountsOnlyTwoReasonsAsStoredAlready)
{
    EXPECT_TRUE((StowRefusal{instanceUid("1"), 0x0111}.isAlreadyStored()));
    EXPECT_TRUE((StowRefusal{instanceUid("1"), 45070}.isAlreadyStored()));
    EXPECT_FALSE((StowRefusal{instanceUid("1"), 0x0110}.isAlreadyStored()));
    EXPECT_FALSE((StowRefusal{instanceUid("1"), std::nullopt}.isAlreadyStored()));
}

TEST(StowAnswer, TakesAnEmptySequenceAsOneWithoutEntries)
{
    const auto answer =
        parseStowAnswer(kJson, R"({"00081199": {"vr": "SQ"}, "00081198": {"vr": "SQ", "Value": []}})");

    ASSERT_TRUE(answer);
    EXPECT_TRUE(answer->referenced.isEmpty());
    EXPECT_TRUE(answer->refused.isEmpty());
}

TEST(StowAnswer, ReadsADatasetInsideAListOfOne)
{
    const auto answer = parseStowAnswer(
        kJson, R"([{"00081199": {"vr": "SQ", "Value": [{"00081155": {"vr": "UI", "Value": ["1.2.4"]}}]}}])");

    ASSERT_TRUE(answer);
    EXPECT_TRUE(instances(*answer).contains(QStringLiteral("1.2.4")));
}

TEST(StowAnswer, KeepsARefusalThatNamesNoInstance)
{
    const auto answer = parseStowAnswer(
        kJson, R"({"00081198": {"vr": "SQ", "Value": [{"00081197": {"Value": ["49152"]}}]}})");

    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->refused, (QList<StowRefusal>{{platform::InstanceUid(), 49152}}));
}

TEST(StowAnswer, NamesNothingForAReferenceWithoutAnInstance)
{
    const auto answer = parseStowAnswer(kJson,
                                        R"({"00081199": {"vr": "SQ", "Value": [{}, null,
                                            {"00081155": {"vr": "UI"}}, {"00081155": {"Value": [7]}}]}})");

    ASSERT_TRUE(answer);
    EXPECT_TRUE(answer->referenced.isEmpty());
}

TEST(StowAnswer, GivesNothingForABodyThatProvesNothing)
{
    for (const QByteArray &body : {QByteArray(),
                                   QByteArray("<html><body>Welcome</body></html>"),
                                   QByteArray("{}"),
                                   QByteArray("[]"),
                                   QByteArray("\"00081199\""),
                                   QByteArray(R"({"status": "ok"})"),
                                   QByteArray(R"({"00081199": "1.2.4"})"),
                                   QByteArray(R"({"00081199": {"Value": "1.2.4"}})"),
                                   QByteArray(R"({"00081199": {"Value": ["1.2.4"]}})"),
                                   QByteArray(R"({"00081199": {"vr": "SQ", "Value": [)")}) {
        EXPECT_FALSE(parseStowAnswer(kJson, body)) << body.constData();
    }
    for (const QByteArray &body : {QByteArray(),
                                   QByteArray("<html/>"),
                                   model(""),
                                   QByteArray("<NativeDicomModel><DicomAttribute tag=\"00081199\">"),
                                   QByteArray("<other><DicomAttribute tag=\"00081199\"/></other>")}) {
        EXPECT_FALSE(parseStowAnswer(kXml, body)) << body.constData();
    }
}

TEST(StowAnswer, LeavesOtherMediaTypesAlone)
{
    const QByteArray dataset = R"({"00081199": {"vr": "SQ", "Value": [{"00081155": {"Value": ["1.2.4"]}}]}})";

    EXPECT_TRUE(parseStowAnswer("", dataset));
    EXPECT_TRUE(parseStowAnswer("application/json", dataset));
    EXPECT_FALSE(parseStowAnswer("text/html", dataset));
    EXPECT_FALSE(parseStowAnswer("text/plain", dataset));
}

TEST(StowAnswer, NeverReadsTwoXmlValuesAsOne)
{
    const auto answer = parseStowAnswer(kXml, model(R"(<DicomAttribute tag="00081199" vr="SQ"><Item>
        <DicomAttribute tag="00081155"><Value>1.2.</Value><Value>4</Value></DicomAttribute></Item></DicomAttribute>)"));

    ASSERT_TRUE(answer);
    EXPECT_FALSE(instances(*answer).contains(QStringLiteral("1.2.4")));
}

TEST(StowAnswer, SeesOnlyInstancesDirectlyInsideTheSequence)
{
    const auto answer = parseStowAnswer(kXml, model(R"(<DicomAttribute tag="00081199" vr="SQ"><Item>
        <DicomAttribute tag="00081155"><Value>1.2.3</Value></DicomAttribute>
        <DicomAttribute tag="0040A170" vr="SQ"><Item><DicomAttribute tag="00081155"><Value>1.2.9</Value>
        </DicomAttribute></Item></DicomAttribute></Item></DicomAttribute>)"));

    ASSERT_TRUE(answer);
    EXPECT_EQ(instances(*answer), QSet<QString>{QStringLiteral("1.2.3")});
}

TEST(StowAnswer, RefusesNestingWithoutEndAndEntities)
{
    EXPECT_FALSE(parseStowAnswer(kJson, QByteArray(100'000, '[')));
    EXPECT_FALSE(parseStowAnswer(kJson, QByteArray("{\"00081199\":").repeated(50'000)));
    EXPECT_FALSE(parseStowAnswer(kXml, QByteArray("<NativeDicomModel>").repeated(50'000)));
    EXPECT_FALSE(parseStowAnswer(
        kXml, "<!DOCTYPE x [<!ENTITY a \"1.2.4\">]>" + model("<DicomAttribute tag=\"00081199\"/>").mid(21)));
}

} // namespace gateway::cloud_client
