#pragma once

#include "browser/cloud_table.h"
#include "browser/testing/fake_archive.h"
#include "log/writing/testing/recording_log.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/testing/manual_clock.h"
#include "platform/concurrency/testing/runs_main.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/defaults/user_defaults.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <optional>

namespace gateway::browser::testing {

/// Keeps what it is told of deletions from the cloud, in order. Thread: any, one at a time.
struct RecordedCloudDeletions final : index::CloudDeletions
{
    bool noteCloudDeletion(const platform::StudyUid &study,
                           const platform::SeriesUid &series,
                           index::CloudDeletion step) override
    {
        notes.append(
            QStringLiteral("%1/%2 %3").arg(study.value(), series.value()).arg(static_cast<int>(step)));
        return isWritable;
    }

    QStringList notes;
    bool isWritable = true;
};

/// What the tables of the cloud work with, around an archive in memory, on a manual clock.
///
/// Owner: a test. Thread: main.
struct BrowserWorld : ::testing::Test, platform::testing::RunsMain
{
    ~BrowserWorld() override { archive.release(); }

    CloudBrowserParts parts()
    {
        return {archive, archive, emitter, defaults, record, {main, pool, clock}, [this] { return session; }};
    }

    /// Selects all rows and says yes until the deletion is under way, then runs it to its end.
    void deleteAllRows(BrowserTable &table)
    {
        QSet<QString> ids;
        for (qsizetype position = 0; position < table.rows()->count(); ++position) {
            ids.insert(table.rows()->id(position));
        }
        table.setSelectedIDs(ids);
        confirm(table);
        runUntil([&] { return !table.isDeleting(); });
    }

    /// Answers all three questions with yes.
    void confirm(BrowserTable &table)
    {
        table.askToDelete();
        for (int answers = 0; answers < 3; ++answers) {
            awaitArmed(table, clock);
            table.confirmDeletion();
        }
    }

    /// Waits for a question that takes a yes.
    static void awaitArmed(const BrowserTable &table, platform::testing::ManualClock &clock)
    {
        runUntil([&] {
            if (table.deleteConfirmationStep() && !table.isConfirmationArmed()) {
                clock.advance(BrowserTable::kArmingTime);
            }
            return table.isConfirmationArmed();
        });
    }

    QTemporaryDir folder;
    platform::UserDefaults defaults{folder.filePath(QStringLiteral("defaults.sqlite"))};
    platform::MainExecutor main;
    platform::WorkerPool pool{QStringLiteral("test"), 3};
    platform::testing::ManualClock clock;
    log::testing::RecordingLog log;
    log::StoreLogEmitter emitter{log, clock};
    FakeArchive archive;
    RecordedCloudDeletions record;
    std::optional<QString> session = QStringLiteral("ann");
};

} // namespace gateway::browser::testing
