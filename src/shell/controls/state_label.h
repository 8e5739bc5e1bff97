#pragma once

#include "shell/theme/tokens.h"

#include <QtWidgets/QLabel>

namespace gateway::shell {

class Theme;

/// A state as dot and word; never the colour alone.
///
/// Owner: its parent. Thread: main.
class StateLabel : public QLabel
{
    Q_OBJECT

public:
    explicit StateLabel(const Theme &theme, QWidget *parent = nullptr);

    void setState(const QString &word, Color color);
    Color color() const { return m_color; }

    /// The word's style, `bodyStrong` unless told.
    void setTypeStyle(TypeStyle style);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const Theme &m_theme;
    Color m_color = Color::muted;
};

} // namespace gateway::shell
