#pragma once

#include "platform/concurrency/main_executor.h"
#include "updates/alert.h"

#include <QCoro/QCoroTask>

#include <coroutine>
#include <memory>
#include <optional>
#include <utility>

namespace gateway::updates {

/// An answer that a coroutine of the main thread waits for, and that somebody else may give in a person's
/// place when the program goes down.
///
/// Owner: shared by who waits and who answers. Thread: main.
class PendingAnswer
{
public:
    /// \param main  outlives this.
    explicit PendingAnswer(platform::MainExecutor &main) : m_main(main) {}

    /// The first answer counts.
    void give(bool accepted)
    {
        if (m_answer) {
            return;
        }
        m_answer = accepted;
        if (const auto waiting = std::exchange(m_waiting, {})) {
            // From the event loop: whoever answers is in the middle of something, such as closing a window.
            m_main.post([waiting] { waiting.resume(); });
        }
    }

    bool await_ready() const noexcept { return m_answer.has_value(); }
    void await_suspend(std::coroutine_handle<> waiting) { m_waiting = waiting; }
    bool await_resume() const { return *m_answer; }

private:
    platform::MainExecutor &m_main;
    std::optional<bool> m_answer;
    std::coroutine_handle<> m_waiting;
};

/// Shows `alert` and waits until `answer` is given. \param alerts  outlives the question.
inline QCoro::Task<bool> ask(Alerts &alerts, Alert alert, std::shared_ptr<PendingAnswer> answer)
{
    alerts.ask(alert, [answer](bool accepted) { answer->give(accepted); });
    const bool accepted = co_await *answer;
    co_return accepted;
}

} // namespace gateway::updates
