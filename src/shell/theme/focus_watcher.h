#pragma once

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtWidgets/QWidget>

class QApplication;

namespace gateway::shell {

/// The dynamic property that is true while a widget shows its focus ring; style sheets and painters read it.
inline constexpr const char *kShowsFocusProperty = "showsFocus";

/// Whether the widget shows its focus ring now.
bool showsFocus(const QWidget &widget);

/// Shows the focus ring of the widget that the keyboard reached, and of no other.
///
/// A click gives focus without a ring, except to fields that text is typed into, which say where it will go.
/// A window that becomes active again leaves the ring as it was.
///
/// Owner: Theme. Thread: main.
class FocusWatcher : public QObject
{
    Q_OBJECT

public:
    explicit FocusWatcher(QApplication &application);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void focusCame(QWidget &widget, Qt::FocusReason reason);

    QPointer<QWidget> m_last; // had the focus last
};

} // namespace gateway::shell
