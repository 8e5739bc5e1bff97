#include "platform/dicom/dcmtk_store_scp.h"

#include "platform/dicom/association_events.h"
#include "platform/dicom/helper_process.h"

#include <QtCore/QFile>

#include <system_error>
#include <utility>

namespace gateway::platform {

using dicom_protocol::Channel;
using dicom_protocol::Record;

namespace {

constexpr std::int32_t kFailed = 1;
constexpr std::chrono::milliseconds kForEver(-1);

Record startRecord(const StoreSCPConfig &config, const StoreSCPEnvironment &environment)
{
    const QString inbox = config.incomingPath.value_or(environment.defaultIncomingPath);
    Record record{
        "start",
        {{"bind", config.bindAddress.toStdString()}, {"inbox", QFile::encodeName(inbox).toStdString()}}};
    record.setNumber("port", config.port);
    record.setNumber("timeout", config.timeout.count());
    record.setNumber("reserve", environment.reserveBytes);
    return record;
}

} // namespace

DCMTKStoreSCP::DCMTKStoreSCP(StoreSCPEnvironment environment) : m_environment(std::move(environment)) {}

std::int32_t DCMTKStoreSCP::start(const StoreSCPConfig &config, StoreSCPCallbacks callbacks)
{
    std::shared_ptr<HelperProcess> process;
    try {
        process = std::make_shared<HelperProcess>(m_environment.helperProgram, QStringLiteral("scp"));
    } catch (const std::system_error &error) {
        return refuse(QStringLiteral("The DICOM listener can't be started: %1.")
                          .arg(QString::fromLocal8Bit(error.what())));
    }
    {
        const MutexLock lock(m_mutex);
        if (m_stopRequested) {
            m_isOver = true;
            m_changed.notifyAll();
            return 0;
        }
        m_process = process;
        m_startThread = std::this_thread::get_id();
    }
    process->channel().send(startRecord(config, m_environment));
    return listen(process, std::move(callbacks));
}

std::int32_t DCMTKStoreSCP::refuse(const QString &message)
{
    const MutexLock lock(m_mutex);
    m_message = message;
    m_isOver = true;
    m_changed.notifyAll();
    return kFailed;
}

/// Passes on what the process tells until it has ended.
std::int32_t DCMTKStoreSCP::listen(const std::shared_ptr<HelperProcess> &process, StoreSCPCallbacks callbacks)
{
    AssociationEvents events(std::move(callbacks), process->channel());
    Record record;
    Channel::Receipt receipt = Channel::Receipt::record;
    while ((receipt = process->channel().receive(record)) == Channel::Receipt::record) {
        if (!events.dispatch(record)) {
            onStandingChanged(record);
        }
    }
    if (receipt == Channel::Receipt::broken) {
        process->kill();
    }
    const int status = process->wait(kForEver).value_or(kFailed);
    events.failAll(QStringLiteral("The DICOM listener ended before the association."));
    return finish(status);
}

/// The listener itself, not one of its associations, has something to tell.
void DCMTKStoreSCP::onStandingChanged(const Record &record)
{
    const MutexLock lock(m_mutex);
    if (record.word == "listening") {
        m_port = static_cast<int>(record.number("port", 0));
        m_changed.notifyAll();
    } else if (record.word == "refused") {
        m_message = QString::fromStdString(std::string(record.text("message")));
    } else if (record.word == "unbound") {
        m_port.reset();
        m_process.reset();
        m_changed.notifyAll();
    }
}

std::int32_t DCMTKStoreSCP::finish(int status)
{
    const MutexLock lock(m_mutex);
    m_port.reset();
    m_process.reset();
    m_isOver = true;
    m_changed.notifyAll();
    if (status == 0 && m_stopRequested) {
        return 0;
    }
    if (m_message.isEmpty()) {
        m_message = QStringLiteral("The DICOM listener ended unexpectedly (status %1).").arg(status);
    }
    return status == 0 ? kFailed : status;
}

void DCMTKStoreSCP::stop()
{
    std::shared_ptr<HelperProcess> process;
    {
        const MutexLock lock(m_mutex);
        m_stopRequested = true;
        process = m_process;
    }
    if (!process) {
        return;
    }
    process->channel().send(Record{"stop", {}});
    const MutexLock lock(m_mutex);
    while (m_process && m_startThread != std::this_thread::get_id()) {
        m_changed.wait(m_mutex);
    }
}

std::optional<int> DCMTKStoreSCP::awaitPort()
{
    const MutexLock lock(m_mutex);
    while (!m_port && !m_isOver) {
        m_changed.wait(m_mutex);
    }
    return m_port;
}

std::optional<int> DCMTKStoreSCP::boundPort() const
{
    const MutexLock lock(m_mutex);
    return m_port;
}

std::optional<pid_t> DCMTKStoreSCP::processId() const
{
    const MutexLock lock(m_mutex);
    return m_process ? std::optional(m_process->processId()) : std::nullopt;
}

QString DCMTKStoreSCP::lastMessage() const
{
    const MutexLock lock(m_mutex);
    return m_message;
}

} // namespace gateway::platform
