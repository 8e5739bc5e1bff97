#include "terminal/instance/terms_commands.h"

#include "terminal/commands/account_requests.h"
#include "terminal/commands/command_requests.h"
#include "terminal/instance/testing/account_app.h"

namespace gateway::terminal::testing {

namespace {

struct TermsCommandsTest : AccountApp
{
    ControlReply ask(TermsCommand::Action action)
    {
        return AccountApp::ask(commands, termsRequest({action, false}));
    }

    int answers = 0;
    TermsCommands commands{{terms, defaults, notifications, main, pool, clock, auth, [this] { ++answers; }}};
};

using Action = TermsCommand::Action;

} // namespace

TEST_F(TermsCommandsTest, LeavesOtherRequestsToOthers)
{
    EXPECT_FALSE(commands.handle({requests::kStatus, {}}, [](const ControlReply &) { FAIL(); }));
}

TEST_F(TermsCommandsTest, NeedsASession)
{
    for (const Action action : {Action::show, Action::accept, Action::decline}) {
        const ControlReply reply = ask(action);

        EXPECT_EQ(reply.code, ExitCode::failed);
        EXPECT_TRUE(reply.error.startsWith(QStringLiteral("No account is signed in.")));
    }
    EXPECT_TRUE(terms.calls().isEmpty());
}

TEST_F(TermsCommandsTest, ShowsTheTermsThatMustBeAccepted)
{
    signIn();
    terms.reason = QStringLiteral("Because.");

    const ControlReply reply = ask(Action::show);

    EXPECT_EQ(reply.result,
              (QJsonObject{{QStringLiteral("required"), true},
                           {QStringLiteral("version"), QStringLiteral("2")},
                           {QStringLiteral("reason"), QStringLiteral("Because.")},
                           {QStringLiteral("text"), QStringLiteral("Be kind.")}}));
}

TEST_F(TermsCommandsTest, ShowsTermsThatNeedNoAnswerToo)
{
    signIn();
    terms.isAccepted = true;

    const ControlReply reply = ask(Action::show);

    EXPECT_FALSE(reply.result.value(QStringLiteral("required")).toBool(true));
    EXPECT_EQ(reply.result.value(QStringLiteral("text")).toString(), QStringLiteral("Be kind."));
}

TEST_F(TermsCommandsTest, SaysWhyTheTermsCannotBeShown)
{
    signIn();
    terms.failing = {QStringLiteral("status")};
    terms.failure = QStringLiteral("Out of order.");
    EXPECT_EQ(ask(Action::show).error, QStringLiteral("Out of order."));

    terms.isAccepted = true;
    terms.failing = {QStringLiteral("terms")};
    EXPECT_EQ(ask(Action::show).error, QStringLiteral("Out of order."));
}

TEST_F(TermsCommandsTest, TakesNoAnswerToTermsThatWereNotShown)
{
    signIn();

    EXPECT_EQ(ask(Action::accept).code, ExitCode::failed);
    EXPECT_EQ(ask(Action::decline).code, ExitCode::failed);

    EXPECT_TRUE(terms.calls().isEmpty());
    EXPECT_TRUE(auth.state().isSignedIn());
}

TEST_F(TermsCommandsTest, NamesTheVersionThatWasAccepted)
{
    signIn();
    ask(Action::show);

    const ControlReply reply = ask(Action::accept);

    EXPECT_EQ(reply.result.value(QStringLiteral("version")).toString(), QStringLiteral("2"));
    EXPECT_EQ(answers, 1);
    EXPECT_TRUE(auth.state().isSignedIn());
    EXPECT_EQ(ask(Action::accept).code, ExitCode::failed);
}

TEST_F(TermsCommandsTest, KeepsTheTermsWhenTheAnswerIsNotTaken)
{
    signIn();
    ask(Action::show);
    terms.failing = {QStringLiteral("accept"), QStringLiteral("decline")};
    terms.failure = QStringLiteral("These are old.");

    EXPECT_EQ(ask(Action::accept).error, QStringLiteral("These are old."));
    EXPECT_EQ(ask(Action::decline).error, QStringLiteral("These are old."));

    EXPECT_TRUE(auth.state().isSignedIn());
    EXPECT_EQ(answers, 0);
    terms.failing.clear();
    EXPECT_EQ(ask(Action::accept).code, ExitCode::done);
}

TEST_F(TermsCommandsTest, SignsOutWhoDeclines)
{
    signIn();
    ask(Action::show);

    EXPECT_EQ(ask(Action::decline).code, ExitCode::done);

    EXPECT_TRUE(terms.lastDecline);
    EXPECT_FALSE(auth.state().isSignedIn());
    EXPECT_FALSE(settings.token());
}

TEST_F(TermsCommandsTest, ForgetsWhatItShowedWhenTheSessionEnds)
{
    signIn();
    ask(Action::show);
    finish(auth.signOut());
    signIn();

    EXPECT_EQ(ask(Action::accept).code, ExitCode::failed);

    EXPECT_FALSE(terms.lastAccept);
}

TEST_F(TermsCommandsTest, RefusesASecondQuestionWhileOneRuns)
{
    signIn();
    terms.hold(QStringLiteral("status"));
    std::optional<ControlReply> first;
    commands.handle(termsRequest({Action::show, false}),
                    [&first](const ControlReply &reply) { first = reply; });

    EXPECT_EQ(ask(Action::show).code, ExitCode::failed);
    terms.release();
    runUntil([&] { return first.has_value(); });

    EXPECT_EQ(first->code, ExitCode::done);
}

} // namespace gateway::terminal::testing
