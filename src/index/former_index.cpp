#include "index/former_index.h"

#include "platform/files/file_error.h"
#include "platform/files/files.h"
#include "platform/sqlite/database.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cerrno>

namespace gateway::index {

using platform::Database;
using platform::FileError;
using platform::SqliteError;

namespace {

// Of the room on the volume, which may be that of the incoming folder as well: with less than 64 MiB no image
// is accepted.
constexpr qint64 kLeftForImages = qint64{128} * 1024 * 1024;

void requireRoom(Database &index, const QString &folder)
{
    const qint64 bytes = index.integer("PRAGMA page_count") * index.integer("PRAGMA page_size");
    const qint64 forTheMigration = bytes / 2;
    const auto volume = platform::volumeFigures(folder);
    if (volume && volume->availableBytes < bytes + forTheMigration + kLeftForImages) {
        throw FileError("copy the index", ENOSPC);
    }
}

} // namespace

FormerIndex::FormerIndex(const QString &indexFile)
    : m_copy(indexFile + QStringLiteral(".former")), m_unfinished(m_copy + QStringLiteral(".unfinished")),
      m_mark(m_copy + QStringLiteral(".served"))
{
}

void FormerIndex::keep(Database &index)
{
    m_problem.clear();
    // The index itself is of an older version, and whole: what was kept before has served.
    QFile::remove(m_copy);
    QFile::remove(m_mark);
    QFile::remove(m_unfinished);
    try {
        copyDurably(index);
        return;
    } catch (const SqliteError &error) {
        m_problem = error.message();
    } catch (const FileError &error) {
        m_problem = error.message();
    }
    QFile::remove(m_unfinished);
    QFile::remove(m_copy);
}

void FormerIndex::copyDurably(Database &index) const
{
    requireRoom(index, QFileInfo(m_copy).path());
    index.copyTo(m_unfinished);
    platform::syncFile(m_unfinished);
    platform::renameDurably(m_unfinished, m_copy);
}

std::optional<QString> FormerIndex::path() const
{
    return QFileInfo::exists(m_copy) ? std::optional(m_copy) : std::nullopt;
}

void FormerIndex::noteOrderlyEnd() const
{
    if (path()) {
        QFile(m_mark).open(QIODevice::WriteOnly);
    }
}

void FormerIndex::tidyUp() const
{
    QFile::remove(m_unfinished);
    if (QFileInfo::exists(m_mark) && (!path() || QFile::remove(m_copy))) {
        QFile::remove(m_mark);
    }
}

} // namespace gateway::index
