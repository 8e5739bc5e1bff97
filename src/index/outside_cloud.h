#pragma once

#include <QtCore/QHash>
#include <QtCore/QString>

namespace gateway::index {

/// How many images aren't in the cloud, as far as is known, by the identity of the study or the series that
/// they belong to. Where all are there, there is no entry.
using OutsideCloud = QHash<QString, qint64>;

} // namespace gateway::index
