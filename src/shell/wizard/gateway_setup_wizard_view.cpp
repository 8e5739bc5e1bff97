#include "shell/wizard/gateway_setup_wizard_view.h"

#include "account/quorin_auth_view_model.h"
#include "shell/account/terms_sheet.h"
#include "shell/controls/button.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"
#include "shell/wizard/account_page.h"
#include "shell/wizard/listener_page.h"
#include "shell/wizard/local_files_page.h"
#include "shell/wizard/summary_page.h"
#include "shell/wizard/welcome_page.h"
#include "shell/wizard/wizard_rail.h"

#include <QtGui/QPainter>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QStackedWidget>
#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

namespace {

constexpr int kWideEnough = 900; // for a rail at its full width

} // namespace

using wizard::GatewaySetupStep;
using wizard::GatewaySetupWizardViewModel;

GatewaySetupWizardView::GatewaySetupWizardView(const WizardParts &parts,
                                               GatewaySetupWizardViewModel &setup,
                                               account::GatewayQuorinCloudTermsCoordinator &terms,
                                               bool blocking)
    : m_parts(parts), m_setup(setup), m_terms(terms), m_wasSignedIn(parts.auth.state().isSignedIn()),
      m_rail(new WizardRail(parts.theme)), m_title(new TextLabel(parts.theme, {}, TypeStyle::h1)),
      m_subtitle(new TextLabel(parts.theme, {}, TypeStyle::body, Color::text2)), m_stack(new QStackedWidget),
      m_message(new InlineError(parts.theme)),
      m_leave(blocking ? new Button(parts.theme, ButtonKind::quiet, tr("Quit"), QStringLiteral("power"))
                       : new Button(parts.theme, ButtonKind::quiet, tr("Close"))),
      m_back(new Button(parts.theme, ButtonKind::secondary, tr("Back"))),
      m_continue(new PrimaryButton(parts.theme, tr("Continue"))),
      m_finish(new PrimaryButton(parts.theme, tr("Finish Setup"))),
      m_scope(parts.setup.main, parts.setup.pool)
{
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins({});
    row->setSpacing(0);
    row->addWidget(m_rail);
    auto *column = new QVBoxLayout;
    column->setContentsMargins({});
    column->setSpacing(0);
    row->addLayout(column, 1);
    addPages();
    column->addWidget(makeHead());
    column->addWidget(m_stack, 1);
    column->addWidget(makeFooter());
    if (blocking) {
        connect(m_leave, &QPushButton::clicked, this, parts.actions.quit);
    } else {
        connect(m_leave, &QPushButton::clicked, this, &GatewaySetupWizardView::dismissRequested);
    }
    listen();
    connect(&parts.theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
    showStep();
    refresh();
}

void GatewaySetupWizardView::addPages()
{
    m_summary = new SummaryPage({.theme = m_parts.theme,
                                 .setup = m_setup,
                                 .autostart = m_parts.autostart,
                                 .clock = m_parts.setup.clock,
                                 .chooseExportFile = m_parts.dialogs.chooseExportFile});
    addPage(new WelcomePage(m_parts.theme, m_setup));
    addPage(new ListenerPage(m_parts.theme, m_setup));
    addPage(new LocalFilesPage(m_parts.theme, m_setup, m_parts.dialogs.chooseFolder));
    addPage(new AccountPage({.theme = m_parts.theme,
                             .setup = m_setup,
                             .auth = m_parts.auth,
                             .archive = m_parts.archive,
                             .cloud = m_parts.cloud,
                             .main = m_parts.setup.main,
                             .pool = m_parts.setup.pool,
                             .storePage = m_parts.storePage,
                             .openLink = m_parts.dialogs.openLink,
                             .chooseFile = m_parts.dialogs.chooseFile}));
    addPage(m_summary);
}

void GatewaySetupWizardView::addPage(WizardPage *page)
{
    m_pages.append(page);
    m_stack->addWidget(page);
    connect(page, &WizardPage::goOnRequested, this, &GatewaySetupWizardView::goOn);
    connect( // once the ways on have followed
        page,
        &WizardPage::focusGone,
        this,
        [this] { focusOnward(); },
        Qt::QueuedConnection);
}

QWidget *GatewaySetupWizardView::makeHead()
{
    auto *head = new QWidget;
    auto *column = new QVBoxLayout(head);
    const int page = m_parts.theme.space(Space::page);
    column->setContentsMargins(page, page, page, m_parts.theme.space(Space::gap));
    column->setSpacing(m_parts.theme.space(Space::hair));
    m_subtitle->setWordWrap(true);
    column->addWidget(m_title);
    column->addWidget(m_subtitle);
    return head;
}

QWidget *GatewaySetupWizardView::makeFooter()
{
    const Theme &theme = m_parts.theme;
    m_footer = new QWidget;
    auto *column = new QVBoxLayout(m_footer);
    const int page = theme.space(Space::page);
    column->setContentsMargins(page, theme.space(Space::gap), page, theme.space(Space::wide));
    column->setSpacing(theme.space(Space::gap));
    column->addWidget(m_message);
    m_message->hide();
    auto *row = new QHBoxLayout;
    row->setSpacing(theme.space(Space::tight));
    row->addWidget(m_leave);
    row->addStretch(1);
    row->addWidget(m_back);
    row->addWidget(m_continue);
    row->addWidget(m_finish);
    column->addLayout(row);
    return m_footer;
}

void GatewaySetupWizardView::listen()
{
    connect(&m_setup, &GatewaySetupWizardViewModel::changed, this, &GatewaySetupWizardView::refresh);
    connect(m_back, &QPushButton::clicked, &m_setup, &GatewaySetupWizardViewModel::goBack);
    connect(m_continue, &QPushButton::clicked, this, &GatewaySetupWizardView::goOn);
    connect(m_finish, &QPushButton::clicked, this, &GatewaySetupWizardView::goOn);
}

bool GatewaySetupWizardView::isLastStep() const
{
    return m_setup.step() == GatewaySetupStep::summary;
}

void GatewaySetupWizardView::goOn()
{
    if (isLastStep()) {
        m_scope.start(finish());
    } else {
        m_setup.goNext();
    }
}

QCoro::Task<void> GatewaySetupWizardView::finish()
{
    const auto operation = m_scope.enter();
    const bool isComplete = co_await m_setup.finishSetup();
    if (!isComplete) {
        co_return;
    }
    const std::optional<QString> problem = m_summary->applyAutostart();
    if (problem) {
        m_parts.actions.tellProblem(*problem);
    }
    Q_EMIT completed();
}

void GatewaySetupWizardView::refresh()
{
    if (m_setup.step() != m_shownStep) {
        showStep();
    }
    m_pages.at(m_stack->currentIndex())->refresh();
    const bool isSignedIn = m_parts.auth.state().isSignedIn();
    const bool isAnswered = !m_parts.auth.isChecking() && isSignedIn != m_wasSignedIn;
    const QString message = m_setup.validationMessage().value_or(QString());
    if (message.isEmpty()) {
        m_message->hide();
    } else if (message != m_shownMessage || m_message->isHidden()) {
        m_message->showMessage(message, {});
    }
    m_shownMessage = message;
    refreshButtons();
    if (isAnswered) {
        m_wasSignedIn = isSignedIn;
        if (m_shownStep == GatewaySetupStep::quorinAccount) {
            focusPage(); // another form stands there now
        }
    }
    showTermsIfNeeded();
}

void GatewaySetupWizardView::refreshButtons()
{
    m_back->setEnabled(m_setup.canGoBack());
    m_leave->setEnabled(!m_setup.isApplying());
    m_continue->setVisible(!isLastStep());
    m_finish->setVisible(isLastStep());
    const bool isBusy = m_setup.isApplying() || m_setup.isCheckingFolderAccess();
    for (Button *onward : {m_continue, m_finish}) {
        onward->setBusy(isBusy);
        onward->setEnabled(isBusy || m_setup.canContinue()); // a busy one keeps the focus
    }
}

void GatewaySetupWizardView::showStep()
{
    m_shownStep = m_setup.step();
    m_rail->setStep(m_shownStep);
    m_title->setText(wizard::stepTitle(m_shownStep));
    m_subtitle->setText(wizard::stepSubtitle(m_shownStep));
    const int index = static_cast<int>(m_shownStep);
    m_stack->setCurrentIndex(index);
    m_pages.at(index)->refresh();
    refreshButtons();
    m_pages.at(index)->verticalScrollBar()->setValue(0); // as it is first seen, wherever it was left
    focusPage();
}

void GatewaySetupWizardView::focusPage()
{
    if (QWidget *first = m_pages.at(m_stack->currentIndex())->firstField()) {
        first->setFocus();
    } else {
        (isLastStep() ? m_finish : m_continue)->setFocus();
    }
}

void GatewaySetupWizardView::focusOnward()
{
    Button *onward = isLastStep() ? m_finish : m_continue;
    if (onward->isEnabled()) {
        onward->setFocus();
    } else {
        focusPage();
    }
}

void GatewaySetupWizardView::resizeEvent(QResizeEvent *event)
{
    m_rail->setNarrow(width() < kWideEnough);
    QWidget::resizeEvent(event);
}

void GatewaySetupWizardView::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.fillRect(rect(), m_parts.theme.color(Color::canvas));
    painter.fillRect(QRect(m_footer->x(), m_footer->y(), m_footer->width(), 1),
                     m_parts.theme.color(Color::line));
}

void GatewaySetupWizardView::showTermsIfNeeded()
{
    if (m_setup.step() != GatewaySetupStep::quorinAccount || !m_terms.showTerms()) {
        return;
    }
    if (m_termsSheet == nullptr) {
        m_termsSheet = new TermsSheet(m_parts.theme, m_terms, this);
        connect(m_termsSheet, &TermsSheet::accepted, &m_setup, &GatewaySetupWizardViewModel::termsAccepted);
        connect(
            m_termsSheet, &TermsSheet::declined, this, [this] { m_scope.start(m_setup.termsDeclined()); });
    }
    if (m_termsSheet->isHidden()) {
        m_termsSheet->open();
    }
}

} // namespace gateway::shell
