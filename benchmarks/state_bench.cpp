// What the live figures cost the main thread in a large index, while images come, and what measuring the file
// store costs.
//
//   quorin-state-bench [rows of the index] [files of the store] [seconds of receiving]

#include "index/figure_index.h"
#include "index/testing/temporary_index.h"
#include "platform/concurrency/worker_pool.h"
#include "state/gateway_app_state.h"
#include "state/storage_walker.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <functional>
#include <thread>
#include <vector>

namespace {

using gateway::index::testing::TemporaryIndex;
using gateway::platform::SystemClock;
using gateway::platform::WorkerPool;
using gateway::state::GatewayAppState;
using gateway::state::StorageWalker;
using gateway::state::TransferTimeframe;
using std::chrono::steady_clock;

constexpr int kImagesASecond = 500;

// A year of days, the widest window: rows are spread over all of it.
constexpr std::int64_t kSpan = 360LL * 24 * 60 * 60 * 1000;

double milliseconds(steady_clock::duration duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

/// Time that this thread was given by the processor: other programs don't lengthen it.
double processorMilliseconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

struct Times
{
    std::vector<double> wall;
    std::vector<double> processor;

    void take(const std::function<void()> &work)
    {
        const auto begin = steady_clock::now();
        const double processorBegin = processorMilliseconds();
        work();
        processor.push_back(processorMilliseconds() - processorBegin);
        wall.push_back(milliseconds(steady_clock::now() - begin));
    }

    static double quantile(std::vector<double> values, double share)
    {
        std::sort(values.begin(), values.end());
        return values.at(static_cast<std::size_t>(share * static_cast<double>(values.size() - 1)));
    }

    void report(const char *what) const
    {
        std::printf("%-52s %8.3f %8.3f %8.3f %8.3f %10zu\n",
                    what,
                    quantile(wall, 0.5),
                    quantile(wall, 0.99),
                    quantile(wall, 1),
                    quantile(processor, 1),
                    wall.size());
    }
};

/// Rows of one image each, a tenth of them waiting, evenly over the last year before `now`.
void fill(TemporaryIndex &home, std::int64_t rows, const QDateTime &now)
{
    home.execute(QStringLiteral("INSERT INTO Study (studyInstanceUID, unsettled) VALUES ('1', 1); "
                                "INSERT INTO Series (study, seriesInstanceUID) VALUES (1, '1')"));
    home.execute(
        QStringLiteral("WITH RECURSIVE n (i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i + 1 < %1) "
                       "INSERT INTO DicomImage (series, createDate, pathString, sopInstanceUID, frameID, "
                       "originalSOPInstanceUID, syncState, uploadDate) "
                       "SELECT 1, %2 + i * %3 / %1, '10000/' || i, i, 0, i, i % 10 <> 0, "
                       "CASE WHEN i % 10 <> 0 THEN %2 + i * %3 / %1 + 60000 END FROM n")
            .arg(rows)
            .arg(now.toMSecsSinceEpoch() - kSpan)
            .arg(kSpan));
    home.reopen();
}

class Subject
{
public:
    explicit Subject(std::int64_t rows) : m_rows(rows)
    {
        m_home.close();
        m_home.reopen();
        m_home.clock.advance(std::chrono::seconds(QDateTime::currentDateTimeUtc().toSecsSinceEpoch() -
                                                  m_home.clock.now().toSecsSinceEpoch()));
        fill(m_home, rows, m_home.clock.now());
        m_state.emplace(gateway::state::GatewayAppStateParts{
            m_home.index(), m_home.notifications, m_home.main, m_pool, m_clock, [] {
                return QTimeZone("Europe/Berlin");
            }});
    }

    void counters()
    {
        Times times;
        for (int i = 0; i < 2000; ++i) {
            times.take([this] { m_state->refreshCounters(); });
        }
        times.report("refresh the counters");
    }

    void countInPlace()
    {
        Times times;
        for (int i = 0; i < 2000; ++i) {
            times.take([this] { m_state->recordReceivedItem(); });
        }
        times.report("count a received image in place");
    }

    void rebuild(TransferTimeframe timeframe, bool widest)
    {
        m_state->setTransferTimeframe(timeframe);
        if (widest) {
            m_state->applyTransferZoom(-8000);
        }
        Times times;
        for (int i = 0; i < 200; ++i) {
            times.take([this] { m_state->refreshTransferSeries(); });
        }
        const QString what = QStringLiteral("build %1, %2 buckets")
                                 .arg(gateway::state::rawValue(timeframe))
                                 .arg(m_state->figures().transferVisibleBucketCount);
        times.report(qPrintable(what));
    }

    /// Images come from several threads, durable each, uploads of others end, and the main thread is told.
    void receive(std::chrono::seconds duration)
    {
        m_state->setTransferTimeframe(TransferTimeframe::oneDay);
        Times arrivals;
        Times uploads;
        std::atomic<bool> isOver = false;
        std::thread modality([&] {
            const auto begin = steady_clock::now();
            for (int image = 0; steady_clock::now() - begin < duration; ++image) {
                m_home.main.post([&] { arrivals.take([this] { m_state->recordReceivedItem(); }); });
                m_home.main.post([&] { arrivals.take([this] { m_state->refreshCounters(); }); });
                if (image % 10 == 0) {
                    m_home.main.post([&] {
                        uploads.take([this] {
                            m_state->refreshCounters();
                            m_state->refreshTransferSeries();
                        });
                    });
                }
                std::this_thread::sleep_until(begin +
                                              image * std::chrono::milliseconds(1000) / kImagesASecond);
            }
            isOver = true;
        });
        std::thread writer([&] {
            for (std::int64_t number = 0; !isOver; ++number) {
                m_home.index().recordUploadResult({{number % m_rows + 1}}, std::nullopt, number % 2 == 0);
            }
        });
        while (!isOver) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        }
        modality.join();
        writer.join();
        m_home.main.drain();
        arrivals.report("at 500 images/s: told of a received image");
        uploads.report("at 500 images/s: told of an upload's end");
    }

private:
    const std::int64_t m_rows;
    TemporaryIndex m_home;
    WorkerPool m_pool{QStringLiteral("bench"), 1};
    SystemClock m_clock;
    std::optional<GatewayAppState> m_state;
};

void writeEmpty(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        std::fprintf(stderr, "can't write %s\n", qPrintable(path));
        std::exit(1);
    }
}

void walks(int files)
{
    constexpr int kFilesOfABucket = 10'000;
    const QTemporaryDir root;
    for (int i = 0; i < files; ++i) {
        const QString bucket = root.filePath(QString::number((i / kFilesOfABucket + 1) * kFilesOfABucket));
        if (i % kFilesOfABucket == 0) {
            QDir().mkpath(bucket);
        }
        writeEmpty(bucket + QStringLiteral("/%1.dcm").arg(i));
    }
    std::this_thread::sleep_for(std::chrono::seconds(3)); // no folder is young any more
    SystemClock clock;
    StorageWalker walker(clock);
    const auto walk = [&](const char *what) {
        Times times;
        times.take([&] { walker.usedBytes(root.path(), std::stop_token()); });
        times.report(what);
    };
    walk("walk over the file store, the first one");
    walk("walk, nothing has changed");
    writeEmpty(root.filePath(QStringLiteral("%1/new.dcm").arg(kFilesOfABucket)));
    walk("walk, a full bucket has changed after a rest");
    writeEmpty(root.filePath(QStringLiteral("%1/newer.dcm").arg(kFilesOfABucket)));
    walk("walk, the same bucket has changed again");
}

std::int64_t argument(int at, std::int64_t fallback)
{
    const QStringList arguments = QCoreApplication::arguments();
    return arguments.size() > at ? arguments[at].toLongLong() : fallback;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    std::printf(
        "%-52s %8s %8s %8s %8s %10s\n", "milliseconds", "median", "p99", "longest", "of cpu", "times");
    walks(static_cast<int>(argument(2, 1'000'000)));

    Subject subject(argument(1, 1'000'000));
    subject.counters();
    subject.countInPlace();
    for (const TransferTimeframe timeframe : gateway::state::kTransferTimeframes) {
        subject.rebuild(timeframe, false);
        subject.rebuild(timeframe, true);
    }
    subject.receive(std::chrono::seconds(argument(3, 10)));
    return 0;
}
