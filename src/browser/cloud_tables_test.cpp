#include "browser/csv_export.h"
#include "browser/testing/cloud_tables_world.h"

namespace gateway::browser::testing {

using cloud_client::QrnDicomTag;
using log::GatewayLogAction;
using log::GatewayLogEvent;
using log::GatewayLogLevel;
using log::GatewayLogOutcome;

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

} // namespace gateway::browser::testing
