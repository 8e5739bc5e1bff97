#pragma once

#include "shell/controls/frame_ticker.h"
#include "shell/controls/transition.h"

#include <QtWidgets/QCheckBox>

namespace gateway::shell {

/// On or off, at once; its text, if it has one, stands before it.
///
/// Owner: its parent. Thread: main.
class Switch : public QCheckBox
{
    Q_OBJECT

public:
    /// \param onColor  the colour of the track while it is on.
    explicit Switch(const Theme &theme,
                    const QString &text = {},
                    Color onColor = Color::blueFill,
                    QWidget *parent = nullptr);

    /// What it switches is under way: a circle turns in its knob, and it takes no presses.
    void setBusy(bool busy);
    bool isBusy() const { return m_isBusy; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool event(QEvent *event) override;
    bool hitButton(const QPoint &position) const override;
    void paintEvent(QPaintEvent *event) override;

private:
    QRectF track() const;

    const Theme &m_theme;
    const Color m_onColor;
    Transition m_knob;
    FrameTicker m_spin;
    bool m_isBusy = false;
};

} // namespace gateway::shell
