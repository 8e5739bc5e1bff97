#include "shell/setup/setup_dialog.h"

#include "platform/files/file_error.h"
#include "shell/controls/button.h"
#include "shell/controls/form_field.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/switch.h"
#include "shell/controls/symbol_tile.h"
#include "shell/controls/text_field.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtGui/QCloseEvent>
#include <QtGui/QKeyEvent>
#include <QtGui/QScreen>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QVBoxLayout>

#include <utility>

namespace gateway::shell {

namespace {

constexpr int kWidth = 460;

} // namespace

SetupDialog::SetupDialog(const SetupDialogParts &parts)
    : m_parts(parts), m_title(new TextLabel(parts.theme, {}, TypeStyle::h1)),
      m_sentence(new TextLabel(parts.theme, {}, TypeStyle::body, Color::text2)),
      m_aeTitle(new TextField(parts.theme)), m_port(new TextField(parts.theme)),
      m_autostart(new Switch(parts.theme, tr("Start when I sign in to this computer"))),
      m_problem(new InlineError(parts.theme)), m_scope(parts.main, parts.pool)
{
    setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint |
                   Qt::WindowMinimizeButtonHint);
    auto *column = new QVBoxLayout(this);
    const int page = parts.theme.space(Space::page);
    column->setContentsMargins(page, page, page, page);
    column->setSpacing(parts.theme.space(Space::wide));
    auto *head = new QHBoxLayout;
    head->setSpacing(parts.theme.space(Space::gap));
    head->addWidget(new SymbolTile(parts.theme,
                                   QStringLiteral("dot.radiowaves.left.and.right"),
                                   Color::blue,
                                   parts.theme.size(Size::icon),
                                   SymbolTile::Ground::tinted));
    head->addWidget(m_title, 1);
    column->addLayout(head);
    m_sentence->setWordWrap(true);
    column->addWidget(m_sentence);
    column->addWidget(makeForm());
    column->addWidget(m_autostart);
    m_problem->hide();
    column->addWidget(m_problem);
    column->addWidget(makeButtons());
}

SetupDialog::~SetupDialog()
{
    // They lose the focus while they die, and this is no dialog any more by then.
    m_aeTitle->disconnect(this);
    m_port->disconnect(this);
}

QWidget *SetupDialog::makeForm()
{
    const Theme &theme = m_parts.theme;
    auto *form = new QWidget;
    auto *row = new QHBoxLayout(form);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(theme.space(Space::gap));
    m_aeTitleField = new FormField(
        theme, tr("AE Title"), m_aeTitle, tr("The name that modalities call, at most 16 characters."));
    m_portField = new FormField(theme, tr("Port"), m_port, tr("1115 is usual here."));
    row->addWidget(m_aeTitleField, 2, Qt::AlignTop);
    row->addWidget(m_portField, 1, Qt::AlignTop);
    for (TextField *field : {m_aeTitle, m_port}) {
        connect(field, &QLineEdit::textEdited, this, [this] { showIssues(false); });
        connect(field, &QLineEdit::editingFinished, this, [this] { showIssues(true); });
        connect(field, &QLineEdit::returnPressed, this, &SetupDialog::confirm);
    }
    return form;
}

QWidget *SetupDialog::makeButtons()
{
    const Theme &theme = m_parts.theme;
    auto *buttons = new QWidget;
    auto *row = new QHBoxLayout(buttons);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(theme.space(Space::tight));
    m_quit = new Button(theme, ButtonKind::quiet, tr("Quit Quorin Gateway"), QStringLiteral("power"));
    m_cancel = new Button(theme, ButtonKind::secondary, tr("Cancel"));
    m_confirm = new PrimaryButton(theme, tr("Finish Setup"));
    row->addWidget(m_quit);
    row->addStretch(1);
    row->addWidget(m_cancel);
    row->addWidget(m_confirm);
    connect(m_quit, &QPushButton::clicked, this, m_parts.quit);
    connect(m_cancel, &QPushButton::clicked, this, &QWidget::close);
    connect(m_confirm, &QPushButton::clicked, this, &SetupDialog::confirm);
    return buttons;
}

void SetupDialog::present(bool blocking)
{
    if (!isVisible()) {
        m_isBlocking = blocking;
        fill();
        fit();
        const QRect there(screen()->availableGeometry());
        move(there.center() - rect().center());
    }
    show();
    raise();
    activateWindow();
}

void SetupDialog::fill()
{
    m_stored = m_parts.stored();
    m_aeTitle->setText(m_stored.aeTitle);
    m_port->setText(m_stored.portText);
    m_aeTitleField->setError({});
    m_portField->setError({});
    m_autostart->setChecked(m_parts.autostart.isEnabled());
    m_problem->hide();
    showWords();
    m_aeTitle->setFocus();
    m_aeTitle->selectAll();
}

void SetupDialog::showWords()
{
    setWindowTitle(m_isBlocking ? tr("Set Up Quorin Gateway") : tr("Preferences"));
    m_title->setText(m_isBlocking ? tr("Set up the listener") : tr("Listener"));
    m_sentence->setText(m_isBlocking
                            ? tr("Modalities send their images to this AE title and port. Until this is done "
                                 "nothing is received and nothing is sent.")
                            : tr("Modalities send their images to this AE title and port. The listener "
                                 "restarts with the new settings."));
    m_confirm->setText(m_isBlocking ? tr("Finish Setup") : tr("Apply"));
    m_cancel->setVisible(!m_isBlocking);
    m_quit->setVisible(m_isBlocking);
}

wizard::GatewaySetupDraft SetupDialog::draft() const
{
    wizard::GatewaySetupDraft draft = m_stored;
    draft.aeTitle = m_aeTitle->text();
    draft.portText = m_port->text();
    return draft;
}

/// \param all  also mistakes that whoever is typing may be about to mend.
void SetupDialog::showIssues(bool all)
{
    const auto show = [all](FormField *field, const TextField *text, const std::optional<QString> &issue) {
        if (!issue || all || text->isInvalid()) {
            field->setError(issue.value_or(QString()));
        }
    };
    show(m_aeTitleField, m_aeTitle, wizard::aeTitleIssue(m_aeTitle->text()));
    show(m_portField, m_port, wizard::portFormatIssue(m_port->text()));
}

void SetupDialog::confirm()
{
    showIssues(true);
    if (m_isApplying || m_aeTitle->isInvalid() || m_port->isInvalid()) {
        return;
    }
    m_scope.start(applyDraft());
}

QCoro::Task<void> SetupDialog::applyDraft()
{
    const auto operation = m_scope.enter();
    setApplying(true);

    std::optional<QString> problem = co_await m_parts.apply(draft());
    if (!problem) {
        problem = applyAutostart();
    }

    setApplying(false);
    if (problem) {
        showProblem(*problem);
        co_return;
    }
    const bool wasFirst = std::exchange(m_isBlocking, false);
    close();
    if (wasFirst) {
        m_parts.finished();
    }
}

/// \return what stood in the way, or nothing.
std::optional<QString> SetupDialog::applyAutostart()
{
    if (m_autostart->isChecked() == m_parts.autostart.isEnabled()) {
        return std::nullopt;
    }
    try {
        m_parts.autostart.setEnabled(m_autostart->isChecked());
        return std::nullopt;
    } catch (const platform::FileError &error) {
        return tr("The start with the session can't be changed: %1").arg(error.message());
    }
}

void SetupDialog::setApplying(bool applying)
{
    m_isApplying = applying;
    m_confirm->setBusy(applying);
    m_aeTitle->setEnabled(!applying);
    m_port->setEnabled(!applying);
    m_autostart->setEnabled(!applying);
    m_cancel->setEnabled(!applying);
    if (applying) {
        m_problem->hide();
    }
}

void SetupDialog::showProblem(const QString &problem)
{
    m_problem->showMessage(problem, tr("Change the settings and try again."));
    m_problem->show();
    m_port->setFocus();
}

bool SetupDialog::event(QEvent *event)
{
    const bool isTaken = QWidget::event(event);
    if (event->type() == QEvent::LayoutRequest) {
        fit(); // the words about a mistake come and go
    }
    return isTaken;
}

void SetupDialog::fit()
{
    setFixedSize(kWidth, layout()->totalHeightForWidth(kWidth));
}

void SetupDialog::closeEvent(QCloseEvent *event)
{
    if (m_isBlocking || m_isApplying) {
        event->ignore();
    } else {
        event->accept();
    }
}

void SetupDialog::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape) {
        close();
    } else {
        QWidget::keyPressEvent(event);
    }
}

} // namespace gateway::shell
