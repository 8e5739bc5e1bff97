#include "updates/debian_installer.h"

#include "platform/files/file_error.h"
#include "platform/files/files.h"
#include "updates/update_error.h"

#include <QtCore/QFileInfo>

#include <utility>

namespace gateway::updates {

DebianInstaller::DebianInstaller(OpenFile openFile) : m_openFile(std::move(openFile)) {}

PackageInstaller::Outcome DebianInstaller::install(const QString &verified, const AppcastItem &item)
{
    // Installers go by the ending. All of the name was signed and checked.
    const QString folder = QFileInfo(verified).absolutePath();
    const QString package =
        folder + QStringLiteral("/quorin-gateway-") + item.versionString + QStringLiteral(".deb");
    try {
        platform::syncFile(verified);
        platform::renameDurably(verified, package);
    } catch (const platform::FileError &) {
        throw UpdateError(UpdateFailure::notWritable, folder);
    }
    if (!m_openFile(package)) {
        throw UpdateError(UpdateFailure::noInstaller, package);
    }
    return Outcome::handedOver;
}

} // namespace gateway::updates
