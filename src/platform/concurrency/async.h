#pragma once

#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/worker_pool.h"

#include <QCoro/QCoroTask>

#include <coroutine>
#include <exception>
#include <functional>
#include <optional>
#include <type_traits>
#include <utility>

namespace gateway::platform {

/// Runs a blocking function on the pool and resumes the awaiting coroutine on the main thread with its
/// result, or with the exception that it threw.
///
/// \param main, pool  outlive the operation.
/// \param work        takes nothing; called once, on a thread of the pool.
///
/// Thread: main. The awaiting coroutine's frame must outlive the work: its owner drains its tasks in
/// `close()` before it dies.
template <typename Work, typename Result = std::invoke_result_t<Work>>
class AwaitableWork
{
public:
    AwaitableWork(MainExecutor &main, WorkerPool &pool, Work work)
        : m_main(main), m_pool(pool), m_work(std::move(work))
    {
    }

    bool await_ready() const noexcept { return false; }

    void await_suspend(std::coroutine_handle<> waiting)
    {
        m_pool.run([this, waiting] {
            try {
                if constexpr (std::is_void_v<Result>) {
                    m_work();
                } else {
                    m_result.emplace(m_work());
                }
            } catch (...) {
                m_error = std::current_exception();
            }
            m_main.post([waiting] { waiting.resume(); });
        });
    }

    Result await_resume()
    {
        if (m_error) {
            std::rethrow_exception(m_error);
        }
        if constexpr (!std::is_void_v<Result>) {
            return std::move(*m_result);
        }
    }

private:
    struct Nothing
    {
    };

    MainExecutor &m_main;
    WorkerPool &m_pool;
    Work m_work;
    std::optional<std::conditional_t<std::is_void_v<Result>, Nothing, Result>> m_result;
    std::exception_ptr m_error;
};

/// One awaitable call: `const User user = co_await onPool(main, pool, [api] { return api->getUser(); });`
template <typename Work>
QCoro::Task<std::invoke_result_t<Work>> onPool(MainExecutor &main, WorkerPool &pool, Work work)
{
    AwaitableWork<Work> awaitable(main, pool, std::move(work));
    if constexpr (std::is_void_v<std::invoke_result_t<Work>>) {
        co_await awaitable;
    } else {
        auto result = co_await awaitable;
        co_return result;
    }
}

} // namespace gateway::platform
