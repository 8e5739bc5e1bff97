#pragma once

#include "shell/theme/tokens.h"

#include <QtWidgets/QWidget>

namespace gateway::shell {

class Theme;

/// A symbol, alone or on a tinted ground. It says nothing that the words beside it don't say.
///
/// Owner: its parent. Thread: main.
class SymbolTile : public QWidget
{
    Q_OBJECT

public:
    enum class Ground
    {
        none,
        tinted
    };

    /// \param edge  of the symbol, in pixels; a tinted ground reaches beyond it.
    SymbolTile(const Theme &theme,
               const QString &symbol,
               Color color,
               int edge,
               Ground ground,
               QWidget *parent = nullptr);

    void setSymbol(const QString &symbol, Color color);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const Theme &m_theme;
    QString m_symbol;
    Color m_color;
    const int m_edge;
    const Ground m_ground;
};

} // namespace gateway::shell
