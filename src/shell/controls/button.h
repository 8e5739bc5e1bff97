#pragma once

#include "shell/controls/frame_ticker.h"
#include "shell/controls/transition.h"

#include <QtWidgets/QPushButton>

namespace gateway::shell {

/// What a button asks for.
enum class ButtonKind
{
    primary,         // the one next step of a view, right-most
    secondary,       // any other step
    quiet,           // a step that stands back until it is pointed at, often an icon alone
    destructive,     // leads to a loss, asks first
    destructiveFinal // the last step before the loss
};

/// A push button of the house, painted in its seven states: at rest, hovered, pressed, with the focus ring,
/// selected (when checkable), disabled, busy.
///
/// Owner: its parent. Thread: main.
class Button : public QPushButton
{
    Q_OBJECT

public:
    /// \param theme   outlives this.
    /// \param title   empty for an icon alone; then setAccessibleName and a tool tip say what it does.
    /// \param symbol  a symbol's name, or empty.
    Button(const Theme &theme,
           ButtonKind kind,
           const QString &title,
           const QString &symbol = {},
           QWidget *parent = nullptr);

    void setSymbol(const QString &symbol);

    /// While busy the button keeps its width and its focus, turns a circle and takes no click.
    void setBusy(bool busy);
    bool isBusy() const { return m_isBusy; }

    /// Whether the ends are half circles.
    void setCapsule(bool capsule);

    /// For places with little room, such as the panel: lower, narrower, and in small type.
    void setCompact();

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    struct Look;
    Look look() const;
    double cornerRadius() const;
    int contentWidth() const;
    int sideMargin() const;
    int symbolGap() const;
    void paintContent(QPainter &painter, Color color) const;

    const Theme &m_theme;
    const ButtonKind m_kind;
    QString m_symbol;
    bool m_isBusy = false;
    bool m_isCapsule = false;
    bool m_isCompact = false;
    Transition m_hover;
    FrameTicker m_spin;
};

/// The one next step of a view.
class PrimaryButton : public Button
{
    Q_OBJECT

public:
    PrimaryButton(const Theme &theme,
                  const QString &title,
                  const QString &icon = {},
                  QWidget *parent = nullptr)
        : Button(theme, ButtonKind::primary, title, icon, parent)
    {
    }
};

/// An action of a header or a tool row, with round ends; with a menu it shows a chevron.
class CapsuleButton : public Button
{
    Q_OBJECT

public:
    CapsuleButton(const Theme &theme,
                  const QString &title,
                  const QString &icon = {},
                  QWidget *parent = nullptr)
        : Button(theme, ButtonKind::secondary, title, icon, parent)
    {
        setCapsule(true);
    }
};

} // namespace gateway::shell
