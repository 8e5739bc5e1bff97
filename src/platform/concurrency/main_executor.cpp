#include "platform/concurrency/main_executor.h"

#include "platform/concurrency/mutex.h"
#include "platform/descriptors/event_descriptor.h"

#include <QtCore/QSocketNotifier>
#include <QtCore/QtGlobal>

#include <deque>
#include <thread>
#include <utility>

namespace gateway::platform {

/// The list of blocks and the event that is set exactly while the list isn't empty.
///
/// The event loop watches the descriptor's level, so that a nested loop (a modal alert in a block) goes on
/// with what the outer one hasn't reached yet, in order.
class MainExecutor::Inbox
{
public:
    Inbox() : m_notifier(m_event.descriptor(), QSocketNotifier::Read)
    {
        QObject::connect(&m_notifier, &QSocketNotifier::activated, &m_notifier, [this] { runSome(); });
    }

    ~Inbox()
    {
        m_notifier.setEnabled(false);
        for (std::deque<std::function<void()>> dropped = takeAll(); !dropped.empty(); dropped = takeAll()) {
            dropped.clear(); // outside the lock: what a block held may post as it dies
        }
    }

    Inbox(const Inbox &) = delete;
    Inbox &operator=(const Inbox &) = delete;

    void push(std::function<void()> block)
    {
        const MutexLock lock(m_mutex);
        m_blocks.push_back(std::move(block));
        if (m_blocks.size() == 1) {
            m_event.set();
        }
    }

    /// Runs as many blocks as were there at the call, so that blocks which post blocks starve nobody.
    void runSome()
    {
        for (std::size_t left = size(); left > 0 && runNext(); --left) {
        }
    }

    bool runNext()
    {
        std::function<void()> block;
        {
            const MutexLock lock(m_mutex);
            if (m_blocks.empty()) {
                return false;
            }
            block = std::move(m_blocks.front());
            m_blocks.pop_front();
            if (m_blocks.empty()) {
                m_event.reset();
            }
        }
        block();
        return true;
    }

    bool isCurrent() const { return std::this_thread::get_id() == m_thread; }

private:
    std::size_t size()
    {
        const MutexLock lock(m_mutex);
        return m_blocks.size();
    }

    std::deque<std::function<void()>> takeAll()
    {
        const MutexLock lock(m_mutex);
        return std::exchange(m_blocks, {});
    }

    const std::thread::id m_thread = std::this_thread::get_id();
    EventDescriptor m_event;
    QSocketNotifier m_notifier;
    Mutex m_mutex;
    std::deque<std::function<void()>> m_blocks QUORIN_GUARDED_BY(m_mutex);
};

MainExecutor::MainExecutor() : m_inbox(std::make_unique<Inbox>()) {}

MainExecutor::~MainExecutor() = default;

void MainExecutor::post(std::function<void()> block)
{
    m_inbox->push(std::move(block));
}

void MainExecutor::post(std::weak_ptr<const void> context, std::function<void()> block)
{
    m_inbox->push([context = std::move(context), block = std::move(block)] {
        if (const auto alive = context.lock()) {
            block();
        }
    });
}

bool MainExecutor::isCurrent() const
{
    return m_inbox->isCurrent();
}

void MainExecutor::drain()
{
    if (!isCurrent()) {
        qFatal("MainExecutor::drain was called away from the main thread");
    }
    while (m_inbox->runNext()) {
    }
}

} // namespace gateway::platform
