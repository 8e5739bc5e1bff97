#pragma once

#include "platform/files/file_system.h"

#include <unistd.h>

namespace gateway::platform::testing {

/// What a process that a DyingFileSystem ended gives as its exit status.
inline constexpr int kDied = 77;

/// Ends the process just before the step with a given number, as a crash would. Owner: a test, in a process
/// forked for it. Thread: one at a time.
class DyingFileSystem final : public FileSystem
{
public:
    void dieBefore(int step) { m_left = step; }

    void create(const QString &path, const QByteArray &bytes) override
    {
        step();
        systemFiles().create(path, bytes);
    }
    void copy(const QString &source, const QString &destination) override
    {
        step();
        systemFiles().copy(source, destination);
    }
    void link(const QString &source, const QString &destination) override
    {
        step();
        systemFiles().link(source, destination);
    }
    void rename(const QString &from, const QString &to) override
    {
        step();
        systemFiles().rename(from, to);
    }
    void renameToNew(const QString &from, const QString &to) override
    {
        step();
        systemFiles().renameToNew(from, to);
    }
    void setModified(const QString &path, std::chrono::nanoseconds time) override
    {
        step();
        systemFiles().setModified(path, time);
    }
    void remove(const QString &path) override
    {
        step();
        systemFiles().remove(path);
    }
    void makeFolder(const QString &path) override
    {
        step();
        systemFiles().makeFolder(path);
    }
    void syncFile(const QString &path) override
    {
        step();
        systemFiles().syncFile(path);
    }
    void syncFolder(const QString &path) override
    {
        step();
        systemFiles().syncFolder(path);
    }

private:
    void step()
    {
        if (m_left-- == 0) {
            ::_exit(kDied);
        }
    }

    int m_left = -1;
};

} // namespace gateway::platform::testing
