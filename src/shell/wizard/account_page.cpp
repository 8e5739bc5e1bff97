#include "shell/wizard/account_page.h"

#include "account/quorin_auth_view_model.h"
#include "shell/account/archive_form.h"
#include "shell/account/archive_trial_panel.h"
#include "shell/account/cloud_choice_row.h"
#include "shell/controls/button.h"
#include "shell/controls/card.h"
#include "shell/controls/form_field.h"
#include "shell/controls/state_label.h"
#include "shell/controls/text_field.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QHBoxLayout>

namespace gateway::shell {

using wizard::GatewaySetupWizardViewModel;

AccountPage::AccountPage(const Parts &parts)
    : WizardPage(parts.theme, parts.setup), m_parts(parts),
      m_message(new TextLabel(parts.theme, {}, TypeStyle::bodyStrong)), m_email(new TextField(parts.theme)),
      m_password(new PasswordField(parts.theme)),
      m_signIn(new Button(parts.theme, ButtonKind::secondary, tr("Sign in now"))),
      m_skip(new Button(parts.theme, ButtonKind::quiet, tr("Skip for now"))),
      m_cancel(new Button(parts.theme, ButtonKind::quiet, tr("Cancel"))),
      m_label(new TextLabel(parts.theme, {}, TypeStyle::h2)),
      m_checkingTerms(new TextLabel(
          parts.theme, tr("Checking Quorin Cloud Terms & Conditions…"), TypeStyle::body, Color::blueHi)),
      m_otherAccount(new Button(parts.theme, ButtonKind::secondary, tr("Use Different Account"))),
      m_scope(parts.main, parts.pool)
{
    addMessage();
    addCloud();
    addSignIn();
    addSession();
    endCards();
    listen();
    refresh();
}

void AccountPage::addMessage()
{
    m_messageCard = &addCard({});
    m_message->setWordWrap(true);
    m_messageCard->body().addWidget(m_message);
}

void AccountPage::addCloud()
{
    addCard({}).body().addWidget(new CloudChoiceRow(
        theme(), m_parts.cloud, tr("What was entered in the steps before is asked for again.")));
}

void AccountPage::addSignIn()
{
    m_signInCard = &addCard({});
    QVBoxLayout &body = m_signInCard->body();
    m_email->setInputMethodHints(Qt::ImhEmailCharactersOnly | Qt::ImhNoAutoUppercase);
    auto *email = new FormField(theme(), tr("Email"), m_email);
    auto *password = new FormField(theme(), tr("Password"), m_password);
    QWidget *ways = makeWays();
    if (m_parts.archive != nullptr) {
        m_archive = new ArchiveForm({.theme = theme(),
                                     .model = *m_parts.archive,
                                     .auth = m_parts.auth,
                                     .openLink = m_parts.openLink,
                                     .chooseFile = m_parts.chooseFile,
                                     .isSetUp = false,
                                     .isAddressShown = false,
                                     .otherWays = ways});
        body.addWidget(m_archive);
    }
    for (QWidget *part : {static_cast<QWidget *>(email), static_cast<QWidget *>(password)}) {
        part->setVisible(m_archive == nullptr);
        body.addWidget(part);
    }
    if (m_archive == nullptr) {
        body.addWidget(ways);
    }
    body.addWidget(paragraph(tr("Signing in is optional for setup completion. You can sign in later from the "
                                "tray menu or Preferences.")));
    if (!m_parts.storePage.isEmpty() && m_archive == nullptr) {
        body.addWidget(makeStoreLink());
    }
}

QWidget *AccountPage::makeWays()
{
    auto *ways = new QWidget;
    auto *row = new QHBoxLayout(ways);
    row->setContentsMargins({});
    row->setSpacing(theme().space(Space::tight));
    for (Button *button : {m_signIn, m_skip, m_cancel}) {
        row->addWidget(button);
    }
    row->addStretch(1);
    return ways;
}

QWidget *AccountPage::makeStoreLink()
{
    auto *store = new QWidget;
    auto *column = new QVBoxLayout(store);
    column->setContentsMargins(0, theme().space(Space::tight), 0, 0);
    column->setSpacing(theme().space(Space::tight));
    column->addWidget(
        paragraph(tr("Need a Quorin Account? Create one in Quorin Lens on the Mac App Store.")));
    auto *link = new Button(theme(),
                            ButtonKind::secondary,
                            tr("Open Quorin Lens on the Mac App Store"),
                            QStringLiteral("arrow.up.right.square"));
    column->addWidget(link, 0, Qt::AlignLeft);
    connect(link, &QPushButton::clicked, this, [this] { m_parts.openLink(m_parts.storePage); });
    return store;
}

void AccountPage::addSession()
{
    m_sessionCard = &addCard(tr("Account Connected"));
    QVBoxLayout &body = m_sessionCard->body();
    auto *head = new QHBoxLayout;
    head->addWidget(new TextLabel(theme(), tr("Connection Status"), TypeStyle::small, Color::text2), 1);
    auto *state = new StateLabel(theme());
    state->setState(m_parts.archive != nullptr ? tr("Signed in") : tr("Active Quorin session"), Color::green);
    head->addWidget(state);
    body.addLayout(head);
    body.addWidget(new TextLabel(theme(), tr("Signed in as"), TypeStyle::small, Color::text2));
    m_label->setWordWrap(true);
    body.addWidget(m_label);
    if (m_parts.archive == nullptr) {
        body.addWidget(paragraph(tr("You can continue to Summary, or switch accounts if you signed in with "
                                    "the wrong workspace.")));
    }
    body.addWidget(m_checkingTerms);
    body.addWidget(m_otherAccount, 0, Qt::AlignLeft);
    if (m_parts.archive != nullptr) {
        body.addWidget(new ArchiveTrialPanel(theme(), *m_parts.archive));
    }
}

void AccountPage::listen()
{
    const auto signIn = [this] { m_scope.start(this->signIn()); };
    connect(m_email, &QLineEdit::textEdited, &setup(), &GatewaySetupWizardViewModel::updateAccountEmail);
    connect(
        m_password, &QLineEdit::textEdited, &setup(), &GatewaySetupWizardViewModel::updateAccountPassword);
    connect(m_signIn, &QPushButton::clicked, this, signIn);
    connect(m_email, &QLineEdit::returnPressed, this, signIn);
    connect(m_password, &QLineEdit::returnPressed, this, signIn);
    if (m_archive != nullptr) {
        connect(m_archive, &ArchiveForm::entriesChanged, &setup(), [this] {
            setup().updateArchiveEntries(m_archive->hasEntries());
        });
    }
    connect(m_skip, &QPushButton::clicked, &setup(), &GatewaySetupWizardViewModel::skipSignIn);
    connect(m_cancel, &QPushButton::clicked, this, [this] {
        m_password->setFocus();
        setup().cancelSignIn();
    });
    connect(m_otherAccount, &QPushButton::clicked, this, [this] { m_scope.start(setup().signOut()); });
}

QCoro::Task<void> AccountPage::signIn()
{
    const auto operation = m_scope.enter();
    co_await setup().signIn();
    if (m_scope.stopToken().stop_requested() || !setup().accountMessageIsError()) {
        co_return; // signed in, or given up
    }
    QLineEdit *toMend = m_email->text().trimmed().isEmpty() ? static_cast<QLineEdit *>(m_email) : m_password;
    toMend->setFocus();
    toMend->selectAll();
}

QWidget *AccountPage::firstField()
{
    if (m_parts.auth.state().isSignedIn()) {
        return nullptr;
    }
    return m_archive != nullptr ? m_archive->firstField() : m_email;
}

void AccountPage::refresh()
{
    const bool isSignedIn = m_parts.auth.state().isSignedIn();
    const bool isBusy = m_parts.auth.isChecking();
    m_message->setText(setup().accountMessage().value_or(QString()));
    m_message->setColor(setup().accountMessageIsError() ? Color::red : Color::green);
    m_messageCard->setVisible(setup().accountMessage().has_value());

    m_signInCard->setVisible(!isSignedIn);
    for (QLineEdit *field : {static_cast<QLineEdit *>(m_email), static_cast<QLineEdit *>(m_password)}) {
        field->setReadOnly(isBusy); // which keeps the focus
        const QString &entered =
            field == m_email ? setup().draft().accountEmail : setup().draft().accountPassword;
        if (field->text() != entered) {
            field->setText(entered);
        }
    }
    m_signIn->setVisible(m_archive == nullptr);
    m_signIn->setBusy(isBusy && !isSignedIn);
    m_skip->setVisible(!setup().waitsForSignIn());
    m_skip->setEnabled(!isBusy);
    m_cancel->setVisible(setup().waitsForSignIn());

    m_sessionCard->setVisible(isSignedIn);
    m_label->setText(m_parts.auth.signedInLabel().value_or(QString()));
    m_label->setVisible(!m_label->text().isEmpty());
    m_checkingTerms->setVisible(setup().isCheckingTerms());
    m_otherAccount->setBusy(isBusy && isSignedIn);
}

} // namespace gateway::shell
