#include "shell/controls/segmented_control.h"
#include "shell/controls/switch.h"
#include "shell/language/translations.h"
#include "shell/testing/every_look.h"
#include "shell/wizard/testing/wizard_screen_world.h"

#include <QtGui/QClipboard>
#include <QtWidgets/QRadioButton>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QStackedWidget>

namespace gateway::shell {
namespace {

const QStringList kTitles{
    u"Welcome"_qs, u"DIMSE Listener"_qs, u"Local Files"_qs, u"Quorin Account"_qs, u"Summary"_qs};

class WizardPages : public testing::WizardScreenWorld
{
protected:
    void expectWords(const QStringList &expected)
    {
        for (const QString &line : expected) {
            EXPECT_TRUE(says(line)) << line.toStdString() << "\nshown are: " << words().toStdString();
        }
    }

    /// Signs somebody in who has not accepted the terms yet, and waits for a button below them.
    void signInAndAwait(const QString &answer)
    {
        SetupWorld::terms.isAccepted = false;
        open();
        goTo(u"Quorin Account"_qs);
        type(u"Email"_qs, u"ann@site.example"_qs);
        type(u"Password"_qs, u"right"_qs);
        press(u"Sign in now"_qs);
        runUntil([&] { return button(answer) != nullptr && button(answer)->isEnabled(); });
    }

    void choose(const QString &segment)
    {
        for (QRadioButton *one : window().findChildren<QRadioButton *>()) {
            if (one->text() == segment) {
                one->click();
            }
        }
        settle();
    }
};

TEST_F(WizardPages, WelcomeAndSayWhatIsToCome)
{
    open();

    expectWords(
        {u"Quorin Gateway"_qs,
         u"Setup Wizard"_qs,
         u"Introduction"_qs,
         u"Network endpoint"_qs,
         u"Storage and retention"_qs,
         u"Review and apply"_qs,
         u"This guided setup prepares Quorin Gateway for reliable local and cloud operation."_qs,
         u"Welcome to Quorin Gateway. This setup takes about 2-3 minutes and prepares your local listener, storage, and Quorin Cloud connectivity."_qs,
         u"What this wizard configures"_qs,
         u"DIMSE listener identity and network port."_qs,
         u"Local incoming file storage and retention policy."_qs,
         u"Quorin account sign-in (optional now, required for cloud sync)."_qs,
         u"Privacy and network note"_qs,
         u"Enabling Bonjour publishes this listener on your local network."_qs,
         u"Quorin Gateway may request Local Network permission from macOS."_qs,
         u"You can rerun this wizard any time from Preferences or the tray menu."_qs});
    EXPECT_FALSE(button(u"Back"_qs)->isEnabled());
}

TEST_F(WizardPages, ShowTheListenersEndpoint)
{
    open();
    goTo(u"DIMSE Listener"_qs);

    expectWords(
        {u"Connection Settings"_qs,
         u"Listener Endpoint"_qs,
         u"Checks"_qs,
         u"AE Title is valid."_qs,
         u"Port 11112 is available."_qs,
         u"Listener Address"_qs,
         u"192.0.2.7:11112"_qs,
         u"Use this address when registering Quorin Gateway in your modality or PACS configuration."_qs,
         u"Static IP Recommendation"_qs,
         u"Recommended"_qs,
         u"To keep this listener address stable, reserve a static DHCP lease for this Mac in your router."_qs,
         u"In router settings, open DHCP reservation and bind this computer's MAC address to one fixed IP."_qs,
         u"After reservation, reconnect this device and verify the listener address stays unchanged."_qs});

    press(u"Copy"_qs);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), u"192.0.2.7:11112"_qs);
}

TEST_F(WizardPages, JudgeWhatIsTypedAtOnce)
{
    open();
    goTo(u"DIMSE Listener"_qs);

    type(u"Port"_qs, u"11a12"_qs);
    EXPECT_EQ(field(u"Port"_qs)->text(), u"1112"_qs);
    EXPECT_TRUE(says(u"Checking whether port 1112 is available..."_qs));
    EXPECT_FALSE(button(u"Continue"_qs)->isEnabled());
    settle();
    EXPECT_TRUE(says(u"Port 1112 is available."_qs));
    EXPECT_TRUE(button(u"Continue"_qs)->isEnabled());

    type(u"Port"_qs, u"65536"_qs);
    EXPECT_TRUE(says(u"Port must be a number between 1 and 65535."_qs));
    EXPECT_TRUE(field(u"Port"_qs)->isInvalid());
    EXPECT_TRUE(says(u"192.0.2.7"_qs));

    type(u"AE Title"_qs, u"A\\B"_qs);
    EXPECT_TRUE(says(u"Will be formatted as: AB"_qs));
    field(u"Port"_qs)->setFocus(); // which leaves the title
    EXPECT_EQ(field(u"AE Title"_qs)->text(), u"AB"_qs);
    EXPECT_FALSE(says(u"Will be formatted as"_qs));
}

TEST_F(WizardPages, RepairATakenPort)
{
    machine.setPort(11112, wizard::PortState::inUse);
    open();
    goTo(u"DIMSE Listener"_qs);
    EXPECT_TRUE(says(u"Port 11112 is already in use by another process."_qs));
    EXPECT_FALSE(button(u"Continue"_qs)->isEnabled());
    picture(u"listener-taken-dark"_qs);

    button(u"Use Next Available Port"_qs)->setFocus();
    press(u"Use Next Available Port"_qs);

    EXPECT_TRUE(button(u"Continue"_qs)->hasFocus()) << "and not what happens to come next, such as Quit";
    EXPECT_EQ(field(u"Port"_qs)->text(), u"11113"_qs);
    EXPECT_TRUE(says(u"192.0.2.7:11113"_qs));
    EXPECT_TRUE(button(u"Continue"_qs)->isEnabled());
}

TEST_F(WizardPages, RestoreTheRecommendedListener)
{
    open();
    goTo(u"DIMSE Listener"_qs);
    type(u"Port"_qs, u"1"_qs);
    Switch &bonjour = toggle(u"Publish listener with Bonjour"_qs);
    bonjour.click();

    press(u"Restore Recommended Defaults"_qs);

    EXPECT_EQ(field(u"Port"_qs)->text(), u"1115"_qs);
    EXPECT_TRUE(bonjour.isChecked());
}

TEST_F(WizardPages, LetAFolderBeChosenAndLeft)
{
    chosenFolder = u"/scans"_qs;
    machine.setFolder(u"/scans"_qs,
                      {u"/scans"_qs,
                       std::nullopt,
                       u"Selected folder is not writable. Choose a different folder or restore defaults."_qs,
                       std::nullopt});
    open();
    goTo(u"Local Files"_qs);
    expectWords({u"Storage Location"_qs,
                 u"Retention Policy"_qs,
                 u"Checks"_qs,
                 u"Incoming Files Folder"_qs,
                 u"/home/Documents/Import"_qs,
                 u"Auto-delete synced local files"_qs,
                 u"Only items successfully synced to Quorin Cloud are eligible for automatic deletion."_qs,
                 u"Using default incoming folder."_qs});
    EXPECT_FALSE(button(u"Use Default"_qs)->isEnabled());

    press(u"Choose Folder…"_qs);
    expectWords({u"/scans"_qs,
                 u"Selected folder is not writable. Choose a different folder or restore defaults."_qs});
    EXPECT_FALSE(button(u"Continue"_qs)->isEnabled());
    picture(u"local-files-readonly-dark"_qs);
    machine.mendFolders();
    press(u"Check Again"_qs);
    EXPECT_TRUE(says(u"Selected folder is writable."_qs));
    EXPECT_TRUE(button(u"Continue"_qs)->isEnabled());

    press(u"Use Default"_qs);
    EXPECT_TRUE(says(u"/home/Documents/Import"_qs));

    chosenFolder.clear(); // a changed mind
    press(u"Choose Folder…"_qs);
    EXPECT_TRUE(says(u"/home/Documents/Import"_qs));
}

TEST_F(WizardPages, AskForAnAmountWhereImagesAreDeleted)
{
    open();
    goTo(u"Local Files"_qs);
    EXPECT_EQ(field(u"Value"_qs), nullptr);

    choose(u"Days"_qs);
    expectWords({u"day(s) after upload"_qs, u"Auto-delete in days must be a number between 1 and 3650."_qs});
    EXPECT_FALSE(button(u"Continue"_qs)->isEnabled());
    type(u"Value"_qs, u"3x0"_qs);
    EXPECT_EQ(field(u"Value"_qs)->text(), u"30"_qs);
    EXPECT_TRUE(button(u"Continue"_qs)->isEnabled());

    choose(u"Months"_qs);
    expectWords({u"month(s) after upload"_qs});
    EXPECT_EQ(field(u"Value"_qs)->text(), u"30"_qs);

    choose(u"Never"_qs);
    EXPECT_EQ(field(u"Value"_qs), nullptr);
    choose(u"Days"_qs);
    EXPECT_EQ(field(u"Value"_qs)->text(), QString());

    press(u"Restore Recommended Defaults"_qs);
    EXPECT_EQ(field(u"Value"_qs), nullptr);
}

TEST_F(WizardPages, SignInAndOut)
{
    open();
    goTo(u"Quorin Account"_qs);
    expectWords(
        {u"Signing in is optional for setup completion. You can sign in later from the tray menu or Preferences."_qs,
         u"Need a Quorin Account? Create one in Quorin Lens on the Mac App Store."_qs});
    press(u"Open Quorin Lens on the Mac App Store"_qs);
    EXPECT_EQ(links, QList<QUrl>{storePage});

    press(u"Sign in now"_qs);
    EXPECT_TRUE(says(u"Enter both email and password to sign in."_qs));
    EXPECT_TRUE(field(u"Email"_qs)->hasFocus());
    type(u"Email"_qs, u"ann@site.example"_qs);
    type(u"Password"_qs, u"wrong"_qs);
    QTest::keyClick(field(u"Password"_qs), Qt::Key_Return);
    runUntil([this] { return says(u"Wrong email or password."_qs) && !auth.isChecking(); });
    EXPECT_TRUE(field(u"Password"_qs)->hasFocus());
    picture(u"account-refused-dark"_qs);

    type(u"Password"_qs, u"right"_qs);
    press(u"Sign in now"_qs);
    runUntil([this] { return says(u"Account Connected"_qs) && !auth.isChecking(); });
    EXPECT_TRUE(button(u"Continue"_qs)->hasFocus());
    expectWords(
        {u"Connection Status"_qs,
         u"Signed in as"_qs,
         u"ann@site.example"_qs,
         u"Active Quorin session"_qs,
         u"You can continue to Summary, or switch accounts if you signed in with the wrong workspace."_qs});
    EXPECT_EQ(field(u"Password"_qs), nullptr);
    runUntil([this] { return !says(u"Checking Quorin Cloud Terms"_qs); });
    settle();
    picture(u"account-signed-in-dark"_qs);

    press(u"Use Different Account"_qs);
    runUntil([this] { return field(u"Email"_qs) != nullptr && !auth.isChecking(); });
    EXPECT_TRUE(field(u"Email"_qs)->hasFocus());
    EXPECT_EQ(field(u"Email"_qs)->text(), QString());
    EXPECT_EQ(field(u"Password"_qs)->text(), QString());
}

TEST_F(WizardPages, GiveASignInUpThatGetsNoAnswer)
{
    open();
    goTo(u"Quorin Account"_qs);
    EXPECT_EQ(button(u"Cancel"_qs), nullptr);
    type(u"Email"_qs, u"ann@site.example"_qs);
    type(u"Password"_qs, u"right"_qs);
    service.hold(u"login"_qs);
    button(u"Sign in now"_qs)->click();
    EXPECT_TRUE(auth.isChecking());
    EXPECT_EQ(button(u"Skip for now"_qs), nullptr);
    picture(u"account-signing-in-dark"_qs);

    button(u"Cancel"_qs)->click();

    EXPECT_FALSE(auth.isChecking());
    EXPECT_EQ(button(u"Cancel"_qs), nullptr);
    EXPECT_EQ(field(u"Password"_qs)->text(), u"right"_qs);
    EXPECT_TRUE(field(u"Password"_qs)->hasFocus());
    service.release();
    settle();
    EXPECT_FALSE(auth.state().isSignedIn());
    EXPECT_TRUE(button(u"Skip for now"_qs)->isEnabled());
    EXPECT_FALSE(button(u"Sign in now"_qs)->isBusy());
}

TEST_F(WizardPages, LeadToNoStoreWhereTheDeploymentNamesNone)
{
    storePage = QUrl();
    open();
    goTo(u"Quorin Account"_qs);

    EXPECT_EQ(button(u"Open Quorin Lens on the Mac App Store"_qs), nullptr);
    EXPECT_FALSE(says(u"Need a Quorin Account?"_qs));
}

TEST_F(WizardPages, SkipTheAccountAndSayWhereToSignInLater)
{
    open();
    goTo(u"Quorin Account"_qs);

    press(u"Skip for now"_qs);

    EXPECT_EQ(heading(), u"Summary"_qs);
    EXPECT_TRUE(says(u"You can sign in later from the tray menu or Preferences."_qs));
}

TEST_F(WizardPages, AskForTheTermsOfWhoeverSignsIn)
{
    signInAndAwait(u"Accept"_qs);

    button(u"Accept"_qs)->click();
    runUntil([this] { return says(u"Quorin Cloud Terms & Conditions accepted."_qs); });

    EXPECT_TRUE(SetupWorld::terms.isAccepted);
    EXPECT_EQ(button(u"Accept"_qs), nullptr);
}

TEST_F(WizardPages, SignOutWhoDeclinesTheTermsAndAskTheNextOne)
{
    signInAndAwait(u"Decline"_qs);

    button(u"Decline"_qs)->click();
    runUntil([this] {
        return says(u"Quorin Cloud Terms & Conditions were declined. You have been signed out."_qs);
    });
    EXPECT_FALSE(auth.state().isSignedIn());

    type(u"Email"_qs, u"bob@site.example"_qs);
    type(u"Password"_qs, u"right"_qs);
    press(u"Sign in now"_qs);
    runUntil([this] { return button(u"Decline"_qs) != nullptr && button(u"Decline"_qs)->isEnabled(); });
    EXPECT_TRUE(auth.state().isSignedIn());
}

TEST_F(WizardPages, ReviewWhatWillBeApplied)
{
    open();
    goTo(u"Summary"_qs);

    expectWords(
        {u"Settings to be Applied"_qs,
         u"Review these values before finishing setup."_qs,
         u"Preflight Checks"_qs,
         u"192.0.2.7:11112"_qs,
         u"Enabled"_qs,
         u"/home/Documents/Import"_qs,
         u"Not signed in"_qs,
         u"Port Availability"_qs,
         u"Folder Permission Bookmark"_qs,
         u"Folder Writability"_qs,
         u"Listener Startup Readiness"_qs,
         u"Not connected. You can finish setup and sign in later."_qs,
         u"Ready to Apply"_qs,
         u"When you click Finish Setup, Quorin Gateway saves these settings and restarts the listener."_qs});
    EXPECT_EQ(button(u"Continue"_qs), nullptr);

    press(u"Open Quorin Account"_qs);
    EXPECT_EQ(heading(), u"Quorin Account"_qs);
}

TEST_F(WizardPages, ShowWhatTheKeyboardIsAt)
{
    open();
    window().setFixedSize(720, 520);
    goTo(u"Summary"_qs);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window(), 30'000));
    EXPECT_TRUE(button(u"Finish Setup"_qs)->hasFocus()); // also behind the look at the folder

    for (int step = 0; step < 3; ++step) { // back over the ways on
        QTest::keyClick(&window(), Qt::Key_Backtab);
    }

    Button *reached = button(u"Export PDF"_qs);
    EXPECT_TRUE(reached->hasFocus());
    EXPECT_FALSE(reached->visibleRegion().isEmpty());
}

TEST_F(WizardPages, BeginAtTheTopAgainWhereverTheyWereLeft)
{
    open();
    window().setFixedSize(720, 520);
    goTo(u"Summary"_qs);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window(), 30'000));
    QTest::keyClick(&window(), Qt::Key_Backtab);
    button(u"Export PDF"_qs)->setFocus();
    const auto *page = qobject_cast<QScrollArea *>(window().findChild<QStackedWidget *>()->currentWidget());
    ASSERT_NE(page, nullptr);
    EXPECT_GT(page->verticalScrollBar()->value(), 0);

    press(u"Back"_qs);
    goTo(u"Summary"_qs);

    EXPECT_EQ(page->verticalScrollBar()->value(), 0);
}

TEST_F(WizardPages, LeaveTheKeyboardAtTheWayOnWhileTheFolderIsLookedAt)
{
    chosenFolder = config.path();
    open();
    goTo(u"Local Files"_qs);
    press(u"Choose Folder…"_qs);

    goTo(u"Summary"_qs);

    EXPECT_EQ(window().focusWidget(), button(u"Finish Setup"_qs));
}

TEST_F(WizardPages, ExportTheSummary)
{
    open();
    goTo(u"Summary"_qs);
    press(u"Export PDF"_qs); // and a changed mind
    EXPECT_TRUE(suggestedName.startsWith(u"QuorinGateway-SetupSummary-20260101-"_qs));
    EXPECT_FALSE(says(u"export"_qs));

    exportFile = config.filePath(u"summary.pdf"_qs);
    button(u"Export PDF"_qs)->setFocus();
    press(u"Export PDF"_qs);
    EXPECT_TRUE(button(u"Export PDF"_qs)->hasFocus());
    EXPECT_TRUE(says(u"Setup summary exported to "_qs + exportFile));
    EXPECT_TRUE(QFile::exists(exportFile));

    exportFile = u"/no/such/folder/summary.pdf"_qs;
    press(u"Export PDF"_qs);
    EXPECT_TRUE(says(u"Export failed: "_qs));
    EXPECT_TRUE(button(u"Finish Setup"_qs)->isEnabled());
}

class WizardOnItsWay : public WizardPages
{
protected:
    /// Presses the way on, whatever it is called.
    void goOn()
    {
        for (Button *one : window().findChildren<PrimaryButton *>()) {
            if (one->isVisible()) {
                one->click();
                break;
            }
        }
        settle();
    }
};

/// A size of the window and a language.
struct Shown
{
    QSize size;
    enum Language
    {
        english,
        german,
        lengthened
    } language;
};

class WizardAtSize : public WizardOnItsWay, public ::testing::WithParamInterface<Shown>
{
protected:
    void TearDown() override { QCoreApplication::removeTranslator(&pseudoLocale); }

    QString name() const
    {
        const QStringList languages{u"english"_qs, u"german"_qs, u"wordy"_qs};
        return QStringLiteral("%1x%2-%3")
            .arg(GetParam().size.width())
            .arg(GetParam().size.height())
            .arg(languages.at(GetParam().language));
    }

    void expectNothingBesideThePage()
    {
        for (const QLabel *label : window().findChildren<QLabel *>()) {
            for (const QString &word : label->text().split(u' ')) {
                const bool isShown = label->isVisible() && label->wordWrap();
                EXPECT_TRUE(!isShown || label->fontMetrics().horizontalAdvance(word) <= label->width())
                    << word.toStdString();
            }
        }
        for (const auto *area : window().findChildren<QScrollArea *>()) {
            if (area->isVisible()) {
                EXPECT_LE(area->widget()->minimumSizeHint().width(), area->viewport()->width());
            }
        }
    }

    testing::PseudoLocale pseudoLocale;
};

TEST_P(WizardAtSize, ShowsEveryWordWhole)
{
    std::optional<Translations> german;
    if (GetParam().language == Shown::german) {
        german.emplace(QLocale(QLocale::German));
    }
    if (GetParam().language == Shown::lengthened) {
        ASSERT_TRUE(QCoreApplication::installTranslator(&pseudoLocale));
    }
    open();
    window().setFixedSize(GetParam().size);
    for (int page = 0; page < kTitles.size(); ++page) {
        settle();
        EXPECT_EQ(testing::clippedIn(window()), QStringList()) << page << " of " << name().toStdString();
        EXPECT_LE(window().layout()->minimumSize().width(), GetParam().size.width()) << page;
        if (GetParam().language != Shown::lengthened) { // whose letters make one word that no page can hold
            expectNothingBesideThePage();
        }
        picture(name() + u"-%1"_qs.arg(page));
        if (page + 1 < kTitles.size()) {
            goOn();
        }
    }
}

TEST_F(WizardOnItsWay, ShowsEveryPageWholeInEveryLook)
{
    for (int page = 0; page < kTitles.size(); ++page) {
        EXPECT_EQ(testing::clippedInEveryLook(u"wizard-%1"_qs.arg(page),
                                              {{1040, 700}, {720, 520}},
                                              [&] {
                                                  controller.reset();
                                                  open();
                                                  for (int before = 0; before < page; ++before) {
                                                      goOn();
                                                  }
                                                  return testing::Opened{window(), theme};
                                              }),
                  "");
    }
}

INSTANTIATE_TEST_SUITE_P(Wizard,
                         WizardAtSize,
                         ::testing::Values(Shown{{1040, 700}, Shown::english},
                                           Shown{{720, 520}, Shown::english},
                                           Shown{{1040, 700}, Shown::german},
                                           Shown{{720, 520}, Shown::german},
                                           Shown{{1040, 700}, Shown::lengthened},
                                           Shown{{720, 520}, Shown::lengthened}));

TEST_F(WizardPages, HaveTheirPictures)
{
    open();
    window().setFixedSize(1040, 700);
    const QStringList names{u"welcome"_qs, u"listener"_qs, u"local-files"_qs, u"account"_qs, u"summary"_qs};
    for (int page = 0; page < names.size(); ++page) {
        settle();
        ASSERT_EQ(heading(), kTitles.at(page));
        picture(names.at(page) + u"-dark"_qs);
        theme.setVariant(Variant::light);
        settle();
        picture(names.at(page) + u"-light"_qs);
        theme.setVariant(Variant::dark);
        if (page + 1 < names.size()) {
            press(u"Continue"_qs);
        }
    }
}

} // namespace
} // namespace gateway::shell
