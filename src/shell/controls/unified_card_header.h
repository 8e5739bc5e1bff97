#pragma once

#include "shell/theme/tokens.h"

#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QWidget>

namespace gateway::shell {

class SymbolTile;
class Theme;

/// The head of a card: its symbol on a tinted ground, its title, and at the end what the card offers.
///
/// Owner: its card. Thread: main.
class UnifiedCardHeader : public QWidget
{
    Q_OBJECT

public:
    /// \param trailing  becomes a child; may be null.
    UnifiedCardHeader(const Theme &theme,
                      const QString &icon,
                      const QString &title,
                      Color iconColor,
                      QWidget *trailing = nullptr,
                      QWidget *parent = nullptr);

    void setSymbol(const QString &icon, Color color);

private:
    SymbolTile *m_symbol;
};

} // namespace gateway::shell
