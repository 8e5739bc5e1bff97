#pragma once

#include "core/settings.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <optional>

namespace gateway::receive {

/// Remembers a folder by its path, and finds it again.
///
/// The bytes kept are the path's, in its standardized form. Thread: any; plain functions.
struct ResolvedBookmark
{
    QString path;         ///< standardized, absolute
    bool isStale = false; ///< the kept bytes aren't the ones that would be kept now
};

/// The bytes to keep for a folder, or nothing when it doesn't exist, isn't a directory or may not be
/// entered.
std::optional<QByteArray> makeFolderBookmark(const QString &folder);

/// The folder behind kept bytes, or nothing when there is no such directory any more.
std::optional<ResolvedBookmark> resolveFolderBookmark(const QByteArray &bookmark);

/// Whether this process may enter the folder and write in it.
bool mayUseFolder(const QString &folder);

/// The folder in which received files arrive by the settings.
///
/// \param defaultFolder  where none is chosen.
QString incomingFolder(const core::Settings &settings, const QString &defaultFolder);

} // namespace gateway::receive
