#include "cloud_client/archive_trial.h"

#include "cloud_client/archive_sign_in.h"
#include "cloud_client/testing/client_fixture.h"

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

namespace gateway::cloud_client::testing {

namespace {

using Outcome = TrialStep::Outcome;

/// A small archive that keeps the one object it was sent, with habits to be set.
class SmallArchive
{
public:
    std::atomic<int> queriesUntilFound = 0; ///< that find nothing first
    std::atomic<bool> answersQueries = true, stores = true, givesBack = true, changes = false, deletes = true;
    std::atomic<bool> wantsSignIn = false;
    std::atomic<bool> hangsUp = false; ///< stores, and says nothing of it
    std::atomic<int> faults = 0;       ///< answers behind storing that are 503, before the others
    std::atomic<int> statusAlone = 0;  ///< unless 0, all that it says behind storing

    ScriptedService service{[this](const ReceivedRequest &request) { return answer(request); },
                            CloudKind::dicomweb};

    QList<TrialStep> tryOut() { return ArchiveTrial(service.client, service.clock, folder.path()).run({}); }

    QTemporaryDir folder;
    std::atomic<bool> isDeleted = false;

private:
    QByteArray answer(const ReceivedRequest &request)
    {
        using Server = ScriptedHttpServer;
        if (wantsSignIn) {
            return Server::answer(401);
        }
        if (request.method == "POST") {
            return store(request);
        }
        const bool isBehindStoring = request.method == "DELETE" || request.target.contains("/instances");
        if (isBehindStoring && faults-- > 0) {
            return Server::answer(503);
        }
        if (request.method == "DELETE") {
            isDeleted = deletes.load();
            return Server::answer(deletes ? 204 : 405);
        }
        if (!request.target.contains("/instances")) {
            return answersQueries ? Server::answer(200, "application/dicom+json", "[]") : Server::answer(404);
        }
        return request.target.contains("?") ? found() : give();
    }

    QByteArray store(const ReceivedRequest &request)
    {
        const qsizetype start = request.body.indexOf("\r\n\r\n") + 4;
        m_object = request.body.mid(start, request.body.lastIndexOf("\r\n--") - start);
        const qsizetype at = m_object.indexOf(QByteArray("\x08\x00\x18\x00UI", 6)) + 6;
        const int length = static_cast<unsigned char>(m_object.at(at));
        m_instance = m_object.mid(at + 2, length);
        while (m_instance.endsWith('\0')) {
            m_instance.chop(1);
        }
        if (hangsUp) {
            return {};
        }
        if (statusAlone != 0) {
            return ScriptedHttpServer::answer(statusAlone);
        }
        const QByteArray sequence = stores ? "00081199" : "00081198";
        return ScriptedHttpServer::answer(stores ? 200 : 409,
                                          "application/dicom+json",
                                          R"({")" + sequence +
                                              R"(":{"vr":"SQ","Value":[{"00081155":{"vr":"UI","Value":[")" +
                                              m_instance + R"("]},"00081197":{"vr":"US","Value":[290]}}]}})");
    }

    QByteArray found()
    {
        if (!answersQueries) {
            return ScriptedHttpServer::answer(404);
        }
        const bool isThere = queriesUntilFound-- <= 0;
        return ScriptedHttpServer::answer(
            200,
            "application/dicom+json",
            isThere ? R"([{"00080018":{"vr":"UI","Value":[")" + m_instance + R"("]}}])" : QByteArray("[]"));
    }

    QByteArray give() const
    {
        QByteArray object = m_object;
        if (changes) {
            object.replace("GATEWAY^TEST", "SOMEBODY^OTH");
        }
        return givesBack ? ScriptedHttpServer::answer(200, "application/dicom", object)
                         : ScriptedHttpServer::answer(403);
    }

    QByteArray m_object;
    QByteArray m_instance;
};

/// The outcome of the step of that name; nothing where it wasn't taken.
std::optional<Outcome> outcomeOf(const QList<TrialStep> &steps, const char *name)
{
    for (const TrialStep &step : steps) {
        if (step.step == QLatin1StringView(name)) {
            return step.outcome;
        }
    }
    return std::nullopt;
}

} // namespace

struct ArchiveTrialTest : ::testing::Test
{
    void SetUp() override
    {
        archive.service.client.networkSettings().setToken(QString::fromLatin1(kNoPairSession));
    }

    SmallArchive archive;
};

TEST_F(ArchiveTrialTest, FindsAllWellAtAnArchiveThatDoesAllAndLeavesNothingThere)
{
    const QList<TrialStep> steps = archive.tryOut();

    QStringList names;
    for (const TrialStep &step : steps) {
        names.append(step.step);
        EXPECT_EQ(step.outcome, Outcome::good) << step.words.toStdString();
    }
    EXPECT_EQ(names.join(u' '), QStringLiteral("name connection sign-in query store find read back delete"));
    EXPECT_TRUE(archive.isDeleted);
}

TEST_F(ArchiveTrialTest, WaitsForAnArchiveThatStoresLater)
{
    archive.queriesUntilFound = 1;
    std::jthread time([this] {
        archive.service.clock.waitForSleepers(1);
        archive.service.clock.advance(std::chrono::seconds(1));
    });

    const QList<TrialStep> steps = archive.tryOut();

    EXPECT_EQ(outcomeOf(steps, "find"), Outcome::remark);
    EXPECT_EQ(outcomeOf(steps, "delete"), Outcome::good);
}

TEST_F(ArchiveTrialTest, ConcludesNothingFromABadMoment)
{
    std::jthread time([this](const std::stop_token &stop) {
        while (!stop.stop_requested()) {
            archive.service.clock.advance(std::chrono::seconds(1));
            std::this_thread::yield();
        }
    });
    archive.faults = 1;
    EXPECT_EQ(outcomeOf(archive.tryOut(), "delete"), Outcome::good) << "it was looked for again";

    archive.faults = 1000;
    const QList<TrialStep> steps = archive.tryOut();

    for (const char *name : {"find", "read back", "delete"}) {
        const auto step = std::ranges::find(steps, QLatin1StringView(name), &TrialStep::step);
        ASSERT_NE(step, steps.end());
        EXPECT_EQ(step->outcome, Outcome::remark);
        EXPECT_TRUE(step->words.contains(QStringLiteral("503"))) << step->words.toStdString();
        EXPECT_FALSE(step->words.contains(QStringLiteral(" So "))) << step->words.toStdString();
    }
    EXPECT_TRUE(steps.last().words.contains(QStringLiteral("GATEWAY-TEST"))) << "it may be there";
}

TEST_F(ArchiveTrialTest, RemarksOnWhatAnArchiveCanDoWithout)
{
    archive.answersQueries = false;
    archive.givesBack = false;
    archive.deletes = false;

    const QList<TrialStep> steps = archive.tryOut();

    for (const char *name : {"query", "find", "read back", "delete"}) {
        EXPECT_EQ(outcomeOf(steps, name), Outcome::remark) << name;
    }
    EXPECT_TRUE(steps.last().words.contains(QStringLiteral("2.25."))); // what stays there is named
}

TEST_F(ArchiveTrialTest, RemarksOnAnArchiveThatChangesWhatItIsSent)
{
    archive.changes = true;

    EXPECT_EQ(outcomeOf(archive.tryOut(), "read back"), Outcome::remark);
}

TEST_F(ArchiveTrialTest, EndsWithARefusedImage)
{
    archive.stores = false;

    const QList<TrialStep> steps = archive.tryOut();

    EXPECT_EQ(steps.last().step, QStringLiteral("store"));
    EXPECT_EQ(steps.last().outcome, Outcome::failed);
    EXPECT_TRUE(steps.last().words.contains(QStringLiteral("290")));
}

TEST_F(ArchiveTrialTest, TakesBackAnImageOfWhichNobodyKnowsWhetherItArrived)
{
    archive.hangsUp = true;

    const QList<TrialStep> steps = archive.tryOut();

    EXPECT_EQ(outcomeOf(steps, "store"), Outcome::failed);
    EXPECT_TRUE(archive.isDeleted);
    EXPECT_FALSE(steps.last().words.contains(QStringLiteral("GATEWAY-TEST")));

    archive.deletes = false;
    EXPECT_TRUE(archive.tryOut().last().words.contains(QStringLiteral("2.25."))); // what may stay is named
}

TEST_F(ArchiveTrialTest, AsksForNoDeletionOfWhatWasRefusedByItsStatus)
{
    archive.statusAlone = 403;

    EXPECT_EQ(outcomeOf(archive.tryOut(), "store"), Outcome::failed);
    EXPECT_FALSE(archive.isDeleted);
}

TEST_F(ArchiveTrialTest, TakesBackAnImageBehindAFaultThatMayHaveStoredIt)
{
    for (const int status : {504, 500, 408}) {
        archive.statusAlone = status;
        archive.isDeleted = false;

        EXPECT_EQ(archive.tryOut().last().step, QStringLiteral("store")) << status;
        EXPECT_TRUE(archive.isDeleted) << status;
    }
}

TEST_F(ArchiveTrialTest, GoesOnWhereAnArchiveHasTakenTheImageAndDoesNotShowItYet)
{
    archive.statusAlone = 202;
    archive.queriesUntilFound = 1;

    const QList<TrialStep> steps = archive.tryOut();

    EXPECT_EQ(outcomeOf(steps, "store"), Outcome::remark);
    EXPECT_EQ(outcomeOf(steps, "find"), Outcome::good);
    EXPECT_EQ(outcomeOf(steps, "delete"), Outcome::good);
    EXPECT_TRUE(archive.isDeleted);
}

TEST_F(ArchiveTrialTest, NamesAnImageThatMayComeLater)
{
    archive.statusAlone = 202;
    archive.queriesUntilFound = 100;
    std::jthread time([this] {
        for (const int pause : {1, 2, 4, 8, 15}) {
            archive.service.clock.waitForSleepers(1);
            archive.service.clock.advance(std::chrono::seconds(pause));
        }
    });

    const QList<TrialStep> steps = archive.tryOut();

    EXPECT_EQ(outcomeOf(steps, "find"), Outcome::remark);
    EXPECT_EQ(outcomeOf(steps, "read back"), std::nullopt) << "nothing is said of what isn't there";
    EXPECT_EQ(outcomeOf(steps, "delete"), Outcome::remark);
    EXPECT_TRUE(steps.last().words.contains(QStringLiteral("2.25.")));
}

TEST_F(ArchiveTrialTest, AsksForQueriesWhereNothingElseCouldShowWhatWasStored)
{
    archive.statusAlone = 200;
    archive.answersQueries = false;

    const QList<TrialStep> steps = archive.tryOut();

    EXPECT_EQ(steps.last().step, QStringLiteral("store"));
    EXPECT_EQ(steps.last().outcome, Outcome::failed);
    EXPECT_TRUE(steps.last().words.contains(QStringLiteral("permit queries")))
        << steps.last().words.toStdString();
    EXPECT_TRUE(archive.isDeleted);
}

TEST_F(ArchiveTrialTest, RemovesWhatATrialLeftThatWasKilled)
{
    const QDir folder(archive.folder.path());
    ASSERT_TRUE(folder.mkdir(QStringLiteral("archive-test-killed")) &&
                folder.mkdir(QStringLiteral("another")));

    archive.tryOut();

    EXPECT_EQ(folder.entryList(QDir::Dirs | QDir::NoDotAndDotDot), QStringList{QStringLiteral("another")});
}

TEST_F(ArchiveTrialTest, EndsWithARefusedSignIn)
{
    archive.wantsSignIn = true;

    const QList<TrialStep> steps = archive.tryOut();

    EXPECT_EQ(steps.last().step, QStringLiteral("sign-in"));
    EXPECT_EQ(steps.last().outcome, Outcome::failed);
}

TEST_F(ArchiveTrialTest, SendsNothingWhileNobodyIsSignedIn)
{
    archive.service.client.networkSettings().setToken(std::nullopt);

    const QList<TrialStep> steps = archive.tryOut();

    EXPECT_EQ(outcomeOf(steps, "sign-in"), Outcome::failed);
    EXPECT_EQ(outcomeOf(steps, "store"), std::nullopt);
}

TEST_F(ArchiveTrialTest, EndsWithANameThatNobodyKnows)
{
    QuorinApiClient client(
        configurationFor(QUrl(QStringLiteral("https://archive.invalid")), CloudKind::dicomweb),
        archive.service.store,
        stillClock());

    const QList<TrialStep> steps = ArchiveTrial(client, archive.service.clock, archive.folder.path()).run({});

    ASSERT_EQ(steps.size(), 1);
    EXPECT_EQ(steps.first().outcome, Outcome::failed);
}

} // namespace gateway::cloud_client::testing
