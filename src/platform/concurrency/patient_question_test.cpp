#include "platform/concurrency/patient_question.h"

#include "platform/concurrency/testing/manual_clock.h"
#include "platform/concurrency/testing/runs_main.h"

#include <gtest/gtest.h>

#include <latch>
#include <memory>

namespace gateway::platform {

namespace {

struct PatientQuestion : ::testing::Test, testing::RunsMain
{
    /// It holds what it waits for itself: it may end after the test.
    struct Silence
    {
        std::shared_ptr<std::latch> end;

        int operator()() const
        {
            end->wait();
            return 7;
        }
    };

    ~PatientQuestion() override { end->count_down(); }

    QCoro::Task<> ask()
    {
        answer = co_await askPatiently(
            {main, clock, std::chrono::seconds(10)}, "test", Silence{end}, stop.get_token());
        isOver = true;
    }

    MainExecutor main;
    testing::ManualClock clock;
    std::stop_source stop;
    std::shared_ptr<std::latch> end = std::make_shared<std::latch>(1);
    std::optional<int> answer;
    bool isOver = false;
};

} // namespace

TEST_F(PatientQuestion, BringsTheAnswerToTheMainThread)
{
    bool isOnMain = false;
    const auto task = askPatiently(
                          {main, clock, std::chrono::seconds(10)}, "test", [] { return 7; }, stop.get_token())
                          .then([&](std::optional<int> found) {
                              answer = found;
                              isOnMain = main.isCurrent();
                          });

    finish(task);

    EXPECT_EQ(answer, 7);
    EXPECT_TRUE(isOnMain);
}

TEST_F(PatientQuestion, GivesUpWhenItsTimeHasPassed)
{
    const auto task = ask();
    clock.advance(std::chrono::milliseconds(9'999));
    main.drain();
    EXPECT_FALSE(isOver);

    clock.advance(std::chrono::milliseconds(1));
    finish(task);

    EXPECT_EQ(answer, std::nullopt);
}

TEST_F(PatientQuestion, IsGivenUpWhenItsOwnerCloses)
{
    const auto task = ask();

    stop.request_stop();
    finish(task);

    EXPECT_EQ(answer, std::nullopt);
}

} // namespace gateway::platform
