#pragma once

#include "shell/controls/text_label.h"

namespace gateway::shell {

/// Words that wrap, and that are as high as their width makes them by a least height of their own. A label
/// that wraps by itself makes all that it stands in depend on its width, and the overview, which then lays
/// out by the heights its parts would like, would scroll where they fit.
///
/// Owner: its parent. Thread: main.
class Paragraph : public TextLabel
{
    Q_OBJECT

public:
    Paragraph(const Theme &theme, TypeStyle style, Color color, QWidget *parent = nullptr);

    bool hasHeightForWidth() const override { return false; }
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent *event) override;
};

} // namespace gateway::shell
