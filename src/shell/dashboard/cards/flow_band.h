#pragma once

#include "shell/controls/transition.h"
#include "shell/theme/tokens.h"

#include <QtWidgets/QWidget>

namespace gateway::shell {

class FlowOverlay;
class Theme;

/// The way between two cards: a stem with an arrow at rest, lit in its colour with arrows moving along it
/// while images do.
///
/// Owner: its parent. Thread: main.
class FlowBand : public QWidget
{
    Q_OBJECT

public:
    static constexpr int kHeight = 32;

    /// \param symbol   of the arrow at rest.
    /// \param overlay  becomes a child and covers the band.
    FlowBand(
        const Theme &theme, QString symbol, Color color, FlowOverlay *overlay, QWidget *parent = nullptr);

    QSize sizeHint() const override { return {kHeight, kHeight}; }

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    const Theme &m_theme;
    const QString m_symbol;
    const Color m_color;
    FlowOverlay *m_overlay;
    Transition m_light; // from rest to flowing
};

} // namespace gateway::shell
