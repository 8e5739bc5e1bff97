#include "updates/appcast_updater.h"

#include "updates/testing/fake_update_source.h"
#include "updates/testing/updates_world.h"

#include <vector>

namespace gateway::updates::testing {

namespace {

using Phase = AppcastUpdater::Phase;
using std::chrono::hours;
using std::chrono::seconds;

const AppcastItem kItem = FakeSource::item();

struct AppcastUpdaters : UpdatesWorld
{
    ~AppcastUpdaters() override { source.hold(false); }

    Phase phase() const { return updater.standing().phase; }

    void runTo(Phase wanted)
    {
        runUntil([&] { return phase() == wanted; });
    }

    /// Lets a check in the background come to its end.
    void checkInBackground()
    {
        const int before = source.checks;
        updater.checkForUpdatesInBackground();
        runUntil([&] { return source.checks > before; });
        pool.waitUntilIdle();
        main.drain();
    }

    FakeSource source;
    FakeInstaller installer;
    FakeDelegate delegate;
    int shown = 0;
    int relaunches = 0;
    std::vector<UpdateFailure> backgroundFailures;
    AppcastUpdater updater{
        {.delegate = delegate,
         .source = source,
         .installer = installer,
         .defaults = defaults,
         .show = [this](AppcastUpdater &) { ++shown; },
         .relaunch = [this] { ++relaunches; },
         .backgroundFailed =
             [this](const UpdateError &error) { backgroundFailures.push_back(error.failure); }},
        {.main = main, .pool = pool, .clock = clock}};
};

} // namespace

// --- By itself ---------------------------------------------------------------------------------------------

TEST_F(AppcastUpdaters, TellTheDelegateWhatACheckInTheBackgroundFindsAndShowNothing)
{
    checkInBackground();

    ASSERT_EQ(delegate.found.size(), 1U);
    EXPECT_EQ(delegate.found.front(), (UpdateItem{u"2.0 (Winter)"_qs, u"2.0"_qs}));
    EXPECT_EQ(shown, 0);
    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_EQ(source.fetches, 0);
}

TEST_F(AppcastUpdaters, TellNobodyWhenThereIsNothingNewer)
{
    source.found.reset();

    checkInBackground();

    EXPECT_TRUE(delegate.found.empty());
    EXPECT_EQ(phase(), Phase::idle);
}

TEST_F(AppcastUpdaters, TellTheSystemsLogAloneOfAFailureInTheBackground)
{
    source.failure = UpdateFailure::notReachable;

    checkInBackground();

    EXPECT_EQ(backgroundFailures, std::vector{UpdateFailure::notReachable});
    EXPECT_EQ(shown, 0);
    EXPECT_EQ(phase(), Phase::idle);
}

TEST_F(AppcastUpdaters, ShowWhatTheyFindWhereTheDelegateDoesNotRemind)
{
    delegate.isGentle = false;

    checkInBackground();

    EXPECT_EQ(shown, 1);
    EXPECT_EQ(phase(), Phase::available);
}

TEST_F(AppcastUpdaters, CheckOnceADayAsLongAsThatIsOn)
{
    clock.waitForSleepers(1);
    clock.advance(hours(24) - seconds(1));
    main.drain();
    EXPECT_EQ(source.checks, 0);
    clock.advance(seconds(1));
    runUntil([this] { return delegate.found.size() == 1; });
    main.drain();
    clock.waitForSleepers(1);

    updater.setAutomaticallyChecksForUpdates(false);
    clock.advance(hours(24));
    main.drain();
    clock.waitForSleepers(1);

    EXPECT_EQ(source.checks, 1);
}

TEST_F(AppcastUpdaters, KeepWhetherTheyCheckByThemselves)
{
    EXPECT_TRUE(updater.automaticallyChecksForUpdates());
    updater.setAutomaticallyChecksForUpdates(false);
    EXPECT_FALSE(updater.automaticallyChecksForUpdates());

    platform::UserDefaults again{folder.filePath(u"defaults.sqlite"_qs)};
    EXPECT_EQ(again.object(u"GatewayUpdater.AutomaticallyChecks"_qs), QVariant(false));
}

// --- At quitting -------------------------------------------------------------------------------------------

TEST_F(AppcastUpdaters, InstallAtQuittingWhatTheyFoundAndFetchedByThemselves)
{
    installer.byItself = true;
    checkInBackground();
    runUntil([this] { return source.isThere.load(); });
    pool.waitUntilIdle();
    main.drain();
    EXPECT_TRUE(installer.installed.isEmpty());
    EXPECT_EQ(phase(), Phase::idle);

    updater.installOnQuit();

    EXPECT_EQ(installer.installed, QStringList{u"/fetched 2.0"_qs});
    EXPECT_EQ(relaunches, 0);
}

TEST_F(AppcastUpdaters, InstallNothingAtQuittingThatSomebodyMustBeAskedFor)
{
    checkInBackground();

    updater.installOnQuit();

    EXPECT_EQ(source.fetches, 0);
    EXPECT_TRUE(installer.installed.isEmpty());
}

TEST_F(AppcastUpdaters, InstallNothingAtQuittingOnceThatIsSwitchedOff)
{
    installer.byItself = true;
    checkInBackground();
    runUntil([this] { return source.isThere.load(); });
    pool.waitUntilIdle();
    main.drain();
    updater.setAutomaticallyChecksForUpdates(false);

    updater.installOnQuit();

    EXPECT_TRUE(installer.installed.isEmpty());
}

TEST_F(AppcastUpdaters, FetchNothingByThemselvesForAPersonWhoAsked)
{
    installer.byItself = true;

    updater.checkForUpdates();
    runTo(Phase::available);

    EXPECT_EQ(source.fetches, 0);
}

TEST_F(AppcastUpdaters, InstallNothingAtQuittingThatIsNotAllThere)
{
    installer.byItself = true;
    source.failure.reset();
    updater.checkForUpdatesInBackground();
    runUntil([this] { return source.fetches == 1; });
    pool.waitUntilIdle();
    main.drain();
    source.isThere = false; // somebody has cleaned up

    updater.installOnQuit();

    EXPECT_TRUE(installer.installed.isEmpty());
    EXPECT_EQ(backgroundFailures, std::vector{UpdateFailure::ended});
}

TEST_F(AppcastUpdaters, InstallOnceWhatAPersonInstalled)
{
    installer.byItself = true;
    checkInBackground();
    runUntil([this] { return source.isThere.load(); });
    pool.waitUntilIdle();
    main.drain();
    updater.checkForUpdates();
    runTo(Phase::available);
    updater.install();
    runTo(Phase::installed);

    updater.installOnQuit();

    EXPECT_EQ(installer.installed.size(), 1);
}

// --- For a person ------------------------------------------------------------------------------------------

TEST_F(AppcastUpdaters, ShowACheckThatAPersonAskedForAndWhatItFinds)
{
    source.hold(true);
    updater.checkForUpdates();
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(phase(), Phase::checking);

    source.hold(false);
    runTo(Phase::available);

    EXPECT_EQ(updater.standing().item, kItem);
    EXPECT_EQ(delegate.found.size(), 1U);
}

TEST_F(AppcastUpdaters, SayThatThereIsNothingNewer)
{
    source.found.reset();

    updater.checkForUpdates();

    runTo(Phase::upToDate);
}

TEST_F(AppcastUpdaters, SayWhyACheckFailed)
{
    source.failure = UpdateFailure::badSignature;

    updater.checkForUpdates();
    runTo(Phase::failed);

    EXPECT_EQ(updater.standing().error->failure, UpdateFailure::badSignature);
    EXPECT_TRUE(backgroundFailures.empty());
}

TEST_F(AppcastUpdaters, ShowAPersonWhatACheckUnderWayFinds)
{
    source.hold(true);
    updater.checkForUpdatesInBackground();
    runUntil([this] { return source.checks == 1; });
    updater.checkForUpdates();
    source.hold(false);

    runTo(Phase::available);

    EXPECT_EQ(source.checks, 1);
}

TEST_F(AppcastUpdaters, InstallAndRelaunch)
{
    updater.checkForUpdates();
    runTo(Phase::available);
    std::vector<std::pair<Phase, qint64>> seen;
    QObject::connect(&updater, &AppcastUpdater::changed, &updater, [&] {
        seen.emplace_back(phase(), updater.standing().received);
    });

    updater.install();
    runTo(Phase::installed);

    EXPECT_EQ(seen,
              (std::vector<std::pair<Phase, qint64>>{{Phase::fetching, 0},
                                                     {Phase::fetching, 4},
                                                     {Phase::fetching, 9},
                                                     {Phase::installing, 9},
                                                     {Phase::installed, 9}}));
    EXPECT_EQ(installer.installed, QStringList{u"/fetched 2.0"_qs});
    EXPECT_EQ(relaunches, 1);
}

TEST_F(AppcastUpdaters, DoNotRelaunchWhenTheSystemsInstallerHasThePackage)
{
    installer.outcome = PackageInstaller::Outcome::handedOver;
    updater.checkForUpdates();
    runTo(Phase::available);

    updater.install();
    runTo(Phase::handedOver);

    EXPECT_EQ(relaunches, 0);
}

TEST_F(AppcastUpdaters, InstallNothingThatCouldNotBeFetchedAndTryAgain)
{
    updater.checkForUpdates();
    runTo(Phase::available);
    source.failure = UpdateFailure::damaged;
    updater.install();
    runTo(Phase::failed);
    EXPECT_EQ(updater.standing().error->failure, UpdateFailure::damaged);
    EXPECT_TRUE(installer.installed.isEmpty());
    source.failure.reset();

    updater.install();
    runTo(Phase::installed);

    EXPECT_EQ(source.fetches, 2);
}

TEST_F(AppcastUpdaters, SayThatTheInstallationFailed)
{
    installer.failure = UpdateFailure::notWritable;
    updater.checkForUpdates();
    runTo(Phase::available);

    updater.install();
    runTo(Phase::failed);

    EXPECT_EQ(updater.standing().error->failure, UpdateFailure::notWritable);
    EXPECT_EQ(relaunches, 0);
}

TEST_F(AppcastUpdaters, InstallNothingThatNobodyOffered)
{
    updater.install();
    source.found.reset();
    updater.checkForUpdates();
    runTo(Phase::upToDate);
    updater.install();

    EXPECT_EQ(source.fetches, 0);
}

TEST_F(AppcastUpdaters, EndAFetchWhenThePersonSaysLater)
{
    updater.checkForUpdates();
    runTo(Phase::available);
    source.hold(true);
    updater.install();
    runUntil([this] { return source.fetches == 1; });

    updater.dismiss();
    EXPECT_EQ(phase(), Phase::idle);
    source.hold(false);
    pool.waitUntilIdle();
    main.drain();

    EXPECT_EQ(phase(), Phase::idle);
    EXPECT_TRUE(installer.installed.isEmpty());
    EXPECT_EQ(relaunches, 0);
}

TEST_F(AppcastUpdaters, ShowWhatIsUnderWayToAPersonWhoAsksAgain)
{
    updater.checkForUpdates();
    runTo(Phase::available);
    source.hold(true);
    updater.install();
    runUntil([this] { return source.fetches == 1; });

    updater.checkForUpdates();

    EXPECT_EQ(shown, 2);
    EXPECT_EQ(phase(), Phase::fetching);
    EXPECT_EQ(source.checks, 1);
}

TEST_F(AppcastUpdaters, EndWhatIsUnderWayWhenTheyClose)
{
    source.hold(true);
    updater.checkForUpdates();
    runUntil([this] { return source.checks == 1; });
    source.hold(false);

    updater.close();

    EXPECT_EQ(phase(), Phase::checking);
    EXPECT_TRUE(delegate.found.empty());
}

} // namespace gateway::updates::testing
