#pragma once

#include "core/dcm_listener_settings.h"

#include <QtCore/QJsonObject>
#include <QtCore/QString>

namespace gateway::terminal {

/// What a gateway is set to do, as far as its DICOM conformance depends on it. Thread: a plain value.
struct ConformanceConfiguration
{
    core::DCMListenerSettings listener;
    QString cloudKind; ///< "quorin" or "dicomweb"
    bool compressesToJpegLs = true;
    int instancesPerUpload = 1;
};

/// The keys of `conformance --json`.
QJsonObject conformanceJson(const ConformanceConfiguration &configuration);

/// The DICOM conformance statement in Markdown. docs/conformance.md is one, of a gateway as it is delivered.
QString conformanceText(const ConformanceConfiguration &configuration);

} // namespace gateway::terminal
