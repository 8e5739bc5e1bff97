#include "shell/account/sign_in_sheet.h"

#include "account/quorin_auth_view_model.h"
#include "shell/controls/button.h"
#include "shell/controls/form_field.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/symbol_tile.h"
#include "shell/controls/text_field.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtGui/QShowEvent>
#include <QtWidgets/QHBoxLayout>

#include <utility>

namespace gateway::shell {

namespace {

constexpr int kMarkEdge = 28;

} // namespace

SignInSheet::SignInSheet(const Theme &theme, account::QuorinAuthViewModel &auth, QWidget *parent)
    : Sheet(theme, *parent, tr("Sign In")), m_theme(theme), m_auth(auth), m_email(new TextField(theme)),
      m_password(new PasswordField(theme)), m_error(new InlineError(theme)),
      m_cancel(new Button(theme, ButtonKind::secondary, tr("Cancel"))),
      m_signIn(new PrimaryButton(theme, tr("Sign in"))),
      m_mark(new SymbolTile(theme, {}, Color::blue, kMarkEdge, SymbolTile::Ground::tinted)),
      m_successMessage(new TextLabel(theme, {}, TypeStyle::body, Color::text2)),
      m_continue(new PrimaryButton(theme, tr("Continue"))), m_form(makeForm()), m_success(makeSuccess())
{
    body().insertWidget(0, m_mark, 0, Qt::AlignLeft);
    body().addWidget(m_form);
    body().addWidget(m_success);
    begin();

    connect(&auth, &account::QuorinAuthViewModel::changed, this, &SignInSheet::showState);
    connect(m_cancel, &QAbstractButton::clicked, this, &SignInSheet::leave);
    connect(m_signIn, &QAbstractButton::clicked, this, &SignInSheet::signIn);
    connect(m_continue, &QAbstractButton::clicked, this, &SignInSheet::leave);
    for (const QLineEdit *field : {static_cast<QLineEdit *>(m_email), static_cast<QLineEdit *>(m_password)}) {
        connect(field, &QLineEdit::textChanged, this, &SignInSheet::showState);
    }
}

QWidget *SignInSheet::makeForm()
{
    auto *form = new QWidget;
    auto *column = new QVBoxLayout(form);
    column->setContentsMargins({});
    column->setSpacing(m_theme.space(Space::wide));
    auto *why = new TextLabel(
        m_theme, tr("Received images are sent to this account."), TypeStyle::body, Color::text2);
    why->setWordWrap(true);
    column->addWidget(why);
    m_email->setInputMethodHints(Qt::ImhEmailCharactersOnly | Qt::ImhNoAutoUppercase);
    column->addWidget(new FormField(m_theme, tr("Email"), m_email));
    column->addWidget(new FormField(m_theme, tr("Password"), m_password));
    column->addWidget(m_error);
    column->addSpacing(m_theme.space(Space::hair));
    auto *row = new QHBoxLayout;
    row->setSpacing(m_theme.space(Space::gap));
    row->addStretch();
    row->addWidget(m_cancel);
    row->addWidget(m_signIn);
    column->addLayout(row);
    return form;
}

QWidget *SignInSheet::makeSuccess()
{
    auto *success = new QWidget;
    auto *column = new QVBoxLayout(success);
    column->setContentsMargins({});
    column->setSpacing(m_theme.space(Space::page));
    m_successMessage->setWordWrap(true);
    column->addWidget(m_successMessage);
    column->addWidget(m_continue, 0, Qt::AlignRight);
    return success;
}

void SignInSheet::showEvent(QShowEvent *event)
{
    Sheet::showEvent(event);
    if (!event->spontaneous()) {
        begin();
    }
}

void SignInSheet::hideEvent(QHideEvent *event)
{
    Sheet::hideEvent(event);
    if (event->spontaneous()) {
        return;
    }
    if (std::exchange(m_waitingAttempt, 0) != 0) {
        m_auth.cancelSignIn();
    }
    forgetEntries();
    m_auth.clearLastAuthError();
    const bool hasToldAll = !m_success->isHidden();
    if (!isHidden() && hasToldAll) {
        leave(); // the window was closed over it; when that is shown again, there is nothing left to ask
    }
}

void SignInSheet::begin()
{
    setTitle(tr("Sign In"));
    m_mark->setSymbol(QStringLiteral("cloud.fill"), Color::blue);
    m_success->hide();
    m_form->show();
    setDefaultButton(m_signIn);
    forgetEntries();
    m_auth.clearLastAuthError();
    showState();
}

void SignInSheet::forgetEntries()
{
    m_email->setText({});
    m_password->setText({}); // unlike clear(), which could be undone
    m_password->setRevealed(false);
}

void SignInSheet::leave()
{
    closeSheet();
    Q_EMIT dismissed();
}

bool SignInSheet::hasEntries() const
{
    return !m_email->text().trimmed().isEmpty() && !m_password->text().isEmpty();
}

void SignInSheet::signIn()
{
    if (m_auth.isChecking() || !hasEntries()) {
        return;
    }
    m_password->setRevealed(false);
    m_waitingAttempt = ++m_attempts;
    QCoro::connect(m_auth.signIn(m_email->text().trimmed(), m_password->text()),
                   this,
                   [this, attempt = m_waitingAttempt](bool isSignedIn) { signInEnded(attempt, isSignedIn); });
}

void SignInSheet::signInEnded(int attempt, bool isSignedIn)
{
    if (attempt != m_waitingAttempt) {
        return; // it was given up
    }
    m_waitingAttempt = 0;
    if (isSignedIn) {
        showSuccess();
    } else {
        m_password->setFocus();
        m_password->selectAll();
    }
}

void SignInSheet::showSuccess()
{
    const std::optional<QString> &label = m_auth.signedInLabel();
    const QString words =
        label ? tr("You are now signed in as %1.").arg(*label) : tr("You are now signed in.");
    const std::optional<QString> &remark = m_auth.signInRemark();
    m_successMessage->setText(remark ? words + u' ' + *remark : words);
    setTitle(tr("Sign In Successful"));
    forgetEntries();
    m_form->hide();
    m_mark->setSymbol(QStringLiteral("checkmark.circle.fill"), Color::green);
    m_success->show();
    setDefaultButton(m_continue);
    m_continue->setFocus(Qt::TabFocusReason);
    QAccessibleEvent told(m_successMessage, QAccessible::Alert);
    QAccessible::updateAccessibility(&told);
}

void SignInSheet::showState()
{
    const bool isBusy = m_auth.isChecking();
    m_signIn->setBusy(isBusy);
    m_signIn->setEnabled(isBusy || hasEntries());
    m_email->setReadOnly(isBusy);
    m_password->setReadOnly(isBusy);

    const QString error = m_auth.lastAuthError().value_or(QString());
    if (error.isEmpty()) {
        m_error->hide();
    } else if (error != m_shownError) {
        m_error->showMessage(
            error,
            tr("Images are still received and kept. Check your entries and the network, then try again."));
    }
    m_shownError = error;
}

} // namespace gateway::shell
