#include "shell/dashboard/imports/import_disk.h"

#include "platform/files/folder_entries.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <optional>

namespace gateway::shell {

namespace {

using platform::FolderEntry;

/// \return nothing for what neither is a file or a folder nor leads to one.
std::optional<ImportEntry> entryOf(const QString &folder, const QString &name)
{
    const QFileInfo info(folder + u'/' + name);
    if (info.isDir()) {
        return ImportEntry{name, true, 0, {}};
    }
    return info.isFile() ? std::optional(ImportEntry{name, false, info.size(), info.lastModified()})
                         : std::nullopt;
}

QStringList foldersIn(const QString &folder)
{
    QStringList names;
    platform::visitFolder(QFile::encodeName(folder), [&names](const FolderEntry &entry) {
        if (entry.kind() == FolderEntry::Kind::folder && !entry.name().startsWith('.')) {
            names.append(QFile::decodeName(entry.name()));
        }
    });
    names.sort();
    return names;
}

bool readFolder(const QString &folder, const std::function<void(QList<ImportEntry>)> &found)
{
    QList<ImportEntry> own;
    QStringList links;
    bool isAll = true;
    const bool isWhole = platform::visitFolder(QFile::encodeName(folder), [&](const FolderEntry &each) {
        const QString name = QFile::decodeName(each.name());
        if (name.startsWith(u'.')) {
            return;
        }
        const std::optional<FolderEntry::Kind> kind = each.kind();
        if (QFile::encodeName(name) != each.name()) {
            isAll = false; // nothing that Qt has could name it again
        } else if (kind == FolderEntry::Kind::folder) {
            own.append({name, true, 0, {}}); // a volume may be mounted there: it isn't looked at
        } else if (kind == FolderEntry::Kind::other) {
            links.append(name);
        } else if (const auto entry = entryOf(folder, name)) {
            own.append(*entry);
        } else {
            isAll = false;
        }
    });
    found(own);
    QList<ImportEntry> linked;
    for (const QString &name : std::as_const(links)) {
        if (const auto entry = entryOf(folder, name)) {
            linked.append(*entry);
        }
    }
    if (!linked.isEmpty()) {
        found(linked);
    }
    return isWhole && isAll;
}

} // namespace

ImportDisk ImportDisk::system()
{
    return {[](const QString &path) { return QFileInfo(path).isDir(); }, &foldersIn, &readFolder};
}

} // namespace gateway::shell
