#include "platform/files/file_error.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <system_error>

namespace gateway::platform {

FileError::FileError(const char *operation, int code)
    : std::runtime_error(std::string("Could not ") + operation + ": " +
                         std::generic_category().message(code)),
      m_code(code)
{
}

bool FileError::maySucceedLater() const
{
    constexpr std::array kPassing{EAGAIN,    EBUSY,   EDQUOT,    EHOSTDOWN,   EHOSTUNREACH, EINTR,
                                  EIO,       EMFILE,  ENETDOWN,  ENETUNREACH, ENFILE,       ENODEV,
                                  ENOLCK,    ENOLINK, ENOMEM,    ENOSPC,      ENOTCONN,     ENXIO,
                                  EREMOTEIO, EROFS,   ESHUTDOWN, ESTALE,      ETIMEDOUT};
    return std::ranges::find(kPassing, m_code) != kPassing.end();
}

} // namespace gateway::platform
