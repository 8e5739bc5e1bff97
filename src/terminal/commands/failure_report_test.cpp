#include "terminal/commands/failure_report.h"

#include <QtCore/QJsonObject>

#include <gtest/gtest.h>

namespace gateway::terminal {
namespace {

using core::FailureClass;

TEST(FailureReport, TellsClassCodeSentenceAndCount)
{
    const QList<upload::FailureFigure> figures =
        upload::failureFigures({{u"storageUsedUp"_qs, 7, 12}, {u"laterInvention"_qs, 3, 1}});

    const QJsonArray json = toJson(figures);

    ASSERT_EQ(json.size(), 2);
    EXPECT_EQ(json[0].toObject().keys(), (QStringList{u"class"_qs, u"code"_qs, u"count"_qs, u"sentence"_qs}));
    EXPECT_EQ(json[0][u"class"].toString(), u"storageUsedUp"_qs);
    EXPECT_EQ(json[0][u"code"].toInt(), 7);
    EXPECT_EQ(json[0][u"count"].toInt(), 12);
    EXPECT_EQ(json[0][u"sentence"].toString(), core::failureSentence(FailureClass::storageUsedUp));
    EXPECT_EQ(json[1][u"class"].toString(), u"unknown"_qs);
}

TEST(FailureReport, SharesALineAmongFailuresOfOneSentence)
{
    const QStringList lines = failureLines(toJson({{{FailureClass::refused, 400}, 2},
                                                   {{FailureClass::timedOut, 28}, 5},
                                                   {{FailureClass::refused, 409}, 1}}));

    EXPECT_EQ(lines,
              (QStringList{u"3 not sent: "_qs + core::failureSentence(FailureClass::refused),
                           u"5 not sent: "_qs + core::failureSentence(FailureClass::timedOut)}));
}

} // namespace
} // namespace gateway::terminal
