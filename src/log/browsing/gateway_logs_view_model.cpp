#include "log/browsing/gateway_logs_view_model.h"

#include "platform/concurrency/async.h"
#include "platform/concurrency/async_sleep.h"
#include "platform/concurrency/main_thread.h"
#include "platform/defaults/user_defaults.h"
#include "platform/files/file_error.h"

#include <QtCore/QtGlobal>

#include <algorithm>
#include <utility>

namespace gateway::log {

namespace {

const QString kSearchTextKey = QStringLiteral("QuorinGateway.logs.searchText");
const QString kLevelFilterKey = QStringLiteral("QuorinGateway.logs.levelFilter");
const QString kCategoryFilterKey = QStringLiteral("QuorinGateway.logs.categoryFilter");

/// More often would only warm the machine.
constexpr std::chrono::seconds kShortestInterval{1};

/// The string under a key; nothing for a value of another kind.
std::optional<QString> stored(const platform::UserDefaults &defaults, const QString &key)
{
    const std::optional<QVariant> value = defaults.object(key);
    return value && value->typeId() == QMetaType::QString ? std::optional(value->toString()) : std::nullopt;
}

LogFilter storedFilter(const platform::UserDefaults &defaults)
{
    LogFilter filter;
    filter.searchText = stored(defaults, kSearchTextKey).value_or(QString());
    const QString level = stored(defaults, kLevelFilterKey).value_or(QString());
    filter.level = levelFilter(level).value_or(LevelFilter::all);
    const QString category = stored(defaults, kCategoryFilterKey).value_or(QString());
    filter.category = categoryFilter(category).value_or(CategoryFilter::all);
    return filter;
}

} // namespace

GatewayLogsViewModel::GatewayLogsViewModel(const GatewayLogsParts &parts,
                                           QString logDirectory,
                                           std::optional<qsizetype> rowLimit)
    : m_parts(parts), m_logDirectory(std::move(logDirectory)), m_rowLimit(rowLimit),
      m_filter(storedFilter(parts.defaults)), m_scope(parts.main, parts.pool)
{
    platform::assertMainThread("GatewayLogsViewModel");
}

GatewayLogsViewModel::~GatewayLogsViewModel()
{
    close();
}

void GatewayLogsViewModel::close()
{
    m_autoRefresh.request_stop();
    m_scope.close();
}

void GatewayLogsViewModel::enterMain() const
{
    platform::assertMainThread("GatewayLogsViewModel");
}

void GatewayLogsViewModel::setSearchText(const QString &text)
{
    enterMain();
    m_filter.searchText = text;
    store(kSearchTextKey, text);
}

void GatewayLogsViewModel::setLevelFilter(LevelFilter filter)
{
    enterMain();
    m_filter.level = filter;
    store(kLevelFilterKey, rawValue(filter));
}

void GatewayLogsViewModel::setCategoryFilter(CategoryFilter filter)
{
    enterMain();
    m_filter.category = filter;
    store(kCategoryFilterKey, rawValue(filter));
}

void GatewayLogsViewModel::setImageHashes(const QStringList &hashes)
{
    enterMain();
    m_filter.imageHashes = hashes;
    Q_EMIT changed();
    Q_EMIT filteredRowsChanged();
}

void GatewayLogsViewModel::store(const QString &key, const QString &value)
{
    m_parts.defaults.setObject(key, value);
    Q_EMIT changed();
    Q_EMIT filteredRowsChanged();
}

FilteredLogRows GatewayLogsViewModel::filteredRows() const
{
    enterMain();
    return filterLogRows(m_rows, m_filter);
}

void GatewayLogsViewModel::refresh()
{
    enterMain();
    if (!m_isLoading && !m_scope.stopToken().stop_requested()) {
        m_scope.start(read());
    }
}

QCoro::Task<> GatewayLogsViewModel::read()
{
    const auto operation = m_scope.enter();
    m_isLoading = true;
    m_loadErrorMessage.reset();
    Q_EMIT changed();
    const int deletions = m_deletions;
    std::shared_ptr<const LogRows> rows;
    std::optional<QString> message;
    try {
        rows = co_await platform::onPool(
            m_parts.main,
            m_parts.pool,
            [directory = m_logDirectory, limit = m_rowLimit, known = m_rows, stop = m_scope.stopToken()] {
                return readLogRows(directory, limit, known, stop);
            });
    } catch (const platform::FileError &error) {
        message = error.message();
    }
    m_isLoading = false;
    if (m_scope.stopToken().stop_requested()) {
        co_return;
    }
    if (rows && deletions == m_deletions) {
        show(std::move(rows));
        co_return;
    }
    m_loadErrorMessage = message;
    Q_EMIT changed();
}

void GatewayLogsViewModel::show(std::shared_ptr<const LogRows> rows)
{
    const bool isAnother = m_rows != rows;
    m_rows = std::move(rows);
    m_lastRefreshDate = m_parts.clock.now();
    Q_EMIT changed();
    if (isAnother) {
        Q_EMIT filteredRowsChanged();
    }
}

void GatewayLogsViewModel::startAutoRefresh(std::chrono::nanoseconds interval)
{
    enterMain();
    m_autoRefresh.request_stop();
    if (m_scope.stopToken().stop_requested()) {
        return;
    }
    m_autoRefresh = std::stop_source();
    m_isAutoRefreshEnabled = true;
    Q_EMIT changed();
    m_scope.start(keepFresh(std::max<std::chrono::nanoseconds>(interval, kShortestInterval),
                            m_autoRefresh.get_token()));
}

QCoro::Task<> GatewayLogsViewModel::keepFresh(std::chrono::nanoseconds interval, std::stop_token stop)
{
    const auto operation = m_scope.enter();
    while (!stop.stop_requested()) {
        refresh();
        const bool sleptThrough = co_await platform::asyncSleep(m_parts.main, m_parts.clock, interval, stop);
        if (!sleptThrough) {
            break;
        }
    }
}

void GatewayLogsViewModel::stopAutoRefresh()
{
    enterMain();
    m_autoRefresh.request_stop();
    m_isAutoRefreshEnabled = false;
    Q_EMIT changed();
}

QCoro::Task<> GatewayLogsViewModel::deleteAllLogs()
{
    enterMain();
    if (m_scope.stopToken().stop_requested()) {
        co_return;
    }
    const auto operation = m_scope.enter();
    ++m_deletions;
    try {
        co_await platform::onPool(
            m_parts.main, m_parts.pool, [directory = m_logDirectory] { removeLogFiles(directory); });
    } catch (const platform::FileError &error) {
        m_loadErrorMessage = error.message();
        Q_EMIT changed();
        throw;
    }
    ++m_deletions;
    m_loadErrorMessage.reset();
    show(std::make_shared<const LogRows>());
}

} // namespace gateway::log
