#pragma once

#include "shell/controls/sheet.h"

#include <QtCore/QString>

namespace gateway::account {
class GatewayChangePasswordViewModel;
}

namespace gateway::shell {

class Button;
class InlineError;
class PasswordField;
class TextLabel;

/// Asks for the present and the new password, changes it, and says so. Each opening begins with empty fields,
/// and they are forgotten when the sheet goes.
///
/// Owner: the window. Thread: main.
class GatewayChangePasswordSheet : public Sheet
{
    Q_OBJECT

public:
    /// \param theme, password  outlive this.
    /// \param parent           the widget that it covers; owns this.
    GatewayChangePasswordSheet(const Theme &theme,
                               account::GatewayChangePasswordViewModel &password,
                               QWidget *parent);

Q_SIGNALS:
    /// The password was changed, and whoever did it has read so; the sheet is closed by then.
    void succeeded();

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    QWidget *makeForm();
    QWidget *makeSuccess();
    void begin();
    void forgetEntries();
    void leave();
    void change();
    void changed(bool isChanged);
    void showState();

    const Theme &m_theme;
    account::GatewayChangePasswordViewModel &m_model;
    PasswordField *m_current;
    PasswordField *m_new;
    PasswordField *m_confirm;
    InlineError *m_error;
    TextLabel *m_saving;
    Button *m_cancel;
    Button *m_change;
    Button *m_done;
    QWidget *m_form;    // one of the two
    QWidget *m_success; // is shown
};

} // namespace gateway::shell
