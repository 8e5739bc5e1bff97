#include "account/account_view_model.h"

#include "account/testing/session_world.h"

namespace gateway::account {

namespace {

struct Account : testing::SessionWorld
{
    Account()
    {
        service.user.firstName = QStringLiteral("Ann");
        QObject::connect(&account, &AccountViewModel::termsChecked, &account, [this] { ++checks; });
    }

    void settle()
    {
        runUntil([this] { return !account.terms().isLoading() && !account.profile().isLoading(); });
        main.drain();
    }

    qsizetype asked(const QString &name) const { return service.calls().count(name); }

    AccountViewModel account{{auth, service, {terms, defaults, main, pool, clock}},
                             TermsSigner::from({}, {}, std::nullopt)};
    int checks = 0;
};

const QString kGetUser = QStringLiteral("getUser");
const QString kStatus = QStringLiteral("status");

} // namespace

TEST_F(Account, AsksForTheTermsAtEachSignInWithoutAScreen)
{
    signIn();
    settle();
    EXPECT_TRUE(account.terms().showTerms());
    EXPECT_EQ(checks, 1);
    EXPECT_FALSE(account.profile().user());

    finish(auth.signOut());
    EXPECT_FALSE(account.terms().showTerms());
    EXPECT_TRUE(account.terms().termsText().isEmpty());
    signIn();
    settle();
    EXPECT_EQ(checks, 2);
}

TEST_F(Account, AsksOnceASessionHoweverOftenItIsLookedAt)
{
    signIn();
    settle();

    finish(auth.refresh(false));
    finish(auth.refresh(false));
    settle();

    EXPECT_EQ(terms.calls().count(kStatus), 1);
}

TEST_F(Account, LoadsTheProfileWhenItIsSeenAndEmptiesItWithTheSession)
{
    signIn();
    settle();
    account.setSeen(true);
    settle();
    EXPECT_EQ(account.profile().form().firstName, QStringLiteral("Ann"));

    finish(auth.signOut());

    EXPECT_FALSE(account.profile().user());
    EXPECT_TRUE(account.profile().form().firstName.isEmpty());
}

TEST_F(Account, ShowsWhoSignsInWhileItIsSeen)
{
    account.setSeen(true);
    EXPECT_EQ(asked(kGetUser), 0);

    signIn();
    settle();

    EXPECT_EQ(account.profile().form().firstName, QStringLiteral("Ann"));
}

TEST_F(Account, BelongsToTheSecondWhoSignsInOverTheFirst)
{
    account.setSeen(true);
    signIn();
    settle();
    account.profile().beginEditing();
    service.user.firstName = QStringLiteral("Bob");

    finish(auth.signIn(QStringLiteral("bob@site.example"), service.password));
    settle();

    EXPECT_EQ(account.profile().form().firstName, QStringLiteral("Bob"));
    EXPECT_FALSE(account.profile().isEditing());
    EXPECT_EQ(checks, 2);
}

TEST_F(Account, LeavesWhatIsEditedWhenItComesUpAgain)
{
    signIn();
    account.setSeen(true);
    settle();
    account.profile().beginEditing();
    GatewayAccountForm form = account.profile().form();
    form.firstName = QStringLiteral("Anna");
    account.profile().setForm(form);

    account.setSeen(false);
    account.setSeen(true);
    settle();

    EXPECT_EQ(account.profile().form().firstName, QStringLiteral("Anna"));
    EXPECT_TRUE(account.profile().isEditing());
}

TEST_F(Account, AsksForNoTermsWithoutASession)
{
    account.setSeen(true);
    account.checkTerms();
    settle();

    EXPECT_EQ(terms.calls(), QStringList());
}

TEST_F(Account, SaysWhyTheTermsCannotBeHadUntilTheyCan)
{
    terms.failing = {kStatus};
    terms.failure = QStringLiteral("Out of paper.");
    signIn();
    settle();
    EXPECT_EQ(account.termsError(), QStringLiteral("Out of paper."));

    terms.failing.clear();
    account.checkTerms();
    settle();

    EXPECT_FALSE(account.termsError());
    EXPECT_TRUE(account.terms().showTerms());
}

TEST_F(Account, SaysWhyTermsThatWereShownAreGoneWhenTheyCannotBeLoadedAnew)
{
    signIn();
    settle();
    ASSERT_TRUE(account.terms().showTerms());
    terms.failing = {kStatus};
    terms.failure = QStringLiteral("Out of paper.");

    finish(account.terms().refreshStatus()); // as "Reload" does

    EXPECT_FALSE(account.terms().showTerms());
    EXPECT_EQ(account.termsError(), QStringLiteral("Out of paper."));
}

TEST_F(Account, EndsTheSessionOfWhoDeclinesAndSaysSo)
{
    signIn();
    settle();

    account.termsDeclined();
    runUntil([this] { return account.termsError().has_value(); });

    EXPECT_FALSE(auth.state().isSignedIn());
    EXPECT_EQ(account.termsError(),
              QStringLiteral("Quorin Cloud Terms & Conditions were declined. You have been signed out."));
    EXPECT_FALSE(account.terms().showTerms());
    signIn();
    EXPECT_FALSE(account.termsError());
    settle();
}

TEST_F(Account, DropsTermsThatComeAfterTheSession)
{
    terms.hold(QStringLiteral("terms"));
    signIn();
    runUntil([this] { return terms.calls().contains(QStringLiteral("terms")); });

    finish(auth.signOut());
    terms.release();
    settle();

    EXPECT_FALSE(account.terms().showTerms());
    EXPECT_EQ(checks, 0);
}

} // namespace gateway::account
