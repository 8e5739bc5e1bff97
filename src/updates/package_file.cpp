#include "updates/package_file.h"

#include "platform/files/file_error.h"
#include "platform/files/files.h"
#include "updates/update_error.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <cerrno>

namespace gateway::updates {

namespace {

const QString kPattern = QStringLiteral(".quorin-gateway-%1.part");

QString pathOf(const QString &folder, const AppcastItem &item)
{
    return QDir(folder).filePath(kPattern.arg(QString::fromLatin1(item.sha256.toHex().first(16))));
}

} // namespace

PackageFile::PackageFile(const QString &folder, const AppcastItem &item, qint64 reserveBytes)
    : m_folder(folder), m_item(item), m_path(pathOf(folder, item)), m_file(m_path)
{
    try {
        platform::makeFoldersDurably(folder);
    } catch (const platform::FileError &) {
        throw UpdateError(UpdateFailure::notWritable, folder);
    }
    sweepOthers();
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)) {
        throw UpdateError(UpdateFailure::notWritable, folder);
    }
    m_size = m_file.size();
    if (m_size > item.length) {
        clear();
    }
    const auto room = platform::volumeFigures(folder);
    const qint64 missing = item.length - m_size;
    if (missing > 0 && room && room->availableBytes < missing + reserveBytes) {
        throw UpdateError(UpdateFailure::noRoom, folder);
    }
}

void PackageFile::sweepOthers() const
{
    const QDir folder(m_folder);
    const QStringList parts =
        folder.entryList({kPattern.arg(QStringLiteral("*"))}, QDir::Files | QDir::Hidden | QDir::NoSymLinks);
    for (const QString &name : parts) {
        if (folder.filePath(name) != m_path) {
            QFile::remove(folder.filePath(name));
        }
    }
}

void PackageFile::append(QByteArrayView bytes)
{
    if (m_size + bytes.size() > m_item.length) {
        clear();
        throw UpdateError(UpdateFailure::damaged, m_item.url.host());
    }
    if (m_file.write(bytes.data(), bytes.size()) != bytes.size()) {
        failWriting();
    }
    m_size += bytes.size();
}

void PackageFile::failWriting()
{
    const bool isFull = errno == ENOSPC || errno == EDQUOT; // Qt says nothing of a write that fell short
    throw UpdateError(isFull ? UpdateFailure::noRoom : UpdateFailure::notWritable, m_folder);
}

void PackageFile::clear()
{
    if (!m_file.resize(0)) {
        throw UpdateError(UpdateFailure::notWritable, m_folder);
    }
    m_size = 0;
}

void PackageFile::verify()
{
    m_file.close();
    QFile file(m_path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    const bool isRead = file.open(QIODevice::ReadOnly) && file.size() == m_item.length && hash.addData(&file);
    if (!isRead || hash.result() != m_item.sha256) {
        file.remove();
        throw UpdateError(UpdateFailure::damaged, m_item.url.host());
    }
}

} // namespace gateway::updates
