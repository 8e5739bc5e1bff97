#include "dicom_helper/scp/testing/memory_disk.h"

namespace gateway::dicom_helper::scp::testing {

std::map<std::string, std::string> MemoryDisk::inbox() const
{
    std::map<std::string, std::string> found;
    for (const auto &[name, file] : m_published) {
        found[name] = m_files.at(file).bytes;
    }
    return found;
}

std::map<std::string, std::string> MemoryDisk::inboxAfterCrash() const
{
    std::map<std::string, std::string> found;
    for (const auto &[name, file] : m_published) {
        found[name] = m_files.at(file).bytes.substr(0, m_files.at(file).synced);
    }
    return found;
}

std::map<std::string, std::string> MemoryDisk::durableInbox() const
{
    std::map<std::string, std::string> found = inboxAfterCrash();
    std::erase_if(found, [this](const auto &entry) { return !m_syncedNames.contains(entry.first); });
    return found;
}

int MemoryDisk::create(const std::string &name)
{
    if (fails()) {
        return m_failure;
    }
    const int file = static_cast<int>(m_files.size()) + 1;
    m_files[file] = {};
    m_unfinished[name] = file;
    return file;
}

ssize_t MemoryDisk::write(int file, std::string_view bytes)
{
    if (fails()) {
        return m_failure;
    }
    const std::string_view taken = bytes.substr(0, m_mostBytes);
    m_files.at(file).bytes += taken;
    return static_cast<ssize_t>(taken.size());
}

std::int64_t MemoryDisk::size(int file)
{
    return fails() ? m_failure : static_cast<std::int64_t>(m_files.at(file).bytes.size());
}

int MemoryDisk::stamp(int)
{
    if (fails()) {
        return m_failure;
    }
    ++m_stamps;
    return 0;
}

int MemoryDisk::sync(int file)
{
    if (fails()) {
        return m_failure;
    }
    m_files.at(file).synced = m_files.at(file).bytes.size();
    return 0;
}

int MemoryDisk::close(int)
{
    return fails() ? m_failure : 0;
}

int MemoryDisk::publish(const std::string &name, const std::string &finalName)
{
    if (fails()) {
        return m_failure;
    }
    m_published[finalName] = m_unfinished.extract(name).mapped();
    return 0;
}

int MemoryDisk::syncInbox()
{
    if (fails()) {
        return m_failure;
    }
    for (const auto &[name, file] : m_published) {
        m_syncedNames.insert(name);
    }
    return 0;
}

} // namespace gateway::dicom_helper::scp::testing
