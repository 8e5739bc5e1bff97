#pragma once

#include "platform/concurrency/mutex.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <vector>

namespace gateway::account::testing {

/// What the fakes of services have in common: they note who calls, and have a door at which calls can be made
/// to wait.
///
/// Thread: any.
class HeldCalls
{
public:
    /// Makes calls of `name` wait from now on.
    void hold(const QString &name)
    {
        const platform::MutexLock lock(m_mutex);
        m_held = name;
    }

    /// Lets waiting calls go on.
    void release()
    {
        hold({});
        m_changed.notifyAll();
    }

    /// The names of all calls so far.
    QStringList calls() const
    {
        const platform::MutexLock lock(m_mutex);
        return {m_calls.begin(), m_calls.end()};
    }

protected:
    HeldCalls() = default;
    ~HeldCalls() = default;

    /// Notes the call of `name`, and comes back when nothing holds it.
    void pass(const QString &name)
    {
        const platform::MutexLock lock(m_mutex);
        m_calls.push_back(name);
        while (m_held == name) {
            m_changed.wait(m_mutex);
        }
    }

private:
    mutable platform::Mutex m_mutex;
    platform::Condition m_changed;
    QString m_held QUORIN_GUARDED_BY(m_mutex);
    std::vector<QString> m_calls QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::account::testing
