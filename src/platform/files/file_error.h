#pragma once

#include <QtCore/QString>

#include <stdexcept>

namespace gateway::platform {

/// A file operation that failed.
///
/// Thread: any; a value. The message names the operation and the system's reason, never a path, so that it
/// may be logged.
class FileError : public std::runtime_error
{
public:
    /// \param operation  what was tried, in the words of "Could not <operation>: <reason>".
    /// \param code       the system's error number.
    FileError(const char *operation, int code);

    QString message() const { return QString::fromUtf8(what()); }

    /// The system's error number, such as ENOSPC.
    int code() const { return m_code; }

    /// True for trouble of the storage that may pass by itself: no space, no descriptors or memory, a share
    /// or disk that doesn't answer or can only be read for the time being.
    bool maySucceedLater() const;

private:
    int m_code;
};

} // namespace gateway::platform
