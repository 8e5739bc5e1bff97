#include "cloud/testing/cloud_process.h"

#include <csignal>

namespace gateway::cloud::testing {

CloudProcess::CloudProcess(QString program, QStringList arguments)
    : m_program(std::move(program)), m_arguments(std::move(arguments))
{
}

bool CloudProcess::start()
{
    const QStringList command{m_program,
                              QStringLiteral("--listen"),
                              QStringLiteral("127.0.0.1:0"),
                              QStringLiteral("--data"),
                              dataFolder()};
    const QString announcement = QStringLiteral("listening on ");
    if (!m_process.start(command + m_arguments)) {
        return false;
    }
    const QString line = m_process.readLine();
    m_url = line.mid(announcement.size());
    return line.startsWith(announcement);
}

int CloudProcess::stop()
{
    m_process.signal(SIGTERM);
    return m_process.wait();
}

void CloudProcess::kill()
{
    m_process.signal(SIGKILL);
    m_process.wait();
}

} // namespace gateway::cloud::testing
