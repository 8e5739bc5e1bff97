#pragma once

#include <QtCore/QRect>
#include <QtCore/QString>
#include <QtGui/QIcon>

#include <functional>

namespace gateway::shell {

/// The desktop's place for status items, as far as one item needs it. A port.
///
/// Owner: app. Thread: main.
class StatusItem
{
public:
    /// What the item looks like and what it does.
    struct Content
    {
        QIcon icon;
        QString description; ///< its tool tip, and its name for assistive tools
        std::function<void()> clicked;
        std::function<void()> openDashboard; ///< of the menu behind the other mouse button
        std::function<void()> quit;          ///< likewise
    };

    virtual ~StatusItem() = default;

    /// Shows the item, now or when the desktop has a place for it.
    ///
    /// \return whether it can be seen by now.
    virtual bool show(const Content &content) = 0;

    /// Where the item stands on the screen; null where the desktop doesn't tell.
    virtual QRect geometry() const = 0;
};

} // namespace gateway::shell
