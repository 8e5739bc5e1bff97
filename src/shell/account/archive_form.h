#pragma once

#include "account/archive_sign_in_view_model.h"

#include <QtCore/QUrl>
#include <QtWidgets/QWidget>

#include <functional>

class QVBoxLayout;

namespace gateway::shell {

class Button;
class ComboBox;
class FormField;
class InlineError;
class PasswordField;
class Switch;
class TextField;
class TextLabel;
class Theme;

/// What a form for an archive works with; all outlives it.
struct ArchiveFormParts
{
    const Theme &theme;
    account::ArchiveSignInViewModel &model;
    account::QuorinAuthViewModel &auth;
    std::function<void(const QUrl &)> openLink;

    /// What a person chose; empty when they changed their mind.
    using Chosen = std::function<void(const QString &path)>;

    /// Lets a person choose a file; returns at once.
    std::function<void(QWidget *parent, const QString &title, const Chosen &chosen)> chooseFile;

    bool isSetUp = true;          ///< images are received, whoever is signed in; false where that isn't sure
    bool isAddressShown = true;   ///< the archive's; false where it stands beside the form
    QWidget *otherWays = nullptr; ///< stands beside the button that signs in; the form's from then on
};

/// How the gateway is to sign in at its archive, and the way to do it. What stands in the session is filled
/// in, but for what is secret, until somebody types here.
///
/// Owner: its parent. Thread: main.
class ArchiveForm : public QWidget
{
    Q_OBJECT

public:
    explicit ArchiveForm(const ArchiveFormParts &parts);

    /// Where the keyboard goes first.
    QWidget *firstField();

    /// Something stands in a shown field that somebody entered, and that wasn't used to sign in.
    bool hasEntries() const;

    /// The row of its buttons, to be put elsewhere, where they don't scroll with the fields.
    ///
    /// \param leave  a button that leaves the form; stands among them from then on.
    QWidget *takeActions(QWidget *leave);

    /// Gives up what was begun here.
    void giveUp();

    /// Nothing secret stays in the fields.
    void forgetSecrets();

Q_SIGNALS:
    /// What was entered is another, or was used.
    void entriesChanged();

    /// It came to a session.
    void signedIn();

private:
    enum class Way
    {
        basic,
        bearer,
        tokenFile,
        clientCredentials,
        device,
        certificate,
        none
    };

    void edited();
    void addHead(QVBoxLayout &column);
    void addFields(QVBoxLayout &column);
    void addFoot(QVBoxLayout &column);
    FormField *addField(QVBoxLayout &column, const QString &name, TextField *field, const QString &hint = {});
    FormField *
    addFileField(QVBoxLayout &column, const QString &name, TextField *field, const QString &hint = {});
    QWidget *labelled(const QString &name, ComboBox *box);
    void listen();
    Way way() const;
    cloud_client::OAuthClient::SecretIn secretIn() const;
    bool wantsCertificate() const;
    void follow();
    void fillIn(const cloud_client::ArchiveSignIn &present);
    void showFields();
    void showState();
    void bringIntoView(QWidget *part);
    account::ArchiveEntries entries() const;
    cloud_client::OAuthClient client() const;
    void signIn();
    void ended(int attempt, const account::ArchiveSignInEnd &end);

    const ArchiveFormParts m_parts;
    ComboBox *m_way;
    ComboBox *m_secretIn;
    QWidget *m_secretInRow = nullptr;
    TextField *m_userName;
    PasswordField *m_password;
    PasswordField *m_token;
    TextField *m_tokenFile;
    TextField *m_issuer;
    TextField *m_clientId;
    PasswordField *m_clientSecret;
    TextField *m_signingKey;
    TextField *m_scope;
    TextField *m_audience;
    TextField *m_tokenEndpoint;
    TextField *m_deviceEndpoint;
    Switch *m_withCertificate;
    TextField *m_certificate;
    TextField *m_key;
    FormField *m_certificateField = nullptr;
    FormField *m_secretField = nullptr;
    QWidget *m_code = nullptr;
    bool m_wasCodeShown = false;
    InlineError *m_error;
    TextLabel *m_remark;
    Button *m_cancel;
    Button *m_signIn;
    QWidget *m_actions = nullptr;
    std::optional<QString> m_shownSession;
    bool m_isEdited = false;
    int m_attempts = 0;
    int m_waitingAttempt = 0; // none
};

} // namespace gateway::shell
