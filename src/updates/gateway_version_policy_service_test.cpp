#include "updates/gateway_version_policy_service.h"

#include "updates/testing/fake_versions_api.h"
#include "updates/testing/updates_world.h"

namespace gateway::updates::testing {

namespace {

using cloud_client::QrnVersionsResponse;
using log::GatewayLogAction;
using log::GatewayLogLevel;
using log::GatewayLogOutcome;
using std::chrono::days;
using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;
using Details = QMap<QString, QString>;

const QString kCriticalBanner = u"Critical update available. Install update now."_qs;
const QString kOfflineBanner =
    u"Quorin Gateway has not checked for updates for over 30 days. Please connect to the internet."_qs;

struct GatewayVersionPolicy : UpdatesWorld
{
    ~GatewayVersionPolicy() override { api.hold(false); }

    void check() { finish(service.runCheck(u"launch"_qs)); }

    /// Checks, and answers the alert that the check must open.
    void checkAndAnswer(bool accepted)
    {
        const auto task = service.runCheck(u"launch"_qs);
        runUntil([this] { return person.isAsked(); });
        person.answer(accepted);
        finish(task);
    }

    /// Runs the main thread until so many checks have ended and the daily task sleeps.
    void sleepAfterChecks(int count)
    {
        runUntil([&] {
            return log.count(GatewayLogAction::versionPolicyNoUpdate) +
                       log.count(GatewayLogAction::versionPolicyCheckFailed) >=
                   static_cast<std::size_t>(count);
        });
        main.drain();
        clock.waitForSleepers(1);
    }

    std::optional<QDateTime> lastSuccess() { return settings.gatewayUpdatePolicyLastSuccessAt.get(); }
    std::optional<QDateTime> lastFailure() { return settings.gatewayUpdatePolicyLastFailureAt.get(); }

    FakeVersionsAPI api;
    GatewayVersionPolicyService service{{.versionsAPI = api,
                                         .updaterService = updaterService,
                                         .emitter = emitter,
                                         .settings = settings,
                                         .alerts = person,
                                         .showBanner = showBanner()},
                                        {.main = main, .pool = pool, .clock = clock}};
};

} // namespace

// --- A check -----------------------------------------------------------------------------------------------

TEST_F(GatewayVersionPolicy, LogsThatACheckBeginsAndWhatItGives)
{
    api.answer({.nonCritical = true, .unsupportedOS = true});

    check();

    const log::GatewayLogEvent started = last(GatewayLogAction::versionPolicyCheckStarted);
    EXPECT_EQ(started.level, GatewayLogLevel::info);
    EXPECT_EQ(started.category, log::GatewayLogCategory::updater);
    EXPECT_EQ(started.outcome, GatewayLogOutcome::started);
    EXPECT_EQ(started.details, (Details{{u"trigger"_qs, u"launch"_qs}}));
    const log::GatewayLogEvent succeeded = last(GatewayLogAction::versionPolicyCheckSucceeded);
    EXPECT_EQ(succeeded.level, GatewayLogLevel::info);
    EXPECT_EQ(succeeded.category, log::GatewayLogCategory::updater);
    EXPECT_EQ(succeeded.outcome, GatewayLogOutcome::succeeded);
    EXPECT_EQ(succeeded.details,
              (Details{{u"trigger"_qs, u"launch"_qs},
                       {u"critical"_qs, u"false"_qs},
                       {u"nonCritical"_qs, u"true"_qs},
                       {u"unsupportedOS"_qs, u"true"_qs}}));
}

TEST_F(GatewayVersionPolicy, KeepsTheDateOfASuccessAndForgetsTheFailures)
{
    settings.gatewayUpdatePolicyLastFailureAt.set(clock.now());
    clock.advance(hours(1));

    check();

    EXPECT_EQ(lastSuccess(), clock.now());
    EXPECT_EQ(lastFailure(), std::nullopt);
}

TEST_F(GatewayVersionPolicy, KeepsTheDateOfTheFirstFailureOfARow)
{
    api.isAway = true;
    check();
    const QDateTime first = clock.now();
    EXPECT_EQ(lastFailure(), first);
    clock.advance(hours(24));

    check();

    EXPECT_EQ(lastFailure(), first);
    EXPECT_EQ(lastSuccess(), std::nullopt);
}

TEST_F(GatewayVersionPolicy, CountsANewRowOfFailuresFromItsOwnStart)
{
    api.isAway = true;
    check();
    api.isAway = false;
    check();
    clock.advance(hours(24));
    api.isAway = true;

    check();

    EXPECT_EQ(lastFailure(), clock.now());
}

TEST_F(GatewayVersionPolicy, LogsAFailureWithItsNumberAndItsWordsAndShowsNothing)
{
    api.isAway = true;

    check();

    const log::GatewayLogEvent failed = last(GatewayLogAction::versionPolicyCheckFailed);
    EXPECT_EQ(failed.level, GatewayLogLevel::warning);
    EXPECT_EQ(failed.category, log::GatewayLogCategory::updater);
    EXPECT_EQ(failed.outcome, GatewayLogOutcome::failed);
    EXPECT_EQ(failed.details, (Details{{u"trigger"_qs, u"launch"_qs}}));
    ASSERT_TRUE(failed.error);
    EXPECT_EQ(*failed.error,
              (log::GatewayLogError{u"GatewayVersionPolicyService"_qs, 7, u"Nobody answers."_qs}));
    EXPECT_EQ(bannersShown, 0);
    EXPECT_TRUE(person.shown.empty());
}

TEST_F(GatewayVersionPolicy, ChecksOnceForTwoCallsAtATime)
{
    api.hold(true);
    const auto first = service.runCheck(u"launch"_qs);
    const auto second = service.runCheck(u"scheduled_24h"_qs);

    EXPECT_TRUE(second.isReady());
    api.hold(false);
    finish(first);
    EXPECT_EQ(api.checks, 1);
    EXPECT_EQ(log.count(GatewayLogAction::versionPolicyCheckStarted), 1U);
}

// --- What follows from the answer --------------------------------------------------------------------------

TEST_F(GatewayVersionPolicy, TakesTheBannerAwayWhenThereIsNoUpdate)
{
    check();

    EXPECT_EQ(banner, std::nullopt);
    EXPECT_EQ(last(GatewayLogAction::versionPolicyNoUpdate).level, GatewayLogLevel::debug);
    EXPECT_EQ(last(GatewayLogAction::versionPolicyNoUpdate).outcome, GatewayLogOutcome::succeeded);
    EXPECT_FALSE(last(GatewayLogAction::versionPolicyNoUpdate).details);
    EXPECT_EQ(actions(),
              (QStringList{u"version_policy_check_started"_qs,
                           u"version_policy_check_succeeded"_qs,
                           u"version_policy_no_update"_qs}));
}

TEST_F(GatewayVersionPolicy, DoesNoMoreThanLogAnUnsupportedSystem)
{
    api.answer({.unsupportedOS = true});

    check();

    EXPECT_EQ(banner, std::nullopt);
    EXPECT_EQ(log.count(GatewayLogAction::versionPolicyNoUpdate), 1U);
    EXPECT_TRUE(person.shown.empty());
}

TEST_F(GatewayVersionPolicy, ShowsANonCriticalUpdateByTheBannerAlone)
{
    api.answer({.nonCritical = true});

    check();

    EXPECT_EQ(banner,
              u"A new Quorin Gateway version is available. Updates install automatically on quit."_qs);
    const log::GatewayLogEvent detected = last(GatewayLogAction::versionPolicyNonCriticalUpdateDetected);
    EXPECT_EQ(detected.level, GatewayLogLevel::info);
    EXPECT_EQ(detected.outcome, GatewayLogOutcome::succeeded);
    EXPECT_TRUE(person.shown.empty());
    EXPECT_TRUE(updates.checks.isEmpty());
}

TEST_F(GatewayVersionPolicy, PromptsForACriticalUpdate)
{
    api.answer({.critical = true});

    checkAndAnswer(false);

    EXPECT_EQ(banner, kCriticalBanner);
    const log::GatewayLogEvent detected = last(GatewayLogAction::versionPolicyCriticalUpdateDetected);
    EXPECT_EQ(detected.level, GatewayLogLevel::warning);
    EXPECT_EQ(detected.outcome, GatewayLogOutcome::succeeded);
    ASSERT_EQ(person.shown.size(), 1U);
    EXPECT_EQ(
        person.shown.front(),
        (Alert{.style = Alert::Style::informational,
               .title = u"Critical Update Available"_qs,
               .message = u"A critical Quorin Gateway update is available. Installing the update now is "
                          u"strongly recommended."_qs,
               .accept = u"Install Update Now"_qs,
               .dismiss = u"Later"_qs}));
}

TEST_F(GatewayVersionPolicy, TakesCriticalAndNonCriticalForCritical)
{
    api.answer({.critical = true, .nonCritical = true});

    checkAndAnswer(false);

    EXPECT_EQ(banner, kCriticalBanner);
    EXPECT_EQ(log.count(GatewayLogAction::versionPolicyNonCriticalUpdateDetected), 0U);
}

TEST_F(GatewayVersionPolicy, AsksTheUpdaterWhenThePersonWantsTheCriticalUpdate)
{
    api.answer({.critical = true});

    checkAndAnswer(true);

    EXPECT_EQ(updates.checks.last(), u"foreground"_qs);
    EXPECT_EQ(last(GatewayLogAction::updaterCheckRequested).details->value(u"reason"_qs),
              u"critical_policy_prompt"_qs);
}

TEST_F(GatewayVersionPolicy, LeavesTheBannerAndAsksNobodyWhenThePersonSaysLater)
{
    api.answer({.critical = true});

    checkAndAnswer(false);

    EXPECT_EQ(banner, kCriticalBanner);
    EXPECT_TRUE(updates.checks.isEmpty());
}

// --- Throttles ---------------------------------------------------------------------------------------------

TEST_F(GatewayVersionPolicy, PromptsNoSoonerThanSixHoursAfterThePromptBefore)
{
    api.answer({.critical = true});
    checkAndAnswer(false);
    banner.reset();
    clock.advance(hours(5) + minutes(59));

    check();

    EXPECT_EQ(person.shown.size(), 1U);
    EXPECT_EQ(banner, kCriticalBanner);
    EXPECT_EQ(log.count(GatewayLogAction::versionPolicyCriticalUpdateDetected), 2U);
}

TEST_F(GatewayVersionPolicy, PromptsAgainAfterSixHours)
{
    api.answer({.critical = true});
    checkAndAnswer(false);
    clock.advance(hours(6));

    checkAndAnswer(false);

    EXPECT_EQ(person.shown.size(), 2U);
}

TEST_F(GatewayVersionPolicy, KeepsThePromptsDateBeforeItShowsIt)
{
    api.answer({.critical = true});
    const QDateTime asked = clock.now();
    const auto task = service.runCheck(u"launch"_qs);
    runUntil([this] { return person.isAsked(); });

    EXPECT_EQ(settings.gatewayCriticalUpdatePromptLastShownAt.get(), asked);
    clock.advance(hours(2));
    person.answer(false);
    finish(task);

    EXPECT_EQ(settings.gatewayCriticalUpdatePromptLastShownAt.get(), asked);
}

TEST_F(GatewayVersionPolicy, HasTheThrottleOutliveARestart)
{
    settings.gatewayCriticalUpdatePromptLastShownAt.set(clock.now().addSecs(-6 * 3600 + 1));
    api.answer({.critical = true});

    check();

    EXPECT_TRUE(person.shown.empty());
}

TEST_F(GatewayVersionPolicy, StartsNoCheckWhileAnAlertIsOpen)
{
    api.answer({.critical = true});
    const auto open = service.runCheck(u"launch"_qs);
    runUntil([this] { return person.isAsked(); });

    check();

    EXPECT_EQ(api.checks, 1);
    person.answer(false);
    finish(open);
    check();
    EXPECT_EQ(api.checks, 2);
}

// --- Thirty days without an answer -------------------------------------------------------------------------

TEST_F(GatewayVersionPolicy, WarnsThirtyDaysAfterTheLastSuccess)
{
    check();
    api.isAway = true;
    clock.advance(days(30) - seconds(1));
    check();
    EXPECT_TRUE(person.shown.empty());
    EXPECT_EQ(banner, std::nullopt);
    clock.advance(seconds(1));

    checkAndAnswer(true);

    EXPECT_EQ(banner, kOfflineBanner);
    ASSERT_EQ(person.shown.size(), 1U);
    EXPECT_EQ(
        person.shown.front(),
        (Alert{.style = Alert::Style::informational,
               .title = u"Unable to Check for Updates"_qs,
               .message = u"Quorin Gateway was unable to check for updates for over 30 days. Please connect "
                          u"to the internet so updates can be verified."_qs,
               .accept = u"OK"_qs,
               .dismiss = {}}));
    const log::GatewayLogEvent shown = last(GatewayLogAction::versionPolicyOfflineWarningShown);
    EXPECT_EQ(shown.level, GatewayLogLevel::warning);
    EXPECT_EQ(shown.category, log::GatewayLogCategory::updater);
    EXPECT_EQ(shown.outcome, GatewayLogOutcome::succeeded);
    EXPECT_EQ(settings.gatewayOfflineUpdateWarningLastShownAt.get(), clock.now());
}

TEST_F(GatewayVersionPolicy, CountsFromTheFirstFailureWhereItNeverGotAnAnswer)
{
    api.isAway = true;
    check();
    EXPECT_TRUE(person.shown.empty());
    clock.advance(days(30));

    checkAndAnswer(true);

    EXPECT_EQ(log.count(GatewayLogAction::versionPolicyOfflineWarningShown), 1U);
}

TEST_F(GatewayVersionPolicy, CountsFromTheSuccessEvenIfAFailureIsOlder)
{
    settings.gatewayUpdatePolicyLastSuccessAt.set(clock.now().addDays(-1));
    settings.gatewayUpdatePolicyLastFailureAt.set(clock.now().addDays(-60));
    api.isAway = true;

    check();

    EXPECT_TRUE(person.shown.empty());
}

TEST_F(GatewayVersionPolicy, WarnsOnceADayAtMost)
{
    settings.gatewayUpdatePolicyLastSuccessAt.set(clock.now().addDays(-31));
    api.isAway = true;
    checkAndAnswer(true);
    banner.reset();
    clock.advance(hours(24) - seconds(1));
    check();
    EXPECT_EQ(person.shown.size(), 1U);
    EXPECT_EQ(banner, std::nullopt);
    clock.advance(seconds(1));

    checkAndAnswer(true);

    EXPECT_EQ(person.shown.size(), 2U);
}

TEST_F(GatewayVersionPolicy, TakesTheWarningAwayAtTheNextSuccessAndKeepsItsDate)
{
    settings.gatewayUpdatePolicyLastSuccessAt.set(clock.now().addDays(-31));
    api.isAway = true;
    checkAndAnswer(true);
    const QDateTime warned = clock.now();
    clock.advance(hours(1));
    api.isAway = false;

    check();

    EXPECT_EQ(banner, std::nullopt);
    EXPECT_EQ(lastFailure(), std::nullopt);
    EXPECT_EQ(settings.gatewayOfflineUpdateWarningLastShownAt.get(), warned);
}

// --- The daily checks --------------------------------------------------------------------------------------

TEST_F(GatewayVersionPolicy, ChecksAtTheLaunchAndThenEveryDay)
{
    service.start();
    sleepAfterChecks(1);
    EXPECT_EQ(last(GatewayLogAction::versionPolicyCheckStarted).details->value(u"trigger"_qs), u"launch"_qs);
    clock.advance(hours(24) - seconds(1));
    main.drain();
    EXPECT_EQ(api.checks, 1);
    clock.advance(seconds(1));
    sleepAfterChecks(2);
    EXPECT_EQ(last(GatewayLogAction::versionPolicyCheckStarted).details->value(u"trigger"_qs),
              u"scheduled_24h"_qs);
    clock.advance(hours(24));
    sleepAfterChecks(3);

    EXPECT_EQ(api.checks, 3);
}

TEST_F(GatewayVersionPolicy, WaitsAFullDayAfterAFailedCheckToo)
{
    api.isAway = true;
    service.start();
    sleepAfterChecks(1);

    clock.advance(hours(23));
    main.drain();
    EXPECT_EQ(api.checks, 1);
    clock.advance(hours(1));
    sleepAfterChecks(2);

    EXPECT_EQ(api.checks, 2);
}

TEST_F(GatewayVersionPolicy, StartsOnce)
{
    service.start();
    sleepAfterChecks(1);
    service.start();
    main.drain();
    EXPECT_EQ(api.checks, 1);

    clock.advance(hours(24));
    sleepAfterChecks(2);

    EXPECT_EQ(api.checks, 2);
}

TEST_F(GatewayVersionPolicy, ChecksNoMoreOnceStoppedUntilItIsStartedAgain)
{
    service.start();
    sleepAfterChecks(1);
    service.stop();
    clock.advance(hours(48));
    main.drain();
    EXPECT_EQ(api.checks, 1);

    service.start();
    sleepAfterChecks(2);

    EXPECT_EQ(last(GatewayLogAction::versionPolicyCheckStarted).details->value(u"trigger"_qs), u"launch"_qs);
}

TEST_F(GatewayVersionPolicy, HasTheNextDayBeginWhenTheAlertIsAnswered)
{
    service.start();
    sleepAfterChecks(1);
    api.answer({.critical = true});
    clock.advance(hours(24));
    runUntil([this] { return person.isAsked(); });
    clock.advance(hours(30));
    main.drain();
    EXPECT_EQ(api.checks, 2);
    api.answer({});
    person.answer(false);
    main.drain();
    clock.waitForSleepers(1);

    clock.advance(hours(24));
    sleepAfterChecks(2);

    EXPECT_EQ(api.checks, 3);
}

TEST_F(GatewayVersionPolicy, EndsWithAnAlertOpenAndAsksNobody)
{
    api.answer({.critical = true});
    service.start();
    runUntil([this] { return person.isAsked(); });

    service.close();
    person.answer(true);
    main.drain();

    EXPECT_TRUE(updates.checks.isEmpty());
    check();
    EXPECT_EQ(api.checks, 1);
}

TEST_F(GatewayVersionPolicy, EndsWithACheckUnderWayAndAppliesNothing)
{
    api.hold(true);
    static_cast<void>(service.runCheck(u"launch"_qs));
    runUntil([this] { return api.checks == 1; });
    api.hold(false);

    service.close();

    EXPECT_EQ(lastSuccess(), std::nullopt);
    EXPECT_EQ(bannersShown, 0);
}

} // namespace gateway::updates::testing
