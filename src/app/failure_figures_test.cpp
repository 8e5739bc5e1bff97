#include "app/failure_figures.h"

#include <QtCore/QJsonObject>
#include <QtCore/QStringList>

#include <gtest/gtest.h>

namespace gateway::app {
namespace {

using core::FailureClass;

TEST(FailureFigures, TellClassCodeSentenceAndCount)
{
    const QList<FailureFigure> figures =
        failureFigures({{u"storageUsedUp"_qs, 7, 12}, {u"laterInvention"_qs, 3, 1}});

    const QJsonArray json = toJson(figures);

    ASSERT_EQ(json.size(), 2);
    EXPECT_EQ(json[0].toObject().keys(), (QStringList{u"class"_qs, u"code"_qs, u"count"_qs, u"sentence"_qs}));
    EXPECT_EQ(json[0][u"class"].toString(), u"storageUsedUp"_qs);
    EXPECT_EQ(json[0][u"code"].toInt(), 7);
    EXPECT_EQ(json[0][u"count"].toInt(), 12);
    EXPECT_EQ(json[0][u"sentence"].toString(), core::failureSentence(FailureClass::storageUsedUp));
    EXPECT_EQ(json[1][u"class"].toString(), u"unknown"_qs);
}

TEST(FailureFigures, OfOneSentenceShareALine)
{
    const QStringList lines = failureLines(toJson({{{FailureClass::refused, 400}, 2},
                                                   {{FailureClass::timedOut, 28}, 5},
                                                   {{FailureClass::refused, 409}, 1}}));

    EXPECT_EQ(lines,
              (QStringList{u"3 not sent: "_qs + core::failureSentence(FailureClass::refused),
                           u"5 not sent: "_qs + core::failureSentence(FailureClass::timedOut)}));
}

TEST(FailureFigures, AreTheMostFrequentWhereThereAreVeryMany)
{
    QList<index::UploadFailureCount> counts;
    for (int code = 0; code < 500; ++code) {
        counts.append({u"refused"_qs, code, 500 - code});
    }

    EXPECT_EQ(failureFigures(counts).size(), 20);
    EXPECT_EQ(failureFigures(counts).first().files, 500);
}

} // namespace
} // namespace gateway::app
