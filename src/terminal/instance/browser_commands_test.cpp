#include "terminal/instance/browser_commands.h"

#include "browser/testing/fake_archive.h"
#include "index/testing/temporary_index.h"
#include "log/writing/testing/recording_log.h"
#include "terminal/instance/testing/account_app.h"

#include <QtCore/QJsonArray>

namespace gateway::terminal::testing {

namespace {

using cloud_client::QrnDicomTag;
using index::testing::TemporaryIndex;
using Action = BrowserCommand::Action;
using Place = BrowserCommand::Place;

struct BrowserCommandsTest : AccountApp
{
    BrowserCommandsTest()
    {
        archive.addStudy(QStringLiteral("1.1"), {{QrnDicomTag::PatientName, QStringLiteral("Doe^Jane")}});
        archive.addStudy(QStringLiteral("1.2"));
        archive.addSeries(QStringLiteral("1.1"), QStringLiteral("1.1.1"), 4);
    }

    ~BrowserCommandsTest() override { archive.release(); }

    ControlReply ask(const BrowserCommand &command)
    {
        return AccountApp::ask(commands, browserRequest(command));
    }

    ControlReply list(Place place, const QString &study = {})
    {
        return ask(
            {.place = place, .action = study.isEmpty() ? Action::studies : Action::series, .study = study});
    }

    ControlReply remove(Place place, const QStringList &targets, const QString &study = {})
    {
        return ask({.place = place,
                    .action = Action::deletion,
                    .study = study,
                    .targets = targets,
                    .isConfirmed = true,
                    .expected = targets.size()});
    }

    browser::testing::FakeArchive archive;
    log::testing::RecordingLog events;
    log::StoreLogEmitter emitter{events, clock};
    TemporaryIndex store;
    int refreshed = 0;
    BrowserCommands commands{{archive,
                              archive,
                              emitter,
                              defaults,
                              store.index(),
                              {main, pool, clock},
                              [this] { return settings.token(); }},
                             {store.index(),
                              store.index().failedUploads(),
                              notifications,
                              {main, pool, clock},
                              [this] { ++refreshed; }},
                             auth};
};

} // namespace

TEST_F(BrowserCommandsTest, LeaveOtherRequestsToOthers)
{
    EXPECT_FALSE(commands.handle({QStringLiteral("status"), {}}, [](const ControlReply &) { FAIL(); }));
}

TEST_F(BrowserCommandsTest, NeedASessionForTheCloudAlone)
{
    EXPECT_EQ(list(Place::cloud).error, QStringLiteral("Sign in to load Quorin Cloud studies."));
    EXPECT_EQ(list(Place::cloud, QStringLiteral("1.1")).error,
              QStringLiteral("Sign in to load Quorin Cloud series."));
    EXPECT_EQ(remove(Place::cloud, {QStringLiteral("1.1")}).code, ExitCode::failed);
    EXPECT_TRUE(archive.calls().isEmpty());
    EXPECT_EQ(list(Place::local).code, ExitCode::done);
}

TEST_F(BrowserCommandsTest, ListWhatTheCloudHolds)
{
    signIn();

    const ControlReply reply =
        ask({.place = Place::cloud,
             .searchText = QStringLiteral("doe"),
             .filters = {{QStringLiteral("modality"), QStringLiteral("CT")},
                         {QStringLiteral("study-date"), QStringLiteral("2026-01-31")},
                         {QStringLiteral("birth-date"), QStringLiteral("1970-02-03")}}});

    const QJsonArray studies = reply.result.value(QStringLiteral("studies")).toArray();
    ASSERT_EQ(studies.size(), 1);
    EXPECT_EQ(studies[0][u"patientName"].toString(), QStringLiteral("Doe^Jane"));
    EXPECT_EQ(studies[0][u"studyInstanceUID"].toString(), QStringLiteral("1.1"));
    EXPECT_TRUE(studies[0][u"patientID"].isNull());
    EXPECT_EQ(archive.lastQuery->modalitiesInStudy, QStringLiteral("CT"));
    EXPECT_EQ(archive.lastQuery->studyDate, QStringLiteral("20260131"));
    EXPECT_EQ(archive.lastQuery->patientBirthDate, QStringLiteral("19700203"));
    EXPECT_EQ(list(Place::cloud, QStringLiteral("1.1"))
                  .result.value(QStringLiteral("series"))
                  .toArray()[0][u"seriesNumber"]
                  .toString(),
              QStringLiteral("4"));
}

TEST_F(BrowserCommandsTest, TellWhyTheCloudCouldNotBeAsked)
{
    signIn();
    archive.failure = QStringLiteral("Nobody answers.");

    EXPECT_EQ(list(Place::cloud).error, QStringLiteral("Nobody answers."));
}

TEST_F(BrowserCommandsTest, DeleteFromTheCloudAndAskForNothingThen)
{
    signIn();

    const ControlReply reply = remove(Place::cloud, {QStringLiteral("1.1"), QStringLiteral("1.2")});

    EXPECT_EQ(reply.code, ExitCode::done);
    EXPECT_EQ(reply.result.value(QStringLiteral("deleted")).toInt(), 2);
    EXPECT_TRUE(archive.studies.isEmpty());
    EXPECT_FALSE(archive.calls().contains(QStringLiteral("studies")));
    EXPECT_EQ(remove(Place::cloud, {QStringLiteral("1.1.1")}, QStringLiteral("1.1")).code, ExitCode::done);
    EXPECT_EQ(archive.calls().last(), QStringLiteral("delete 1.1/1.1.1"));
}

TEST_F(BrowserCommandsTest, TellWhatCouldNotBeDeleted)
{
    signIn();
    archive.stubborn = {QStringLiteral("1.2")};

    const ControlReply reply = remove(Place::cloud, {QStringLiteral("1.1"), QStringLiteral("1.2")});

    EXPECT_EQ(reply.code, ExitCode::done);
    EXPECT_EQ(reply.result.value(QStringLiteral("deleted")).toInt(), 1);
    EXPECT_EQ(reply.result.value(QStringLiteral("failed")).toInt(), 1);
    EXPECT_EQ(reply.result.value(QStringLiteral("failedTargets")).toArray(),
              QJsonArray{QStringLiteral("1.2")});
    EXPECT_EQ(reply.result.value(kDeletionProblem).toString(),
              QStringLiteral("Deleted 1 of 2 selected studies. 1 failed. Last error: It is held."));
}

TEST_F(BrowserCommandsTest, DeleteNothingWithoutTheWordAndTheCount)
{
    store.import(TemporaryIndex::image(QStringLiteral("9.1")));
    const QStringList targets{QStringLiteral("1.2")};

    const ControlReply bare = ask({.place = Place::local, .action = Action::deletion, .targets = targets});
    const ControlReply wrong = ask({.place = Place::local,
                                    .action = Action::deletion,
                                    .targets = targets,
                                    .isConfirmed = true,
                                    .expected = 2});

    EXPECT_EQ(bare.code, ExitCode::usage);
    EXPECT_TRUE(bare.error.contains(QStringLiteral(
        "\nImages not in Quorin Cloud: 1, of 1 of the selected studies. They will be lost.\n")));
    EXPECT_EQ(wrong.code, ExitCode::usage);
    EXPECT_EQ(store.index().studySnapshots().size(), 1);
}

TEST_F(BrowserCommandsTest, ListAndDeleteWhatThisMachineHolds)
{
    store.import(TemporaryIndex::image(QStringLiteral("9.1")));

    const QJsonArray studies = list(Place::local).result.value(QStringLiteral("studies")).toArray();
    ASSERT_EQ(studies.size(), 1);
    EXPECT_EQ(studies[0][u"id"].toString(), QStringLiteral("1.2"));
    EXPECT_EQ(studies[0][u"images"].toInt(), 1);
    EXPECT_EQ(studies[0][u"syncState"].toString(), QStringLiteral("Not Synced"));
    EXPECT_EQ(
        list(Place::local, QStringLiteral("1.2")).result.value(QStringLiteral("series")).toArray().size(), 1);
    EXPECT_EQ(remove(Place::local, {QStringLiteral("7.7")}).result.value(kDeletionProblem).toString(),
              QStringLiteral("Failed to delete the selected studies."));

    EXPECT_EQ(remove(Place::local, {QStringLiteral("1.2")}).code, ExitCode::done);

    EXPECT_TRUE(store.index().studySnapshots().isEmpty());
    EXPECT_EQ(store.removals().size(), 1);
    EXPECT_EQ(refreshed, 1);
}

TEST_F(BrowserCommandsTest, CountWhatIsNotInTheCloudBeforeTheyDeleteIt)
{
    const QString study = QStringLiteral("studyID");
    for (const char *each : {"1", "2", "3"}) {
        const QString name = QString::fromLatin1(each);
        store.import(TemporaryIndex::image(QStringLiteral("9.") + name, {{study, name}}));
    }
    store.execute(QStringLiteral("UPDATE DicomImage SET syncState = 1 WHERE originalSOPInstanceUID = '9.2'"));
    const QString series =
        list(Place::local, u"3"_qs).result.value(u"series"_qs).toArray()[0][u"id"].toString();

    EXPECT_EQ(remove(Place::local, {series}, u"3"_qs).result.value(kOutsideCloud).toInt(), 1);
    EXPECT_EQ(remove(Place::local, {u"2"_qs, u"1"_qs}).result.value(kOutsideCloud).toInt(), 1);
    EXPECT_EQ(store.index().studySnapshots().size(), 1);
}

TEST_F(BrowserCommandsTest, NameSeriesOfThisMachineByTheirUidsAlone)
{
    const auto importSeries = [&](const QString &instance, const QString &uid) {
        store.import(TemporaryIndex::image(instance,
                                           {{QStringLiteral("seriesID"), uid},
                                            {QStringLiteral("seriesInstanceUID"), uid},
                                            {QStringLiteral("seriesDICOMUID"), uid}}));
    };
    importSeries(QStringLiteral("9.1"), QStringLiteral("1.2.9.1")); // the index knows it as 1.2.9.10
    importSeries(QStringLiteral("9.2"), QStringLiteral("1.2.9.10"));
    const auto shown = [&] {
        QStringList ids;
        for (const QJsonValue &row :
             list(Place::local, QStringLiteral("1.2")).result.value(QStringLiteral("series")).toArray()) {
            EXPECT_EQ(row[u"id"], row[u"seriesInstanceUID"]);
            ids.append(row[u"id"].toString());
        }
        ids.sort();
        return ids;
    };
    EXPECT_EQ(shown(), QStringList({QStringLiteral("1.2.9.1"), QStringLiteral("1.2.9.10")}));

    EXPECT_EQ(remove(Place::local, {QStringLiteral("1.2.9.10")}, QStringLiteral("1.2"))
                  .result.value(QStringLiteral("deleted"))
                  .toInt(),
              1);

    EXPECT_EQ(shown(), QStringList(QStringLiteral("1.2.9.1")));
    EXPECT_EQ(remove(Place::local, {QStringLiteral("1.2.9.10")}, QStringLiteral("1.2"))
                  .result.value(QStringLiteral("failed"))
                  .toInt(),
              1)
        << "it is gone, and no other has its name";
    EXPECT_EQ(shown(), QStringList(QStringLiteral("1.2.9.1")));
}

TEST_F(BrowserCommandsTest, EndADeletionBehindTheStudyAtWhichItIsWhenTheCallerGoes)
{
    signIn();
    archive.hold(QStringLiteral("delete 1.1"));
    std::stop_source gone;
    ControlRequest request = browserRequest({.place = Place::cloud,
                                             .action = Action::deletion,
                                             .targets = {QStringLiteral("1.1"), QStringLiteral("1.2")},
                                             .isConfirmed = true,
                                             .expected = 2});
    request.hungUp = gone.get_token();
    std::optional<ControlReply> reply;
    commands.handle(request, [&reply](const ControlReply &given) { reply = given; });
    runUntil([&] { return !archive.calls().isEmpty(); });

    gone.request_stop();
    main.drain();
    archive.release();
    runUntil([&] { return reply.has_value(); });

    EXPECT_EQ(reply->result.value(kDeletionProblem).toString(),
              QStringLiteral("Stopped. Deleted 1 of 2 selected studies."));
    EXPECT_EQ(archive.studies.size(), 1);
}

TEST_F(BrowserCommandsTest, AskForNoMorePagesWhenTheCallerHangsUp)
{
    signIn();
    archive.pageSize = 1;
    for (int number = 0; number < 9; ++number) {
        archive.addStudy(QStringLiteral("5.%1").arg(number));
    }
    archive.hold(QStringLiteral("studies"));
    std::stop_source gone;
    ControlRequest request = browserRequest({.place = Place::cloud, .action = Action::studies});
    request.hungUp = gone.get_token();
    std::optional<ControlReply> reply;
    commands.handle(request, [&reply](const ControlReply &given) { reply = given; });
    runUntil([&] { return archive.pages == 1; });

    gone.request_stop();
    main.drain();
    archive.release();
    runUntil([&] { return reply.has_value(); });

    EXPECT_LE(archive.pages, 2) << "of nine: the first, and the next where that was on its way";
}

} // namespace gateway::terminal::testing
