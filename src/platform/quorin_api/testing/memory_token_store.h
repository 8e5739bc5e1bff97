#pragma once

#include "platform/concurrency/mutex.h"
#include "platform/keychain/token_store.h"

#include <QtCore/QMap>

namespace gateway::platform::testing {

/// A token store that lives as long as the test. Thread: any.
class MemoryTokenStore final : public TokenStore
{
public:
    std::optional<QByteArray> read(const QString &key) override
    {
        const MutexLock lock(m_mutex);
        return m_values.contains(key) ? std::optional(m_values.value(key)) : std::nullopt;
    }

    bool write(const QString &key, const QByteArray &value) override
    {
        const MutexLock lock(m_mutex);
        m_values.insert(key, value);
        return true;
    }

    bool remove(const QString &key) override
    {
        const MutexLock lock(m_mutex);
        m_values.remove(key);
        return true;
    }

    bool isEmpty() const
    {
        const MutexLock lock(m_mutex);
        return m_values.isEmpty();
    }

private:
    mutable Mutex m_mutex;
    QMap<QString, QByteArray> m_values QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::platform::testing
