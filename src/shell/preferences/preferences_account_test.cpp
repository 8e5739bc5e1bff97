#include "shell/account/gateway_change_password_sheet.h"
#include "shell/account/terms_sheet.h"
#include "shell/preferences/testing/preferences_world.h"

namespace gateway::shell {
namespace {

using Item = GatewaySettingsItem;

struct AccountPane : testing::PreferencesWorld
{
    void signInHere(const QString &word)
    {
        type(u"Email"_qs, u"  ann@site.example "_qs);
        type(u"Password"_qs, word);
        QTest::keyClick(field(u"Password"_qs), Qt::Key_Return);
        runUntil([this] { return !auth.isChecking() && !account.terms().isLoading(); });
        settle();
    }

    void openSignedIn()
    {
        signIn();
        open();
        runUntil([this] { return account.profile().user().has_value(); });
        settle();
    }

    TermsSheet *terms() { return window().findChild<TermsSheet *>(); }
    bool asksForTerms() { return terms() != nullptr && terms()->isVisible(); }

    /// Terms that wait, while somebody is signed in and looks at the account.
    void openWithTerms()
    {
        SetupWorld::terms.isAccepted = false;
        openSignedIn();
        runUntil([this] { return account.terms().showTerms(); });
        settle();
        ASSERT_TRUE(asksForTerms());
    }
};

TEST_F(AccountPane, OffersToSignInWhereNobodyIs)
{
    finish(auth.refresh(false));
    open();

    EXPECT_TRUE(says(u"Sign in to connect Quorin Gateway with Quorin Cloud services."_qs));
    EXPECT_TRUE(says(u"Signed out"_qs));
    EXPECT_TRUE(says(u"No account is currently authenticated."_qs));
    EXPECT_TRUE(says(u"Need a Quorin Account? Create one in Quorin Lens on the Mac App Store."_qs));
    EXPECT_FALSE(button(u"Sign In"_qs)->isEnabled());
    EXPECT_EQ(button(u"Change Password…"_qs), nullptr);
    EXPECT_EQ(button(u"Edit Profile"_qs), nullptr);
    EXPECT_EQ(testing::clippedIn(window()), QStringList());
    picture(u"account-signed-out-dark"_qs);
    press(u"Open Quorin Lens on the Mac App Store"_qs);
    EXPECT_EQ(links, QList<QUrl>{storePage});
}

TEST_F(AccountPane, SaysThatItIsNotKnownYetBeforeTheFirstLook)
{
    open();

    EXPECT_TRUE(says(u"Checking sign-in status…"_qs));
    EXPECT_FALSE(says(u"Signed out"_qs));
}

TEST_F(AccountPane, SignsInWithTheTrimmedEmail)
{
    finish(auth.refresh(false));
    open();

    signInHere(u"wrong"_qs);
    EXPECT_TRUE(says(*service.refusal));
    EXPECT_TRUE(field(u"Password"_qs)->hasFocus());
    picture(u"account-refused-dark"_qs);
    signInHere(u"right"_qs);

    EXPECT_EQ(service.lastLogin->email, u"ann@site.example"_qs);
    EXPECT_TRUE(says(u"Signed in"_qs));
    EXPECT_TRUE(says(u"Signed in as Radiology & Partners"_qs));
    EXPECT_EQ(button(u"Sign In"_qs), nullptr);
    EXPECT_TRUE(says(u"Weiss"_qs));
}

TEST_F(AccountPane, GivesASignInUpThatGetsNoAnswer)
{
    finish(auth.refresh(false));
    open();
    EXPECT_EQ(button(u"Cancel"_qs), nullptr);
    type(u"Email"_qs, u"ann@site.example"_qs);
    type(u"Password"_qs, u"right"_qs);
    service.hold(u"login"_qs);
    button(u"Sign In"_qs)->click();
    EXPECT_TRUE(auth.isChecking());

    button(u"Cancel"_qs)->click();

    EXPECT_FALSE(auth.isChecking());
    EXPECT_EQ(button(u"Cancel"_qs), nullptr);
    service.release();
    settle();
    EXPECT_FALSE(auth.state().isSignedIn());
    EXPECT_TRUE(field(u"Password"_qs)->hasFocus());
    EXPECT_EQ(field(u"Password"_qs)->text(), u"right"_qs);
}

TEST_F(AccountPane, ForgetsThePasswordWhenItGoes)
{
    finish(auth.refresh(false));
    open();
    type(u"Password"_qs, u"secret"_qs);

    open(Item::listener);
    open(Item::account);

    EXPECT_EQ(field(u"Password"_qs)->text(), QString());
}

TEST_F(AccountPane, ShowsTheProfile)
{
    openSignedIn();

    EXPECT_TRUE(says(u"Manage your Quorin account profile and active session."_qs));
    for (const QString &words : {u"Personal Information"_qs,
                                 u"Dr."_qs,
                                 u"Ann"_qs,
                                 u"Weiss"_qs,
                                 u"--"_qs,
                                 u"Contact"_qs,
                                 u"ann@site.example"_qs,
                                 u"+41 44 555 01 01"_qs,
                                 u"Workplace"_qs,
                                 u"Linked Workplaces"_qs,
                                 u"Klinik am See"_qs,
                                 u"Unnamed workplace"_qs,
                                 u"Default"_qs}) {
        EXPECT_TRUE(says(words)) << words.toStdString();
    }
    EXPECT_EQ(testing::clippedIn(window()), QStringList());
    picture(u"account-dark"_qs);
    appearance.choose(core::Appearance::light);
    picture(u"account-light"_qs);
}

TEST_F(AccountPane, LoadsTheProfileAnewAtF5UnlessItIsEdited)
{
    openSignedIn();
    service.user.lastName = u"Schwarz"_qs;

    QTest::keyClick(&window(), Qt::Key_F5);
    settle();
    EXPECT_TRUE(says(u"Schwarz"_qs));

    press(u"Edit Profile"_qs);
    type(u"Last Name"_qs, u"Weiss"_qs);
    QTest::keyClick(&window(), Qt::Key_F5);
    settle();
    EXPECT_EQ(field(u"Last Name"_qs)->text(), u"Weiss"_qs);
}

TEST_F(AccountPane, IsNotEditedWhileItIsLoadedAnew)
{
    openSignedIn();
    service.hold(u"getUser"_qs);
    button(u"Reload"_qs)->click();
    EXPECT_FALSE(button(u"Edit Profile"_qs)->isEnabled()) << "the answer would end it";

    service.release();
    settle();

    EXPECT_TRUE(button(u"Edit Profile"_qs)->isEnabled());
}

TEST_F(AccountPane, EditsTheProfileAndSavesIt)
{
    openSignedIn();
    press(u"Edit Profile"_qs);
    EXPECT_TRUE(field(u"Title"_qs)->hasFocus());
    EXPECT_EQ(field(u"Email"_qs), nullptr); // which isn't edited here
    picture(u"account-editing-dark"_qs);

    type(u"First Name"_qs, u"Anna"_qs);
    type(u"Middle Name"_qs, u" "_qs);
    press(u"Save Changes"_qs);

    EXPECT_EQ(service.lastUpdate->firstName, u"Anna"_qs);
    EXPECT_EQ(service.lastUpdate->middleName, std::nullopt);
    EXPECT_TRUE(says(u"Account updated successfully."_qs));
    EXPECT_EQ(button(u"Save Changes"_qs), nullptr);
    EXPECT_TRUE(says(u"Anna"_qs));
}

TEST_F(AccountPane, PutsTheProfileBackWhenEditingIsCancelled)
{
    openSignedIn();
    press(u"Edit Profile"_qs);
    type(u"First Name"_qs, u"Anna"_qs);

    press(u"Cancel"_qs);

    EXPECT_FALSE(service.lastUpdate);
    EXPECT_TRUE(says(u"Ann"_qs));
    EXPECT_FALSE(says(u"Anna"_qs));
}

TEST_F(AccountPane, KeepsWhatIsEditedWhenSavingFailsAndThroughLooksAtTheSession)
{
    openSignedIn();
    press(u"Edit Profile"_qs);
    type(u"First Name"_qs, u"Anna"_qs);
    service.isOffline = true;

    press(u"Save Changes"_qs);
    finish(auth.refresh(false));
    settle();

    EXPECT_TRUE(says(service.offlineWords));
    EXPECT_EQ(field(u"First Name"_qs)->text(), u"Anna"_qs);
}

TEST_F(AccountPane, OffersToTryAgainWhereTheProfileCannotBeHad)
{
    service.knowsUser = false;
    signIn();
    open();
    EXPECT_TRUE(says(u"Signed in with an active session."_qs));
    ASSERT_NE(button(u"Retry"_qs), nullptr);
    EXPECT_EQ(words().count(u"Unable to load account details."_qs), 1);
    picture(u"account-unknown-dark"_qs);

    service.knowsUser = true;
    press(u"Retry"_qs);

    EXPECT_TRUE(says(u"Weiss"_qs));
    EXPECT_EQ(button(u"Retry"_qs), nullptr);
}

TEST_F(AccountPane, EmptiesWithTheSession)
{
    openSignedIn();

    press(u"Sign out"_qs);
    runUntil([this] { return !auth.isChecking(); });
    settle();

    EXPECT_TRUE(says(u"Signed out"_qs));
    EXPECT_FALSE(says(u"Weiss"_qs));
}

TEST_F(AccountPane, KeepsNoProfileForAnArchive)
{
    hasProfile = false;
    signIn();
    open();

    EXPECT_TRUE(says(u"Signed in"_qs));
    EXPECT_FALSE(says(u"Profile"_qs));
    EXPECT_EQ(button(u"Change Password…"_qs), nullptr);
}

TEST_F(AccountPane, ChangesThePasswordInItsSheet)
{
    openSignedIn();
    press(u"Change Password…"_qs);
    EXPECT_TRUE(field(u"Current Password"_qs)->hasFocus());
    type(u"Current Password"_qs, u"right"_qs);
    type(u"New Password"_qs, u"better"_qs);
    type(u"Confirm New Password"_qs, u"bitter"_qs);
    press(u"Change Password"_qs);
    EXPECT_TRUE(says(u"Unable to Change Password"_qs));
    EXPECT_TRUE(says(u"New passwords do not match."_qs));
    EXPECT_EQ(testing::clippedIn(window()), QStringList());
    picture(u"password-dark"_qs);

    type(u"Confirm New Password"_qs, u"better"_qs);
    press(u"Change Password"_qs);
    EXPECT_TRUE(says(u"Password Updated"_qs));
    EXPECT_EQ(service.password, u"better"_qs);
    press(u"OK"_qs);

    EXPECT_TRUE(says(u"Password updated successfully."_qs));
}

TEST_F(AccountPane, AsksForTermsThatWait)
{
    openWithTerms();
    picture(u"terms-dark"_qs);

    press(u"Accept"_qs);

    EXPECT_FALSE(asksForTerms());
    EXPECT_EQ(acceptances, 1);
    EXPECT_TRUE(SetupWorld::terms.lastAccept);
}

TEST_F(AccountPane, EndsTheSessionOfWhoDeclinesAndSaysSo)
{
    openWithTerms();

    press(u"Decline"_qs);
    runUntil([this] { return account.termsError().has_value(); });
    settle();

    EXPECT_TRUE(says(u"Quorin Cloud Terms & Conditions were declined. You have been signed out."_qs));
    EXPECT_TRUE(says(u"Signed out"_qs));
    EXPECT_FALSE(asksForTerms());
    picture(u"terms-declined-dark"_qs);
}

TEST_F(AccountPane, TakesTheTermsAwayWithTheSession)
{
    openWithTerms();

    finish(auth.signOut()); // from a terminal, say
    settle();

    EXPECT_FALSE(asksForTerms());
    EXPECT_NE(button(u"Sign In"_qs), nullptr);
}

TEST_F(AccountPane, SaysWhyTermsCannotBeHad)
{
    SetupWorld::terms.failing = QStringList{u"status"_qs};
    SetupWorld::terms.failure = u"Out of paper."_qs;

    openSignedIn();

    EXPECT_TRUE(says(u"Out of paper."_qs));
    EXPECT_FALSE(asksForTerms());
}

TEST_F(AccountPane, TakesThePasswordSheetAwayWithTheSession)
{
    openSignedIn();
    press(u"Change Password…"_qs);
    ASSERT_TRUE(window().findChild<GatewayChangePasswordSheet *>()->isVisible());

    finish(auth.signOut());
    settle();

    EXPECT_FALSE(window().findChild<GatewayChangePasswordSheet *>()->isVisible());
}

} // namespace
} // namespace gateway::shell
