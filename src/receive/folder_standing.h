#pragma once

#include <QtCore/QString>

namespace gateway::receive {

/// What can be told of an incoming folder without writing there: which folder and volume stands at the path,
/// who may write, and whether there is room for anything. Two texts differ where something of it has changed,
/// and say nothing else. Thread: any; blocks for as long as the folder's share doesn't answer.
QString folderStanding(const QString &path);

} // namespace gateway::receive
