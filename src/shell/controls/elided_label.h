#pragma once

#include "shell/theme/tokens.h"

#include <QtWidgets/QLabel>

namespace gateway::shell {

class Theme;

/// One line of foreign text of any length: what has no room is left out, in the middle unless told, and told
/// in whole by a tool tip. Always plain text.
///
/// Owner: its parent. Thread: main.
class ElidedLabel : public QLabel
{
    Q_OBJECT

public:
    ElidedLabel(const Theme &theme, TypeStyle style, Color color, QWidget *parent = nullptr);

    void setWords(const QString &words);
    void setColor(Color color);

    /// Sentences are left out at their end: what they begin with says most.
    void setElision(Qt::TextElideMode elision) { m_elision = elision; }

    /// Room for a few words; it takes as much as it is given.
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void settleToolTip();

    const Theme &m_theme;
    Color m_color;
    Qt::TextElideMode m_elision = Qt::ElideMiddle;
};

} // namespace gateway::shell
