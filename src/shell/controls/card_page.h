#pragma once

#include "shell/theme/tokens.h"

#include <QtWidgets/QScrollArea>

class QVBoxLayout;

namespace gateway::shell {

class Canvas;
class Card;
class Theme;

/// Cards below each other, which scroll where the window is low. What gets the keyboard is brought into view.
///
/// Owner: its parent. Thread: main.
class CardPage : public QScrollArea
{
    Q_OBJECT

public:
    explicit CardPage(const Theme &theme, QWidget *parent = nullptr);

    /// Adds a card with this heading at the end.
    ///
    /// \param title  empty for none.
    Card &addCard(const QString &title);

    /// Adds this card at the end.
    void add(Card *card);

    /// Closes the column behind the last card.
    void endCards();

    /// Words that wrap.
    QWidget *paragraph(const QString &text, Color color = Color::text2);

    /// Words that wrap, beside a symbol.
    QWidget *bullet(const QString &symbol, const QString &text, Color color = Color::blueHi);

protected:
    const Theme &theme() const { return m_theme; }

private:
    void keepRightEdge();

    const Theme &m_theme;
    Canvas *m_ground;
    QVBoxLayout *m_column;
};

} // namespace gateway::shell
