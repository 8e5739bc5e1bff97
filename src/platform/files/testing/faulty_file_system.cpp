#include "platform/files/testing/faulty_file_system.h"

#include <utility>

namespace gateway::platform::testing {

void FaultyFileSystem::failStep(int step, int code)
{
    setFault(step, step, code);
}

void FaultyFileSystem::failFromStep(int step, int code)
{
    setFault(step, std::numeric_limits<int>::max(), code);
}

void FaultyFileSystem::beforeStep(int step, std::function<void()> then)
{
    heal();
    m_awaitedStep = step;
    m_then = std::move(then);
}

void FaultyFileSystem::heal()
{
    setFault(std::numeric_limits<int>::max(), std::numeric_limits<int>::max(), 0);
}

void FaultyFileSystem::setFault(int first, int last, int code)
{
    m_steps = 0;
    m_firstFault = first;
    m_lastFault = last;
    m_code = code;
}

void FaultyFileSystem::step()
{
    const int number = m_steps++;
    if (number == m_awaitedStep) {
        m_awaitedStep = std::numeric_limits<int>::max();
        m_then();
    }
    if (number >= m_firstFault && number <= m_lastFault) {
        throw FileError("do as a test forbade", m_code);
    }
}

void FaultyFileSystem::create(const QString &path, const QByteArray &bytes)
{
    step();
    m_below.create(path, bytes);
}

void FaultyFileSystem::copy(const QString &source, const QString &destination)
{
    step();
    m_below.copy(source, destination);
}

void FaultyFileSystem::link(const QString &source, const QString &destination)
{
    step();
    if (m_grain.count() > 1) {
        throw FileError("link a file", EXDEV);
    }
    m_below.link(source, destination);
}

void FaultyFileSystem::rename(const QString &from, const QString &to)
{
    step();
    m_below.rename(from, to);
}

void FaultyFileSystem::renameToNew(const QString &from, const QString &to)
{
    step();
    m_below.renameToNew(from, to);
}

void FaultyFileSystem::setModified(const QString &path, std::chrono::nanoseconds time)
{
    step();
    m_below.setModified(path, time - time % m_grain);
}

void FaultyFileSystem::remove(const QString &path)
{
    step();
    m_below.remove(path);
}

void FaultyFileSystem::makeFolder(const QString &path)
{
    step();
    m_below.makeFolder(path);
}

void FaultyFileSystem::syncFile(const QString &path)
{
    step();
    m_below.syncFile(path);
}

void FaultyFileSystem::syncFolder(const QString &path)
{
    step();
    m_below.syncFolder(path);
}

} // namespace gateway::platform::testing
