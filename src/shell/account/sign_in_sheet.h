#pragma once

#include "shell/controls/sheet.h"

#include <QtCore/QString>

namespace gateway::account {
class QuorinAuthViewModel;
}

namespace gateway::shell {

class Button;
class InlineError;
class PasswordField;
class SymbolTile;
class TextField;
class TextLabel;

/// Asks for email and password, signs in, and says so.
///
/// Each opening begins with empty fields; the password is forgotten when the sheet goes. `dismissed` comes
/// whenever the operator leaves it: by "Cancel", by "Continue", by Escape or, while nothing is typed, by a
/// click beside the panel. A sign-in that waits for its answer is given up then.
///
/// Owner: the window. Thread: main.
class SignInSheet : public Sheet
{
    Q_OBJECT

public:
    /// \param theme, auth  outlive this.
    /// \param parent       the widget that it covers; owns this.
    SignInSheet(const Theme &theme, account::QuorinAuthViewModel &auth, QWidget *parent);

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    QWidget *makeForm();
    QWidget *makeSuccess();
    void begin();
    void forgetEntries();
    void leave();
    void signIn();
    void signInEnded(int attempt, bool isSignedIn);
    void showSuccess();
    void showState();
    bool hasEntries() const;

    const Theme &m_theme;
    account::QuorinAuthViewModel &m_auth;
    TextField *m_email;
    PasswordField *m_password;
    InlineError *m_error;
    QString m_shownError;
    int m_attempts = 0;
    int m_waitingAttempt = 0; // none
    Button *m_cancel;
    Button *m_signIn;
    SymbolTile *m_mark;
    TextLabel *m_successMessage;
    Button *m_continue;
    QWidget *m_form;    // one of the two
    QWidget *m_success; // is shown
};

} // namespace gateway::shell
