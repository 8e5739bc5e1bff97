#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#if defined(__clang__)
#define QUORIN_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define QUORIN_THREAD_ANNOTATION(x)
#endif

#define QUORIN_CAPABILITY(x) QUORIN_THREAD_ANNOTATION(capability(x))
#define QUORIN_SCOPED_CAPABILITY QUORIN_THREAD_ANNOTATION(scoped_lockable)
#define QUORIN_GUARDED_BY(x) QUORIN_THREAD_ANNOTATION(guarded_by(x))
#define QUORIN_REQUIRES(...) QUORIN_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define QUORIN_EXCLUDES(...) QUORIN_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define QUORIN_ACQUIRE(...) QUORIN_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define QUORIN_RELEASE(...) QUORIN_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define QUORIN_NO_THREAD_SAFETY_ANALYSIS QUORIN_THREAD_ANNOTATION(no_thread_safety_analysis)

namespace gateway::platform {

/// A mutex that clang's thread safety analysis understands.
///
/// Thread: any. Never held across a call out of the class that owns it.
class QUORIN_CAPABILITY("mutex") Mutex
{
public:
    Mutex() = default;
    Mutex(const Mutex &) = delete;
    Mutex &operator=(const Mutex &) = delete;

    void lock() QUORIN_ACQUIRE() { m_mutex.lock(); }

    void unlock() QUORIN_RELEASE() { m_mutex.unlock(); }

private:
    std::mutex m_mutex;
};

/// Holds a Mutex for a scope. Thread: the one that made it.
class QUORIN_SCOPED_CAPABILITY MutexLock
{
public:
    explicit MutexLock(Mutex &mutex) QUORIN_ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }

    ~MutexLock() QUORIN_RELEASE() { m_mutex.unlock(); }

    MutexLock(const MutexLock &) = delete;
    MutexLock &operator=(const MutexLock &) = delete;

private:
    Mutex &m_mutex;
};

/// A condition that waits on a Mutex; callers loop over their own predicate. Thread: any.
class Condition
{
public:
    void wait(Mutex &mutex) QUORIN_REQUIRES(mutex) { m_condition.wait(mutex); }

    /// Waits until `end` at the longest.
    void waitUntil(Mutex &mutex, std::chrono::steady_clock::time_point end) QUORIN_REQUIRES(mutex)
    {
        m_condition.wait_until(mutex, end);
    }

    void notifyOne() { m_condition.notify_one(); }

    void notifyAll() { m_condition.notify_all(); }

private:
    std::condition_variable_any m_condition;
};

} // namespace gateway::platform
