#include "shell/preferences/account_settings_pane.h"

#include "account/account_view_model.h"
#include "account/gateway_change_password_view_model.h"
#include "account/session_words.h"
#include "shell/account/archive_form.h"
#include "shell/account/archive_trial_panel.h"
#include "shell/account/cloud_choice_row.h"
#include "shell/account/gateway_change_password_sheet.h"
#include "shell/account/terms_sheet.h"
#include "shell/controls/button.h"
#include "shell/controls/card.h"
#include "shell/controls/card_page.h"
#include "shell/controls/form_field.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/state_label.h"
#include "shell/controls/text_field.h"
#include "shell/controls/text_label.h"
#include "shell/preferences/profile_card.h"
#include "shell/theme/theme.h"

#include <QCoro/QCoroTask>

#include <QtGui/QShowEvent>
#include <QtWidgets/QHBoxLayout>

namespace gateway::shell {

using account::AccountViewModel;
using account::SessionState;

AccountSettingsPane::AccountSettingsPane(const PreferencesParts &parts)
    : SettingsPaneContainer(parts.theme, tr("Account"), parts.actions.openSetupWizard), m_parts(parts),
      m_state(new StateLabel(parts.theme)),
      m_line(new TextLabel(parts.theme, {}, TypeStyle::body, Color::text2)),
      m_signOut(new Button(parts.theme,
                           ButtonKind::secondary,
                           tr("Sign out"),
                           QStringLiteral("rectangle.portrait.and.arrow.right"))),
      m_sessionError(new InlineError(parts.theme)), m_termsError(new InlineError(parts.theme)),
      m_email(new TextField(parts.theme)), m_password(new PasswordField(parts.theme)),
      m_signInError(new InlineError(parts.theme)),
      m_cancel(new Button(parts.theme, ButtonKind::secondary, tr("Cancel"))),
      m_signIn(new PrimaryButton(parts.theme, tr("Sign In")))
{
    addStatus();
    addSignIn();
    addArchive();
    addSecurity();
    if (parts.account.hasProfile) {
        m_profileCard = new ProfileCard(parts.theme, parts.account.model.profile());
        page().add(m_profileCard);
    }
    addStore();
    page().endCards();
    listen();
    showSession();
    showTermsError();
}

void AccountSettingsPane::addStatus()
{
    QVBoxLayout &body = page().addCard(tr("Status")).body();
    auto *row = new QHBoxLayout;
    row->setSpacing(theme().space(Space::gap));
    auto *words = new QVBoxLayout;
    words->setSpacing(theme().space(Space::hair));
    m_line->setWordWrap(true);
    words->addWidget(m_state);
    words->addWidget(m_line);
    row->addLayout(words, 1);
    row->addWidget(m_signOut, 0, Qt::AlignVCenter);
    body.addLayout(row);
    body.addWidget(m_sessionError);
    body.addWidget(m_termsError);
    body.addWidget(new CloudChoiceRow(theme(), m_parts.account.cloud));
}

void AccountSettingsPane::addSignIn()
{
    m_signInCard = &page().addCard(tr("Sign In"));
    QVBoxLayout &body = m_signInCard->body();
    body.addWidget(
        page().paragraph(tr("Sign in to enable Quorin Cloud uploads and account-linked workflows.")));
    m_email->setInputMethodHints(Qt::ImhEmailCharactersOnly | Qt::ImhNoAutoUppercase);
    body.addWidget(new FormField(theme(), tr("Email"), m_email));
    body.addWidget(new FormField(theme(), tr("Password"), m_password));
    body.addWidget(m_signInError);
    auto *row = new QHBoxLayout;
    row->setSpacing(theme().space(Space::gap));
    row->addStretch(1);
    row->addWidget(m_cancel);
    row->addWidget(m_signIn);
    body.addLayout(row);
}

void AccountSettingsPane::addArchive()
{
    const PreferencesParts::Account &account = m_parts.account;
    if (account.archive == nullptr) {
        return;
    }
    m_archive = new ArchiveForm({.theme = theme(),
                                 .model = *account.archive,
                                 .auth = account.model.auth(),
                                 .openLink = m_parts.actions.openLink,
                                 .chooseFile = m_parts.actions.chooseFile,
                                 .isAddressShown = false});
    page().addCard({}).body().addWidget(m_archive); // which says itself what it is about
    m_trialCard = &page().addCard(tr("Try the Archive Out"));
    m_trialCard->body().addWidget(new ArchiveTrialPanel(theme(), *account.archive));
}

void AccountSettingsPane::addSecurity()
{
    m_securityCard = &page().addCard(tr("Security"));
    auto *row = new QHBoxLayout;
    row->setSpacing(theme().space(Space::gap));
    row->addWidget(page().paragraph(tr("Update your Quorin account password.")), 1);
    auto *change =
        new Button(theme(), ButtonKind::secondary, tr("Change Password…"), QStringLiteral("key.fill"));
    row->addWidget(change);
    m_securityCard->body().addLayout(row);
    connect(change, &QPushButton::clicked, this, &AccountSettingsPane::openPasswordSheet);
}

void AccountSettingsPane::addStore()
{
    if (m_parts.account.storePage.isEmpty() || m_archive != nullptr) {
        return;
    }
    m_storeCard = &page().addCard({});
    m_storeCard->body().addWidget(
        page().paragraph(tr("Need a Quorin Account? Create one in Quorin Lens on the Mac App Store.")));
    auto *link = new Button(theme(),
                            ButtonKind::secondary,
                            tr("Open Quorin Lens on the Mac App Store"),
                            QStringLiteral("arrow.up.right.square"));
    m_storeCard->body().addWidget(link, 0, Qt::AlignLeft);
    connect(
        link, &QPushButton::clicked, this, [this] { m_parts.actions.openLink(m_parts.account.storePage); });
}

void AccountSettingsPane::listen()
{
    AccountViewModel &model = m_parts.account.model;
    connect(&model.auth(), &account::QuorinAuthViewModel::changed, this, &AccountSettingsPane::showSession);
    connect(&model.profile(),
            &account::GatewayAccountSettingsViewModel::changed,
            this,
            &AccountSettingsPane::showSignIn);
    connect(&model, &AccountViewModel::changed, this, &AccountSettingsPane::showTermsError);
    connect(&model.terms(),
            &account::GatewayQuorinCloudTermsCoordinator::changed,
            this,
            &AccountSettingsPane::showTermsIfNeeded);
    connect(m_signOut, &QPushButton::clicked, &model, &AccountViewModel::signOut);
    connect(m_signIn, &QPushButton::clicked, this, &AccountSettingsPane::signIn);
    connect(m_cancel, &QPushButton::clicked, this, &AccountSettingsPane::cancelSignIn);
    for (const QLineEdit *field : {static_cast<QLineEdit *>(m_email), static_cast<QLineEdit *>(m_password)}) {
        connect(field, &QLineEdit::returnPressed, this, &AccountSettingsPane::signIn);
        connect(field, &QLineEdit::textChanged, this, &AccountSettingsPane::showSignIn);
    }
}

void AccountSettingsPane::showEvent(QShowEvent *event)
{
    SettingsPaneContainer::showEvent(event);
    if (!event->spontaneous()) {
        m_parts.account.model.setSeen(true);
        showTermsIfNeeded();
    }
}

void AccountSettingsPane::hideEvent(QHideEvent *event)
{
    SettingsPaneContainer::hideEvent(event);
    if (!event->spontaneous()) {
        m_parts.account.model.setSeen(false);
        m_password->setText({}); // unlike clear(), which could be undone
        if (m_archive != nullptr) {
            m_archive->forgetSecrets();
        }
    }
}

void AccountSettingsPane::refresh()
{
    AccountViewModel &model = m_parts.account.model;
    if (model.auth().state().isSignedIn() && !model.profile().isEditing()) {
        QCoro::connect(model.profile().load(true), this, [] {});
        model.checkTerms();
    }
}

void AccountSettingsPane::signIn()
{
    const QString email = m_email->text().trimmed();
    if (!m_signIn->isEnabled() || m_parts.account.model.auth().isChecking()) {
        return;
    }
    m_password->setRevealed(false);
    m_waitingAttempt = ++m_attempts;
    QCoro::connect(m_parts.account.model.auth().signIn(email, m_password->text()),
                   this,
                   [this, attempt = m_waitingAttempt](bool isSignedIn) { signInEnded(attempt, isSignedIn); });
    showSignIn();
}

void AccountSettingsPane::cancelSignIn()
{
    m_waitingAttempt = 0;
    m_password->setFocus();
    m_parts.account.model.auth().cancelSignIn();
}

void AccountSettingsPane::signInEnded(int attempt, bool isSignedIn)
{
    if (attempt != m_waitingAttempt) {
        return; // it was given up
    }
    m_waitingAttempt = 0;
    showSignIn();
    if (isSignedIn) {
        m_password->setText({});
    } else if (m_signInCard->isVisible()) {
        m_password->setFocus();
        m_password->selectAll();
    }
}

void AccountSettingsPane::openPasswordSheet()
{
    if (m_passwordSheet == nullptr) {
        m_passwordSheet = new GatewayChangePasswordSheet(theme(), m_parts.account.password, window());
        connect(m_passwordSheet,
                &GatewayChangePasswordSheet::succeeded,
                &m_parts.account.model.profile(),
                &account::GatewayAccountSettingsViewModel::passwordWasChanged);
    }
    m_passwordSheet->open();
}

void AccountSettingsPane::showSession()
{
    const bool isSignedIn = m_parts.account.model.auth().state().isSignedIn();
    setSubtitle(m_archive != nullptr ? tr("How this gateway signs in at its archive.")
                : isSignedIn         ? tr("Manage your Quorin account profile and active session.")
                                     : tr("Sign in to connect Quorin Gateway with Quorin Cloud services."));
    showStatus();
    showSignIn();
    const SessionState session = m_parts.account.model.auth().standing().state;
    const bool isKnown = session != SessionState::notKnownYet; // else the form would go while it is used
    m_signInCard->setVisible(m_archive == nullptr && isKnown &&
                             (!isSignedIn || session == SessionState::credentialsRefused));
    if (m_trialCard != nullptr) {
        m_trialCard->setVisible(isSignedIn);
    }
    m_securityCard->setVisible(isSignedIn && m_parts.account.hasProfile);
    if (m_profileCard != nullptr) {
        m_profileCard->setVisible(isSignedIn);
    }
    if (m_storeCard != nullptr) {
        m_storeCard->setVisible(isKnown && !isSignedIn);
    }
    if (!isSignedIn && m_passwordSheet != nullptr) {
        m_passwordSheet->closeSheet(); // it was about an account that nobody is signed in to
    }
}

void AccountSettingsPane::showStatus()
{
    const account::QuorinAuthViewModel &auth = m_parts.account.model.auth();
    const SessionState session = auth.standing().state;
    const std::optional<QString> &label = auth.signedInLabel();
    switch (session) {
    case SessionState::notKnownYet:
        m_state->setState(account::accountText(session, label), Color::muted);
        m_line->setText(QString());
        break;
    case SessionState::signedOut:
        m_state->setState(tr("Signed out"), Color::amber);
        m_line->setText(tr("No account is currently authenticated."));
        break;
    case SessionState::ended:
        m_state->setState(tr("Session ended"), Color::amber);
        m_line->setText(tr("No account is currently authenticated."));
        break;
    case SessionState::signInUnavailable:
        m_state->setState(account::accountText(session, label), Color::amber);
        m_line->setText(label.value_or(QString()));
        break;
    case SessionState::signedIn:
    case SessionState::credentialsRefused:
        const bool isRefused = session == SessionState::credentialsRefused;
        m_state->setState(isRefused ? account::accountText(session, label) : tr("Signed in"),
                          isRefused ? Color::red : Color::green);
        m_line->setText(account::accountText(SessionState::signedIn, label));
        break;
    }
    m_line->setVisible(!m_line->text().isEmpty());
    m_signOut->setVisible(auth.state().isSignedIn());
    m_signOut->setBusy(auth.isChecking());
}

void AccountSettingsPane::showSignIn()
{
    const account::QuorinAuthViewModel &auth = m_parts.account.model.auth();
    const bool isBusy = auth.isChecking();
    const bool hasEntries = !m_email->text().trimmed().isEmpty() && !m_password->text().isEmpty();
    m_cancel->setVisible(isBusy && m_waitingAttempt != 0);
    m_signIn->setBusy(isBusy);
    m_signIn->setEnabled(isBusy || hasEntries);
    m_email->setReadOnly(isBusy);
    m_password->setReadOnly(isBusy);
    const QString error = auth.lastAuthError().value_or(QString());
    InlineError *here = auth.state().isSignedIn() ? m_sessionError : m_signInError;
    InlineError *elsewhere = here == m_sessionError ? m_signInError : m_sessionError;
    elsewhere->hide();
    const bool isToldByProfile = here == m_sessionError && m_profileCard != nullptr &&
                                 m_parts.account.model.profile().errorMessage().has_value();
    if (error.isEmpty() || isToldByProfile) {
        here->hide();
    } else if (error != m_shownError || here->isHidden()) {
        here->showMessage(error, tr("Images are still received and kept."));
    }
    m_shownError = error;
}

void AccountSettingsPane::showTermsError()
{
    const QString error = m_parts.account.model.termsError().value_or(QString());
    if (error.isEmpty()) {
        m_termsError->hide();
    } else if (error != m_shownTermsError) {
        m_termsError->showMessage(error, tr("Images are still received and kept."));
    }
    m_shownTermsError = error;
}

void AccountSettingsPane::showTermsIfNeeded()
{
    account::GatewayQuorinCloudTermsCoordinator &terms = m_parts.account.model.terms();
    if (!terms.showTerms() || !isVisible()) {
        return;
    }
    if (m_termsSheet == nullptr) {
        m_termsSheet = new TermsSheet(theme(), terms, window());
        connect(m_termsSheet, &TermsSheet::accepted, this, [this] {
            m_parts.account.model.termsAccepted();
            m_parts.actions.termsAccepted();
        });
        connect(
            m_termsSheet, &TermsSheet::declined, &m_parts.account.model, &AccountViewModel::termsDeclined);
    }
    if (m_termsSheet->isHidden()) {
        m_termsSheet->open();
    }
}

} // namespace gateway::shell
