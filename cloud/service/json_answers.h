#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

namespace gateway::cloud {

class Exchange;

/// Answers with a JSON record. Thread: the exchange's.
void answerJson(Exchange &exchange, int status, const QJsonObject &body);
void answerJson(Exchange &exchange, int status, const QJsonArray &body);

/// Answers with DICOM JSON. Thread: the exchange's.
void answerDicomJson(Exchange &exchange, int status, const QJsonArray &body);
void answerDicomJson(Exchange &exchange, int status, const QJsonObject &body);

/// An identifier as it stands in an address, between two slashes (RFC 3986, section 2.1). Thread: any.
QString addressSegment(const QString &identifier);

/// The body as a JSON record; an empty body is an empty record. Thread: the exchange's.
/// \throws HttpProblem  400 when it isn't one, 413 above 1 MiB.
QJsonObject readJson(Exchange &exchange);

} // namespace gateway::cloud
