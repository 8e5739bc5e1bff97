#include "log/browsing/gateway_logs_view_model.h"

#include "log/browsing/testing/log_folder.h"
#include "platform/concurrency/testing/manual_clock.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/defaults/user_defaults.h"
#include "platform/files/file_error.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

namespace gateway::log {

namespace {

using std::chrono::milliseconds;
using testing::eventAt;

const QString kName = QStringLiteral("gateway-transfer-20260102-080000-AAAAAAAA.jsonl");

/// A manual clock that tells how often somebody began to sleep and for how long, and how often woke.
class WatchedClock final : public platform::Clock
{
public:
    explicit WatchedClock(platform::Clock &clock) : m_clock(clock) {}

    QDateTime now() const override { return m_clock.now(); }
    std::chrono::nanoseconds monotonic() const override { return m_clock.monotonic(); }

    bool sleep(std::chrono::nanoseconds duration, std::stop_token stop) override
    {
        lastDuration = duration;
        ++begun;
        const bool sleptThrough = m_clock.sleep(duration, std::move(stop));
        ++ended;
        return sleptThrough;
    }

    void wakeAfter(std::chrono::nanoseconds duration,
                   const std::stop_token &stop,
                   platform::WakeUp::Tell tell) override
    {
        lastDuration = duration;
        ++begun;
        m_clock.wakeAfter(duration, stop, [this, tell = std::move(tell)](bool sleptThrough) {
            ++ended;
            tell(sleptThrough);
        });
    }

    std::atomic<std::chrono::nanoseconds> lastDuration = {};
    std::atomic<int> begun = 0;
    std::atomic<int> ended = 0;

private:
    platform::Clock &m_clock;
};

class GatewayLogs : public ::testing::Test
{
protected:
    GatewayLogs() { makeModel(folder.path()); }

    void makeModel(const QString &directory)
    {
        model.reset();
        model = std::make_unique<GatewayLogsViewModel>(GatewayLogsParts{defaults, main, pool, watchedClock},
                                                       directory);
        QObject::connect(model.get(), &GatewayLogsViewModel::changed, model.get(), [this] { noteChange(); });
        QObject::connect(
            model.get(), &GatewayLogsViewModel::filteredRowsChanged, model.get(), [this] { ++lists; });
    }

    /// Counts the reads that have begun.
    void noteChange()
    {
        EXPECT_TRUE(main.isCurrent());
        reads += model->isLoading() && !wasLoading ? 1 : 0;
        wasLoading = model->isLoading();
    }

    template <typename Condition>
    void runUntil(Condition condition)
    {
        while (!condition()) {
            QCoreApplication::processEvents();
            std::this_thread::yield();
        }
    }

    void finishReading()
    {
        runUntil([this] { return !model->isLoading(); });
    }

    void refresh()
    {
        model->refresh();
        finishReading();
    }

    /// Runs until the timer sleeps for the `count`th time, and nobody else does.
    void reachSleep(int count)
    {
        runUntil([&] { return watchedClock.begun == count && watchedClock.ended == count - 1; });
        clock.waitForSleepers(1);
    }

    /// Deletes everything; gives the message of what was thrown, or nothing.
    QString deleteAllLogs()
    {
        QString thrown;
        bool isDone = false;
        const auto deletion = [](GatewayLogsViewModel &of, QString &message, bool &done) -> QCoro::Task<> {
            try {
                co_await of.deleteAllLogs();
            } catch (const platform::FileError &error) {
                message = error.message();
            }
            done = true;
        };
        auto task = deletion(*model, thrown, isDone);
        runUntil([&isDone] { return isDone; });
        return thrown;
    }

    /// Keeps every thread of the pool until `release`.
    void holdPool()
    {
        for (int thread = 0; thread < pool.width(); ++thread) {
            pool.run([gate = gateOpen] { gate.wait(); });
        }
    }

    void releasePool() { gate.set_value(); }

    testing::LogFolder folder;
    QTemporaryDir home;
    platform::UserDefaults defaults{home.filePath(QStringLiteral("defaults.sqlite"))};
    platform::MainExecutor main;
    std::promise<void> gate;
    std::shared_future<void> gateOpen = gate.get_future().share();
    platform::WorkerPool pool{QStringLiteral("test"), 1};
    platform::testing::ManualClock clock;
    WatchedClock watchedClock{clock};
    int reads = 0;
    int lists = 0;
    bool wasLoading = false;
    std::unique_ptr<GatewayLogsViewModel> model;
};

} // namespace

TEST_F(GatewayLogs, StartEmptyAndUnfiltered)
{
    EXPECT_EQ(model->searchText(), QString());
    EXPECT_EQ(model->levelFilter(), LevelFilter::all);
    EXPECT_EQ(model->categoryFilter(), CategoryFilter::all);
    EXPECT_EQ(model->rows()->count(), 0);
    EXPECT_FALSE(model->isLoading());
    EXPECT_FALSE(model->loadErrorMessage());
    EXPECT_FALSE(model->lastRefreshDate());
    EXPECT_FALSE(model->isAutoRefreshEnabled());
}

TEST_F(GatewayLogs, WithoutALogDirectoryAreAnEmptyListWithARefreshDateAndNoError)
{
    makeModel(folder.filePath(QStringLiteral("missing")));

    refresh();

    EXPECT_EQ(model->rows()->count(), 0);
    EXPECT_EQ(model->lastRefreshDate(), clock.now());
    EXPECT_FALSE(model->loadErrorMessage());
}

TEST_F(GatewayLogs, TellOfAFolderThatCannotBeListedAndKeepTheirRows)
{
    folder.append(kName, eventAt(1));
    refresh();
    const auto before = model->lastRefreshDate();
    clock.advance(std::chrono::seconds(5));
    ASSERT_TRUE(QDir(folder.path()).removeRecursively());
    QFile file(folder.path());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));

    refresh();

    EXPECT_EQ(model->loadErrorMessage(), u"Could not list the log folder: Not a directory"_qs);
    EXPECT_EQ(model->rows()->count(), 1);
    EXPECT_EQ(model->lastRefreshDate(), before);
}

TEST_F(GatewayLogs, ClearTheirErrorWhenAReadBegins)
{
    makeModel(folder.filePath(QStringLiteral("file")));
    folder.append(QStringLiteral("file"), QByteArray("x"));
    refresh();
    ASSERT_TRUE(model->loadErrorMessage());

    model->refresh();

    EXPECT_TRUE(model->isLoading());
    EXPECT_FALSE(model->loadErrorMessage());
    finishReading();
}

TEST_F(GatewayLogs, StartNoReadWhileOneIsUnderWay)
{
    holdPool();
    model->refresh();
    model->refresh();
    EXPECT_EQ(reads, 1);

    releasePool();
    finishReading();

    EXPECT_EQ(reads, 1);
}

TEST_F(GatewayLogs, TellOfANewListOnlyWhenThereIsOne)
{
    folder.append(kName, eventAt(1));
    refresh();
    EXPECT_EQ(lists, 1);

    refresh();
    EXPECT_EQ(lists, 1);

    folder.append(kName, eventAt(2));
    refresh();
    EXPECT_EQ(lists, 2);
}

TEST_F(GatewayLogs, FilterTheirRowsByAllThreeFields)
{
    GatewayLogEvent event = eventAt(1);
    event.level = GatewayLogLevel::warning;
    event.category = GatewayLogCategory::send;
    event.fileHash = u"00ff"_qs;
    folder.append(kName, event);
    folder.append(kName, eventAt(2));
    refresh();
    EXPECT_EQ(model->filteredRows().count(), 2);

    model->setLevelFilter(LevelFilter::warning);
    model->setCategoryFilter(CategoryFilter::send);
    model->setSearchText(u" 00FF "_qs);

    ASSERT_EQ(model->filteredRows().count(), 1);
    LogRowReader reader(model->rows());
    const std::optional<GatewayLogsViewModel::LogRow> row = reader.row(model->filteredRows().position(0));
    EXPECT_EQ(row->event, event);
    EXPECT_EQ(lists, 4);
}

TEST_F(GatewayLogs, RememberTheirFilters)
{
    model->setSearchText(u"Hash "_qs);
    model->setLevelFilter(LevelFilter::error);
    model->setCategoryFilter(CategoryFilter::uploadQueue);
    EXPECT_EQ(defaults.object(u"QuorinGateway.logs.searchText"_qs), QVariant(u"Hash "_qs));
    EXPECT_EQ(defaults.object(u"QuorinGateway.logs.levelFilter"_qs), QVariant(u"error"_qs));
    EXPECT_EQ(defaults.object(u"QuorinGateway.logs.categoryFilter"_qs), QVariant(u"uploadQueue"_qs));

    makeModel(folder.path());

    EXPECT_EQ(model->searchText(), u"Hash "_qs);
    EXPECT_EQ(model->levelFilter(), LevelFilter::error);
    EXPECT_EQ(model->categoryFilter(), CategoryFilter::uploadQueue);
}

TEST_F(GatewayLogs, ShowTheLifeOfAnImageInPlaceOfTheFiltersUntilTheyComeBack)
{
    GatewayLogEvent sent = eventAt(1);
    sent.fileHash = QStringLiteral("0123456789abcdef");
    folder.append(kName, sent);
    folder.append(kName, eventAt(2));
    refresh();
    model->setLevelFilter(LevelFilter::error);
    ASSERT_EQ(model->filteredRows().count(), 0);
    const int before = lists;

    model->setImageHashes({*sent.fileHash});

    EXPECT_EQ(lists, before + 1);
    EXPECT_EQ(model->imageHashes(), QStringList(*sent.fileHash));
    EXPECT_EQ(model->filteredRows().positions, std::vector<quint32>{1});
    makeModel(folder.path());
    EXPECT_EQ(model->imageHashes(), QStringList()) << "a look at one image isn't kept for the next launch";
    EXPECT_EQ(model->levelFilter(), LevelFilter::error);
}

TEST_F(GatewayLogs, FallBackToAllForAPersistedLevelFilterWithAnUnknownRawValue)
{
    defaults.setObject(u"QuorinGateway.logs.levelFilter"_qs, u"loud"_qs);
    defaults.setObject(u"QuorinGateway.logs.categoryFilter"_qs, u"updater"_qs);
    defaults.setObject(u"QuorinGateway.logs.searchText"_qs, 7);

    makeModel(folder.path());

    EXPECT_EQ(model->levelFilter(), LevelFilter::all);
    EXPECT_EQ(model->categoryFilter(), CategoryFilter::all);
    EXPECT_EQ(model->searchText(), QString());
}

TEST_F(GatewayLogs, AreReadAtOnceAndThenAtEachTickOfTheTimer)
{
    model->startAutoRefresh(std::chrono::seconds(3));
    EXPECT_TRUE(model->isAutoRefreshEnabled());
    EXPECT_EQ(reads, 1);
    finishReading();
    reachSleep(1);

    folder.append(kName, eventAt(1));
    clock.advance(std::chrono::seconds(3));
    reachSleep(2);
    finishReading();

    EXPECT_EQ(reads, 2);
    EXPECT_EQ(model->rows()->count(), 1);
}

TEST_F(GatewayLogs, TickOnceASecondForAnIntervalOfAFifthOfOne)
{
    model->startAutoRefresh(milliseconds(200));
    finishReading();
    reachSleep(1);
    EXPECT_EQ(watchedClock.lastDuration.load(), std::chrono::seconds(1));
    clock.advance(milliseconds(999));
    main.drain();
    EXPECT_EQ(reads, 1);
    EXPECT_EQ(watchedClock.ended, 0);

    clock.advance(milliseconds(1));
    reachSleep(2);

    EXPECT_EQ(reads, 2);
}

TEST_F(GatewayLogs, DropATickThatFallsIntoARead)
{
    holdPool();
    model->startAutoRefresh(std::chrono::seconds(3));
    reachSleep(1);
    clock.advance(std::chrono::seconds(3));
    reachSleep(2);
    EXPECT_EQ(reads, 1);

    releasePool();
    finishReading();

    EXPECT_EQ(reads, 1);
}

TEST_F(GatewayLogs, AreReadNoMoreWhenTheTimerHasStopped)
{
    model->startAutoRefresh(std::chrono::seconds(3));
    finishReading();
    reachSleep(1);

    model->stopAutoRefresh();
    runUntil([this] { return watchedClock.ended == 1; });
    clock.advance(std::chrono::seconds(30));
    main.drain();

    EXPECT_FALSE(model->isAutoRefreshEnabled());
    EXPECT_EQ(reads, 1);
    EXPECT_EQ(watchedClock.begun, 1);
}

TEST_F(GatewayLogs, HaveOneTimerHoweverOftenItIsStarted)
{
    model->startAutoRefresh(std::chrono::seconds(3));
    finishReading();
    reachSleep(1);
    model->startAutoRefresh(std::chrono::seconds(5));
    finishReading();
    EXPECT_EQ(reads, 2);
    reachSleep(2);
    clock.advance(std::chrono::seconds(4));
    main.drain();
    EXPECT_EQ(reads, 2);

    clock.advance(std::chrono::seconds(1));
    reachSleep(3);

    EXPECT_EQ(reads, 3);
}

TEST_F(GatewayLogs, FinishAReadThatIsUnderWayWhenTheTimerStops)
{
    folder.append(kName, eventAt(1));
    holdPool();
    model->startAutoRefresh(std::chrono::seconds(3));

    model->stopAutoRefresh();
    releasePool();
    finishReading();

    EXPECT_EQ(model->rows()->count(), 1);
}

TEST_F(GatewayLogs, EndTheirTimerWhenTheyGo)
{
    model->startAutoRefresh(std::chrono::seconds(3));

    model.reset();

    EXPECT_EQ(reads, 1);
}

TEST_F(GatewayLogs, AreDeletedWithTheirFilesAndNothingElse)
{
    folder.append(kName, eventAt(1));
    folder.append(u"CAPITALS.JSONL"_qs, eventAt(2));
    folder.append(u"notes.txt"_qs, QByteArray("x"));
    refresh();
    clock.advance(std::chrono::seconds(5));

    EXPECT_EQ(deleteAllLogs(), QString());

    EXPECT_EQ(folder.names(), QStringList{u"notes.txt"_qs});
    EXPECT_EQ(model->rows()->count(), 0);
    EXPECT_EQ(model->lastRefreshDate(), clock.now());
    EXPECT_EQ(lists, 2);
}

TEST_F(GatewayLogs, AreClearedByADeletionWithoutALogDirectory)
{
    folder.append(kName, eventAt(1));
    refresh();
    ASSERT_TRUE(QDir(folder.path()).removeRecursively());

    EXPECT_EQ(deleteAllLogs(), QString());

    EXPECT_EQ(model->rows()->count(), 0);
    EXPECT_FALSE(model->loadErrorMessage());
}

TEST_F(GatewayLogs, KeepTheirRowsAndTellWhyWhenADeletionFails)
{
    folder.append(kName, eventAt(1));
    refresh();
    ASSERT_TRUE(QDir(folder.path()).removeRecursively());
    QFile file(folder.path());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));

    const QString message = deleteAllLogs();

    EXPECT_EQ(message, u"Could not list the log folder: Not a directory"_qs);
    EXPECT_EQ(model->loadErrorMessage(), message);
    EXPECT_EQ(model->rows()->count(), 1);
}

TEST_F(GatewayLogs, DoNotComeBackThroughAReadThatBeganBeforeTheirDeletion)
{
    folder.append(kName, eventAt(1));
    holdPool();
    model->refresh(); // waits behind the gate, then reads, then the deletion runs
    auto deletion = model->deleteAllLogs();
    releasePool();
    runUntil([&] { return deletion.isReady(); });
    finishReading();

    EXPECT_EQ(model->rows()->count(), 0);
    EXPECT_EQ(folder.names(), QStringList());
}

} // namespace gateway::log
