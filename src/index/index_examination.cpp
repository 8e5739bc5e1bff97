#include "index/index_examination.h"

#include "index/file_store.h"
#include "index/import_elements.h"
#include "index/index_store.h"
#include "platform/concurrency/clock.h"
#include "platform/dicom/dicom_parsing.h"
#include "platform/sqlite/database.h"

#include <QtCore/QFileInfo>

namespace gateway::index {

using elements::text;
using platform::Database;
using platform::Statement;
using platform::StoppableScope;

namespace {

constexpr const char *kFilesBehind = "SELECT pathString, min(syncState IS 1), max(syncState IS 3) "
                                     "FROM DicomImage INDEXED BY DicomImage_path WHERE pathString > ? "
                                     "GROUP BY pathString ORDER BY pathString LIMIT ?";

constexpr const char *kOneFile =
    "SELECT pathString, min(syncState IS 1), max(syncState IS 3) "
    "FROM DicomImage INDEXED BY DicomImage_path WHERE pathString = ? GROUP BY pathString";

constexpr const char *kIsSpokenFor = "SELECT EXISTS (SELECT 1 FROM DicomImage WHERE pathString = ?1) "
                                     "OR EXISTS (SELECT 1 FROM PendingRemoval WHERE pathString = ?1)";

// The files of the rows that an import of the same instance would write to.
constexpr const char *kFilesOfInstance =
    "SELECT DISTINCT pathString FROM Study JOIN Series ON Series.study = Study.pk "
    "JOIN DicomImage ON DicomImage.series = Series.pk "
    "WHERE studyInstanceUID = ? AND Series.seriesInstanceUID = ? AND sopInstanceUID = ? "
    "AND originalSOPInstanceUID = ?";

RecordedFile recordedAt(const Statement &row)
{
    return {row.text(0), row.integer(1) != 0, row.integer(2) != 0};
}

QString textOr(const QVariantMap &found, const QString &key)
{
    return text(found, key).value_or(QString());
}

} // namespace

std::int64_t IndexExamination::complaints(const std::stop_token &stop) const
{
    return m_store.read([&](Database &database) {
        const StoppableScope stoppable(database, stop);
        std::int64_t count = 0;
        Statement row = database.prepare("PRAGMA quick_check");
        while (row.step()) {
            count += row.text(0) == QStringLiteral("ok") ? 0 : 1;
        }
        Statement reference = database.prepare("PRAGMA foreign_key_check");
        while (reference.step()) {
            ++count;
        }
        return count;
    });
}

TallyDifferences IndexExamination::tallyDifferences(const std::stop_token &stop) const
{
    return m_store.read([&](Database &database) {
        const StoppableScope stoppable(database, stop);
        return compareTallies(database);
    });
}

void IndexExamination::mendTallies()
{
    m_store.write(rebuildTallies);
}

QList<RecordedFile>
IndexExamination::recordedFiles(const QString &after, int limit, const std::stop_token &stop) const
{
    return m_store.read([&](Database &database) {
        const StoppableScope stoppable(database, stop);
        QList<RecordedFile> page;
        Statement row = database.prepare(kFilesBehind);
        row.bindAll(after, limit);
        while (row.step()) {
            page.append(recordedAt(row));
        }
        return page;
    });
}

std::optional<RecordedFile> IndexExamination::recordedFile(const QString &storagePath) const
{
    return m_store.read([&](Database &database) {
        Statement row = database.prepare(kOneFile);
        row.bindAll(storagePath);
        return row.step() ? std::optional(recordedAt(row)) : std::nullopt;
    });
}

bool IndexExamination::isNumbered(const QString &storagePath) const
{
    return m_files.numbered(storagePath).has_value();
}

std::int64_t IndexExamination::rowsWithoutFile(const std::stop_token &stop) const
{
    return m_store.read([&](Database &database) {
        const StoppableScope stoppable(database, stop);
        return database.integer(
            "SELECT (SELECT count(*) FROM DicomImage INDEXED BY DicomImage_path WHERE pathString IS NULL) + "
            "(SELECT count(*) FROM DicomImage INDEXED BY DicomImage_path WHERE pathString = '')");
    });
}

std::int64_t IndexExamination::pendingRemovals() const
{
    return m_store.read(
        [](Database &database) { return database.integer("SELECT count(*) FROM PendingRemoval"); });
}

bool IndexExamination::isSpokenFor(Database &database, const QString &pathString) const
{
    Statement row = database.prepare(kIsSpokenFor);
    row.bindAll(pathString);
    return row.step() && row.integer(0) != 0;
}

/// True where rows of the same instance refer to a file that is there, and which isn't the older of the two.
bool IndexExamination::hasFileAlready(Database &database, const UnrecordedFile &file) const
{
    const std::optional<QString> study = text(file.elements, QStringLiteral("studyID"));
    const QString uid = textOr(file.elements, QStringLiteral("SOPUID"));
    if (!study || uid.isEmpty()) {
        return false; // images without an identity stay apart
    }
    Statement row = database.prepare(kFilesOfInstance);
    row.bindAll(*study, textOr(file.elements, QStringLiteral("seriesID")) + u'0', uid + u'0', uid);
    while (row.step()) {
        const QString other = row.text(0).trimmed();
        const std::optional<StoredFile> place = m_files.numbered(other);
        const bool isLater = file.place && place && file.place->number > place->number;
        if (!other.isEmpty() && !isLater && QFileInfo(m_files.fileURL(other).toLocalFile()).isFile()) {
            return true;
        }
    }
    return false;
}

UnrecordedFile IndexExamination::lookAt(const QString &pathString) const
{
    UnrecordedFile file{
        UnrecordedFile::Kind::none, m_files.numbered(pathString), m_files.fileURL(pathString), {}};
    // In this order: an import writes its rows first and says then that it is over. A file that was seen, is
    // in no import's hands and has no rows after that belongs to none.
    if (m_files.isBeingImported(pathString)) {
        return file;
    }
    const auto isSpoken = [&] {
        return m_store.read([&](Database &database) { return isSpokenFor(database, pathString); });
    };
    const QString path = file.fileURL.toLocalFile();
    if (isSpoken() || !QFileInfo(path).isFile()) {
        return file;
    }
    const platform::ParsedFile found = m_parser.parse(path);
    using Fate = platform::ParsedFile::Fate;
    if (found.fate != Fate::parsed || textOr(found.elements, QStringLiteral("patientUID")).isEmpty()) {
        const bool isTrouble = found.fate == Fate::trouble || found.fate == Fate::unavailable;
        const bool isStillThere = QFileInfo(path).isFile() && !isSpoken();
        file.kind = !isStillThere ? UnrecordedFile::Kind::none
                    : isTrouble   ? UnrecordedFile::Kind::unexamined
                                  : UnrecordedFile::Kind::unreadable;
        return file;
    }
    file.elements = found.elements;
    const bool isHeld = m_store.read([&](Database &database) { return hasFileAlready(database, file); });
    file.kind = isHeld ? UnrecordedFile::Kind::earlierCopy : UnrecordedFile::Kind::image;
    return file;
}

bool IndexExamination::record(const UnrecordedFile &file)
{
    bool recorded = false;
    m_store.write([&](Database &database) {
        recorded = !isSpokenFor(database, file.place->pathString) && !hasFileAlready(database, file) &&
                   QFileInfo(file.place->path).isFile();
        if (recorded) {
            recordImport(database, file.elements, *file.place, m_clock.now().toMSecsSinceEpoch());
        }
    });
    return recorded;
}

} // namespace gateway::index
