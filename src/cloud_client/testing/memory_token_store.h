#pragma once

#include "platform/concurrency/mutex.h"
#include "platform/keychain/token_store.h"

#include <QtCore/QMap>

namespace gateway::cloud_client::testing {

/// A token store that lives as long as the test. Thread: any.
class MemoryTokenStore final : public platform::TokenStore
{
public:
    platform::TokenAnswer read(const QString &key) override
    {
        const platform::MutexLock lock(m_mutex);
        if (m_isSilent) {
            return platform::TokenAnswer::notReached();
        }
        return m_values.contains(key) ? platform::TokenAnswer::found(m_values.value(key))
                                      : platform::TokenAnswer::absent();
    }

    bool write(const QString &key, const QByteArray &value) override
    {
        const platform::MutexLock lock(m_mutex);
        if (!m_isSilent) {
            m_values.insert(key, value);
        }
        return !m_isSilent;
    }

    bool remove(const QString &key) override
    {
        const platform::MutexLock lock(m_mutex);
        if (!m_isSilent) {
            m_values.remove(key);
        }
        return !m_isSilent;
    }

    /// Makes it a store that doesn't answer, or one that does again.
    void setSilent(bool isSilent)
    {
        const platform::MutexLock lock(m_mutex);
        m_isSilent = isSilent;
    }

    bool isEmpty() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_values.isEmpty();
    }

private:
    mutable platform::Mutex m_mutex;
    bool m_isSilent QUORIN_GUARDED_BY(m_mutex) = false;
    QMap<QString, QByteArray> m_values QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::cloud_client::testing
