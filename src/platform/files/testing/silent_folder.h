#pragma once

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QString>
#include <QtCore/QtGlobal>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace gateway::platform::testing {

/// A folder that doesn't answer whoever asks for its number, as one on a share that is dead: a reader of the
/// pipe in the number's place waits until this dies.
///
/// Thread: any.
class SilentFolder
{
public:
    /// \param path  made where it is missing.
    explicit SilentFolder(const QString &path) : m_pipe(QFile::encodeName(path + QStringLiteral("/.id")))
    {
        if (!QDir().mkpath(path) || ::mkfifo(m_pipe.constData(), 0600) != 0) {
            qFatal("a pipe could not be made");
        }
    }

    /// It answers again, that it has no number.
    ~SilentFolder()
    {
        const int end = ::open(m_pipe.constData(), O_RDWR | O_CLOEXEC); // those who wait go on
        ::unlink(m_pipe.constData());
        ::close(end);
    }

    SilentFolder(const SilentFolder &) = delete;
    SilentFolder &operator=(const SilentFolder &) = delete;

private:
    const QByteArray m_pipe;
};

} // namespace gateway::platform::testing
