#include "shell/controls/unified_card_header.h"

#include "shell/controls/symbol_tile.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

namespace gateway::shell {

UnifiedCardHeader::UnifiedCardHeader(const Theme &theme,
                                     const QString &icon,
                                     const QString &title,
                                     Color iconColor,
                                     QWidget *trailing,
                                     QWidget *parent)
    : QWidget(parent),
      m_symbol(new SymbolTile(theme, icon, iconColor, theme.size(Size::icon), SymbolTile::Ground::tinted))
{
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(theme.space(Space::gap));
    row->addWidget(m_symbol);
    row->addWidget(new TextLabel(theme, title, TypeStyle::h3));
    row->addStretch();
    if (trailing != nullptr) {
        row->addWidget(trailing);
    }
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setAccessibleName(title);
}

void UnifiedCardHeader::setSymbol(const QString &icon, Color color)
{
    m_symbol->setSymbol(icon, color);
}

} // namespace gateway::shell
