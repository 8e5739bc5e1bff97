#pragma once

#include "platform/descriptors/descriptor.h"

#include <QtCore/QString>

#include <sys/socket.h>
#include <sys/un.h>

namespace gateway::platform {

/// The address of a Unix socket by its path, however long that is: the folder is held open, and the address
/// leads through the process's own descriptor, which fits where 108 bytes for a path wouldn't.
///
/// Thread: a plain owner of one descriptor; keep it until `bind` or `connect` has returned.
class UnixSocketAddress
{
public:
    explicit UnixSocketAddress(const QString &path);

    /// False when the folder can't be opened or the name is too long; errno says why.
    bool isValid() const { return m_folder.isOpen(); }

    const sockaddr *address() const;
    socklen_t size() const { return sizeof(m_address); }

private:
    Descriptor m_folder;
    sockaddr_un m_address{};
};

} // namespace gateway::platform
