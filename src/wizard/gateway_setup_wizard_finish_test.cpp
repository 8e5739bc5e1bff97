#include "core/retention_policy.h"
#include "wizard/testing/setup_world.h"

namespace gateway::wizard {
namespace {

using core::GatewayAutoDeleteMode;
using Status = GatewaySetupPreflightCheckStatus;
using Step = GatewaySetupStep;

class SetupFinish : public testing::SetupWorld
{
protected:
    SetupFinish()
    {
        openSettled();
        goTo(Step::summary);
    }

    bool isSetUp() const { return !core::isSetupRequired(appSettings); }
};

TEST_F(SetupFinish, WritesTheDraftRestartsTheListenerAndMarksSetupAsDone)
{
    core::DCMListenerSettings before = record();
    before.timeout = std::chrono::seconds(77);
    before.isEnabled = false;
    before.save(defaults);
    listener.isRunning = true;
    setup->updateAETitle(u"  NORTH\\ "_qs);
    setup->updatePortText(u"104"_qs);
    setup->updateAdvertiseWithBonjour(false);
    setup->updateDestinationFolder(folder.path());
    setup->updateAutoDeleteMode(GatewayAutoDeleteMode::days);
    setup->updateAutoDeleteValueText(u"30"_qs);
    const QDateTime start = clock.now();

    EXPECT_TRUE(finishSetup());

    const core::DCMListenerSettings after = record();
    EXPECT_EQ(after.aeTitle, u"NORTH"_qs);
    EXPECT_EQ(after.port, 104);
    EXPECT_EQ(after.isEnabled, true);
    EXPECT_EQ(after.advertiseWithBonjour, false);
    EXPECT_EQ(after.timeout, std::chrono::seconds(77));
    EXPECT_EQ(appSettings.listenerDestinationFolder.get(), folder.path());
    EXPECT_EQ(appSettings.listenerDestinationFolderBookmark.get(), folder.path().toUtf8());
    EXPECT_EQ(core::effectiveRetentionPolicy(appSettings),
              (core::RetentionPolicy{GatewayAutoDeleteMode::days, 30}));
    EXPECT_EQ(listener.calls, (QStringList{u"stop"_qs, u"start"_qs}));
    EXPECT_EQ(listener.waits, QStringList{u"2000000000 ns, 2.0 s"_qs});
    EXPECT_TRUE(isSetUp());
    EXPECT_EQ(appSettings.gatewaySetupVersion.get(), 1);
    EXPECT_GE(appSettings.gatewaySetupCompletedAt.get(), start.addSecs(2));
    EXPECT_FALSE(setup->isApplying());
    EXPECT_EQ(setup->validationMessage(), std::nullopt);
    EXPECT_FALSE(turn.isTaken());
}

TEST_F(SetupFinish, FinishesAgainWithANewDate)
{
    ASSERT_TRUE(finishSetup());
    const auto first = appSettings.gatewaySetupCompletedAt.get();
    clock.advance(std::chrono::hours(1));

    EXPECT_TRUE(finishSetup());

    EXPECT_GT(appSettings.gatewaySetupCompletedAt.get(), first);
    EXPECT_EQ(listener.calls, (QStringList{u"start"_qs, u"stop"_qs, u"start"_qs}));
}

TEST_F(SetupFinish, ProbesThePortOnceMoreWithoutWaiting)
{
    ASSERT_TRUE(setup->canFinish());
    machine.setPort(11112, PortState::inUse); // between the summary and the press

    EXPECT_FALSE(finishSetup());

    EXPECT_EQ(setup->validationMessage(), u"Port 11112 is already in use by another process."_qs);
    EXPECT_EQ(setup->step(), Step::summary);
    EXPECT_FALSE(setup->isApplying());
    EXPECT_TRUE(listener.calls.isEmpty());
    EXPECT_FALSE(isSetUp());
}

TEST_F(SetupFinish, SaysTheFirstThingThatIsWrongWhereverItIs)
{
    setup->updateAutoDeleteMode(GatewayAutoDeleteMode::days);

    EXPECT_FALSE(finishSetup());

    EXPECT_EQ(setup->validationMessage(), u"Auto-delete in days must be a number between 1 and 3650."_qs);
    EXPECT_EQ(check(u"listener_startup"_qs).detail,
              u"Resolve blocking listener or local file issues before finishing setup."_qs);
}

TEST_F(SetupFinish, SaysWhenTheFolderCannotBeKeptAfterAll)
{
    setup->updateDestinationFolder(u"/no/such/folder"_qs); // which this machine says is well

    EXPECT_FALSE(finishSetup());

    EXPECT_EQ(setup->validationMessage(),
              u"Could not save folder permissions. Choose a different folder."_qs);
    EXPECT_FALSE(setup->isApplying());
    EXPECT_TRUE(listener.calls.isEmpty());
}

TEST_F(SetupFinish, GivesUpOnAFolderThatDoesNotAnswer)
{
    machine.holdFolders();
    setup->updateDestinationFolder(u"/dead"_qs);
    const auto end = setup->finishSetup();
    EXPECT_TRUE(setup->isApplying());

    runUntil([&] {
        clock.advance(std::chrono::seconds(10));
        return end.isReady();
    });

    EXPECT_EQ(setup->validationMessage(),
              u"The folder doesn't answer. The disk or network share that holds it may be away; choose a "
              u"different folder."_qs);
    EXPECT_FALSE(setup->isApplying());
    EXPECT_TRUE(listener.calls.isEmpty());
    EXPECT_FALSE(isSetUp());
}

TEST_F(SetupFinish, StaysWithTheListenersWordsAndKeepsWhatIsWritten)
{
    setup->updateAETitle(u"NORTH"_qs);
    listener.fail(u"DIMSE listener did not start within 2 seconds."_qs);

    EXPECT_FALSE(finishSetup());

    EXPECT_EQ(setup->validationMessage(), u"DIMSE listener did not start within 2 seconds."_qs);
    const GatewaySetupPreflightCheck startup = check(u"listener_startup"_qs);
    EXPECT_EQ(startup.status, Status::failed);
    EXPECT_EQ(startup.detail, u"DIMSE listener did not start within 2 seconds."_qs);
    EXPECT_FALSE(setup->canFinish());
    EXPECT_FALSE(setup->isApplying());
    EXPECT_FALSE(listener.isRunning);
    EXPECT_FALSE(isSetUp());
    EXPECT_EQ(record().aeTitle, u"NORTH"_qs);
    EXPECT_EQ(setup->step(), Step::summary);

    listener.recover();
    setup->updatePortText(u"104"_qs);
    passDebounce();
    EXPECT_EQ(check(u"listener_startup"_qs).status, Status::passed);
    EXPECT_TRUE(setup->canFinish());
    EXPECT_TRUE(finishSetup());
    EXPECT_TRUE(isSetUp());
}

TEST_F(SetupFinish, TakesOnePressAtATime)
{
    const auto first = setup->finishSetup();
    EXPECT_TRUE(setup->isApplying());
    EXPECT_FALSE(setup->canGoBack());
    EXPECT_FALSE(setup->canContinue());

    EXPECT_FALSE(resultOf(setup->finishSetup()));

    runUntil([&] {
        clock.advance(std::chrono::seconds(2));
        return first.isReady();
    });
    EXPECT_EQ(listener.calls, QStringList{u"start"_qs});
}

TEST_F(SetupFinish, IsAppliedByOneAtATime)
{
    const SetupTurn::Hold other = turn.take();

    EXPECT_FALSE(finishSetup());

    EXPECT_EQ(setup->validationMessage(), u"Setup is being applied already."_qs);
    EXPECT_FALSE(setup->isApplying());
    EXPECT_TRUE(listener.calls.isEmpty());
}

TEST_F(SetupFinish, MayNotFinishWhileThePortIsLookedAt)
{
    setup->updatePortText(u"104"_qs);
    EXPECT_EQ(check(u"port_available"_qs).status, Status::checking);
    EXPECT_FALSE(setup->summaryPreflightResult().hasBlockingIssues());
    EXPECT_FALSE(setup->canFinish());

    EXPECT_TRUE(finishSetup()) << "which looks at it at once";
}

TEST_F(SetupFinish, NeedsNoAccount)
{
    EXPECT_EQ(check(u"account_status"_qs).status, Status::warning);
    EXPECT_FALSE(setup->summaryPreflightResult().issues.isEmpty());
    EXPECT_TRUE(setup->canFinish());
    EXPECT_TRUE(finishSetup());
}

TEST_F(SetupFinish, WritesNothingBackThatWasChangedElsewhere)
{
    setup->updateAETitle(u"NORTH"_qs);
    core::storeRetentionPolicy(appSettings, {GatewayAutoDeleteMode::months, 6});
    appSettings.listenerDestinationFolder.set(folder.path());
    core::DCMListenerSettings other = record();
    other.port = 104;
    other.save(defaults);

    EXPECT_TRUE(finishSetup());

    EXPECT_EQ(record().aeTitle, u"NORTH"_qs);
    EXPECT_EQ(record().port, 104);
    EXPECT_EQ(appSettings.listenerDestinationFolder.get(), folder.path());
    EXPECT_EQ(core::effectiveRetentionPolicy(appSettings),
              (core::RetentionPolicy{GatewayAutoDeleteMode::months, 6}));
    EXPECT_EQ(setup->summaryRows().at(1).value, u"192.0.2.7:104"_qs);
}

TEST_F(SetupFinish, ListsWhatItAppliesInItsOrder)
{
    QStringList rows;
    for (const GatewaySetupSummaryRow &row : setup->summaryRows()) {
        rows.append(row.id + u'=' + row.title + u'=' + row.value);
    }
    EXPECT_EQ(rows,
              (QStringList{u"ae_title=AE Title=GATE"_qs,
                           u"listener_address=Listener Address=192.0.2.7:11112"_qs,
                           u"bonjour=Bonjour=Enabled"_qs,
                           u"incoming_folder=Incoming Folder=/home/Documents/Import"_qs,
                           u"auto_delete=Auto-delete=Never"_qs,
                           u"quorin_account=Quorin Account=Not signed in"_qs}));
}

} // namespace
} // namespace gateway::wizard
