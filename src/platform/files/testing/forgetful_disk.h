#pragma once

#include "platform/files/file_system.h"

#include <QtCore/QTemporaryDir>

#include <map>
#include <set>

namespace gateway::platform::testing {

/// A disk that loses in a power cut whatever no sync has covered.
///
/// Works on a real folder, which it takes as durable when it is made; files may be read, and written past
/// it, as usual. `cutPower` puts the folder into the state that the syncs until then have earned: a name
/// lives when its folder was synced after it came, a removed name comes back when its folder wasn't, and a
/// file that was never synced is empty. Owner: a test. Thread: one at a time.
class ForgetfulDisk final : public FileSystem
{
public:
    /// \param root  an existing folder; everything is forgotten below it alone.
    explicit ForgetfulDisk(const QString &root);

    /// Throws away what wasn't synced.
    void cutPower();

    void create(const QString &path, const QByteArray &bytes) override;
    void copy(const QString &source, const QString &destination) override;
    void link(const QString &source, const QString &destination) override;
    void rename(const QString &from, const QString &to) override;
    void renameToNew(const QString &from, const QString &to) override;
    void setModified(const QString &path, std::chrono::nanoseconds time) override;
    void remove(const QString &path) override;
    void makeFolder(const QString &path) override;
    void syncFile(const QString &path) override;
    void syncFolder(const QString &path) override;

private:
    using FileId = quint64; // the inode's number

    struct Folder
    {
        std::map<QString, FileId> files;
        std::set<QString> folders;
    };

    void keepContent(const QString &path);
    FileId holdOn(const QString &path);
    void adopt(const QString &folder);
    void restore(const QString &folder) const;

    const QString m_root;
    QTemporaryDir m_held; // a second name for each file, so that no inode number is used twice
    std::map<FileId, QByteArray> m_content;
    std::map<QString, Folder> m_folders;
};

} // namespace gateway::platform::testing
