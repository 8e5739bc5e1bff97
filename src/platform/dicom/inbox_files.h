#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>

namespace gateway::platform {

/// The paths of the complete objects that a storage SCP left in its inbox: acknowledged, durable, and not
/// yet handed over or not yet removed. The oldest come first.
///
/// Files that others put into the folder aren't among them, nor what is unfinished. Any thread.
QStringList completeInboxFiles(const QString &folder);

/// The path, as completeInboxFiles() tells it, of the file that a helper says has this name in its inbox.
///
/// Nothing when the name isn't one that the listener gives: a helper is believed no more than that. Whether
/// it names a file isn't asked, for the folder may not answer. Any thread.
std::optional<QString> inboxFile(const QString &folder, const QString &name);

} // namespace gateway::platform
