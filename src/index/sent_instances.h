#pragma once

#include <QtCore/QString>

#include <cstdint>

namespace gateway::platform {
class Database;
}

namespace gateway::index {

/// A version of an instance that goes to the cloud, or went there.
struct SentInstance
{
    QString instance = {};    ///< its SOP instance UID
    std::int64_t version = 0; ///< tells versions of it apart, above 0

    bool operator==(const SentInstance &) const = default;
};

// Which versions of an instance went to the cloud. All run inside the caller's transaction and throw
// SqliteError. An instance is known by its UID alone: a server may know it by no more.

/// Notes what is about to be sent, whatever will become of it.
void noteSending(platform::Database &database, const SentInstance &sent);

/// True when noting this would change nothing.
bool isNotedAsSent(platform::Database &database, const SentInstance &sent);

/// Notes that the cloud was seen to hold this version: what was sent before it is of no account any more.
void noteVerified(platform::Database &database, const SentInstance &seen);

/// Whether another version than this one may have been sent before, so that the cloud may hold that.
bool mayOtherVersionBeSent(platform::Database &database, const SentInstance &sent);

/// Notes that some version of the instance may have been sent, unless more is known of it. An empty UID is
/// nobody's.
void noteUnknownHistory(platform::Database &database, const QString &instance);

/// Fills an index of before these notes: of what was sent then, nobody knows the version.
void noteSentBefore(platform::Database &database);

} // namespace gateway::index
