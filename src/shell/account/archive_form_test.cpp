#include "shell/account/archive_form.h"

#include "account/testing/fake_archive.h"
#include "shell/account/archive_sign_in_sheet.h"
#include "shell/account/archive_trial_panel.h"
#include "shell/controls/combo_box.h"
#include "shell/controls/switch.h"
#include "shell/controls/text_label.h"
#include "shell/language/translations.h"
#include "shell/testing/every_look.h"
#include "shell/testing/screen_checks.h"
#include "shell/testing/shown_widgets.h"
#include "shell/testing/themed_window.h"

#include <QtTest/QSignalSpy>

#include <memory>

namespace gateway::shell {
namespace {

using cloud_client::ArchiveSignIn;
using cloud_client::DeviceAnswer;
using Method = ArchiveSignIn::Method;

DeviceAnswer grant()
{
    return {.tokens = cloud_client::DeviceTokens{
                QStringLiteral("t1"), QStringLiteral("r1"), QStringLiteral("ann")}};
}

struct ArchiveFormTest : account::testing::SessionWorld
{
    ~ArchiveFormTest() override
    {
        archive.model.cancel();
        settle();
    }

    ArchiveFormParts parts() { return partsIn(fixture.theme()); }

    ArchiveFormParts partsIn(const Theme &theme)
    {
        return {.theme = theme,
                .model = archive.model,
                .auth = auth,
                .openLink = [this](const QUrl &page) { links.append(page); },
                .chooseFile =
                    [this](QWidget *, const QString &title, const auto &chosen) {
                        asked.append(title);
                        chosen(chosenFile);
                    }};
    }

    ArchiveForm &open()
    {
        ArchiveForm &form = fixture.add(new ArchiveForm(parts()));
        fixture.window().resize(520, 760);
        EXPECT_TRUE(fixture.show());
        return form;
    }

    void settle()
    {
        for (int turn = 0; turn < 8; ++turn) {
            pool.waitUntilIdle();
            main.drain();
            QCoreApplication::processEvents();
        }
    }

    /// Chooses what stands in the shown list of this name.
    void choose(const QString &name, int index)
    {
        auto *box = testing::shownOf<ComboBox>(
            fixture.window(), [&](const ComboBox &one) { return one.accessibleName() == name; });
        ASSERT_NE(box, nullptr);
        box->setFocus();
        QTest::keyClick(box, Qt::Key_Home);
        for (int step = 0; step < index; ++step) {
            QTest::keyClick(box, Qt::Key_Down);
        }
        QCoreApplication::processEvents();
    }

    void chooseWay(int index) { choose(QStringLiteral("Way of signing in"), index); }

    void type(const QString &name, const QString &text) { testing::typeInto(fixture.window(), name, text); }

    void press(const QString &title)
    {
        testing::pressShown(fixture.window(), title);
        settle();
    }

    QStringList fields()
    {
        QStringList names;
        for (const TextField *field : fixture.window().findChildren<TextField *>()) {
            if (field->isVisible()) {
                names.append(field->accessibleName());
            }
        }
        return names;
    }

    QString words() { return testing::shownWords(fixture.window()); }

    /// Nothing of the label with these words is scrolled away.
    bool isWhollyInView(const QString &words)
    {
        const auto *label = testing::shownOf<TextLabel>(
            fixture.window(), [&](const TextLabel &one) { return one.text() == words; });
        return label != nullptr && label->visibleRegion() == QRegion(label->rect());
    }

    void askForCode()
    {
        chooseWay(4);
        type(QStringLiteral("Issuer"), QStringLiteral("https://id.example"));
        type(QStringLiteral("Client ID"), QStringLiteral("gateway"));
        press(QStringLiteral("Sign In"));
    }

    void picture(const QString &name)
    {
        testing::keepPicture(fixture.window(), QStringLiteral("archive-") + name);
    }

    account::testing::FakeArchive archive{*this};
    QList<QUrl> links;
    QStringList asked; // by whom a file was to be chosen
    QString chosenFile;
    testing::ThemedWindow fixture;
};

} // namespace

TEST_F(ArchiveFormTest, ShowsTheAddressAndTheFieldsOfTheWayThatIsChosen)
{
    open();
    EXPECT_TRUE(words().contains(QStringLiteral("https://archive.example/dicom-web")));
    EXPECT_FALSE(words().contains(QStringLiteral("pw")));

    const QList<QStringList> wanted{
        {QStringLiteral("User name"), QStringLiteral("Password")},
        {QStringLiteral("Token")},
        {QStringLiteral("File of the token")},
        {QStringLiteral("Issuer"),
         QStringLiteral("Client ID"),
         QStringLiteral("Client secret"),
         QStringLiteral("Scope"),
         QStringLiteral("Audience"),
         QStringLiteral("Token endpoint")},
        {QStringLiteral("Issuer"),
         QStringLiteral("Client ID"),
         QStringLiteral("Client secret"),
         QStringLiteral("Scope"),
         QStringLiteral("Audience"),
         QStringLiteral("Token endpoint"),
         QStringLiteral("Device endpoint")},
        {QStringLiteral("File of the client certificate"), QStringLiteral("File of its key")},
        {}};
    for (int way = 0; way < wanted.size(); ++way) {
        chooseWay(way);
        EXPECT_EQ(fields(), wanted[way]) << way;
    }
}

TEST_F(ArchiveFormTest, AsksForWhatTheClientShowsInPlaceOfASecret)
{
    open();
    chooseWay(3);

    choose(QStringLiteral("How the client shows who it is"), 2);
    EXPECT_TRUE(fields().contains(QStringLiteral("File of the key that signs")));
    EXPECT_FALSE(fields().contains(QStringLiteral("Client secret")));
    choose(QStringLiteral("How the client shows who it is"), 3);
    EXPECT_TRUE(fields().contains(QStringLiteral("File of the client certificate")));
    EXPECT_FALSE(fields().contains(QStringLiteral("File of the key that signs")));
}

TEST_F(ArchiveFormTest, TakesTheFileThatIsChosen)
{
    open();
    chooseWay(2);
    const auto pathIn = [this] {
        return testing::shownOf<TextField>(fixture.window(),
                                           [](const TextField &one) {
                                               return one.accessibleName() ==
                                                      QStringLiteral("File of the token");
                                           })
            ->text();
    };

    chosenFile = QStringLiteral("/srv/token");
    press(QStringLiteral("Choose…"));
    EXPECT_EQ(asked, QStringList{QStringLiteral("File of the token")});
    EXPECT_EQ(pathIn(), chosenFile);
    picture(QStringLiteral("file"));

    chosenFile.clear(); // the mind was changed
    press(QStringLiteral("Choose…"));
    EXPECT_EQ(pathIn(), QStringLiteral("/srv/token"));
}

TEST_F(ArchiveFormTest, SignsInByWhatIsTypedAndKeepsNothingSecretInTheFields)
{
    const ArchiveForm &form = open();
    const QSignalSpy successes(&form, &ArchiveForm::signedIn);
    chooseWay(1);
    type(QStringLiteral("Token"), QStringLiteral("abc"));

    press(QStringLiteral("Sign In"));
    runUntil([&] { return !successes.isEmpty(); });

    ASSERT_TRUE(service.lastLogin && service.lastLogin->archive);
    EXPECT_EQ(service.lastLogin->archive->method, Method::bearer);
    EXPECT_EQ(service.lastLogin->archive->secret, QStringLiteral("abc"));
    EXPECT_TRUE(testing::shownField(fixture.window(), QStringLiteral("Token"))->text().isEmpty());
}

TEST_F(ArchiveFormTest, TellsInOneSentenceWhatIsWrongAndKeepsWhatWasTyped)
{
    open();
    chooseWay(1);
    type(QStringLiteral("Token"), QStringLiteral("two words"));

    press(QStringLiteral("Sign In"));

    EXPECT_TRUE(words().contains(QStringLiteral("A token is one word of plain letters, digits and signs.")));
    EXPECT_EQ(testing::shownField(fixture.window(), QStringLiteral("Token"))->text(),
              QStringLiteral("two words"));
    EXPECT_TRUE(service.calls().isEmpty());
    picture(QStringLiteral("refused-dark"));
}

TEST_F(ArchiveFormTest, FillsInWhatStandsButForWhatIsSecretUntilSomebodyTypes)
{
    ArchiveSignIn present;
    present.method = Method::clientCredentials;
    present.secret = QStringLiteral("secret");
    present.client = {.issuer = QStringLiteral("https://id.example"),
                      .tokenEndpoint = {},
                      .id = QStringLiteral("gateway"),
                      .scope = {},
                      .audience = {}};
    settings.setToken(cloud_client::sessionText(present));
    open();

    EXPECT_EQ(testing::shownField(fixture.window(), QStringLiteral("Issuer"))->text(), present.client.issuer);
    EXPECT_TRUE(testing::shownField(fixture.window(), QStringLiteral("Client secret"))->text().isEmpty());

    type(QStringLiteral("Issuer"), QStringLiteral("https://other.example"));
    settings.setToken(cloud_client::sessionText({}));
    finish(auth.refresh(true));
    EXPECT_EQ(testing::shownField(fixture.window(), QStringLiteral("Issuer"))->text(),
              QStringLiteral("https://other.example"));
}

TEST_F(ArchiveFormTest, ShowsACodeThatCountsDownAndLeadsToItsPage)
{
    open();
    askForCode();

    EXPECT_TRUE(words().contains(QStringLiteral("ABCD")));
    EXPECT_TRUE(words().contains(QStringLiteral("https://id.example/device")));
    EXPECT_TRUE(words().contains(QStringLiteral("The code is good for 1:00 more.")));
    EXPECT_EQ(testing::clippedIn(fixture.window()), QStringList());
    picture(QStringLiteral("code-dark"));
    clock.advance(std::chrono::seconds(1));
    settle();
    EXPECT_TRUE(words().contains(QStringLiteral("The code is good for 0:59 more.")));
    press(QStringLiteral("Open Page"));
    EXPECT_EQ(links, QList<QUrl>{QUrl(QStringLiteral("https://id.example/device"))});
}

TEST_F(ArchiveFormTest, SignsInOnceAPersonHasEnteredTheCode)
{
    const ArchiveForm &form = open();
    const QSignalSpy successes(&form, &ArchiveForm::signedIn);
    archive.grants.steps = {grant};
    archive.grants.lifetime = std::chrono::hours(1); // however soon time is let pass again
    askForCode();

    runUntil([&] {
        clock.advance(std::chrono::seconds(1));
        return !archive.model.code();
    });
    runUntil([&] { return !auth.isChecking(); });
    settle();

    ASSERT_EQ(successes.size(), 1) << words().toStdString();
    EXPECT_EQ(service.lastLogin->archive->method, Method::device);
    EXPECT_FALSE(words().contains(QStringLiteral("ABCD")));
}

TEST_F(ArchiveFormTest, GivesTheCodeUp)
{
    open();
    askForCode();

    press(QStringLiteral("Cancel Sign-In"));

    EXPECT_FALSE(words().contains(QStringLiteral("ABCD")));
    EXPECT_FALSE(testing::shownButton(fixture.window(), QStringLiteral("Sign In"))->isBusy());
    EXPECT_TRUE(service.calls().isEmpty());
    press(QStringLiteral("Sign In"));
    EXPECT_TRUE(words().contains(QStringLiteral("ABCD"))) << "and it can be asked for again";
}

TEST_F(ArchiveFormTest, IsInASheetThatGivesUpWhatItBeganWhenItGoes)
{
    fixture.window().resize(720, 600);
    ASSERT_TRUE(fixture.show());
    ArchiveSignInSheet sheet(parts(), &fixture.window());
    const QSignalSpy dismissals(&sheet, &Sheet::dismissed);
    sheet.open();
    askForCode();
    ASSERT_TRUE(archive.model.code());
    for (const QString &part : {archive.model.code()->userCode, archive.model.code()->address}) {
        EXPECT_TRUE(isWhollyInView(part)) << part.toStdString();
    }
    for (const char *name : {"Open Page", "Copy Code", "Close"}) {
        const Button *button = testing::shownButton(fixture.window(), QString::fromLatin1(name));
        EXPECT_EQ(button->visibleRegion(), QRegion(button->rect())) << name;
    }
    EXPECT_EQ(testing::clippedIn(fixture.window()), QStringList());
    picture(QStringLiteral("sheet-code-dark"));

    press(QStringLiteral("Close"));

    EXPECT_EQ(dismissals.size(), 1);
    EXPECT_FALSE(archive.model.code());
}

TEST_F(ArchiveFormTest, IsInASheetThatSaysWhoIsSignedIn)
{
    fixture.window().resize(720, 600);
    ASSERT_TRUE(fixture.show());
    ArchiveSignInSheet sheet(parts(), &fixture.window());
    sheet.open();
    QCoreApplication::processEvents();
    const auto middleOf = [this](const char *name) {
        const Button *button = testing::shownButton(fixture.window(), QString::fromLatin1(name));
        return button->mapTo(&fixture.window(), button->rect().center());
    };
    EXPECT_EQ(middleOf("Close").y(), middleOf("Sign In").y());
    EXPECT_LT(middleOf("Close").x(), middleOf("Sign In").x());
    type(QStringLiteral("User name"), QStringLiteral("ann"));
    type(QStringLiteral("Password"), QStringLiteral("pw"));
    QTest::keyClick(testing::shownField(fixture.window(), QStringLiteral("Password")), Qt::Key_Return);
    runUntil([this] { return words().contains(QStringLiteral("You are now signed in as")); });

    EXPECT_NE(testing::shownButton(fixture.window(), QStringLiteral("Continue")), nullptr);
}

TEST_F(ArchiveFormTest, ShowsALineForEachStepOfATrial)
{
    using Outcome = cloud_client::TrialStep::Outcome;
    archive.found = {{QStringLiteral("name"), Outcome::good, QStringLiteral("It is there.")},
                     {QStringLiteral("read back"), Outcome::remark, QStringLiteral("It came back changed.")},
                     {QStringLiteral("delete"), Outcome::failed, QStringLiteral("It can't be deleted.")}};
    fixture.add(new ArchiveTrialPanel(fixture.theme(), archive.model));
    fixture.window().resize(420, 420);
    ASSERT_TRUE(fixture.show());

    press(QStringLiteral("Test"));

    for (const char *line : {"Name: good",
                             "It is there.",
                             "Read back: remark",
                             "It came back changed.",
                             "Delete: failed",
                             "It can't be deleted."}) {
        EXPECT_TRUE(words().contains(QLatin1StringView(line))) << line;
    }
    EXPECT_EQ(testing::clippedIn(fixture.window()), QStringList());
    picture(QStringLiteral("trial-dark"));
}

TEST_F(ArchiveFormTest, IsInASheetWithRoomInEveryLook)
{
    ASSERT_TRUE(fixture.show());
    EXPECT_EQ(testing::clippedInEveryLook(
                  QStringLiteral("archive-sign-in"),
                  {{1180, 860}, {1000, 700}},
                  fixture,
                  [this] { return std::make_unique<ArchiveSignInSheet>(parts(), &fixture.window()); }),
              "");
}

TEST_F(ArchiveFormTest, KeepsItsRowsBesideEachOtherWhereThereIsMoreRoom)
{
    testing::ThemedWindow window;
    ArchiveForm &form = window.add(new ArchiveForm(partsIn(window.theme())));
    const auto endsAt = [&](int height) {
        window.window().resize(430, height);
        EXPECT_TRUE(window.show());
        QCoreApplication::processEvents();
        const auto *signIn = form.findChild<PrimaryButton *>();
        return signIn->mapTo(&form, QPoint(0, signIn->height())).y();
    };

    EXPECT_EQ(endsAt(1500), endsAt(800));
}

TEST_F(ArchiveFormTest, ClipsNothingInGermanNorWhereWordsAreLong)
{
    testing::PseudoLocale wordy;
    for (const bool isGerman : {true, false}) {
        std::optional<Translations> german;
        if (isGerman) {
            german.emplace(QLocale(QLocale::German));
        } else {
            QCoreApplication::installTranslator(&wordy);
        }
        testing::ThemedWindow window;
        ArchiveForm &form = window.add(new ArchiveForm(partsIn(window.theme())));
        window.window().resize(430, 800);
        EXPECT_TRUE(window.show());
        auto *ways = form.findChildren<ComboBox *>().first();
        for (int way = 0; way < ways->count(); ++way) {
            ways->setCurrentIndex(way);
            Q_EMIT ways->activated(way);
            QCoreApplication::processEvents();
            EXPECT_EQ(testing::clippedIn(window.window()), QStringList()) << way << isGerman;
        }
        testing::keepPicture(window.window(), isGerman ? u"archive-german"_qs : u"archive-wordy"_qs);
        QCoreApplication::removeTranslator(&wordy);
    }
}

} // namespace gateway::shell
