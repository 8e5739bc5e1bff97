#pragma once

#include "browser/browser_table.h"
#include "terminal/commands/command_line.h"
#include "terminal/control/control_protocol.h"

#include <QtCore/QJsonObject>
#include <QtCore/QString>

namespace gateway::terminal {

// The browsers' commands: how they travel, and how their answers are told. Thread: plain functions.

namespace requests {

inline const QString kBrowse = QStringLiteral("browse");

} // namespace requests

ControlRequest browserRequest(const BrowserCommand &command);

/// The command in such a request.
BrowserCommand browserCommandIn(const ControlRequest &request);

/// The table that the command is about.
browser::TableKind tableKindOf(const BrowserCommand &command);

/// The shown rows of a table as one JSON object with keys that don't change; null where there is nothing.
QJsonObject rowsReport(const browser::BrowserTable &table);

/// Such a report for people: a line a row, under the titles of the columns.
QString rowsText(const QJsonObject &report, browser::TableKind kind);

/// The keys in the answer to a deletion under which it tells how many things weren't wholly in the cloud, and
/// how many images weren't there.
inline const QString kOutsideCloud = QStringLiteral("outsideCloud");
inline const QString kImagesOutsideCloud = QStringLiteral("imagesOutsideCloud");

/// The key in the answer to a deletion that says in one sentence what didn't go; its text is empty where all
/// went well.
inline const QString kDeletionProblem = QStringLiteral("problem");

/// What a deletion came to, where all went well.
QString deletionText(const QJsonObject &result, browser::TableKind kind);

/// Why the deletion isn't carried out as it was asked for; empty where it may be.
///
/// \param outsideCloud  what of the named things isn't in the cloud.
QString faultInDeletion(const BrowserCommand &command, const browser::OutsideCloudCount &outsideCloud);

/// How many things the command names.
qsizetype namedTargets(const BrowserCommand &command);

} // namespace gateway::terminal
