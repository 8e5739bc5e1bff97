#pragma once

#include "platform/concurrency/mutex.h"
#include "receive/testing/fake_imports.h"

namespace gateway::shell::testing {

/// An index whose imports can be made to wait before any file of theirs.
///
/// Thread: any.
class HeldImports final : public index::DBServiceProtocol
{
public:
    index::ImportedFileSummary importFile(const QUrl &url) override
    {
        {
            const platform::MutexLock lock(m_mutex);
            ++m_arrived;
            m_changed.notifyAll();
            while (m_left == 0) {
                m_changed.wait(m_mutex);
            }
            m_left -= m_left > 0 ? 1 : 0;
        }
        return m_imports.importFile(url);
    }

    /// From now on each import waits until `letPass` lets it through.
    void hold() { letPass(0); }

    /// Lets so many imports pass; all of them from now on where `count` is negative.
    void letPass(int count)
    {
        const platform::MutexLock lock(m_mutex);
        m_left = count;
        m_changed.notifyAll();
    }

    void release() { letPass(-1); }

    /// Blocks until so many imports have come.
    void waitForArrivals(int count)
    {
        const platform::MutexLock lock(m_mutex);
        while (m_arrived < count) {
            m_changed.wait(m_mutex);
        }
    }

private:
    receive::testing::FakeImports m_imports;
    platform::Mutex m_mutex;
    platform::Condition m_changed;
    int m_left QUORIN_GUARDED_BY(m_mutex) = -1;
    int m_arrived QUORIN_GUARDED_BY(m_mutex) = 0;
};

} // namespace gateway::shell::testing
