#include "updates/debian_installer.h"

#include "platform/files/file_error.h"
#include "platform/files/files.h"
#include "updates/update_error.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <utility>

namespace gateway::updates {

namespace {

const QString kName = QStringLiteral("quorin-gateway-%1.deb");

void removePackagesIn(const QString &folder)
{
    QDir packages(folder, kName.arg(QStringLiteral("*")));
    const QStringList names = packages.entryList(QDir::Files | QDir::NoSymLinks);
    for (const QString &name : names) {
        packages.remove(name);
    }
}

} // namespace

DebianInstaller::DebianInstaller(OpenFile openFile) : m_openFile(std::move(openFile)) {}

PackageInstaller::Outcome DebianInstaller::install(const QString &verified, const AppcastItem &item)
{
    // Installers go by the ending. All of the name was signed and checked.
    const QString folder = QFileInfo(verified).absolutePath();
    const QString package = QDir(folder).filePath(kName.arg(item.versionString));
    removePackagesIn(folder); // of earlier updates
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
