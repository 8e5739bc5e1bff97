#pragma once

#include "platform/concurrency/mutex.h"
#include "receive/receive_observer.h"

#include <QtCore/QMap>

namespace gateway::receive::testing {

/// Counts what it is told. Thread: any.
class RecordingReceiveObserver final : public ReceiveObserver
{
public:
    struct Told
    {
        int started = 0;
        int failed = 0;
        int files = 0;
        qint64 bytes = 0;
        int failedImports = 0;
        int listenerFailures = 0;
        QMap<QString, qint64> turnedAway = {};

        bool operator==(const Told &) const = default;
    };

    void associationStarted() override { add({.started = 1}); }
    void associationFailed() override { add({.failed = 1}); }
    void peersTurnedAway(const QString &reason, qint64 count) override
    {
        add({.turnedAway = {{reason, count}}});
    }
    void fileReceived(qint64 bytes) override { add({.files = 1, .bytes = bytes}); }
    void importFailed() override { add({.failedImports = 1}); }
    void listenerFailed() override { add({.listenerFailures = 1}); }

    Told told() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_told;
    }

private:
    void add(const Told &more)
    {
        const platform::MutexLock lock(m_mutex);
        m_told.started += more.started;
        m_told.failed += more.failed;
        m_told.files += more.files;
        m_told.bytes += more.bytes;
        m_told.failedImports += more.failedImports;
        m_told.listenerFailures += more.listenerFailures;
        for (auto away = more.turnedAway.cbegin(); away != more.turnedAway.cend(); ++away) {
            m_told.turnedAway[away.key()] += away.value();
        }
    }

    mutable platform::Mutex m_mutex;
    Told m_told QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::receive::testing
