// Days of a large site in a real index and file store, on a manual clock: images come, go to the cloud and
// are let go of after their days here, while screens look. What the files of the index take at the end of
// each day, and what the steps cost then.
//
//   quorin-week-bench [images a day] [days] [days that an uploaded image stays]
//
// Images are small files. Those from before the first day have rows and notes as imports and uploads would
// have left them, and an empty file where they go within these days. Ends with 1 where an image didn't take
// its way.

#include "benchmarks/sample_rows.h"
#include "index/import_recorder.h"
#include "index/index_store.h"
#include "index/parsed_object.h"
#include "index/sent_instances.h"
#include "index/testing/temporary_index.h"
#include "platform/sqlite/database.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QStringList>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <functional>
#include <thread>
#include <vector>

namespace {

using gateway::index::DicomDB;
using gateway::index::IndexStore;
using gateway::index::PendingCursor;
using gateway::index::PendingImageUpload;
using gateway::index::SentInstance;
using gateway::index::StoredFile;
using gateway::index::testing::TemporaryIndex;
using gateway::platform::Database;
using quorin::benchmarks::imageNumber;
using quorin::benchmarks::pathStringOf;
using std::chrono::hours;
using std::chrono::milliseconds;

constexpr int kHours = 24;
constexpr std::chrono::minutes kUntilUploaded{1};

// As a gateway works as installed, with parallel transfers on: a page of candidates, sent two by two.
constexpr int kPage = 8;
constexpr int kFilesOfARequest = 2;

constexpr double kMiB = 1024.0 * 1024.0;

/// Milliseconds by the clock of one kind of step.
class Times
{
public:
    void take(const std::function<void()> &step)
    {
        const auto begin = std::chrono::steady_clock::now();
        step();
        m_values.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count());
    }

    double quantile(double share) const
    {
        std::vector<double> values = m_values;
        std::sort(values.begin(), values.end());
        return values.at(static_cast<std::size_t>(share * static_cast<double>(values.size() - 1)));
    }

private:
    std::vector<double> m_values;
};

/// What one day was like.
struct Day
{
    Times import;    ///< an image
    Times upload;    ///< a page: found, marked, noted and recorded
    Times prune;     ///< an hour's
    Times snapshots; ///< of all studies
    Times buckets;   ///< of a day
    std::int64_t letGo = 0;
    double logMiB = 0; ///< the most
    double processorSeconds = 0;
};

SentInstance sent(const gateway::platform::InstanceUid &instance, std::int64_t acknowledged)
{
    constexpr std::int64_t kVersion = 1;
    return {instance, kVersion, acknowledged, QStringLiteral("1.2 1.2.3"), QStringLiteral("cloud")};
}

class Site
{
public:
    Site(std::int64_t imagesOfADay, int days, int daysKept)
        : m_imagesOfADay(imagesOfADay), m_daysKept(daysKept), m_next(imagesOfADay * daysKept)
    {
        m_home.close();
        const bool isMade = quorin::benchmarks::makeEmptyFiles(
                                m_home.fileStoreRoot(), 0, imagesOfADay * std::min(days, daysKept)) &&
                            quorin::benchmarks::makeEmptyFiles(m_home.fileStoreRoot(), m_next - 1, m_next);
        m_isSound = isMade;
        writeDaysBefore();
        m_home.reopen();
    }

    bool isSound() const { return m_isSound; }

    Day live()
    {
        Day day;
        const std::clock_t processor = std::clock();
        for (int hour = 0; hour < kHours; ++hour) {
            std::thread screens([this, &day] { look(day); });
            takeAndSend(day, (hour + 1) * m_imagesOfADay / kHours - hour * m_imagesOfADay / kHours);
            screens.join();
            day.prune.take([this, &day] { letGo(day); });
            day.logMiB = std::max(day.logMiB, size("-wal"));
            m_home.announcements(); // of the hour
        }
        day.processorSeconds = static_cast<double>(std::clock() - processor) / CLOCKS_PER_SEC;
        check(day);
        return day;
    }

    void tell(int number, const Day &day)
    {
        const double page = static_cast<double>(m_home.number(QStringLiteral("PRAGMA page_size")));
        const double free =
            static_cast<double>(m_home.number(QStringLiteral("PRAGMA freelist_count"))) * page;
        std::printf(
            "%3d %8lld %8lld %8.1f %6.2f %6.1f %7.2f (%6.1f) %7.2f (%6.1f) %7.0f (%6.0f) %6.1f (%6.1f) "
            "%6.3f (%6.3f) %6.2f\n",
            number,
            static_cast<long long>(m_home.index().counts().total.images),
            static_cast<long long>(day.letGo),
            size(""),
            free / kMiB,
            day.logMiB,
            day.import.quantile(0.5),
            day.import.quantile(1),
            day.upload.quantile(0.5),
            day.upload.quantile(1),
            day.prune.quantile(0.5),
            day.prune.quantile(1),
            day.snapshots.quantile(0.5),
            day.snapshots.quantile(1),
            day.buckets.quantile(0.5),
            day.buckets.quantile(1),
            day.processorSeconds * 1e3 / static_cast<double>(m_imagesOfADay));
        std::fflush(stdout);
    }

private:
    void writeDaysBefore()
    {
        IndexStore store(m_home.indexFile());
        constexpr std::int64_t kTogether =
            500; // in a larger part each statement takes longer: it may have to be undone
        for (std::int64_t from = 0; from < m_next; from += kTogether) {
            const auto write = [&](Database &database) {
                writeRows(database, from, std::min(from + kTogether, m_next));
            };
            store.write(write, IndexStore::Durability::withTheNext);
        }
    }

    void writeRows(Database &database, std::int64_t from, std::int64_t to) const
    {
        const std::int64_t begin = m_home.clock.now().addDays(-m_daysKept).toMSecsSinceEpoch();
        const std::int64_t sender = gateway::index::newSender();
        for (std::int64_t n = from; n < to; ++n) {
            const auto object = gateway::index::parsedObject(imageNumber(n));
            const std::int64_t came = begin + n * milliseconds(hours(kHours)).count() / m_imagesOfADay;
            gateway::index::recordImport(database, object, StoredFile{QString(), pathStringOf(n), n}, came);
            const SentInstance version = sent(object.sopInstanceUID, came * 1'000'000);
            gateway::index::noteSending(database, version, sender);
            gateway::index::noteStored(database, version);
        }
        database
            .prepare(
                "UPDATE DicomImage SET syncState = 1, uploadDate = createDate + ? WHERE pk > ? AND pk <= ?")
            .bindAll(milliseconds(kUntilUploaded).count(), from, to)
            .run();
        gateway::index::rollUpAllStates(database);
    }

    void takeAndSend(Day &day, std::int64_t images)
    {
        PendingCursor cursor;
        const std::chrono::nanoseconds pause = std::chrono::nanoseconds(hours(kHours)) / m_imagesOfADay;
        for (std::int64_t count = 1; count <= images; ++count) {
            m_home.clock.advance(pause);
            const QUrl file = m_home.file(imageNumber(m_next++));
            day.import.take([&] { m_home.index().importFile(file); });
            if (count % kPage == 0 || count == images) {
                day.upload.take([&] { upload(cursor); });
            }
        }
    }

    void upload(PendingCursor &cursor)
    {
        DicomDB &index = m_home.index();
        const auto page = index.pendingImageUploads(kPage, cursor);
        QList<gateway::index::UploadResult> results;
        for (qsizetype at = 0; page && at < page->size(); at += kFilesOfARequest) {
            QList<SentInstance> request;
            for (const PendingImageUpload &candidate : page->mid(at, kFilesOfARequest)) {
                index.markImagesInProgress(candidate.imageObjectIDs);
                request.append(sent(candidate.originalSOPInstanceUIDs.value(0), candidate.acknowledged));
                results.append({candidate.imageObjectIDs,
                                candidate.storagePath,
                                true,
                                {.version = request.last()},
                                candidate.store});
            }
            m_isSound = m_isSound && index.noteSending(request).has_value();
        }
        index.recordUploadResults(results);
    }

    /// What the windows ask for.
    void look(Day &day)
    {
        const QDateTime now = m_home.clock.now();
        day.snapshots.take([this] { m_home.index().studySnapshots(); });
        day.buckets.take([&] { m_home.index().transferBuckets(now.addDays(-1), now, hours(1), kHours); });
    }

    void letGo(Day &day)
    {
        const auto pruned = m_home.index().pruneSyncedImages(m_home.clock.now().addDays(-m_daysKept));
        day.letGo += pruned.deletedFileCount;
        m_isSound =
            m_isSound && pruned.failedImageCount == 0 && pruned.deletedFileCount == pruned.deletedImageCount;
        m_home.removals(); // of the hour
    }

    /// All that came is uploaded, and what stays is what came within the days that it is kept.
    void check(const Day &day)
    {
        const auto counts = m_home.index().counts();
        const std::int64_t kept = m_imagesOfADay * m_daysKept;
        const std::int64_t hour = m_imagesOfADay / kHours + 1;
        m_isSound = m_isSound && counts.syncedImages == counts.total.images &&
                    std::abs(counts.total.images - kept) <= hour &&
                    std::abs(day.letGo - m_imagesOfADay) <= hour;
    }

    double size(const char *suffix) const
    {
        return static_cast<double>(QFileInfo(m_home.indexFile() + QLatin1String(suffix)).size()) / kMiB;
    }

    const std::int64_t m_imagesOfADay;
    const int m_daysKept;
    std::int64_t m_next; ///< image
    bool m_isSound = false;
    TemporaryIndex m_home;
};

int argument(int at, int fallback)
{
    const QStringList arguments = QCoreApplication::arguments();
    return arguments.size() > at ? arguments[at].toInt() : fallback;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const int images = argument(1, 40'000);
    const int days = argument(2, 7);
    const int daysKept = argument(3, 30);
    if (images < kHours || days < 1 || daysKept < 1) {
        std::fprintf(stderr, "at least an image an hour, one day, and one day kept\n");
        return 2;
    }
    Site site(images, days, daysKept);
    std::printf("%d images a day, kept for %d days; median and longest in ms\n", images, daysKept);
    std::printf(
        "day     held   let go      MiB   free    log  import           upload of 8      prune of an hour "
        " snapshots       buckets         processor an image\n");
    for (int day = 1; day <= days; ++day) {
        site.tell(day, site.live());
    }
    if (!site.isSound()) {
        std::fprintf(stderr, "an image didn't take its way\n");
        return 1;
    }
    return 0;
}
