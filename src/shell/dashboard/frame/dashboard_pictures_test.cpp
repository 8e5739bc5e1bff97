// The whole window in its main states, at the sizes that it is used at; kept as pictures for whoever asks for
// them.

#include "shell/dashboard/frame/dashboard_view.h"

#include "shell/dashboard/cards/dimse_import_card.h"
#include "shell/dashboard/frame/dashboard_window_controller.h"
#include "shell/dashboard/frame/overview_page.h"
#include "shell/dashboard/imports/import_progress_card.h"
#include "shell/dashboard/testing/dashboard_world.h"
#include "shell/testing/every_look.h"
#include "shell/testing/screen_checks.h"

#include <QtWidgets/QScrollBar>

#include <gtest/gtest.h>

#include <cmath>

namespace gateway::shell {
namespace {

using namespace std::chrono_literals;
using testing::DashboardWorld;

class DashboardPictures : public ::testing::Test
{
protected:
    void TearDown() override { QCoreApplication::removeTranslator(&pseudoLocale); }

    /// Opens the window at a size and lets all figures come in.
    QWidget &open(QSize size = {1180, 860})
    {
        controller.emplace(world.parts());
        controller->show();
        QWidget &window = *controller->window();
        window.setMinimumSize(1000, 700);
        window.resize(size);
        settle();
        return window;
    }

    void settle()
    {
        DashboardWorld::runUntil([this] {
            return !world.cloudStatus.isChecking() && !world.cloudStorage.isLoading() &&
                   world.state.isStorageMeasured();
        });
        for (int i = 0; i < 30; ++i) { // a layout hands its wishes up one level a turn
            QCoreApplication::processEvents();
        }
    }

    /// A working day: what came at which hour, most of it sent.
    void aDay(int failed = 0, int waiting = 0)
    {
        const QDateTime now = world.receive.clock.now();
        for (int hour = 0; hour < 24; ++hour) {
            const double tide = std::max(0.0, std::sin((hour - 4) * 0.19));
            const int count = int(380 * tide * tide) + hour % 5 * 9;
            world.addImages(count, 1, now.addSecs(-3600 * (23 - hour)));
        }
        world.addImages(failed, 2, now.addSecs(-1800));
        world.addImages(waiting, 0, now.addSecs(-60));
        world.index.parents = {118, 590};
    }

    QString clipped() const { return testing::clippedIn(*controller->window()).join(u'\n'); }

    bool scrolls() const { return controller->view()->overview().verticalScrollBar()->maximum() > 0; }

    /// Keeps a picture of the window for whoever asks for them.
    void picture(const QString &name) const
    {
        testing::keepPicture(*controller->window(), u"dashboard-"_qs + name);
    }

    testing::PseudoLocale pseudoLocale;
    DashboardWorld world;
    std::optional<DashboardWindowController> controller;
};

TEST_F(DashboardPictures, EmptyAndSignedOut)
{
    world.startListener();
    open();

    EXPECT_EQ(clipped(), QString());
    EXPECT_FALSE(scrolls());
    picture(u"empty-dark"_qs);
    world.theme.setVariant(Variant::light);
    picture(u"empty-light"_qs);
}

TEST_F(DashboardPictures, Busy)
{
    aDay(0, 214);
    world.startListener();
    world.signIn();
    open();
    world.refreshFigures();
    world.state.beginReceiveAssociation(u"CT1"_qs);
    world.state.recordUploadThroughput(9'300'000, 1s);
    settle();

    EXPECT_EQ(clipped(), QString());
    EXPECT_FALSE(scrolls());
    picture(u"busy-dark"_qs);
    world.theme.setVariant(Variant::light);
    picture(u"busy-light"_qs);
}

TEST_F(DashboardPictures, AListenerThatFailedAndRefusedImages)
{
    aDay(12, 3);
    world.failureFigures = {{{core::FailureClass::tooLarge, 413}, 12}};
    world.startListener();
    world.signIn();
    open();
    world.receive.scps.back()->end(1);
    DashboardWorld::runUntil([this] { return world.listener.state() == state::ListenerState::failed; });
    world.state.setDimseAlertMessage(
        u"Port 11112 is used by another program on this computer. Choose another one in the preferences, or end that program."_qs);
    settle();

    EXPECT_EQ(clipped(), QString());
    EXPECT_FALSE(scrolls());
    picture(u"listener-failed-dark"_qs);
}

TEST_F(DashboardPictures, FailingWithAnImportAndAnUpdate)
{
    aDay(12, 3);
    world.startListener();
    world.signIn();
    world.state.setUpdateBannerMessage(u"Update available: Quorin Gateway 3.2. Choose Check for Updates…"_qs);
    world.actions.checkForUpdates = [] {};
    world.actions.openPreferences = [] {};
    world.actions.openLocalStudies = [] {};
    world.actions.openQuorinCloud = [] {};
    world.heldImports.hold();
    const QString first = world.imports.source(u"a/IM1"_qs, "DICM 1");
    world.imports.source(u"a/IM2"_qs, "DICM 2");
    open();
    world.imports.begin({world.imports.sources() + u"/a"_qs});
    world.heldImports.waitForArrivals(1);
    controller->view()->overview().imports().refresh();
    world.cloud.isAway = true;
    controller->view()->refresh();
    settle();

    EXPECT_EQ(clipped(), QString());
    picture(u"failing-dark"_qs);
    world.cloud.isAway = false;
    controller->view()->refresh();
    settle();
    picture(u"failed-dark"_qs);
    world.heldImports.release();
}

TEST_F(DashboardPictures, AnImportThatPassedFilesOver)
{
    aDay();
    world.startListener();
    world.signIn();
    world.imports.source(u"CD/IM1"_qs, "DICM 1");
    world.imports.source(u"CD/IM2"_qs, "DICM 2");
    world.imports.source(u"CD/README.TXT"_qs, "no image");
    world.imports.source(u"CD/older.zip"_qs, "LOCKED");
    open();
    const QString batch = world.imports.begin({world.imports.sources() + u"/CD"_qs});
    world.imports.awaitEnd(batch);
    controller->view()->overview().imports().refresh();
    settle();

    EXPECT_EQ(clipped(), QString());
    picture(u"imported-dark"_qs);
}

TEST_F(DashboardPictures, ARefusedPasswordAndFilesSetAside)
{
    aDay(0, 40);
    world.startListener();
    world.signIn();
    world.state.setInboxFigures({.setAside = 3, .waiting = 4, .longestWait = std::chrono::minutes(5)});
    open();
    world.account.refusesCredentials = true;
    const auto look = world.auth.refresh(true);
    DashboardWorld::runUntil([&look] { return look.isReady(); });
    settle();

    EXPECT_EQ(clipped(), QString());
    picture(u"refused-dark"_qs);
}

TEST_F(DashboardPictures, TheLogs)
{
    world.startListener();
    open();
    controller->view()->setSelectedScreen(Screen::logs);
    DashboardWorld::runUntil([this] { return world.logs.lastRefreshDate().has_value(); });
    settle();

    EXPECT_EQ(clipped(), QString());
    picture(u"logs-dark"_qs);
}

TEST_F(DashboardPictures, HasRoomInEveryLook)
{
    world.actions.openPreferences = [] {};
    world.actions.openLocalStudies = [] {};
    world.actions.openQuorinCloud = [] {};
    aDay(3, 40);
    world.startListener();
    for (const Screen screen : {Screen::overview, Screen::logs}) {
        const QString name = screen == Screen::overview ? u"dashboard"_qs : u"dashboard-logs"_qs;
        EXPECT_EQ(testing::clippedInEveryLook(name,
                                              {{1180, 860}, {1000, 700}},
                                              [&] {
                                                  QWidget &window = open();
                                                  controller->view()->setSelectedScreen(screen);
                                                  settle();
                                                  return testing::Opened{window, world.theme};
                                              }),
                  "");
    }
}

class AtSize : public DashboardPictures, public ::testing::WithParamInterface<QSize>
{
};

TEST_P(AtSize, ShowsEveryWordWhole)
{
    aDay(3, 40);
    world.startListener();
    open(GetParam());

    EXPECT_EQ(clipped(), QString());
    picture(QStringLiteral("size-%1x%2").arg(GetParam().width()).arg(GetParam().height()));
}

TEST_P(AtSize, ShowsEveryWordWholeInAWordierLanguage)
{
    ASSERT_TRUE(QCoreApplication::installTranslator(&pseudoLocale));
    world.actions.openPreferences = [] {};
    world.actions.openLocalStudies = [] {};
    world.actions.openQuorinCloud = [] {};
    aDay(3, 40);
    world.startListener();
    open(GetParam());

    EXPECT_EQ(clipped(), QString());
    picture(QStringLiteral("wordy-%1x%2").arg(GetParam().width()).arg(GetParam().height()));
}

INSTANTIATE_TEST_SUITE_P(
    Dashboard,
    AtSize,
    ::testing::Values(QSize(1000, 700), QSize(1180, 860), QSize(1920, 1080), QSize(3840, 2160)));

} // namespace
} // namespace gateway::shell
