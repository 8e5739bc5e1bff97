#pragma once

#include "platform/concurrency/task_scope.h"
#include "shell/controls/canvas.h"

#include <QCoro/QCoroTask>

#include <QtCore/QString>

#include <functional>

class QHBoxLayout;
class QStackedWidget;

namespace gateway::log {
class GatewayLogsViewModel;
}

namespace gateway::platform {
class MainExecutor;
class UserDefaults;
class WorkerPool;
} // namespace gateway::platform

namespace gateway::shell {

class Button;
class ComboBox;
class ConfirmDialog;
class EmptyState;
class FixedDigitLabel;
class InlineError;
class LogDetails;
class LogTable;
class LogTableModel;
class SearchField;
class Switch;
class TextLabel;
class Theme;
class Toast;

/// What the log screen works with; all outlive it.
struct LogScreenParts
{
    const Theme &theme;
    log::GatewayLogsViewModel &model;
    platform::UserDefaults &defaults;
    platform::MainExecutor &main;
    platform::WorkerPool &pool;
    /// Shows a folder in the desktop's file browser; false when that can't be done.
    std::function<bool(const QString &directory)> openFolder;
};

/// The transfer log: what happened, filtered and searched, one event in detail. While it is shown it reads
/// the files every three seconds, unless the operator switched that off; hidden it reads nothing.
///
/// Owner: the window. Thread: main.
class LogScreen : public Canvas
{
    Q_OBJECT

public:
    explicit LogScreen(const LogScreenParts &parts, QWidget *parent = nullptr);
    ~LogScreen() override;

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    QWidget *makeHead();
    QWidget *makeFilters();
    QWidget *makeLifeBar();
    void addPages();
    QHBoxLayout *makeFooter();
    void listen();

    void restoreColumns();
    void storeColumns();
    bool isAutoRefreshWanted() const;
    void storeAutoRefresh(bool enabled);
    void setAutoRefresh(bool enabled);
    void resetFilters();
    void showLife(const QString &hash);
    void endLife();
    void scrollUpUnlessSelected();
    bool isFiltered() const;

    void showFilters();
    void showRows();
    void showState();
    void showError();
    void showDetails();
    QWidget *page() const;

    void copySelected();
    void copyRows(const QList<int> &rows);
    void openFolder();
    void askToDelete();
    QCoro::Task<> deleteAll();

    const LogScreenParts m_parts;
    LogTableModel *m_rows;
    SearchField *m_search;
    ComboBox *m_level;
    ComboBox *m_category;
    Button *m_reset;
    QWidget *m_filters = nullptr;
    QWidget *m_lifeBar = nullptr; // in place of the filters while the life of one image is shown
    TextLabel *m_life;
    Switch *m_autoRefresh;
    Button *m_refresh;
    Button *m_delete;
    InlineError *m_error;
    QString m_shownError;
    QStackedWidget *m_pages;
    LogTable *m_table;
    QWidget *m_loading = nullptr;
    EmptyState *m_noMatch = nullptr;
    EmptyState *m_noEvents = nullptr;
    QWidget *m_nothing = nullptr;
    LogDetails *m_details;
    FixedDigitLabel *m_count;
    FixedDigitLabel *m_lastRefresh;
    ConfirmDialog *m_question = nullptr; // made in the window when it is first asked
    Toast *m_toast = nullptr;            // likewise
    platform::TaskScope m_scope;         // last: drained before the fields go
};

} // namespace gateway::shell
