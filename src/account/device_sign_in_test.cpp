#include "account/device_sign_in.h"

#include "account/testing/scripted_grants.h"
#include "cloud_client/quorin_error.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/testing/manual_clock.h"
#include "platform/concurrency/testing/runs_main.h"
#include "platform/concurrency/worker_pool.h"

#include <gtest/gtest.h>

namespace gateway::account {

namespace {

using namespace std::chrono_literals;
using cloud_client::AFError;
using cloud_client::DeviceAnswer;
using cloud_client::DeviceCode;
using cloud_client::NoAnswer;
using cloud_client::QrnErrorKind;
using cloud_client::QrnErrorResponse;
using testing::ScriptedGrants;

DeviceAnswer grant()
{
    return {.tokens = cloud_client::DeviceTokens{
                QStringLiteral("t1"), QStringLiteral("r1"), QStringLiteral("ann")}};
}

DeviceAnswer slowDown()
{
    return {.isTooOften = true};
}

DeviceAnswer silence()
{
    throw AFError(QStringLiteral("away"), std::nullopt, 0, NoAnswer::signInUnavailable);
}

} // namespace

struct DeviceSignIn : ::testing::Test, platform::testing::RunsMain
{
    ~DeviceSignIn() override
    {
        stop.request_stop();
        runUntil([this] { return end.has_value(); });
    }

    /// Begins, and runs until the first pause or the end.
    void begin()
    {
        signInByCode(
            {grants, main, pool, clock},
            {},
            [this](const DeviceCode &code) { shown.append(code.userCode); },
            stop.get_token())
            .then([this](DeviceSignInEnd given) { end = std::move(given); });
        settle();
    }

    /// Lets time pass, and runs until the next pause or the end.
    void pass(std::chrono::seconds time, int questionsByThen)
    {
        clock.advance(time);
        settle();
        EXPECT_EQ(grants.questions, questionsByThen);
    }

    /// Runs until a question that is due has been answered, and its answer taken.
    void settle()
    {
        for (int round = 0; round < 2; ++round) { // one wakes who sleeps, the other lets its work be done
            bool isDone = false;
            pool.run([this, &isDone] { main.post([&isDone] { isDone = true; }); });
            runUntil([&isDone] { return isDone; });
        }
    }

    platform::MainExecutor main;
    platform::WorkerPool pool{QStringLiteral("test"), 1};
    platform::testing::ManualClock clock;
    ScriptedGrants grants;
    std::stop_source stop;
    QStringList shown;
    std::optional<DeviceSignInEnd> end;
};

TEST_F(DeviceSignIn, AsksByTheIntervalUntilAPersonHasEnteredTheCode)
{
    grants.steps = {[] { return DeviceAnswer(); }, grant};
    begin();
    EXPECT_EQ(shown, QStringList{QStringLiteral("ABCD")});
    EXPECT_EQ(grants.questions, 0); // the first pause comes first

    pass(4s, 0);
    pass(1s, 1);
    ASSERT_FALSE(end);
    pass(5s, 2);

    ASSERT_TRUE(end && end->tokens);
    EXPECT_EQ(end->tokens->refreshToken, QStringLiteral("r1"));
}

TEST_F(DeviceSignIn, AsksLessOftenWhenItIsToldTo)
{
    grants.steps = {slowDown};
    begin();

    pass(5s, 1);
    pass(9s, 1);
    pass(1s, 2);
    pass(9s, 2); // and it stays so
    pass(1s, 3);
}

TEST_F(DeviceSignIn, AsksLessAndLessOftenWhileNobodyAnswersAndGoesOn)
{
    grants.steps = {silence, silence, grant};
    begin();

    pass(5s, 1);
    pass(9s, 1);
    pass(1s, 2);
    pass(19s, 2);
    pass(1s, 3);

    ASSERT_TRUE(end && end->tokens);
}

TEST_F(DeviceSignIn, LeavesABusyServiceAloneForAsLongAsItAsks)
{
    grants.steps = {[]() -> DeviceAnswer {
                        AFError busy(QStringLiteral("busy"), std::nullopt, 503, NoAnswer::signInUnavailable);
                        busy.retryAfter = 30s;
                        throw busy;
                    },
                    grant};
    begin();

    pass(5s, 1);
    pass(29s, 1);
    pass(1s, 2);

    ASSERT_TRUE(end && end->tokens);
}

TEST_F(DeviceSignIn, EndsWithTheCode)
{
    begin();

    for (int question = 1; question <= 12; ++question) {
        pass(5s, question);
    }

    ASSERT_TRUE(end);
    EXPECT_FALSE(end->tokens);
    EXPECT_EQ(end->problem, QStringLiteral("The code is over before somebody has entered it; begin again."));
}

TEST_F(DeviceSignIn, EndsWithTheWordsOfARefusal)
{
    grants.steps = {[]() -> DeviceAnswer {
        throw QrnErrorResponse(QrnErrorKind::credentialsRefused, QStringLiteral("They said no."));
    }};
    begin();

    pass(5s, 1);

    ASSERT_TRUE(end);
    EXPECT_EQ(end->problem, QStringLiteral("They said no."));
}

TEST_F(DeviceSignIn, ShowsNothingWhereNoCodeIsGiven)
{
    grants.refusal = QStringLiteral("No codes here.");

    begin();

    ASSERT_TRUE(end);
    EXPECT_EQ(end->problem, QStringLiteral("No codes here."));
    EXPECT_TRUE(shown.isEmpty());
}

TEST_F(DeviceSignIn, CanBeGivenUp)
{
    begin();

    stop.request_stop();
    runUntil([this] { return end.has_value(); });

    EXPECT_FALSE(end->tokens);
    EXPECT_EQ(grants.questions, 0);
}

} // namespace gateway::account
