#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <cstdint>

namespace gateway::platform {
class Database;
}

namespace gateway::index {

/// What was sent of an instance; nothing was where `instance` is empty.
struct SentInstance
{
    QString instance = {};    ///< its SOP instance UID
    std::int64_t version = 0; ///< tells versions of it apart, above 0
    bool isVerified = false;  ///< the cloud was seen to hold this version

    bool operator==(const SentInstance &) const = default;
};

// Which versions of an instance went to the cloud. All run inside the caller's transaction and throw
// SqliteError. An instance is known by its UID alone: a server may know it by no more.

/// Notes that the instances are about to be sent, before it is known in which version.
void noteSending(platform::Database &database, const QStringList &instances);

/// Takes that back for those that were not sent.
void noteNotSent(platform::Database &database, const QStringList &instances);

/// Closes what an earlier process left open: some version may have been sent.
void closeSending(platform::Database &database);

/// Notes what was sent, whatever became of it.
void noteSent(platform::Database &database, const SentInstance &sent);

/// Whether another version than this one may have been sent before, so that the cloud may hold that.
bool mayOtherVersionBeSent(platform::Database &database, const SentInstance &sent);

/// Notes that some version of the instance may have been sent, unless more is known of it. An empty UID is
/// nobody's.
void noteUnknownHistory(platform::Database &database, const QString &instance);

/// Fills an index of before these notes: of what was sent then, nobody knows the version.
void noteSentBefore(platform::Database &database);

} // namespace gateway::index
