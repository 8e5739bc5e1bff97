#include "updates/gateway_updater_service.h"

#include "updates/testing/updates_world.h"

namespace gateway::updates::testing {

namespace {

using log::GatewayLogAction;

using GatewayUpdater = UpdatesWorld;

} // namespace

TEST_F(GatewayUpdater, ChecksOnceInTheBackgroundAtTheLaunch)
{
    updaterService.start();

    EXPECT_EQ(actions(), (QStringList{u"updater_started"_qs, u"updater_check_requested"_qs}));
    EXPECT_EQ(updates.checks, QStringList{u"background"_qs});
    EXPECT_EQ(updates.updatersMade, 1);
}

TEST_F(GatewayUpdater, LogsItsStartAndTheReasonOfEachCheck)
{
    updaterService.start();

    const log::GatewayLogEvent started = last(GatewayLogAction::updaterStarted);
    EXPECT_EQ(started.level, log::GatewayLogLevel::info);
    EXPECT_EQ(started.category, log::GatewayLogCategory::updater);
    EXPECT_EQ(started.outcome, log::GatewayLogOutcome::started);
    EXPECT_FALSE(started.details);
    const log::GatewayLogEvent requested = last(GatewayLogAction::updaterCheckRequested);
    EXPECT_EQ(requested.level, log::GatewayLogLevel::info);
    EXPECT_EQ(requested.category, log::GatewayLogCategory::updater);
    EXPECT_EQ(requested.outcome, log::GatewayLogOutcome::started);
    EXPECT_EQ(requested.details, (QMap<QString, QString>{{u"reason"_qs, u"startup_background"_qs}}));
}

TEST_F(GatewayUpdater, StartsOnce)
{
    updaterService.start();
    updaterService.start();

    EXPECT_EQ(log.count(GatewayLogAction::updaterStarted), 1U);
    EXPECT_EQ(updates.checks.size(), 1);
    EXPECT_EQ(updates.updatersMade, 1);
}

TEST_F(GatewayUpdater, LeavesTheCheckOfTheLaunchOutWhenAutomaticChecksAreOff)
{
    updates.areAutomatic = false;

    updaterService.start();

    EXPECT_EQ(actions(), QStringList{u"updater_started"_qs});
    EXPECT_EQ(updates.checks, QStringList());
}

TEST_F(GatewayUpdater, ChecksForAPersonWhenAutomaticChecksAreOff)
{
    updates.areAutomatic = false;
    updaterService.start();

    updaterService.checkForUpdates(u"manual_menu"_qs);

    EXPECT_EQ(updates.checks, QStringList{u"foreground"_qs});
    EXPECT_EQ(last(GatewayLogAction::updaterCheckRequested).details->value(u"reason"_qs), u"manual_menu"_qs);
}

TEST_F(GatewayUpdater, StartsBeforeACheckThatComesBeforeTheLaunchHasFinished)
{
    updaterService.checkForUpdates(u"critical_policy_prompt"_qs);
    updaterService.start();

    EXPECT_EQ(
        actions(),
        (QStringList{u"updater_started"_qs, u"updater_check_requested"_qs, u"updater_check_requested"_qs}));
    EXPECT_EQ(updates.checks, (QStringList{u"background"_qs, u"foreground"_qs}));
    EXPECT_EQ(last(GatewayLogAction::updaterCheckRequested).details->value(u"reason"_qs),
              u"critical_policy_prompt"_qs);
}

TEST_F(GatewayUpdater, RemindsByTheBannerInPlaceOfAWindow)
{
    EXPECT_TRUE(updaterService.supportsGentleScheduledUpdateReminders());

    updaterService.updaterDidFindValidUpdate(
        {.displayVersionString = u" 3.2 "_qs, .versionString = u"320"_qs});

    EXPECT_EQ(banner, u"Update available: Quorin Gateway 3.2. Choose Check for Updates…"_qs);
}

TEST_F(GatewayUpdater, NamesTheBuildOfAnUpdateWithoutADisplayVersion)
{
    updaterService.updaterDidFindValidUpdate({.displayVersionString = u" \n"_qs, .versionString = u"320"_qs});

    EXPECT_EQ(banner, u"Update available: Quorin Gateway 320. Choose Check for Updates…"_qs);
}

} // namespace gateway::updates::testing
