#include "app/terms_desk.h"

#include "app/account_requests.h"
#include "app/command_requests.h"
#include "app/testing/account_app.h"

namespace gateway::app::testing {

namespace {

struct TermsDeskTest : AccountApp
{
    ControlReply ask(TermsCommand::Action action)
    {
        return AccountApp::ask(desk, termsRequest({action, false}));
    }

    int answers = 0;
    TermsDesk desk{{terms, defaults, notifications, main, pool, clock, auth, [this] { ++answers; }}};
};

using Action = TermsCommand::Action;

} // namespace

TEST_F(TermsDeskTest, LeavesOtherRequestsToOthers)
{
    EXPECT_FALSE(desk.handle({requests::kStatus, {}}, [](const ControlReply &) { FAIL(); }));
}

TEST_F(TermsDeskTest, NeedsASession)
{
    for (const Action action : {Action::show, Action::accept, Action::decline}) {
        const ControlReply reply = ask(action);

        EXPECT_EQ(reply.code, ExitCode::failed);
        EXPECT_TRUE(reply.error.startsWith(QStringLiteral("No account is signed in.")));
    }
    EXPECT_TRUE(terms.calls().isEmpty());
}

TEST_F(TermsDeskTest, ShowsTheTermsThatMustBeAccepted)
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

TEST_F(TermsDeskTest, ShowsTermsThatNeedNoAnswerToo)
{
    signIn();
    terms.isAccepted = true;

    const ControlReply reply = ask(Action::show);

    EXPECT_FALSE(reply.result.value(QStringLiteral("required")).toBool(true));
    EXPECT_EQ(reply.result.value(QStringLiteral("text")).toString(), QStringLiteral("Be kind."));
}

TEST_F(TermsDeskTest, SaysWhyTheTermsCannotBeShown)
{
    signIn();
    terms.failing = {QStringLiteral("status")};
    terms.failure = QStringLiteral("Out of order.");
    EXPECT_EQ(ask(Action::show).error, QStringLiteral("Out of order."));

    terms.isAccepted = true;
    terms.failing = {QStringLiteral("terms")};
    EXPECT_EQ(ask(Action::show).error, QStringLiteral("Out of order."));
}

TEST_F(TermsDeskTest, TakesNoAnswerToTermsThatWereNotShown)
{
    signIn();

    EXPECT_EQ(ask(Action::accept).code, ExitCode::failed);
    EXPECT_EQ(ask(Action::decline).code, ExitCode::failed);

    EXPECT_TRUE(terms.calls().isEmpty());
    EXPECT_TRUE(auth.state().isSignedIn());
}

TEST_F(TermsDeskTest, NamesTheVersionThatWasAccepted)
{
    signIn();
    ask(Action::show);

    const ControlReply reply = ask(Action::accept);

    EXPECT_EQ(reply.result.value(QStringLiteral("version")).toString(), QStringLiteral("2"));
    EXPECT_EQ(answers, 1);
    EXPECT_TRUE(auth.state().isSignedIn());
    EXPECT_EQ(ask(Action::accept).code, ExitCode::failed);
}

TEST_F(TermsDeskTest, KeepsTheTermsWhenTheAnswerIsNotTaken)
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

TEST_F(TermsDeskTest, SignsOutWhoDeclines)
{
    signIn();
    ask(Action::show);

    EXPECT_EQ(ask(Action::decline).code, ExitCode::done);

    EXPECT_TRUE(terms.lastDecline);
    EXPECT_FALSE(auth.state().isSignedIn());
    EXPECT_FALSE(settings.token());
}

TEST_F(TermsDeskTest, ForgetsWhatItShowedWhenTheSessionEnds)
{
    signIn();
    ask(Action::show);
    finish(auth.signOut());
    signIn();

    EXPECT_EQ(ask(Action::accept).code, ExitCode::failed);

    EXPECT_FALSE(terms.lastAccept);
}

TEST_F(TermsDeskTest, RefusesASecondQuestionWhileOneRuns)
{
    signIn();
    terms.hold(QStringLiteral("status"));
    std::optional<ControlReply> first;
    desk.handle(termsRequest({Action::show, false}), [&first](const ControlReply &reply) { first = reply; });

    EXPECT_EQ(ask(Action::show).code, ExitCode::failed);
    terms.release();
    runUntil([&] { return first.has_value(); });

    EXPECT_EQ(first->code, ExitCode::done);
}

} // namespace gateway::app::testing
