#include "browser/browser_words.h"
#include "browser/csv_export.h"
#include "browser/quorin_cloud_qido_series_table_view_model.h"
#include "browser/quorin_cloud_qido_study_table_view_model.h"
#include "browser/testing/browser_world.h"
#include "core/device_id.h"
#include "log/redaction.h"

namespace gateway::browser::testing {

namespace {

using cloud_client::QrnDicomTag;
using log::GatewayLogAction;
using log::GatewayLogEvent;
using log::GatewayLogLevel;
using log::GatewayLogOutcome;

struct CloudStudies : BrowserWorld
{
    void query() { finish(model.loadStudies(QStringLiteral("manual_query_button"))); }

    QStringList uids() const
    {
        QStringList uids;
        for (const quint32 position : model.shown()) {
            uids.append(model.allRows()[position].studyInstanceUID);
        }
        return uids;
    }

    GatewayLogEvent only(GatewayLogAction action) const
    {
        const std::vector<GatewayLogEvent> events = log.events(action);
        EXPECT_EQ(events.size(), 1U);
        return events.empty() ? GatewayLogEvent() : events.front();
    }

    QuorinCloudQidoStudyTableViewModel model{parts()};
};

struct CloudSeries : BrowserWorld
{
    CloudSeries()
    {
        archive.addSeries(kStudy, QStringLiteral("1.9.1"), 10);
        archive.addSeries(kStudy, QStringLiteral("1.9.2"), 9);
    }

    void loadAll() { finish(model.loadSeries(QStringLiteral("sheet_open"))); }

    const QString kStudy = QStringLiteral("1.9");
    QuorinCloudQidoSeriesTableViewModel model{parts(),
                                              QuorinCloudSeriesStudyContext::of(QuorinCloudQidoStudyRow::of(
                                                  object({{QrnDicomTag::StudyInstanceUID, kStudy}})))};
};

QString detail(const GatewayLogEvent &event, const char *key)
{
    return event.details.value_or(QMap<QString, QString>()).value(QString::fromLatin1(key));
}

} // namespace

TEST_F(CloudStudies, OpenWithoutAQuery)
{
    EXPECT_FALSE(model.hasExecutedQuery());
    EXPECT_FALSE(model.isLoading());
    EXPECT_FALSE(model.lastUpdatedAt());
    EXPECT_EQ(model.sortOrder(), (SortOrder{QuorinCloudQidoStudyRow::dateColumn, false}));
    EXPECT_TRUE(model.allRows().empty());
    EXPECT_TRUE(archive.calls().isEmpty());
    EXPECT_EQ(model.filters().customStudyDateFilter, clock.now().toLocalTime().date());
}

TEST_F(CloudStudies, AskForEverythingWithoutFilters)
{
    query();

    ASSERT_TRUE(archive.lastQuery);
    const cloud_client::QrnQidoQueryRequest &asked = *archive.lastQuery;
    for (const std::optional<QString> *filter : {&asked.patientName,
                                                 &asked.patientId,
                                                 &asked.accessionNumber,
                                                 &asked.studyDescription,
                                                 &asked.referringPhysician,
                                                 &asked.institutionName,
                                                 &asked.patientBirthDate,
                                                 &asked.studyDate,
                                                 &asked.modalitiesInStudy}) {
        EXPECT_FALSE(filter->has_value());
    }
}

TEST_F(CloudStudies, AskForWhatTheFiltersSay)
{
    QuorinCloudStudyFilters filters = model.filters();
    filters.patientNameFilter = QStringLiteral(" Doe* ");
    filters.patientIDFilter = QStringLiteral("P1");
    filters.accessionNumberFilter = QStringLiteral("A");
    filters.studyDescriptionFilter = QStringLiteral(" \n");
    filters.referringPhysicianFilter = QStringLiteral("Ref");
    filters.institutionNameFilter = QStringLiteral("Site");
    filters.modalityFilter = QStringLiteral("CT");
    filters.usePatientBirthDateFilter = true;
    filters.patientBirthDateFilter = QDate(1970, 2, 3);
    filters.studyDateFilterMode = QuorinCloudStudyDateFilterMode::custom;
    filters.customStudyDateFilter = QDate(2025, 12, 31);
    model.setFilters(filters);

    query();

    const cloud_client::QrnQidoQueryRequest &asked = *archive.lastQuery;
    EXPECT_EQ(asked.patientName, QStringLiteral("Doe*"));
    EXPECT_EQ(asked.patientId, QStringLiteral("P1"));
    EXPECT_EQ(asked.accessionNumber, QStringLiteral("A"));
    EXPECT_FALSE(asked.studyDescription);
    EXPECT_EQ(asked.referringPhysician, QStringLiteral("Ref"));
    EXPECT_EQ(asked.institutionName, QStringLiteral("Site"));
    EXPECT_EQ(asked.modalitiesInStudy, QStringLiteral("CT"));
    EXPECT_EQ(asked.patientBirthDate, QStringLiteral("19700203"));
    EXPECT_EQ(asked.studyDate, QStringLiteral("20251231"));
}

TEST_F(CloudStudies, KnowTodayAndYesterday)
{
    QuorinCloudStudyFilters filters;
    const QDate today(2026, 3, 1);

    filters.studyDateFilterMode = QuorinCloudStudyDateFilterMode::today;
    EXPECT_EQ(filters.request(today).studyDate, QStringLiteral("20260301"));
    filters.studyDateFilterMode = QuorinCloudStudyDateFilterMode::yesterday;
    EXPECT_EQ(filters.request(today).studyDate, QStringLiteral("20260228"));
    filters.studyDateFilterMode = QuorinCloudStudyDateFilterMode::any;
    EXPECT_FALSE(filters.request(today).studyDate);
}

TEST_F(CloudStudies, ShowWhatWasFoundTheNewestFirstAndLogIt)
{
    archive.addStudy(QStringLiteral("1.1"), {{QrnDicomTag::StudyDate, QStringLiteral("20250101")}});
    archive.addStudy(QStringLiteral("1.2"), {{QrnDicomTag::StudyDate, QStringLiteral("20260101")}});
    model.setSearchText(QStringLiteral("1.2"));

    query();

    EXPECT_EQ(uids(), QStringList(QStringLiteral("1.2")));
    EXPECT_TRUE(model.hasExecutedQuery());
    EXPECT_FALSE(model.isLoading());
    EXPECT_FALSE(model.lastError());
    EXPECT_EQ(model.lastUpdatedAt(), clock.now());
    const GatewayLogEvent started = only(GatewayLogAction::quorinCloudQidoFetchStarted);
    const GatewayLogEvent ended = only(GatewayLogAction::quorinCloudQidoFetchSucceeded);
    EXPECT_EQ(started.level, GatewayLogLevel::info);
    EXPECT_EQ(started.outcome, GatewayLogOutcome::started);
    EXPECT_EQ(started.category, log::GatewayLogCategory::quorinCloud);
    EXPECT_EQ(detail(started, "trigger"), QStringLiteral("manual_query_button"));
    EXPECT_EQ(ended.outcome, GatewayLogOutcome::succeeded);
    EXPECT_EQ(ended.correlationId, started.correlationId);
    EXPECT_EQ(detail(ended, "rows_total"), QStringLiteral("2"));
    EXPECT_EQ(detail(ended, "rows_filtered"), QStringLiteral("1"));
    model.setSearchText(QString());
    EXPECT_EQ(uids(), QStringList({QStringLiteral("1.2"), QStringLiteral("1.1")}));
}

TEST_F(CloudStudies, SearchAcrossTheBordersOfFields)
{
    archive.addStudy(QStringLiteral("1.1"),
                     {{QrnDicomTag::PatientName, QStringLiteral("Doe^Jane")},
                      {QrnDicomTag::PatientID, QStringLiteral("P7")}});
    archive.addStudy(QStringLiteral("1.2"));
    query();

    model.setSearchText(QStringLiteral("  JANE p7 "));

    EXPECT_EQ(uids(), QStringList(QStringLiteral("1.1")));
}

TEST_F(CloudStudies, DropASecondQueryWhileOneRuns)
{
    archive.hold(QStringLiteral("studies"));
    const auto first = model.loadStudies(QStringLiteral("manual_query_button"));
    runUntil([&] { return !archive.calls().isEmpty(); });

    query();
    EXPECT_EQ(log.count(GatewayLogAction::quorinCloudQidoFetchStarted), 1U);
    EXPECT_TRUE(model.isLoading());
    archive.release();
    finish(first);

    EXPECT_EQ(archive.calls().size(), 1);
}

TEST_F(CloudStudies, KeepTheRowsBesideTheMessageOfAFailure)
{
    archive.addStudy(QStringLiteral("1.1"));
    query();
    archive.studies.clear();
    archive.addStudy(QStringLiteral("1.2"));
    archive.failure = QStringLiteral("Nobody answers.");
    clock.advance(std::chrono::seconds(5));

    query();

    EXPECT_EQ(uids(), QStringList(QStringLiteral("1.1")));
    EXPECT_EQ(model.lastError(), QStringLiteral("Nobody answers."));
    EXPECT_EQ(model.lastUpdatedAt(), clock.now());
    EXPECT_FALSE(model.isLoading());
    const GatewayLogEvent failed = only(GatewayLogAction::quorinCloudQidoFetchFailed);
    EXPECT_EQ(failed.level, GatewayLogLevel::error);
    EXPECT_EQ(failed.outcome, GatewayLogOutcome::failed);
    EXPECT_EQ(detail(failed, "trigger"), QStringLiteral("manual_query_button"));
    ASSERT_TRUE(failed.error);
    EXPECT_TRUE(failed.error->message.startsWith(QStringLiteral("redacted_message_hash=")));
    archive.failure.reset();
    query();
    EXPECT_FALSE(model.lastError());
}

TEST_F(CloudStudies, ShowALongAnswerAsItComes)
{
    for (int number = 0; number < 3; ++number) {
        archive.addStudy(QStringLiteral("1.%1").arg(number));
    }
    archive.pageSize = 1;
    archive.hold(QStringLiteral("studies"));

    const auto task = model.loadStudies(QStringLiteral("filter_submit"));

    runUntil([&] { return model.allRows().size() == 1; });
    EXPECT_TRUE(model.isLoading());
    archive.release();
    finish(task);
    EXPECT_EQ(model.allRows().size(), 3U);
}

TEST_F(CloudStudies, ClearTheFiltersAndNothingElse)
{
    archive.addStudy(QStringLiteral("1.1"));
    query();
    QuorinCloudStudyFilters filters = model.filters();
    filters.patientNameFilter = QStringLiteral("Doe");
    filters.usePatientBirthDateFilter = true;
    filters.studyDateFilterMode = QuorinCloudStudyDateFilterMode::custom;
    model.setFilters(filters);
    model.setSearchText(QStringLiteral("1"));

    model.clearFilters();

    EXPECT_EQ(model.filters(), QuorinCloudStudyFilters::none(clock.now().toLocalTime().date()));
    EXPECT_EQ(model.searchText(), QStringLiteral("1"));
    EXPECT_EQ(model.allRows().size(), 1U);
    EXPECT_EQ(archive.calls().size(), 1);
}

TEST_F(CloudStudies, AreForgottenWhenSomebodySignsOut)
{
    archive.addStudy(QStringLiteral("1.1"));
    QuorinCloudStudyFilters filters = model.filters();
    filters.patientIDFilter = QStringLiteral("P1");
    model.setFilters(filters);
    query();
    model.setSearchText(QStringLiteral("1"));
    model.setSelectedIDs({QStringLiteral("1.1")});

    session.reset();
    model.sessionChanged();

    EXPECT_TRUE(model.allRows().empty());
    EXPECT_TRUE(model.shown().empty());
    EXPECT_TRUE(model.searchText().isEmpty());
    EXPECT_TRUE(model.selectedIDs().isEmpty());
    EXPECT_FALSE(model.lastUpdatedAt());
    EXPECT_FALSE(model.hasExecutedQuery());
    EXPECT_EQ(model.filters(), filters);
}

TEST_F(CloudStudies, ComeWithAnAnswerThatWasUnderWayWhenSomebodySignedOut)
{
    archive.addStudy(QStringLiteral("1.1"));
    archive.hold(QStringLiteral("studies"));
    const auto task = model.loadStudies(QStringLiteral("filter_submit"));
    session.reset();
    model.sessionChanged();

    archive.release();
    finish(task);

    EXPECT_EQ(uids(), QStringList(QStringLiteral("1.1")));
}

TEST_F(CloudStudies, OfOneAccountAreNeverShownToAnother)
{
    archive.addStudy(QStringLiteral("1.1"));
    archive.hold(QStringLiteral("studies"));
    const auto old = model.loadStudies(QStringLiteral("filter_submit"));
    runUntil([&] { return archive.calls().size() == 1; });
    session = QStringLiteral("bob");
    model.sessionChanged();
    EXPECT_FALSE(model.isLoading());
    archive.studies.clear();
    archive.addStudy(QStringLiteral("2.2"));
    const auto next = model.loadStudies(QStringLiteral("filter_submit"));

    archive.release();
    finish(old);
    finish(next);

    EXPECT_EQ(uids(), QStringList(QStringLiteral("2.2")));
}

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
    for (const char *uid : {"1.1", "1.2", "1.3"}) {
        archive.addStudy(QString::fromLatin1(uid));
    }
    query();
    archive.hold(QStringLiteral("delete 1.1"));
    model.setSelectedIDs({QStringLiteral("1.1"), QStringLiteral("1.2"), QStringLiteral("1.3")});
    confirm(model);
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

TEST_F(CloudStudies, AreExportedAsTheyAreShown)
{
    archive.addStudy(QStringLiteral("1.1"), {{QrnDicomTag::PatientName, QStringLiteral("O\"Neill, Ann")}});
    archive.addStudy(QStringLiteral("1.2"),
                     {{QrnDicomTag::StudyDescription, QStringLiteral("=HYPERLINK(1)")},
                      {QrnDicomTag::PatientID, QStringLiteral("-12")}});
    archive.addStudy(QStringLiteral("9.9"));
    query();
    model.setSearchText(QStringLiteral("1."));

    const QByteArray bytes = CsvExport(model).bytes();
    EXPECT_TRUE(bytes.startsWith("\xEF\xBB\xBF"));
    const QString csv = QString::fromUtf8(bytes);

    EXPECT_EQ(
        csv.split(QStringLiteral("\r\n")),
        QStringList({QStringLiteral("\"Patient Name\",\"Patient ID\",\"Description\",\"Modality\","
                                    "\"Date\",\"Time\",\"Accession\",\"Images\",\"Study UID\""),
                     QStringLiteral("\"O\"\"Neill, Ann\",\"\",\"\",\"\",\"\",\"\",\"\",\"0\",\"1.1\""),
                     QStringLiteral("\"\",\"-12\",\"'=HYPERLINK(1)\",\"\",\"\",\"\",\"\",\"0\",\"1.2\""),
                     QString()}));
}

TEST(CsvCells, AreNeverRunAsFormulas)
{
    for (const QString &text :
         {u"=1+1"_qs, u"+cmd"_qs, u"-cmd"_qs, u"@SUM(A1)"_qs, u"\t=1"_qs, u"\uFF1D1"_qs}) {
        EXPECT_EQ(csvCell(text), u"\"'"_qs + text + u'"');
    }
    EXPECT_EQ(csvCell(u"-1"_qs), u"\"-1\""_qs);
    EXPECT_EQ(csvCell(u"--"_qs), u"\"\""_qs);
}

TEST_F(CloudSeries, AreLoadedByNumberWithTheirEvents)
{
    loadAll();

    ASSERT_EQ(model.shown().size(), 2U);
    EXPECT_EQ(model.allRows()[model.shown().front()].seriesNumberDisplay, QStringLiteral("9"));
    EXPECT_EQ(archive.calls(), QStringList(QStringLiteral("series 1.9")));
    const GatewayLogEvent started = log.events(GatewayLogAction::quorinCloudSeriesFetchStarted).front();
    EXPECT_EQ(detail(started, "trigger"), QStringLiteral("sheet_open"));
    EXPECT_EQ(detail(started, "study_instance_uid"), kStudy);
    EXPECT_EQ(log.count(GatewayLogAction::quorinCloudSeriesFetchSucceeded), 1U);
}

TEST_F(CloudSeries, GoWithBothIdentifiers)
{
    loadAll();
    archive.stubborn = {QStringLiteral("1.9.2")};

    deleteAllRows(model);

    EXPECT_TRUE(archive.calls().contains(QStringLiteral("delete 1.9/1.9.1")));
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
