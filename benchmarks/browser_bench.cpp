#include "browser/quorin_gateway_local_study_row.h"
#include "core/notification_names.h"
#include "index/testing/temporary_index.h"
#include "platform/concurrency/worker_pool.h"
#include "shell/browser/browser_panel.h"
#include "shell/browser/browser_table_view.h"
#include "shell/browser/local_studies_screen.h"
#include "shell/browser/table_keeper.h"
#include "shell/testing/themed_window.h"

#include <chrono>
#include <cstdio>
#include <ctime>

// What the window of the local studies costs with 100,000 of them: opened until the rows are painted,
// searched, sorted, and loaded anew while it follows an upload; with nothing selected, with all, and with
// some rows that lie apart. Times are of the processor, until the event loop rests again.

namespace {

using namespace gateway;
using browser::QuorinGatewayLocalStudyRow;

constexpr int kStudies = 100'000;

void fill(index::testing::TemporaryIndex &store)
{
    store.index().studySnapshots(); // what is done once is done
    store.execute(
        QStringLiteral("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1) "
                       "INSERT INTO Study (studyInstanceUID, name, id, modality, studyName, "
                       "accessionNumber, acquisitionDate, createDate) "
                       "SELECT '1.2.826.0.1.3680043.10.' || i, 'Patient^' || (i * 7919 % 100003), "
                       "'PID-' || i, 'CT', 'Study of a part ' || (i % 97), 'A' || (i * 31 % 100003), "
                       "1700000000000 + i * 60000, 1700000000000 + i FROM n")
            .arg(kStudies));
}

double processorMilliseconds()
{
    timespec spent = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &spent);
    return static_cast<double>(spent.tv_sec) * 1e3 + static_cast<double>(spent.tv_nsec) / 1e6;
}

/// Runs the event loop until `isReached`, and says how long that took.
template <typename Condition>
double millisecondsUntil(double start, Condition isReached)
{
    while (!isReached()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    QCoreApplication::processEvents();
    return processorMilliseconds() - start;
}

/// Does something on the main thread, and says how long it took until it was painted.
template <typename Work>
double milliseconds(QWidget &window, Work work)
{
    const double start = processorMilliseconds();
    work();
    window.grab();
    return processorMilliseconds() - start;
}

template <typename Work>
void measure(shell::LocalStudiesScreen &screen, const QByteArray &what, Work work)
{
    std::printf("%s: %.0f ms\n", what.constData(), milliseconds(screen, work));
}

/// \param state  behind what is printed, a comma first.
void measureSearchesAndSortings(shell::LocalStudiesScreen &screen, const QByteArray &state)
{
    auto &table = screen.table();
    for (const char *text : {"p", "patient^77", "a part 12", "nobody"}) {
        const QByteArray search = "search " + QByteArray(text) + state;
        measure(screen, search, [&] { table.setSearchText(QString::fromLatin1(text)); });
        measure(screen, search + ", left", [&] { table.setSearchText({}); });
    }
    for (const int column : {QuorinGatewayLocalStudyRow::patientNameColumn,
                             QuorinGatewayLocalStudyRow::accessionColumn,
                             QuorinGatewayLocalStudyRow::dateColumn}) {
        measure(screen, "sort by column " + QByteArray::number(column) + state, [&] {
            table.setSortOrder({column, true});
        });
    }
}

/// Selects the studies of one description, which lie apart from each other.
void selectSome(shell::LocalStudiesScreen &screen)
{
    auto &table = screen.table();
    table.setSelectedIDs({});
    table.setSearchText(QStringLiteral("a part 12"));
    screen.panel().view().selectAll();
    table.setSearchText({});
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    shell::Theme theme;
    theme.setReducedMotion(true);
    theme.applyTo(application);
    index::testing::TemporaryIndex store;
    fill(store);
    platform::WorkerPool pool(QStringLiteral("global"), 12);
    shell::TableKeeper keeper(store.main);

    const double start = processorMilliseconds();
    shell::LocalStudiesScreen screen({theme,
                                      store.defaults,
                                      store.main,
                                      pool,
                                      keeper,
                                      [](QWidget *, const QString &) { return QString(); }},
                                     {{store.index(),
                                       store.index().failedUploads(),
                                       store.notifications,
                                       {store.main, pool, store.clock},
                                       [] {}},
                                      [](const QString &) {},
                                      [](const QString &) { return true; },
                                      [](const QStringList &) {}});
    screen.resize(1200, 700);
    screen.show();
    auto &table = screen.table();
    std::printf("open: %.0f ms\n", millisecondsUntil(start, [&] { return !table.isLoading(); }));
    if (table.shown().size() != kStudies) {
        std::fprintf(stderr, "%zu rows are shown\n", table.shown().size());
        return EXIT_FAILURE;
    }
    measureSearchesAndSortings(screen, "");
    measure(screen, "all selected", [&] { screen.panel().view().selectAll(); });
    measureSearchesAndSortings(screen, ", all selected");
    const double follow = processorMilliseconds();
    const auto before = table.lastUpdatedAt();
    store.clock.advance(std::chrono::seconds(1));
    store.notifications.post(core::kLocalSyncStateChanged);
    std::printf("followed with all selected: %.0f ms\n",
                millisecondsUntil(follow, [&] { return table.lastUpdatedAt() != before; }));
    selectSome(screen);
    measureSearchesAndSortings(screen, ", some selected");
    return EXIT_SUCCESS;
}
