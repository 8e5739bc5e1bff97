#pragma once

#include "dicom_helper/scp/inbox.h"

#include <map>
#include <set>
#include <string>
#include <string_view>

namespace gateway::dicom_helper::scp::testing {

/// A disk in memory that remembers what was synced, loses the rest on crash(), and fails when told to.
///
/// Owner: a test. Thread: one.
class MemoryDisk : public InboxDisk
{
public:
    /// Lets the n-th operation from now (1 is the next) return this.
    void failAt(int operation, int result) { m_failAt = m_operations + operation, m_failure = result; }

    /// Takes at most so many bytes of each write.
    void shortenWrites(std::size_t most) { m_mostBytes = most; }

    /// What is there after power went: the synced part of each file. An entry of the inbox whose folder was
    /// not synced may be there or not; here it is, which is the worse case.
    std::map<std::string, std::string> inboxAfterCrash() const;

    /// What is there after power went, entries that weren't synced lost.
    std::map<std::string, std::string> durableInbox() const;

    std::map<std::string, std::string> inbox() const;
    bool hasUnfinished() const { return !m_unfinished.empty(); }
    int operations() const { return m_operations; }

    /// How many files were given a time.
    int stamps() const { return m_stamps; }
    void setAvailableBytes(std::int64_t bytes) { m_available = bytes; }

    int create(const std::string &name) override;
    ssize_t write(int file, std::string_view bytes) override;
    std::int64_t size(int file) override;
    int stamp(int file) override;
    int sync(int file) override;
    int close(int file) override;
    int publish(const std::string &name, const std::string &finalName) override;
    int syncInbox() override;
    void removeUnfinished(const std::string &name) override { m_unfinished.erase(name); }
    void removePublished(const std::string &finalName) override { m_published.erase(finalName); }
    std::int64_t availableBytes() override { return m_available; }

private:
    struct File
    {
        std::string bytes;
        std::size_t synced = 0;
    };

    bool fails() { return ++m_operations == m_failAt; }

    std::map<int, File> m_files;
    std::map<std::string, int> m_unfinished;
    std::map<std::string, int> m_published;
    std::set<std::string> m_syncedNames;
    int m_operations = 0;
    int m_stamps = 0;
    int m_failAt = 0;
    int m_failure = 0;
    std::size_t m_mostBytes = std::string::npos;
    std::int64_t m_available = 1'000'000'000;
};

} // namespace gateway::dicom_helper::scp::testing
