#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QString>

#include <sys/fsuid.h>
#include <sys/stat.h>

namespace gateway::receive::testing {

/// While this lives, this thread can't list a folder, not even as root; the folder above it stays open.
///
/// Owner: a test. Thread: the one that tries to list it.
class BarredFolder
{
public:
    explicit BarredFolder(const QString &folder) : m_folder(QFile::encodeName(folder))
    {
        constexpr mode_t kOpenToAll = 0755;
        ::chmod(QFile::encodeName(QFileInfo(folder).path()).constData(), kOpenToAll);
        ::chmod(m_folder.constData(), 0);
        m_user = ::setfsuid(kNobody); // refused, and not needed, where the tests don't run as root
    }

    ~BarredFolder()
    {
        ::setfsuid(static_cast<uid_t>(m_user));
        ::chmod(m_folder.constData(), S_IRWXU);
    }

    BarredFolder(const BarredFolder &) = delete;
    BarredFolder &operator=(const BarredFolder &) = delete;

private:
    static constexpr uid_t kNobody = 65534;

    const QByteArray m_folder;
    int m_user = 0;
};

} // namespace gateway::receive::testing
