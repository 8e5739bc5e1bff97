#pragma once

#include "account/gateway_bug_report_view_model.h"
#include "platform/concurrency/task_scope.h"

#include <QtWidgets/QWidget>

#include <functional>

class QCheckBox;
class QPlainTextEdit;

namespace gateway::shell {

class Button;
class InlineError;
class TextLabel;
class Theme;

/// What the report window works with; all outlive it.
struct BugReportWindowParts
{
    const Theme &theme;
    account::GatewayBugReportViewModel &model;
    platform::MainExecutor &main;
    platform::WorkerPool &pool;
    std::function<void()> sent; ///< the report has arrived; the window is closed by then
};

/// Takes the description of a problem and sends it. What was typed stays until it has arrived.
///
/// Owner: app. Thread: main.
class BugReportWindow : public QWidget
{
    Q_OBJECT

public:
    explicit BugReportWindow(const BugReportWindowParts &parts);
    ~BugReportWindow() override;

    /// Shows the window, or raises it.
    void present();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void addForm();
    QWidget *makeButtons();
    void takeForm();
    void showState();

    const BugReportWindowParts m_parts;
    QPlainTextEdit *m_description;
    QCheckBox *m_isReproducible;
    InlineError *m_error;
    QString m_shownError;
    TextLabel *m_progress;
    Button *m_submit;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::shell
