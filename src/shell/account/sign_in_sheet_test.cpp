#include "shell/account/sign_in_sheet.h"

#include "account/quorin_auth_view_model.h"
#include "account/testing/account_world.h"
#include "shell/controls/button.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/text_field.h"
#include "shell/testing/every_look.h"
#include "shell/testing/screen_checks.h"
#include "shell/testing/themed_window.h"

#include <QtTest/QSignalSpy>
#include <QtWidgets/QLabel>

#include <functional>
#include <memory>
#include <vector>

namespace gateway::shell {
namespace {

const QString kEmail = QStringLiteral("ann@site.example");
const QString kRight = QStringLiteral("right");
const QString kWrong = QStringLiteral("wrong");
const QString kLogin = QStringLiteral("login");

struct SignInSheetTest : account::testing::AccountWorld
{
    ~SignInSheetTest() override { service.release(); }

    void open()
    {
        fixture.window().resize(720, 600);
        opener.setFocus();
        ASSERT_TRUE(fixture.show());
        sheet.open();
        ASSERT_TRUE(sheet.isVisible());
    }

    void enter(const QString &email, const QString &password)
    {
        this->email().setText(email);
        this->password().setText(password);
    }

    void signIn(const QString &word = kRight)
    {
        enter(kEmail, word);
        QTest::keyClick(&password(), Qt::Key_Return);
        runUntil([&] { return service.calls().contains(kLogin) && !model.isChecking(); });
        QCoreApplication::processEvents();
    }

    template <typename Widget>
    Widget &named(const QString &name)
    {
        const QList<Widget *> all = sheet.findChildren<Widget *>();
        for (Widget *one : all) {
            if (QAccessible::queryAccessibleInterface(one)->text(QAccessible::Name) == name) {
                return *one;
            }
        }
        throw std::runtime_error("no such part");
    }

    TextField &email() { return named<TextField>(QStringLiteral("Email")); }
    PasswordField &password() { return named<PasswordField>(QStringLiteral("Password")); }
    Button &signInButton() { return named<Button>(QStringLiteral("Sign in")); }
    Button &cancelButton() { return named<Button>(QStringLiteral("Cancel")); }
    Button &continueButton() { return named<Button>(QStringLiteral("Continue")); }
    InlineError &error() { return *sheet.findChild<InlineError *>(); }

    /// Kept where the environment names a folder.
    void picture(const QString &name)
    {
        for (const bool isDark : {false, true}) {
            fixture.theme().setVariant(isDark ? Variant::dark : Variant::light);
            testing::keepPicture(
                fixture.window(),
                QStringLiteral("sign-in-%1-%2").arg(name, isDark ? u"dark"_qs : u"light"_qs));
        }
    }

    bool shows(const QString &words) const
    {
        const QList<QLabel *> labels = sheet.findChildren<QLabel *>();
        return std::any_of(labels.begin(), labels.end(), [&](const QLabel *label) {
            return label->isVisible() && label->text() == words;
        });
    }

    account::QuorinAuthViewModel model{
        {service, service, settings, defaults, notifications, main, pool, clock}, QStringLiteral("3.1.0")};
    testing::ThemedWindow fixture;
    PrimaryButton &opener = fixture.add(new PrimaryButton(fixture.theme(), QStringLiteral("Opener")));
    SignInSheet sheet{fixture.theme(), model, &fixture.window()};
    QSignalSpy dismissals{&sheet, &Sheet::dismissed};
};

} // namespace

TEST_F(SignInSheetTest, BeginsWithTheEmail)
{
    open();

    EXPECT_TRUE(email().hasFocus());
    EXPECT_TRUE(shows(QStringLiteral("Sign In")));
    EXPECT_FALSE(error().isVisible());
    EXPECT_FALSE(signInButton().isEnabled());
    EXPECT_TRUE(cancelButton().isEnabled());
    EXPECT_FALSE(continueButton().isVisible());
    picture(QStringLiteral("rest"));
}

TEST_F(SignInSheetTest, IsReadFromTheEmailToTheButtons)
{
    open();
    enter(kEmail, kRight);

    QTest::keyClick(&email(), Qt::Key_Tab);
    EXPECT_TRUE(password().hasFocus());
    QTest::keyClick(&password(), Qt::Key_Tab);
    EXPECT_TRUE(cancelButton().hasFocus());
    QTest::keyClick(&cancelButton(), Qt::Key_Tab);
    EXPECT_TRUE(signInButton().hasFocus());
    QTest::keyClick(&signInButton(), Qt::Key_Tab);

    EXPECT_TRUE(email().hasFocus());
}

TEST_F(SignInSheetTest, SendsTheTrimmedEmailAndThePasswordAsTyped)
{
    service.password = QStringLiteral(" right ");
    open();

    enter(QStringLiteral("  ann@site.example "), QStringLiteral(" right "));
    QTest::mouseClick(&signInButton(), Qt::LeftButton);
    runUntil([&] { return continueButton().isVisible(); });

    EXPECT_EQ(service.lastLogin->email, kEmail);
    EXPECT_EQ(service.lastLogin->password, QStringLiteral(" right "));
}

TEST_F(SignInSheetTest, DoesNothingWithoutBothEntries)
{
    open();

    for (const auto &[email, password] : {std::pair(QString(), kRight),
                                          std::pair(QStringLiteral("   "), kRight),
                                          std::pair(kEmail, QString())}) {
        enter(email, password);
        EXPECT_FALSE(signInButton().isEnabled());
        QTest::keyClick(&this->email(), Qt::Key_Return);
        QTest::keyClick(&this->password(), Qt::Key_Enter);
    }
    QCoreApplication::processEvents();

    EXPECT_TRUE(service.calls().isEmpty());
    EXPECT_FALSE(error().isVisible());
    EXPECT_TRUE(sheet.isVisible());
}

TEST_F(SignInSheetTest, TakesAPasswordOfBlanks)
{
    open();

    enter(kEmail, QStringLiteral("  "));

    EXPECT_TRUE(signInButton().isEnabled());
}

TEST_F(SignInSheetTest, SaysWhoIsSignedInAndGoesAtContinue)
{
    service.user.workplaceName = QStringLiteral("East <b>Clinic</b>");
    open();

    signIn();

    EXPECT_TRUE(shows(QStringLiteral("Sign In Successful")));
    EXPECT_TRUE(shows(QStringLiteral("You are now signed in as East <b>Clinic</b>.")));
    EXPECT_FALSE(email().isVisible());
    ASSERT_TRUE(continueButton().hasFocus());
    QTest::keyClick(&continueButton(), Qt::Key_Return);
    EXPECT_FALSE(sheet.isVisible());
    EXPECT_EQ(dismissals.count(), 1);
    EXPECT_TRUE(opener.hasFocus());
}

TEST_F(SignInSheetTest, NamesAUserWithoutWorkplaceAndEmailByTheNumber)
{
    open();

    signIn();

    EXPECT_TRUE(shows(QStringLiteral("You are now signed in as User #42.")));
    picture(QStringLiteral("successful"));
}

TEST_F(SignInSheetTest, NamesNobodyWhereTheAccountCannotBeLoaded)
{
    service.knowsUser = false;
    open();

    signIn();

    EXPECT_TRUE(shows(QStringLiteral("You are now signed in.")));
    EXPECT_FALSE(error().isVisible());
}

TEST_F(SignInSheetTest, StaysWithTheMessageWhenTheSignInFails)
{
    open();

    signIn(kWrong);

    EXPECT_TRUE(sheet.isVisible());
    EXPECT_TRUE(shows(*service.refusal));
    EXPECT_EQ(email().text(), kEmail);
    EXPECT_TRUE(password().hasFocus());
    EXPECT_EQ(password().selectedText().size(), kWrong.size());
    picture(QStringLiteral("refused"));
    EXPECT_FALSE(signInButton().isBusy());
    signIn();
    EXPECT_TRUE(continueButton().isVisible());
}

TEST_F(SignInSheetTest, GrowsWithTheMessageAndClipsNothing)
{
    service.refusal = testing::lengthened(QStringLiteral("Wrong email or password.")).repeated(4);
    open();

    signIn(kWrong);

    EXPECT_EQ(testing::clippedIn(sheet), QStringList());
}

TEST_F(SignInSheetTest, ClearsTheMessageAtOpeningAndAtLeaving)
{
    resultOf(model.signIn(kEmail, kWrong));
    ASSERT_TRUE(model.lastAuthError());

    open();
    EXPECT_FALSE(model.lastAuthError());
    EXPECT_FALSE(error().isVisible());
    signIn(kWrong);
    ASSERT_TRUE(error().isVisible());
    QTest::mouseClick(&cancelButton(), Qt::LeftButton);

    EXPECT_FALSE(model.lastAuthError());
    EXPECT_FALSE(sheet.isVisible());
    EXPECT_EQ(dismissals.count(), 1);
}

TEST_F(SignInSheetTest, ForgetsThePasswordWhenItGoes)
{
    open();
    enter(kEmail, kRight);
    password().setRevealed(true);

    QTest::keyClick(&password(), Qt::Key_Escape);

    EXPECT_FALSE(sheet.isVisible());
    EXPECT_EQ(dismissals.count(), 1);
    EXPECT_TRUE(password().text().isEmpty());
    EXPECT_FALSE(password().isUndoAvailable());
    EXPECT_EQ(password().echoMode(), QLineEdit::Password);
    sheet.open();
    EXPECT_TRUE(email().text().isEmpty());
}

TEST_F(SignInSheetTest, IsBusyInItsPlaceAndSignsInOnce)
{
    service.hold(kLogin);
    open();
    enter(kEmail, kRight);
    const int width = signInButton().width();

    QTest::keyClick(&password(), Qt::Key_Return);
    reach(kLogin, 1);
    EXPECT_TRUE(signInButton().isBusy());
    EXPECT_EQ(signInButton().width(), width);
    picture(QStringLiteral("busy"));
    EXPECT_TRUE(email().isReadOnly());
    EXPECT_TRUE(password().isReadOnly());
    QTest::keyClick(&password(), Qt::Key_Return);
    QTest::mouseClick(&signInButton(), Qt::LeftButton);
    service.release();
    runUntil([&] { return continueButton().isVisible(); });

    EXPECT_EQ(service.calls().count(kLogin), 1);
}

TEST_F(SignInSheetTest, IsBusyWhileAnotherSignsOut)
{
    finish(model.signIn(kEmail, kRight));
    service.hold(QStringLiteral("logout"));
    const auto leaving = model.signOut();
    open();

    enter(kEmail, kRight);
    QTest::keyClick(&password(), Qt::Key_Return);
    EXPECT_TRUE(signInButton().isBusy());
    service.release();
    finish(leaving);

    EXPECT_EQ(service.calls().count(kLogin), 1);
    EXPECT_FALSE(signInButton().isBusy());
}

TEST_F(SignInSheetTest, GivesTheSignInUpWhenItIsLeft)
{
    const std::vector<std::function<void()>> waysToLeave{
        [this] { cancelButton().click(); },
        [this] { QTest::keyClick(&password(), Qt::Key_Escape); },
        [this] { fixture.window().hide(); },
    };
    for (const auto &leave : waysToLeave) {
        service.hold(kLogin);
        open();
        enter(kEmail, kRight);
        const int asked = static_cast<int>(service.calls().count(kLogin));
        QTest::keyClick(&password(), Qt::Key_Return);
        reach(kLogin, asked + 1);

        leave();
        EXPECT_FALSE(model.isChecking());
        service.release();
        pool.waitUntilIdle();
        main.drain();

        EXPECT_FALSE(model.state().isSignedIn());
        EXPECT_FALSE(settings.token());
        EXPECT_FALSE(model.lastAuthError());
        sheet.closeSheet();
    }
}

TEST_F(SignInSheetTest, SaysNothingOfASignInThatWasGivenUpBefore)
{
    service.hold(kLogin);
    open();
    enter(kEmail, kWrong);
    QTest::keyClick(&password(), Qt::Key_Return);
    reach(kLogin, 1);
    cancelButton().click();
    sheet.open();
    enter(kEmail, kRight);

    QTest::keyClick(&password(), Qt::Key_Return);
    reach(kLogin, 2);
    service.release();
    runUntil([&] { return !model.isChecking(); });
    QCoreApplication::processEvents();

    EXPECT_TRUE(continueButton().isVisible());
    EXPECT_FALSE(model.lastAuthError());
}

TEST_F(SignInSheetTest, AsksAnewWhenItsWindowComesBack)
{
    open();
    enter(kEmail, kRight);

    fixture.window().hide();
    EXPECT_TRUE(password().text().isEmpty());
    ASSERT_TRUE(fixture.show());

    EXPECT_TRUE(sheet.isVisible());
    EXPECT_TRUE(email().text().isEmpty());
    EXPECT_EQ(dismissals.count(), 0);
}

TEST_F(SignInSheetTest, IsOverWhenItsWindowGoesAfterTheSuccess)
{
    open();
    signIn();

    fixture.window().hide();
    ASSERT_TRUE(fixture.show());

    EXPECT_FALSE(sheet.isVisible());
    EXPECT_EQ(dismissals.count(), 1);
}

TEST_F(SignInSheetTest, MayDieWhileTheServiceIsAsked)
{
    service.hold(kLogin);
    ASSERT_TRUE(fixture.show());
    auto *dying = new SignInSheet(fixture.theme(), model, &fixture.window());
    dying->open();
    const QList<TextField *> fields = dying->findChildren<TextField *>();
    for (TextField *field : fields) {
        field->setText(kRight);
    }
    QTest::keyClick(fields.first(), Qt::Key_Return);
    reach(kLogin, 1);

    delete dying;
    service.release();
    runUntil([&] { return !model.isChecking(); });

    EXPECT_TRUE(model.signedInLabel());
}

TEST_F(SignInSheetTest, HasRoomInEveryLook)
{
    ASSERT_TRUE(fixture.show());
    EXPECT_EQ(
        testing::clippedInEveryLook(
            QStringLiteral("sign-in"),
            {{1180, 860}, {1000, 700}},
            fixture,
            [this] { return std::make_unique<SignInSheet>(fixture.theme(), model, &fixture.window()); }),
        "");
}

} // namespace gateway::shell
