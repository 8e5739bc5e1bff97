#include "receive/file_collector.h"

#include "platform/files/files.h"

#include <QtCore/QFile>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include <dirent.h>
#include <sys/stat.h>

namespace gateway::receive {

namespace {

struct Name
{
    QByteArray text;
    bool mayBeLink = false;
};

/// The path with all links resolved; where that fails, the path itself without "." and "..".
QByteArray realPathOf(const QByteArray &path)
{
    const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.constData(), nullptr),
                                                               &std::free);
    return resolved ? QByteArray(resolved.get())
                    : QFile::encodeName(platform::standardizedPath(QFile::decodeName(path)));
}

QByteArray below(const QByteArray &folder, const QByteArray &name)
{
    return folder.endsWith('/') ? folder + name : folder + '/' + name;
}

/// The names in a folder, in their order; none where it can't be listed.
std::vector<Name> namesIn(const QByteArray &folder)
{
    std::vector<Name> names;
    const auto close = [](DIR *open) { ::closedir(open); };
    const std::unique_ptr<DIR, decltype(close)> listing(::opendir(folder.constData()), close);
    if (!listing) {
        return names;
    }
    while (const dirent *entry = ::readdir(listing.get())) {
        const QByteArray name(entry->d_name);
        if (name != "." && name != "..") {
            names.push_back({name, entry->d_type == DT_LNK || entry->d_type == DT_UNKNOWN});
        }
    }
    std::ranges::sort(names, {}, &Name::text);
    return names;
}

} // namespace

FileCollector::FileCollector(const QStringList &ownFolders)
{
    for (const QString &folder : ownFolders) {
        m_ownFolders.insert(realPathOf(QFile::encodeName(folder)));
    }
}

void FileCollector::collect(const QByteArray &path,
                            std::vector<CollectedFile> &files,
                            const std::stop_token &stop)
{
    visit(path, realPathOf(path), files, stop);
}

void FileCollector::visit(const QByteArray &path,
                          const QByteArray &realPath,
                          std::vector<CollectedFile> &files,
                          const std::stop_token &stop)
{
    if (stop.stop_requested() || m_visited.contains(realPath)) {
        return;
    }
    m_visited.insert(realPath);
    struct stat status{};
    const bool isThere = ::stat(path.constData(), &status) == 0;
    if (!isThere || !S_ISDIR(status.st_mode)) {
        files.push_back({path, isThere ? status.st_size : 0});
        return;
    }
    for (const Name &name : namesIn(path)) {
        const QByteArray entry = below(path, name.text);
        const QByteArray realEntry = name.mayBeLink ? realPathOf(entry) : below(realPath, name.text);
        if (!m_ownFolders.contains(realEntry)) {
            visit(entry, realEntry, files, stop);
        }
    }
}

} // namespace gateway::receive
