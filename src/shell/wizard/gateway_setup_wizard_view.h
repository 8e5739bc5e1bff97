#pragma once

#include "platform/concurrency/task_scope.h"
#include "shell/wizard/wizard_parts.h"

#include <QCoro/QCoroTask>

#include <QtCore/QList>
#include <QtWidgets/QWidget>

class QStackedWidget;

namespace gateway::shell {

class Button;
class InlineError;
class SummaryPage;
class TermsSheet;
class TextLabel;
class WizardPage;
class WizardRail;

/// The wizard: the rail, the page of the present step, and the ways on and back.
///
/// Owner: GatewaySetupWizardWindow. Thread: main.
class GatewaySetupWizardView : public QWidget
{
    Q_OBJECT

public:
    /// \param setup, terms  of this wizard alone; outlive this.
    /// \param blocking      it can't be left before setup is finished, but by quitting.
    GatewaySetupWizardView(const WizardParts &parts,
                           wizard::GatewaySetupWizardViewModel &setup,
                           account::GatewayQuorinCloudTermsCoordinator &terms,
                           bool blocking);

Q_SIGNALS:
    /// Setup is complete.
    void completed();

    /// "Close" was pressed.
    void dismissRequested();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void addPages();
    void addPage(WizardPage *page);
    QWidget *makeHead();
    QWidget *makeFooter();
    void listen();
    void goOn();
    QCoro::Task<> finish();
    void refresh();
    void refreshButtons();
    void showStep();
    void focusPage();
    void focusOnward();
    void showTermsIfNeeded();
    bool isLastStep() const;

    const WizardParts m_parts;
    wizard::GatewaySetupWizardViewModel &m_setup;
    account::GatewayQuorinCloudTermsCoordinator &m_terms;
    wizard::GatewaySetupStep m_shownStep = wizard::GatewaySetupStep::welcome;
    bool m_wasSignedIn;
    WizardRail *m_rail;
    TextLabel *m_title;
    TextLabel *m_subtitle;
    QStackedWidget *m_stack;
    QList<WizardPage *> m_pages;
    SummaryPage *m_summary = nullptr;
    InlineError *m_message;
    QString m_shownMessage;
    QWidget *m_footer = nullptr;
    Button *m_leave; // closes the window, or quits where it can't be closed
    Button *m_back;
    Button *m_continue;
    Button *m_finish;
    TermsSheet *m_termsSheet = nullptr; // from the first terms on
    platform::TaskScope m_scope;        // last: drained before the fields go
};

} // namespace gateway::shell
