#include "platform/concurrency/serial_queue.h"

#include "platform/concurrency/thread_traits.h"

#include <QtCore/QStringList>

#include <exception>
#include <utility>

namespace gateway::platform {

namespace {

QString threadName(const QString &label)
{
    QStringList words = label.split(u'.');
    if (words.size() > 1 && words.last() == QStringLiteral("queue")) {
        words.removeLast();
    }
    return words.last();
}

int niceValue(Quality quality)
{
    switch (quality) {
    case Quality::userInitiated:
    case Quality::standard:
        // Raising a thread above the normal needs rights that the gateway doesn't have.
        return 0;
    case Quality::utility:
        return 5;
    }
    return 0;
}

/// What a caller of sync() waits for; lives on its stack.
struct Receipt
{
    Mutex mutex;
    Condition changed;
    bool done QUORIN_GUARDED_BY(mutex) = false;
    std::exception_ptr error QUORIN_GUARDED_BY(mutex);
};

void runInto(Receipt &receipt, const std::function<void()> &block)
{
    std::exception_ptr error;
    try {
        block();
    } catch (...) {
        error = std::current_exception();
    }
    const MutexLock lock(receipt.mutex);
    receipt.error = std::move(error);
    receipt.done = true;
    receipt.changed.notifyAll(); // under the lock: the receipt is gone as soon as its owner sees it done
}

std::exception_ptr waitFor(Receipt &receipt)
{
    const MutexLock lock(receipt.mutex);
    while (!receipt.done) {
        receipt.changed.wait(receipt.mutex);
    }
    return std::move(receipt.error);
}

} // namespace

SerialQueue::SerialQueue(QString label, Quality quality)
    : m_label(std::move(label)), m_thread([this, name = threadName(m_label), nice = niceValue(quality)] {
          nameThisThread(name);
          setThisThreadNice(nice);
          run();
      })
{
}

SerialQueue::~SerialQueue()
{
    {
        const MutexLock lock(m_mutex);
        m_closing = true;
        m_wake.notifyAll();
    }
    m_thread.join();
}

void SerialQueue::async(std::function<void()> block)
{
    const MutexLock lock(m_mutex);
    m_blocks.push_back(std::move(block));
    m_wake.notifyOne();
}

void SerialQueue::sync(const std::function<void()> &block)
{
    if (isCurrent()) {
        block();
        return;
    }
    Receipt receipt;
    async([&receipt, &block] { runInto(receipt, block); });
    if (const std::exception_ptr error = waitFor(receipt)) {
        std::rethrow_exception(error);
    }
}

bool SerialQueue::isCurrent() const
{
    return std::this_thread::get_id() == m_thread.get_id();
}

void SerialQueue::run()
{
    for (;;) {
        std::function<void()> block;
        {
            const MutexLock lock(m_mutex);
            while (m_blocks.empty() && !m_closing) {
                m_wake.wait(m_mutex);
            }
            if (m_blocks.empty()) {
                return;
            }
            block = std::move(m_blocks.front());
            m_blocks.pop_front();
        }
        block();
    }
}

} // namespace gateway::platform
