#include "shell/controls/card_page.h"

#include "shell/controls/canvas.h"
#include "shell/controls/card.h"
#include "shell/controls/symbol_tile.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QApplication>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

CardPage::CardPage(const Theme &theme, QWidget *parent)
    : QScrollArea(parent), m_theme(theme), m_ground(new Canvas(theme)), m_column(new QVBoxLayout(m_ground))
{
    const int page = theme.space(Space::page);
    m_column->setContentsMargins(page, theme.space(Space::hair), page, page);
    m_column->setSpacing(theme.space(Space::wide));
    setWidget(m_ground);
    setWidgetResizable(true);
    setFrameShape(NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    connect(verticalScrollBar(), &QScrollBar::rangeChanged, this, &CardPage::keepRightEdge);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget * /*before*/, QWidget *now) {
        if (now != nullptr && isAncestorOf(now)) {
            ensureWidgetVisible(now); // also where the keyboard comes from below the page
        }
    });
}

/// The scroll bar comes into the margin, so that the cards end where everything else does.
void CardPage::keepRightEdge()
{
    const bool scrolls = verticalScrollBar()->maximum() > verticalScrollBar()->minimum();
    const int bar = scrolls ? verticalScrollBar()->sizeHint().width() : 0;
    QMargins margins = m_column->contentsMargins();
    margins.setRight(m_theme.space(Space::page) - bar);
    m_column->setContentsMargins(margins);
}

Card &CardPage::addCard(const QString &title)
{
    auto *card = new Card(m_theme);
    if (!title.isEmpty()) {
        auto *heading = new TextLabel(m_theme, title, TypeStyle::h3);
        heading->setWordWrap(true);
        card->body().addWidget(heading);
    }
    add(card);
    return *card;
}

void CardPage::add(Card *card)
{
    m_column->addWidget(card);
}

void CardPage::endCards()
{
    m_column->addStretch(1);
}

QWidget *CardPage::paragraph(const QString &text, Color color)
{
    auto *words = new TextLabel(m_theme, text, TypeStyle::body, color);
    words->setWordWrap(true);
    return words;
}

QWidget *CardPage::bullet(const QString &symbol, const QString &text, Color color)
{
    auto *line = new QWidget;
    auto *row = new QHBoxLayout(line);
    row->setContentsMargins({});
    row->setSpacing(m_theme.space(Space::gap));
    row->addWidget(new SymbolTile(m_theme, symbol, color, m_theme.size(Size::icon), SymbolTile::Ground::none),
                   0,
                   Qt::AlignTop);
    row->addWidget(paragraph(text), 1);
    return line;
}

} // namespace gateway::shell
