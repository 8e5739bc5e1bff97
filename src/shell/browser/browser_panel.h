#pragma once

#include "browser/browser_table.h"
#include "platform/concurrency/task_scope.h"

#include <QCoro/QCoroTask>

#include <QtCore/QString>
#include <QtWidgets/QWidget>

#include <functional>

class QHBoxLayout;
class QMenu;
class QStackedWidget;

namespace gateway::platform {
class MainExecutor;
class UserDefaults;
class WorkerPool;
} // namespace gateway::platform

namespace gateway::shell {

class BrowserTableModel;
class BrowserTableView;
class Button;
class ConfirmDialog;
class EmptyState;
class FixedDigitLabel;
class InlineError;
class ProgressRow;
class SearchField;
class TextLabel;
class Theme;
class Toast;

/// What a panel works with; all outlive it.
struct BrowserPanelParts
{
    const Theme &theme;
    platform::UserDefaults &defaults; ///< keeps the columns
    platform::MainExecutor &main;
    platform::WorkerPool &pool; ///< where an export is written
    browser::BrowserTable &table;

    /// Whether the table may be shown; without one it always may.
    std::function<bool()> isSignedIn = {};

    /// Where an export goes, chosen by a person; empty when they changed their mind.
    std::function<QString(QWidget *parent, const QString &suggestedName)> chooseFile;
};

/// One table of a browser with all that is done to it: search, selection, copy, export, deletion with its
/// questions and its progress, states in the table's place, and a status line.
///
/// Owner: its parent. Thread: main.
class BrowserPanel : public QWidget
{
    Q_OBJECT

public:
    explicit BrowserPanel(const BrowserPanelParts &parts, QWidget *parent = nullptr);
    ~BrowserPanel() override;

    /// Adds a control of the screen's own before the table's actions.
    void addTool(QWidget *tool);

    BrowserTableView &view() { return *m_view; }

    /// What stands in the table's place at present. A focus on it moves to what follows there.
    QWidget &currentPage();

    /// Says in one sentence what was done, or why it couldn't be.
    void tell(const QString &symbol, const QString &sentence, bool isWell);

    /// Looks again at whether somebody is signed in.
    void refreshState() { showState(); }

Q_SIGNALS:
    void detailsRequested(const QString &id);
    void signInRequested();
    void reloadRequested();

    /// A menu about the row opens; others add what they offer.
    void menuOpens(QMenu *menu, const QString &id);

protected:
    void hideEvent(QHideEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QHBoxLayout *makeTools();
    QHBoxLayout *makeStatusLine();
    void addPages();
    void addShortcuts();
    void listen();
    void restoreColumns();
    void storeColumns();

    void showState();
    void showStatus();
    void showDeletion();
    void showQuestion();
    void ask(browser::DeleteConfirmationStep step);
    void closeQuestion();
    QWidget *page() const;

    void openMenu(const QPoint &place);
    void copyCells(bool wholeRows);
    void askToExport();
    QCoro::Task<> exportTo(QString file);

    const BrowserPanelParts m_parts;
    BrowserTableModel *m_model;
    BrowserTableView *m_view;
    SearchField *m_search;
    QHBoxLayout *m_tools = nullptr;
    Button *m_export;
    Button *m_delete;
    ProgressRow *m_progress;
    QStackedWidget *m_pages;
    EmptyState *m_signedOut = nullptr;
    QWidget *m_loading = nullptr;
    EmptyState *m_notAsked = nullptr;
    EmptyState *m_nothing = nullptr;
    EmptyState *m_noMatch = nullptr;
    InlineError *m_failed = nullptr;
    TextLabel *m_errorMark;
    TextLabel *m_error;
    TextLabel *m_hint;
    FixedDigitLabel *m_selected;
    FixedDigitLabel *m_count;
    TextLabel *m_clock;
    FixedDigitLabel *m_lastRefresh;
    ConfirmDialog *m_question = nullptr; // the one that is open
    Toast *m_toast = nullptr;            // made when it is first needed
    bool m_isExporting = false;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::shell
