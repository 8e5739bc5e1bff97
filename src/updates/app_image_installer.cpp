#include "updates/app_image_installer.h"

#include "platform/files/file_error.h"
#include "platform/files/files.h"
#include "updates/update_error.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <utility>

namespace gateway::updates {

AppImageInstaller::AppImageInstaller(QString appImage, platform::FileSystem &files)
    : m_appImage(std::move(appImage)), m_files(files)
{
}

PackageInstaller::Outcome AppImageInstaller::install(const QString &verified, const AppcastItem & /*item*/)
{
    const QFileInfo old(m_appImage);
    const bool isRunnable = QFile::setPermissions(verified, old.permissions() | QFileDevice::ExeOwner);
    try {
        if (!isRunnable) {
            throw UpdateError(UpdateFailure::notWritable, old.absolutePath());
        }
        platform::syncFile(verified, m_files);
        platform::renameDurably(verified, m_appImage, m_files);
    } catch (const platform::FileError &) {
        throw UpdateError(UpdateFailure::notWritable, old.absolutePath());
    }
    return Outcome::installed;
}

} // namespace gateway::updates
