#pragma once

#include "doctor/diagnosis.h"

#include <QtCore/QJsonObject>
#include <QtCore/QString>

namespace gateway::app {

/// The diagnosis as one JSON object with keys that don't change. Short enough for one line of the control
/// socket: findings and failures are counted, with a few examples each.
///
/// \param repaired  whether the examination was to mend.
QJsonObject toJson(const doctor::Diagnosis &diagnosis, bool repaired);

/// The JSON object in words, some lines for people.
QString doctorText(const QJsonObject &report);

} // namespace gateway::app
