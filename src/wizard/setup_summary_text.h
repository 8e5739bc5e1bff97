#pragma once

#include "wizard/setup_preflight.h"

#include <QtCore/QDateTime>
#include <QtCore/QList>
#include <QtCore/QString>

namespace gateway::wizard {

// What setup is about to apply, as a record for the site. Thread: plain functions.

/// "QuorinGateway-SetupSummary-20260504-130201.pdf", in local time.
QString setupSummaryFileName(const QDateTime &now);

/// The record's lines; its time is in UTC.
QString setupSummaryText(const QDateTime &now,
                         const QList<GatewaySetupSummaryRow> &rows,
                         const QList<GatewaySetupPreflightCheck> &checks);

} // namespace gateway::wizard
