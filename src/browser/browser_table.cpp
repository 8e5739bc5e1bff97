#include "browser/browser_table.h"

#include "browser/browser_words.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_thread.h"

#include <QtCore/QtGlobal>

#include <algorithm>
#include <iterator>
#include <utility>

namespace gateway::browser {

BrowserTable::BrowserTable(TableKind kind,
                           const BrowserRuntime &runtime,
                           std::shared_ptr<const TableRows> noRows,
                           SortOrder order)
    : m_kind(kind), m_runtime(runtime), m_noRows(std::move(noRows)), m_rows(m_noRows), m_sortOrder(order),
      m_scope(runtime.main, runtime.pool)
{
    platform::assertMainThread("BrowserTable");
}

BrowserTable::~BrowserTable()
{
    close();
}

void BrowserTable::close()
{
    m_stopLoad.request_stop();
    m_scope.close();
}

void BrowserTable::enterMain() const
{
    if (!m_runtime.main.isCurrent()) {
        qFatal("A BrowserTable was used away from the main thread");
    }
}

// --- Rows ------------------------------------------------------------------------------------------------

BrowserTable::Arranged BrowserTable::blank(std::shared_ptr<const TableRows> rows) const
{
    return {std::move(rows), m_sortOrder, m_searchText, m_showsFailuresOnly, {}, {}};
}

void BrowserTable::arrange(Arranged &rows)
{
    rows.order = rows.rows->sorted(rows.sortOrder);
    rows.shown = shownOf(*rows.rows, rows.order, needleOf(rows.searchText), rows.failuresOnly);
}

void BrowserTable::setSearchText(const QString &text)
{
    enterMain();
    m_searchText = text;
    filter();
}

void BrowserTable::setShowsFailuresOnly(bool only)
{
    enterMain();
    m_showsFailuresOnly = only;
    filter();
}

void BrowserTable::setSortOrder(SortOrder order)
{
    enterMain();
    if (m_sortOrder != order) {
        m_sortOrder = order;
        m_order = m_rows->sorted(order);
        filter();
    }
}

void BrowserTable::filter()
{
    m_shown = shownOf(*m_rows, m_order, needleOf(m_searchText), m_showsFailuresOnly);
    Q_EMIT rowsChanged();
    Q_EMIT changed();
}

void BrowserTable::take(Arranged arranged)
{
    m_rows = std::move(arranged.rows);
    markSelected();
    m_order = arranged.sortOrder == m_sortOrder ? std::move(arranged.order) : m_rows->sorted(m_sortOrder);
    filter();
}

void BrowserTable::forgetRows()
{
    m_searchText.clear();
    m_lastError.reset();
    m_lastUpdatedAt.reset();
    m_selectedIDs.clear();
    endQuestions();
    take(blank(m_noRows));
}

void BrowserTable::stopLoading()
{
    enterMain();
    ++m_load;
    m_stopLoad.request_stop();
    m_isLoading = false;
    Q_EMIT changed();
}

void BrowserTable::startLoad(const QString &trigger)
{
    m_scope.start(load(trigger));
}

bool BrowserTable::isDropped(int load) const
{
    return load != m_load || m_scope.stopToken().stop_requested();
}

/// Parts of an answer show as they come, but not behind a deletion: the table would shrink and grow again.
BrowserTable::ShowPart BrowserTable::partShower(int load, Arranged like)
{
    return [this, load, like = std::move(like), life = std::weak_ptr<const void>(m_life)](
               std::shared_ptr<const TableRows> rows) {
        Arranged part = like;
        part.rows = std::move(rows);
        arrange(part);
        m_runtime.main.post(life, [this, load, part = std::move(part)] {
            if (!isDropped(load) && m_isLoading && !isDeleting() && isAnswerStillMeant()) {
                take(part);
            }
        });
    };
}

QCoro::Task<> BrowserTable::load(QString trigger)
{
    enterMain();
    if (!m_isLoading && !m_scope.stopToken().stop_requested()) {
        co_await loadAnyway(trigger);
    }
}

/// \return false when there was no answer, or one that came too late.
QCoro::Task<bool> BrowserTable::loadAnyway(QString trigger)
{
    const auto operation = m_scope.enter();
    const int number = ++m_load;
    m_stopLoad.request_stop();
    m_stopLoad = std::stop_source();
    ++m_callsUnderWay;
    LoadReport report{trigger, loadStarts(trigger), nullptr};
    const std::shared_ptr<const TableRows> before = m_rows;
    m_isLoading = true;
    Q_EMIT changed();
    Arranged found = blank(m_noRows);
    try {
        found = co_await platform::onPool(m_runtime.main,
                                          m_runtime.pool,
                                          [load = makeLoad(),
                                           show = partShower(number, found),
                                           like = found,
                                           stop = m_stopLoad.get_token()] {
                                              Arranged all = like;
                                              all.rows = load(show, stop);
                                              arrange(all);
                                              return all;
                                          });
    } catch (...) {
        report.failure = std::current_exception();
    }
    --m_callsUnderWay;
    if (isDropped(number)) {
        Q_EMIT changed();
        co_return false;
    }
    if (isAnswerStillMeant()) {
        finishLoad(report.failure ? blank(before) : std::move(found), report);
    }
    m_isLoading = false;
    Q_EMIT changed();
    co_return !report.failure;
}

void BrowserTable::finishLoad(Arranged rows, const LoadReport &report)
{
    m_lastUpdatedAt = m_runtime.clock.now();
    if (report.failure) {
        m_lastError = loadFailureWords(report.failure);
        if (rows.rows != m_rows) {
            arrange(rows); // a part of the answer stood there
            take(std::move(rows));
        }
    } else {
        if (!keepsLastError(report.trigger)) {
            m_lastError.reset();
        }
        take(std::move(rows));
        forgetSelectionOfGoneRows();
    }
    loadEnded(report);
}

// --- Selection -------------------------------------------------------------------------------------------

void BrowserTable::setSelectedIDs(QSet<QString> ids)
{
    enterMain();
    if (m_selectedIDs != ids) {
        m_selectedIDs = std::move(ids);
        markSelected();
        Q_EMIT changed();
    }
}

void BrowserTable::markSelected()
{
    m_isSelected.assign(static_cast<std::size_t>(m_rows->count()), false);
    for (const QString &id : m_selectedIDs) {
        if (const std::optional<quint32> position = m_rows->position(id)) {
            m_isSelected[*position] = true;
        }
    }
}

qsizetype BrowserTable::hiddenSelected() const
{
    return m_selectedIDs.size() - std::count_if(m_shown.begin(), m_shown.end(), [this](quint32 position) {
               return m_isSelected[position];
           });
}

void BrowserTable::forgetSelectionOfGoneRows()
{
    const qsizetype removed =
        m_selectedIDs.removeIf([this](const QString &id) { return !m_rows->position(id).has_value(); });
    if (removed == 0) {
        return;
    }
    // What is asked about is no longer what would go.
    if (m_deleteConfirmationStep || m_selectedIDs.isEmpty()) {
        endQuestions();
    }
    Q_EMIT changed();
}

} // namespace gateway::browser
