#include "platform/sockets/unix_socket_address.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cerrno>
#include <cstring>

#include <fcntl.h>

namespace gateway::platform {

UnixSocketAddress::UnixSocketAddress(const QString &path)
{
    const QFileInfo file(path);
    m_folder = Descriptor(
        ::open(QFile::encodeName(file.absolutePath()).constData(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!m_folder.isOpen()) {
        return;
    }
    const QByteArray name =
        "/proc/self/fd/" + QByteArray::number(m_folder.get()) + '/' + QFile::encodeName(file.fileName());
    if (name.size() >= static_cast<qsizetype>(sizeof(m_address.sun_path))) {
        m_folder.close();
        errno = ENAMETOOLONG;
        return;
    }
    m_address.sun_family = AF_UNIX;
    std::memcpy(m_address.sun_path, name.constData(), static_cast<std::size_t>(name.size()));
}

const sockaddr *UnixSocketAddress::address() const
{
    return reinterpret_cast<const sockaddr *>(&m_address);
}

} // namespace gateway::platform
