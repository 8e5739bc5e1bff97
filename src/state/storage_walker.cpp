#include "state/storage_walker.h"

#include "platform/concurrency/clock.h"
#include "platform/files/files.h"
#include "platform/files/folder_entries.h"

#include <QtCore/QFile>

#include <algorithm>
#include <utility>

namespace gateway::state {

namespace {

using std::chrono::nanoseconds;

// The coarsest tick of a volume's clock that is in use: two seconds.
constexpr std::chrono::seconds kTick{2};

bool isHidden(const QByteArray &name)
{
    return name.startsWith('.');
}

} // namespace

qint64 StorageWalker::usedBytes(const QString &root, const std::stop_token &stop)
{
    const QByteArray path = QFile::encodeName(root);
    if (path != m_rootPath) {
        m_root = Folder();
        m_rootPath = path;
    }
    m_foldersRead = 0;
    return walk(m_root, path, stop);
}

bool StorageWalker::isYoung(nanoseconds changedAt) const
{
    return changedAt + kTick >= std::chrono::milliseconds(m_clock.now().toMSecsSinceEpoch());
}

qint64 StorageWalker::walk(Folder &folder, const QByteArray &path, const std::stop_token &stop)
{
    const std::optional<nanoseconds> changedAt = platform::folderChangedAt(path);
    if (!changedAt) {
        folder = Folder();
        return 0;
    }
    if (folder.changedAt != changedAt) {
        readAnew(folder, path, *changedAt);
    }
    qint64 bytes = folder.ownBytes;
    for (auto &[name, child] : folder.folders) {
        if (stop.stop_requested()) {
            break;
        }
        bytes += walk(child, path + '/' + name, stop);
    }
    return bytes;
}

void StorageWalker::readAnew(Folder &folder, const QByteArray &path, nanoseconds changedAt)
{
    ++m_foldersRead;
    const bool young = isYoung(changedAt);
    Folder fresh;
    const bool isWhole = platform::visitFolder(path, [&](const platform::FolderEntry &entry) {
        using Kind = platform::FolderEntry::Kind;
        if (isHidden(entry.name())) {
            return;
        }
        const auto kind = entry.kind();
        if (kind == Kind::folder) {
            const auto known = folder.folders.find(entry.name());
            fresh.folders.emplace(entry.name(),
                                  known == folder.folders.end() ? Folder() : std::move(known->second));
        } else if (kind == Kind::regularFile) {
            const auto known = folder.sizes.constFind(entry.name());
            const bool isKnown = young && known != folder.sizes.constEnd();
            const qint64 bytes = isKnown ? *known : entry.allocatedBytes().value_or(0);
            fresh.ownBytes += bytes;
            if (young) {
                fresh.sizes.insert(entry.name(), bytes);
            }
        }
    });
    if (isWhole && !young) {
        fresh.changedAt = changedAt;
    }
    folder = std::move(fresh);
}

ReceivedStorageUsage measureStorage(StorageWalker &walker, const QString &root, const std::stop_token &stop)
{
    const qint64 used = walker.usedBytes(root, stop);
    const auto volume = platform::volumeFigures(root);
    return {std::max<qint64>(used, 0), volume ? std::max<qint64>(volume->availableBytes, 0) : 0};
}

} // namespace gateway::state
