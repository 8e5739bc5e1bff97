#pragma once

#include "doctor/diagnosis.h"
#include "log/writing/gateway_log_event.h"

#include <QtCore/QDateTime>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <optional>
#include <utility>

namespace gateway::doctor {

/// What somebody is told who is to help with a gateway.
///
/// Thread: a plain value.
struct SupportFacts
{
    using Lines = QList<std::pair<QString, QString>>;

    QDateTime at = {};                                 ///< UTC
    Lines versions = {};                               ///< of the program and of what it runs on
    Lines figures = {};                                ///< numbers and words of our own
    QList<std::pair<QString, QVariant>> settings = {}; ///< as they are kept, by their keys
    std::optional<Diagnosis> diagnosis = {};           ///< nothing where the examination didn't end in time
    QList<log::GatewayLogEvent> log = {};              ///< the latest events, oldest first
};

/// The support bundle: one text that names no patient, no person and no place.
///
/// Of the settings only numbers, switches, dates and words of our own are told; of any other text, such as an
/// AE title, a path or an address, only that there is one. Of the log no text is told that isn't a word of
/// our own, a number or a hash. Of findings the kinds and counts are told, not the files.
///
/// Thread: any; a pure function.
QString supportBundle(const SupportFacts &facts);

} // namespace gateway::doctor
