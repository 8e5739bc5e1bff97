#pragma once

#include "shell/account/archive_form.h"
#include "shell/controls/sheet.h"

namespace gateway::shell {

class Button;
class TextLabel;

/// Asks how to sign in at the archive, shows the code of a sign-in by code, and says who is signed in.
///
/// `dismissed` comes whenever the operator leaves it. A sign-in that was begun here is given up then.
///
/// Owner: the window. Thread: main.
class ArchiveSignInSheet : public Sheet
{
    Q_OBJECT

public:
    /// \param parent  the widget that it covers; owns this.
    ArchiveSignInSheet(const ArchiveFormParts &parts, QWidget *parent);

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void showForm();
    void showSuccess();

    const ArchiveFormParts m_parts;
    ArchiveForm *m_form;
    QWidget *m_scroll = nullptr;
    QWidget *m_actions = nullptr; // of the form
    TextLabel *m_success;
    Button *m_continue;
};

} // namespace gateway::shell
