#include "account/gateway_quorin_cloud_terms_coordinator.h"

#include "account/testing/account_world.h"
#include "account/testing/fake_terms_service.h"
#include "core/device_id.h"

namespace gateway::account::testing {

namespace {

const QString kStatus = QStringLiteral("status");
const QString kTerms = QStringLiteral("terms");
const QString kAccept = QStringLiteral("accept");
const QString kDecline = QStringLiteral("decline");

struct QuorinCloudTerms : AccountWorld
{
    ~QuorinCloudTerms() override { api.release(); }

    void refresh() { finish(model.refreshStatus()); }
    bool accept() { return resultOf(model.accept()); }
    bool decline() { return resultOf(model.decline()); }

    void fail(const QString &call, const std::optional<QString> &words)
    {
        api.failing = {call};
        api.failure = words;
    }

    void reachTerms(const QString &call, int count)
    {
        runUntil([&] { return api.calls().count(call) >= count; });
    }

    void expectInitial() const
    {
        EXPECT_FALSE(model.showTerms());
        EXPECT_TRUE(model.termsText().isEmpty());
        EXPECT_TRUE(model.termsVersion().isEmpty());
        EXPECT_FALSE(model.reasonMessage());
        EXPECT_FALSE(model.isLoading());
        EXPECT_FALSE(model.errorMessage());
    }

    std::optional<QString> reasonShownFor(const std::optional<QString> &reason)
    {
        api.reason = reason;
        refresh();
        return model.reasonMessage();
    }

    FakeTermsService api;
    GatewayQuorinCloudTermsCoordinator model{
        {api, defaults, main, pool, clock},
        TermsSigner::from(QStringLiteral("desk"), QStringLiteral("Linux 12"), QStringLiteral(" 3.1.0 "))};
};

} // namespace

TEST_F(QuorinCloudTerms, ShowsTheTermsThatMustBeAccepted)
{
    expectInitial();

    refresh();

    EXPECT_TRUE(model.showTerms());
    EXPECT_EQ(model.termsText(), api.text);
    EXPECT_EQ(model.termsVersion(), QStringLiteral("2"));
    EXPECT_FALSE(model.isLoading());
    EXPECT_FALSE(model.errorMessage());
    EXPECT_EQ(api.calls(), (QStringList{kStatus, kTerms}));
}

TEST_F(QuorinCloudTerms, ShowsNothingAndLoadsNoTextWhenNothingIsRequired)
{
    api.isAccepted = true;

    refresh();

    EXPECT_FALSE(model.showTerms());
    EXPECT_EQ(api.calls(), QStringList{kStatus});
}

TEST_F(QuorinCloudTerms, TakesTheScreenAwayOnceNothingIsRequiredAnyMore)
{
    api.reason = QStringLiteral("Because.");
    refresh();
    api.isAccepted = true;

    refresh();

    EXPECT_FALSE(model.showTerms());
    EXPECT_FALSE(model.reasonMessage());
}

TEST_F(QuorinCloudTerms, SaysWhyTheCheckFailed)
{
    fail(kStatus, QStringLiteral(" Out of order. "));

    refresh();

    EXPECT_FALSE(model.showTerms());
    EXPECT_FALSE(model.isLoading());
    EXPECT_EQ(model.errorMessage(), QStringLiteral("Out of order."));
}

TEST_F(QuorinCloudTerms, TakesTheScreenAwayWhenTheTextCannotBeLoaded)
{
    refresh();
    fail(kTerms, std::nullopt);

    refresh();

    EXPECT_FALSE(model.showTerms());
    EXPECT_EQ(model.errorMessage(), QStringLiteral("Unable to check Quorin Cloud Terms & Conditions."));
}

TEST_F(QuorinCloudTerms, ForgetsAFailureAtTheNextCheck)
{
    fail(kStatus, std::nullopt);
    refresh();
    api.failing.clear();

    refresh();

    EXPECT_FALSE(model.errorMessage());
    EXPECT_TRUE(model.showTerms());
}

TEST_F(QuorinCloudTerms, FallsBackToTheVersionOfTheTermsWhenTheRequiredOneIsEmpty)
{
    api.requiredVersion.clear();
    api.textVersion = QStringLiteral("7");

    refresh();

    EXPECT_EQ(model.termsVersion(), QStringLiteral("7"));
}

TEST_F(QuorinCloudTerms, AnswersNothingWhenBothVersionsAreEmpty)
{
    api.requiredVersion.clear();
    api.textVersion.clear();
    refresh();
    const QString message =
        QStringLiteral("Could not determine the Terms & Conditions version. Please reload and try again.");

    EXPECT_FALSE(accept());
    EXPECT_EQ(model.errorMessage(), message);
    EXPECT_FALSE(decline());
    EXPECT_EQ(model.errorMessage(), message);

    EXPECT_FALSE(model.isLoading());
    EXPECT_TRUE(model.showTerms());
    EXPECT_EQ(api.calls(), (QStringList{kStatus, kTerms}));
}

TEST_F(QuorinCloudTerms, HasNoWordsForAFirstAcceptanceOrForNoReason)
{
    EXPECT_FALSE(reasonShownFor(std::nullopt));
    EXPECT_FALSE(reasonShownFor(QStringLiteral(" \n ")));
    EXPECT_FALSE(reasonShownFor(QStringLiteral("First-time acceptance required")));
}

TEST_F(QuorinCloudTerms, TellsAnUpdateInALongSentenceWhateverSpaceIsAroundTheReason)
{
    EXPECT_EQ(reasonShownFor(QStringLiteral(" \tT&Cs updated\n")),
              QStringLiteral(
                  "The Terms & Conditions were updated. Please accept the updated version to continue."));
}

TEST_F(QuorinCloudTerms, ShowsAnyOtherReasonAsItStandsTrimmed)
{
    EXPECT_EQ(reasonShownFor(QStringLiteral("  T&CS UPDATED ")), QStringLiteral("T&CS UPDATED"));
}

TEST_F(QuorinCloudTerms, AcceptsTheVersionShownForThisMachineAndBuild)
{
    refresh();

    EXPECT_TRUE(accept());

    EXPECT_FALSE(model.showTerms());
    EXPECT_FALSE(model.isLoading());
    ASSERT_TRUE(api.lastAccept);
    EXPECT_EQ(api.lastAccept->version, QStringLiteral("2"));
    EXPECT_EQ(api.lastAccept->clientTimestamp, clock.now());
    EXPECT_EQ(api.lastAccept->deviceUID, core::deviceId(defaults));
    EXPECT_EQ(api.lastAccept->deviceName, QStringLiteral("desk"));
    EXPECT_EQ(api.lastAccept->osVersion, QStringLiteral("Linux 12"));
    EXPECT_EQ(api.lastAccept->quorinVersion, QStringLiteral("3.1.0"));
}

TEST_F(QuorinCloudTerms, SendsTheVersionAsItStands)
{
    api.requiredVersion = QStringLiteral(" 2 ");
    refresh();

    accept();

    EXPECT_EQ(api.lastAccept->version, QStringLiteral(" 2 "));
}

TEST_F(QuorinCloudTerms, StaysUpWhenTheAnswerIsNotTaken)
{
    refresh();
    fail(kAccept, std::nullopt);
    EXPECT_FALSE(accept());
    EXPECT_EQ(model.errorMessage(), QStringLiteral("Failed to accept Quorin Cloud Terms & Conditions."));
    EXPECT_TRUE(model.showTerms());

    fail(kDecline, std::nullopt);
    EXPECT_FALSE(decline());
    EXPECT_EQ(model.errorMessage(), QStringLiteral("Failed to decline Quorin Cloud Terms & Conditions."));
    EXPECT_TRUE(model.showTerms());

    fail(kAccept, QStringLiteral("Please reload."));
    EXPECT_FALSE(accept());
    EXPECT_EQ(model.errorMessage(), QStringLiteral("Please reload."));
    EXPECT_FALSE(model.isLoading());
}

TEST_F(QuorinCloudTerms, DeclinesTheVersionShown)
{
    refresh();

    EXPECT_TRUE(decline());

    EXPECT_FALSE(model.showTerms());
    ASSERT_TRUE(api.lastDecline);
    EXPECT_EQ(api.lastDecline->version, QStringLiteral("2"));
    EXPECT_EQ(api.lastDecline->clientTimestamp, clock.now());
}

TEST_F(QuorinCloudTerms, StartsNothingWhileARequestIsInFlight)
{
    refresh();
    api.hold(kAccept);
    const auto first = model.accept();
    EXPECT_TRUE(model.isLoading());

    EXPECT_FALSE(accept());
    EXPECT_FALSE(decline());
    refresh();
    api.release();
    finish(first);

    EXPECT_EQ(api.calls(), (QStringList{kStatus, kTerms, kAccept}));
}

TEST_F(QuorinCloudTerms, GoesBackToItsBeginnings)
{
    api.reason = QStringLiteral("Because.");
    refresh();

    model.reset();

    expectInitial();
}

TEST_F(QuorinCloudTerms, ShowsNoTermsThatArriveAfterTheSignOut)
{
    for (const QString &call : {kStatus, kTerms}) {
        api.hold(call);
        const auto look = model.refreshStatus();
        reachTerms(call, 1);

        model.reset();
        api.release();
        finish(look);

        expectInitial();
    }
}

TEST_F(QuorinCloudTerms, KeepsTheFailureOfAnEndedSessionToItself)
{
    fail(kStatus, QStringLiteral("Out of order."));
    api.hold(kStatus);
    const auto look = model.refreshStatus();
    reachTerms(kStatus, 1);

    model.reset();
    api.release();
    finish(look);

    expectInitial();
}

TEST_F(QuorinCloudTerms, AsksNobodyOnceClosed)
{
    model.close();

    refresh();

    EXPECT_TRUE(api.calls().isEmpty());
}

TEST(TermsSigner, StandsInForWhatTheSystemDoesNotTell)
{
    const TermsSigner nameless = TermsSigner::from(QString(), QStringLiteral("12"), std::nullopt);

    EXPECT_EQ(nameless.deviceName, QStringLiteral("Mac"));
    EXPECT_EQ(nameless.quorinVersion, QStringLiteral("1.0.0"));
    EXPECT_EQ(TermsSigner::from({}, {}, QStringLiteral(" \n")).quorinVersion, QStringLiteral("1.0.0"));
}

} // namespace gateway::account::testing
