// What an import, a roll-up, the counters and the next page of candidates cost in a small and in a large
// index, taken in turns on the same machine, so that the ratio means something where the times don't.
//
//   quorin-index-bench [small rows] [large rows] [rounds]
//   quorin-index-bench --prune ROWS          how long imports wait while all that is uploaded is let go of
//   quorin-index-bench --migrate ROWS        what bringing an index of version 2 up to date takes
//   quorin-index-bench --make ROWS HOME      only writes the index of a gateway's home

#include "benchmarks/sample_rows.h"
#include "core/home_layout.h"
#include "index/import_recorder.h"
#include "index/index_store.h"
#include "index/parsed_object.h"
#include "index/schema_version_1.h"
#include "index/schema_version_2.h"
#include "index/testing/temporary_index.h"
#include "platform/sqlite/database.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using gateway::index::DicomDB;
using gateway::index::IndexStore;
using gateway::index::LocalPruneResult;
using gateway::index::PendingCursor;
using gateway::index::PendingImageUpload;
using gateway::index::StoredFile;
using gateway::index::testing::TemporaryIndex;
using gateway::platform::Database;
using quorin::benchmarks::imageNumber;
using quorin::benchmarks::pathStringOf;

constexpr std::int64_t kImagesOfASeries = 250;

// The latest tenth waits, the rest is uploaded, as in a site with a backlog.
constexpr std::int64_t kWaitingShare = 10;

/// Writes rows as imports and uploads until `now` would have left them, and makes the last one's file,
/// without whose folder the store would count as out of sight.
void fill(const QString &indexFile, const QString &fileStoreRoot, std::int64_t rows, const QDateTime &now)
{
    quorin::benchmarks::makeEmptyFiles(fileStoreRoot, rows - 1, rows);
    IndexStore store(indexFile);
    constexpr std::int64_t kTogether =
        500; // in a larger part each statement takes longer: it may have to be undone
    const std::int64_t start = now.toMSecsSinceEpoch() - 5 * rows;
    for (std::int64_t from = 0; from < rows; from += kTogether) {
        const auto write = [&](Database &database) {
            for (std::int64_t n = from; n < std::min(from + kTogether, rows); ++n) {
                const StoredFile file{QString(), pathStringOf(n), n};
                gateway::index::recordImport(
                    database, gateway::index::parsedObject(imageNumber(n)), file, start + 5 * n);
            }
            database
                .prepare("UPDATE DicomImage SET syncState = 1, uploadDate = createDate + 60000 "
                         "WHERE pk > ? AND pk <= ?")
                .bindAll(from, rows - rows / kWaitingShare)
                .run();
            gateway::index::rollUpAllStates(database);
        };
        store.write(write, IndexStore::Durability::withTheNext);
    }
}

/// An index with some rows, on which operations are timed.
class Subject
{
public:
    explicit Subject(std::int64_t rows) : m_next(rows)
    {
        m_home.close();
        fill(m_home.indexFile(), m_home.fileStoreRoot(), rows, m_home.clock.now());
        const auto start = std::chrono::steady_clock::now();
        m_home.reopen();
        m_openingTime = std::chrono::steady_clock::now() - start;
    }

    double openingMilliseconds() const
    {
        return std::chrono::duration<double, std::milli>(m_openingTime).count();
    }
    DicomDB &index() { return m_home.index(); }

    void prepareFile() { m_file = m_home.file(imageNumber(m_next++)); }

    void importFile()
    {
        m_home.index().importFile(m_file);
        m_home.clock.advance(std::chrono::milliseconds(5));
    }

    void choose() { m_candidate = m_home.index().pendingImageUploads(1, m_cursor).value().value(0); }

    void rollUp()
    {
        m_home.index().markImagesInProgress(m_candidate.imageObjectIDs);
        m_home.index().recordUploadResult(m_candidate.imageObjectIDs, m_candidate.storagePath, false);
    }

    void nextPage() { m_home.index().pendingImageUploads(8, m_pageCursor); }

    void counters() { m_home.index().counts(); }

    void buckets()
    {
        const QDateTime now = m_home.clock.now();
        m_home.index().transferBuckets(now.addDays(-1), now, std::chrono::hours(1), 24);
    }

    void makeFiles(std::int64_t rows) const
    {
        quorin::benchmarks::makeEmptyFiles(m_home.fileStoreRoot(), 0, rows);
    }

    LocalPruneResult prune() { return m_home.index().pruneSyncedImages(m_home.clock.now().addDays(1)); }

private:
    std::int64_t m_next;
    TemporaryIndex m_home;
    QUrl m_file;
    PendingImageUpload m_candidate;
    PendingCursor m_cursor;
    PendingCursor m_pageCursor;
    std::chrono::nanoseconds m_openingTime{};
};

double median(std::vector<double> values)
{
    std::nth_element(
        values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

double mean(const std::vector<double> &values)
{
    double sum = 0;
    for (const double value : values) {
        sum += value;
    }
    return sum / static_cast<double>(values.size());
}

/// Microseconds of each round, by subject.
using Times = std::vector<std::vector<double>>;

Times takeTurns(const std::vector<std::unique_ptr<Subject>> &subjects,
                int rounds,
                const std::function<void(Subject &)> &prepare,
                const std::function<void(Subject &)> &operation)
{
    Times times(subjects.size());
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t i = 0; i < subjects.size(); ++i) {
            prepare(*subjects[i]);
            const auto start = std::chrono::steady_clock::now();
            operation(*subjects[i]);
            const std::chrono::duration<double, std::micro> took = std::chrono::steady_clock::now() - start;
            times[i].push_back(took.count());
        }
    }
    return times;
}

void report(const char *name, const Times &times)
{
    const double small = median(times[0]);
    const double large = median(times[1]);
    std::printf("%-34s %11.1f %11.1f %8.2f %11.1f %11.1f %8.2f\n",
                name,
                small,
                large,
                large / small,
                mean(times[0]),
                mean(times[1]),
                mean(times[1]) / mean(times[0]));
}

void reportImports(const char *when, std::vector<double> milliseconds)
{
    const double middle = median(milliseconds);
    std::sort(milliseconds.begin(), milliseconds.end());
    const auto hundredth = static_cast<std::ptrdiff_t>(milliseconds.size() / 100);
    std::printf("%s: %zu imports, ms: median %.1f, p99 %.1f, longest %.1f\n",
                when,
                milliseconds.size(),
                middle,
                *(milliseconds.end() - 1 - hundredth),
                milliseconds.back());
}

/// How long imports wait while everything that is uploaded is let go of.
void reportPrune(std::int64_t rows)
{
    constexpr int kRounds = 300;
    Subject subject(rows);
    subject.makeFiles(rows);
    std::vector<double> alone;
    std::vector<double> beside;
    const auto importOne = [&](std::vector<double> &times) {
        subject.prepareFile();
        const auto start = std::chrono::steady_clock::now();
        subject.importFile();
        const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
        times.push_back(took.count());
    };
    for (int round = 0; round < kRounds; ++round) {
        importOne(alone);
    }
    std::atomic<bool> isPruning = true;
    LocalPruneResult result;
    const auto start = std::chrono::steady_clock::now();
    std::thread pruner([&] {
        result = subject.prune();
        isPruning = false;
    });
    do {
        importOne(beside);
    } while (isPruning);
    pruner.join();
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    std::printf("prune of %lld rows and %lld files beside an importer: %.1f s\n",
                static_cast<long long>(result.deletedImageCount),
                static_cast<long long>(result.deletedFileCount),
                took.count());
    reportImports("without a prune", std::move(alone));
    reportImports("during the prune", std::move(beside));
}

/// What a screen with very many studies waits for.
void reportStudySnapshots()
{
    constexpr int kStudies = 100'000;
    TemporaryIndex home;
    home.execute(
        QStringLiteral("WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1) "
                       "INSERT INTO Study (createDate, acquisitionDate, name, id, modality, studyName, "
                       "accessionNumber, studyInstanceUID, syncState, unsettled) "
                       "SELECT i, i * 7919 % 100003, 'Doe^Jane' || i, 'P' || i, 'CT', "
                       "'Thorax with contrast', 'A' || i, '1.2.840.99999.1.' || i, 0, 0 FROM n")
            .arg(kStudies));
    std::vector<double> milliseconds;
    for (int round = 0; round < 5; ++round) {
        const auto start = std::chrono::steady_clock::now();
        const auto studies = home.index().studySnapshots();
        const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
        milliseconds.push_back(studies.size() == kStudies ? took.count() : -1);
    }
    std::printf("snapshots of %d studies: %.1f ms\n", kStudies, median(milliseconds));
}

/// An index as version 2 of the schema kept it: CT studies, the latest tenth of which waits.
void fillVersion2(const QString &path, std::int64_t rows)
{
    using namespace gateway::index;
    Database database = Database::open(path, Database::Access::readWrite);
    database.useDurableWriteAheadLog();
    database.exec("BEGIN");
    database.exec(kSchemaVersion1);
    database.exec(kSchemaVersion2);
    database.exec("INSERT INTO Ledger (pk, storeIdentity) VALUES (1, 'A'); "
                  "PRAGMA application_id = 1363626328; PRAGMA user_version = 2"); // "QGIX"
    const std::string last = std::to_string(rows - 1);
    const std::string ofASeries = std::to_string(kImagesOfASeries);
    const std::string numbers =
        "WITH RECURSIVE n (i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < " + last;
    database.exec(
        (numbers + " / " + ofASeries +
         ") INSERT INTO Study (pk, createDate, name, studyInstanceUID, studyName, modality) SELECT i + 1, 0, "
         "'Doe^Jane' || i, '1.2.840.99999.1.' || i, 'Thorax with contrast', 'CT' FROM n")
            .c_str());
    database.exec((numbers + " / " + ofASeries +
                   ") INSERT INTO Series (study, seriesInstanceUID, name, modality) SELECT i + 1, "
                   "'1.2.840.99999.2.' || i, 'Axial 1 mm', 'CT' FROM n")
                      .c_str());
    database.exec(
        (numbers +
         ") INSERT INTO DicomImage (series, createDate, fileExtension, fileType, frameID, height, width, "
         "instanceNumber, modality, numberOfFrames, numberOfSeries, pathString, seriesInstanceUID, "
         "sopInstanceUID, originalSOPInstanceUID, syncState, uploadDate) SELECT i / " +
         ofASeries + " + 1, 1700000000000 + i * 1000, 'dcm', 'dicom', 0, 512, 512, i % " + ofASeries +
         ", 'CT', 1, 1, (i / 10000 + 1) * 10000 || '/' || i || '.dcm', '1.2.840.99999.2.' || i / " +
         ofASeries + ", '1.2.840.99999.3.' || i || '0', '1.2.840.99999.3.' || i, i * 10 < 9 * " +
         std::to_string(rows) + ", CASE WHEN i * 10 < 9 * " + std::to_string(rows) +
         " THEN 1700000000000 + i * 1000 END FROM n")
            .c_str());
    database.exec("COMMIT; PRAGMA wal_checkpoint(TRUNCATE)");
}

/// How long bringing an index of version 2 up to date takes with the copy that is kept of it, and how much
/// more room it needs meanwhile.
void reportMigration(std::int64_t rows)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("index.sqlite"));
    fillVersion2(path, rows);
    const qint64 before = QFileInfo(path).size();
    std::atomic<bool> isDone = false;
    qint64 most = before;
    std::thread watch([&] {
        while (!isDone) {
            most = std::max(most, QFileInfo(path).size() + QFileInfo(path + QStringLiteral("-wal")).size());
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    });
    const std::clock_t processor = std::clock();
    const auto start = std::chrono::steady_clock::now();
    qint64 copied = 0;
    {
        const IndexStore index(path);
        copied = QFileInfo(index.former().path().value_or(QString())).size();
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    const double spent = static_cast<double>(std::clock() - processor) / CLOCKS_PER_SEC;
    isDone = true;
    watch.join();
    constexpr double kMiB = 1024.0 * 1024.0;
    std::printf("migration of %lld rows: %.1f s, %.1f s of processor; %.0f MiB before, %.0f behind, %.0f "
                "more meanwhile, and %.0f of a copy\n",
                static_cast<long long>(rows),
                took.count(),
                spent,
                static_cast<double>(before) / kMiB,
                static_cast<double>(QFileInfo(path).size()) / kMiB,
                static_cast<double>(most - before) / kMiB,
                static_cast<double>(copied) / kMiB);
}

std::int64_t argument(const QStringList &arguments, int at, std::int64_t fallback)
{
    return arguments.size() > at ? arguments[at].toLongLong() : fallback;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QStringLiteral("--make")) {
        const auto layout = gateway::core::homeLayout(arguments.value(3), {});
        fill(layout.indexFile, layout.fileStore, argument(arguments, 2, 0), QDateTime::currentDateTimeUtc());
        return 0;
    }
    if (arguments.value(1) == QStringLiteral("--prune")) {
        reportPrune(argument(arguments, 2, 1'000'000));
        return 0;
    }
    if (arguments.value(1) == QStringLiteral("--migrate")) {
        reportMigration(argument(arguments, 2, 1'000'000));
        return 0;
    }
    const auto rounds = static_cast<int>(argument(arguments, 3, 1000));
    std::vector<std::unique_ptr<Subject>> subjects;
    for (const std::int64_t rows : {argument(arguments, 1, 10'000), argument(arguments, 2, 1'000'000)}) {
        subjects.push_back(std::make_unique<Subject>(rows));
        std::printf("%lld rows: opened in %.1f ms\n",
                    static_cast<long long>(rows),
                    subjects.back()->openingMilliseconds());
    }
    std::printf("%-34s %11s %11s %8s %11s %11s %8s\n",
                "microseconds",
                "median",
                "median",
                "ratio",
                "mean",
                "mean",
                "ratio");

    const auto nothing = [](Subject &) {};
    report("import, durable", takeTurns(subjects, rounds, &Subject::prepareFile, &Subject::importFile));
    report("mark and result of a candidate", takeTurns(subjects, rounds, &Subject::choose, &Subject::rollUp));
    report("next page of 8 candidates", takeTurns(subjects, rounds / 5, nothing, &Subject::nextPage));
    report("all counters", takeTurns(subjects, rounds, nothing, &Subject::counters));
    report("transfer buckets of a day", takeTurns(subjects, rounds, nothing, &Subject::buckets));
    reportStudySnapshots();
    return 0;
}
