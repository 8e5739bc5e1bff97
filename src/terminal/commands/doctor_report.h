#pragma once

#include "doctor/diagnosis.h"
#include "platform/dicom/helper_fences.h"
#include "terminal/commands/waiting_report.h"

#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <optional>

namespace gateway::terminal {

/// The diagnosis as one JSON object with keys that don't change. Short enough for one line of the control
/// socket: findings and failures are counted, with a few examples each.
///
/// \param repaired  whether the examination was to mend.
/// \param waiting   what uploads wait for.
QJsonObject
toJson(const doctor::Diagnosis &diagnosis, bool repaired, const upload::WaitingUploads &waiting = {});

/// Adds that so many images wait for a session that was ended: nothing is well then.
///
/// \param sentence  what happened and what to do.
void addMissingSession(QJsonObject &report, qint64 images, const QString &sentence);

/// Adds what this system gives to confine the processes that read strangers' bytes; people are told only what
/// it lacks, which is no fault of the gateway's images. Nothing is added where it isn't known.
void addFences(QJsonObject &report, const std::optional<platform::HelperFences> &fences);

/// Adds what the log files take, and the most that they may take; 0 for no limit.
void addLogRoom(QJsonObject &report, qint64 bytes, qint64 limitBytes);

/// The JSON object in words, some lines for people.
QString doctorText(const QJsonObject &report);

} // namespace gateway::terminal
