// Counts and the snapshots of the local browser.

#include "index/dicom_db.h"
#include "index/row_identity.h"
#include "platform/sqlite/database.h"

#include <QtCore/QStringList>

#include <algorithm>
#include <array>
#include <limits>
#include <tuple>
#include <utility>
#include <vector>

namespace gateway::index {

using platform::Database;
using platform::SqliteError;
using platform::Statement;

namespace {

struct Ledger
{
    EntityCounts total;
    EntityCounts synced;
    std::int64_t failedImages = 0;
    InstanceCounts instances;
};

Ledger ledgerIn(Database &database)
{
    Statement row = database.prepare("SELECT studyCount, seriesCount, imageCount, syncedStudyCount, "
                                     "syncedSeriesCount, syncedCount, failedCount, instanceCount, "
                                     "syncedInstanceCount, failedInstanceCount FROM Ledger");
    row.step();
    return Ledger{{row.integer(0), row.integer(1), row.integer(2)},
                  {row.integer(3), row.integer(4), row.integer(5)},
                  row.integer(6),
                  {row.integer(7), row.integer(8), row.integer(9)}};
}

Ledger readLedger(const IndexStore &store)
{
    try {
        return store.read([](Database &database) { return ledgerIn(database); });
    } catch (const SqliteError &) {
        return {};
    }
}

constexpr const char *kOldestWaiting =
    "SELECT createDate FROM DicomImage INDEXED BY DicomImage_waiting "
    "WHERE (syncState IS NULL OR syncState IN (0, 2, 3)) AND pathString <> '' AND notBefore IS NULL "
    "ORDER BY createDate, pk LIMIT 1";

constexpr const char *kOldestRetrying =
    "SELECT createDate FROM DicomImage INDEXED BY DicomImage_retryingByAge "
    "WHERE (syncState IS NULL OR syncState IN (0, 2, 3)) AND pathString <> '' AND notBefore IS NOT NULL "
    "ORDER BY createDate LIMIT 1";

std::optional<QDateTime> oldestUnsentIn(Database &database)
{
    std::optional<QDateTime> oldest;
    for (const char *sql : {kOldestWaiting, kOldestRetrying}) {
        Statement row = database.prepare(sql);
        if (row.step()) {
            const QDateTime date = QDateTime::fromMSecsSinceEpoch(row.integer(0), Qt::UTC);
            oldest = oldest ? std::min(*oldest, date) : date;
        }
    }
    return oldest;
}

EntityCounts notSynced(const Ledger &ledger)
{
    return {ledger.total.studies - ledger.synced.studies,
            ledger.total.series - ledger.synced.series,
            ledger.total.images - ledger.synced.images};
}

std::int16_t computedState(const Statement &row, int firstColumn)
{
    return static_cast<std::int16_t>(stateOf({row.integer(firstColumn),
                                              row.integer(firstColumn + 1),
                                              row.integer(firstColumn + 2),
                                              row.integer(firstColumn + 3)}));
}

/// Lets texts that many rows have, such as a modality, be held once.
class RecurringTexts
{
public:
    /// The same text, shared with an earlier one where that is still known.
    QString of(QString text)
    {
        QString &known = m_known[qHash(text) % m_known.size()];
        if (known != text) {
            known = std::move(text);
        }
        return known;
    }

private:
    std::array<QString, 256> m_known;
};

LocalStudySnapshot studyAt(const Statement &row, const RowAddress &address, RecurringTexts &recurring)
{
    LocalStudySnapshot study;
    study.studyInstanceUID = row.text(1).trimmed();
    study.id = study.studyInstanceUID.isEmpty() ? address.of(row.integer(0)) : study.studyInstanceUID;
    study.patientName = row.text(2).trimmed();
    study.patientID = row.text(3).trimmed();
    study.modality = recurring.of(row.text(4).trimmed());
    study.studyDescription = recurring.of(row.text(5).trimmed());
    study.accessionNumber = row.text(6).trimmed();
    if (!row.isNull(7)) {
        study.acquisitionDate = QDateTime::fromMSecsSinceEpoch(row.integer(7), Qt::UTC);
    }
    study.syncState = computedState(row, 8);
    study.imageCount = row.integer(8);
    study.failedImageCount = row.integer(10);
    return study;
}

/// A study's place among the others: the newest first, those without a date last.
struct StudyPlace
{
    std::int64_t acquisitionDate;
    std::int64_t createDate;
    std::size_t position;

    bool operator<(const StudyPlace &other) const
    {
        return std::tie(other.acquisitionDate, other.createDate, position) <
               std::tie(acquisitionDate, createDate, other.position);
    }
};

/// A date to sort by; SQLite puts what is absent below all others, too.
std::int64_t sortKey(const Statement &row, int column)
{
    return row.isNull(column) ? std::numeric_limits<std::int64_t>::min() : row.integer(column);
}

/// Moves the studies to their places, one circle of exchanges after the other.
void arrange(QList<LocalStudySnapshot> &studies, std::vector<StudyPlace> places)
{
    const auto study = [&studies](std::size_t place) -> LocalStudySnapshot & {
        return studies[static_cast<qsizetype>(place)];
    };
    for (std::size_t first = 0; first < places.size(); ++first) {
        if (places[first].position == first) {
            continue;
        }
        LocalStudySnapshot displaced = std::move(study(first));
        std::size_t free = first;
        while (places[free].position != first) {
            const std::size_t next = std::exchange(places[free].position, free);
            study(free) = std::move(study(next));
            free = next;
        }
        study(free) = std::move(displaced);
        places[free].position = free;
    }
}

/// All studies in order. Sorted here: SQLite would write each whole row into its sorter and read it again.
QList<LocalStudySnapshot> studiesIn(Database &database)
{
    const RowAddress address(database, QStringLiteral("Study"));
    RecurringTexts recurring;
    QList<LocalStudySnapshot> studies;
    std::vector<StudyPlace> places;
    studies.reserve(ledgerIn(database).total.studies);
    places.reserve(static_cast<std::size_t>(studies.capacity()));
    Statement row = database.prepare("SELECT pk, studyInstanceUID, name, id, modality, studyName, "
                                     "accessionNumber, acquisitionDate, imageCount, syncedCount, "
                                     "failedCount, inProgressCount, createDate FROM Study "
                                     "ORDER BY pk DESC"); // nearly the order that is wanted
    while (row.step()) {
        places.push_back({sortKey(row, 7), sortKey(row, 12), places.size()});
        studies.append(studyAt(row, address, recurring));
    }
    std::sort(places.begin(), places.end());
    arrange(studies, std::move(places));
    return studies;
}

LocalSeriesSnapshot seriesAt(const Statement &row, const RowAddress &address)
{
    LocalSeriesSnapshot series;
    series.seriesInstanceUID = row.text(1).trimmed();
    series.id = series.seriesInstanceUID.isEmpty() ? address.of(row.integer(0)) : series.seriesInstanceUID;
    series.seriesNumber = row.integer(2);
    series.seriesDescription = row.text(3).trimmed();
    series.modality = row.text(4).trimmed();
    series.syncState = computedState(row, 5);
    series.imageCount = row.integer(5);
    series.seriesUID = platform::SeriesUid(row.text(9).trimmed());
    return series;
}

} // namespace

IndexCounts DicomDB::counts()
{
    backfillOnce();
    const Ledger ledger = readLedger(m_store);
    return {ledger.total, notSynced(ledger), ledger.synced.images, ledger.failedImages};
}

std::optional<IndexFigures> DicomDB::figures() const
{
    try {
        return m_store.read([](Database &database) {
            const Ledger ledger = ledgerIn(database);
            return IndexFigures{ledger.total,
                                ledger.synced.images,
                                ledger.failedImages,
                                ledger.instances,
                                oldestUnsentIn(database)};
        });
    } catch (const SqliteError &) {
        return std::nullopt;
    }
}

QList<LocalStudySnapshot> DicomDB::studySnapshots()
{
    backfillOnce();
    try {
        return m_store.read([](Database &database) { return studiesIn(database); });
    } catch (const SqliteError &) {
        return {};
    }
}

QList<LocalSeriesSnapshot> DicomDB::seriesSnapshots(const QString &identity)
{
    backfillOnce();
    QList<LocalSeriesSnapshot> list;
    try {
        m_store.read([&](Database &database) {
            const auto study = findStudy(database, identity);
            if (!study) {
                return;
            }
            const RowAddress address(database, QStringLiteral("Series"));
            Statement row = database.prepare(
                "SELECT pk, seriesInstanceUID, seriesNumber, name, modality, "
                "imageCount, syncedCount, failedCount, inProgressCount, "
                "coalesce(nullif(seriesDICOMUID, ''), originalSeriesInstanceUID) FROM Series WHERE study = ? "
                "ORDER BY coalesce(seriesNumber, 0), createDate DESC");
            row.bindAll(*study);
            while (row.step()) {
                list.append(seriesAt(row, address));
            }
        });
    } catch (const SqliteError &) {
        return {};
    }
    return list;
}

QList<QUrl> DicomDB::studyFiles(const QString &identity, int limit)
{
    QList<QUrl> files;
    try {
        m_store.read([&](Database &database) {
            Statement row = database.prepare(
                "SELECT pathString FROM Series JOIN DicomImage ON DicomImage.series = Series.pk "
                "WHERE Series.study = ? AND pathString <> '' GROUP BY pathString "
                "ORDER BY coalesce(DicomImage.syncState, 0) <> 2, min(DicomImage.pk) LIMIT ?");
            row.bindAll(findStudy(database, identity).value_or(0), limit); // no row has the key 0
            while (row.step()) {
                files.append(fileURL(row.text(0)));
            }
        });
    } catch (const SqliteError &) {
        return {};
    }
    return files;
}

} // namespace gateway::index
