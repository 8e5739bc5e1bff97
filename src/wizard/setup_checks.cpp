#include "wizard/setup_checks.h"

#include "core/ae_title_formatter.h"
#include "core/retention_policy.h"
#include "platform/files/file_error.h"
#include "platform/files/files.h"
#include "receive/folder_bookmark.h"

#include <QtCore/QFile>
#include <QtCore/QUuid>

#include <cerrno>

namespace gateway::wizard {

namespace {

/// A decimal number with an optional sign; blanks around it are of no account.
std::optional<int> decimal(const QString &text)
{
    bool isNumber = false;
    const int number = text.trimmed().toInt(&isNumber);
    return isNumber ? std::optional(number) : std::nullopt;
}

bool isWithin(std::optional<int> value, int last)
{
    return value && *value >= 1 && *value <= last;
}

bool takesAFile(const QString &folder)
{
    const QString name = folder + QStringLiteral("/.quorin_gateway_write_probe_") +
                         QUuid::createUuid().toString(QUuid::WithoutBraces);
    QFile probe(name);
    const bool written =
        probe.open(QIODevice::WriteOnly | QIODevice::NewOnly) && probe.write("probe") == 5 && probe.flush();
    probe.close();
    return QFile::remove(name) && written;
}

/// Trouble that may pass isn't this check's business: the listener waits it out.
bool canSync(const QString &folder, platform::FileSystem &files)
{
    try {
        platform::syncFolder(folder, files);
        return true;
    } catch (const platform::FileError &error) {
        return error.code() != EINVAL && error.code() != ENOTSUP && error.code() != ENOSYS;
    }
}

} // namespace

std::optional<int> parsedPort(const QString &text)
{
    const std::optional<int> number = decimal(text);
    return isWithin(number, 65535) ? number : std::nullopt;
}

std::optional<int> parsedRetentionValue(const QString &text)
{
    return decimal(text);
}

std::optional<QString> aeTitleIssue(const QString &aeTitle)
{
    const QString trimmed = aeTitle.trimmed();
    if (trimmed.isEmpty()) {
        return QStringLiteral("AE Title is required.");
    }
    if (core::AETitleFormatter::format(trimmed).isEmpty()) {
        return QStringLiteral("AE Title must include at least one letter or number.");
    }
    return std::nullopt;
}

std::optional<QString> portFormatIssue(const QString &portText)
{
    return parsedPort(portText) ? std::nullopt
                                : std::optional(QStringLiteral("Port must be a number between 1 and 65535."));
}

std::optional<QString> portStateIssue(int port, PortState state)
{
    switch (state) {
    case PortState::available:
        return std::nullopt;
    case PortState::inUse:
        return QStringLiteral("Port %1 is already in use by another process.").arg(port);
    case PortState::forbidden:
        return QStringLiteral("Port %1 needs rights that this user doesn't have; choose one from 1024 up.")
            .arg(port);
    case PortState::noAddress:
        return QStringLiteral("Port %1 can't be listened on: this machine doesn't have the address to bind.")
            .arg(port);
    }
    return std::nullopt;
}

std::optional<QString> timeoutIssue(const QString &secondsText)
{
    return isWithin(decimal(secondsText), 600)
               ? std::nullopt
               : std::optional(QStringLiteral("Timeout must be a number between 1 and 600."));
}

std::optional<QString> retentionIssue(core::GatewayAutoDeleteMode mode, const QString &valueText)
{
    return core::isValidAutoDeleteValue(mode, parsedRetentionValue(valueText))
               ? std::nullopt
               : std::optional(core::autoDeleteValueMessage(mode));
}

std::optional<QString> folderIssue(const QString &folder, platform::FileSystem &files)
{
    const std::optional<QByteArray> bookmark = receive::makeFolderBookmark(folder);
    if (!bookmark || !receive::resolveFolderBookmark(*bookmark)) {
        return QStringLiteral("Could not create or validate a folder permission bookmark.");
    }
    if (!takesAFile(folder)) {
        return QStringLiteral(
            "Selected folder is not writable. Choose a different folder or restore defaults.");
    }
    if (!canSync(folder, files)) {
        return QStringLiteral(
            "Selected folder lies on a volume that can't sync folders, so that no received image "
            "would be safe there. Choose a folder on another volume.");
    }
    return std::nullopt;
}

std::optional<QString> firstBlockingIssue(const SetupDraft &draft, const PortProbe &probe)
{
    if (std::optional<QString> issue = aeTitleIssue(draft.aeTitle)) {
        return issue;
    }
    const std::optional<int> port = parsedPort(draft.portText);
    if (!port) {
        return portFormatIssue(draft.portText);
    }
    if (std::optional<QString> issue = portStateIssue(*port, probe(*port))) {
        return issue;
    }
    if (draft.destinationFolder) {
        if (std::optional<QString> issue = folderIssue(*draft.destinationFolder)) {
            return issue;
        }
    }
    return retentionIssue(draft.autoDeleteMode, draft.autoDeleteValueText);
}

} // namespace gateway::wizard
