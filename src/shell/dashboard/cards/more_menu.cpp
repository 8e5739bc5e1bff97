#include "shell/dashboard/cards/more_menu.h"

#include "shell/controls/button.h"
#include "shell/theme/theme.h"

#include <QtCore/QCoreApplication>
#include <QtWidgets/QMenu>

#include <algorithm>

namespace gateway::shell {

Button *makeMoreMenu(const Theme &theme, const std::vector<MoreItem> &items)
{
    if (std::none_of(items.begin(), items.end(), [](const MoreItem &item) { return item.act != nullptr; })) {
        return nullptr;
    }
    auto *button = new CapsuleButton(theme,
                                     QCoreApplication::translate("gateway::shell::MoreMenu", "More"),
                                     QStringLiteral("ellipsis.circle"));
    auto *menu = new QMenu(button);
    menu->setAccessibleName(button->text());
    for (const MoreItem &item : items) {
        if (item.act) {
            const QAction *action = menu->addAction(theme.icon(item.symbol), item.title);
            QObject::connect(action, &QAction::triggered, button, item.act);
        }
    }
    button->setMenu(menu);
    return button;
}

} // namespace gateway::shell
