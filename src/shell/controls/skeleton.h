#pragma once

#include "shell/controls/accessible_painted.h"
#include "shell/controls/frame_ticker.h"

#include <QtWidgets/QWidget>

namespace gateway::shell {

/// Bars where a list's rows will be, while it loads.
///
/// Owner: its parent. Thread: main.
class Skeleton : public QWidget, public AccessiblePainted
{
    Q_OBJECT

public:
    Skeleton(const Theme &theme, int rows, QWidget *parent = nullptr);

    QSize sizeHint() const override;

    QAccessible::Role accessibleRole() const override { return QAccessible::Indicator; }
    QString accessibleWords() const override { return tr("Loading"); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const Theme &m_theme;
    const int m_rows;
    FrameTicker m_beat;
};

} // namespace gateway::shell
