#pragma once

#include <QtCore/QString>

#include <functional>
#include <vector>

namespace gateway::shell {

class Button;
class Theme;

/// One line of a card's menu.
struct MoreItem
{
    QString title;
    QString symbol;
    std::function<void()> act; ///< without one the line isn't shown
};

/// The button "More" of a card's head, with a menu; null where no line would be left. The caller gives it a
/// parent. Thread: main.
Button *makeMoreMenu(const Theme &theme, const std::vector<MoreItem> &items);

} // namespace gateway::shell
