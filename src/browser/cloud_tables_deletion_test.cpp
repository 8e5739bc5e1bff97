#include "browser/browser_words.h"
#include "browser/testing/cloud_tables_world.h"
#include "core/device_id.h"
#include "log/writing/redaction.h"

namespace gateway::browser::testing {

using log::GatewayLogAction;
using log::GatewayLogEvent;
using log::GatewayLogLevel;
using log::GatewayLogOutcome;

TEST_F(CloudStudies, AskThreeTimesBeforeADeletion)
{
    archive.addStudy(QStringLiteral("1.1"));
    query();
    model.askToDelete();
    EXPECT_FALSE(model.deleteConfirmationStep()) << "nothing is selected";
    model.setSelectedIDs({QStringLiteral("1.1")});

    model.askToDelete();
    EXPECT_EQ(model.deleteConfirmationStep(), DeleteConfirmationStep::first);
    model.confirmDeletion();
    EXPECT_FALSE(model.deleteConfirmationStep()) << "one question goes before the next one comes";
    main.drain();
    EXPECT_EQ(model.deleteConfirmationStep(), DeleteConfirmationStep::second);
    awaitArmed(model, clock);
    model.confirmDeletion();
    main.drain();
    EXPECT_EQ(model.deleteConfirmationStep(), DeleteConfirmationStep::third);
    model.cancelDeletion();
    main.drain();

    EXPECT_FALSE(model.deleteConfirmationStep());
    EXPECT_EQ(model.selectedIDs().size(), 1);
    EXPECT_FALSE(model.isDeleting());
    EXPECT_EQ(archive.calls().size(), 1) << "the query alone";
}

TEST_F(CloudStudies, StayWhenTheNextQuestionGetsTheYesOfTheOneBefore)
{
    archive.addStudy(QStringLiteral("1.1"));
    query();
    model.setSelectedIDs({QStringLiteral("1.1")});
    model.askToDelete();
    model.confirmDeletion();
    main.drain();
    clock.waitForSleepers(1);

    clock.advance(BrowserTable::kArmingTime - std::chrono::milliseconds(1));
    main.drain();
    model.confirmDeletion();
    model.confirmDeletion();
    main.drain();

    EXPECT_EQ(model.deleteConfirmationStep(), DeleteConfirmationStep::second);
    EXPECT_FALSE(model.isConfirmationArmed());
    EXPECT_FALSE(model.isDeleting());
    clock.advance(std::chrono::milliseconds(1));
    runUntil([&] { return model.isConfirmationArmed(); });
    model.confirmDeletion();
    main.drain();
    EXPECT_EQ(model.deleteConfirmationStep(), DeleteConfirmationStep::third);
    EXPECT_FALSE(model.isConfirmationArmed());
}

TEST_F(CloudStudies, AreNotAskedAboutAnyMoreBehindASignOut)
{
    archive.addStudy(QStringLiteral("1.1"));
    query();
    model.setSelectedIDs({QStringLiteral("1.1")});
    model.askToDelete();

    session.reset();
    model.sessionChanged();

    EXPECT_FALSE(model.deleteConfirmationStep());
    model.confirmDeletion();
    main.drain();
    EXPECT_FALSE(model.deleteConfirmationStep());
}

TEST_F(CloudStudies, AreNotedHereBeforeAndBehindTheirDeletion)
{
    archive.addStudy(QStringLiteral("1.1"));
    archive.addStudy(QStringLiteral("1.2"));
    query();
    archive.stubborn = {QStringLiteral("1.2")};

    deleteAllRows(model);

    EXPECT_EQ(record.notes, QStringList({u"1.1/ 0"_qs, u"1.1/ 1"_qs, u"1.2/ 0"_qs, u"1.2/ 1"_qs}))
        << "a fault of the service tells nothing of what it did";
}

TEST_F(CloudStudies, ThatCannotBeNotedAreNotDeleted)
{
    archive.addStudy(QStringLiteral("1.1"));
    query();
    record.isWritable = false;

    deleteAllRows(model);

    EXPECT_EQ(archive.studies.size(), 1);
    EXPECT_FALSE(archive.calls().contains(QStringLiteral("delete 1.1")));
    EXPECT_TRUE(model.lastError()->endsWith(unnotedDeletionWords()));
}

TEST_F(CloudStudies, StopBeingDeletedWhenTheSessionIsAnotherOne)
{
    beginToDeleteThree();
    runUntil([&] { return archive.calls().contains(QStringLiteral("delete 1.1")); });

    session.reset();
    model.sessionChanged();
    session = QStringLiteral("bob");
    model.sessionChanged();
    archive.release();
    runUntil([&] { return !model.isDeleting(); });

    EXPECT_EQ(archive.studies.size(), 2) << "what ann meant isn't done as bob";
    EXPECT_EQ(archive.calls().count(QStringLiteral("studies")), 1) << "nor is anything asked for as bob";
    EXPECT_EQ(model.lastError(), QStringLiteral("Stopped. Deleted 1 of 3 selected studies."));
    EXPECT_EQ(detail(only(GatewayLogAction::quorinCloudDeleteBatchCompleted), "stopped"),
              QStringLiteral("true"));
}

TEST_F(CloudStudies, GoOneByOneWithTheirEvents)
{
    archive.addStudy(QStringLiteral("1.1"));
    archive.addStudy(QStringLiteral("1.2"));
    query();

    deleteAllRows(model);

    EXPECT_EQ(archive.calls(),
              QStringList({u"studies"_qs, u"delete 1.1"_qs, u"delete 1.2"_qs, u"studies"_qs}));
    EXPECT_EQ(archive.lastDevice(), core::deviceId(defaults));
    EXPECT_TRUE(model.allRows().empty());
    EXPECT_TRUE(model.selectedIDs().isEmpty());
    EXPECT_FALSE(model.lastError());
    const GatewayLogEvent started = only(GatewayLogAction::quorinCloudDeleteBatchStarted);
    EXPECT_EQ(started.level, GatewayLogLevel::info);
    EXPECT_EQ(detail(started, "selected_rows"), QStringLiteral("2"));
    EXPECT_EQ(detail(started, "requested_delete_count"), QStringLiteral("2"));
    EXPECT_EQ(detail(started, "requested_study_instance_uids"), QStringLiteral("1.1,1.2"));
    const GatewayLogEvent one = log.events(GatewayLogAction::quorinCloudDeleteStudyStarted).front();
    const QString hash = *log::hashedIdentifier(QStringLiteral("1.1"));
    EXPECT_EQ(one.level, GatewayLogLevel::debug);
    EXPECT_EQ(one.fileHash, hash);
    EXPECT_EQ(detail(one, "study_instance_uid"), QStringLiteral("1.1"));
    EXPECT_EQ(detail(one, "study_uid_hash"), hash);
    EXPECT_EQ(one.correlationId, started.correlationId);
    EXPECT_EQ(log.count(GatewayLogAction::quorinCloudDeleteStudySucceeded), 2U);
    const GatewayLogEvent ended = only(GatewayLogAction::quorinCloudDeleteBatchCompleted);
    EXPECT_EQ(ended.level, GatewayLogLevel::info);
    EXPECT_EQ(ended.outcome, GatewayLogOutcome::succeeded);
    EXPECT_EQ(detail(ended, "deleted_count"), QStringLiteral("2"));
    EXPECT_EQ(detail(ended, "failed_count"), QStringLiteral("0"));
    EXPECT_EQ(detail(ended, "deleted_study_instance_uids"), QStringLiteral("1.1,1.2"));
    EXPECT_FALSE(ended.details->contains(QStringLiteral("failed_study_instance_uids")));
    EXPECT_EQ(detail(log.events(GatewayLogAction::quorinCloudQidoFetchStarted).back(), "trigger"),
              QStringLiteral("post_delete"));
}

TEST_F(CloudStudies, GoAlsoWhereTheSearchHidesThem)
{
    archive.addStudy(QStringLiteral("1.1"));
    archive.addStudy(QStringLiteral("1.2"));
    query();
    model.setSelectedIDs({QStringLiteral("1.1"), QStringLiteral("1.2")});
    model.setSearchText(QStringLiteral("1.2"));
    EXPECT_EQ(model.selectedIDs().size(), 2);
    EXPECT_EQ(model.hiddenSelected(), 1);

    confirm(model);
    runUntil([&] { return !model.isDeleting(); });

    EXPECT_TRUE(archive.studies.isEmpty());
}

TEST_F(CloudStudies, AreDeletedOnceEach)
{
    archive.addStudy(QStringLiteral("1.1"));
    query();
    const QuorinCloudQidoStudyRow row = model.allRows().front();

    finish(model.deleteStudies({row, row, QuorinCloudQidoStudyRow::of({})}));

    EXPECT_EQ(archive.calls().count(QStringLiteral("delete 1.1")), 1);
    const GatewayLogEvent started = only(GatewayLogAction::quorinCloudDeleteBatchStarted);
    EXPECT_EQ(detail(started, "selected_rows"), QStringLiteral("3"));
    EXPECT_EQ(detail(started, "requested_delete_count"), QStringLiteral("1"));
}

TEST_F(CloudStudies, WithoutAUidCanBeSelectedButNotDeleted)
{
    archive.studies.append(QVariantMap());
    query();
    ASSERT_EQ(uids(), QStringList(QStringLiteral("--")));
    model.setSelectedIDs({model.allRows().front().id});

    confirm(model);

    EXPECT_EQ(model.lastError(), QStringLiteral("Selected rows do not contain valid Study UID values."));
    EXPECT_EQ(archive.calls().size(), 1);
    EXPECT_FALSE(model.isDeleting());
    const GatewayLogEvent failed = only(GatewayLogAction::quorinCloudDeleteBatchFailed);
    EXPECT_EQ(failed.level, GatewayLogLevel::warning);
    EXPECT_EQ(failed.outcome, GatewayLogOutcome::failed);
    EXPECT_EQ(detail(failed, "selected_rows"), QStringLiteral("1"));
    EXPECT_EQ(detail(failed, "requested_delete_count"), QStringLiteral("0"));
    EXPECT_EQ(detail(failed, "reason"), QStringLiteral("no_valid_study_uid"));
}

TEST_F(CloudStudies, ThatCannotBeDeletedStayAndAreToldOf)
{
    for (const char *uid : {"1.1", "1.2", "1.3"}) {
        archive.addStudy(QString::fromLatin1(uid));
    }
    query();
    archive.stubborn = {QStringLiteral("1.2")};

    deleteAllRows(model);

    EXPECT_EQ(model.lastError(),
              QStringLiteral("Deleted 2 of 3 selected studies. 1 failed. Last error: It is held."));
    EXPECT_EQ(uids(), QStringList(QStringLiteral("1.2")));
    const GatewayLogEvent item = only(GatewayLogAction::quorinCloudDeleteStudyFailed);
    EXPECT_EQ(item.level, GatewayLogLevel::error);
    EXPECT_TRUE(item.error);
    const GatewayLogEvent ended = only(GatewayLogAction::quorinCloudDeleteBatchCompleted);
    EXPECT_EQ(ended.level, GatewayLogLevel::warning);
    EXPECT_EQ(ended.outcome, GatewayLogOutcome::completed);
    EXPECT_EQ(detail(ended, "failed_study_instance_uids"), QStringLiteral("1.2"));
    EXPECT_EQ(detail(ended, "deleted_study_instance_uids"), QStringLiteral("1.1,1.3"));
}

TEST_F(CloudStudies, OfWhichNoneWasDeletedMakeAFailedBatch)
{
    archive.addStudy(QStringLiteral("1.1"));
    query();
    archive.stubborn = {QStringLiteral("1.1")};
    archive.stubbornWords.clear();

    deleteAllRows(model);

    EXPECT_EQ(model.lastError(), QStringLiteral("Deleted 0 of 1 selected studies. 1 failed."));
    const GatewayLogEvent ended = only(GatewayLogAction::quorinCloudDeleteBatchFailed);
    EXPECT_EQ(ended.level, GatewayLogLevel::error);
    EXPECT_EQ(ended.outcome, GatewayLogOutcome::failed);
}

TEST_F(CloudStudies, StopBeingDeletedWhenAPersonSaysSo)
{
    beginToDeleteThree();
    EXPECT_EQ(model.deletion(), (DeletionProgress{0, 3}));

    model.stopDeleting();
    archive.release();
    runUntil([&] { return !model.isDeleting(); });

    EXPECT_EQ(model.lastError(), QStringLiteral("Stopped. Deleted 1 of 3 selected studies."));
    EXPECT_EQ(archive.studies.size(), 2);
    const GatewayLogEvent ended = only(GatewayLogAction::quorinCloudDeleteBatchCompleted);
    EXPECT_EQ(ended.level, GatewayLogLevel::warning);
    EXPECT_EQ(detail(ended, "stopped"), QStringLiteral("true"));
}

TEST_F(CloudStudies, AreAskedForAfterADeletionAlsoWhileAQueryRuns)
{
    archive.addStudy(QStringLiteral("1.1"));
    query();
    archive.hold(QStringLiteral("studies"));
    const auto slow = model.loadStudies(QStringLiteral("filter_submit"));
    runUntil([&] { return archive.calls().size() == 2; });
    const auto deletion = model.deleteStudies({model.allRows().front()});
    runUntil([&] { return archive.calls().size() == 4; });

    archive.release();
    finish(slow);
    finish(deletion);

    EXPECT_TRUE(model.allRows().empty()) << "the older answer still had the study";
}

TEST_F(CloudSeries, GoWithBothIdentifiers)
{
    loadAll();
    archive.stubborn = {QStringLiteral("1.9.2")};

    deleteAllRows(model);

    EXPECT_TRUE(archive.calls().contains(QStringLiteral("delete 1.9/1.9.1")));
    EXPECT_EQ(record.notes.mid(0, 2), QStringList({u"1.9/1.9.1 0"_qs, u"1.9/1.9.1 1"_qs}));
    EXPECT_EQ(model.lastError(),
              QStringLiteral("Deleted 1 of 2 selected series. 1 failed. Last error: It is held."));
    const GatewayLogEvent started = log.events(GatewayLogAction::quorinCloudSeriesDeleteBatchStarted).front();
    EXPECT_EQ(detail(started, "study_instance_uid"), kStudy);
    EXPECT_EQ(detail(started, "requested_series_instance_uids"), QStringLiteral("1.9.1,1.9.2"));
    const GatewayLogEvent item = log.events(GatewayLogAction::quorinCloudSeriesDeleteItemStarted).front();
    EXPECT_EQ(detail(item, "series_instance_uid"), QStringLiteral("1.9.1"));
    EXPECT_EQ(detail(item, "series_uid_hash"), *log::hashedIdentifier(QStringLiteral("1.9.1")));
    EXPECT_EQ(detail(item, "study_instance_uid"), kStudy);
    const GatewayLogEvent ended = log.events(GatewayLogAction::quorinCloudSeriesDeleteBatchCompleted).front();
    EXPECT_EQ(detail(ended, "failed_series_instance_uids"), QStringLiteral("1.9.2"));
    EXPECT_EQ(detail(log.events(GatewayLogAction::quorinCloudSeriesFetchStarted).back(), "trigger"),
              QStringLiteral("post_series_delete"));
}

TEST_F(CloudSeries, AllDeletedLeaveAnEmptyTable)
{
    loadAll();

    deleteAllRows(model);

    EXPECT_TRUE(model.allRows().empty());
    EXPECT_FALSE(model.lastError());
}

TEST_F(CloudSeries, WithoutAUidCannotBeDeleted)
{
    finish(model.deleteSeries({QuorinCloudQidoSeriesRow::of({})}));

    EXPECT_EQ(model.lastError(), QStringLiteral("Selected rows do not contain valid Series UID values."));
    const GatewayLogEvent failed = log.events(GatewayLogAction::quorinCloudSeriesDeleteBatchFailed).front();
    EXPECT_EQ(detail(failed, "reason"), QStringLiteral("no_valid_series_uid"));
    EXPECT_EQ(detail(failed, "study_instance_uid"), kStudy);
}

TEST(DeleteQuestions, AreAskedInTheseWords)
{
    using Step = DeleteConfirmationStep;
    const DeleteQuestion first = deleteQuestion(TableKind::cloudStudies, Step::first, 3);
    EXPECT_EQ(first.title, QStringLiteral("Delete Selected Studies? (1/3)"));
    EXPECT_EQ(first.message, QStringLiteral("You selected 3 studies. Continue to the next confirmation."));
    EXPECT_EQ(first.confirm, QStringLiteral("Continue"));
    const DeleteQuestion second = deleteQuestion(TableKind::cloudStudies, Step::second, 3);
    EXPECT_EQ(second.title, QStringLiteral("Delete Selected Studies? (2/3)"));
    EXPECT_EQ(second.message,
              QStringLiteral("This will remove the selected studies from Quorin Cloud. Continue?"));
    const DeleteQuestion third = deleteQuestion(TableKind::cloudStudies, Step::third, 3);
    EXPECT_EQ(third.title, QStringLiteral("Final Confirmation (3/3)"));
    EXPECT_EQ(third.message, QStringLiteral("This action is permanent. Delete 3 selected studies now?"));
    EXPECT_EQ(third.confirm, QStringLiteral("Delete"));
    EXPECT_EQ(deleteQuestion(TableKind::cloudSeries, Step::first, 2).message,
              QStringLiteral("You selected 2 series. Continue to the next confirmation."));
    EXPECT_EQ(deleteQuestion(TableKind::cloudSeries, Step::second, 2).message,
              QStringLiteral("This will remove the selected series from Quorin Cloud. Continue?"));
    EXPECT_EQ(
        deleteQuestion(TableKind::localStudies, Step::second, 2).message,
        QStringLiteral("This will remove the selected studies from local Quorin Gateway storage. Continue?"));
    EXPECT_EQ(
        deleteQuestion(TableKind::localSeries, Step::second, 2).message,
        QStringLiteral("This will remove the selected series from local Quorin Gateway storage. Continue?"));
    EXPECT_EQ(deleteQuestion(TableKind::localSeries, Step::third, 2).message,
              QStringLiteral("This action is permanent. Delete 2 selected series now?"));
}

} // namespace gateway::browser::testing
