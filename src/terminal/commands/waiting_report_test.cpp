#include "terminal/commands/waiting_report.h"

#include <gtest/gtest.h>

namespace gateway::terminal {

namespace {

const QDateTime kMoment(QDate(2026, 5, 1), QTime(13, 0, 5), Qt::UTC);

QString local(const QDateTime &moment)
{
    return moment.toLocalTime().toString(u"yyyy-MM-dd HH:mm:ss"_qs);
}

} // namespace

TEST(WaitingReport, AreNoLineWhereNothingWaits)
{
    const QJsonObject json = toJson(upload::WaitingUploads());

    EXPECT_EQ(json.keys(),
              (QStringList{u"awaited"_qs,
                           u"files"_qs,
                           u"nextTryAt"_qs,
                           u"pausedBy"_qs,
                           u"pausedFor"_qs,
                           u"pausedUntil"_qs}));
    EXPECT_TRUE(json[u"nextTryAt"].isNull());
    EXPECT_TRUE(json[u"pausedBy"].isNull());
    EXPECT_EQ(waitingLines(json), QStringList());
}

TEST(WaitingReport, AreToldWithTheirNumberAndTheNextTime)
{
    const QJsonObject json = toJson(upload::WaitingUploads{{10'000, kMoment}, {}});

    EXPECT_EQ(json[u"files"].toInt(), 10'000);
    EXPECT_EQ(json[u"nextTryAt"].toString(), u"2026-05-01T13:00:05Z"_qs);
    EXPECT_EQ(
        waitingLines(json),
        QStringList{u"files that failed and are tried again later: 10000, the next at "_qs + local(kMoment)});
}

TEST(WaitingReport, TellWhatTheCloudHasTakenFromWhatFailed)
{
    const QJsonObject json = toJson(upload::WaitingUploads{{5, kMoment}, {}, 3});

    EXPECT_EQ(json[u"awaited"].toInt(), 3);
    EXPECT_EQ(
        waitingLines(json),
        (QStringList{u"files that the cloud has taken and doesn't show yet, which are looked for: 3"_qs,
                     u"files that failed and are tried again later: 2, the next at "_qs + local(kMoment)}));
}

TEST(WaitingReport, AreToldWithWhatAllOfThemWaitFor)
{
    const QJsonObject json = toJson(upload::WaitingUploads{
        {}, upload::UploadGate::Closure{core::FailureClass::notReachable, false, kMoment}});

    EXPECT_EQ(json[u"pausedBy"].toString(), u"notReachable"_qs);
    EXPECT_EQ(json[u"pausedUntil"].toString(), u"2026-05-01T13:00:05Z"_qs);
    EXPECT_EQ(waitingLines(json),
              QStringList{u"uploads pause until %1: %2"_qs.arg(
                  local(kMoment), core::failureSentence(core::FailureClass::notReachable))});
}

} // namespace gateway::terminal
