#include "terminal/commands/status_report.h"

#include <QtCore/QJsonArray>
#include <QtCore/QStringList>

#include <gtest/gtest.h>

namespace gateway::terminal {
namespace {

TEST(StatusReport, AlwaysHasTheSameKeys)
{
    const QJsonObject json = toJson(StatusReport());

    EXPECT_EQ(json.keys(),
              (QStringList{u"activity"_qs,
                           u"banner"_qs,
                           u"cloud"_qs,
                           u"counters"_qs,
                           u"failures"_qs,
                           u"formerIndex"_qs,
                           u"inbox"_qs,
                           u"listener"_qs,
                           u"log"_qs,
                           u"receiving"_qs,
                           u"recordingAgain"_qs,
                           u"retention"_qs,
                           u"session"_qs,
                           u"setup"_qs,
                           u"storage"_qs,
                           u"terms"_qs,
                           u"upload"_qs,
                           u"waiting"_qs}));
    EXPECT_EQ(json[u"listener"].toObject().keys(),
              (QStringList{
                  u"address"_qs, u"aeTitle"_qs, u"asItShouldBe"_qs, u"error"_qs, u"port"_qs, u"state"_qs}));
    EXPECT_EQ(json[u"counters"].toObject().keys(),
              (QStringList{u"failed"_qs,
                           u"images"_qs,
                           u"instances"_qs,
                           u"notSynced"_qs,
                           u"series"_qs,
                           u"studies"_qs,
                           u"synced"_qs}));
    EXPECT_EQ(json[u"upload"].toObject().keys(),
              (QStringList{u"lastRun"_qs, u"mode"_qs, u"running"_qs, u"speedMbps"_qs}));
    EXPECT_EQ(
        json[u"cloud"].toObject().keys(),
        (QStringList{
            u"baseUrl"_qs, u"kind"_qs, u"lastCheckedAt"_qs, u"lastError"_qs, u"online"_qs, u"storage"_qs}));
    EXPECT_EQ(json[u"terms"].toObject().keys(), (QStringList{u"reason"_qs, u"required"_qs, u"version"_qs}));
}

TEST(StatusReport, TellsInstancesBesideTheirFrames)
{
    StatusReport report;
    EXPECT_TRUE(statusText(toJson(report)).contains(u"Instances  not known"_qs));
    report.counters = {.studies = 1,
                       .series = 2,
                       .images = 1203,
                       .notSynced = 203,
                       .synced = 1000,
                       .failed = 3,
                       .instances = index::InstanceCounts{.total = 9, .synced = 5, .failed = 1}};

    const QJsonObject json = toJson(report);

    EXPECT_EQ(json[u"counters"][u"instances"].toObject(),
              (QJsonObject{{u"total"_qs, 9}, {u"notSynced"_qs, 4}, {u"synced"_qs, 5}, {u"failed"_qs, 1}}));
    EXPECT_TRUE(statusText(json).contains(u"Images     1203 in 2 series"_qs));
    EXPECT_TRUE(statusText(json).contains(u"Instances  9; 5 synced, 4 to send, 1 failed"_qs));
}

TEST(StatusReport, TellsOfFilesSetAsideAndOfARetentionThatIsHeldBackAndElseIsSilent)
{
    StatusReport report;
    EXPECT_FALSE(statusText(toJson(report)).contains(u"Set aside"_qs));
    EXPECT_FALSE(statusText(toJson(report)).contains(u"Retention"_qs));

    report.upkeep = {.inbox = {.setAside = 2}, .isRetentionHeldBack = true};
    const QJsonObject json = toJson(report);

    EXPECT_EQ(json[u"inbox"][u"setAside"].toInt(), 2);
    EXPECT_TRUE(json[u"retention"][u"heldBack"].toBool());
    EXPECT_TRUE(statusText(json).contains(u"Set aside  2 received files"_qs));
    EXPECT_TRUE(statusText(json).contains(u"Retention  held back"_qs));
}

TEST(StatusReport, TellsOfImagesThatAreNotTakenInForMinutesAndElseIsSilent)
{
    StatusReport report;
    report.upkeep.inbox = {.waiting = 3, .longestWait = std::chrono::minutes(4)};
    EXPECT_EQ(toJson(report)[u"inbox"][u"waiting"].toInt(), 3);
    EXPECT_FALSE(statusText(toJson(report)).contains(u"Inbox"_qs));

    report.upkeep.inbox.longestWait = std::chrono::minutes(6);
    const QJsonObject json = toJson(report);

    EXPECT_EQ(json[u"inbox"][u"longestWaitSeconds"].toInt(), 360);
    EXPECT_TRUE(
        statusText(json).contains(u"Inbox      3 received images aren't taken in, the first for 6 min"_qs));
}

TEST(StatusReport, TellsOfAFileStoreThatCannotBeSeen)
{
    StatusReport report;
    EXPECT_FALSE(toJson(report)[u"storage"][u"outOfSight"].toBool());
    report.upkeep.isStoreOutOfSight = true;

    EXPECT_TRUE(toJson(report)[u"storage"][u"outOfSight"].toBool());
    EXPECT_TRUE(statusText(toJson(report)).contains(u"Store      can't be seen"_qs));
}

TEST(StatusReport, TellsHowFarTheRecordingOfALostIndexIsAndElseIsSilent)
{
    StatusReport report;
    EXPECT_FALSE(statusText(toJson(report)).contains(u"Index"_qs));

    report.upkeep = {.inbox = {}, .filesToRecordAgain = 300, .filesRecordedAgain = 12};
    const QJsonObject json = toJson(report);

    EXPECT_EQ(json[u"recordingAgain"][u"files"].toInt(), 300);
    EXPECT_EQ(json[u"recordingAgain"][u"recorded"].toInt(), 12);
    EXPECT_TRUE(statusText(json).contains(u"Index      lacks stored images; 12 of 300 recorded again"_qs));
}

TEST(StatusReport, TellsWhereTheIndexOfTheVersionBeforeIsKept)
{
    StatusReport report;
    EXPECT_TRUE(toJson(report)[u"formerIndex"].isNull());
    EXPECT_FALSE(statusText(toJson(report)).contains(u"Index"_qs));

    report.upkeep.formerIndex = QStringLiteral("/home/index.former");

    EXPECT_EQ(toJson(report)[u"formerIndex"].toString(), u"/home/index.former"_qs);
    EXPECT_TRUE(statusText(toJson(report))
                    .contains(u"Index      of the version before is kept at /home/index.former until"_qs));
}

TEST(StatusReport, CallsASessionThatTheCloudEndedBySomethingElseThanSignedOut)
{
    using account::SessionState;
    const QDateTime moment(QDate(2026, 5, 1), QTime(13, 0), Qt::UTC);
    const auto sessionLine = [&](bool isSignedIn, SessionState state, const QString &label) {
        StatusReport report;
        report.session = {isSignedIn, label, {state, moment}, u"No answer."_qs};
        const QStringList lines = statusText(toJson(report)).split(u'\n');
        return lines.filter(u"Session "_qs).value(0).mid(11);
    };
    const QString local = moment.toLocalTime().toString(u"yyyy-MM-dd HH:mm"_qs);

    EXPECT_EQ(sessionLine(false, SessionState::notKnownYet, {}), u"Checking sign-in status…"_qs);
    EXPECT_EQ(sessionLine(false, SessionState::signedOut, {}), u"Signed out"_qs);
    EXPECT_EQ(sessionLine(false, SessionState::ended, {}),
              u"Ended by the cloud on %1; sign in again"_qs.arg(local));
    EXPECT_EQ(sessionLine(true, SessionState::credentialsRefused, u"mod1"_qs),
              u"User name or password of mod1 refused since %1; tried again by itself"_qs.arg(local));
    EXPECT_EQ(sessionLine(true, SessionState::signInUnavailable, u"mod1"_qs),
              u"Sign-in of mod1 can't be had since %1; tried again by itself. No answer."_qs.arg(local));
}

TEST(StatusReport, SaysForProgramsHowTheSessionStandsAndSinceWhen)
{
    StatusReport report;
    report.session = {
        false, {}, {account::SessionState::ended, QDateTime(QDate(2026, 5, 1), QTime(13, 0), Qt::UTC)}, {}};

    const QJsonObject session = toJson(report)[u"session"].toObject();

    EXPECT_EQ(session.keys(),
              (QStringList{u"label"_qs, u"signedIn"_qs, u"since"_qs, u"state"_qs, u"trouble"_qs}));
    EXPECT_EQ(session[u"state"].toString(), u"ended"_qs);
    EXPECT_EQ(session[u"since"].toString(), u"2026-05-01T13:00:00Z"_qs);
}

TEST(StatusReport, TellsWhatCameAndWentInEachBucketAndInOneLine)
{
    StatusReport report;
    report.activity = {u"oneDay"_qs,
                       QDateTime(QDate(2026, 5, 1), QTime(13, 0), Qt::UTC),
                       std::chrono::hours(1),
                       std::vector<std::int64_t>(24, 2),
                       std::vector<std::int64_t>(24, 1)};

    const QJsonObject json = toJson(report);
    const QJsonObject activity = json[u"activity"].toObject();

    EXPECT_EQ(
        activity.keys(),
        (QStringList{u"bucketSeconds"_qs, u"received"_qs, u"sent"_qs, u"timeframe"_qs, u"windowStart"_qs}));
    EXPECT_EQ(activity[u"timeframe"].toString(), u"oneDay"_qs);
    EXPECT_EQ(activity[u"windowStart"].toString(), u"2026-05-01T13:00:00Z"_qs);
    EXPECT_EQ(activity[u"bucketSeconds"].toInt(), 3600);
    EXPECT_EQ(activity[u"received"].toArray().size(), 24);
    EXPECT_EQ(activity[u"sent"].toArray().last().toInt(), 1);
    EXPECT_TRUE(statusText(json).contains(u"Activity   Last 1d: 48 received, 24 sent\n"_qs));
}

TEST(StatusReport, TellsALastRunInItsOwnWords)
{
    StatusReport report;
    EXPECT_TRUE(toJson(report)[u"upload"][u"lastRun"].isNull());
    EXPECT_TRUE(toJson(report)[u"upload"][u"mode"].isNull());
    report.upload.mode = upload::StoreUpload::ExecutionMode::single;
    report.upload.last = {
        {.successfulUploads = 12,
         .trouble = upload::StoreUpload::QueueTrouble{{core::FailureClass::notConfirmed, 0}}},
        QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC)};

    const QJsonObject upload = toJson(report)[u"upload"].toObject();
    const QJsonObject run = upload[u"lastRun"].toObject();

    EXPECT_EQ(upload[u"mode"].toString(), u"single"_qs);
    EXPECT_EQ(run[u"finishedAt"].toString(), u"2026-01-02T03:04:05Z"_qs);
    EXPECT_EQ(run[u"successfulUploads"].toInt(), 12);
    EXPECT_TRUE(run[u"missingToken"].isBool());
    EXPECT_EQ(run[u"executionMode"].toString(), u"single"_qs);
    EXPECT_EQ(run[u"endedBy"].toString(), u"notConfirmed"_qs);
}

TEST(StatusReport, ReadsAsAFewLines)
{
    StatusReport report;
    report.listener.state = state::ListenerState::listening;
    report.listener.aeTitle = u"GATE"_qs;
    report.listener.port = 1115;
    report.listener.address = u"10.0.0.1:1115"_qs;
    report.session = {true, u"Radiology"_qs, {account::SessionState::signedIn}};
    report.setup = {false, 1};

    const QString text = statusText(toJson(report));

    EXPECT_TRUE(text.contains(u"GATE on port 1115 (10.0.0.1:1115)"_qs));
    EXPECT_TRUE(text.contains(u"Signed in as Radiology"_qs));
    EXPECT_FALSE(text.contains(u"Setup"_qs));
}

TEST(StatusReport, CallsAListenerListeningOnlyOnceItIs)
{
    using state::ListenerState;
    const auto listener = [](ListenerState state, const QString &failure = {}) {
        StatusReport report;
        report.listener.state = state;
        report.listener.failure = failure;
        const QJsonObject json = toJson(report);
        return json[u"listener"][u"state"].toString() + u'|' + statusText(json).split(u'\n').first().mid(11);
    };

    EXPECT_EQ(listener(ListenerState::stopped), u"stopped|Stopped"_qs);
    EXPECT_EQ(listener(ListenerState::starting), u"starting|Starting"_qs);
    EXPECT_EQ(listener(ListenerState::failed, u"The port is taken."_qs),
              u"failed|Failed: The port is taken."_qs);
}

TEST(StatusReport, SaysThatTheListenerIsComingBack)
{
    StatusReport report;
    report.listener.state = state::ListenerState::restarting;
    report.listener.failure = u"The receiver was ended."_qs;

    const QJsonObject json = toJson(report);

    EXPECT_EQ(json[u"listener"][u"state"].toString(), u"restarting"_qs);
    EXPECT_TRUE(statusText(json).contains(u"Listener   Restarting: The receiver was ended."_qs));
}

TEST(StatusReport, SaysWhatUploadsWaitFor)
{
    StatusReport report;
    EXPECT_FALSE(statusText(toJson(report)).contains(u"Waiting"_qs));

    report.waiting.retries = {3, QDateTime(QDate(2026, 5, 1), QTime(13, 0), Qt::UTC)};

    EXPECT_EQ(toJson(report)[u"waiting"][u"files"].toInt(), 3);
    EXPECT_TRUE(statusText(toJson(report)).contains(u"\nWaiting    files that failed"_qs));
}

TEST(StatusReport, LeavesOpenWhatNobodyKnowsOfTheCloud)
{
    const QJsonObject json = toJson(StatusReport());

    EXPECT_TRUE(json[u"cloud"][u"online"].isNull());
    EXPECT_TRUE(json[u"cloud"][u"lastCheckedAt"].isNull());
    EXPECT_TRUE(json[u"cloud"][u"storage"].isNull());
    EXPECT_TRUE(json[u"terms"][u"required"].isNull());
}

TEST(StatusReport, TellsTheRoomInTheCloudAndWhenItWasAsked)
{
    StatusReport report;
    report.cloud.baseUrl = u"https://cloud.example"_qs;
    report.cloud.isOnline = true;
    report.cloud.lastCheckedAt = QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC);
    report.cloud.storage = {2048.0, 1024.5};

    const QJsonObject json = toJson(report);

    EXPECT_EQ(json[u"cloud"][u"lastCheckedAt"].toString(), u"2026-01-02T03:04:05Z"_qs);
    EXPECT_EQ(json[u"cloud"][u"storage"][u"allowanceKb"].toDouble(), 2048.0);
    EXPECT_EQ(json[u"cloud"][u"storage"][u"usedKb"].toDouble(), 1024.5);
    EXPECT_TRUE(statusText(json).contains(u"https://cloud.example, online, 1.00 MiB of 2.00 MiB used"_qs));
}

TEST(StatusReport, SaysWhatToDoWhileTermsWaitForAnAnswer)
{
    StatusReport report;
    report.terms = {true, u"2"_qs, u"Because."_qs};

    const QJsonObject json = toJson(report);

    EXPECT_TRUE(json[u"terms"][u"required"].toBool());
    EXPECT_EQ(json[u"terms"][u"version"].toString(), u"2"_qs);
    EXPECT_EQ(json[u"terms"][u"reason"].toString(), u"Because."_qs);
    EXPECT_TRUE(statusText(json).contains(u"version 2 must be accepted; run: quorin-gateway terms show"_qs));
}

TEST(StatusReport, SaysWhyImagesWereNotSent)
{
    StatusReport report;
    report.failures = {{{core::FailureClass::storageUsedUp, 7}, 3}};

    EXPECT_TRUE(statusText(toJson(report))
                    .contains(u"Failures   3 not sent: The cloud's storage allowance is used up."_qs));
    EXPECT_FALSE(statusText(toJson(StatusReport())).contains(u"Failures"_qs));
}

TEST(StatusReport, SaysWhatToDoWhileSetupIsNotFinishedAndWhyTheListenerStands)
{
    StatusReport report;
    report.listener.failure = u"No port."_qs;

    const QString text = statusText(toJson(report));

    EXPECT_TRUE(text.contains(u"Stopped: No port."_qs));
    EXPECT_TRUE(text.contains(u"quorin-gateway setup"_qs));
}

} // namespace
} // namespace gateway::terminal
