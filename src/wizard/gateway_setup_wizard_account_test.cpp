#include "wizard/testing/setup_world.h"

namespace gateway::wizard {
namespace {

using Status = GatewaySetupPreflightCheckStatus;
using Step = GatewaySetupStep;

class SetupAccountStep : public testing::SetupWorld
{
protected:
    SetupAccountStep()
    {
        terms.isAccepted = true;
        openSettled();
        goTo(Step::quorinAccount);
    }

    void enter(const QString &email, const QString &password)
    {
        setup->updateAccountEmail(email);
        setup->updateAccountPassword(password);
        finish(setup->signIn());
        runUntil([this] { return !setup->isCheckingTerms(); });
    }
};

TEST_F(SetupAccountStep, NeedsBothEmailAndPassword)
{
    for (const auto &[email, password] :
         {std::pair(u"  "_qs, u"right"_qs), std::pair(u"a@b.example"_qs, QString())}) {
        enter(email, password);
        EXPECT_EQ(setup->accountMessage(), u"Enter both email and password to sign in."_qs);
        EXPECT_TRUE(setup->accountMessageIsError());
    }
    EXPECT_FALSE(service.calls().contains(u"login"_qs));
}

TEST_F(SetupAccountStep, SignsInWithTheTrimmedEmailAndForgetsThePassword)
{
    enter(u" ann@site.example "_qs, u"right"_qs);

    EXPECT_EQ(service.lastLogin->email, u"ann@site.example"_qs);
    EXPECT_EQ(setup->draft().accountPassword, QString());
    EXPECT_EQ(setup->accountMessage(), std::nullopt);
    EXPECT_FALSE(setup->accountMessageIsError());
    EXPECT_EQ(check(u"account_status"_qs).status, Status::passed);
    EXPECT_EQ(check(u"account_status"_qs).detail, u"Account is connected."_qs);
    EXPECT_EQ(setup->summaryRows().last().value, u"ann@site.example"_qs);
}

TEST_F(SetupAccountStep, SaysWhyASignInFailed)
{
    enter(u"ann@site.example"_qs, u" right"_qs); // never trimmed

    EXPECT_EQ(setup->accountMessage(), u"Wrong email or password."_qs);
    EXPECT_TRUE(setup->accountMessageIsError());
    EXPECT_EQ(setup->draft().accountPassword, u" right"_qs);
    EXPECT_EQ(check(u"account_status"_qs).detail,
              u"Not connected. You can finish setup and sign in later."_qs);
}

TEST_F(SetupAccountStep, CannotBeLeftInTheMiddleOfASignIn)
{
    service.hold(u"login"_qs);
    setup->updateAccountEmail(u"ann@site.example"_qs);
    setup->updateAccountPassword(u"right"_qs);
    const auto signIn = setup->signIn();
    EXPECT_FALSE(setup->canContinue());

    setup->goNext();
    EXPECT_EQ(setup->step(), Step::quorinAccount);
    EXPECT_EQ(setup->validationMessage(), u"Resolve highlighted issues before continuing."_qs);

    service.release();
    finish(signIn);
    EXPECT_TRUE(setup->canContinue());
}

TEST_F(SetupAccountStep, GivesASignInUpAndKeepsWhatWasEntered)
{
    service.hold(u"login"_qs);
    setup->updateAccountEmail(u"ann@site.example"_qs);
    setup->updateAccountPassword(u"right"_qs);
    const auto signIn = setup->signIn();
    EXPECT_TRUE(setup->waitsForSignIn());

    setup->cancelSignIn();

    EXPECT_FALSE(setup->waitsForSignIn());
    EXPECT_TRUE(setup->canContinue());
    service.release();
    finish(signIn);
    EXPECT_FALSE(auth.state().isSignedIn());
    EXPECT_EQ(setup->accountMessage(), std::nullopt);
    EXPECT_EQ(setup->draft().accountPassword, u"right"_qs);
}

TEST_F(SetupAccountStep, CanBeSkippedAndSaysWhereToSignInLater)
{
    setup->skipSignIn();

    EXPECT_EQ(setup->step(), Step::summary);
    EXPECT_EQ(setup->accountMessage(), u"You can sign in later from the tray menu or Preferences."_qs);
    EXPECT_FALSE(setup->accountMessageIsError());
}

TEST_F(SetupAccountStep, TellsThatWhatWasEnteredWasNotUsed)
{
    const QString note = u"The sign-in that you entered wasn't used. Go back to sign in with it, or sign in "
                         u"later from the tray menu or Preferences."_qs;
    setup->updateAccountPassword(u"right"_qs);
    setup->goNext();
    EXPECT_EQ(setup->step(), Step::summary);
    EXPECT_EQ(setup->accountMessage(), note);
    EXPECT_FALSE(setup->accountMessageIsError());
    EXPECT_EQ(setup->draft().accountPassword, u"right"_qs) << "for whoever goes back";

    setup->goBack();
    setup->updateAccountPassword(QString());
    setup->goNext();
    EXPECT_EQ(setup->accountMessage(), std::nullopt);

    setup->goBack();
    setup->updateArchiveEntries(true);
    setup->goNext();
    EXPECT_EQ(setup->accountMessage(), note);
}

TEST_F(SetupAccountStep, SaysNothingOfEntriesThatWereUsedOrRefused)
{
    enter(u"ann@site.example"_qs, u"wrong"_qs);
    const std::optional<QString> refusal = setup->accountMessage();
    setup->goNext();
    EXPECT_EQ(setup->accountMessage(), refusal);

    setup->goBack();
    setup->updateArchiveEntries(true);
    enter(u"ann@site.example"_qs, u"right"_qs);
    setup->goNext();
    EXPECT_EQ(setup->accountMessage(), std::nullopt);
}

TEST_F(SetupAccountStep, SignsOutAndForgetsWhatWasEntered)
{
    enter(u"ann@site.example"_qs, u"right"_qs);

    finish(setup->signOut());

    EXPECT_FALSE(auth.state().isSignedIn());
    EXPECT_EQ(setup->draft().accountEmail, QString());
    EXPECT_EQ(setup->accountMessage(), std::nullopt);
    EXPECT_EQ(setup->summaryRows().last().value, u"Not signed in"_qs);
}

TEST_F(SetupAccountStep, TellsWhenTheServiceWasNotToldOfTheSignOut)
{
    enter(u"ann@site.example"_qs, u"right"_qs);
    service.isOffline = true;

    finish(setup->signOut());

    EXPECT_FALSE(auth.state().isSignedIn());
    EXPECT_EQ(setup->accountMessage(), u"The cloud can't be reached."_qs);
    EXPECT_TRUE(setup->accountMessageIsError());
}

TEST_F(SetupAccountStep, NamesASessionWithoutALabel)
{
    service.knowsUser = false;

    enter(u"ann@site.example"_qs, u"right"_qs);

    EXPECT_EQ(setup->summaryRows().last().value, u"Signed in"_qs);
    EXPECT_EQ(check(u"account_status"_qs).status, Status::passed);
}

TEST_F(SetupAccountStep, AsksForTheTermsOfWhoeverSignsIn)
{
    terms.isAccepted = false;
    EXPECT_FALSE(terms.calls().contains(u"status"_qs));

    enter(u"ann@site.example"_qs, u"right"_qs);
    EXPECT_TRUE(termsCoordinator.showTerms());

    EXPECT_TRUE(resultOf(termsCoordinator.accept()));
    setup->termsAccepted();
    EXPECT_EQ(setup->accountMessage(), u"Quorin Cloud Terms & Conditions accepted."_qs);
    EXPECT_FALSE(setup->accountMessageIsError());
}

TEST_F(SetupAccountStep, AsksForTheTermsEachTimeTheStepShows)
{
    enter(u"ann@site.example"_qs, u"right"_qs);
    const auto asked = terms.calls().count(u"status"_qs);
    setup->goNext();
    terms.isAccepted = false;

    setup->goBack();
    EXPECT_TRUE(setup->isCheckingTerms());
    runUntil([this] { return !setup->isCheckingTerms(); });

    EXPECT_EQ(terms.calls().count(u"status"_qs), asked + 1);
    EXPECT_TRUE(termsCoordinator.showTerms());
}

TEST_F(SetupAccountStep, SignsOutWhoDeclinesTheTerms)
{
    terms.isAccepted = false;
    enter(u"ann@site.example"_qs, u"right"_qs);
    ASSERT_TRUE(resultOf(termsCoordinator.decline()));

    finish(setup->termsDeclined());

    EXPECT_FALSE(auth.state().isSignedIn());
    EXPECT_EQ(setup->accountMessage(),
              u"Quorin Cloud Terms & Conditions were declined. You have been signed out."_qs);
    EXPECT_TRUE(setup->accountMessageIsError());
    EXPECT_EQ(termsCoordinator.termsText(), QString()) << "the next user sees none of this one's";
}

TEST_F(SetupAccountStep, TellsThatTheTermsCannotBeCheckedAndLetsGoOn)
{
    terms.failing = {u"status"_qs};
    terms.failure = u"The terms are away."_qs;

    enter(u"ann@site.example"_qs, u"right"_qs);

    EXPECT_EQ(setup->accountMessage(), u"The terms are away."_qs);
    EXPECT_TRUE(setup->accountMessageIsError());
    EXPECT_TRUE(setup->canContinue());
}

TEST_F(SetupAccountStep, DiesWhileTheTermsAreAskedFor)
{
    terms.hold(u"status"_qs);
    setup->updateAccountEmail(u"ann@site.example"_qs);
    setup->updateAccountPassword(u"right"_qs);
    finish(setup->signIn());
    ASSERT_TRUE(setup->isCheckingTerms());

    terms.release();
    setup.reset();

    EXPECT_TRUE(auth.state().isSignedIn());
}

} // namespace
} // namespace gateway::wizard
