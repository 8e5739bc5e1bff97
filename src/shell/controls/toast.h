#pragma once

#include "shell/controls/accessible_painted.h"
#include "shell/controls/transition.h"

#include <QtCore/QTimer>
#include <QtWidgets/QWidget>

#include <chrono>

namespace gateway::shell {

/// One sentence at the bottom of the window about something that is done; it goes by itself, later while the
/// pointer rests on it, and at once when it is clicked.
///
/// Owner: the window. Thread: main.
class Toast : public QWidget, public AccessiblePainted
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds kLinger{5000};

    /// \param window  the widget over whose lower edge it stands; owns this.
    Toast(const Theme &theme, QWidget &window);

    /// Shows the sentence in place of the one before.
    void showMessage(const QString &symbol, const QString &sentence, Color color);

    QSize sizeHint() const override;

    QAccessible::Role accessibleRole() const override { return QAccessible::AlertMessage; }
    QString accessibleWords() const override { return m_sentence; }

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void place();

    const Theme &m_theme;
    QString m_symbol;
    QString m_sentence;
    Color m_color = Color::blue;
    QTimer m_end;
    Transition m_rise;
};

} // namespace gateway::shell
