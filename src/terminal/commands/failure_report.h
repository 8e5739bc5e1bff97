#pragma once

#include "upload/failure_figures.h"

#include <QtCore/QJsonArray>
#include <QtCore/QList>
#include <QtCore/QStringList>

namespace gateway::terminal {

/// `[{"class", "code", "sentence", "count"}]`
QJsonArray toJson(const QList<upload::FailureFigure> &figures);

/// A line for each sentence: the count and the sentence. \param failures  as `toJson` gives them.
QStringList failureLines(const QJsonArray &failures);

} // namespace gateway::terminal
