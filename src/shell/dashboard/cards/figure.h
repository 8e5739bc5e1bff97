#pragma once

#include "shell/theme/tokens.h"

#include <QtWidgets/QWidget>

#include <cstdint>

namespace gateway::shell {

class FixedDigitLabel;
class Theme;

/// A number under its name. Its digits stay in place while it counts.
///
/// Owner: its parent. Thread: main.
class Figure : public QWidget
{
    Q_OBJECT

public:
    Figure(const Theme &theme, const QString &caption, TypeStyle style, QWidget *parent = nullptr);

    /// \param value  becomes a child, for what shows itself in its own words.
    Figure(const Theme &theme, const QString &caption, FixedDigitLabel *value, QWidget *parent = nullptr);

    void setText(const QString &text);

    /// A count, as the user's language writes it.
    void setCount(std::int64_t count);

    void setColor(Color color);

    QString text() const;

    /// Whether a click or Return leads somewhere. \param hint  where, for people.
    void setActivatable(bool activatable, const QString &hint);

Q_SIGNALS:
    /// It was clicked, or Return or the space bar pressed on it.
    void activated();

protected:
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    const Theme &m_theme;
    const QString m_caption;
    bool m_isActivatable = false;
    FixedDigitLabel *m_value;
};

} // namespace gateway::shell
