#include "platform/keychain/file_token_store.h"

#include "platform/files/files.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QFile>

#include <cerrno>
#include <utility>

namespace gateway::platform {

FileTokenStore::FileTokenStore(QString folder) : FileTokenStore(std::move(folder), systemFiles()) {}

FileTokenStore::FileTokenStore(QString folder, FileSystem &files)
    : m_folder(std::move(folder)), m_files(files)
{
}

QString FileTokenStore::pathOf(const QString &key) const
{
    const QByteArray hash = QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Sha256).toHex();
    return m_folder + u'/' + QString::fromLatin1(hash) + QStringLiteral(".token");
}

TokenAnswer FileTokenStore::read(const QString &key)
{
    QFile file(pathOf(key));
    if (!file.open(QIODevice::ReadOnly)) {
        return file.exists() ? TokenAnswer::notReached() : TokenAnswer::absent();
    }
    QByteArray value = file.readAll();
    return file.error() == QFileDevice::NoError ? TokenAnswer::found(std::move(value))
                                                : TokenAnswer::notReached();
}

bool FileTokenStore::write(const QString &key, const QByteArray &value)
{
    try {
        makeFoldersDurably(m_folder, m_files);
        writeFileDurably(pathOf(key), value, m_files);
        return true;
    } catch (const FileError &) {
        return false;
    }
}

bool FileTokenStore::remove(const QString &key)
{
    try {
        m_files.remove(pathOf(key));
        m_files.syncFolder(m_folder);
        return true;
    } catch (const FileError &error) {
        return error.code() == ENOENT;
    }
}

} // namespace gateway::platform
