#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace gateway::platform {

/// The paths of the complete objects that a storage SCP left in its inbox: acknowledged, durable, and not
/// yet handed over or not yet removed. The oldest come first.
///
/// Files that others put into the folder aren't among them, nor what is unfinished. Any thread.
QStringList completeInboxFiles(const QString &folder);

} // namespace gateway::platform
