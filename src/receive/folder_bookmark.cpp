#include "receive/folder_bookmark.h"

#include "platform/files/files.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <unistd.h>

namespace gateway::receive {

namespace {

bool accessible(const QString &folder, int mode)
{
    return ::access(QFile::encodeName(folder).constData(), mode) == 0;
}

} // namespace

std::optional<QByteArray> makeFolderBookmark(const QString &folder)
{
    const QString path = platform::standardizedPath(QFileInfo(folder).absoluteFilePath());
    if (folder.isEmpty() || !QFileInfo(path).isDir() || !accessible(path, X_OK)) {
        return std::nullopt;
    }
    return path.toUtf8();
}

std::optional<ResolvedBookmark> resolveFolderBookmark(const QByteArray &bookmark)
{
    const QString kept = QString::fromUtf8(bookmark);
    const QString path = platform::standardizedPath(kept);
    if (!path.startsWith(u'/') || !QFileInfo(path).isDir()) {
        return std::nullopt;
    }
    return ResolvedBookmark{path, path != kept};
}

bool mayUseFolder(const QString &folder)
{
    return accessible(folder, W_OK | X_OK);
}

QString incomingFolder(const core::Settings &settings, const QString &defaultFolder)
{
    if (const std::optional<QByteArray> bookmark = settings.listenerDestinationFolderBookmark.get()) {
        if (const auto resolved = resolveFolderBookmark(*bookmark)) {
            return resolved->path;
        }
    }
    return settings.listenerDestinationFolder.get().value_or(defaultFolder);
}

} // namespace gateway::receive
