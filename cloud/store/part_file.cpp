#include "cloud/store/part_file.h"

#include <QtCore/QFile>
#include <QtCore/QUuid>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace gateway::cloud {

namespace {

[[noreturn]] void fail(const char *what, const QString &path)
{
    throw std::system_error(errno, std::generic_category(), std::string(what) + " " + path.toStdString());
}

} // namespace

PartFile::PartFile(const QString &folder)
    : m_path(folder + u'/' + QUuid::createUuid().toString(QUuid::Id128) + QStringLiteral(".part")),
      m_descriptor(open(
          QFile::encodeName(m_path).constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR))
{
    if (m_descriptor < 0) {
        fail("create", m_path);
    }
}

PartFile::~PartFile()
{
    close(m_descriptor);
    if (!m_moved) {
        unlink(QFile::encodeName(m_path).constData());
    }
}

void PartFile::write(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(m_descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            fail("write", m_path);
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
        m_size += static_cast<std::uint64_t>(written);
    }
}

void PartFile::moveTo(const QString &path)
{
    // Only a hint: with many files under way the syncs that follow then find most of the work done.
    sync_file_range(m_descriptor, 0, 0, SYNC_FILE_RANGE_WRITE);
    if (rename(QFile::encodeName(m_path).constData(), QFile::encodeName(path).constData()) != 0) {
        fail("rename", m_path);
    }
    m_moved = true;
}

void syncFile(const QString &path)
{
    const int descriptor = open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        fail("open", path);
    }
    const int result = fdatasync(descriptor);
    const int error = errno;
    close(descriptor);
    if (result != 0) {
        errno = error;
        fail("sync", path);
    }
}

void syncFolder(const QString &folder)
{
    syncFile(folder);
}

} // namespace gateway::cloud
