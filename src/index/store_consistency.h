#pragma once

#include <QtCore/QString>

namespace gateway::platform {
class DicomParsing;
} // namespace gateway::platform

namespace gateway::index {

class IndexStore;

/// Whose the files of a store are, by what they hold.
enum class FilesAre
{
    ofTheIndex,
    ofAnother,
    unknown, ///< none of them has a row, or none is an image
    unread   ///< trouble stood in the way: another time
};

/// Compares stored files with their rows: those of the last few rows whose files are there. Of another
/// gateway's store more hold another image than the row says than hold that one. Blocks for as long as it
/// takes to read them. Thread: any.
FilesAre whoseFiles(const QString &storeRoot, const IndexStore &store, platform::DicomParsing &parser);

} // namespace gateway::index
