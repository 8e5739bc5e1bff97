#pragma once

#include "shell/controls/accessible_painted.h"

#include <QtWidgets/QWidget>

namespace gateway::shell {

class Button;
class TextLabel;
class Theme;

/// A failure, told where it arose: what happened, then what still works and what to do.
///
/// Owner: its parent. Thread: main.
class InlineError : public QWidget, public AccessiblePainted
{
    Q_OBJECT

public:
    explicit InlineError(const Theme &theme, QWidget *parent = nullptr);

    /// Shows the message and announces it.
    ///
    /// \param action  the word on the button that helps, or empty.
    void showMessage(const QString &whatHappened, const QString &whatToDo, const QString &action = {});

    QAccessible::Role accessibleRole() const override { return QAccessible::AlertMessage; }
    QString accessibleWords() const override;

Q_SIGNALS:
    void actionRequested();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const Theme &m_theme;
    TextLabel *m_whatHappened;
    TextLabel *m_whatToDo;
    Button *m_action;
};

} // namespace gateway::shell
