#pragma once

#include "account/gateway_bug_report_view_model.h"
#include "platform/concurrency/task_scope.h"

#include <QtCore/QStringList>
#include <QtWidgets/QWidget>

#include <functional>

class QCheckBox;
class QPlainTextEdit;

namespace gateway::shell {

class AttachmentList;
class BundleSheet;
class Button;
class Card;
class ReportAlert;
class TextLabel;
class Theme;

/// What the report window works with; all outlive it.
struct BugReportWindowParts
{
    const Theme &theme;
    account::GatewayBugReportViewModel &model;
    platform::MainExecutor &main;
    platform::WorkerPool &pool;

    /// Where a report goes.
    struct Ways
    {
        bool isServiceThere = true; ///< the cloud takes reports

        /// Begins a mail to support with this text, where the cloud takes none; empty where there is no
        /// support to write to.
        std::function<void(const QString &description)> writeToSupport = {};
    };
    Ways ways;

    /// Each shows a dialog over `parent`, and returns at once.
    struct Dialogs
    {
        std::function<void(QWidget *parent, const std::function<void(const QStringList &)> &chosen)>
            chooseFiles;
        std::function<void(
            QWidget *parent, const QString &name, const std::function<void(const QString &)> &chosen)>
            chooseBundleFile; ///< an empty path where somebody changed their mind
    };
    Dialogs dialogs;

    std::function<void()> sent; ///< the report has arrived, and the window was closed before
};

/// Takes the description of a problem, with files and a support bundle where they are wanted, and sends it.
/// What was entered stays until it has arrived.
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
    QWidget *makePage();
    Card *makeCard(const QString &title);
    Card *makeDetails();
    Card *makeAttachments();
    Card *makeBundle();
    QWidget *makeFooter();
    TextLabel *paragraph(const QString &text);
    void listen();
    void takeForm();
    void takeFiles(const QStringList &paths);
    void leaveOut(const QUrl &file);
    void saveBundle();
    void go();
    void showState();
    void showBundle();
    void showEnd();
    void beginAnew();

    const BugReportWindowParts m_parts;
    QPlainTextEdit *m_description;
    QCheckBox *m_isReproducible;
    QCheckBox *m_duringImport;
    QCheckBox *m_duringOpening;
    AttachmentList *m_files;
    TextLabel *m_filesNeeded;
    Button *m_choose;
    QCheckBox *m_withBundle;
    TextLabel *m_bundleState;
    Button *m_read;
    Button *m_save;
    TextLabel *m_progress;
    Button *m_submit; ///< null where there is nobody to send to
    BundleSheet *m_bundleSheet;
    ReportAlert *m_sentAlert;
    ReportAlert *m_failedAlert;
    bool m_wasSending = false;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::shell
