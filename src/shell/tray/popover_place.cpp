#include "shell/tray/popover_place.h"

#include <algorithm>

namespace gateway::shell {

namespace {

constexpr int kDistance = 6;

/// The nearest place from which `length` fits between `low` and `high`.
int within(int wanted, int length, int low, int high)
{
    return std::max(low, std::min(wanted, high - length));
}

} // namespace

QPoint popoverPlace(const QRect &anchor, const QSize &size, const QRect &available)
{
    const int right = available.x() + available.width();
    const int bottom = available.y() + available.height();
    if (anchor.isNull()) {
        return {available.x() + (available.width() - size.width()) / 2,
                available.y() + (available.height() - size.height()) / 2};
    }
    const int below = anchor.y() + anchor.height() + kDistance;
    const int above = anchor.y() - kDistance - size.height();
    const int y = below + size.height() <= bottom ? below : above;
    const int x = anchor.x() + (anchor.width() - size.width()) / 2;
    return {within(x, size.width(), available.x(), right), within(y, size.height(), available.y(), bottom)};
}

} // namespace gateway::shell
