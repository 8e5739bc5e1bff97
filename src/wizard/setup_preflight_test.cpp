#include "wizard/setup_preflight.h"

#include <gtest/gtest.h>

namespace gateway::wizard {
namespace {

using core::GatewayAutoDeleteMode;
using Fix = GatewaySetupIssueFixAction;
using Status = GatewaySetupPreflightCheckStatus;
using Step = GatewaySetupStep;

class Preflight : public ::testing::Test
{
protected:
    Preflight()
    {
        draft.aeTitle = u"GATE"_qs;
        draft.portText = u"104"_qs;
    }

    QList<GatewaySetupPreflightCheck> checks() const
    {
        return preflightChecks({draft,
                                port,
                                listenerIssues(draft, port),
                                localIssues(draft, {isLooking, folder}),
                                startupFailure,
                                account});
    }

    GatewaySetupDraft draft;
    PortFacts port{false, PortState::available};
    FolderValidationResult folder;
    bool isLooking = false;
    std::optional<QString> startupFailure;
    SetupAccountStanding account;
};

TEST_F(Preflight, PassesAGoodDraftAndWarnsOfNoAccount)
{
    const QList<GatewaySetupPreflightCheck> expected{
        {u"ae_title"_qs, u"AE Title"_qs, u"AE Title is valid."_qs, Status::passed, {}, {}},
        {u"port_available"_qs, u"Port Availability"_qs, u"Port 104 is available."_qs, Status::passed, {}, {}},
        {u"folder_bookmark"_qs,
         u"Folder Permission Bookmark"_qs,
         u"Using default incoming folder."_qs,
         Status::passed,
         {},
         {}},
        {u"folder_writable"_qs,
         u"Folder Writability"_qs,
         u"Default incoming folder will be used."_qs,
         Status::passed,
         {},
         {}},
        {u"listener_startup"_qs,
         u"Listener Startup Readiness"_qs,
         u"Listener configuration is ready to start."_qs,
         Status::passed,
         {},
         {}},
        {u"account_status"_qs,
         u"Quorin Account"_qs,
         u"Not connected. You can finish setup and sign in later."_qs,
         Status::warning,
         Step::quorinAccount,
         Fix::openAccountStep}};
    EXPECT_EQ(checks(), expected);

    const GatewaySetupPreflightResult result = preflightResult(checks());
    ASSERT_EQ(result.issues.size(), 1);
    EXPECT_EQ(result.issues[0],
              (GatewaySetupIssue{u"summary.account_status"_qs,
                                 Step::quorinAccount,
                                 GatewaySetupIssueField::summary,
                                 u"Not connected. You can finish setup and sign in later."_qs,
                                 GatewaySetupIssueSeverity::warning,
                                 Fix::openAccountStep}));
    EXPECT_FALSE(result.hasBlockingIssues());
}

TEST_F(Preflight, FailsOverTheTitle)
{
    draft.aeTitle.clear();

    EXPECT_EQ(checks()[0],
              (GatewaySetupPreflightCheck{u"ae_title"_qs,
                                          u"AE Title"_qs,
                                          u"AE Title is required."_qs,
                                          Status::failed,
                                          Step::listener,
                                          Fix::openListenerStep}));
    const auto issue = preflightResult(checks()).issues.value(0);
    EXPECT_EQ(issue.id, u"summary.ae_title"_qs);
    EXPECT_EQ(issue.step, Step::listener);
    EXPECT_TRUE(preflightResult(checks()).hasBlockingIssues());
}

TEST_F(Preflight, TellsThePortByTheFirstThingThatHolds)
{
    const auto shown = [this] {
        const GatewaySetupPreflightCheck check = checks()[1];
        EXPECT_EQ(check.step, Step::listener);
        return std::tuple(check.status, check.detail, check.fixAction);
    };
    port.state.reset();
    EXPECT_EQ(shown(),
              std::tuple(Status::failed,
                         u"Port availability has not been verified yet."_qs,
                         std::optional(Fix::openListenerStep)));
    port.state = PortState::inUse;
    EXPECT_EQ(shown(),
              std::tuple(Status::failed,
                         u"Port 104 is already in use by another process."_qs,
                         std::optional(Fix::suggestAvailablePort)));
    port.isChecking = true;
    EXPECT_EQ(
        shown(),
        std::tuple(Status::checking, u"Checking whether port 104 is available..."_qs, std::optional<Fix>()));
    EXPECT_FALSE(preflightResult(checks()).hasBlockingIssues()) << "which is told by itself";
    draft.portText.clear();
    EXPECT_EQ(
        shown(),
        std::tuple(Status::failed, u"Port format is invalid."_qs, std::optional(Fix::openListenerStep)));
}

TEST_F(Preflight, TellsOfAChosenFolder)
{
    draft.destinationFolder = u"/in"_qs;
    EXPECT_EQ(checks()[2].detail, u"Bookmark is valid for /in."_qs);
    EXPECT_EQ(checks()[3].detail, u"Selected folder is writable."_qs);

    folder = {u"/in"_qs, u"No way in."_qs, std::nullopt, std::nullopt};
    EXPECT_EQ(checks()[2].detail, u"No way in."_qs);
    EXPECT_EQ(checks()[2].fixAction, Fix::useDefaultFolder);
    EXPECT_EQ(checks()[2].step, Step::localFiles);
    EXPECT_EQ(checks()[3].status, Status::passed);

    folder = {u"/in"_qs, std::nullopt, u"No room."_qs, std::nullopt};
    EXPECT_EQ(checks()[3].detail, u"No room."_qs);
    EXPECT_EQ(checks()[3].fixAction, Fix::rerunFolderProbe);

    folder = {};
    isLooking = true;
    EXPECT_EQ(checks()[2].status, Status::checking);
    EXPECT_EQ(checks()[3].status, Status::checking);
    EXPECT_EQ(checks()[3].detail, u"Checking whether the folder can be used..."_qs);
}

TEST_F(Preflight, TellsWhyTheListenerWillNotOrDidNotStart)
{
    draft.autoDeleteMode = GatewayAutoDeleteMode::days;
    EXPECT_EQ(checks()[4],
              (GatewaySetupPreflightCheck{
                  u"listener_startup"_qs,
                  u"Listener Startup Readiness"_qs,
                  u"Resolve blocking listener or local file issues before finishing setup."_qs,
                  Status::failed,
                  Step::summary,
                  std::nullopt}));

    startupFailure = u"It did not start."_qs;
    EXPECT_EQ(checks()[4].detail, u"It did not start."_qs);
    EXPECT_EQ(checks()[4].step, Step::listener);
    EXPECT_EQ(checks()[4].fixAction, Fix::openListenerStep);
}

TEST_F(Preflight, KnowsASessionWithoutAName)
{
    account = {true, std::nullopt};

    EXPECT_EQ(checks()[5].status, Status::passed);
    EXPECT_EQ(checks()[5].detail, u"Account is connected."_qs);
    EXPECT_EQ(checks()[5].step, std::nullopt);
}

TEST_F(Preflight, SaysWhatWillBeApplied)
{
    const auto value = [this](int row) {
        return summaryRowsFor(draft, account, u"/home/Documents/Import"_qs).at(row).value;
    };
    draft.listenerAddress = u"192.0.2.7:104"_qs;
    EXPECT_EQ(value(0), u"GATE"_qs);
    EXPECT_EQ(value(1), u"192.0.2.7:104"_qs);
    EXPECT_EQ(value(2), u"Enabled"_qs);
    EXPECT_EQ(value(3), u"/home/Documents/Import"_qs);
    EXPECT_EQ(value(4), u"Never"_qs);
    EXPECT_EQ(value(5), u"Not signed in"_qs);

    draft.advertiseWithBonjour = false;
    draft.destinationFolder = u"/in"_qs;
    account = {true, u"Radiology"_qs};
    EXPECT_EQ(value(2), u"Disabled"_qs);
    EXPECT_EQ(value(3), u"/in"_qs);
    EXPECT_EQ(value(5), u"Radiology"_qs);
    account.displayName = QString();
    EXPECT_EQ(value(5), u"Signed in"_qs);
}

TEST_F(Preflight, SaysHowLongImagesStay)
{
    const auto value = [this](GatewayAutoDeleteMode mode, const QString &text) {
        draft.autoDeleteMode = mode;
        draft.autoDeleteValueText = text;
        return summaryRowsFor(draft, account, {}).at(4).value;
    };
    EXPECT_EQ(value(GatewayAutoDeleteMode::days, u" 30 "_qs), u"30 day(s)"_qs);
    EXPECT_EQ(value(GatewayAutoDeleteMode::days, u" "_qs), u"Days (value not set)"_qs);
    EXPECT_EQ(value(GatewayAutoDeleteMode::months, u"6"_qs), u"6 month(s)"_qs);
    EXPECT_EQ(value(GatewayAutoDeleteMode::months, {}), u"Months (value not set)"_qs);
}

} // namespace
} // namespace gateway::wizard
