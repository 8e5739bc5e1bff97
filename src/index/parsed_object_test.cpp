#include "index/parsed_object.h"

#include "platform/dicom/testing/identities.h"

#include <QtCore/QDateTime>

#include <gtest/gtest.h>

namespace gateway::index {

TEST(ParsedObject, OfNothingHasOneFrameOfOneSeriesAndNoIdentity)
{
    const ParsedObject object = parsedObject({});

    EXPECT_TRUE(object.patientUID.isEmpty());
    EXPECT_TRUE(object.sopInstanceUID.isEmpty());
    EXPECT_FALSE(object.studyInstanceUID);
    EXPECT_EQ(object.numberOfFrames, 1);
    EXPECT_EQ(object.numberOfSeries, 1);
    EXPECT_FALSE(object.hasDicom);
    EXPECT_FALSE(object.isDamaged);
}

TEST(ParsedObject, TakesEachElementFromItsKey)
{
    const QDateTime moment(QDate(2026, 3, 4), QTime(5, 6), Qt::UTC);

    const ParsedObject object = parsedObject({{QStringLiteral("patientUID"), QStringLiteral("P")},
                                              {QStringLiteral("studyID"), QStringLiteral("1.2")},
                                              {QStringLiteral("seriesID"), QStringLiteral("1.2.3")},
                                              {QStringLiteral("SOPUID"), QStringLiteral("1.2.3.4")},
                                              {QStringLiteral("studyNumber"), QStringLiteral("77")},
                                              {QStringLiteral("studyDate"), moment},
                                              {QStringLiteral("imageID"), QStringLiteral("12")},
                                              {QStringLiteral("numberOfFrames"), 3},
                                              {QStringLiteral("WindowWidth"), 400.5},
                                              {QStringLiteral("origin"), QVariantList{1.0, 2.0, 3.0}},
                                              {QStringLiteral("damaged"), true}});

    EXPECT_EQ(object.patientUID, QStringLiteral("P"));
    EXPECT_EQ(object.studyInstanceUID, platform::testing::studyUid("1.2"));
    EXPECT_EQ(object.seriesKey, QStringLiteral("1.2.3"));
    EXPECT_EQ(object.sopInstanceUID, platform::testing::instanceUid("1.2.3.4"));
    EXPECT_EQ(object.patientID, QStringLiteral("77"));
    EXPECT_EQ(object.studyDate, moment.toMSecsSinceEpoch());
    EXPECT_EQ(object.instanceNumber, 12);
    EXPECT_EQ(object.numberOfFrames, 3);
    EXPECT_EQ(object.windowWidth, 400.5);
    EXPECT_EQ(object.origin->size(), 12);
    EXPECT_TRUE(object.isDamaged);
}

TEST(ParsedObject, LeavesOutWhatIsOfAnotherType)
{
    const ParsedObject object = parsedObject({{QStringLiteral("patientUID"), 5},
                                              {QStringLiteral("numberOfFrames"), QStringLiteral("many")},
                                              {QStringLiteral("sliceLocation"), QStringLiteral("1.5")}});

    EXPECT_TRUE(object.patientUID.isEmpty());
    EXPECT_EQ(object.numberOfFrames, 1);
    EXPECT_FALSE(object.sliceLocation);
}

} // namespace gateway::index
