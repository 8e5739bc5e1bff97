#pragma once

#include "app/waiting_uploads.h"
#include "doctor/diagnosis.h"

#include <QtCore/QJsonObject>
#include <QtCore/QString>

namespace gateway::app {

/// The diagnosis as one JSON object with keys that don't change. Short enough for one line of the control
/// socket: findings and failures are counted, with a few examples each.
///
/// \param repaired  whether the examination was to mend.
/// \param waiting   what uploads wait for.
QJsonObject toJson(const doctor::Diagnosis &diagnosis, bool repaired, const WaitingUploads &waiting = {});

/// Adds that so many images wait for a session that was ended: nothing is well then.
///
/// \param sentence  what happened and what to do.
void addMissingSession(QJsonObject &report, qint64 images, const QString &sentence);

/// The JSON object in words, some lines for people.
QString doctorText(const QJsonObject &report);

} // namespace gateway::app
