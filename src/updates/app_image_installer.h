#pragma once

#include "platform/files/file_system.h"
#include "updates/update_source.h"

#include <QtCore/QString>

namespace gateway::updates {

/// Puts a new AppImage in the place of the one that runs, by one rename: at any moment, a power cut included,
/// there is the old file or the new one, each whole.
///
/// Owner: app. Thread: any.
class AppImageInstaller final : public PackageInstaller
{
public:
    /// \param appImage  the file that runs, not a link to it; packages are fetched into its folder.
    /// \param files     outlives this.
    explicit AppImageInstaller(QString appImage, platform::FileSystem &files = platform::systemFiles());

    bool installsByItself() const override { return true; }
    Outcome install(const QString &verified, const AppcastItem &item) override;

private:
    const QString m_appImage;
    platform::FileSystem &m_files;
};

} // namespace gateway::updates
