#pragma once

#include "platform/concurrency/mutex.h"

#include <QtCore/QString>

#include <deque>
#include <functional>
#include <thread>

namespace gateway::platform {

/// How urgent the work of a queue is; maps to the thread's nice value.
enum class Quality
{
    userInitiated,
    standard,
    utility
};

/// One thread that runs blocks strictly one after another, in the order in which they came.
///
/// Owner: whoever constructs it; as the last member, so that it is drained before the fields that its
/// blocks use. Thread: any. The destructor runs everything that is queued and joins; it must not run on
/// the queue itself.
class SerialQueue
{
public:
    /// \param label  the full label, such as "com.ovelt.pavan.gateway.cloudUpload.queue"; the thread is
    ///               named after its last word before "queue", cut to the 15 characters Linux allows.
    explicit SerialQueue(QString label, Quality quality = Quality::standard);
    ~SerialQueue();

    SerialQueue(const SerialQueue &) = delete;
    SerialQueue &operator=(const SerialQueue &) = delete;

    const QString &label() const { return m_label; }

    /// Queues `block` and returns at once.
    void async(std::function<void()> block);

    /// Queues `block` and waits until it has run; an exception of the block comes out of this call.
    /// Called on the queue's own thread it runs the block in place.
    void sync(const std::function<void()> &block);

    /// True on the queue's own thread.
    bool isCurrent() const;

private:
    void run();

    QString m_label;
    Mutex m_mutex;
    Condition m_wake;
    std::deque<std::function<void()>> m_blocks QUORIN_GUARDED_BY(m_mutex);
    bool m_closing QUORIN_GUARDED_BY(m_mutex) = false;
    std::thread m_thread; // last: starts once the fields above stand
};

} // namespace gateway::platform
