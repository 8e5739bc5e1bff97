#pragma once

#include <QtCore/QString>
#include <QtGui/QAccessible>

#include <optional>

class QWidget;

namespace gateway::shell {

/// What assistive tools are told of a widget that paints itself and isn't derived from one that they know.
///
/// A widget derives from this beside QWidget and calls `announceAccessible` once in its constructor.
///
/// Owner: the widget. Thread: main.
class AccessiblePainted
{
public:
    virtual ~AccessiblePainted() = default;

    virtual QAccessible::Role accessibleRole() const = 0;

    /// Spoken where nobody has set another name on the widget.
    virtual QString accessibleWords() const = 0;

    /// A share of 100, for what shows one.
    virtual std::optional<double> accessiblePercentage() const { return std::nullopt; }

protected:
    /// Makes such widgets known; costs nothing the second time.
    static void announceAccessible();
};

} // namespace gateway::shell
