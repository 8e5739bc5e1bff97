#pragma once

#include "core/gateway_auto_delete_mode.h"
#include "wizard/port_probe.h"

#include <QtCore/QString>

#include <optional>

namespace gateway::wizard {

// The rules of single fields, for setup and for whoever else takes such a value. Thread: plain functions.

/// The text without all that isn't a number character.
QString digitsIn(const QString &text);

/// The port in the text, from 1 through 65535; nothing for anything else.
std::optional<int> parsedPort(const QString &text);

/// The amount in the text; nothing when it is no decimal number.
std::optional<int> parsedRetentionValue(const QString &text);

// Each check returns the sentence for the operator, or nothing when all is well.

std::optional<QString> aeTitleIssue(const QString &aeTitle);

/// What to say below an AE title: what is wrong with it, or how it will be formatted.
std::optional<QString> aeTitleHint(const QString &aeTitle);

std::optional<QString> portFormatIssue(const QString &portText);
std::optional<QString> portStateIssue(int port, PortState state);
std::optional<QString> timeoutIssue(const QString &secondsText);
std::optional<QString> retentionIssue(core::GatewayAutoDeleteMode mode, const QString &valueText);

} // namespace gateway::wizard
