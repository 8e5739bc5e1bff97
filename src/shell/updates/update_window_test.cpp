#include "shell/updates/update_window.h"

#include "shell/controls/button.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/switch.h"
#include "shell/testing/every_look.h"
#include "shell/testing/screen_checks.h"
#include "shell/theme/theme.h"
#include "updates/testing/fake_update_source.h"
#include "updates/testing/updates_world.h"

#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QProgressBar>

#include <gtest/gtest.h>

#include <optional>

namespace gateway::shell {
namespace {

using updates::AppcastUpdater;
using updates::PackageInstaller;
using updates::PackageKind;
using updates::UpdateFailure;
using Phase = AppcastUpdater::Phase;

struct Updates : updates::testing::UpdatesWorld
{
    Updates()
    {
        theme.setReducedMotion(true);
        theme.applyTo(*qApp);
        source.found->length = 45'678'901;
        source.found->notes =
            QStringLiteral("<b>Faster</b> uploads of large series.\nA study that was sent twice is "
                           "shown once.\nSafer against peers that stop in the middle.");
    }

    ~Updates() override { source.hold(false); }

    void runTo(Phase phase)
    {
        runUntil([&] { return updater.standing().phase == phase; });
        QApplication::processEvents();
    }

    void offer()
    {
        updater.checkForUpdates();
        runTo(Phase::available);
    }

    /// Begins to fetch, and stops half-way.
    void fetchHalf()
    {
        offer();
        source.hold(true);
        press(QStringLiteral("Install and Relaunch"));
        runUntil([this] { return updater.standing().received > 0; });
        QApplication::processEvents();
    }

    Button *button(const QString &text)
    {
        for (Button *found : window.findChildren<Button *>()) {
            if (found->text() == text && found->isVisible()) {
                return found;
            }
        }
        return nullptr;
    }

    void press(const QString &text)
    {
        Button *found = button(text);
        ASSERT_NE(found, nullptr) << text.toStdString();
        found->click();
    }

    bool says(const QString &text)
    {
        const auto labels = window.findChildren<QLabel *>();
        return std::any_of(labels.begin(), labels.end(), [&text](const QLabel *label) {
            return label->isVisible() && label->text().contains(text);
        });
    }

    QPlainTextEdit &notes() { return *window.findChild<QPlainTextEdit *>(); }
    QProgressBar &bar() { return *window.findChild<QProgressBar *>(); }
    InlineError &error() { return *window.findChild<InlineError *>(); }

    Theme theme;
    updates::testing::FakeSource source;
    updates::testing::FakeInstaller installer;
    updates::testing::FakeDelegate delegate;
    int relaunches = 0;
    AppcastUpdater updater{{.delegate = delegate,
                            .source = source,
                            .installer = installer,
                            .defaults = defaults,
                            .show = [this](AppcastUpdater &) { window.present(); },
                            .relaunch = [this] { ++relaunches; },
                            .backgroundFailed = [](const updates::UpdateError &) {}},
                           {.main = main, .pool = pool, .clock = clock}};
    UpdateWindow window{theme, updater};
};

TEST_F(Updates, ShowThatTheyLookAndThatThereIsNothingNewer)
{
    source.found.reset();
    source.hold(true);
    updater.checkForUpdates();
    EXPECT_TRUE(window.isVisible());
    EXPECT_TRUE(says(QStringLiteral("Checking for Updates…")));
    EXPECT_TRUE(bar().isVisible());
    source.hold(false);

    runTo(Phase::upToDate);

    EXPECT_TRUE(says(QStringLiteral("You're Up to Date")));
    EXPECT_TRUE(says(QStringLiteral(QUORIN_VERSION)));
    EXPECT_FALSE(bar().isVisible());
    press(QStringLiteral("OK"));
    EXPECT_FALSE(window.isVisible());
}

TEST_F(Updates, ShowWhatIsNewAsPlainText)
{
    offer();

    EXPECT_TRUE(says(QStringLiteral("Quorin Gateway 2.0 (Winter) Is Available")));
    EXPECT_EQ(notes().toPlainText(), source.found->notes);
    EXPECT_TRUE(notes().isReadOnly());
    for (const QLabel *label : window.findChildren<QLabel *>()) {
        EXPECT_EQ(label->textFormat(), Qt::PlainText);
    }
    testing::keepPicture(window, QStringLiteral("update-available-dark"));
}

TEST_F(Updates, InstallAndRelaunch)
{
    fetchHalf();
    EXPECT_TRUE(bar().isVisible());
    EXPECT_EQ(bar().value(), 499);
    EXPECT_TRUE(says(QLocale().formattedDataSize(45'678'901, 1, QLocale::DataSizeSIFormat)));
    EXPECT_TRUE(button(QStringLiteral("Install and Relaunch"))->isBusy());
    testing::keepPicture(window, QStringLiteral("update-fetching-dark"));
    source.hold(false);

    runTo(Phase::installed);

    EXPECT_EQ(relaunches, 1);
    EXPECT_TRUE(says(QStringLiteral("Restarting…")));
    window.close();
    EXPECT_TRUE(window.isVisible());
}

TEST_F(Updates, EndAFetchOnLaterAndOnClosing)
{
    fetchHalf();

    press(QStringLiteral("Later"));
    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(updater.standing().phase, Phase::idle);
    source.hold(false);
    pool.waitUntilIdle();
    main.drain();
    offer();
    QTest::keyClick(&window, Qt::Key_Escape);

    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(updater.standing().phase, Phase::idle);
    EXPECT_TRUE(installer.installed.isEmpty());
}

TEST_F(Updates, SayWhyThereIsNoneAndTryAgain)
{
    source.failure = UpdateFailure::badSignature;
    updater.checkForUpdates();
    runTo(Phase::failed);
    EXPECT_TRUE(error().isVisible());
    EXPECT_TRUE(error().accessibleWords().contains(QStringLiteral("updates.example")));
    EXPECT_FALSE(notes().isVisible());
    testing::keepPicture(window, QStringLiteral("update-refused-dark"));
    source.failure.reset();

    press(QStringLiteral("Try Again"));
    runTo(Phase::available);

    EXPECT_FALSE(error().isVisible());
}

TEST_F(Updates, TryAFailedInstallationAgain)
{
    offer();
    source.failure = UpdateFailure::damaged;
    press(QStringLiteral("Install and Relaunch"));
    runTo(Phase::failed);
    EXPECT_TRUE(notes().isVisible());
    source.failure.reset();

    press(QStringLiteral("Try Again"));
    runTo(Phase::installed);

    EXPECT_EQ(source.checks, 1);
}

TEST_F(Updates, HandAPackageToTheSystemsInstaller)
{
    source.found->kind = PackageKind::debian;
    source.found->notes.clear();
    installer.outcome = PackageInstaller::Outcome::handedOver;
    offer();
    EXPECT_FALSE(notes().isVisible());

    press(QStringLiteral("Open Installer"));
    runTo(Phase::handedOver);

    EXPECT_TRUE(says(QStringLiteral("Your System's Installer Has the Update")));
    press(QStringLiteral("OK"));
    EXPECT_FALSE(window.isVisible());
}

TEST_F(Updates, SwitchTheAutomaticChecks)
{
    offer();
    auto &automatic = *window.findChild<Switch *>();
    EXPECT_TRUE(automatic.isChecked());

    automatic.click();

    EXPECT_FALSE(updater.automaticallyChecksForUpdates());
}

TEST_F(Updates, CutNoWordInEveryLook)
{
    offer();
    window.hide();
    std::optional<UpdateWindow> other;
    const auto open = [&] {
        other.emplace(theme, updater);
        other->present();
        return testing::Opened{*other, theme};
    };
    EXPECT_EQ(testing::clippedInEveryLook(QStringLiteral("update"), {QSize()}, open), "");
    source.failure = UpdateFailure::badSignature;
    updater.install();
    runTo(Phase::failed);
    EXPECT_EQ(testing::clippedInEveryLook(QStringLiteral("update-failed"), {QSize()}, open), "");
}

} // namespace
} // namespace gateway::shell
