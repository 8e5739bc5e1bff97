#pragma once

#include "platform/files/file_system.h"

#include <functional>
#include <limits>

namespace gateway::platform::testing {

/// Counts the steps and fails those that a test names; the others go to the file system below.
///
/// A test runs its operation once to learn `steps()`, then once for each step that may fail. Thread: one at
/// a time.
class FaultyFileSystem final : public FileSystem
{
public:
    explicit FaultyFileSystem(FileSystem &below = systemFiles()) : m_below(below) {}

    /// Lets the step with this number, counted from 0 at this call, fail with `code`.
    void failStep(int step, int code);

    /// Lets that step and all after it fail, as if the machine had stopped there.
    void failFromStep(int step, int code);

    /// Runs `then` before the step with this number, counted from 0 at this call. It may come back here.
    void beforeStep(int step, std::function<void()> then);

    /// No further step fails; the count begins anew.
    void heal();

    /// From now on nothing can be linked, as from one volume to another, and files keep multiples of `grain`
    /// as their times.
    void becomeCoarseVolume(std::chrono::nanoseconds grain) { m_grain = grain; }

    /// Steps since the construction or the last call of the above.
    int steps() const { return m_steps; }

    void create(const QString &path, const QByteArray &bytes) override;
    void copy(const QString &source, const QString &destination) override;
    void link(const QString &source, const QString &destination) override;
    void rename(const QString &from, const QString &to) override;
    void renameToNew(const QString &from, const QString &to) override;
    void setModified(const QString &path, std::chrono::nanoseconds time) override;
    void remove(const QString &path) override;
    void makeFolder(const QString &path) override;
    void syncFile(const QString &path) override;
    void syncFolder(const QString &path) override;

private:
    void setFault(int first, int last, int code);
    void step();

    FileSystem &m_below;
    int m_steps = 0;
    int m_firstFault = std::numeric_limits<int>::max();
    int m_lastFault = std::numeric_limits<int>::max();
    int m_code = 0;
    int m_awaitedStep = std::numeric_limits<int>::max();
    std::function<void()> m_then = [] {};
    std::chrono::nanoseconds m_grain{1};
};

} // namespace gateway::platform::testing
