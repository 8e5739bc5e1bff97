#include "log/writing/store_log_emitter.h"

#include "log/writing/redaction.h"
#include "log/writing/testing/recording_log.h"
#include "platform/concurrency/testing/manual_clock.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::log {

namespace {

struct StoreLogEmitterTest : ::testing::Test
{
    platform::testing::ManualClock clock;
    testing::RecordingLog log;
    StoreLogEmitter emitter{log, clock};
    QTemporaryDir folder;

    QUrl fileOfSize(int size) const
    {
        QFile file(folder.filePath(QStringLiteral("image.dcm")));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(size, 'x'));
        return QUrl::fromLocalFile(file.fileName());
    }
};

} // namespace

TEST_F(StoreLogEmitterTest, GivesEachEventAnIdentityAndTheTimeOfItsMaking)
{
    emitter.emit({.action = GatewayLogAction::importAttempted});
    clock.advance(std::chrono::seconds(2));
    emitter.emit({.action = GatewayLogAction::importAttempted});

    const auto events = log.events();
    ASSERT_EQ(events.size(), 2U);
    EXPECT_NE(events[0].eventId, events[1].eventId);
    EXPECT_EQ(events[0].timestamp.secsTo(events[1].timestamp), 2);
    EXPECT_EQ(events[1].timestamp, clock.now());
}

TEST_F(StoreLogEmitterTest, PassesAnEmptyMapAsAbsent)
{
    emitter.emit({.action = GatewayLogAction::importAttempted});

    EXPECT_EQ(log.events().at(0).details, std::nullopt);
    EXPECT_EQ(log.events().at(0).fileHash, std::nullopt);
    EXPECT_EQ(log.events().at(0).fileSizeBytes, std::nullopt);
}

TEST_F(StoreLogEmitterTest, TurnsTheFileIntoItsHashAndItsSize)
{
    const QUrl file = fileOfSize(7);

    emitter.emit({.action = GatewayLogAction::importAttempted, .fileURL = file});

    EXPECT_EQ(log.events().at(0).fileHash, hashedFileURL(file));
    EXPECT_EQ(log.events().at(0).fileSizeBytes, 7);
    EXPECT_FALSE(textForm(log.events().at(0)).contains(QStringLiteral("image")));
}

TEST_F(StoreLogEmitterTest, TakesASizeThatTheServiceKnowsInsteadOfTheFiles)
{
    emitter.emit(
        {.action = GatewayLogAction::uploadAttemptStarted, .fileURL = fileOfSize(7), .fileSizeBytes = 3});

    EXPECT_EQ(log.events().at(0).fileSizeBytes, 3);
}

TEST_F(StoreLogEmitterTest, CarriesEverythingElseAsGiven)
{
    const GatewayLogError error{QStringLiteral("D"), 4, QStringLiteral("m")};

    emitter.emit({.level = GatewayLogLevel::error,
                  .category = GatewayLogCategory::send,
                  .action = GatewayLogAction::uploadAttemptFailed,
                  .outcome = GatewayLogOutcome::failed,
                  .correlationId = QStringLiteral("RUN"),
                  .assocHash = QStringLiteral("HASH"),
                  .attempt = 1,
                  .details = {{QStringLiteral("k"), QStringLiteral("v")}},
                  .error = error});

    const GatewayLogEvent event = log.events().at(0);
    EXPECT_EQ(event.level, GatewayLogLevel::error);
    EXPECT_EQ(event.category, GatewayLogCategory::send);
    EXPECT_EQ(event.action, GatewayLogAction::uploadAttemptFailed);
    EXPECT_EQ(event.outcome, GatewayLogOutcome::failed);
    EXPECT_EQ(event.correlationId, QStringLiteral("RUN"));
    EXPECT_EQ(event.assocHash, QStringLiteral("HASH"));
    EXPECT_EQ(event.attempt, 1);
    EXPECT_EQ(event.details->value(QStringLiteral("k")), QStringLiteral("v"));
    EXPECT_EQ(event.error, error);
}

} // namespace gateway::log
