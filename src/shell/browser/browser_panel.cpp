#include "shell/browser/browser_panel.h"

#include "browser/browser_words.h"
#include "browser/csv_export.h"
#include "platform/concurrency/async.h"
#include "platform/defaults/user_defaults.h"
#include "shell/browser/browser_panel_words.h"
#include "shell/browser/browser_table_model.h"
#include "shell/browser/browser_table_view.h"
#include "shell/controls/button.h"
#include "shell/controls/confirm_dialog.h"
#include "shell/controls/empty_state.h"
#include "shell/controls/fixed_digit_label.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/progress_row.h"
#include "shell/controls/text_field.h"
#include "shell/controls/text_label.h"
#include "shell/controls/toast.h"
#include "shell/controls/tool_tip.h"
#include "shell/theme/theme.h"

#include <QtCore/QEvent>
#include <QtCore/QSaveFile>
#include <QtCore/QTimer>
#include <QtGui/QClipboard>
#include <QtGui/QGuiApplication>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QMenu>
#include <QtWidgets/QStackedWidget>

#include <algorithm>

namespace gateway::shell {

namespace {

using browser::TableKind;

constexpr qsizetype kMostCopied = 10'000; // rows; more than that belongs into a file

} // namespace

BrowserPanel::~BrowserPanel()
{
    m_scope.close();
}

void BrowserPanel::listen()
{
    browser::BrowserTable &table = m_parts.table;
    connect(&table, &browser::BrowserTable::changed, this, &BrowserPanel::showState);
    connect(m_search, &QLineEdit::textChanged, this, [this](const QString &text) {
        if (text != m_parts.table.searchText()) {
            m_parts.table.setSearchText(text);
        }
    });
    connect(m_delete, &QAbstractButton::clicked, &table, &browser::BrowserTable::askToDelete);
    connect(m_export, &QAbstractButton::clicked, this, &BrowserPanel::askToExport);
    connect(m_progress, &ProgressRow::stopRequested, this, [this] {
        m_progress->setStopping();
        m_parts.table.stopDeleting();
    });
    connect(m_view, &BrowserTableView::deleteRequested, &table, &browser::BrowserTable::askToDelete);
    connect(m_view, &BrowserTableView::copyRequested, this, [this] { copyCells(true); });
    connect(m_view, &BrowserTableView::detailsRequested, this, &BrowserPanel::detailsRequested);
    connect(m_view, &QWidget::customContextMenuRequested, this, &BrowserPanel::openMenu);
    connect(m_signedOut, &EmptyState::actionRequested, this, &BrowserPanel::signInRequested);
    connect(m_noMatch, &EmptyState::actionRequested, m_search, &QLineEdit::clear);
    connect(m_nothing, &EmptyState::actionRequested, this, &BrowserPanel::reloadRequested);
    connect(m_failed, &InlineError::actionRequested, this, &BrowserPanel::reloadRequested);
    m_view->horizontalHeader()->viewport()->installEventFilter(this);
}

void BrowserPanel::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    storeColumns();
}

/// Columns that were dragged are kept at once: a program may end without closing its windows.
bool BrowserPanel::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::MouseButtonRelease) {
        QTimer::singleShot(0, this, &BrowserPanel::storeColumns); // once the header has let go of the column
    }
    return QWidget::eventFilter(watched, event);
}

void BrowserPanel::restoreColumns()
{
    const std::optional<QVariant> stored = m_parts.defaults.object(columnsKey(m_parts.table.kind()));
    if (stored && stored->typeId() == QMetaType::QByteArray) {
        const browser::SortOrder order = m_parts.table.sortOrder(); // which always begins the same
        m_view->horizontalHeader()->restoreState(stored->toByteArray());
        m_view->widenToTitles();
        m_view->horizontalHeader()->setSortIndicator(m_model->leadingColumns() + order.column,
                                                     order.ascending ? Qt::AscendingOrder
                                                                     : Qt::DescendingOrder);
    }
}

void BrowserPanel::storeColumns()
{
    const QString key = columnsKey(m_parts.table.kind());
    const QByteArray state = m_view->horizontalHeader()->saveState();
    if (m_parts.defaults.object(key) != QVariant(state)) {
        m_parts.defaults.setObject(key, state);
    }
}

QWidget &BrowserPanel::currentPage()
{
    return *m_pages->currentWidget();
}

QWidget *BrowserPanel::page() const
{
    const browser::BrowserTable &table = m_parts.table;
    if (m_parts.isSignedIn && !m_parts.isSignedIn()) {
        return m_signedOut;
    }
    if (!table.shown().empty()) {
        return m_view;
    }
    if (table.rows()->count() > 0) {
        return m_noMatch;
    }
    if (table.isLoading()) {
        return m_loading;
    }
    if (table.lastError()) {
        return m_failed; // nobody knows that there is nothing
    }
    return table.lastUpdatedAt() ? m_nothing : m_notAsked;
}

void BrowserPanel::showState()
{
    const browser::BrowserTable &table = m_parts.table;
    QWidget *const shown = page();
    if (shown == m_failed && m_pages->currentWidget() != m_failed) {
        m_failed->showMessage(*table.lastError(), tr("What is there is not known."), tr("Try Again"));
    }
    m_pages->setCurrentWidget(shown);
    const bool isOpen = shown != m_signedOut;
    m_search->setEnabled(isOpen);
    if (m_search->text() != table.searchText()) {
        m_search->setText(table.searchText());
    }
    m_export->setEnabled(isOpen && !table.shown().empty() && !m_isExporting);
    m_delete->setEnabled(isOpen && !table.selectedIDs().isEmpty() && !table.isDeleting());
    showDeletion();
    showStatus();
    showQuestion();
}

void BrowserPanel::showStatus()
{
    const browser::BrowserTable &table = m_parts.table;
    const bool isOpen = !m_parts.isSignedIn || m_parts.isSignedIn();
    const QString error = isOpen ? table.lastError().value_or(QString()) : QString();
    m_errorMark->setVisible(!error.isEmpty());
    m_error->setVisible(!error.isEmpty());
    m_error->setText(error);
    m_error->setToolTip(toolTipOf(error));
    const QString hint = !isOpen                                        ? browser::signInWords(table.kind())
                         : !table.lastUpdatedAt() && !table.isLoading() ? hintBeforeLoading(table.kind())
                                                                        : QString();
    m_hint->setText(hint);
    m_hint->setVisible(error.isEmpty() && !hint.isEmpty());
    m_selected->setText(isOpen ? selectionWords(table.selectedIDs().size(), table.hiddenSelected())
                               : QString());
    m_selected->setVisible(!m_selected->text().isEmpty());
    m_count->setText(isOpen && table.lastUpdatedAt()
                         ? tr("Showing %L1 of %L2").arg(table.shown().size()).arg(table.rows()->count())
                         : QString());
    m_lastRefresh->setText(isOpen && table.lastUpdatedAt()
                               ? tr("Last refresh: %1").arg(refreshTimeText(*table.lastUpdatedAt()))
                               : QString());
    m_clock->setVisible(!m_lastRefresh->text().isEmpty());
}

void BrowserPanel::showDeletion()
{
    const std::optional<browser::DeletionProgress> &deletion = m_parts.table.deletion();
    m_progress->setVisible(deletion.has_value());
    if (deletion) {
        m_progress->setProgress(
            deletion->done, deletion->total, tr("%L1 of %L2").arg(deletion->done).arg(deletion->total));
    } else if (m_progress->isStopping()) {
        m_progress->reset();
    }
}

/// The three questions come one after the other, each when the one before is gone.
void BrowserPanel::showQuestion()
{
    const browser::BrowserTable &table = m_parts.table;
    const std::optional<browser::DeleteConfirmationStep> step = table.deleteConfirmationStep();
    if (!step && m_question != nullptr) {
        m_question->closeSheet(); // what was asked about is gone
        closeQuestion();
    } else if (step && m_question == nullptr) {
        ask(*step);
    }
    if (m_question != nullptr) {
        m_question->setArmed(table.isConfirmationArmed());
    }
}

void BrowserPanel::ask(browser::DeleteConfirmationStep step)
{
    browser::BrowserTable &table = m_parts.table;
    const browser::DeleteQuestion words =
        browser::deleteQuestion(table.kind(), step, table.selectedIDs().size());
    const bool isLast = step == browser::DeleteConfirmationStep::third;
    m_question = new ConfirmDialog(m_parts.theme,
                                   *window(),
                                   {words.title,
                                    words.message,
                                    words.confirm,
                                    tr("Cancel"),
                                    isLast ? ConfirmDialog::Kind::loss : ConfirmDialog::Kind::towardsLoss,
                                    deletionWarning(table),
                                    browser::whatStays(table.kind())});
    connect(m_question, &ConfirmDialog::confirmed, this, [this] {
        closeQuestion();
        m_parts.table.confirmDeletion();
    });
    connect(m_question, &ConfirmDialog::cancelled, this, [this] {
        closeQuestion();
        m_parts.table.cancelDeletion();
    });
    m_question->ask();
}

void BrowserPanel::closeQuestion()
{
    m_question->deleteLater();
    m_question = nullptr;
}

void BrowserPanel::openMenu(const QPoint &place)
{
    const QModelIndex index = m_view->indexAt(place);
    if (!index.isValid()) {
        return;
    }
    const QString id = m_model->idAt(index.row());
    auto *menu = new QMenu(m_view);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (m_model->leadingColumns() > 0) {
        connect(menu->addAction(m_parts.theme.icon(u"info.circle"), tr("Show Series")),
                &QAction::triggered,
                this,
                [this, id] { Q_EMIT detailsRequested(id); });
    }
    Q_EMIT menuOpens(menu, id);
    menu->addSeparator();
    if (!m_model->isDetails(index.column())) {
        connect(menu->addAction(m_parts.theme.icon(u"doc.on.doc"), tr("Copy Cell")),
                &QAction::triggered,
                this,
                [this] { copyCells(false); });
    }
    connect(menu->addAction(tr("Copy Rows")), &QAction::triggered, this, [this] { copyCells(true); });
    menu->addSeparator();
    QAction *deletion = menu->addAction(m_parts.theme.icon(u"trash", Color::red), tr("Delete Selected…"));
    deletion->setEnabled(m_delete->isEnabled());
    connect(deletion, &QAction::triggered, &m_parts.table, &browser::BrowserTable::askToDelete);
    menu->popup(m_view->viewport()->mapToGlobal(place));
}

/// Rows come with a tab between their cells, in the order in which the columns stand.
void BrowserPanel::copyCells(bool wholeRows)
{
    if (!wholeRows) {
        QGuiApplication::clipboard()->setText(m_model->cellText(m_view->currentIndex()));
        tell(QStringLiteral("doc.on.doc"), tr("Cell copied"), true);
        return;
    }
    const QModelIndexList selected = m_view->selectionModel()->selectedRows(m_model->leadingColumns());
    if (selected.isEmpty()) {
        return;
    }
    if (selected.size() > kMostCopied) {
        tell(QStringLiteral("exclamationmark.triangle.fill"),
             tr("Select at most %L1 rows to copy them, or export them.").arg(kMostCopied),
             false);
        return;
    }
    QList<int> rows;
    for (const QModelIndex &index : selected) {
        rows.append(index.row());
    }
    std::sort(rows.begin(), rows.end());
    QStringList lines;
    const QHeaderView &header = *m_view->horizontalHeader();
    for (const int row : rows) {
        QStringList cells;
        for (int visual = 0; visual < header.count(); ++visual) {
            const int column = header.logicalIndex(visual);
            if (!m_model->isDetails(column)) {
                cells.append(m_model->cellText(m_model->index(row, column)).simplified());
            }
        }
        lines.append(cells.join(u'\t'));
    }
    QGuiApplication::clipboard()->setText(lines.join(u'\n'));
    tell(QStringLiteral("doc.on.doc"), tr("Rows copied: %L1").arg(lines.size()), true);
}

void BrowserPanel::askToExport()
{
    auto *question = new ConfirmDialog(
        m_parts.theme,
        *window(),
        {tr("Export This Table?"),
         tr("Rows to be written to a CSV file: %L1").arg(m_parts.table.shown().size()),
         tr("Choose File…"),
         tr("Cancel"),
         ConfirmDialog::Kind::step,
         tr("The file holds names and other data of patients, readable by everyone who gets it."),
         {}});
    connect(question, &Sheet::dismissed, question, &QObject::deleteLater);
    connect(question, &ConfirmDialog::cancelled, question, &QObject::deleteLater);
    connect(question, &ConfirmDialog::confirmed, this, [this, question] {
        question->deleteLater();
        const QString file = m_parts.chooseFile(window(), exportName(m_parts.table.kind()));
        if (!file.isEmpty()) {
            m_scope.start(exportTo(file));
        }
    });
    question->ask();
}

QCoro::Task<void> BrowserPanel::exportTo(QString file)
{
    const auto operation = m_scope.enter();
    m_isExporting = true;
    showState();
    const browser::CsvExport rows(m_parts.table);
    const bool isWritten = co_await platform::onPool(m_parts.main, m_parts.pool, [rows, file] {
        QSaveFile target(file);
        return target.open(QIODevice::WriteOnly) && target.write(rows.bytes()) >= 0 && target.commit();
    });
    if (m_scope.stopToken().stop_requested()) {
        co_return;
    }
    m_isExporting = false;
    showState();
    if (isWritten) {
        tell(QStringLiteral("square.and.arrow.up"), tr("Exported to %1").arg(file), true);
    } else {
        tell(QStringLiteral("exclamationmark.triangle.fill"), tr("%1 can't be written.").arg(file), false);
    }
}

void BrowserPanel::tell(const QString &symbol, const QString &sentence, bool isWell)
{
    if (m_toast == nullptr) {
        m_toast = new Toast(m_parts.theme, *window());
    }
    m_toast->showMessage(symbol, sentence, isWell ? Color::green : Color::red);
}

} // namespace gateway::shell
