#include "shell/wizard/wizard_page.h"

#include "shell/controls/canvas.h"
#include "shell/controls/card.h"
#include "shell/controls/symbol_tile.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QApplication>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

WizardPage::WizardPage(const Theme &theme, wizard::GatewaySetupWizardViewModel &setup, QWidget *parent)
    : QScrollArea(parent), m_theme(theme), m_setup(setup), m_ground(new Canvas(theme)),
      m_column(new QVBoxLayout(m_ground))
{
    const int page = theme.space(Space::page);
    m_column->setContentsMargins(page, theme.space(Space::hair), page, page);
    m_column->setSpacing(theme.space(Space::wide));
    setWidget(m_ground);
    setWidgetResizable(true);
    setFrameShape(NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget * /*before*/, QWidget *now) {
        if (now != nullptr && isAncestorOf(now)) {
            ensureWidgetVisible(now); // also where the keyboard comes from below the page
        }
    });
}

Card &WizardPage::addCard(const QString &title)
{
    auto *card = new Card(m_theme);
    if (!title.isEmpty()) {
        auto *heading = new TextLabel(m_theme, title, TypeStyle::h3);
        heading->setWordWrap(true);
        card->body().addWidget(heading);
    }
    m_column->addWidget(card);
    return *card;
}

void WizardPage::endCards()
{
    m_column->addStretch(1);
}

QWidget *WizardPage::paragraph(const QString &text, Color color)
{
    auto *words = new TextLabel(m_theme, text, TypeStyle::body, color);
    words->setWordWrap(true);
    return words;
}

QWidget *WizardPage::bullet(const QString &symbol, const QString &text, Color color)
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
