#include "cloud_client/network_json.h"
#include "cloud_client/qrn_tag_parser.h"

#include <gtest/gtest.h>

#include <limits>

namespace gateway::cloud_client {

namespace {

QVariantMap object(const char *json)
{
    return parseNetworkJson(json).value_or(QVariant()).toMap();
}

} // namespace

TEST(QrnTagParser, ReadsTextsNamesNumbersAndLists)
{
    const QVariantMap study = object(R"({
        "00100010": {"vr": "PN", "Value": [{"Alphabetic": "Doe^Jane", "Ideographic": "x"}]},
        "00080061": {"vr": "CS", "Value": ["CT", "SR"]},
        "00201208": {"vr": "IS", "Value": [120]},
        "0020000D": {"vr": "UI", "Value": ["1.2.3"]}})");

    EXPECT_EQ(QrnTagParser::getStringTag(study, QrnDicomTag::PatientName), QStringLiteral("Doe^Jane"));
    EXPECT_EQ(QrnTagParser::getStringTag(study, QrnDicomTag::ModalitiesInStudy), QStringLiteral("CT, SR"));
    EXPECT_EQ(QrnTagParser::getStringTag(study, QrnDicomTag::NumberOfStudyRelatedInstances),
              QStringLiteral("120"));
    EXPECT_EQ(QrnTagParser::getStringTag(study, QrnDicomTag::StudyInstanceUID), QStringLiteral("1.2.3"));
    EXPECT_EQ(QrnTagParser::getIntTag(study, QrnDicomTag::NumberOfStudyRelatedInstances), 120);
}

TEST(QrnTagParser, GivesEmptyTextAndNoNumberForWhatIsAbsentOrOdd)
{
    const QVariantMap odd = object(R"({
        "00100010": {"vr": "PN"}, "00100020": {"vr": "LO", "Value": [null]}, "00080050": "plain",
        "00200011": {"vr": "IS", "Value": ["seven"]}, "00201209": {"vr": "IS", "Value": [1.5]}})");

    EXPECT_EQ(QrnTagParser::getStringTag(odd, QrnDicomTag::PatientName), QString());
    EXPECT_EQ(QrnTagParser::getStringTag(odd, QrnDicomTag::PatientID), QString());
    EXPECT_EQ(QrnTagParser::getStringTag(odd, QrnDicomTag::AccessionNumber), QString());
    EXPECT_EQ(QrnTagParser::getStringTag(odd, QrnDicomTag::StudyDate), QString());
    EXPECT_FALSE(QrnTagParser::getIntTag(odd, QrnDicomTag::PatientID));
    EXPECT_FALSE(QrnTagParser::getIntTag(odd, QrnDicomTag::SeriesNumber));
    EXPECT_FALSE(QrnTagParser::getIntTag(odd, QrnDicomTag::NumberOfSeriesRelatedInstances));
    EXPECT_FALSE(QrnTagParser::getIntTag(odd, QrnDicomTag::StudyDate));
}

TEST(QrnTagParser, ReadsNumbersWrittenAsTextOrWithAFraction)
{
    const QVariantMap series = object(R"({
        "00200011": {"vr": "IS", "Value": [" -12 "]}, "00201209": {"vr": "IS", "Value": [30.0]}})");

    EXPECT_EQ(QrnTagParser::getIntTag(series, QrnDicomTag::SeriesNumber), -12);
    EXPECT_EQ(QrnTagParser::getIntTag(series, QrnDicomTag::NumberOfSeriesRelatedInstances), 30);
}

TEST(NetworkJson, ReadsOneWellFormedTextAndNothingElse)
{
    EXPECT_EQ(parseNetworkJson("[1, -2.5, true, \"x\"]")->toList().size(), 4);
    EXPECT_EQ(parseNetworkJson("9223372036854775807")->toLongLong(), std::numeric_limits<qlonglong>::max());
    EXPECT_EQ(parseNetworkJson("null")->typeId(), QMetaType::Nullptr);
    for (const QByteArray &text : {QByteArray(),
                                   QByteArray("<html/>"),
                                   QByteArray("{\"a\": }"),
                                   QByteArray("{} {}"),
                                   QByteArray("\"\xff\""),
                                   QByteArray(100'000, '[')}) {
        EXPECT_FALSE(parseNetworkJson(text)) << text.left(20).constData();
    }
}

} // namespace gateway::cloud_client
