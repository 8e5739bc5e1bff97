#include "platform/sqlite/testing/forgetful_log.h"

#include "platform/concurrency/mutex.h"

#include <QtCore/QByteArray>
#include <QtCore/QFile>

#include <sqlite3.h>

#include <map>

namespace gateway::platform::testing {

namespace {

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

/// SQLite's own way to files, but that it keeps of each file what the last sync found in it.
struct ForgetfulFiles
{
    struct OpenFile
    {
        QString path;
        const sqlite3_io_methods *methods; // SQLite's own
    };

    static inline ForgetfulFiles *s_only = nullptr; // SQLite's calls don't carry it

    sqlite3_vfs *const usual = sqlite3_vfs_find(nullptr);
    sqlite3_vfs vfs = *usual;
    Mutex mutex;
    std::map<sqlite3_file *, OpenFile> open QUORIN_GUARDED_BY(mutex);
    std::map<const sqlite3_io_methods *, sqlite3_io_methods> replaced QUORIN_GUARDED_BY(mutex);
    std::map<QString, QByteArray> synced QUORIN_GUARDED_BY(mutex);

    static int openFile(sqlite3_vfs *, sqlite3_filename name, sqlite3_file *file, int flags, int *out)
    {
        const int code = s_only->usual->xOpen(s_only->usual, name, file, flags, out);
        if (code == SQLITE_OK && name != nullptr) {
            const MutexLock lock(s_only->mutex);
            s_only->open[file] = {QString::fromUtf8(name), file->pMethods};
            sqlite3_io_methods &methods =
                s_only->replaced.try_emplace(file->pMethods, *file->pMethods).first->second;
            methods.xSync = syncFile;
            methods.xClose = closeFile;
            file->pMethods = &methods;
        }
        return code;
    }

    static OpenFile find(sqlite3_file *file)
    {
        const MutexLock lock(s_only->mutex);
        return s_only->open.at(file);
    }

    static int syncFile(sqlite3_file *file, int flags)
    {
        const OpenFile of = find(file);
        const int code = of.methods->xSync(file, flags);
        const MutexLock lock(s_only->mutex);
        s_only->synced[of.path] = contentOf(of.path);
        return code;
    }

    static int closeFile(sqlite3_file *file)
    {
        const OpenFile of = find(file);
        {
            const MutexLock lock(s_only->mutex);
            s_only->open.erase(file);
        }
        return of.methods->xClose(file);
    }

    static int removeFile(sqlite3_vfs *, const char *name, int syncsFolder)
    {
        const MutexLock lock(s_only->mutex);
        s_only->synced.erase(QString::fromUtf8(name));
        return s_only->usual->xDelete(s_only->usual, name, syncsFolder);
    }
};

ForgetfulLog::ForgetfulLog() : m_files(std::make_unique<ForgetfulFiles>())
{
    ForgetfulFiles::s_only = m_files.get();
    m_files->vfs.zName = "forgetful";
    m_files->vfs.pNext = nullptr;
    m_files->vfs.xOpen = ForgetfulFiles::openFile;
    m_files->vfs.xDelete = ForgetfulFiles::removeFile;
    sqlite3_vfs_register(&m_files->vfs, 1);
}

ForgetfulLog::~ForgetfulLog()
{
    sqlite3_vfs_unregister(&m_files->vfs);
    sqlite3_vfs_register(m_files->usual, 1);
}

void ForgetfulLog::leaveAfterPowerCut(const QString &path, const QString &copy) const
{
    const MutexLock lock(m_files->mutex);
    for (const QString &suffix : {QString(), QStringLiteral("-wal")}) {
        QFile file(copy + suffix);
        if (!file.open(QIODevice::WriteOnly)) {
            qFatal("a test's copy of a database can't be written");
        }
        const auto kept = m_files->synced.find(path + suffix);
        file.write(kept == m_files->synced.end() ? QByteArray() : kept->second);
    }
}

} // namespace gateway::platform::testing
