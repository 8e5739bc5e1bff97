#pragma once

#include "platform/concurrency/task_scope.h"
#include "shell/wizard/wizard_page.h"
#include "shell/wizard/wizard_parts.h"

#include <QCoro/QCoroTask>

#include <QtCore/QUrl>

#include <functional>

namespace gateway::account {
class ArchiveSignInViewModel;
class CloudChoice;
class QuorinAuthViewModel;
} // namespace gateway::account

namespace gateway::shell {

class ArchiveForm;
class Button;
class Card;
class PasswordField;
class TextField;
class TextLabel;

/// Signs in to the cloud, or shows who is signed in.
///
/// Owner: GatewaySetupWizardView. Thread: main.
class AccountPage final : public WizardPage
{
    Q_OBJECT

public:
    struct Parts
    {
        const Theme &theme;
        wizard::GatewaySetupWizardViewModel &setup;
        account::QuorinAuthViewModel &auth;
        account::ArchiveSignInViewModel *archive; ///< null where an account signs in
        account::CloudChoice &cloud;
        platform::MainExecutor &main;
        platform::WorkerPool &pool;
        QUrl storePage; ///< empty: there is none to lead to
        std::function<void(const QUrl &)> openLink;
        decltype(WizardParts::Dialogs::chooseFile) chooseFile;
    };

    explicit AccountPage(const Parts &parts);

    void refresh() override;
    QWidget *firstField() override;

private:
    void addMessage();
    void addCloud();
    void addSignIn();
    QWidget *makeWays();
    void addSession();
    QWidget *makeStoreLink();
    void listen();
    QCoro::Task<> signIn();

    const Parts m_parts;
    Card *m_messageCard;
    TextLabel *m_message;
    Card *m_signInCard;
    ArchiveForm *m_archive = nullptr; // in place of email and password
    TextField *m_email;
    PasswordField *m_password;
    Button *m_signIn;
    Button *m_skip;
    Button *m_cancel; // in its place while a sign-in runs
    Card *m_sessionCard;
    TextLabel *m_label;
    TextLabel *m_checkingTerms;
    Button *m_otherAccount;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::shell
