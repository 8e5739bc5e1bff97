#include "shell/account/archive_form.h"

#include "shell/account/device_code_panel.h"
#include "shell/controls/button.h"
#include "shell/controls/combo_box.h"
#include "shell/controls/form_field.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/switch.h"
#include "shell/controls/text_field.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QCoro/QCoroTask>

#include <QtCore/QLocale>
#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>
#include <utility>

namespace gateway::shell {

using account::ArchiveEntries;
using account::ArchiveSignInEnd;
using cloud_client::ArchiveSignIn;
using SecretIn = cloud_client::OAuthClient::SecretIn;
using Method = ArchiveSignIn::Method;

ArchiveForm::ArchiveForm(const ArchiveFormParts &parts)
    : m_parts(parts), m_way(new ComboBox(parts.theme)), m_secretIn(new ComboBox(parts.theme)),
      m_userName(new TextField(parts.theme)), m_password(new PasswordField(parts.theme)),
      m_token(new PasswordField(parts.theme)), m_tokenFile(new TextField(parts.theme)),
      m_issuer(new TextField(parts.theme)), m_clientId(new TextField(parts.theme)),
      m_clientSecret(new PasswordField(parts.theme)), m_signingKey(new TextField(parts.theme)),
      m_scope(new TextField(parts.theme)), m_audience(new TextField(parts.theme)),
      m_tokenEndpoint(new TextField(parts.theme)), m_deviceEndpoint(new TextField(parts.theme)),
      m_withCertificate(new Switch(parts.theme, tr("Show a client certificate, too"))),
      m_certificate(new TextField(parts.theme)), m_key(new TextField(parts.theme)),
      m_error(new InlineError(parts.theme)),
      m_remark(new TextLabel(parts.theme, {}, TypeStyle::body, Color::amber)),
      m_cancel(new Button(parts.theme, ButtonKind::secondary, tr("Cancel"))),
      m_signIn(new PrimaryButton(parts.theme, tr("Sign In")))
{
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(parts.theme.space(Space::gap));
    addHead(*column);
    addFields(*column);
    addFoot(*column);
    column->addStretch(1); // rows stay beside each other where there is more room than they need
    listen();
    ArchiveSignIn usual;
    usual.method = Method::basic;
    fillIn(usual);
    follow();
}

QWidget *ArchiveForm::labelled(const QString &name, ComboBox *box)
{
    auto *row = new QWidget;
    auto *column = new QVBoxLayout(row);
    column->setContentsMargins({});
    column->setSpacing(m_parts.theme.space(Space::hair));
    auto *label = new TextLabel(m_parts.theme, name, TypeStyle::small, Color::text2);
    label->setBuddy(box);
    box->setAccessibleName(name);
    box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    connect(box, &QComboBox::currentTextChanged, box, &QWidget::setToolTip); // a long one ends in dots
    column->addWidget(label);
    column->addWidget(box);
    return row;
}

void ArchiveForm::addHead(QVBoxLayout &column)
{
    if (m_parts.isAddressShown) {
        column.addWidget(new TextLabel(m_parts.theme, tr("Archive"), TypeStyle::small, Color::text2));
        auto *address = new TextLabel(m_parts.theme, m_parts.model.address(), TypeStyle::bodyStrong);
        address->setWordWrap(true);
        address->setTextInteractionFlags(Qt::TextSelectableByMouse);
        column.addWidget(address);
    }
    for (const auto &[name, way] :
         {std::pair(tr("User name and password"), Way::basic),
          std::pair(tr("Token"), Way::bearer),
          std::pair(tr("Token from a file"), Way::tokenFile),
          std::pair(tr("OAuth 2.0, by a client and its secret"), Way::clientCredentials),
          std::pair(tr("OAuth 2.0, by a code on another device"), Way::device),
          std::pair(tr("Client certificate alone"), Way::certificate),
          std::pair(tr("None"), Way::none)}) {
        m_way->addItem(name, static_cast<int>(way));
    }
    column.addWidget(labelled(tr("Way of signing in"), m_way));
}

FormField *
ArchiveForm::addField(QVBoxLayout &column, const QString &name, TextField *field, const QString &hint)
{
    auto *made = new FormField(m_parts.theme, name, field, hint);
    column.addWidget(made);
    connect(field, &QLineEdit::textEdited, this, &ArchiveForm::edited);
    connect(field, &QLineEdit::returnPressed, this, &ArchiveForm::signIn);
    return made;
}

/// Of files a path is typed or, more often, chosen.
FormField *
ArchiveForm::addFileField(QVBoxLayout &column, const QString &name, TextField *field, const QString &hint)
{
    FormField *made = addField(column, name, field, hint);
    auto *choose = new Button(m_parts.theme, ButtonKind::secondary, tr("Choose…"));
    choose->setAccessibleName(tr("Choose: %1").arg(name));
    made->addBeside(choose);
    connect(choose, &QPushButton::clicked, this, [this, name, field] {
        m_parts.chooseFile(window(), name, [form = QPointer(this), field](const QString &path) {
            if (form && !path.isEmpty()) {
                field->setText(path);
                field->setModified(true); // as if it were typed
                form->edited();
            }
        });
    });
    return made;
}

void ArchiveForm::addFields(QVBoxLayout &column)
{
    addField(column, tr("User name"), m_userName);
    addField(column, tr("Password"), m_password);
    addField(column, tr("Token"), m_token);
    addFileField(column,
                 tr("File of the token"),
                 m_tokenFile,
                 tr("Its whole path. It is read again when it changes."));
    addField(column, tr("Issuer"), m_issuer, tr("Its web address. What it publishes names the endpoints."));
    addField(column, tr("Client ID"), m_clientId);
    for (const auto &[name, place] : {std::pair(tr("In the header of the request"), SecretIn::header),
                                      std::pair(tr("In the body of the request"), SecretIn::body),
                                      std::pair(tr("As a statement signed by a key"), SecretIn::assertion),
                                      std::pair(tr("By the client certificate"), SecretIn::certificate)}) {
        m_secretIn->addItem(name, static_cast<int>(place));
    }
    m_secretInRow = labelled(tr("How the client shows who it is"), m_secretIn);
    column.addWidget(m_secretInRow);
    m_secretField = addField(column, tr("Client secret"), m_clientSecret);
    addFileField(column, tr("File of the key that signs"), m_signingKey, tr("PEM, without a passphrase."));
    addField(column, tr("Scope"), m_scope);
    addField(column, tr("Audience"), m_audience);
    addField(column, tr("Token endpoint"), m_tokenEndpoint, tr("Only where the issuer publishes none."));
    addField(column, tr("Device endpoint"), m_deviceEndpoint, tr("Only where the issuer publishes none."));
    column.addWidget(m_withCertificate);
    m_certificateField = addFileField(column, tr("File of the client certificate"), m_certificate);
    addFileField(column, tr("File of its key"), m_key, tr("Empty where the same file holds both."));
}

void ArchiveForm::addFoot(QVBoxLayout &column)
{
    auto *code = new DeviceCodePanel(m_parts.theme, m_parts.model, m_parts.openLink);
    connect(code, &DeviceCodePanel::cancelled, this, [this] {
        m_waitingAttempt = 0;
        m_parts.model.cancel();
        m_signIn->setFocus();
    });
    column.addWidget(code);
    m_code = code;
    m_remark->setWordWrap(true);
    m_remark->hide();
    column.addWidget(m_remark);
    column.addWidget(m_error);
    m_error->hide();
    m_actions = new QWidget;
    auto *row = new QHBoxLayout(m_actions);
    row->setContentsMargins({});
    row->setSpacing(m_parts.theme.space(Space::gap));
    if (m_parts.otherWays != nullptr) {
        row->addWidget(m_parts.otherWays);
    }
    row->addStretch(1);
    row->addWidget(m_cancel);
    row->addWidget(m_signIn);
    column.addWidget(m_actions);
}

QWidget *ArchiveForm::takeActions(QWidget *leave)
{
    auto *row = qobject_cast<QHBoxLayout *>(m_actions->layout());
    row->insertWidget(row->indexOf(m_cancel), leave);
    layout()->removeWidget(m_actions);
    return m_actions;
}

void ArchiveForm::listen()
{
    const auto chosen = [this] {
        showFields();
        edited();
    };
    connect(m_way, &QComboBox::activated, this, chosen);
    connect(m_secretIn, &QComboBox::activated, this, chosen);
    connect(m_withCertificate, &QAbstractButton::clicked, this, chosen);
    connect(m_signIn, &QAbstractButton::clicked, this, &ArchiveForm::signIn);
    connect(m_cancel, &QAbstractButton::clicked, this, [this] {
        giveUp();
        m_signIn->setFocus();
    });
    connect(&m_parts.model, &account::ArchiveSignInViewModel::changed, this, &ArchiveForm::showState);
    connect(&m_parts.auth, &account::QuorinAuthViewModel::changed, this, &ArchiveForm::follow);
}

void ArchiveForm::edited()
{
    m_isEdited = true;
    Q_EMIT entriesChanged();
}

bool ArchiveForm::hasEntries() const
{
    const QList<TextField *> all = findChildren<TextField *>();
    return std::any_of(all.begin(), all.end(), [](const TextField *field) {
        return !field->parentWidget()->isHidden() && field->isModified() && !field->text().isEmpty();
    });
}

ArchiveForm::Way ArchiveForm::way() const
{
    return static_cast<Way>(m_way->currentData().toInt());
}

SecretIn ArchiveForm::secretIn() const
{
    return way() == Way::clientCredentials ? static_cast<SecretIn>(m_secretIn->currentData().toInt())
                                           : SecretIn::header;
}

bool ArchiveForm::wantsCertificate() const
{
    return way() == Way::certificate || secretIn() == SecretIn::certificate ||
           (way() != Way::none && m_withCertificate->isChecked());
}

/// Shows the session that stands by now, unless somebody is at the form.
void ArchiveForm::follow()
{
    const std::optional<QString> session = m_parts.model.presentSession();
    if (session != m_shownSession && !m_isEdited && m_waitingAttempt == 0) {
        m_shownSession = session;
        if (session) {
            fillIn(cloud_client::archiveSignIn(*session));
        }
    }
    showState();
}

void ArchiveForm::fillIn(const ArchiveSignIn &present)
{
    Way way = Way::none;
    switch (present.method) {
    case Method::none:
    case Method::unknown:
        way = present.certificate.isEmpty() ? Way::none : Way::certificate;
        break;
    case Method::basic:
        way = Way::basic;
        break;
    case Method::bearer:
        way = Way::bearer;
        break;
    case Method::tokenFile:
        way = Way::tokenFile;
        break;
    case Method::clientCredentials:
        way = Way::clientCredentials;
        break;
    case Method::device:
        way = Way::device;
        break;
    }
    m_way->setCurrentIndex(m_way->findData(static_cast<int>(way)));
    m_secretIn->setCurrentIndex(m_secretIn->findData(static_cast<int>(present.client.secretIn)));
    m_userName->setText(present.userName);
    m_tokenFile->setText(present.tokenFile);
    m_issuer->setText(present.client.issuer);
    m_clientId->setText(present.client.id);
    m_scope->setText(present.client.scope);
    m_audience->setText(present.client.audience);
    m_tokenEndpoint->setText(present.client.tokenEndpoint);
    m_deviceEndpoint->setText(present.client.deviceEndpoint);
    m_withCertificate->setChecked(!present.certificate.isEmpty());
    const auto facts = cloud_client::factsOf(present.certificate.chain);
    m_certificateField->setHint(
        facts ? tr("In use is that of %1, good until %2. It stays while no file is named.")
                    .arg(facts->name, QLocale().toString(facts->notAfter.toLocalTime(), QLocale::ShortFormat))
              : tr("PEM, with its chain."));
    showFields();
}

void ArchiveForm::showFields()
{
    const Way chosen = way();
    const bool isClient = chosen == Way::clientCredentials;
    const bool isOAuth = isClient || chosen == Way::device;
    const bool needsSecret = isOAuth && (secretIn() == SecretIn::header || secretIn() == SecretIn::body);
    const bool hasCertificate = wantsCertificate();
    m_secretInRow->setVisible(isClient);
    m_secretField->setHint(isClient ? QString() : tr("Only where the client was given one."));
    m_withCertificate->setVisible(chosen != Way::certificate && chosen != Way::none &&
                                  secretIn() != SecretIn::certificate);
    for (const auto &[field, isShown] : std::initializer_list<std::pair<QWidget *, bool>>{
             {m_userName, chosen == Way::basic},
             {m_password, chosen == Way::basic},
             {m_token, chosen == Way::bearer},
             {m_tokenFile, chosen == Way::tokenFile},
             {m_issuer, isOAuth},
             {m_clientId, isOAuth},
             {m_clientSecret, needsSecret},
             {m_signingKey, isClient && secretIn() == SecretIn::assertion},
             {m_scope, isOAuth},
             {m_audience, isOAuth},
             {m_tokenEndpoint, isOAuth},
             {m_deviceEndpoint, chosen == Way::device},
             {m_certificate, hasCertificate},
             {m_key, hasCertificate}}) {
        field->parentWidget()->setVisible(isShown);
    }
}

cloud_client::OAuthClient ArchiveForm::client() const
{
    return {.issuer = m_issuer->text().trimmed(),
            .tokenEndpoint = m_tokenEndpoint->text().trimmed(),
            .deviceEndpoint = way() == Way::device ? m_deviceEndpoint->text().trimmed() : QString(),
            .id = m_clientId->text().trimmed(),
            .scope = m_scope->text().trimmed(),
            .audience = m_audience->text().trimmed(),
            .secretIn = secretIn()};
}

ArchiveEntries ArchiveForm::entries() const
{
    ArchiveEntries entries;
    ArchiveSignIn &wanted = entries.signIn;
    switch (way()) {
    case Way::basic:
        wanted.method = Method::basic;
        wanted.userName = m_userName->text().trimmed();
        wanted.secret = m_password->text();
        break;
    case Way::bearer:
        wanted.method = Method::bearer;
        wanted.secret = m_token->text().trimmed();
        break;
    case Way::tokenFile:
        wanted.method = Method::tokenFile;
        wanted.tokenFile = m_tokenFile->text();
        break;
    case Way::clientCredentials:
    case Way::device:
        wanted.method = way() == Way::device ? Method::device : Method::clientCredentials;
        wanted.client = client();
        wanted.secret = m_clientSecret->parentWidget()->isHidden() ? QString() : m_clientSecret->text();
        break;
    case Way::certificate:
    case Way::none:
        break;
    }
    entries.secretFile = secretIn() == SecretIn::assertion ? m_signingKey->text() : QString();
    entries.wantsCertificate = wantsCertificate();
    if (entries.wantsCertificate) {
        entries.certificateFile = m_certificate->text();
        entries.keyFile = m_key->text();
    }
    return entries;
}

void ArchiveForm::signIn()
{
    if (m_waitingAttempt != 0 || m_parts.auth.isChecking()) {
        return;
    }
    for (PasswordField *field : {m_password, m_token, m_clientSecret}) {
        field->setRevealed(false);
    }
    m_error->hide();
    m_remark->hide();
    m_waitingAttempt = ++m_attempts;
    QCoro::connect(m_parts.model.signInBy(entries()),
                   this,
                   [this, attempt = m_waitingAttempt](const ArchiveSignInEnd &end) { ended(attempt, end); });
    showState();
}

void ArchiveForm::giveUp()
{
    if (std::exchange(m_waitingAttempt, 0) != 0) {
        m_parts.model.cancel();
        showState();
    }
}

void ArchiveForm::ended(int attempt, const ArchiveSignInEnd &end)
{
    if (attempt != m_waitingAttempt) {
        return; // it was given up
    }
    m_waitingAttempt = 0;
    if (!end.isSignedIn) {
        m_error->showMessage(end.problem,
                             m_parts.isSetUp ? tr("Images are still received and kept.") : QString());
        showState();
        bringIntoView(m_error);
        return;
    }
    forgetSecrets();
    m_isEdited = false;
    const QString remark = m_parts.auth.signInRemark().value_or(QString());
    m_remark->setText(remark);
    m_remark->setVisible(!remark.isEmpty());
    follow();
    Q_EMIT entriesChanged();
    Q_EMIT signedIn();
}

void ArchiveForm::forgetSecrets()
{
    for (PasswordField *field : {m_password, m_token, m_clientSecret}) {
        field->setText({}); // unlike clear(), which could be undone
        field->setRevealed(false);
    }
}

QWidget *ArchiveForm::firstField()
{
    return way() == Way::basic ? static_cast<QWidget *>(m_userName) : m_way;
}

/// Once the parts are laid out, where the page scrolls.
void ArchiveForm::bringIntoView(QWidget *part)
{
    QTimer::singleShot(0, part, [part] {
        for (QWidget *above = part->parentWidget(); above != nullptr; above = above->parentWidget()) {
            if (auto *page = qobject_cast<QScrollArea *>(above)) {
                page->ensureWidgetVisible(part);
                // Its texts wrap once they know their width, and it grows.
                connect(
                    page->verticalScrollBar(),
                    &QScrollBar::rangeChanged,
                    part,
                    [page, part] {
                        if (part->isVisible()) {
                            page->ensureWidgetVisible(part);
                        }
                    },
                    Qt::SingleShotConnection);
            }
        }
    });
}

void ArchiveForm::showState()
{
    const bool isCodeShown = m_parts.model.code().has_value();
    if (isCodeShown && !m_wasCodeShown) {
        bringIntoView(m_code);
    }
    m_wasCodeShown = isCodeShown;
    const bool isWaiting = m_waitingAttempt != 0;
    const bool isBusy = isWaiting || m_parts.auth.isChecking();
    m_signIn->setBusy(isBusy);
    m_cancel->setVisible(isWaiting && !m_parts.model.code());
    m_way->setEnabled(!isBusy);
    m_secretIn->setEnabled(!isBusy);
    m_withCertificate->setEnabled(!isBusy);
    for (TextField *field : findChildren<TextField *>()) {
        field->setReadOnly(isBusy); // which keeps the focus
    }
}

} // namespace gateway::shell
