#include "platform/dicom/testing/running_store_scp.h"

#include "platform/dicom/helper_process.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <chrono>
#include <fstream>
#include <stdexcept>
#include <string>

namespace gateway::platform::testing {

namespace {

StoreSCPConfig configFor(const QString &inbox, int port, std::chrono::seconds timeout)
{
    QDir().mkpath(inbox + QStringLiteral("/.part"));
    StoreSCPConfig config;
    config.aeTitle = QStringLiteral("QUORIN");
    config.port = port;
    config.timeout = timeout;
    config.incomingPath = inbox;
    config.bindAddress = QStringLiteral("127.0.0.1");
    return config;
}

} // namespace

std::vector<pid_t> childrenOf(pid_t process)
{
    const std::string id = std::to_string(process);
    std::ifstream list("/proc/" + id + "/task/" + id + "/children");
    std::vector<pid_t> children;
    for (pid_t child = 0; list >> child;) {
        children.push_back(child);
    }
    return children;
}

QByteArray procFile(pid_t process, const char *name)
{
    QFile file(QStringLiteral("/proc/%1/%2").arg(process).arg(QString::fromLatin1(name)));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

RunningStoreSCP::RunningStoreSCP(const QString &inbox, std::chrono::seconds timeout, qint64 reserveBytes)
    : RunningStoreSCP(StoreSCPEnvironment{helperProgramPath(), QString(), reserveBytes},
                      configFor(inbox, 0, timeout))
{
}

RunningStoreSCP::RunningStoreSCP(const QString &inbox, int port, const ListenerTimeouts &timeouts)
    : RunningStoreSCP(StoreSCPEnvironment{helperProgramPath(), QString(), 0, timeouts},
                      configFor(inbox, port, std::chrono::seconds(30)))
{
}

RunningStoreSCP::RunningStoreSCP(const StoreSCPEnvironment &environment, const StoreSCPConfig &config)
    : m_scp(environment)
{
    m_thread = std::thread([this, config] {
        const int result = m_scp.start(config, callbacks());
        const MutexLock lock(m_mutex);
        m_result = result;
        m_isOver = true;
        m_changed.notify_all();
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
    // A loaded machine may take its time; what never comes must not keep a test for ever.
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(2);
    const MutexLock lock(m_mutex);
    for (;;) {
        const QStringList found = m_events.filter(QRegularExpression(QStringLiteral("\\A") + word));
        if (found.size() >= count || m_isOver) {
            return found;
        }
        if (m_changed.wait_until(m_mutex, end) == std::cv_status::timeout) {
            throw std::runtime_error("Nothing was told that begins with \"" + word.toStdString() +
                                     "\"; what was: " + m_events.join(QStringLiteral("; ")).toStdString());
        }
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
    all.interrupted = [this](StoreSCPInterruption why) {
        note(QStringLiteral("interrupted ") + why.message.inEnglish());
    };
    all.resumed = [this] { note(QStringLiteral("resumed")); };
    all.leftFiles = [this] { note(QStringLiteral("left files")); };
    all.misnamed = [this](QString id) { note(QStringLiteral("misnamed ") + id); };
    return all;
}

void RunningStoreSCP::note(const QString &event)
{
    const MutexLock lock(m_mutex);
    m_events.append(event);
    m_changed.notify_all();
}

} // namespace gateway::platform::testing
