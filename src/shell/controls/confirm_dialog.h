#pragma once

#include "shell/controls/sheet.h"

namespace gateway::shell {

class Button;

/// A question before a step is taken. Where the step destroys something, its button is filled red and the
/// focus is on the way back.
///
/// Owner: the window. Thread: main.
class ConfirmDialog : public Sheet
{
    Q_OBJECT

public:
    enum class Kind
    {
        step,
        loss
    };

    struct Question
    {
        QString title;
        QString message;
        QString confirm;
        QString cancel;
        Kind kind = Kind::step;
    };

    ConfirmDialog(const Theme &theme, QWidget &window, const Question &question);

    /// Shows the question.
    void ask();

    Button &confirmButton() { return *m_confirm; }
    Button &cancelButton() { return *m_cancel; }

Q_SIGNALS:
    /// The operator said yes; the question is closed by then.
    void confirmed();

    /// The operator said no, pressed Escape, or clicked beside the question; it is closed by then.
    void cancelled();

private:
    const Kind m_kind;
    Button *m_cancel;
    Button *m_confirm;
};

} // namespace gateway::shell
