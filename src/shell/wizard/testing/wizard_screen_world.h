#pragma once

#include "account/testing/fake_archive.h"
#include "account/testing/restarting_choice.h"
#include "shell/controls/switch.h"
#include "shell/testing/screen_checks.h"
#include "shell/testing/shown_widgets.h"
#include "shell/testing/themed_window.h"
#include "shell/wizard/gateway_setup_wizard_window_controller.h"
#include "wizard/testing/setup_world.h"

#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QScrollArea>

#include <algorithm>
#include <optional>

namespace gateway::shell::testing {

/// The wizard's window over a setup whose machine, listener and account are fakes.
///
/// Owner: a test. Thread: main.
struct WizardScreenWorld : wizard::testing::SetupWorld
{
    WizardScreenWorld()
    {
        theme.setReducedMotion(true);
        theme.applyTo(*qApp);
        SetupWorld::terms.isAccepted = true;
    }

    WizardParts parts()
    {
        return {.theme = theme,
                .setup = SetupWorld::parts(),
                .auth = auth,
                .archive = archive ? &archive->model : nullptr,
                .cloud = cloudChoice.choice,
                .terms = {SetupWorld::terms, defaults, main, pool, clock},
                .autostart = autostart,
                .dialogs = {.chooseFolder = [this](QWidget *, const auto &chosen) { chosen(chosenFolder); },
                            .chooseExportFile =
                                [this](QWidget *, const QString &name, const auto &chosen) {
                                    suggestedName = name;
                                    chosen(exportFile);
                                },
                            .chooseFile = [](QWidget *, const QString &, const auto &chosen) { chosen({}); },
                            .openLink = [this](const QUrl &page) { links.append(page); }},
                .storePage = storePage,
                .actions = {.completed = [this] { ++completed; },
                            .offerTrial = [this] { ++offers; },
                            .tellProblem = [this](const QString &problem) { problems.append(problem); },
                            .quit = [this] { ++quits; }}};
    }

    /// Opens the window, and lets the first look at the port end.
    QWidget &open(bool blocking = true)
    {
        if (!controller) {
            controller.emplace(parts());
        }
        controller->show(blocking);
        return settle();
    }

    QWidget &window() { return *controller->window(); }

    /// Lets looks at the port end, and layouts that follow from each other.
    QWidget &settle()
    {
        for (int turn = 0; turn < 20; ++turn) {
            clock.advance(std::chrono::milliseconds(350));
            pool.waitUntilIdle();
            QCoreApplication::processEvents();
        }
        return window();
    }

    /// The shown button of this title; null where there is none.
    Button *button(const QString &title) { return shownButton(window(), title); }

    void press(const QString &title)
    {
        pressShown(window(), title);
        awaitFolder();
        settleOrEnd();
    }

    /// Lets a look at the folder end.
    void awaitFolder()
    {
        runUntil([this] {
            if (controller->window() == nullptr) {
                return true;
            }
            const auto isLooking = [this](const QString &onward) {
                const Button *const shown = button(onward);
                return shown != nullptr && shown->isBusy();
            };
            return !isLooking(QStringLiteral("Continue")) && !isLooking(QStringLiteral("Finish Setup"));
        });
    }

    /// Lets things run, be it that the window goes meanwhile.
    void settleOrEnd()
    {
        for (int turn = 0; turn < 20; ++turn) {
            clock.advance(std::chrono::milliseconds(350));
            QCoreApplication::processEvents();
        }
    }

    /// The shown field that is named so.
    TextField *field(const QString &name) { return shownField(window(), name); }

    void type(const QString &name, const QString &text) { typeInto(window(), name, text); }

    /// Presses "Finish Setup", and waits until setup is complete.
    void finishSetup()
    {
        button(QStringLiteral("Finish Setup"))->click();
        runUntil([this] {
            clock.advance(std::chrono::seconds(2));
            return completed > 0;
        });
        settleOrEnd();
    }

    Switch &toggle(const QString &text)
    {
        const QList<Switch *> all = window().findChildren<Switch *>();
        return **std::find_if(all.begin(), all.end(), [&](const Switch *one) { return one->text() == text; });
    }

    /// All words that are shown, one label a line.
    QString words() { return shownWords(window()); }

    bool says(const QString &text) { return words().contains(text); }

    /// Goes on to the page with this title.
    void goTo(const QString &title)
    {
        for (int page = 0; page < 5 && heading() != title; ++page) {
            press(QStringLiteral("Continue"));
        }
        ASSERT_EQ(heading(), title);
    }

    /// The title of the present page.
    QString heading()
    {
        for (const QLabel *label : window().findChildren<QLabel *>()) {
            if (label->isVisible() && label->font() == theme.font(TypeStyle::h1)) {
                return label->text();
            }
        }
        return {};
    }

    /// Keeps a picture of the window for whoever asks for them.
    void picture(const QString &name)
    {
        const QString directory = qEnvironmentVariable("QUORIN_PICTURES");
        if (!directory.isEmpty()) {
            ASSERT_TRUE(window().grab().save(directory + u"/wizard-"_qs + name + u".png"_qs));
        }
    }

    Theme theme;
    account::testing::RestartingChoice cloudChoice{defaults};
    QTemporaryDir config;
    platform::Autostart autostart{
        config.path(),
        {QStringLiteral("gateway"), QStringLiteral("Gateway"), {QStringLiteral("/bin/gateway")}}};
    QUrl storePage{QStringLiteral("https://store.example/lens")};
    QString chosenFolder;
    QString exportFile;
    QString suggestedName;
    QList<QUrl> links;
    QStringList problems;
    int completed = 0;
    int offers = 0; ///< of a trial
    int quits = 0;
    std::optional<account::testing::FakeArchive> archive; ///< for who signs in at one
    std::optional<GatewaySetupWizardWindowController> controller;
};

} // namespace gateway::shell::testing
