#pragma once

#include "receive/store_manual_import_service.h"
#include "terminal/control/control_protocol.h"

#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

namespace gateway::terminal {

// Importing by command: how a client words it, what the instance answers, and how that is told to people. A
// client begins a batch and then asks for its report until the batch has finished. Thread: plain functions;
// `answerImport` on main.

namespace requests {

inline const QString kImport = QStringLiteral("import");
inline const QString kImportReport = QStringLiteral("import-report");
inline const QString kImportStop = QStringLiteral("import-stop");

} // namespace requests

/// \param paths  absolute ones: the instance has a folder of its own to start from.
ControlRequest importRequest(const QStringList &paths);
ControlRequest importReportRequest(const QString &batch);
ControlRequest importStopRequest(const QString &batch);

/// True for the three above.
bool isImportRequest(const ControlRequest &request);

/// Begins a batch, reports on one or asks one to stop; every result is that batch's report as JSON.
ControlReply
answerImport(receive::StoreManualImportService &service, const ControlRequest &request, bool isSetupRequired);

/// The report as one JSON object with keys that don't change.
QJsonObject toJson(const QString &batch, const receive::ManualImportReport &report);

/// The id of the batch in a report.
QString batchIn(const QJsonObject &report);

bool hasFinished(const QJsonObject &report);

/// One line about how far the batch is.
QString importProgressText(const QJsonObject &report);

/// What became of a batch, for people, a line a reason.
QString importSummaryText(const QJsonObject &report);

/// Why a finished batch counts as failed; empty when every file was imported or is no DICOM object.
QString importFailureSentence(const QJsonObject &report);

} // namespace gateway::terminal
