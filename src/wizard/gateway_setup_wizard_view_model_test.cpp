#include "wizard/gateway_setup_wizard_view_model.h"

#include "core/retention_policy.h"
#include "wizard/testing/setup_world.h"

namespace gateway::wizard {
namespace {

using core::GatewayAutoDeleteMode;
using Fix = GatewaySetupIssueFixAction;
using Step = GatewaySetupStep;

class SetupWizard : public testing::SetupWorld
{
};

TEST_F(SetupWizard, BeginsWithTheSettingsAtTheFirstStep)
{
    appSettings.listenerDestinationFolder.set(folder.path());
    appSettings.gatewayAutoDeleteMode.set(GatewayAutoDeleteMode::months);
    appSettings.gatewayAutoDeleteValue.set(6);

    open();

    EXPECT_EQ(setup->step(), Step::welcome);
    EXPECT_EQ(setup->draft().aeTitle, u"GATE"_qs);
    EXPECT_EQ(setup->draft().portText, u"11112"_qs);
    EXPECT_TRUE(setup->draft().advertiseWithBonjour);
    EXPECT_EQ(setup->draft().destinationFolder, folder.path());
    EXPECT_EQ(setup->draft().autoDeleteMode, GatewayAutoDeleteMode::months);
    EXPECT_EQ(setup->draft().autoDeleteValueText, u"6"_qs);
    EXPECT_EQ(setup->draft().accountEmail, QString());
    EXPECT_EQ(setup->draft().listenerAddress, u"192.0.2.7:11112"_qs);
    EXPECT_TRUE(setup->isCheckingPortAvailability());
    EXPECT_EQ(setup->validationMessage(), std::nullopt);
}

TEST_F(SetupWizard, KeepsDigitsAloneOfAPort)
{
    openSettled();

    setup->updatePortText(u"11a12"_qs);
    EXPECT_EQ(setup->draft().portText, u"1112"_qs);
    EXPECT_EQ(setup->draft().listenerAddress, u"192.0.2.7:1112"_qs);

    for (const QString &bad : {u"0"_qs, u"65536"_qs, QString()}) {
        setup->updatePortText(bad);
        EXPECT_EQ(issues(Step::listener), QStringList{u"listener.port.invalid"_qs}) << bad.toStdString();
        EXPECT_EQ(setup->validationIssues().first().message,
                  u"Port must be a number between 1 and 65535."_qs);
        EXPECT_FALSE(setup->isCheckingPortAvailability());
        EXPECT_EQ(setup->draft().listenerAddress, u"192.0.2.7"_qs);
    }
}

TEST_F(SetupWizard, AsksForAPortOnceTypingRestsAndKeepsTheStepUntilThen)
{
    openSettled();
    setup->goNext();
    ASSERT_EQ(setup->step(), Step::listener);
    const qsizetype asked = machine.askedPorts().size();

    setup->updatePortText(u"10"_qs);
    setup->updatePortText(u"104"_qs);
    EXPECT_EQ(issues(Step::listener), QStringList{u"listener.port.checking"_qs});
    EXPECT_EQ(setup->validationIssues().first().severity, GatewaySetupIssueSeverity::warning);
    EXPECT_EQ(setup->validationIssues().first().message, u"Checking whether port 104 is available..."_qs);
    EXPECT_FALSE(setup->canContinue());

    passDebounce();
    EXPECT_EQ(machine.askedPorts().mid(asked), QList<int>{104});
    EXPECT_EQ(issues(Step::listener), QStringList());
    EXPECT_TRUE(setup->canContinue());
}

TEST_F(SetupWizard, DoesNotAskBefore350Milliseconds)
{
    open();
    clock.waitForSleepers(1);

    clock.advance(std::chrono::milliseconds(349));
    main.drain();

    EXPECT_TRUE(setup->isCheckingPortAvailability());
    EXPECT_EQ(machine.askedPorts(), QList<int>());
    clock.advance(std::chrono::milliseconds(1));
    runUntil([this] { return !setup->isCheckingPortAvailability(); });
    EXPECT_EQ(machine.askedPorts(), QList<int>{11112});
}

TEST_F(SetupWizard, DropsTheAnswerForAPortThatIsNoLongerEntered)
{
    machine.setPort(11112, PortState::inUse);
    open();
    machine.hold();
    clock.waitForSleepers(1);
    clock.advance(std::chrono::milliseconds(350));
    runUntil([this] { return !machine.askedPorts().isEmpty(); });

    setup->updatePortText(u"104"_qs);
    machine.release();
    passDebounce();

    EXPECT_EQ(machine.askedPorts(), (QList<int>{11112, 104}));
    EXPECT_EQ(issues(Step::listener), QStringList());
}

TEST_F(SetupWizard, DiesWhileALookAtAPortIsUnderWay)
{
    open();
    setup.reset();
    EXPECT_EQ(machine.askedPorts(), QList<int>());
}

TEST_F(SetupWizard, TakesThePortOfItsOwnListenerForFree)
{
    machine.setPort(11112, PortState::inUse);
    machine.setPort(104, PortState::inUse);
    listener.isRunning = true;
    openSettled();

    EXPECT_EQ(issues(Step::listener), QStringList());
    EXPECT_EQ(machine.askedPorts(), QList<int>());
    setup->updatePortText(u"104"_qs);
    passDebounce();
    EXPECT_EQ(issues(Step::listener), QStringList{u"listener.port.unavailable"_qs});
}

TEST_F(SetupWizard, SaysHowATitleWillBeFormattedAndFormatsItWhenTheFieldIsLeft)
{
    openSettled();
    EXPECT_EQ(setup->aeTitleHint(), std::nullopt);

    setup->updateAETitle(u"A\\B"_qs);
    EXPECT_EQ(setup->aeTitleHint(), u"Will be formatted as: AB"_qs);
    EXPECT_FALSE(setup->hasAETitleProblem());
    setup->normalizeAETitle();
    EXPECT_EQ(setup->draft().aeTitle, u"AB"_qs);

    setup->updateAETitle(u"A TITLE OF FORTY LETTERS THAT IS TOO LONG"_qs);
    setup->normalizeAETitle();
    EXPECT_EQ(setup->draft().aeTitle, u"A TITLE OF FORTY"_qs);

    setup->updateAETitle(u" \\ "_qs);
    setup->normalizeAETitle();
    EXPECT_EQ(setup->draft().aeTitle, u" \\ "_qs);
    EXPECT_EQ(setup->aeTitleHint(), u"AE Title must include at least one letter or number."_qs);
    EXPECT_TRUE(setup->hasAETitleProblem());
    EXPECT_EQ(issues(Step::listener), QStringList{u"listener.ae.invalid"_qs});

    setup->updateAETitle(u"  "_qs);
    EXPECT_EQ(setup->aeTitleHint(), u"AE Title is required."_qs);
    EXPECT_EQ(issues(Step::listener), QStringList{u"listener.ae.required"_qs});
}

TEST_F(SetupWizard, EmptiesTheAmountUnderNever)
{
    openSettled();
    setup->updateAutoDeleteMode(GatewayAutoDeleteMode::days);
    EXPECT_EQ(issues(Step::localFiles), QStringList{u"local.auto_delete.days.invalid"_qs});
    setup->updateAutoDeleteValueText(u"3x0"_qs);
    EXPECT_EQ(setup->draft().autoDeleteValueText, u"30"_qs);
    EXPECT_EQ(issues(Step::localFiles), QStringList());
    setup->updateAutoDeleteValueText(u"3651"_qs);
    EXPECT_EQ(issues(Step::localFiles), QStringList{u"local.auto_delete.days.invalid"_qs});

    setup->updateAutoDeleteMode(GatewayAutoDeleteMode::never);

    EXPECT_EQ(setup->draft().autoDeleteValueText, QString());
    EXPECT_EQ(issues(Step::localFiles), QStringList());
}

TEST_F(SetupWizard, FindsTheNextFreePortUpwardsAndThenFromBelow)
{
    machine.setAllPorts(PortState::inUse);
    machine.setPort(65535, PortState::available);
    openSettled();
    ASSERT_EQ(issues(Step::listener), QStringList{u"listener.port.unavailable"_qs});
    EXPECT_EQ(setup->validationIssues().first().fixAction, Fix::suggestAvailablePort);

    setup->applyFixAction(Fix::suggestAvailablePort);

    EXPECT_EQ(setup->step(), Step::listener);
    EXPECT_EQ(setup->draft().portText, u"65535"_qs);
    EXPECT_EQ(setup->draft().listenerAddress, u"192.0.2.7:65535"_qs);
    EXPECT_TRUE(setup->canContinue());

    machine.setAllPorts(PortState::inUse);
    machine.setPort(105, PortState::available);
    setup->applyFixAction(Fix::suggestAvailablePort);
    EXPECT_EQ(setup->draft().portText, u"105"_qs);
}

TEST_F(SetupWizard, SaysThatNoPortIsFreeAndLeavesTheDraftAlone)
{
    machine.setAllPorts(PortState::forbidden);
    openSettled();

    setup->applyFixAction(Fix::suggestAvailablePort);

    EXPECT_EQ(setup->validationMessage(),
              u"Could not find a free port. Close other apps using DICOM ports and try again."_qs);
    EXPECT_EQ(setup->draft().portText, u"11112"_qs);
}

TEST_F(SetupWizard, BeginsTheSearchAtTheStoredPortWhereNoneIsEntered)
{
    openSettled();
    setup->updatePortText({});

    setup->applyFixAction(Fix::suggestAvailablePort);

    EXPECT_EQ(setup->draft().portText, u"11112"_qs);
}

TEST_F(SetupWizard, LeavesThePortOfItsOwnListenerInTheSearch)
{
    machine.setAllPorts(PortState::inUse);
    listener.isRunning = true;
    openSettled();
    setup->updatePortText(u"11111"_qs);

    setup->applyFixAction(Fix::suggestAvailablePort);

    EXPECT_EQ(setup->draft().portText, u"11112"_qs);
}

TEST_F(SetupWizard, RestoresTheRecommendedListener)
{
    openSettled();
    setup->updateAETitle({});
    setup->updateAdvertiseWithBonjour(false);
    setup->updatePortText({});

    setup->applyFixAction(Fix::restoreRecommendedListenerDefaults);

    EXPECT_EQ(setup->step(), Step::listener);
    EXPECT_EQ(setup->draft().aeTitle, core::DCMListenerSettings::recommended().aeTitle);
    EXPECT_EQ(setup->draft().portText, u"1115"_qs);
    EXPECT_TRUE(setup->draft().advertiseWithBonjour);
    EXPECT_EQ(setup->draft().listenerAddress, u"192.0.2.7:1115"_qs);
    EXPECT_EQ(machine.askedPorts().last(), 1115) << "at once";
    EXPECT_FALSE(setup->isCheckingPortAvailability());
    EXPECT_TRUE(setup->canContinue());
}

TEST_F(SetupWizard, RestoresTheRecommendedFolderAndRetention)
{
    openSettled();
    setup->updateDestinationFolder(u"/chosen"_qs);
    setup->updateAutoDeleteMode(GatewayAutoDeleteMode::days);

    setup->applyFixAction(Fix::restoreRecommendedLocalDefaults);

    EXPECT_EQ(setup->step(), Step::localFiles);
    EXPECT_EQ(setup->draft().destinationFolder, std::nullopt);
    EXPECT_EQ(setup->draft().autoDeleteMode, GatewayAutoDeleteMode::never);
    EXPECT_EQ(setup->draft().autoDeleteValueText, QString());
}

TEST_F(SetupWizard, OffersTheDefaultFolderForOneThatCannotBeKept)
{
    machine.setFolder(u"/gone"_qs, {u"/gone"_qs, u"No bookmark."_qs, std::nullopt, std::nullopt});
    openSettled();
    setup->updateDestinationFolder(u"/gone"_qs);
    awaitFolder();
    ASSERT_EQ(issues(Step::localFiles), QStringList{u"local.folder.bookmark"_qs});
    EXPECT_EQ(setup->validationIssues().first().fixAction, Fix::useDefaultFolder);

    setup->applyFixAction(Fix::useDefaultFolder);

    EXPECT_EQ(setup->step(), Step::localFiles);
    EXPECT_EQ(setup->draft().destinationFolder, std::nullopt);
    EXPECT_EQ(issues(Step::localFiles), QStringList());
}

TEST_F(SetupWizard, LooksAgainAtAFolderOnlyWhenItIsToldTo)
{
    machine.setFolder(u"/readonly"_qs, {u"/readonly"_qs, std::nullopt, u"Not writable."_qs, std::nullopt});
    openSettled();
    setup->updateDestinationFolder(u"/readonly"_qs);
    awaitFolder();
    ASSERT_EQ(issues(Step::localFiles), QStringList{u"local.folder.writable"_qs});
    EXPECT_EQ(setup->validationIssues().first().fixAction, Fix::rerunFolderProbe);
    machine.mendFolders(); // somebody mends the folder
    const qsizetype looks = machine.askedFolders().size();

    setup->updateAETitle(u"NORTH"_qs);
    EXPECT_EQ(issues(Step::localFiles), QStringList{u"local.folder.writable"_qs});
    EXPECT_EQ(machine.askedFolders().size(), looks);

    setup->applyFixAction(Fix::rerunFolderProbe);
    awaitFolder();
    EXPECT_EQ(issues(Step::localFiles), QStringList());
}

TEST_F(SetupWizard, CanGoOnOnlyBehindALookAtTheFolder)
{
    openSettled();
    goTo(Step::localFiles);
    machine.holdFolders();

    setup->updateDestinationFolder(folder.path());

    EXPECT_TRUE(setup->isCheckingFolderAccess());
    EXPECT_FALSE(setup->canContinue());
    EXPECT_FALSE(setup->canFinish());
    EXPECT_EQ(issues(Step::localFiles), QStringList{u"local.folder.checking"_qs});
    EXPECT_EQ(check(u"folder_writable"_qs).status, GatewaySetupPreflightCheckStatus::checking);
    setup->goNext();
    EXPECT_EQ(setup->step(), Step::localFiles);

    machine.release();
    awaitFolder();
    EXPECT_TRUE(setup->canContinue());
    EXPECT_TRUE(setup->canFinish());
}

TEST_F(SetupWizard, SaysThatAFolderDoesNotAnswerAndOffersAnother)
{
    openSettled();
    goTo(Step::localFiles);
    machine.holdFolders();
    setup->updateDestinationFolder(u"/dead"_qs);

    runUntil([this] {
        clock.advance(std::chrono::seconds(10));
        return !setup->isCheckingFolderAccess();
    });

    EXPECT_EQ(issues(Step::localFiles),
              (QStringList{u"local.folder.bookmark"_qs, u"local.folder.writable"_qs}));
    EXPECT_FALSE(setup->canContinue());
    setup->applyFixAction(Fix::useDefaultFolder);
    EXPECT_TRUE(setup->canContinue());
}

TEST_F(SetupWizard, StaysWhereSomebodyWentWhileTheFolderWasLookedAt)
{
    openSettled();
    goTo(Step::localFiles);
    setup->updateDestinationFolder(folder.path());
    awaitFolder();
    machine.holdFolders();
    setup->goNext();
    ASSERT_EQ(setup->step(), Step::localFiles);

    setup->goBack();
    machine.release();
    awaitFolder();

    EXPECT_EQ(setup->step(), Step::listener);
}

TEST_F(SetupWizard, GoesThroughItsStepsAndBack)
{
    openSettled();
    EXPECT_FALSE(setup->canGoBack());
    for (const Step step : {Step::listener, Step::localFiles, Step::quorinAccount, Step::summary}) {
        EXPECT_TRUE(setup->canContinue());
        setup->goNext();
        EXPECT_EQ(setup->step(), step);
    }
    setup->goNext();
    EXPECT_EQ(setup->step(), Step::summary);

    for (const Step step : {Step::quorinAccount, Step::localFiles, Step::listener, Step::welcome}) {
        EXPECT_TRUE(setup->canGoBack());
        setup->goBack();
        EXPECT_EQ(setup->step(), step);
    }
    setup->goBack();
    EXPECT_EQ(setup->step(), Step::welcome);
}

TEST_F(SetupWizard, ChecksTheFactsAgainWhenItIsToGoOn)
{
    openSettled();
    setup->goNext();
    ASSERT_TRUE(setup->canContinue());
    machine.setPort(11112, PortState::inUse); // somebody took it meanwhile

    setup->goNext();

    EXPECT_EQ(setup->step(), Step::listener);
    EXPECT_EQ(setup->validationMessage(), u"Port 11112 is already in use by another process."_qs);

    machine.setPort(11112, PortState::available);
    setup->goNext();
    EXPECT_EQ(setup->step(), Step::localFiles);
    EXPECT_EQ(setup->validationMessage(), std::nullopt);

    setup->updateDestinationFolder(u"/chosen"_qs);
    awaitFolder();
    machine.setFolder(u"/chosen"_qs, {u"/chosen"_qs, std::nullopt, u"Not writable."_qs, std::nullopt});
    setup->goNext();
    awaitFolder();
    EXPECT_EQ(setup->step(), Step::localFiles);
    EXPECT_EQ(setup->validationMessage(), u"Not writable."_qs);
}

TEST_F(SetupWizard, TakesItsMessageAwayOnceNothingIsInTheWay)
{
    openSettled();
    setup->goNext();
    setup->updateAETitle({});
    setup->goNext();
    ASSERT_EQ(setup->validationMessage(), u"AE Title is required."_qs);

    setup->updateAETitle(u"N"_qs);

    EXPECT_EQ(setup->validationMessage(), std::nullopt);
}

TEST_F(SetupWizard, ShowsWhatIsInTheWayOfTheStepWhenAsked)
{
    openSettled();
    setup->goNext();
    machine.setPort(11112, PortState::inUse);

    setup->revalidateCurrentStep();
    EXPECT_EQ(setup->validationMessage(), u"Port 11112 is already in use by another process."_qs);

    machine.setPort(11112, PortState::available);
    setup->revalidateCurrentStep();
    EXPECT_EQ(setup->validationMessage(), std::nullopt);
}

TEST_F(SetupWizard, LeadsFromTheSummaryToWhereACheckCanBeMended)
{
    openSettled();
    goTo(Step::summary);
    machine.setPort(11112, PortState::inUse);
    setup->revalidateCurrentStep();
    const GatewaySetupPreflightCheck port = check(u"port_available"_qs);
    ASSERT_EQ(port.status, GatewaySetupPreflightCheckStatus::failed);
    EXPECT_EQ(port.fixAction, Fix::suggestAvailablePort);

    setup->applyFixAction(*port.fixAction, port.step);

    EXPECT_EQ(setup->step(), Step::listener);
    EXPECT_EQ(setup->draft().portText, u"11113"_qs);
    EXPECT_EQ(setup->validationMessage(), std::nullopt);
}

TEST_F(SetupWizard, OpensEachStepThatIsAskedFor)
{
    openSettled();
    for (const auto &[fix, step] : {std::pair(Fix::openListenerStep, Step::listener),
                                    std::pair(Fix::openLocalFilesStep, Step::localFiles),
                                    std::pair(Fix::openAccountStep, Step::quorinAccount)}) {
        setup->applyFixAction(fix);
        EXPECT_EQ(setup->step(), step);
    }
}

TEST_F(SetupWizard, FollowsWhatIsChangedElsewhereInFieldsThatNobodyEdited)
{
    appSettings.gatewayAutoDeleteMode.set(GatewayAutoDeleteMode::days);
    appSettings.gatewayAutoDeleteValue.set(30);
    openSettled();
    setup->updateAETitle(u"NORTH"_qs);
    core::storeRetentionPolicy(appSettings, {});
    core::DCMListenerSettings other = record();
    other.aeTitle = u"SOUTH"_qs;
    other.port = 104;
    other.save(defaults);

    setup->followSettings();

    EXPECT_EQ(setup->draft().aeTitle, u"NORTH"_qs);
    EXPECT_EQ(setup->draft().portText, u"104"_qs);
    EXPECT_EQ(setup->draft().listenerAddress, u"192.0.2.7:104"_qs);
    EXPECT_TRUE(setup->isCheckingPortAvailability());
    EXPECT_EQ(setup->draft().autoDeleteMode, GatewayAutoDeleteMode::never);
    EXPECT_EQ(setup->draft().autoDeleteValueText, QString());
}

} // namespace
} // namespace gateway::wizard
