#pragma once

#include "account/account_view_model.h"
#include "account/gateway_change_password_view_model.h"
#include "account/testing/fake_archive.h"
#include "account/testing/restarting_choice.h"
#include "receive/dimse_listener_view_model.h"
#include "receive/testing/receive_world.h"
#include "shell/controls/switch.h"
#include "shell/preferences/appearance_choice.h"
#include "shell/preferences/preferences_window_controller.h"
#include "shell/preferences/quorin_gateway_settings_view.h"
#include "shell/testing/screen_checks.h"
#include "shell/testing/shown_widgets.h"
#include "shell/testing/themed_window.h"
#include "shell/theme/desktop_preferences.h"
#include "wizard/listener_settings_view_model.h"
#include "wizard/setup_apply.h"
#include "wizard/testing/setup_world.h"

#include <QtDBus/QDBusConnection>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>

#include <optional>

namespace gateway::shell::testing {

/// The window of the preferences over an account, a machine and a listener that are fakes.
///
/// Owner: a test. Thread: main.
struct PreferencesWorld : wizard::testing::SetupWorld
{
    PreferencesWorld()
    {
        theme.setReducedMotion(true);
        theme.applyTo(*qApp);
        wizard::markSetupCompleted(appSettings, clock.now());
        SetupWorld::terms.isAccepted = true;
        service.user.title = QStringLiteral("Dr.");
        service.user.firstName = QStringLiteral("Ann");
        service.user.lastName = QStringLiteral("Weiss");
        service.user.email = QStringLiteral("ann@site.example");
        service.user.phoneNumber = QStringLiteral("+41 44 555 01 01");
        service.user.workplaceName = QStringLiteral("Radiology & Partners");
        service.user.workplaces = {{1, QStringLiteral("Radiology & Partners"), true},
                                   {2, QStringLiteral("Klinik am See"), false},
                                   {3, QString(), false}};
    }

    ~PreferencesWorld() override
    {
        machine.release();
        service.release();
        SetupWorld::terms.release();
        controller.reset();
    }

    PreferencesParts parts()
    {
        return {.theme = theme,
                .appearance = appearance,
                .account = {.model = account,
                            .password = password,
                            .hasProfile = hasProfile,
                            .archive = archive ? &archive->model : nullptr,
                            .cloud = cloudChoice.choice,
                            .storePage = storePage},
                .listener = {.state = listenerState, .settings = listenerSettings},
                .kept = {.settings = appSettings, .defaults = defaults, .main = main},
                .actions = {.openSetupWizard = [this] { ++wizards; },
                            .chooseFolder = [this](QWidget *, const auto &chosen) { chosen(chosenFolder); },
                            .chooseFile = [](QWidget *, const QString &, const auto &chosen) { chosen({}); },
                            .openLink = [this](const QUrl &page) { links.append(page); },
                            .termsAccepted = [this] { ++acceptances; }}};
    }

    QWidget &open(GatewaySettingsItem item = GatewaySettingsItem::account)
    {
        if (!controller) {
            controller.emplace(defaults, parts());
        }
        controller->show(item);
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window(), 30'000));
        return settle();
    }

    QWidget &window() { return *controller->window(); }
    QuorinGatewaySettingsView &view() { return *window().findChild<QuorinGatewaySettingsView *>(); }

    /// Lets what is under way end, and layouts that follow from each other.
    QWidget &settle()
    {
        for (int turn = 0; turn < 8; ++turn) {
            pool.waitUntilIdle();
            main.drain();
            QCoreApplication::processEvents();
        }
        return window();
    }

    /// The shown button of this title; null where there is none.
    Button *button(const QString &title) { return shownButton(window(), title); }

    void press(const QString &title)
    {
        pressShown(window(), title);
        settle();
    }

    TextField *field(const QString &name) { return shownField(window(), name); }

    void type(const QString &name, const QString &text) { typeInto(window(), name, text); }

    Switch &toggle(const QString &text)
    {
        for (Switch *one : window().findChildren<Switch *>()) {
            if (one->text() == text) {
                return *one;
            }
        }
        throw std::runtime_error("no such switch");
    }

    /// All words that are shown, one label a line.
    QString words() { return shownWords(window()); }

    bool says(const QString &text) { return words().contains(text); }

    /// Keeps a picture of the window for whoever asks for them.
    void picture(const QString &name) { keepPicture(window(), QStringLiteral("preferences-") + name); }

    Theme theme;
    account::testing::RestartingChoice cloudChoice{defaults};
    DesktopPreferences desktop{theme, QDBusConnection(QStringLiteral("none"))};
    AppearanceChoice appearance{theme, desktop, defaults, notifications};
    receive::testing::ReceiveWorld receive;
    receive::DimseListenerViewModel listenerState{
        {defaults, appSettings, receive.notifications, *receive.service, QStringLiteral("/home/Import")}};
    account::AccountViewModel account{{auth, service, {SetupWorld::terms, defaults, main, pool, clock}},
                                      account::TermsSigner::from({}, {}, std::nullopt)};
    account::GatewayChangePasswordViewModel password{{service, main, pool}};
    wizard::ListenerSettingsViewModel listenerSettings{SetupWorld::parts(), notifications};
    bool hasProfile = true;
    std::optional<account::testing::FakeArchive> archive; ///< for who signs in at one
    QUrl storePage{QStringLiteral("https://store.example/lens")};
    QString chosenFolder;
    QList<QUrl> links;
    int wizards = 0;
    int acceptances = 0;
    std::optional<PreferencesWindowController> controller;
};

} // namespace gateway::shell::testing
