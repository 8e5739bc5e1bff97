#include "shell/report/bug_report_window.h"

#include "shell/controls/button.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtGui/QKeyEvent>
#include <QtGui/QScreen>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

using account::GatewayBugReportViewModel;

namespace {

constexpr QSize kWindow(520, 440);

} // namespace

BugReportWindow::BugReportWindow(const BugReportWindowParts &parts)
    : m_parts(parts), m_description(new QPlainTextEdit),
      m_isReproducible(new QCheckBox(tr("Issue is reproducible"))), m_error(new InlineError(parts.theme)),
      m_progress(new TextLabel(parts.theme, {}, TypeStyle::small, Color::muted)),
      m_submit(new PrimaryButton(parts.theme, tr("Submit"))), m_scope(parts.main, parts.pool)
{
    setWindowTitle(tr("Report a Bug"));
    resize(kWindow);
    addForm();
    connect(m_description, &QPlainTextEdit::textChanged, this, &BugReportWindow::takeForm);
    connect(m_isReproducible, &QCheckBox::toggled, this, &BugReportWindow::takeForm);
    connect(m_submit, &QPushButton::clicked, this, [this] { m_scope.start(m_parts.model.send()); });
    connect(&parts.model, &GatewayBugReportViewModel::changed, this, &BugReportWindow::showState);
    showState();
}

BugReportWindow::~BugReportWindow() = default;

void BugReportWindow::addForm()
{
    const Theme &theme = m_parts.theme;
    auto *column = new QVBoxLayout(this);
    const int page = theme.space(Space::page);
    column->setContentsMargins(page, page, page, page);
    column->setSpacing(theme.space(Space::gap));
    column->addWidget(new TextLabel(theme, tr("Issue Details"), TypeStyle::h1));
    auto *hint = new TextLabel(theme,
                               tr("Please include steps to reproduce and expected behavior. Leave out what "
                                  "could name a patient."),
                               TypeStyle::body,
                               Color::text2);
    hint->setWordWrap(true);
    column->addWidget(hint);
    m_description->setAccessibleName(tr("Description"));
    m_description->setPlaceholderText(tr("Description"));
    m_description->setTabChangesFocus(true);
    column->addWidget(m_description, 1);
    column->addWidget(m_isReproducible);
    column->addWidget(m_error);
    m_error->hide();
    column->addWidget(makeButtons());
}

QWidget *BugReportWindow::makeButtons()
{
    auto *buttons = new QWidget;
    auto *row = new QHBoxLayout(buttons);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(m_parts.theme.space(Space::tight));
    auto *close = new Button(m_parts.theme, ButtonKind::secondary, tr("Close"));
    connect(close, &QPushButton::clicked, this, &QWidget::close);
    row->addWidget(m_progress, 1);
    row->addWidget(close);
    row->addWidget(m_submit);
    return buttons;
}

void BugReportWindow::present()
{
    if (!isVisible()) {
        move(screen()->availableGeometry().center() - rect().center());
    }
    show();
    raise();
    activateWindow();
    m_description->setFocus();
}

void BugReportWindow::takeForm()
{
    account::GatewayBugReportForm form = m_parts.model.form();
    form.descriptionText = m_description->toPlainText();
    form.isReproducible = m_isReproducible->isChecked();
    m_parts.model.setForm(form);
}

void BugReportWindow::showState()
{
    const GatewayBugReportViewModel &model = m_parts.model;
    const bool wasSending = m_submit->isBusy();
    m_submit->setBusy(model.isSending());
    m_submit->setEnabled(model.isSending() || !model.isSubmitDisabled());
    m_description->setReadOnly(model.isSending());
    m_isReproducible->setEnabled(!model.isSending());
    m_progress->setText(model.isSending() ? model.progressText() : QString());

    const QString error = model.errorMessage().value_or(QString());
    if (error.isEmpty()) {
        m_error->hide();
    } else if (error != m_shownError) {
        m_error->showMessage(tr("Failed to Send"), error);
    }
    m_shownError = error;
    if (wasSending && !model.isSending() && model.didSendSuccessfully()) {
        m_description->clear();
        m_isReproducible->setChecked(false);
        close();
        m_parts.sent();
    }
}

void BugReportWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape) {
        close();
    } else {
        QWidget::keyPressEvent(event);
    }
}

} // namespace gateway::shell
