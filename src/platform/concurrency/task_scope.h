#pragma once

#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/main_thread.h"
#include "platform/concurrency/worker_pool.h"

#include <QCoro/QCoroTask>

#include <stop_token>
#include <utility>

namespace gateway::platform {

/// Knows which coroutines of an owner are under way, and ends them before the owner dies.
///
/// Every coroutine that an owner offers begins with `const auto operation = m_scope.enter();`; what it starts
/// and doesn't await goes through `start`.
///
/// Owner: a model, as its last member. Thread: main.
class TaskScope
{
public:
    /// Counts as one operation under way for as long as it lives.
    class Operation
    {
    public:
        explicit Operation(TaskScope &scope) : m_scope(&scope) { ++m_scope->m_underWay; }
        ~Operation()
        {
            if (m_scope != nullptr) {
                --m_scope->m_underWay;
            }
        }
        Operation(Operation &&other) noexcept : m_scope(std::exchange(other.m_scope, nullptr)) {}
        Operation &operator=(Operation &&) = delete;

    private:
        TaskScope *m_scope;
    };

    /// \param main, pool  those on which the owner's coroutines resume and work; outlive this.
    TaskScope(MainExecutor &main, WorkerPool &pool) : m_main(main), m_pool(pool) {}

    /// Closes.
    ~TaskScope() { close(); }

    TaskScope(const TaskScope &) = delete;
    TaskScope &operator=(const TaskScope &) = delete;

    [[nodiscard]] Operation enter()
    {
        assertMainThread("TaskScope");
        return Operation(*this);
    }

    /// Lets a coroutine run on its own until it ends.
    void start(QCoro::Task<> task);

    /// Requested when the owner closes; coroutines look at it after each `co_await`.
    std::stop_token stopToken() const { return m_stop.get_token(); }

    /// Requests the stop and returns when no operation is under way any more. Work on the pool is waited for:
    /// whoever can make it end sooner does so before.
    void close();

private:
    QCoro::Task<> follow(QCoro::Task<> task);

    MainExecutor &m_main;
    WorkerPool &m_pool;
    std::stop_source m_stop;
    int m_underWay = 0;
};

} // namespace gateway::platform
