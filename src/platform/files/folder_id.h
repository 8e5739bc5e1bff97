#pragma once

#include "platform/files/file_system.h"

#include <QtCore/QString>

#include <optional>

namespace gateway::platform {

// A folder on a volume that may go away, or be exchanged for another, keeps a random number of its own in a
// hidden file. Whoever noted that number knows the folder again, wherever its volume is mounted. Thread: any.

/// The number that a folder keeps; an empty one where it keeps none. Nothing where the folder isn't there, or
/// can't be asked.
std::optional<QString> folderId(const QString &folder);

/// True for the name of a file that was to become a folder's number, as a power cut leaves it.
bool isUnfinishedFolderId(const QString &name);

/// A number that no folder has.
QString newFolderId();

/// Gives a folder that keeps none a number, durably. \throws FileError
void giveFolderId(const QString &folder, const QString &id, FileSystem &files = systemFiles());

/// The same with a new one, which is returned.
QString giveFolderId(const QString &folder, FileSystem &files = systemFiles());

} // namespace gateway::platform
