#include "receive/file_collector.h"

#include "platform/files/files.h"

#include <QtCore/QFile>

#include <algorithm>
#include <cerrno>
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

struct Listing
{
    std::vector<Name> names; // in their order
    bool isWhole = false;
};

Listing listingOf(const QByteArray &folder, Pulse &pulse)
{
    Listing listing;
    const auto close = [](DIR *open) { ::closedir(open); };
    const std::unique_ptr<DIR, decltype(close)> open(::opendir(folder.constData()), close);
    if (!open) {
        return listing;
    }
    errno = 0; // the end of a folder and a fault on the way differ in this alone
    while (const dirent *entry = ::readdir(open.get())) {
        const QByteArray name(entry->d_name);
        if (name != "." && name != "..") {
            listing.names.push_back({name, entry->d_type == DT_LNK || entry->d_type == DT_UNKNOWN});
        }
        ++pulse;
        errno = 0;
    }
    listing.isWhole = errno == 0;
    std::ranges::sort(listing.names, {}, &Name::text);
    return listing;
}

} // namespace

FileCollector::FileCollector(const QStringList &ownFolders)
{
    for (const QString &folder : ownFolders) {
        m_ownFolders.insert(realPathOf(QFile::encodeName(folder)));
    }
}

Collected FileCollector::collect(const QByteArray &path, const std::stop_token &stop, Pulse &pulse)
{
    Search search{stop, pulse, {}};
    visit(path, realPathOf(path), search);
    return std::move(search.found);
}

void FileCollector::visit(const QByteArray &path, const QByteArray &realPath, Search &search)
{
    if (search.stop.stop_requested() || m_visited.contains(realPath)) {
        return;
    }
    ++search.pulse;
    m_visited.insert(realPath);
    struct stat status{};
    const bool isThere = ::stat(path.constData(), &status) == 0;
    if (!isThere || !S_ISDIR(status.st_mode)) {
        search.found.files.push_back({path, isThere ? status.st_size : 0});
        return;
    }
    const Listing listing = listingOf(path, search.pulse);
    if (!listing.isWhole) {
        search.found.unlisted.append(path);
    }
    for (const Name &name : listing.names) {
        const QByteArray entry = below(path, name.text);
        const QByteArray realEntry = name.mayBeLink ? realPathOf(entry) : below(realPath, name.text);
        if (!m_ownFolders.contains(realEntry)) {
            visit(entry, realEntry, search);
        }
    }
}

} // namespace gateway::receive
