// The panel over the real models, on a manual clock.

#include "shell/tray/quorin_gateway_menu_view.h"

#include "account/quorin_auth_view_model.h"
#include "account/quorin_cloud_status_view_model.h"
#include "account/testing/account_world.h"
#include "account/testing/fake_status_api.h"
#include "core/notification_names.h"
#include "receive/dimse_listener_view_model.h"
#include "receive/testing/receive_world.h"
#include "shell/controls/button.h"
#include "shell/controls/state_label.h"
#include "shell/controls/switch.h"
#include "shell/controls/symbol_tile.h"
#include "shell/dashboard/testing/shown_figures.h"
#include "shell/testing/every_look.h"
#include "shell/testing/screen_checks.h"
#include "shell/theme/theme.h"
#include "shell/tray/panel_group.h"
#include "shell/tray/panel_rows.h"
#include "state/testing/state_world.h"

#include <QtGui/QTextDocument>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QMenu>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace gateway::shell {
namespace {

struct Panel : account::testing::AccountWorld
{
    Panel()
    {
        service.user.email = QStringLiteral("ann@site.example");
        theme.setReducedMotion(true);
        theme.applyTo(*qApp);
        for (const QString &name : {core::kOpenDashboard,
                                    core::kOpenSignIn,
                                    core::kOpenPreferences,
                                    core::kOpenBugReport,
                                    core::kOpenSetupWizard,
                                    core::kCheckForUpdatesRequested}) {
            m_observers.push_back(
                receive.notifications.observe(name, [this, name](const QVariantMap &) { asked += name; }));
        }
    }

    ~Panel() override
    {
        api.hold(false);
        service.release();
    }

    QuorinGatewayMenuView &panel()
    {
        if (m_panel == nullptr) {
            m_panel = std::make_unique<QuorinGatewayMenuView>(
                MenuViewParts{theme,
                              live.state(),
                              auth,
                              status,
                              listener,
                              receive.notifications,
                              main,
                              pool,
                              {[this] { asked += QStringLiteral("account"); },
                               sendFeedback,
                               [this] { asked += QStringLiteral("about"); },
                               [this] { asked += QStringLiteral("quit"); }}});
        }
        return *m_panel;
    }

    /// Shows the panel and lets its questions be answered.
    void open()
    {
        panel().show();
        runUntil([this] { return line(u"Checking") == nullptr; });
    }

    /// Lets layouts that follow from each other find their end.
    static void settle()
    {
        for (int turn = 0; turn < 4; ++turn) {
            QCoreApplication::processEvents();
        }
    }

    void discard() { m_panel.reset(); }

    void finishSetup()
    {
        receive.settings.gatewaySetupVersion.set(1);
        receive.settings.gatewaySetupCompleted.set(true);
    }

    void signIn() { finish(auth.signIn(*service.user.email, service.password)); }

    /// The line whose words begin so; null where none is seen.
    const PanelLine *line(QStringView beginning)
    {
        for (const PanelLine *line : panel().findChildren<PanelLine *>()) {
            if (line->text().startsWith(beginning)) {
                return line;
            }
        }
        return nullptr;
    }

    /// The button with this title; null where none is seen.
    Button *button(const QString &title)
    {
        for (Button *button : panel().findChildren<Button *>()) {
            if (button->text() == title && button->isVisibleTo(&panel())) {
                return button;
            }
        }
        return nullptr;
    }

    /// The seen label with this text; null where there is none.
    QLabel *label(const QString &text)
    {
        for (QLabel *label : panel().findChildren<QLabel *>()) {
            if (label->text() == text && label->isVisibleTo(&panel())) {
                return label;
            }
        }
        return nullptr;
    }

    QStringList figures()
    {
        QStringList texts;
        for (const FigureRow *row : panel().findChildren<FigureRow *>()) {
            texts += row->figureText();
        }
        return texts;
    }

    Switch &listenerSwitch() { return *panel().findChild<Switch *>(); }
    QString listenerState() { return panel().findChild<StateLabel *>()->text(); }

    Theme theme;
    receive::testing::ReceiveWorld receive;
    state::testing::StateWorld live;
    account::testing::FakeStatusAPI api;
    account::QuorinAuthViewModel auth{
        {service, service, settings, defaults, receive.notifications, main, pool, clock},
        QStringLiteral("3.1.0")};
    account::QuorinCloudStatusViewModel status{{api, main, pool, clock}};
    receive::DimseListenerViewModel listener{
        {receive.defaults, receive.settings, receive.notifications, *receive.service, receive.inbox()}};
    QStringList asked;
    std::function<void()> sendFeedback = [this] { asked += QStringLiteral("feedback"); };

private:
    std::vector<platform::NotificationCenter::Token> m_observers;
    std::unique_ptr<QuorinGatewayMenuView> m_panel;
};

TEST_F(Panel, HasItsSizeAndItsName)
{
    EXPECT_EQ(panel().size(), QSize(340, 500));
    EXPECT_NE(label(QStringLiteral("Quorin Gateway")), nullptr);
}

TEST_F(Panel, SaysThatItChecksUntilTheSessionWasLookedAt)
{
    const PanelLine *account = line(u"Checking sign-in status…");

    ASSERT_NE(account, nullptr);
    EXPECT_TRUE(account->isBusy());
    EXPECT_NE(label(QStringLiteral("Checking…")), nullptr);
    for (const char *title : {"Sign in", "Manage", "Sign out"}) {
        EXPECT_EQ(button(QString::fromLatin1(title)), nullptr) << title;
    }
}

TEST_F(Panel, GoesOnCheckingWhileTheFirstLookIsUnderWay)
{
    settings.setToken(QStringLiteral("a token"));
    service.hold(QStringLiteral("tokenExpiration"));

    panel().show();
    reach(QStringLiteral("tokenExpiration"), 1);
    EXPECT_NE(line(u"Checking sign-in status…"), nullptr);

    service.release();
    runUntil([this] { return auth.signedInLabel().has_value(); });
    EXPECT_NE(line(u"Signed in as"), nullptr);
}

TEST_F(Panel, AsksToSignIn)
{
    open();

    const PanelLine *account = line(u"Sign in required");
    ASSERT_NE(account, nullptr);
    EXPECT_EQ(account->symbol(), QStringLiteral("lock.fill"));
    EXPECT_EQ(button(QStringLiteral("Manage")), nullptr);
    EXPECT_EQ(label(QStringLiteral("Checking…")), nullptr);
    ASSERT_NE(button(QStringLiteral("Sign in")), nullptr);
    button(QStringLiteral("Sign in"))->click();
    EXPECT_EQ(asked, QStringList{core::kOpenSignIn});
}

TEST_F(Panel, SaysWhoIsSignedInAndOffersToManageTheAccount)
{
    signIn();
    open();

    const PanelLine *account = line(u"Signed in as ann@site.example");
    ASSERT_NE(account, nullptr);
    EXPECT_EQ(account->symbol(), QStringLiteral("checkmark.circle.fill"));
    EXPECT_EQ(button(QStringLiteral("Sign in")), nullptr);
    ASSERT_NE(button(QStringLiteral("Manage")), nullptr);
    button(QStringLiteral("Manage"))->click();
    EXPECT_EQ(asked, QStringList{QStringLiteral("account")});
}

TEST_F(Panel, SaysThatTheCloudEndedTheSession)
{
    signIn();
    open();
    service.endedToken = settings.token();

    finish(auth.refresh(true));

    EXPECT_NE(line(u"Session ended. Sign in again."), nullptr);
    EXPECT_NE(button(QStringLiteral("Sign in")), nullptr);
}

TEST_F(Panel, SaysThatTheArchiveRefusesTheCredentials)
{
    signIn();
    open();
    service.refusesCredentials = true;

    finish(auth.refresh(true));

    const PanelLine *account = line(u"User name or password refused");
    ASSERT_NE(account, nullptr);
    EXPECT_EQ(account->symbol(), QStringLiteral("exclamationmark.triangle.fill"));
    EXPECT_EQ(line(u"Signed in as"), nullptr);
    EXPECT_NE(button(QStringLiteral("Sign in")), nullptr) << "the right password can be given at once";
}

TEST_F(Panel, SignsOut)
{
    signIn();
    open();

    button(QStringLiteral("Sign out"))->click();
    EXPECT_NE(line(u"Checking sign-in status…"), nullptr);
    runUntil([this] { return !auth.isChecking(); });

    EXPECT_NE(line(u"Sign in required"), nullptr);
    EXPECT_TRUE(service.calls().contains(QStringLiteral("logout")));
}

TEST_F(Panel, SaysThatItChecksWhileSomebodySignsIn)
{
    open();
    service.hold(QStringLiteral("login"));

    const auto task = auth.signIn(*service.user.email, service.password);

    EXPECT_NE(line(u"Checking sign-in status…"), nullptr);
    EXPECT_EQ(button(QStringLiteral("Sign in")), nullptr);
    service.release();
    finish(task);
    EXPECT_NE(line(u"Signed in as"), nullptr);
}

TEST_F(Panel, ShowsALabelOfAnyLengthAsPlainText)
{
    service.user.workplaceName = QStringLiteral("<b>East</b> ").repeated(20);
    signIn();
    open();

    const PanelLine *account = line(u"Signed in as <b>East</b>");
    ASSERT_NE(account, nullptr);
    const auto *shown = account->findChild<QLabel *>();
    EXPECT_EQ(shown->textFormat(), Qt::PlainText);
    EXPECT_TRUE(shown->text().endsWith(u'…'));
    QTextDocument told; // as a tool tip reads it
    told.setHtml(shown->toolTip());
    EXPECT_EQ(told.toPlainText().trimmed(), u"Signed in as "_qs + service.user.workplaceName->trimmed());
}

TEST_F(Panel, TellsALongLabelToTheLetter)
{
    service.user.workplaceName = QStringLiteral("Radiology & Partners, ").repeated(8);
    signIn();
    open();

    const PanelLine *account = line(u"Signed in as Radiology");
    ASSERT_NE(account, nullptr);
    EXPECT_TRUE(Qt::mightBeRichText(account->findChild<QLabel *>()->toolTip())) << "else it shows \"&amp;\"";
}

TEST_F(Panel, HasTwoLeftEdgesAlone)
{
    signIn();
    open();

    QSet<int> edges;
    for (const QWidget *part : panel().findChildren<QWidget *>()) {
        const bool isWords = qobject_cast<const PanelLine *>(part) != nullptr ||
                             qobject_cast<const FigureRow *>(part) != nullptr ||
                             qobject_cast<const PanelGroup *>(part) != nullptr;
        if (isWords && part->isVisible()) {
            edges.insert(part->mapTo(&panel(), QPoint(0, 0)).x());
        }
    }
    const Button *dashboard = button(QStringLiteral("Open Dashboard"));
    const Button *updates = button(QStringLiteral("Check for Updates…"));
    EXPECT_EQ(updates->mapTo(&panel(), QPoint(0, 0)).y(),
              button(QStringLiteral("More"))->mapTo(&panel(), QPoint(0, 0)).y())
        << "one row";
    edges.insert(dashboard->mapTo(&panel(), QPoint(0, 0)).x());
    edges.insert(updates->mapTo(&panel(), QPoint(0, 0)).x() + 8); // its words
    edges.insert(panel().findChild<SymbolTile *>()->mapTo(&panel(), QPoint(0, 0)).x());
    EXPECT_EQ(edges, (QSet<int>{12, 20}));
}

TEST_F(Panel, SaysThatThereIsASessionWithoutALabel)
{
    service.knowsUser = false;
    signIn();
    open();

    EXPECT_NE(line(u"Signed in with an active session."), nullptr);
}

TEST_F(Panel, ShowsTheStateOfTheCloud)
{
    EXPECT_EQ(line(u"Quorin Cloud Unreachable")->symbol(), QStringLiteral("exclamationmark.triangle.fill"));
    EXPECT_EQ(line(u"Quorin Cloud Unreachable")->color(), Color::red);

    api.hold(true);
    panel().show();
    ASSERT_NE(line(u"Checking Quorin Cloud…"), nullptr);
    EXPECT_EQ(line(u"Checking Quorin Cloud…")->symbol(), QStringLiteral("arrow.clockwise.circle.fill"));
    EXPECT_EQ(line(u"Checking Quorin Cloud…")->color(), Color::muted);

    api.hold(false);
    runUntil([this] { return !status.isChecking(); });
    ASSERT_NE(line(u"Connected to Quorin Cloud"), nullptr);
    EXPECT_EQ(line(u"Connected to Quorin Cloud")->symbol(), QStringLiteral("checkmark.circle.fill"));
    EXPECT_EQ(line(u"Connected to Quorin Cloud")->color(), Color::green);

    api.isAway = true;
    finish(status.refresh());
    EXPECT_NE(line(u"Quorin Cloud Unreachable"), nullptr);
}

TEST_F(Panel, AppearingReadsTheFiguresAnew)
{
    panel();
    live.index.images.assign(1204, {live.clock.now(), 1, live.clock.now()});
    live.index.images.push_back({live.clock.now(), 2});
    EXPECT_EQ(figures(), QStringList(3, QStringLiteral("0")));

    open();
    QCoreApplication::processEvents();

    EXPECT_EQ(figures(),
              (QStringList{QLocale().toString(1205), QLocale().toString(1204), QStringLiteral("1")}));
    for (const char *title : {"Received Images", "Uploaded Images", "Upload Failures"}) {
        EXPECT_NE(label(QString::fromLatin1(title)), nullptr) << title;
    }
}

TEST_F(Panel, FollowsTheFiguresWhileItIsSeenAndNotOtherwise)
{
    open();
    live.index.images.push_back({live.clock.now(), 0});
    live.state().refreshCounters();
    QCoreApplication::processEvents();
    EXPECT_EQ(figures().first(), QStringLiteral("1"));

    panel().hide();
    live.index.images.push_back({live.clock.now(), 0});
    live.state().refreshCounters();
    QCoreApplication::processEvents();
    EXPECT_EQ(figures().first(), QStringLiteral("1"));
}

TEST_F(Panel, SaysThatTheListenerIsBeingStartedAgain)
{
    finishSetup();
    receive.service->startListener();
    open();

    receive.scps.front()->callbacks().interrupted(
        {platform::StoreSCPInterruption::Cause::ended, 137, QStringLiteral("It was ended."), {}});
    receive.settle();

    EXPECT_EQ(listenerState(), QStringLiteral("Restarting"));
    EXPECT_TRUE(listenerSwitch().isChecked());
}

TEST_F(Panel, SwitchesTheListener)
{
    finishSetup();
    receive.configure([](core::DCMListenerSettings &record) { record.port = 11112; });
    open();
    EXPECT_FALSE(listenerSwitch().isChecked());
    EXPECT_EQ(listenerSwitch().text(), QStringLiteral("Start Listener"));
    EXPECT_EQ(listenerState(), QStringLiteral("Stopped"));

    listenerSwitch().click();
    EXPECT_NE(receive.service->storeListener(), nullptr);
    EXPECT_TRUE(listenerSwitch().isChecked());
    EXPECT_EQ(listenerSwitch().text(), QStringLiteral("Stop Listener"));
    EXPECT_EQ(listenerState(), QStringLiteral("Starting"));
    receive.scps.front()->listen();
    receive.settle();
    EXPECT_EQ(listenerState(), QStringLiteral("Listening on Port 11112"));

    listenerSwitch().click();
    EXPECT_EQ(receive.service->storeListener(), nullptr);
    EXPECT_FALSE(listenerSwitch().isChecked());
}

TEST_F(Panel, SaysThatImagesAreComing)
{
    finishSetup();
    open();
    listenerSwitch().click();

    live.state().beginReceiveAssociation(QStringLiteral("one"));
    QCoreApplication::processEvents();

    EXPECT_TRUE(listenerState().startsWith(QStringLiteral("Receiving")));
}

TEST_F(Panel, SwitchingOnBeforeSetupAsksForTheWizardAndStaysOff)
{
    open();

    listenerSwitch().click();

    EXPECT_EQ(asked, QStringList{core::kOpenSetupWizard});
    EXPECT_FALSE(listenerSwitch().isChecked());
}

TEST_F(Panel, FollowsAListenerThatFailed)
{
    finishSetup();
    open();
    listenerSwitch().click();
    ASSERT_TRUE(listenerSwitch().isChecked());

    receive.scps.front()->end(1);
    receive.waitUntil([this] { return receive.service->storeListener() == nullptr; });

    EXPECT_FALSE(listenerSwitch().isChecked());
    EXPECT_EQ(listenerSwitch().text(), QStringLiteral("Start Listener"));
    EXPECT_EQ(listenerState(), QStringLiteral("Failed"));
}

TEST_F(Panel, AsksForTheDashboardAndClosesNothingElse)
{
    open();

    button(QStringLiteral("Open Dashboard"))->click();

    EXPECT_EQ(asked, QStringList{core::kOpenDashboard});
    EXPECT_TRUE(panel().isVisible());
}

TEST_F(Panel, AsksForUpdatesAndForPreferences)
{
    open();

    button(QStringLiteral("Check for Updates…"))->click();
    button(QStringLiteral("Preferences…"))->click();
    QTest::keyClick(&panel(), Qt::Key_Comma, Qt::ControlModifier);

    EXPECT_EQ(asked,
              (QStringList{core::kCheckForUpdatesRequested, core::kOpenPreferences, core::kOpenPreferences}));
}

TEST_F(Panel, HasAMenuWithFiveEntriesInTheirOrder)
{
    const QMenu *menu = button(QStringLiteral("More"))->menu();
    ASSERT_NE(menu, nullptr);

    QStringList titles;
    for (QAction *action : menu->actions()) {
        titles += action->text();
        action->trigger();
    }

    EXPECT_EQ(titles,
              (QStringList{QStringLiteral("Setup Wizard…"),
                           QStringLiteral("Send feedback"),
                           QStringLiteral("Report a bug"),
                           QStringLiteral("About Quorin Gateway"),
                           QStringLiteral("Quit Quorin Gateway")}));
    EXPECT_EQ(asked,
              (QStringList{core::kOpenSetupWizard,
                           QStringLiteral("feedback"),
                           core::kOpenBugReport,
                           QStringLiteral("about"),
                           QStringLiteral("quit")}));
}

TEST_F(Panel, OffersNoFeedbackWhereNobodyIsNamedToWriteTo)
{
    sendFeedback = {};

    const QList<QAction *> entries = button(QStringLiteral("More"))->menu()->actions();

    EXPECT_EQ(entries.size(), 4);
    EXPECT_TRUE(std::ranges::none_of(
        entries, [](const QAction *entry) { return entry->text() == QStringLiteral("Send feedback"); }));
}

TEST_F(Panel, HasABannerOnlyWhileThereIsAMessage)
{
    const QString message = QStringLiteral("An update is available: 9.1");
    open();
    EXPECT_EQ(label(message), nullptr);
    const int plain = button(QStringLiteral("Check for Updates…"))->sizeHint().width();

    live.state().setUpdateBannerMessage(message);
    testing::showFigures();
    ASSERT_NE(label(message), nullptr);
    EXPECT_EQ(label(message)->textFormat(), Qt::PlainText);
    EXPECT_GT(button(QStringLiteral("Check for Updates…"))->sizeHint().width(), plain); // the warning sign

    live.state().setUpdateBannerMessage(std::nullopt);
    testing::showFigures();
    EXPECT_EQ(label(message), nullptr);
    EXPECT_EQ(button(QStringLiteral("Check for Updates…"))->sizeHint().width(), plain);
}

TEST_F(Panel, IsWalkedThroughInReadingOrder)
{
    signIn();
    finishSetup();
    open();
    QStringList walked;
    int last = -1;

    for (QWidget *at = panel().nextInFocusChain(); at != &panel(); at = at->nextInFocusChain()) {
        if ((at->focusPolicy() & Qt::TabFocus) != 0 && at->isVisibleTo(&panel())) {
            const int y = at->mapTo(&panel(), QPoint(0, 0)).y();
            EXPECT_GE(y, last) << qobject_cast<QAbstractButton *>(at)->text().toStdString();
            last = y;
            walked += qobject_cast<QAbstractButton *>(at)->text();
        }
    }

    EXPECT_EQ(walked.first(), QStringLiteral("Manage"));
    EXPECT_EQ(walked.last(), QStringLiteral("More"));
}

TEST_F(Panel, CutsNoWordInEveryLook)
{
    live.state().setUpdateBannerMessage(
        QStringLiteral("Critical update is required. Open Quorin Gateway to update."));
    signIn();
    EXPECT_EQ(testing::clippedInEveryLook(QStringLiteral("panel"),
                                          {QSize()},
                                          [this] {
                                              discard();
                                              open();
                                              return testing::Opened{panel(), theme};
                                          }),
              "");
}

} // namespace
} // namespace gateway::shell
