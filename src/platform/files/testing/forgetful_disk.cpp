#include "platform/files/testing/forgetful_disk.h"

#include "platform/files/files.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <sys/stat.h>
#include <unistd.h>

namespace gateway::platform::testing {

namespace {

QFileInfoList entriesOf(const QString &folder)
{
    return QDir(folder).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("a file of the forgetful disk can't be read");
    }
    return file.readAll();
}

} // namespace

ForgetfulDisk::ForgetfulDisk(const QString &root)
    : m_root(standardizedPath(root)), m_held(QFileInfo(m_root).path() + QStringLiteral("/held-XXXXXX"))
{
    adopt(m_root);
}

void ForgetfulDisk::adopt(const QString &folder)
{
    for (const QFileInfo &entry : entriesOf(folder)) {
        if (entry.isDir()) {
            adopt(entry.filePath());
        } else {
            keepContent(entry.filePath());
        }
    }
    syncFolder(folder);
}

ForgetfulDisk::FileId ForgetfulDisk::holdOn(const QString &path)
{
    struct stat status{};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0) {
        throw FileError("look at a file", errno);
    }
    const QString second = m_held.filePath(QString::number(status.st_ino));
    static_cast<void>(::link(QFile::encodeName(path).constData(), QFile::encodeName(second).constData()));
    return status.st_ino;
}

void ForgetfulDisk::keepContent(const QString &path)
{
    m_content[holdOn(path)] = contentOf(path);
}

void ForgetfulDisk::cutPower()
{
    for (const QFileInfo &entry : entriesOf(m_root)) {
        if (entry.isDir()) {
            QDir(entry.filePath()).removeRecursively();
        } else {
            QFile::remove(entry.filePath());
        }
    }
    restore(m_root);
    m_folders.clear();
    m_content.clear();
    adopt(m_root);
}

void ForgetfulDisk::restore(const QString &folder) const
{
    const auto found = m_folders.find(folder);
    if (found == m_folders.end()) {
        return;
    }
    for (const auto &[name, id] : found->second.files) {
        const auto content = m_content.find(id);
        systemFiles().create(folder + u'/' + name,
                             content == m_content.end() ? QByteArray() : content->second);
    }
    for (const QString &name : found->second.folders) {
        systemFiles().makeFolder(folder + u'/' + name);
        restore(folder + u'/' + name);
    }
}

void ForgetfulDisk::create(const QString &path, const QByteArray &bytes)
{
    systemFiles().create(path, bytes);
    keepContent(path);
}

void ForgetfulDisk::copy(const QString &source, const QString &destination)
{
    systemFiles().copy(source, destination);
    keepContent(destination);
}

void ForgetfulDisk::link(const QString &source, const QString &destination)
{
    systemFiles().link(source, destination);
}

void ForgetfulDisk::rename(const QString &from, const QString &to)
{
    systemFiles().rename(from, to);
}

void ForgetfulDisk::renameToNew(const QString &from, const QString &to)
{
    systemFiles().renameToNew(from, to);
}

void ForgetfulDisk::setModified(const QString &path, std::chrono::nanoseconds time)
{
    systemFiles().setModified(path, time);
}

void ForgetfulDisk::remove(const QString &path)
{
    systemFiles().remove(path);
}

void ForgetfulDisk::makeFolder(const QString &path)
{
    systemFiles().makeFolder(path);
}

void ForgetfulDisk::syncFile(const QString &path)
{
    systemFiles().syncFile(path);
    keepContent(path);
}

void ForgetfulDisk::syncFolder(const QString &path)
{
    systemFiles().syncFolder(path);
    Folder now;
    for (const QFileInfo &entry : entriesOf(path)) {
        if (entry.isDir()) {
            now.folders.insert(entry.fileName());
        } else {
            now.files[entry.fileName()] = holdOn(entry.filePath());
        }
    }
    m_folders[standardizedPath(path)] = std::move(now);
}

} // namespace gateway::platform::testing
