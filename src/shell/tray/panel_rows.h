#pragma once

#include "shell/theme/tokens.h"

#include <QtWidgets/QWidget>

#include <cstdint>

namespace gateway::shell {

class FixedDigitLabel;
class SymbolTile;
class TextLabel;
class Theme;

/// A symbol and one line of words that may be longer than the row: what doesn't fit is told by the tool tip.
///
/// Owner: the panel. Thread: main.
class PanelLine : public QWidget
{
    Q_OBJECT

public:
    explicit PanelLine(const Theme &theme, QWidget *parent = nullptr);

    /// \param text  foreign text, too.
    void setContent(const QString &symbol, Color color, const QString &text);

    /// In place of the symbol: a circle that turns while something is being asked for.
    void setBusy(const QString &text);

    const QString &text() const { return m_text; }
    const QString &symbol() const { return m_symbol; }
    Color color() const { return m_color; }
    bool isBusy() const { return m_isBusy; }

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    void show(const QString &text);
    void elide();

    QString m_symbol;
    Color m_color = Color::text2;
    QString m_text;
    bool m_isBusy = false;
    SymbolTile *m_tile;
    QWidget *m_spinner;
    TextLabel *m_label;
};

/// A symbol, a title, and a number that may change while one looks.
///
/// Owner: the panel. Thread: main.
class FigureRow : public QWidget
{
    Q_OBJECT

public:
    /// \param color  of the symbol; no number, no colour.
    FigureRow(const Theme &theme,
              const QString &symbol,
              Color color,
              const QString &title,
              QWidget *parent = nullptr);

    /// \param color  of the number.
    void setFigure(std::int64_t figure, Color color = Color::text);

    QString figureText() const;

private:
    const QString m_symbol;
    const Color m_color;
    const QString m_title;
    SymbolTile *m_tile;
    FixedDigitLabel *m_number;
};

} // namespace gateway::shell
