#pragma once

#include "platform/autostart/autostart.h"
#include "platform/concurrency/task_scope.h"
#include "wizard/gateway_setup_draft.h"
#include "wizard/setup_checks.h"

#include <QCoro/QCoroTask>

#include <QtWidgets/QWidget>

#include <functional>
#include <optional>

namespace gateway::shell {

class Button;
class FormField;
class InlineError;
class Switch;
class TextField;
class TextLabel;
class Theme;

/// What the setup dialog works with; all outlive it.
struct SetupDialogParts
{
    const Theme &theme;
    platform::MainExecutor &main;
    platform::WorkerPool &pool;

    /// The settings as they stand.
    std::function<wizard::GatewaySetupDraft()> stored;

    /// Checks them, applies them and starts the listener. \return what stood in the way, or nothing.
    std::function<QCoro::Task<std::optional<QString>>(wizard::GatewaySetupDraft)> apply;

    platform::Autostart &autostart; ///< whether the gateway comes up with the desktop's session

    std::function<void()> finished; ///< the first setup is done; the dialog is closed by then
    std::function<void()> quit;
};

/// Under which AE title and on which port the gateway listens. As long as setup isn't finished it can't be
/// left but by finishing it or by quitting.
///
/// Owner: app. Thread: main.
class SetupDialog : public QWidget
{
    Q_OBJECT

public:
    explicit SetupDialog(const SetupDialogParts &parts);
    ~SetupDialog() override;

    /// Shows it with the settings as they stand; raises it as it is when it is visible.
    ///
    /// \param blocking  setup isn't finished.
    void present(bool blocking);

    bool isBlocking() const { return m_isBlocking; }

protected:
    bool event(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    QWidget *makeForm();
    QWidget *makeButtons();
    void fill();
    void fit();
    void showWords();
    void showIssues(bool all);
    wizard::GatewaySetupDraft draft() const;
    void confirm();
    QCoro::Task<> applyDraft();
    std::optional<QString> applyAutostart();
    void showProblem(const QString &problem);
    void setApplying(bool applying);

    const SetupDialogParts m_parts;
    bool m_isBlocking = false;
    bool m_isApplying = false;
    wizard::GatewaySetupDraft m_stored;
    TextLabel *m_title;
    TextLabel *m_sentence;
    TextField *m_aeTitle;
    FormField *m_aeTitleField;
    TextField *m_port;
    FormField *m_portField;
    Switch *m_autostart;
    InlineError *m_problem;
    Button *m_cancel;
    Button *m_quit;
    Button *m_confirm;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::shell
