// The cards of the overview, each over its model.

#include "shell/controls/button.h"
#include "shell/controls/elided_label.h"
#include "shell/controls/state_label.h"
#include "shell/controls/storage_hover_tooltip.h"
#include "shell/controls/storage_usage_ring.h"
#include "shell/controls/text_label.h"
#include "shell/dashboard/cards/card_notice.h"
#include "shell/dashboard/cards/dimse_import_card.h"
#include "shell/dashboard/cards/figure.h"
#include "shell/dashboard/cards/listener_card.h"
#include "shell/dashboard/cards/paragraph.h"
#include "shell/dashboard/cards/sent_items_card.h"
#include "shell/dashboard/cards/status_card.h"
#include "shell/dashboard/cards/storage_figures.h"
#include "shell/dashboard/frame/dashboard_view.h"
#include "shell/dashboard/frame/dashboard_window_controller.h"
#include "shell/dashboard/frame/overview_page.h"
#include "shell/dashboard/testing/dashboard_world.h"
#include "shell/dashboard/testing/shown_figures.h"
#include "shell/testing/screen_checks.h"

#include <QtTest/QTest>
#include <QtWidgets/QLabel>
#include <QtWidgets/QMenu>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

using namespace std::chrono_literals;
using testing::DashboardWorld;

class Cards : public ::testing::Test
{
protected:
    OverviewPage &open()
    {
        controller.emplace(world.parts());
        controller->show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(controller->window(), 30'000));
        settle();
        return controller->view()->overview();
    }

    void settle()
    {
        DashboardWorld::runUntil(
            [this] { return !world.cloudStatus.isChecking() && !world.cloudStorage.isLoading(); });
        QCoreApplication::processEvents();
    }

    void choose(Button *more, const QString &title)
    {
        ASSERT_NE(more, nullptr);
        for (QAction *action : more->menu()->actions()) {
            if (action->text() == title) {
                action->trigger();
                QCoreApplication::processEvents();
                return;
            }
        }
        FAIL() << "no such line";
    }

    static QStringList shownWords(const QWidget &card)
    {
        QStringList words;
        for (const QLabel *label : card.findChildren<QLabel *>()) {
            if (label->isVisible()) {
                words.append(label->text());
            }
        }
        return words;
    }

    QString statusWord() { return controller->view()->overview().status().state().text(); }
    QString listenerWord() { return controller->view()->overview().listener().state().text(); }

    DashboardWorld world;
    std::optional<DashboardWindowController> controller;
};

// --- Quorin Cloud Status -------------------------------------------------------------------------------

TEST_F(Cards, TheCloudIsReadyWhenItAnswersAndSomebodyIsSignedIn)
{
    world.signIn();
    StatusCard &card = open().status();

    EXPECT_EQ(statusWord(), u"READY"_qs);
    EXPECT_EQ(card.account().text(), u"Signed in as St. Anna Radiology"_qs);
    EXPECT_TRUE(card.signOutButton().isVisible());
    EXPECT_FALSE(card.signInButton().isVisible());
}

TEST_F(Cards, TheCloudIsSignedOutWithoutASessionWhetherItAnswersOrNot)
{
    StatusCard &card = open().status();
    EXPECT_EQ(statusWord(), u"SIGNED OUT"_qs);
    EXPECT_EQ(card.account().text(), u"Sign in required"_qs);
    EXPECT_TRUE(card.signInButton().isVisible());
    EXPECT_FALSE(card.signOutButton().isVisible());

    world.cloud.isAway = true;
    card.refreshButton().click();
    settle();

    EXPECT_EQ(statusWord(), u"SIGNED OUT"_qs);
}

TEST_F(Cards, ASessionThatTheCloudEndedIsToldFromSigningOut)
{
    world.signIn();
    StatusCard &card = open().status();
    world.account.endedToken = world.network.token();

    const auto look = world.auth.refresh(true);
    DashboardWorld::runUntil([&look] { return look.isReady(); });

    EXPECT_EQ(statusWord(), u"SESSION ENDED"_qs);
    EXPECT_EQ(card.account().text(), u"Session ended. Sign in again."_qs);
    EXPECT_TRUE(card.signInButton().isVisible());
}

TEST_F(Cards, CredentialsThatAreRefusedAreNotReady)
{
    world.signIn();
    StatusCard &card = open().status();
    world.account.refusesCredentials = true;

    const auto look = world.auth.refresh(true);
    DashboardWorld::runUntil([&look] { return look.isReady(); });

    EXPECT_EQ(statusWord(), u"PASSWORD REFUSED"_qs);
    EXPECT_EQ(card.account().text(), u"User name or password refused"_qs);
    EXPECT_TRUE(card.signInButton().isVisible()) << "the right password can be given at once";
    EXPECT_TRUE(card.signOutButton().isVisible());
    world.addImages(5, 0, world.receive.clock.now());
    world.refreshFigures();
    settle();
    EXPECT_EQ(controller->view()->overview().sent().notice().words().title, u"Waiting for a sign-in"_qs);
}

TEST_F(Cards, TheCloudIsUnreachableWhenItDoesNotAnswerWhoIsSignedIn)
{
    world.signIn();
    world.cloud.isAway = true;

    open();

    EXPECT_EQ(statusWord(), u"UNREACHABLE"_qs);
}

TEST_F(Cards, WhyTheCloudIsUnreachableIsSaidInWordsForPeople)
{
    world.signIn();
    world.cloud.isAway = true;

    StatusCard &card = open().status();

    EXPECT_NE(shownWords(card).filter(u"Nobody answers."_qs), QStringList());
    EXPECT_EQ(shownWords(card).filter(u"AFError"_qs), QStringList());
}

TEST(FirstLook, NobodyIsCalledSignedOutBeforeTheFirstLookAtTheSession)
{
    DashboardWorld world(false);
    world.addImages(5, 0, world.receive.clock.now());
    world.refreshFigures();
    DashboardWindowController controller(world.parts());
    controller.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(controller.window(), 30'000));
    StatusCard &card = controller.view()->overview().status();
    CardNotice &notice = controller.view()->overview().sent().notice();

    EXPECT_EQ(card.state().text(), u"CHECKING"_qs);
    EXPECT_EQ(card.account().text(), u"Checking sign-in status…"_qs);
    EXPECT_FALSE(card.signInButton().isVisible());
    EXPECT_NE(notice.words().title, u"Waiting for a sign-in"_qs);

    world.finish(world.auth.refresh(true));
    QCoreApplication::processEvents();
    EXPECT_EQ(card.state().text(), u"SIGNED OUT"_qs);
    EXPECT_TRUE(card.signInButton().isVisible());
    EXPECT_EQ(notice.words().title, u"Waiting for a sign-in"_qs);
}

TEST_F(Cards, RefreshAsksTheCloudAtOnce)
{
    StatusCard &card = open().status();
    const int pings = world.cloud.pings;

    card.refreshButton().click();
    EXPECT_TRUE(card.refreshButton().isBusy());
    settle();

    EXPECT_EQ(world.cloud.pings, pings + 1);
    EXPECT_FALSE(card.refreshButton().isBusy());
}

TEST_F(Cards, SignInAsksForTheSheetAndSignOutEndsTheSession)
{
    StatusCard &card = open().status();

    card.signInButton().click();
    EXPECT_TRUE(world.state.figures().showSignInSheet);

    world.signIn();
    card.signOutButton().click();
    DashboardWorld::runUntil([this] { return !world.auth.state().isSignedIn(); });
    EXPECT_EQ(card.account().text(), u"Sign in required"_qs);
}

TEST_F(Cards, AnAccountsNameIsNeverReadAsMarkup)
{
    world.account.user.workplaceName = u"<b>Ward</b> & <img src='x'>"_qs;
    world.signIn();
    StatusCard &card = open().status();

    EXPECT_EQ(card.account().text(), u"Signed in as <b>Ward</b> & <img src='x'>"_qs);
    EXPECT_EQ(card.account().textFormat(), Qt::PlainText);
}

// --- DIMSE Listener ------------------------------------------------------------------------------------

TEST_F(Cards, TheListenerShowsReceivingOnlyWhileAnAssociationIsOpen)
{
    ListenerCard &card = open().listener();
    EXPECT_EQ(listenerWord(), u"STOPPED"_qs);
    EXPECT_EQ(card.switchButton().text(), u"Start"_qs);

    world.startListener();
    testing::showFigures();
    EXPECT_EQ(listenerWord(), u"RUNNING"_qs);
    EXPECT_EQ(card.switchButton().text(), u"Stop"_qs);

    world.state.beginReceiveAssociation(u"A"_qs);
    testing::showFigures();
    EXPECT_EQ(listenerWord(), u"RECEIVING"_qs);

    world.state.beginReceiveAssociation(u"B"_qs);
    world.state.endReceiveAssociation(u"A"_qs);
    testing::showFigures();
    EXPECT_EQ(listenerWord(), u"RECEIVING"_qs);

    world.state.endReceiveAssociation(u"B"_qs);
    testing::showFigures();
    EXPECT_EQ(listenerWord(), u"RUNNING"_qs);
}

TEST_F(Cards, AListenerThatIsBeingStartedAgainCanNotBeReached)
{
    world.startListener();
    ListenerCard &card = open().listener();
    const auto callbacks = world.receive.scps.front()->callbacks();

    callbacks.interrupted({platform::StoreSCPInterruption::Cause::ended, 137, u"It was ended."_qs, {}});
    world.receive.settle();
    EXPECT_EQ(listenerWord(), u"RESTARTING"_qs);
    EXPECT_EQ(card.address().text(), u"Modalities can't send now"_qs);
    EXPECT_EQ(card.switchButton().text(), u"Stop"_qs);

    callbacks.resumed();
    world.receive.settle();
    EXPECT_EQ(listenerWord(), u"RUNNING"_qs);
}

TEST_F(Cards, AListenerThatFailedSaysWhyAndLooksUnlikeOneThatWasStopped)
{
    ListenerCard &card = open().listener();
    EXPECT_FALSE(card.failure().isVisible());
    card.switchButton().click();
    EXPECT_TRUE(card.switchButton().isBusy());

    world.receive.scps.back()->end(1);
    DashboardWorld::runUntil([this] { return world.listener.state() == state::ListenerState::failed; });
    world.state.setDimseAlertMessage(u"Port 11112 is taken."_qs);
    testing::showFigures();

    EXPECT_EQ(listenerWord(), u"FAILED"_qs);
    EXPECT_EQ(card.state().color(), Color::red);
    EXPECT_FALSE(card.switchButton().isBusy());
    EXPECT_TRUE(card.failure().isVisible());
    EXPECT_EQ(card.failure().text(), u"Port 11112 is taken."_qs);
    EXPECT_EQ(testing::clippedIn(*controller->window()), QStringList());
}

TEST_F(Cards, TheListenerShowsItsTitleAndItsPort)
{
    ListenerCard &card = open().listener();

    EXPECT_EQ(card.aeTitle().text(), u"QUORIN"_qs);
    EXPECT_EQ(card.port().text(), u"11112"_qs);
}

TEST_F(Cards, TheListenerTellsOfFilesThatWereSetAsideAndElseSaysNothingOfThem)
{
    ListenerCard &card = open().listener();
    EXPECT_FALSE(card.setAside().isVisible());

    world.state.setInboxFigures({.setAside = 3});
    testing::showFigures();
    EXPECT_TRUE(card.setAside().isVisible());
    EXPECT_TRUE(card.setAside().text().contains(u"set aside: 3"_qs));

    world.state.setInboxFigures({});
    testing::showFigures();
    EXPECT_FALSE(card.setAside().isVisible());
}

TEST_F(Cards, TheListenerTellsOfImagesThatAreNotTakenInForMinutesAndOfAStoreOutOfSight)
{
    ListenerCard &card = open().listener();
    world.state.setInboxFigures({.waiting = 4, .longestWait = std::chrono::minutes(4)});
    testing::showFigures();
    EXPECT_FALSE(card.waiting().isVisible());

    world.state.setInboxFigures({.waiting = 4, .longestWait = std::chrono::minutes(5)});
    testing::showFigures();
    EXPECT_TRUE(card.waiting().isVisible());
    EXPECT_TRUE(card.waiting().text().contains(u"not taken in: 4"_qs));

    world.state.setInboxFigures({});
    world.state.setStoreOutOfSight(true);
    testing::showFigures();
    EXPECT_TRUE(card.waiting().isVisible());
    EXPECT_TRUE(card.waiting().text().contains(u"can't be seen"_qs));
}

TEST_F(Cards, TheListenersButtonStartsAndStopsIt)
{
    ListenerCard &card = open().listener();

    card.switchButton().click();
    EXPECT_EQ(listenerWord(), u"STARTING"_qs);
    world.letItListen();
    EXPECT_EQ(listenerWord(), u"RUNNING"_qs);

    card.switchButton().click();
    DashboardWorld::runUntil([this] { return !world.listener.isOn(); });
    EXPECT_EQ(listenerWord(), u"STOPPED"_qs);
}

// --- Received Items ------------------------------------------------------------------------------------

TEST_F(Cards, ReceivedItemsAreCounted)
{
    world.addImages(1234, 1, world.receive.clock.now());
    world.index.parents = {12, 34};
    DimseImportCard &card = open().received();

    EXPECT_EQ(card.studies().text(), u"12"_qs);
    EXPECT_EQ(card.series().text(), u"34"_qs);
    EXPECT_EQ(card.images().text(), u"1,234"_qs);
}

TEST_F(Cards, AmountsAreTakenInUnitsOfTwoToThePowerOfThirty)
{
    EXPECT_EQ(gigabytesText(0), u"0.00 GB"_qs);
    EXPECT_EQ(gigabytesText(1024.0 * 1024 * 1024), u"1.00 GB"_qs);
    EXPECT_EQ(gigabytesText(1.5 * 1024 * 1024 * 1024), u"1.50 GB"_qs);
    EXPECT_EQ(gigabytesText(1e12), u"931.32 GB"_qs);
}

TEST_F(Cards, TheTooltipOfTheLocalStorageTellsUsedAndFree)
{
    StorageFigures &storage = open().received().storage();
    DashboardWorld::runUntil([this] { return world.state.isStorageMeasured(); });
    QCoreApplication::processEvents();

    const state::ReceivedStorageUsage usage = world.state.figures().receivedStorageUsage;
    const QString used = gigabytesText(static_cast<double>(usage.usedBytes));
    const QString free = gigabytesText(static_cast<double>(usage.availableBytes));
    EXPECT_EQ(storage.used().text(), used);
    EXPECT_EQ(storage.free().text(), free);
    EXPECT_EQ(storage.tooltip().text(), u"Used: %1\nFree: %2"_qs.arg(used, free));
}

TEST_F(Cards, TheTooltipShowsOverTheRingAndOverBothValues)
{
    StorageFigures &storage = open().received().storage();
    DashboardWorld::runUntil([this] { return world.state.isStorageMeasured(); });
    QCoreApplication::processEvents();

    for (QWidget *anchor : {static_cast<QWidget *>(&storage.ring()),
                            static_cast<QWidget *>(&storage.used()),
                            static_cast<QWidget *>(&storage.free())}) {
        QEnterEvent enter(QPointF(5, 5), QPointF(5, 5), anchor->mapToGlobal(QPointF(5, 5)));
        QCoreApplication::sendEvent(anchor, &enter);
        EXPECT_TRUE(storage.tooltip().isVisible());
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(anchor, &leave);
        EXPECT_FALSE(storage.tooltip().isVisible());
    }
}

TEST_F(Cards, ARingThatIsNearlyFullNeedsALook)
{
    StorageFigures storage(world.theme, Color::blue, u"Storage"_qs);

    storage.setUsage(30, 70, {});
    EXPECT_DOUBLE_EQ(storage.ring().usedFraction(), 0.3);
    storage.setUsage(0, 0, {});
    EXPECT_DOUBLE_EQ(storage.ring().usedFraction(), 0);
}

TEST_F(Cards, OpensTheLocalStudies)
{
    int opened = 0;
    world.actions.openLocalStudies = [&opened] { ++opened; };
    DimseImportCard &card = open().received();

    choose(card.moreButton(), u"Open Local Studies"_qs);

    EXPECT_EQ(opened, 1);
}

// --- Sent Items ----------------------------------------------------------------------------------------

TEST_F(Cards, SentItemsAreCounted)
{
    world.addImages(5, 1, world.receive.clock.now());
    world.addImages(3, 0, world.receive.clock.now());
    world.addImages(2, 2, world.receive.clock.now());
    SentItemsCard &card = open().sent();

    EXPECT_EQ(card.uploadingInProgress(), 5); // what failed is still to be sent
    EXPECT_EQ(card.uploadedFiles(), 5);
    EXPECT_EQ(card.failedFiles(), 2);
    EXPECT_EQ(card.inProgress().text(), u"5"_qs);
    EXPECT_EQ(card.uploaded().text(), u"5"_qs);
    EXPECT_EQ(card.failed().text(), u"2"_qs);
    EXPECT_EQ(card.speed().text(), u"--"_qs);

    world.state.recordUploadThroughput(1'250'000, 1s);
    QCoreApplication::processEvents();
    EXPECT_EQ(card.speed().text(), u"10.0 Mbps"_qs);
}

TEST_F(Cards, WhyMostUploadsFailIsSaidWithWhatHelps)
{
    using core::FailureClass;
    world.failureFigures = {{{FailureClass::tooLarge, 413}, 3}, {{FailureClass::serviceFault, 500}, 1}};
    world.signIn();
    OverviewPage &page = open();

    world.addImages(4, 2, world.receive.clock.now());
    world.refreshFigures();
    const CardNotice &notice = page.sent().notice();
    DashboardWorld::runUntil([&] { return world.failures.mostFrequent().has_value(); });
    for (int i = 0; i < 30; ++i) { // a layout hands its wishes up one level a turn
        QCoreApplication::processEvents();
    }

    EXPECT_EQ(notice.words().title, u"4 images could not be sent"_qs);
    EXPECT_EQ(notice.words().sentence, core::failureSentence(FailureClass::tooLarge));
    EXPECT_EQ(testing::clippedIn(*controller->window()), QStringList());
    EXPECT_EQ(statusWord(), u"READY"_qs);
    EXPECT_EQ(page.status().state().color(), Color::amber) << "not all is well";
}

TEST_F(Cards, FailuresLeadToTheirStudies)
{
    int opened = 0;
    world.actions.openFailedStudies = [&opened] { ++opened; };
    SentItemsCard &card = open().sent();
    QTest::mouseClick(&card.failed(), Qt::LeftButton);
    EXPECT_EQ(opened, 0) << "there are none";

    world.addImages(2, 2, world.receive.clock.now());
    world.state.refreshCounters();
    QCoreApplication::processEvents();
    QTest::mouseClick(&card.failed(), Qt::LeftButton);
    QTest::keyClick(&card.failed(), Qt::Key_Return);

    EXPECT_EQ(opened, 2);
}

TEST_F(Cards, CloudStorageIsUnknownToWhoIsSignedOut)
{
    StorageFigures &storage = open().sent().storage();

    EXPECT_EQ(storage.tooltip().text(), u"Sign in to load Quorin Cloud storage"_qs);
    EXPECT_EQ(storage.used().text(), u"--"_qs);
    EXPECT_EQ(storage.free().text(), u"--"_qs);
}

TEST_F(Cards, CloudStorageIsLoadedAtSignInAndForgottenAtSignOut)
{
    SentItemsCard &card = open().sent();

    world.signIn();
    DashboardWorld::runUntil([this] { return world.cloudStorage.storageUsage().has_value(); });
    EXPECT_EQ(card.storage().used().text(), u"37.50 GB"_qs);
    EXPECT_EQ(card.storage().free().text(), u"62.50 GB"_qs);
    EXPECT_EQ(card.storage().tooltip().text(), u"Used: 37.50 GB\nFree: 62.50 GB\nTotal: 100.00 GB"_qs);
    EXPECT_DOUBLE_EQ(card.storage().ring().usedFraction(), 0.375);

    world.signOut();
    EXPECT_EQ(card.storage().tooltip().text(), u"Sign in to load Quorin Cloud storage"_qs);
    DashboardWorld::runUntil([this] { return !world.cloudStorage.storageUsage(); });
}

TEST_F(Cards, WhoIsSignedInOpensTheCloudAtOnce)
{
    int opened = 0;
    world.actions.openQuorinCloud = [&opened] { ++opened; };
    world.signIn();
    SentItemsCard &card = open().sent();

    choose(card.moreButton(), u"Open Quorin Cloud"_qs);

    EXPECT_EQ(opened, 1);
    EXPECT_FALSE(card.pendingQuorinCloudOpenAfterSignIn());
    EXPECT_FALSE(world.state.figures().showSignInSheet);
}

TEST_F(Cards, WhoIsSignedOutOpensTheCloudAfterSigningIn)
{
    int opened = 0;
    world.actions.openQuorinCloud = [&opened] { ++opened; };
    SentItemsCard &card = open().sent();

    choose(card.moreButton(), u"Open Quorin Cloud"_qs);
    EXPECT_EQ(opened, 0);
    EXPECT_TRUE(card.pendingQuorinCloudOpenAfterSignIn());
    EXPECT_TRUE(world.state.figures().showSignInSheet);
    ASSERT_NE(world.signInSheet, nullptr);

    world.signIn();
    testing::showFigures();
    EXPECT_EQ(opened, 1);
    EXPECT_FALSE(card.pendingQuorinCloudOpenAfterSignIn());
    EXPECT_FALSE(world.signInSheet->isVisible());

    world.finish(world.auth.refresh(true));
    EXPECT_EQ(opened, 1);
}

TEST_F(Cards, TheCloudStaysClosedWhereTheSignInWasDismissed)
{
    int opened = 0;
    world.actions.openQuorinCloud = [&opened] { ++opened; };
    SentItemsCard &card = open().sent();
    choose(card.moreButton(), u"Open Quorin Cloud"_qs);

    QTest::keyClick(controller->window()->windowHandle(), Qt::Key_Escape);
    QCoreApplication::processEvents();
    EXPECT_FALSE(card.pendingQuorinCloudOpenAfterSignIn());
    world.signIn();

    EXPECT_EQ(opened, 0);
}

TEST_F(Cards, AFailureLeadsToTheLogs)
{
    world.signIn();
    world.addImages(2, 2, world.receive.clock.now());
    SentItemsCard &card = open().sent();
    EXPECT_EQ(card.notice().words().title, u"2 images could not be sent"_qs);

    card.notice().actionButton().click();

    EXPECT_EQ(controller->view()->selectedScreen(), Screen::logs);
}

} // namespace
} // namespace gateway::shell
