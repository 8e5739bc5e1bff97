#include "terminal/instance/session_commands.h"

#include "terminal/commands/command_requests.h"
#include "terminal/instance/testing/account_app.h"

namespace gateway::terminal {

namespace {

struct SessionCommandsTest : testing::AccountApp
{
    ControlReply ask(const ControlRequest &request) { return AccountApp::ask(commands, request); }

    ControlRequest signInWith(const QString &password) const
    {
        return {requests::kSignIn, {{u"email"_qs, *service.user.email}, {u"password"_qs, password}}};
    }

    QString plainSecrets;
    SessionCommands commands{
        {.main = main, .pool = pool, .auth = auth, .plainSecrets = [this] { return plainSecrets; }}};
};

} // namespace

TEST_F(SessionCommandsTest, LeavesOtherRequestsToOthers)
{
    EXPECT_FALSE(commands.handle({requests::kStatus, {}}, [](const ControlReply &) { FAIL(); }));
}

TEST_F(SessionCommandsTest, NamesWhoIsSignedIn)
{
    const ControlReply reply = ask(signInWith(service.password));

    EXPECT_EQ(reply.code, ExitCode::done);
    EXPECT_EQ(reply.result.value(u"label"_qs).toString(), auth.signedInLabel());
    EXPECT_TRUE(auth.state().isSignedIn());
}

TEST_F(SessionCommandsTest, SaysWhereSecretsLieUnencrypted)
{
    EXPECT_EQ(ask(signInWith(service.password)).result.value(u"remark"_qs).toString(), QString());

    plainSecrets = u"/srv/home"_qs;
    EXPECT_TRUE(ask(signInWith(service.password))
                    .result.value(u"remark"_qs)
                    .toString()
                    .contains(u"in /srv/home,"_qs));
}

TEST_F(SessionCommandsTest, AsksTheCloudNothingWithoutAnAddressOrAPassword)
{
    const ControlReply reply = ask(signInWith({}));

    EXPECT_EQ(reply.code, ExitCode::failed);
    EXPECT_TRUE(service.calls().isEmpty());
}

TEST_F(SessionCommandsTest, SaysWhyASignInFailed)
{
    const ControlReply reply = ask(signInWith(u"wrong"_qs));

    EXPECT_EQ(reply.code, ExitCode::failed);
    EXPECT_EQ(reply.error, auth.lastAuthError());
    EXPECT_FALSE(auth.state().isSignedIn());
}

TEST_F(SessionCommandsTest, SignsNobodyInWhoHungUp)
{
    service.hold(u"login"_qs);
    std::stop_source asker;
    ControlRequest request = signInWith(service.password);
    request.hungUp = asker.get_token();
    bool isOver = false;
    commands.handle(request, [&isOver](const ControlReply &) { isOver = true; });
    runUntil([this] { return service.calls().contains(u"login"_qs); });

    asker.request_stop();
    EXPECT_FALSE(auth.isChecking()) << "others can sign in at once";
    service.release();
    runUntil([&isOver] { return isOver; });

    EXPECT_FALSE(auth.state().isSignedIn());
}

TEST_F(SessionCommandsTest, EndsTheSession)
{
    ask(signInWith(service.password));

    const ControlReply reply = ask({requests::kSignOut, {}});

    EXPECT_EQ(reply.code, ExitCode::done);
    EXPECT_FALSE(auth.state().isSignedIn());
}

} // namespace gateway::terminal
