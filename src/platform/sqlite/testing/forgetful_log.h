#pragma once

#include <QtCore/QString>

#include <memory>

namespace gateway::platform::testing {

struct ForgetfulFiles;

/// A disk under SQLite that loses in a power cut whatever no sync has covered.
///
/// Holds for connections that are opened while it lives; they are closed before it goes. Owner: a test, one
/// at a time. Thread: any.
class ForgetfulLog
{
public:
    ForgetfulLog();
    ~ForgetfulLog();

    ForgetfulLog(const ForgetfulLog &) = delete;
    ForgetfulLog &operator=(const ForgetfulLog &) = delete;

    /// Writes what a power cut at this moment would leave of the database at `path` to `copy`, where it can
    /// be opened.
    void leaveAfterPowerCut(const QString &path, const QString &copy) const;

private:
    const std::unique_ptr<ForgetfulFiles> m_files;
};

} // namespace gateway::platform::testing
