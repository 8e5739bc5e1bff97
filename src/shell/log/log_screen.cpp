#include "shell/log/log_screen.h"

#include "log/browsing/gateway_logs_view_model.h"
#include "platform/defaults/user_defaults.h"
#include "platform/files/file_error.h"
#include "shell/controls/button.h"
#include "shell/controls/combo_box.h"
#include "shell/controls/confirm_dialog.h"
#include "shell/controls/empty_state.h"
#include "shell/controls/fixed_digit_label.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/switch.h"
#include "shell/controls/text_field.h"
#include "shell/controls/text_label.h"
#include "shell/controls/toast.h"
#include "shell/log/log_details.h"
#include "shell/log/log_screen_words.h"
#include "shell/log/log_table.h"
#include "shell/log/log_table_model.h"
#include "shell/theme/theme.h"

#include <QtGui/QClipboard>
#include <QtGui/QGuiApplication>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QStackedWidget>

#include <algorithm>

namespace gateway::shell {

namespace {

using std::chrono::seconds;

const QString kAutoRefreshKey = QStringLiteral("QuorinGateway.logs.autoRefreshEnabled");
const QString kColumnsKey = QStringLiteral("QuorinGateway.logs.columns");
constexpr seconds kAutoRefreshInterval{3};
constexpr qsizetype kMostCopied = 10'000; // lines; more than that belongs into a file

} // namespace

LogScreen::~LogScreen()
{
    m_scope.close();
    m_table->selectionModel()->disconnect(this); // it dies after the fields of this
}

void LogScreen::listen()
{
    using log::GatewayLogsViewModel;
    GatewayLogsViewModel &model = m_parts.model;
    connect(&model, &GatewayLogsViewModel::changed, this, &LogScreen::showState);
    connect(&model, &GatewayLogsViewModel::filteredRowsChanged, this, &LogScreen::showRows);
    connect(m_search, &QLineEdit::textChanged, this, [this](const QString &text) {
        m_parts.model.setSearchText(text);
        scrollUpUnlessSelected();
    });
    connect(m_level, &QComboBox::activated, this, [this](int index) {
        m_parts.model.setLevelFilter(static_cast<log::LevelFilter>(m_level->itemData(index).toInt()));
        scrollUpUnlessSelected();
    });
    connect(m_category, &QComboBox::activated, this, [this](int index) {
        m_parts.model.setCategoryFilter(
            static_cast<log::CategoryFilter>(m_category->itemData(index).toInt()));
        scrollUpUnlessSelected();
    });
    connect(m_noMatch, &EmptyState::actionRequested, this, &LogScreen::resetFilters);
    connect(m_error, &InlineError::actionRequested, &model, &GatewayLogsViewModel::refresh);
    connect(m_table, &LogTable::copyRequested, this, &LogScreen::copySelected);
    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this, &LogScreen::showDetails);
    connect(
        m_table->selectionModel(), &QItemSelectionModel::currentRowChanged, this, &LogScreen::showDetails);
    connect(
        m_details, &LogDetails::copyRequested, this, [this] { copyRows({m_table->currentIndex().row()}); });
    connect(m_details, &LogDetails::lifeRequested, this, &LogScreen::showLife);
    connect(m_details, &LogDetails::closeRequested, this, [this] {
        m_table->clearSelection();
        m_table->setFocus();
    });
}

void LogScreen::showEvent(QShowEvent *event)
{
    Canvas::showEvent(event);
    setAutoRefresh(isAutoRefreshWanted());
    m_parts.model.refresh();
}

void LogScreen::hideEvent(QHideEvent *event)
{
    Canvas::hideEvent(event);
    storeColumns();
    m_parts.model.stopAutoRefresh();
}

void LogScreen::restoreColumns()
{
    const std::optional<QVariant> stored = m_parts.defaults.object(kColumnsKey);
    if (stored && stored->typeId() == QMetaType::QByteArray) {
        m_table->horizontalHeader()->restoreState(stored->toByteArray());
        m_table->widenToTitles();
        m_table->stretchAction(); // which one stretches is stored, too: perhaps none
    }
}

void LogScreen::storeColumns()
{
    const QByteArray state = m_table->horizontalHeader()->saveState();
    if (m_parts.defaults.object(kColumnsKey) != QVariant(state)) {
        m_parts.defaults.setObject(kColumnsKey, state);
    }
}

bool LogScreen::isAutoRefreshWanted() const
{
    const std::optional<QVariant> stored = m_parts.defaults.object(kAutoRefreshKey);
    return !stored || stored->typeId() != QMetaType::Bool || stored->toBool();
}

void LogScreen::storeAutoRefresh(bool enabled)
{
    m_parts.defaults.setObject(kAutoRefreshKey, enabled);
}

void LogScreen::setAutoRefresh(bool enabled)
{
    if (enabled) {
        m_parts.model.startAutoRefresh(kAutoRefreshInterval);
    } else {
        m_parts.model.stopAutoRefresh();
    }
}

bool LogScreen::isFiltered() const
{
    return m_parts.model.levelFilter() != log::LevelFilter::all ||
           m_parts.model.categoryFilter() != log::CategoryFilter::all ||
           !m_parts.model.searchText().trimmed().isEmpty() || !m_parts.model.imageHashes().isEmpty();
}

/// The selected row stays selected: it belongs to that life.
void LogScreen::showLife(const QString &hash)
{
    m_table->setFocus(); // the field of the search may have it, which goes
    m_parts.model.setImageHashes({hash});
    scrollUpUnlessSelected();
}

/// Shows again what the filters let through.
void LogScreen::endLife()
{
    if (!m_parts.model.imageHashes().isEmpty()) {
        m_parts.model.setImageHashes({});
        scrollUpUnlessSelected();
    }
}

void LogScreen::resetFilters()
{
    endLife();
    m_parts.model.setLevelFilter(log::LevelFilter::all);
    m_parts.model.setCategoryFilter(log::CategoryFilter::all);
    m_search->clear(); // the model follows
    m_search->setFocus();
    scrollUpUnlessSelected();
}

void LogScreen::scrollUpUnlessSelected()
{
    if (!m_table->selectionModel()->hasSelection()) {
        m_table->scrollToTop();
    }
}

void LogScreen::showFilters()
{
    m_level->setCurrentIndex(m_level->findData(static_cast<int>(m_parts.model.levelFilter())));
    m_category->setCurrentIndex(m_category->findData(static_cast<int>(m_parts.model.categoryFilter())));
    m_reset->setEnabled(isFiltered());
    const QStringList &hashes = m_parts.model.imageHashes();
    m_filters->setVisible(hashes.isEmpty());
    m_lifeBar->setVisible(!hashes.isEmpty());
    m_life->setText(hashes.size() > 1 ? tr("From association to removal, images: %L1").arg(hashes.size())
                                      : tr("From association to removal: %1").arg(hashes.value(0)));
}

void LogScreen::showRows()
{
    const QModelIndex current = m_table->currentIndex();
    const bool wasSelected = current.isValid() && m_table->selectionModel()->hasSelection();
    const auto key = wasSelected ? std::optional(m_rows->keyOf(current.row())) : std::nullopt;
    m_rows->show(m_parts.model.filteredRows());
    if (key && !m_table->currentIndex().isValid()) { // the table began anew
        if (const std::optional<int> row = m_rows->indexOf(*key)) {
            m_table->selectRow(*row);
            m_table->scrollTo(m_table->currentIndex());
        }
    }
    showDetails();
    showState();
}

void LogScreen::showState()
{
    const log::GatewayLogsViewModel &model = m_parts.model;
    showFilters();
    showError();
    m_pages->setCurrentWidget(page());
    m_count->setText(tr("Showing %L1 of %L2 logs").arg(m_rows->rowCount()).arg(model.rows()->count()));
    const auto &date = model.lastRefreshDate();
    m_count->setVisible(date.has_value()); // before the first read nothing is known
    m_lastRefresh->setText(date ? tr("Last refresh: %1").arg(logTimeText(*date)) : QString());
}

void LogScreen::showError()
{
    if (m_parts.model.isLoading()) {
        return; // a read that is tried again clears the message; it stays until the outcome is known
    }
    const QString message = m_parts.model.loadErrorMessage().value_or(QString());
    if (message == m_shownError) {
        return;
    }
    m_shownError = message;
    if (message.isEmpty()) {
        m_error->hide();
        return;
    }
    const QString rest = m_rows->rowCount() > 0
                             ? u'\n' + tr("The events below are those of the last successful read.")
                             : QString();
    m_error->showMessage(tr("Could not load logs"), message + rest, tr("Refresh"));
}

QWidget *LogScreen::page() const
{
    if (m_rows->rowCount() > 0) {
        return m_table;
    }
    if (!m_shownError.isEmpty()) {
        return m_nothing;
    }
    if (!m_parts.model.lastRefreshDate()) {
        return m_loading;
    }
    return isFiltered() ? m_noMatch : m_noEvents;
}

void LogScreen::showDetails()
{
    const QModelIndex current = m_table->currentIndex();
    const bool isOne = current.isValid() && m_table->selectionModel()->isRowSelected(current.row(), {});
    if (isOne) {
        m_details->show(m_rows->row(current.row()));
    }
    m_details->setVisible(isOne);
}

void LogScreen::copySelected()
{
    QList<int> rows;
    for (const QItemSelectionRange &range : m_table->selectionModel()->selection()) {
        for (int row = range.top(); row <= range.bottom() && rows.size() <= kMostCopied; ++row) {
            rows.append(row);
        }
    }
    std::sort(rows.begin(), rows.end());
    copyRows(rows);
}

void LogScreen::copyRows(const QList<int> &rows)
{
    if (m_toast == nullptr) {
        m_toast = new Toast(m_parts.theme, *window());
    }
    if (rows.size() > kMostCopied) {
        m_toast->showMessage(QStringLiteral("exclamationmark.triangle.fill"),
                             tr("Select at most %L1 lines to copy them.").arg(kMostCopied),
                             Color::amber);
        return;
    }
    QStringList lines;
    for (const int row : rows) {
        if (const std::optional<log::LogRow> read = m_rows->row(row)) {
            lines.append(read->rawLine);
        }
    }
    if (!lines.isEmpty()) {
        QGuiApplication::clipboard()->setText(lines.join(u'\n'));
        const QString words =
            lines.size() == 1 ? tr("Line copied") : tr("%L1 lines copied").arg(lines.size());
        m_toast->showMessage(QStringLiteral("doc.on.doc"), words, Color::green);
    }
}

void LogScreen::openFolder()
{
    if (m_parts.openFolder(m_parts.model.logDirectory())) {
        return;
    }
    if (m_toast == nullptr) {
        m_toast = new Toast(m_parts.theme, *window());
    }
    m_toast->showMessage(QStringLiteral("exclamationmark.triangle.fill"),
                         tr("The folder can't be opened: %1").arg(m_parts.model.logDirectory()),
                         Color::red);
}

void LogScreen::askToDelete()
{
    if (m_question == nullptr) {
        m_question =
            new ConfirmDialog(m_parts.theme,
                              *window(),
                              {tr("Delete All Logs?"),
                               tr("This permanently removes all local Quorin Gateway transfer log files."),
                               tr("Delete"),
                               tr("Cancel"),
                               ConfirmDialog::Kind::loss});
        connect(m_question, &ConfirmDialog::confirmed, this, [this] { m_scope.start(deleteAll()); });
    }
    m_question->ask();
}

QCoro::Task<> LogScreen::deleteAll()
{
    const auto operation = m_scope.enter();
    m_delete->setBusy(true);
    try {
        co_await m_parts.model.deleteAllLogs();
    } catch (const platform::FileError &) {
        // Its message stands in the model already, and on the screen.
    }
    m_delete->setBusy(false);
}

} // namespace gateway::shell
