#include "shell/dashboard/frame/dashboard_view.h"

#include "shell/controls/button.h"
#include "shell/controls/card.h"
#include "shell/controls/text_label.h"
#include "shell/dashboard/cards/dimse_import_card.h"
#include "shell/dashboard/cards/drop_area.h"
#include "shell/dashboard/cards/listener_card.h"
#include "shell/dashboard/cards/sent_items_card.h"
#include "shell/dashboard/cards/status_card.h"
#include "shell/dashboard/frame/dashboard_header.h"
#include "shell/dashboard/frame/dashboard_sidebar.h"
#include "shell/dashboard/frame/dashboard_window_controller.h"
#include "shell/dashboard/frame/overview_page.h"
#include "shell/dashboard/frame/update_banner.h"
#include "shell/dashboard/testing/dashboard_world.h"
#include "shell/dashboard/testing/shown_figures.h"
#include "shell/log/log_screen.h"
#include "shell/testing/screen_checks.h"
#include "shell/windows/screen_room.h"
#include "state/update_banner.h"

#include <QtGui/QAccessible>
#include <QtGui/QWindow>
#include <QtTest/QTest>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QVBoxLayout>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

using testing::DashboardWorld;

class Dashboard : public ::testing::Test
{
protected:
    /// Opens the window and waits until it has the keyboard.
    DashboardView &open()
    {
        controller.emplace(world.parts());
        controller->show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(controller->window(), 30'000));
        settle();
        return *controller->view();
    }

    void settle()
    {
        DashboardWorld::runUntil(
            [this] { return !world.cloudStatus.isChecking() && !world.cloudStorage.isLoading(); });
        QCoreApplication::processEvents();
    }

    void press(int key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(controller->window()->windowHandle(), Qt::Key(key), modifiers);
        QCoreApplication::processEvents();
    }

    template <typename Widget>
    Widget &the() const
    {
        return *controller->view()->findChild<Widget *>();
    }

    /// The button with these words that can be seen; null without one.
    QAbstractButton *button(const QString &words) const
    {
        const QList<QAbstractButton *> all = controller->window()->findChildren<QAbstractButton *>();
        for (QAbstractButton *each : all) {
            if (each->isVisible() && each->text() == words) {
                return each;
            }
        }
        return nullptr;
    }

    /// Whether the file store is measured once more than that.
    bool measuresSince(int before)
    {
        return QTest::qWaitFor(
            [&] {
                world.receive.clock.advance(std::chrono::seconds(2));
                return world.index.measurements > before;
            },
            30'000);
    }

    QString title() const { return the<DashboardHeader>().findChild<TextLabel *>()->text(); }

    DashboardWorld world;
    std::optional<DashboardWindowController> controller;
};

TEST_F(Dashboard, IsAWindowOfItsOwnNameAndSize)
{
    open();

    EXPECT_EQ(controller->window()->windowTitle(), u"Quorin Gateway"_qs);
    EXPECT_EQ(controller->window()->size(), QSize(1180, 860).boundedTo(roomForContent().size()));
}

TEST_F(Dashboard, ShowingAWindowThatIsAlreadyVisibleCreatesNoSecondOne)
{
    const DashboardView *first = &open();

    controller->show();

    EXPECT_EQ(controller->view(), first);
}

TEST_F(Dashboard, StartsAtTheOverview)
{
    DashboardView &view = open();

    EXPECT_EQ(view.selectedScreen(), Screen::overview);
    EXPECT_TRUE(view.overview().isVisible());
    EXPECT_FALSE(the<LogScreen>().isVisible());
    EXPECT_EQ(title(), u"Quorin Gateway"_qs);
    EXPECT_TRUE(the<DashboardSidebar>().entry(Screen::overview).isChecked());
}

TEST_F(Dashboard, GoesToTheLogsBySidebarAndByHeader)
{
    DashboardView &view = open();

    QTest::mouseClick(&the<DashboardSidebar>().entry(Screen::logs), Qt::LeftButton);
    EXPECT_EQ(view.selectedScreen(), Screen::logs);
    EXPECT_TRUE(the<LogScreen>().isVisible());
    EXPECT_EQ(title(), u"Transfer event logs"_qs);
    EXPECT_EQ(button(u"View Logs"_qs), nullptr);

    QTest::mouseClick(&the<DashboardSidebar>().entry(Screen::overview), Qt::LeftButton);
    EXPECT_EQ(view.selectedScreen(), Screen::overview);

    QTest::mouseClick(button(u"View Logs"_qs), Qt::LeftButton);
    EXPECT_EQ(view.selectedScreen(), Screen::logs);
    EXPECT_TRUE(the<DashboardSidebar>().entry(Screen::logs).isChecked());
}

TEST_F(Dashboard, KeepsTheChosenScreenWhileItsWindowIsClosed)
{
    DashboardView &view = open();
    view.setSelectedScreen(Screen::logs);
    controller->window()->close();

    controller->show();

    EXPECT_EQ(controller->view(), &view);
    EXPECT_EQ(view.selectedScreen(), Screen::logs);
    EXPECT_TRUE(the<LogScreen>().isVisible());
}

TEST_F(Dashboard, ArrowKeysGoFromEntryToEntry)
{
    DashboardView &view = open();
    the<DashboardSidebar>().entry(Screen::overview).setFocus(Qt::TabFocusReason);

    press(Qt::Key_Down);

    EXPECT_EQ(view.selectedScreen(), Screen::logs);
}

TEST_F(Dashboard, OffersNothingThatLeadsNowhere)
{
    open();

    EXPECT_EQ(button(u"Preferences"_qs), nullptr);
    EXPECT_EQ(button(u"More"_qs), nullptr);
}

TEST_F(Dashboard, OpensThePreferencesByButtonAndByKey)
{
    int opened = 0;
    world.actions.openPreferences = [&opened] { ++opened; };
    open();

    QTest::mouseClick(button(u"Preferences"_qs), Qt::LeftButton);
    EXPECT_EQ(opened, 1);

    press(Qt::Key_Comma, Qt::ControlModifier);
    EXPECT_EQ(opened, 2);
}

TEST_F(Dashboard, ReadsCountersAndSeriesWhenItAppears)
{
    world.addImages(7, 1, world.receive.clock.now());

    open();

    EXPECT_EQ(world.state.figures().receivedImagesCount, 7);
    EXPECT_EQ(world.state.figures().transferReceivedSeries.back(), 7);
    EXPECT_GT(world.cloud.pings, 0);
}

TEST_F(Dashboard, ReadsEverythingAnewOnF5)
{
    open();
    world.addImages(3, 0, world.receive.clock.now());
    const int pings = world.cloud.pings;

    press(Qt::Key_F5);
    settle();

    EXPECT_EQ(world.state.figures().receivedImagesCount, 3);
    EXPECT_EQ(world.cloud.pings, pings + 1);
}

TEST_F(Dashboard, MeasuresTheStorageWhenTheApplicationBecomesActive)
{
    open();
    world.restMeasurements();
    const int before = world.index.measurements;

    Q_EMIT qApp->applicationStateChanged(Qt::ApplicationInactive);
    EXPECT_EQ(world.index.measurements, before);
    Q_EMIT qApp->applicationStateChanged(Qt::ApplicationActive);

    EXPECT_TRUE(measuresSince(before));
}

TEST_F(Dashboard, MeasuresTheStorageWhenAnyWindowOfItsTitleGetsTheKeyboard)
{
    open();
    QWindow namesake;
    namesake.setTitle(u"Quorin Gateway"_qs);
    QWindow other;
    other.setTitle(u"Other"_qs);
    world.restMeasurements();
    const int before = world.index.measurements;

    Q_EMIT qApp->focusWindowChanged(&other);
    Q_EMIT qApp->focusWindowChanged(nullptr);
    EXPECT_EQ(world.index.measurements, before);
    Q_EMIT qApp->focusWindowChanged(&namesake);

    EXPECT_TRUE(measuresSince(before));
}

TEST_F(Dashboard, EscapeClosesTheWindow)
{
    open();

    press(Qt::Key_Escape);

    EXPECT_FALSE(controller->window()->isVisible());
}

TEST_F(Dashboard, ShowsTheBannerOfAnUpdateForAsLongAsThereIsOne)
{
    int checks = 0;
    world.actions.checkForUpdates = [&checks] { ++checks; };
    open();
    auto &banner = the<UpdateBanner>();
    EXPECT_FALSE(banner.isVisible());

    world.state.setUpdateBannerMessage(state::criticalUpdateBanner());
    testing::showFigures();
    EXPECT_TRUE(banner.isVisible());
    EXPECT_EQ(banner.message(), u"Critical update available. Install update now."_qs);
    QTest::mouseClick(button(u"Check for Updates…"_qs), Qt::LeftButton);
    EXPECT_EQ(checks, 1);

    world.state.setUpdateBannerMessage(std::nullopt);
    testing::showFigures();
    EXPECT_FALSE(banner.isVisible());
}

TEST_F(Dashboard, OpensTheSignInSheetWhileItIsAskedFor)
{
    open();
    EXPECT_EQ(world.signInSheet, nullptr);

    world.state.setShowSignInSheet(true);
    testing::showFigures();
    ASSERT_NE(world.signInSheet, nullptr);
    EXPECT_TRUE(world.signInSheet->isVisible());

    world.state.setShowSignInSheet(false);
    testing::showFigures();
    EXPECT_FALSE(world.signInSheet->isVisible());
}

TEST_F(Dashboard, NoticesThatTheSignInSheetWasDismissed)
{
    open();
    world.state.setShowSignInSheet(true);
    testing::showFigures();

    press(Qt::Key_Escape);

    EXPECT_FALSE(world.signInSheet->isVisible());
    EXPECT_FALSE(world.state.figures().showSignInSheet);
    EXPECT_TRUE(controller->window()->isVisible());

    world.state.setShowSignInSheet(true);
    testing::showFigures();
    EXPECT_TRUE(world.signInSheet->isVisible());
}

TEST_F(Dashboard, OpensASignInSheetThatWasAskedForBeforeItWasShown)
{
    world.state.setShowSignInSheet(true);

    open();

    ASSERT_NE(world.signInSheet, nullptr);
    EXPECT_TRUE(world.signInSheet->isVisible());
}

TEST_F(Dashboard, KeepsTheSignInSheetAskedForWhileItsWindowIsMinimised)
{
    open();
    world.state.setShowSignInSheet(true);
    QCoreApplication::processEvents();

    controller->window()->hide();
    EXPECT_TRUE(world.state.figures().showSignInSheet);

    controller->show();
    EXPECT_TRUE(world.signInSheet->isVisible());
}

TEST_F(Dashboard, TabGoesInReadingOrder)
{
    world.actions.openPreferences = [] {};
    world.actions.openLocalStudies = [] {};
    world.actions.openQuorinCloud = [] {};
    DashboardView &view = open();
    controller->window()->setMinimumSize(0, 0);
    controller->window()->resize(1180, 1000);
    settle();
    ASSERT_TRUE(view.overview().hasTwoColumns());
    const std::vector<QWidget *> wanted{&the<DashboardSidebar>().entry(Screen::overview),
                                        button(u"View Logs"_qs),
                                        button(u"Preferences"_qs),
                                        button(u"Manual Upload"_qs),
                                        &view.overview().listener().switchButton(),
                                        &view.overview().status().refreshButton(),
                                        &view.overview().status().signInButton(),
                                        view.overview().received().moreButton(),
                                        nullptr, // the ring
                                        &view.overview().received().dropArea(),
                                        view.overview().sent().moreButton()};
    wanted[0]->setFocus(Qt::TabFocusReason);

    for (std::size_t i = 1; i < wanted.size(); ++i) {
        press(Qt::Key_Tab);
        QWidget *const focus = controller->window()->focusWidget();
        ASSERT_NE(focus, nullptr);
        if (wanted[i] != nullptr) {
            EXPECT_EQ(focus, wanted[i]) << i << ' ' << focus->metaObject()->className();
        }
    }
}

TEST_F(Dashboard, TabGoesFromTopToBottomWhereThereIsOneColumn)
{
    testing::PseudoLocale wordy;
    ASSERT_TRUE(QCoreApplication::installTranslator(&wordy));
    world.actions.openQuorinCloud = [] {};
    DashboardView &view = open();
    controller->window()->resize(1000, 700);
    settle();
    QCoreApplication::removeTranslator(&wordy);
    ASSERT_FALSE(view.overview().hasTwoColumns());

    std::vector<int> tops;
    QWidget *const first = &view.overview().listener().switchButton();
    for (QWidget *next = first->nextInFocusChain(); next != first; next = next->nextInFocusChain()) {
        if (view.overview().isAncestorOf(next) && next->isVisible() &&
            next->focusPolicy() == Qt::StrongFocus) {
            tops.push_back(next->mapTo(view.overview().widget(), QPoint()).y());
        }
    }

    ASSERT_GT(tops.size(), 4u);
    EXPECT_TRUE(std::is_sorted(tops.begin(), tops.end()));
}

TEST_F(Dashboard, EverythingThatTheKeyboardReachesHasANameForAssistiveTools)
{
    world.actions.openPreferences = [] {};
    world.actions.openLocalStudies = [] {};
    world.actions.openQuorinCloud = [] {};
    world.actions.checkForUpdates = [] {};
    open();

    const QList<QWidget *> all = controller->window()->findChildren<QWidget *>();
    int stops = 0;
    for (QWidget *widget : all) {
        if (widget->isVisible() && (widget->focusPolicy() & Qt::TabFocus) != 0) {
            ++stops;
            const QAccessibleInterface *told = QAccessible::queryAccessibleInterface(widget);
            ASSERT_NE(told, nullptr);
            EXPECT_FALSE(told->text(QAccessible::Name).isEmpty()) << widget->metaObject()->className();
        }
    }
    EXPECT_GT(stops, 10);
}

TEST_F(Dashboard, CardsHaveTheNamesThatStandOnThem)
{
    open();

    QStringList names;
    const QList<Card *> cards = controller->view()->overview().findChildren<Card *>();
    for (const Card *card : cards) {
        if (card->isVisible()) {
            names.append(card->accessibleName());
        }
    }
    names.sort();
    EXPECT_EQ(names,
              (QStringList{u"DIMSE Listener"_qs,
                           u"Quorin Cloud Status"_qs,
                           u"Received Items"_qs,
                           u"Sent Items"_qs,
                           u"Transfer Activity"_qs}));
}

/// Counts what a window has to do.
class Work : public QObject
{
public:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        const QEvent::Type type = event->type();
        if (watched->isWidgetType() && (type == QEvent::LayoutRequest || type == QEvent::Paint)) {
            ++count;
        }
        return false;
    }

    int count = 0;
};

TEST_F(Dashboard, DoesNothingWhileNothingHappens)
{
    world.addImages(4, 2, world.receive.clock.now());
    world.startListener();
    open();
    world.restMeasurements();
    Work work;
    qApp->installEventFilter(&work);

    // What opening has begun takes its time on a busy machine; what goes on for ever is never quiet.
    constexpr int kRounds = 100;
    for (int round = 0; round == 0 || (work.count > 0 && round < kRounds); ++round) {
        for (int i = 0; i < 20; ++i) {
            settle();
        }
        work.count = 0;
        for (int i = 0; i < 20; ++i) {
            QCoreApplication::processEvents();
        }
    }

    EXPECT_EQ(work.count, 0);
}

TEST_F(Dashboard, TheRailGivesItsWordsUpWhereTheCardsNeedTheRoom)
{
    open();
    controller->window()->setMinimumSize(0, 0);

    controller->window()->resize(1000, 700);
    EXPECT_TRUE(the<DashboardSidebar>().isNarrow());
    EXPECT_EQ(the<DashboardSidebar>().entry(Screen::logs).toolTip(), u"Logs"_qs);

    controller->window()->resize(1400, 700);
    EXPECT_FALSE(the<DashboardSidebar>().isNarrow());
    EXPECT_EQ(the<DashboardSidebar>().entry(Screen::logs).toolTip(), QString());
}

TEST_F(Dashboard, TheHeadCutsNoWordsInASmallWindow)
{
    testing::PseudoLocale wordy;
    QCoreApplication::installTranslator(&wordy);
    QWidget window;
    auto *column = new QVBoxLayout(&window);
    auto *head = new DashboardHeader(world.theme, true);
    column->addWidget(head);
    column->addWidget(new QWidget, 1);
    for (const int width : {480, 640, 1180}) {
        window.resize(width, 600);
        window.show();
        settle();

        EXPECT_EQ(testing::clippedIn(*head), QStringList()) << width;
        for (const QWidget *part : head->findChildren<QWidget *>()) {
            EXPECT_TRUE(head->rect().contains(part->geometry())) << width;
        }
    }
}

} // namespace
} // namespace gateway::shell
