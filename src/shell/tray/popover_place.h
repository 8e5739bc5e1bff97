#pragma once

#include <QtCore/QPoint>
#include <QtCore/QRect>
#include <QtCore/QSize>

namespace gateway::shell {

/// Where a panel of `size` goes that belongs to `anchor`: centred below it, or above it where there isn't
/// room below, always whole inside `available`. Without an anchor it stands in the middle.
QPoint popoverPlace(const QRect &anchor, const QSize &size, const QRect &available);

} // namespace gateway::shell
