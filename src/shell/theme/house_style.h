#pragma once

#include <QtWidgets/QProxyStyle>

namespace gateway::shell {

/// Fusion without what the house draws itself: no dotted focus frames, no etched text.
///
/// Owner: the application. Thread: main.
class HouseStyle : public QProxyStyle
{
    Q_OBJECT

public:
    HouseStyle();

    void drawPrimitive(PrimitiveElement element,
                       const QStyleOption *option,
                       QPainter *painter,
                       const QWidget *widget) const override;
    int styleHint(StyleHint hint,
                  const QStyleOption *option,
                  const QWidget *widget,
                  QStyleHintReturn *returnData) const override;
};

} // namespace gateway::shell
