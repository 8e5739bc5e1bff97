#pragma once

#include "log/browsing/log_filter.h"
#include "log/browsing/log_row_reader.h"
#include "log/browsing/log_rows.h"
#include "platform/concurrency/task_scope.h"

#include <QCoro/QCoroTask>

#include <QtCore/QDateTime>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <chrono>
#include <memory>
#include <optional>
#include <stop_token>

namespace gateway::platform {
class Clock;
class MainExecutor;
class UserDefaults;
class WorkerPool;
} // namespace gateway::platform

namespace gateway::log {

/// What the log browser works with; all outlive it.
struct GatewayLogsParts
{
    platform::UserDefaults &defaults;
    platform::MainExecutor &main;
    platform::WorkerPool &pool;
    platform::Clock &clock;
};

/// The log browser: all rows of the log files, newest first, and which of them are shown.
///
/// It works from the files alone, so that the events of earlier launches show too. The rows are an immutable
/// LogRows, replaced as a whole when a read found something new; a view reads single rows from it with a
/// LogRowReader, as they come into sight.
///
/// Owner: the log screen. Thread: main; files are read and removed on the pool.
class GatewayLogsViewModel : public QObject
{
    Q_OBJECT

public:
    using LevelFilter = log::LevelFilter;
    using CategoryFilter = log::CategoryFilter;
    using LogRow = log::LogRow;

    /// Takes up the filters as they were left; a stored word that stands for none counts as absent. Nothing
    /// is read yet.
    ///
    /// \param logDirectory  where the logger keeps its files; need not exist.
    /// \param rowLimit      the most rows to read, the newest; all without it.
    GatewayLogsViewModel(const GatewayLogsParts &parts,
                         QString logDirectory,
                         std::optional<qsizetype> rowLimit = std::nullopt);
    ~GatewayLogsViewModel() override;

    /// What is in the search box, as typed.
    const QString &searchText() const { return m_filter.searchText; }
    LevelFilter levelFilter() const { return m_filter.level; }
    CategoryFilter categoryFilter() const { return m_filter.category; }

    // Each stores its value at once for the next launch, also where that could not be written.
    void setSearchText(const QString &text);
    void setLevelFilter(LevelFilter filter);
    void setCategoryFilter(CategoryFilter filter);

    /// Shows the lives of images in place of what the other filters let through, which come back when none
    /// is given. Isn't stored. \param hashes  of images or of associations.
    void setImageHashes(const QStringList &hashes);
    const QStringList &imageHashes() const { return m_filter.imageHashes; }

    /// All rows of the last read that succeeded, unfiltered; never null.
    const std::shared_ptr<const LogRows> &rows() const { return m_rows; }

    /// The rows to show: worked out at each call, in some 50 ms for a million of them.
    FilteredLogRows filteredRows() const;

    /// A read is under way.
    bool isLoading() const { return m_isLoading; }

    /// Why the last read or deletion failed; nothing when it went well.
    const std::optional<QString> &loadErrorMessage() const { return m_loadErrorMessage; }

    /// When the rows were last read, or deleted, with success; UTC.
    const std::optional<QDateTime> &lastRefreshDate() const { return m_lastRefreshDate; }

    bool isAutoRefreshEnabled() const { return m_isAutoRefreshEnabled; }

    /// Where the files lie, for "Open Folder".
    const QString &logDirectory() const { return m_logDirectory; }

    /// Starts a read unless one is under way.
    void refresh();

    /// Reads now and then after each `interval`, but at most once a second, in place of a timer that runs. A
    /// tick that falls into a read is dropped.
    void startAutoRefresh(std::chrono::nanoseconds interval);

    /// Ends the timer; a read under way runs to its end.
    void stopAutoRefresh();

    /// Removes all log files, the one that is being written included; the logger begins a new one. Other
    /// files of the folder stay. A failure stands in `loadErrorMessage` as well; the rows then stay too.
    ///
    /// \throws platform::FileError  the first failure, which ends the deletion.
    QCoro::Task<> deleteAllLogs();

    /// Ends the timer and the read under way, and returns when nothing of them is left.
    void close();

Q_SIGNALS:
    /// Some field has another value.
    void changed();

    /// What `filteredRows` gives may be another list now.
    void filteredRowsChanged();

private:
    QCoro::Task<> read();
    QCoro::Task<> keepFresh(std::chrono::nanoseconds interval, std::stop_token stop);

    void enterMain() const;
    void show(std::shared_ptr<const LogRows> rows);
    void store(const QString &key, const QString &value);

    const GatewayLogsParts m_parts;
    const QString m_logDirectory;
    const std::optional<qsizetype> m_rowLimit;
    LogFilter m_filter;
    std::shared_ptr<const LogRows> m_rows = std::make_shared<const LogRows>();
    bool m_isLoading = false;
    std::optional<QString> m_loadErrorMessage;
    std::optional<QDateTime> m_lastRefreshDate;
    bool m_isAutoRefreshEnabled = false;
    std::stop_source m_autoRefresh;
    int m_deletions = 0;         // a read that began before one knows files that are gone
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::log
