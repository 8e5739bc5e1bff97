#include "log/writing/log_line.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <gtest/gtest.h>

namespace gateway::log {

namespace {

GatewayLogEvent bareEvent()
{
    GatewayLogEvent event;
    event.eventId = QStringLiteral("0F0E0D0C-0000-4000-8000-000000000001");
    event.timestamp = QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC);
    event.level = GatewayLogLevel::info;
    event.category = GatewayLogCategory::receive;
    event.action = GatewayLogAction::importSucceeded;
    event.outcome = GatewayLogOutcome::succeeded;
    return event;
}

GatewayLogEvent fullEvent()
{
    GatewayLogEvent event = bareEvent();
    event.correlationId = QStringLiteral("RUN-1");
    event.assocHash = QStringLiteral("1111222233334444");
    event.fileHash = QStringLiteral("00ff00ff00ff00ff");
    event.fileSizeBytes = 0;
    event.attempt = 1;
    event.details = QMap<QString, QString>{{QStringLiteral("b"), QStringLiteral("true")},
                                           {QStringLiteral("a"), QStringLiteral("2")}};
    event.error =
        GatewayLogError{QStringLiteral("AFError"), -9, QStringLiteral("redacted_message_hash=unknown")};
    return event;
}

const QByteArray kBareLine = R"({"action":"import_succeeded","category":"receive",)"
                             R"("eventId":"0F0E0D0C-0000-4000-8000-000000000001","level":"info",)"
                             R"("outcome":"succeeded","timestamp":"2026-01-02T03:04:05Z"})";

const QByteArray kFullLine =
    R"({"action":"import_succeeded","assocHash":"1111222233334444","attempt":1,"category":"receive",)"
    R"("correlationId":"RUN-1","details":{"a":"2","b":"true"},)"
    R"("error":{"code":-9,"domain":"AFError","message":"redacted_message_hash=unknown"},)"
    R"("eventId":"0F0E0D0C-0000-4000-8000-000000000001","fileHash":"00ff00ff00ff00ff","fileSizeBytes":0,)"
    R"("level":"info","outcome":"succeeded","timestamp":"2026-01-02T03:04:05Z"})";

std::optional<GatewayLogEvent> decode(const QByteArray &line)
{
    return LogLineDecoder().decode(line);
}

/// A line whose one fragment stands replaced; fails the test when the fragment isn't there.
QByteArray replaced(const QByteArray &line, const QByteArray &before, const QByteArray &after)
{
    EXPECT_TRUE(line.contains(before)) << before.constData();
    return QByteArray(line).replace(before, after);
}

} // namespace

TEST(LogLine, OfARecordWithoutOptionalDataHasExactlyTheSixMandatoryKeysInSortedOrder)
{
    EXPECT_EQ(encodeLogLine(bareEvent()), kBareLine);
}

TEST(LogLine, OfAFullRecordSortsItsKeysAtEveryLevel)
{
    EXPECT_EQ(encodeLogLine(fullEvent()), kFullLine);
}

TEST(LogLine, WritesAnAttemptOfOneAndASizeOfZero)
{
    const QByteArray line = encodeLogLine(fullEvent());

    EXPECT_TRUE(line.contains(R"("attempt":1,)"));
    EXPECT_TRUE(line.contains(R"("fileSizeBytes":0,)"));
}

TEST(LogLine, WritesInProgressInSnakeCase)
{
    GatewayLogEvent event = bareEvent();
    event.outcome = GatewayLogOutcome::inProgress;

    EXPECT_TRUE(encodeLogLine(event).contains(R"("outcome":"in_progress")"));
}

TEST(LogLine, CutsTheTimeToWholeSecondsInUtc)
{
    GatewayLogEvent event = bareEvent();
    event.timestamp = QDateTime(QDate(2026, 1, 2), QTime(5, 4, 5, 999), Qt::OffsetFromUTC, 7200);

    EXPECT_TRUE(encodeLogLine(event).contains(R"("timestamp":"2026-01-02T03:04:05Z")"));
}

TEST(LogLine, EscapesWhatJsonWantsEscapedAndStaysOneLine)
{
    GatewayLogEvent event = bareEvent();
    event.details =
        QMap<QString, QString>{{QStringLiteral("k\n"), QStringLiteral("\"\\\b\f\n\r\t\u0001\u001f/ä日😀")}};

    const QByteArray line = encodeLogLine(event);

    EXPECT_TRUE(line.contains(R"("details":{"k\n":"\"\\\b\f\n\r\t\u0001\u001f/)"
                              "\xC3\xA4\xE6\x97\xA5\xF0\x9F\x98\x80\"}"));
    EXPECT_FALSE(line.contains('\n'));
    EXPECT_EQ(decode(line), event);
}

TEST(LogLine, IsJsonForAnyReader)
{
    const QJsonDocument document = QJsonDocument::fromJson(encodeLogLine(fullEvent()));

    EXPECT_EQ(document.object().size(), 13);
    EXPECT_EQ(document[QStringLiteral("error")][QStringLiteral("code")].toInt(), -9);
}

TEST(LogLineDecoder, GivesBackWhatWasEncoded)
{
    EXPECT_EQ(decode(kBareLine), bareEvent());
    EXPECT_EQ(decode(kFullLine + '\n'), fullEvent());
}

TEST(LogLineDecoder, GivesBackEveryWordOfEveryEnumeration)
{
    LogLineDecoder decoder;
    for (int index = 0; index <= static_cast<int>(GatewayLogAction::versionPolicyOfflineWarningShown);
         ++index) {
        GatewayLogEvent event = fullEvent();
        event.action = static_cast<GatewayLogAction>(index);
        event.category = static_cast<GatewayLogCategory>(index % 6);
        event.outcome = static_cast<GatewayLogOutcome>(index % 7);
        event.level = static_cast<GatewayLogLevel>(index % 4);
        EXPECT_EQ(decoder.decode(encodeLogLine(event)), event);
    }
}

TEST(LogLineDecoder, RefusesALineWhoseActionIsInNoTable)
{
    EXPECT_EQ(decode(replaced(kBareLine, "import_succeeded", "import_postponed")), std::nullopt);
}

TEST(LogLineDecoder, RefusesALineThatMissesAMandatoryKeyOrHoldsNullUnderIt)
{
    for (const char *key : {"eventId", "timestamp", "level", "category", "action", "outcome"}) {
        const QByteArray quoted = '"' + QByteArray(key) + "\":";
        EXPECT_EQ(decode(replaced(kFullLine, quoted, "\"x\":")), std::nullopt) << key;
        const QByteArray nulled = replaced(kFullLine, quoted, quoted + "null,\"x\":");
        EXPECT_EQ(decode(nulled), std::nullopt) << key;
    }
}

TEST(LogLineDecoder, RefusesValuesOfAnotherKind)
{
    EXPECT_EQ(decode(replaced(kFullLine, R"("attempt":1)", R"("attempt":"1")")), std::nullopt);
    EXPECT_EQ(decode(replaced(kFullLine, R"("attempt":1)", R"("attempt":1.5)")), std::nullopt);
    EXPECT_EQ(decode(replaced(kFullLine, R"("fileSizeBytes":0)", R"("fileSizeBytes":18446744073709551615)")),
              std::nullopt);
    EXPECT_EQ(decode(replaced(kFullLine, R"("a":"2")", R"("a":2)")), std::nullopt);
    EXPECT_EQ(decode(replaced(kFullLine, R"("fileHash":"00ff00ff00ff00ff")", R"("fileHash":[])")),
              std::nullopt);
    EXPECT_EQ(decode(replaced(kFullLine, R"({"a":"2","b":"true"})", R"("a=2")")), std::nullopt);
}

TEST(LogLineDecoder, WantsAllThreeKeysOfAnError)
{
    EXPECT_EQ(decode(replaced(kFullLine, R"("code":-9,)", "")), std::nullopt);
    EXPECT_EQ(decode(replaced(kFullLine, R"("domain":"AFError",)", "")), std::nullopt);
    EXPECT_EQ(decode(replaced(kFullLine, R"(,"message":"redacted_message_hash=unknown")", "")), std::nullopt);
    EXPECT_EQ(decode(replaced(kFullLine, R"("code":-9)", R"("code":"-9")")), std::nullopt);
}

TEST(LogLineDecoder, PassesOverUnknownKeysAndTakesNullForAbsent)
{
    GatewayLogEvent withoutHash = fullEvent();
    withoutHash.fileHash.reset();

    EXPECT_EQ(decode(replaced(kFullLine, R"("level":)", R"("future":{"deep":[1,2]},"level":)")), fullEvent());
    EXPECT_EQ(decode(replaced(kFullLine, R"("fileHash":"00ff00ff00ff00ff")", R"("fileHash":null)")),
              withoutHash);
}

TEST(LogLineDecoder, ReadsASolidusInBothForms)
{
    GatewayLogEvent event = bareEvent();
    event.correlationId = QStringLiteral("a/b");
    const QByteArray plain = encodeLogLine(event);

    EXPECT_EQ(decode(plain), event);
    EXPECT_EQ(decode(replaced(plain, "a/b", R"(a\/b)")), event);
}

TEST(LogLineDecoder, RefusesTimesInAnyOtherForm)
{
    const QByteArray time = "2026-01-02T03:04:05Z";
    for (const char *other : {"2026-01-02T03:04:05",
                              "2026-01-02T03:04:05.1Z",
                              "2026-01-02 03:04:05Z",
                              "2026-13-02T03:04:05Z",
                              "2026-02-30T03:04:05Z",
                              "2026-01-02T24:04:05Z",
                              "2o26-01-02T03:04:05Z",
                              ""}) {
        EXPECT_EQ(decode(replaced(kBareLine, time, other)), std::nullopt) << other;
    }
}

TEST(LogLineDecoder, RefusesAHalfWrittenLineWhereverItEnds)
{
    LogLineDecoder decoder;
    for (qsizetype length = 0; length < kFullLine.size(); ++length) {
        EXPECT_EQ(decoder.decode(QByteArrayView(kFullLine).first(length)), std::nullopt) << length;
    }
    EXPECT_EQ(decoder.decode(kFullLine), fullEvent());
}

TEST(LogLineDecoder, RefusesWhatIsNoObjectAndNoUtf8)
{
    EXPECT_EQ(decode("[]"), std::nullopt);
    EXPECT_EQ(decode("null"), std::nullopt);
    EXPECT_EQ(decode(kBareLine + kBareLine), std::nullopt);
    EXPECT_EQ(decode(replaced(kBareLine, "0F0E", "\xff\xfe")), std::nullopt);
}

} // namespace gateway::log
