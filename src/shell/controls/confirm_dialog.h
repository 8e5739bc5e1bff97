#pragma once

#include "shell/controls/sheet.h"

namespace gateway::shell {

class Button;

/// A question before a step is taken. Where it leads to a loss, its button is red and the focus is on the way
/// back; filled red it stands before the loss itself.
///
/// Owner: the window. Thread: main.
class ConfirmDialog : public Sheet
{
    Q_OBJECT

public:
    enum class Kind
    {
        step,
        towardsLoss,
        loss
    };

    struct Question
    {
        QString title;
        QString message;
        QString confirm;
        QString cancel;
        Kind kind = Kind::step;
        QString warning = {}; ///< what is easily overlooked, in a line of its own
        QString note = {};    ///< what puts at ease, below
    };

    ConfirmDialog(const Theme &theme, QWidget &window, const Question &question);

    /// Shows the question.
    void ask();

    /// Whether the operator may say yes by now; until then clicks on that button end in nothing.
    void setArmed(bool isArmed);

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
