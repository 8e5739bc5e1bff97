#include "shell/account/archive_sign_in_sheet.h"

#include "shell/controls/button.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtCore/QTimer>
#include <QtGui/QShowEvent>
#include <QtWidgets/QApplication>
#include <QtWidgets/QScrollArea>

namespace gateway::shell {

namespace {

constexpr int kWidth = 520;
constexpr int kFormHeight = 420;

} // namespace

ArchiveSignInSheet::ArchiveSignInSheet(const ArchiveFormParts &parts, QWidget *parent)
    : Sheet(parts.theme, *parent, tr("Sign In")), m_parts(parts), m_form(new ArchiveForm(parts)),
      m_success(new TextLabel(parts.theme, {}, TypeStyle::body, Color::text2)),
      m_continue(new PrimaryButton(parts.theme, tr("Continue")))
{
    setPanelWidth(kWidth);
    auto *scroll = new QScrollArea;
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setMinimumHeight(kFormHeight / 2);
    scroll->viewport()->setAutoFillBackground(false);
    auto *inner = new QWidget;
    auto *column = new QVBoxLayout(inner);
    column->setContentsMargins(0, 0, parts.theme.space(Space::wide), 0);
    column->addWidget(m_form);
    inner->setAutoFillBackground(false);
    scroll->setWidget(inner);
    inner->setAutoFillBackground(false);
    m_scroll = scroll;
    connect(qApp, &QApplication::focusChanged, scroll, [scroll](QWidget * /*before*/, QWidget *now) {
        if (now != nullptr && scroll->isAncestorOf(now)) {
            scroll->ensureWidgetVisible(now);
        }
    });
    body().addWidget(m_scroll, 1);
    auto *close = new Button(parts.theme, ButtonKind::secondary, tr("Close"));
    m_actions = m_form->takeActions(close);
    body().addWidget(m_actions);
    m_success->setWordWrap(true);
    body().addWidget(m_success);
    body().addWidget(m_continue, 0, Qt::AlignRight);
    setPanelMinimumHeight(kFormHeight);
    connect(m_form, &ArchiveForm::signedIn, this, &ArchiveSignInSheet::showSuccess);
    for (const Button *leave : {close, m_continue}) {
        connect(leave, &QAbstractButton::clicked, this, [this] {
            closeSheet();
            Q_EMIT dismissed();
        });
    }
    showForm();
}

void ArchiveSignInSheet::showEvent(QShowEvent *event)
{
    Sheet::showEvent(event);
    if (!event->spontaneous()) {
        showForm();
        // Behind the sheet's own choice, which is the first part that takes keys.
        QTimer::singleShot(0, m_form, [this] { m_form->firstField()->setFocus(Qt::TabFocusReason); });
    }
}

void ArchiveSignInSheet::hideEvent(QHideEvent *event)
{
    Sheet::hideEvent(event);
    if (!event->spontaneous()) {
        m_form->giveUp();
        m_form->forgetSecrets();
    }
}

void ArchiveSignInSheet::showForm()
{
    setTitle(tr("Sign In"));
    m_success->hide();
    m_continue->hide();
    m_scroll->show();
    m_actions->show();
}

void ArchiveSignInSheet::showSuccess()
{
    const std::optional<QString> &label = m_parts.auth.signedInLabel();
    setTitle(tr("Sign In Successful"));
    m_success->setText(label ? tr("You are now signed in as %1.").arg(*label) : tr("You are now signed in."));
    m_scroll->hide();
    m_actions->hide();
    m_success->show();
    m_continue->show();
    m_continue->setFocus(Qt::TabFocusReason);
}

} // namespace gateway::shell
