#pragma once

#include "shell/controls/accessible_painted.h"
#include "shell/controls/transition.h"

#include <QtCore/QPointer>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QVBoxLayout>
#include <QtWidgets/QWidget>

namespace gateway::shell {

class TextLabel;

/// A modal panel inside its window, over a dimmed backdrop.
///
/// While it is open, pointer, keyboard, Tab and shortcuts stay within it. Escape dismisses it unless that is
/// forbidden; Return presses the default button from any field. Closing gives the focus back to who had it.
///
/// Owner: the window. Thread: main.
class Sheet : public QWidget, public AccessiblePainted
{
    Q_OBJECT

public:
    /// \param window  the widget that it covers; owns this.
    Sheet(const Theme &theme, QWidget &window, const QString &title);

    /// The column below the title that the sheet's parts are added to.
    QVBoxLayout &body() { return *m_body; }

    /// Another title, which assistive tools are told of.
    void setTitle(const QString &title);

    /// The panel is so wide where the window has the room.
    void setPanelWidth(int width);

    /// The panel is as high as its parts want it, but not lower than this where the window has the room.
    void setPanelMinimumHeight(int height) { m_panelMinimumHeight = height; }

    void setDefaultButton(QAbstractButton *button) { m_defaultButton = button; }

    /// Whether Escape and a click beside the panel may dismiss it; they may, unless told. A click never does
    /// while something stands in the sheet that was typed.
    void setDismissible(bool dismissible) { m_isDismissible = dismissible; }

    /// \param first  gets the focus; the first field or button where it is null or not shown.
    void open(QWidget *first = nullptr);

    /// Takes the sheet away without a signal.
    void closeSheet();

    QAccessible::Role accessibleRole() const override { return QAccessible::Dialog; }
    QString accessibleWords() const override { return m_title; }

    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    /// The operator left it, by Escape or by a click beside the panel at least; it is closed by then.
    void dismissed();

protected:
    bool focusNextPrevChild(bool next) override;
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void place();
    void dismiss();
    bool hasTypedText() const;
    QList<QWidget *> stops() const;
    bool isForeignShortcut(QObject *receiver) const;

    const Theme &m_theme;
    QString m_title;
    QWidget *m_panel;
    QVBoxLayout *m_body;
    TextLabel *m_heading;
    int m_panelMinimumHeight = 0;
    QPointer<QAbstractButton> m_defaultButton;
    QPointer<QWidget> m_focusBefore;
    bool m_isDismissible = true;
    Transition m_dim;
};

} // namespace gateway::shell
