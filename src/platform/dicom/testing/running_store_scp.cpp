#include "platform/dicom/testing/running_store_scp.h"

#include "platform/dicom/helper_process.h"

namespace gateway::platform::testing {

RunningStoreSCP::RunningStoreSCP(const QString &inbox, std::chrono::seconds timeout, qint64 reserveBytes)
    : m_scp(StoreSCPEnvironment{helperProgramPath(), QString(), reserveBytes})
{
    StoreSCPConfig config;
    config.aeTitle = QStringLiteral("QUORIN");
    config.timeout = timeout;
    config.incomingPath = inbox;
    config.bindAddress = QStringLiteral("127.0.0.1");
    m_thread = std::thread([this, config] {
        const int result = m_scp.start(config, callbacks());
        const MutexLock lock(m_mutex);
        m_result = result;
        m_isOver = true;
        m_changed.notifyAll();
    });
    m_port = m_scp.awaitPort().value_or(0);
}

RunningStoreSCP::~RunningStoreSCP()
{
    if (m_thread.joinable()) {
        stop();
    }
}

int RunningStoreSCP::stop()
{
    m_scp.stop();
    return join();
}

int RunningStoreSCP::join()
{
    m_thread.join();
    const MutexLock lock(m_mutex);
    return m_result;
}

QStringList RunningStoreSCP::await(const QString &word, int count)
{
    const MutexLock lock(m_mutex);
    for (;;) {
        const QStringList found = m_events.filter(QRegularExpression(QStringLiteral("\\A") + word));
        if (found.size() >= count || m_isOver) {
            return found;
        }
        m_changed.wait(m_mutex);
    }
}

QStringList RunningStoreSCP::events() const
{
    const MutexLock lock(m_mutex);
    return m_events;
}

StoreSCPCallbacks RunningStoreSCP::callbacks()
{
    StoreSCPCallbacks all;
    all.started = [this](QString, QString id) { note(QStringLiteral("started ") + id); };
    all.complete = [this](QString id) { note(QStringLiteral("complete ") + id); };
    all.failed = [this](QString id, QString why) {
        note(QStringLiteral("failed ") + id + QStringLiteral(": ") + why);
    };
    all.progress = [this](double, QString, QString path, QString) {
        note(QStringLiteral("progress ") + path);
    };
    return all;
}

void RunningStoreSCP::note(const QString &event)
{
    const MutexLock lock(m_mutex);
    m_events.append(event);
    m_changed.notifyAll();
}

} // namespace gateway::platform::testing
