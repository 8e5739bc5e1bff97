#pragma once

#include "shell/preferences/preferences_parts.h"
#include "shell/preferences/settings_pane_container.h"

namespace gateway::shell {

class ArchiveForm;
class Button;
class Card;
class GatewayChangePasswordSheet;
class InlineError;
class PasswordField;
class ProfileCard;
class StateLabel;
class TermsSheet;
class TextField;
class TextLabel;

/// Who is signed in, and what they may do about it; or the way to sign in.
///
/// Owner: QuorinGatewaySettingsView. Thread: main.
class AccountSettingsPane final : public SettingsPaneContainer
{
    Q_OBJECT

public:
    explicit AccountSettingsPane(const PreferencesParts &parts);

    void refresh() override;

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void addStatus();
    void addSignIn();
    void addArchive();
    void addSecurity();
    void addStore();
    void listen();
    void signIn();
    void cancelSignIn();
    void signInEnded(int attempt, bool isSignedIn);
    void openPasswordSheet();
    void showSession();
    void showStatus();
    void showSignIn();
    void showTermsError();
    void showTermsIfNeeded();

    const PreferencesParts m_parts;
    StateLabel *m_state;
    TextLabel *m_line;
    Button *m_signOut;
    InlineError *m_sessionError;
    InlineError *m_termsError;
    QString m_shownTermsError;
    Card *m_signInCard = nullptr;
    ArchiveForm *m_archive = nullptr; // in place of email and password
    Card *m_trialCard = nullptr;      // of an archive
    TextField *m_email;
    PasswordField *m_password;
    InlineError *m_signInError;
    QString m_shownError;
    Button *m_cancel; // shown while a sign-in that was begun here runs
    Button *m_signIn;
    int m_attempts = 0;
    int m_waitingAttempt = 0; // none
    Card *m_securityCard = nullptr;
    ProfileCard *m_profileCard = nullptr;
    Card *m_storeCard = nullptr;
    GatewayChangePasswordSheet *m_passwordSheet = nullptr; // made when it is first asked for
    TermsSheet *m_termsSheet = nullptr;                    // likewise
};

} // namespace gateway::shell
