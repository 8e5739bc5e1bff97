#include "terminal/instance/doctor_commands.h"

#include "index/testing/temporary_index.h"
#include "log/writing/testing/recording_log.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>

#include <gtest/gtest.h>

#include <optional>

namespace gateway::terminal {
namespace {

using index::testing::TemporaryIndex;

class DoctorCommandsTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const QString path = home.index().fileURL(u"10000/77.dcm"_qs).toLocalFile();
        QDir().mkpath(QFileInfo(path).path());
        index::testing::writeSyntheticFile(path, TemporaryIndex::image(u"9.7"_qs));
    }

    DoctorCommands::Answer into(std::optional<ControlReply> &reply)
    {
        return [&reply](const ControlReply &given) { reply = given; };
    }

    /// Runs the event loop until the reply is there.
    void await(const std::optional<ControlReply> &reply)
    {
        while (!reply) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        }
    }

    ControlReply examine(const DoctorCommand &command = {})
    {
        std::optional<ControlReply> reply;
        commands->handle(doctorRequest(command), into(reply));
        await(reply);
        return *reply;
    }

    /// What is found of a session that is missing: nothing without an image that waits, then with two.
    QJsonValue foundOfSession()
    {
        EXPECT_EQ(examine().result[u"findings"].toArray().size(), 1) << "only the stray file is told";
        home.import(TemporaryIndex::image(u"9.8"_qs));
        const ControlReply reply = examine({.repair = true});
        EXPECT_FALSE(reply.result[u"well"].toBool());
        return reply.result[u"findings"].toArray().last();
    }

    TemporaryIndex home;
    platform::UserDefaults defaults{home.path(u"settings.sqlite"_qs)};
    core::Settings settings{defaults};
    receive::IncomingFolders folders{defaults, settings, {home.path(u"Import"_qs), home.path({})}};
    int uploadRequests = 0;
    DoctorCommands::Standing standing;
    log::testing::RecordingLog logged;
    log::StoreLogEmitter emitter{logged, home.clock};
    std::shared_ptr<DoctorCommands> commands = std::make_shared<DoctorCommands>(
        home.index(),
        emitter,
        home.main,
        home.clock,
        folders,
        [](const QString &) { return false; },
        [this] { ++uploadRequests; },
        [this] { return standing; });
};

TEST_F(DoctorCommandsTest, AnswersWithTheReport)
{
    const ControlReply reply = examine();

    EXPECT_EQ(reply.code, ExitCode::done);
    EXPECT_FALSE(reply.result[u"well"].toBool());
    EXPECT_EQ(reply.result[u"findings"][0][u"kind"].toString(), u"unrecordedImage"_qs);
    EXPECT_EQ(uploadRequests, 0);
}

TEST_F(DoctorCommandsTest, AsksForAnUploadOfWhatItRecorded)
{
    const ControlReply reply = examine({.repair = true});

    EXPECT_TRUE(reply.result[u"well"].toBool());
    EXPECT_EQ(uploadRequests, 1);
    EXPECT_EQ(home.index().counts().total.images, 1);
}

TEST_F(DoctorCommandsTest, AsksForAnUploadOfWhatAnIndexThatWasMadeAnewLacked)
{
    home.execute(u"UPDATE Ledger SET recordAgainFrom = 0, lacksSentInstances = 1"_qs);

    EXPECT_EQ(examine().result[u"findings"][0][u"kind"].toString(), u"indexMadeAnew"_qs);
    EXPECT_EQ(uploadRequests, 0);
    EXPECT_TRUE(examine({.repair = true}).result[u"well"].toBool());
    EXPECT_EQ(uploadRequests, 1);
}

TEST_F(DoctorCommandsTest, FindsThatImagesWaitWithoutASession)
{
    standing.missingSession = u"The cloud ended the session."_qs;

    const QJsonValue finding = foundOfSession();

    EXPECT_EQ(finding[u"kind"].toString(), u"noSession"_qs);
    EXPECT_EQ(finding[u"count"].toInt(), 2);
    EXPECT_EQ(finding[u"sentence"].toString(), u"The cloud ended the session."_qs);
}

TEST_F(DoctorCommandsTest, FindsThatImagesWaitAndNobodyIsSignedIn)
{
    standing.isSignedIn = false;

    const QJsonValue finding = foundOfSession();

    EXPECT_EQ(finding[u"kind"].toString(), u"noSession"_qs);
    EXPECT_EQ(finding[u"count"].toInt(), 2);
    EXPECT_TRUE(finding[u"sentence"].toString().contains(u"nobody is signed in"_qs));
}

TEST_F(DoctorCommandsTest, FindsAListenerThatDoesNotListen)
{
    standing.isListeningAsItShould = false;
    const ControlReply reply = examine({.repair = true});

    EXPECT_EQ(reply.result[u"findings"].toArray().last()[u"kind"].toString(), u"listenerNotListening"_qs);
    EXPECT_FALSE(reply.result[u"well"].toBool());
}

TEST_F(DoctorCommandsTest, ExaminesOneAtATimeAndAgainLater)
{
    std::optional<ControlReply> first;
    std::optional<ControlReply> second;
    std::optional<ControlReply> third;

    commands->handle(doctorRequest({}), into(first));
    commands->handle(doctorRequest({}), into(second));
    await(first);
    commands->handle(doctorRequest({}), into(third));
    await(third);

    ASSERT_TRUE(second);
    EXPECT_EQ(second->code, ExitCode::failed);
    EXPECT_EQ(third->code, ExitCode::done);
}

TEST_F(DoctorCommandsTest, ChangesNothingMoreOnceItsCallerHasHungUp)
{
    std::stop_source caller;
    caller.request_stop();
    ControlRequest request = doctorRequest({.repair = true});
    request.hungUp = caller.get_token();
    std::optional<ControlReply> reply;

    commands->handle(request, into(reply));
    await(reply);

    EXPECT_EQ(reply->code, ExitCode::failed);
    EXPECT_EQ(home.index().counts().total.images, 0);
}

TEST_F(DoctorCommandsTest, EndsWithItsOwner)
{
    std::optional<ControlReply> reply;
    commands->handle(doctorRequest({}), into(reply));

    commands.reset();
    home.main.drain();

    EXPECT_FALSE(reply);
}

} // namespace
} // namespace gateway::terminal
