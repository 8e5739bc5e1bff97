#pragma once

#include "core/gateway_auto_delete_mode.h"
#include "platform/files/file_system.h"
#include "wizard/port_probe.h"

#include <QtCore/QString>

#include <optional>

namespace gateway::wizard {

/// The settings as entered, before they are checked. Thread: a plain value.
struct SetupDraft
{
    QString aeTitle;
    QString portText;
    bool advertiseWithBonjour = true;
    std::optional<QString> destinationFolder; ///< nothing means the default incoming folder
    core::GatewayAutoDeleteMode autoDeleteMode = core::GatewayAutoDeleteMode::never;
    QString autoDeleteValueText; ///< empty under `never`
};

/// The port in the text, from 1 through 65535; nothing for anything else.
std::optional<int> parsedPort(const QString &text);

/// The amount in the text; nothing when it is no decimal number.
std::optional<int> parsedRetentionValue(const QString &text);

// Each check returns the sentence for the operator, or nothing when all is well.

std::optional<QString> aeTitleIssue(const QString &aeTitle);
std::optional<QString> portFormatIssue(const QString &portText);
std::optional<QString> portStateIssue(int port, PortState state);
std::optional<QString> timeoutIssue(const QString &secondsText);
std::optional<QString> retentionIssue(core::GatewayAutoDeleteMode mode, const QString &valueText);

/// Checks that the folder exists, may be entered, and takes a file, by writing one and removing it; and that
/// its volume can sync folders, without which the listener could acknowledge nothing.
std::optional<QString> folderIssue(const QString &folder,
                                   platform::FileSystem &files = platform::systemFiles());

/// The first thing that stands in the way of applying the draft.
///
/// \param probe  tells whether a port can be listened on.
std::optional<QString> firstBlockingIssue(const SetupDraft &draft, const PortProbe &probe);

} // namespace gateway::wizard
