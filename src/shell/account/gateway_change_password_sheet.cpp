#include "shell/account/gateway_change_password_sheet.h"

#include "account/gateway_change_password_view_model.h"
#include "shell/controls/button.h"
#include "shell/controls/form_field.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/text_field.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtGui/QAccessible>
#include <QtGui/QShowEvent>
#include <QtWidgets/QHBoxLayout>

namespace gateway::shell {

using account::GatewayChangePasswordViewModel;

GatewayChangePasswordSheet::GatewayChangePasswordSheet(const Theme &theme,
                                                       GatewayChangePasswordViewModel &password,
                                                       QWidget *parent)
    : Sheet(theme, *parent, tr("Change Password")), m_theme(theme), m_model(password),
      m_current(new PasswordField(theme)), m_new(new PasswordField(theme)),
      m_confirm(new PasswordField(theme)), m_error(new InlineError(theme)),
      m_saving(new TextLabel(theme, tr("Saving password…"), TypeStyle::small, Color::blueHi)),
      m_cancel(new Button(theme, ButtonKind::secondary, tr("Cancel"))),
      m_change(new PrimaryButton(theme, tr("Change Password"))), m_done(new PrimaryButton(theme, tr("OK"))),
      m_form(makeForm()), m_success(makeSuccess())
{
    body().addWidget(m_form);
    body().addWidget(m_success);
    connect(
        &password, &GatewayChangePasswordViewModel::changed, this, &GatewayChangePasswordSheet::showState);
    connect(m_cancel, &QAbstractButton::clicked, this, &GatewayChangePasswordSheet::leave);
    connect(m_change, &QAbstractButton::clicked, this, &GatewayChangePasswordSheet::change);
    connect(m_done, &QAbstractButton::clicked, this, [this] {
        leave();
        Q_EMIT succeeded();
    });
    begin();
}

QWidget *GatewayChangePasswordSheet::makeForm()
{
    auto *form = new QWidget;
    auto *column = new QVBoxLayout(form);
    column->setContentsMargins({});
    column->setSpacing(m_theme.space(Space::wide));
    column->addWidget(new FormField(m_theme, tr("Current Password"), m_current));
    column->addWidget(new FormField(m_theme, tr("New Password"), m_new));
    column->addWidget(new FormField(m_theme, tr("Confirm New Password"), m_confirm));
    column->addWidget(m_error);
    column->addWidget(m_saving);
    auto *row = new QHBoxLayout;
    row->setSpacing(m_theme.space(Space::gap));
    row->addStretch();
    row->addWidget(m_cancel);
    row->addWidget(m_change);
    column->addLayout(row);
    return form;
}

QWidget *GatewayChangePasswordSheet::makeSuccess()
{
    auto *success = new QWidget;
    auto *column = new QVBoxLayout(success);
    column->setContentsMargins({});
    column->setSpacing(m_theme.space(Space::page));
    auto *words = new TextLabel(
        m_theme, tr("Your password has been changed successfully."), TypeStyle::body, Color::text2);
    words->setWordWrap(true);
    column->addWidget(words);
    column->addWidget(m_done, 0, Qt::AlignRight);
    return success;
}

void GatewayChangePasswordSheet::showEvent(QShowEvent *event)
{
    Sheet::showEvent(event);
    if (!event->spontaneous()) {
        begin();
    }
}

void GatewayChangePasswordSheet::hideEvent(QHideEvent *event)
{
    Sheet::hideEvent(event);
    if (!event->spontaneous()) {
        forgetEntries();
    }
}

void GatewayChangePasswordSheet::begin()
{
    setTitle(tr("Change Password"));
    m_success->hide();
    m_form->show();
    m_error->hide();
    setDefaultButton(m_change);
    forgetEntries();
    showState();
}

void GatewayChangePasswordSheet::forgetEntries()
{
    for (PasswordField *field : {m_current, m_new, m_confirm}) {
        field->setText({}); // unlike clear(), which could be undone
        field->setRevealed(false);
    }
    m_model.setForm({});
}

void GatewayChangePasswordSheet::leave()
{
    closeSheet();
    Q_EMIT dismissed();
}

void GatewayChangePasswordSheet::change()
{
    if (m_model.isSaving()) {
        return;
    }
    m_error->hide();
    m_model.setForm({m_current->text(), m_new->text(), m_confirm->text()});
    QCoro::connect(m_model.changePassword(), this, [this](bool isChanged) { changed(isChanged); });
}

void GatewayChangePasswordSheet::changed(bool isChanged)
{
    if (isHidden()) { // its window was closed over the answer
        if (isChanged) {
            Q_EMIT succeeded();
        }
        return;
    }
    if (!isChanged) {
        m_error->showMessage(tr("Unable to Change Password"), m_model.errorMessage().value_or(QString()));
        m_current->setFocus();
        return;
    }
    setTitle(tr("Password Updated"));
    forgetEntries();
    m_form->hide();
    m_success->show();
    setDefaultButton(m_done);
    m_done->setFocus(Qt::TabFocusReason);
    QAccessibleEvent told(m_success, QAccessible::Alert);
    QAccessible::updateAccessibility(&told);
}

void GatewayChangePasswordSheet::showState()
{
    const bool isSaving = m_model.isSaving();
    m_saving->setVisible(isSaving);
    m_change->setBusy(isSaving);
    m_cancel->setEnabled(!isSaving);
    setDismissible(!isSaving);
    for (PasswordField *field : {m_current, m_new, m_confirm}) {
        field->setReadOnly(isSaving);
    }
}

} // namespace gateway::shell
