#pragma once

#include "log/browsing/log_rows.h"

#include <QtCore/QLatin1StringView>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>
#include <optional>
#include <vector>

namespace gateway::log {

/// Which levels are shown.
enum class LevelFilter
{
    all,
    debug,
    info,
    warning,
    error
};

/// Which categories are shown. The updater's events have no filter of their own: they show under `all`.
enum class CategoryFilter
{
    all,
    listener,
    receive,
    send,
    uploadQueue,
    quorinCloud
};

/// The words that stand for the cases in the user's defaults and on the command line.
QLatin1StringView rawValue(LevelFilter filter);
QLatin1StringView rawValue(CategoryFilter filter);

/// The case that a word stands for; nothing for any other text. Case-sensitive.
std::optional<LevelFilter> levelFilter(const QString &raw);
std::optional<CategoryFilter> categoryFilter(const QString &raw);

/// What of the log is to be shown.
struct LogFilter
{
    LevelFilter level = LevelFilter::all;
    CategoryFilter category = CategoryFilter::all;
    /// Blanks around it and the case of its letters don't matter. It is looked for in a row's search text:
    /// the words for action, category, level and outcome, the correlation id, the hashes of the association
    /// and the file, the name of the log file, the error's domain and message, and the details as key=value,
    /// each joined to the next by one blank.
    QString searchText;
    /// Hashes of images or of associations; with one, exactly the rows of their lives are shown (see
    /// image_trail.h), and nothing else here matters.
    QStringList imageHashes = {};

    bool operator==(const LogFilter &) const = default;
};

/// The rows that a filter lets through, in the order of all rows.
///
/// Owner: whoever shows them. Thread: any; a plain value that keeps the rows alive.
struct FilteredLogRows
{
    std::shared_ptr<const LogRows> rows;
    std::vector<quint32> positions; ///< in `rows`

    qsizetype count() const { return static_cast<qsizetype>(positions.size()); }

    /// The position in `rows` of the shown row with this index.
    qsizetype position(qsizetype index) const
    {
        return static_cast<qsizetype>(positions[static_cast<std::size_t>(index)]);
    }
};

/// Filters the rows. \param rows  not null.
///
/// Thread: any. Costs some milliseconds for 100,000 rows; for an image some times as much, and reads a few
/// lines from the disk.
FilteredLogRows filterLogRows(std::shared_ptr<const LogRows> rows, const LogFilter &filter);

} // namespace gateway::log
