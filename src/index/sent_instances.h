#pragma once

#include "platform/dicom/instance_identity.h"

#include <QtCore/QString>

#include <cstdint>

namespace gateway::platform {
class Database;
}

namespace gateway::index {

/// A version of an instance that goes to the cloud, or went there.
struct SentInstance
{
    platform::InstanceUid instance = {};
    std::int64_t version = 0;      ///< tells versions of it apart, above 0
    std::int64_t acknowledged = 0; ///< its file, in nanoseconds since 1970; 0 where nobody knows
    QString place = {};            ///< the study and the series that it belongs to
    QString cloud = {};            ///< names the cloud that it goes to or went to, and the account there
    bool isDamaged = false; ///< it lacks a part of the image: what was acknowledged before it may hold more

    bool operator==(const SentInstance &) const = default;
};

/// What of an instance was sent before to the cloud that it goes to now; of other versions, to any.
enum class SentBefore
{
    nothing,
    thisVersion,         ///< and no other, and it was answered as stored
    thisVersionOnItsWay, ///< and no other; its result isn't recorded yet
    thisVersionBrokeOff, ///< and no other; the process died before its result was recorded
    thisVersionInVain,   ///< and no other, and no try of it is known to have arrived
    anotherVersion,      ///< and not this one
    laterVersion,        ///< another in its place was answered as stored that was acknowledged after it
    unknown,             ///< several versions, or nobody knows which
    unrecorded           ///< the index doesn't say, and lacks a part of what was sent
};

// Which versions of an instance went to the cloud. All run inside the caller's transaction and throw
// SqliteError. An instance is known by its UID alone: a server may know it by no more. An answer of one cloud
// proves nothing of what another holds, so each note says which it is of.

/// Notes that this cloud has answered a query.
void noteQueryAnswered(platform::Database &database, const QString &cloud);

bool isQueryAnswerNoted(platform::Database &database, const QString &cloud);

/// A number for this process, by which its own sends are told from those of one that died.
std::int64_t newSender();

/// What is known of the instance, before this version of it is sent.
///
/// \param sender  who asks, see `newSender`.
SentBefore sentBefore(platform::Database &database, const SentInstance &next, std::int64_t sender);

/// The one version that was sent of the instance; 0 where none was, several were, or nobody knows which.
std::int64_t onlyVersionSent(platform::Database &database, const platform::InstanceUid &instance);

/// Notes what is about to be sent by `sender`, whatever will become of it. A try of the same version that
/// failed before isn't forgotten for the next one, nor one that was answered as stored.
void noteSending(platform::Database &database, const SentInstance &sent, std::int64_t sender);

/// Notes that a try of this version was answered as stored, and when that version was acknowledged; only the
/// latter where another is noted, or a send of it to another cloud.
void noteStored(platform::Database &database, const SentInstance &sent);

/// Notes that a try of this version failed, whether or not it got an answer; nothing where another is noted,
/// or where one was answered as stored before.
void noteFailed(platform::Database &database, const SentInstance &sent);

/// Notes that the cloud was seen to hold this version: what was sent before it is of no account any more, but
/// for its time.
void noteVerified(platform::Database &database, const SentInstance &seen);

/// Whether another version than this one may have been sent before, so that the cloud may hold that.
bool mayOtherVersionBeSent(platform::Database &database, const SentInstance &sent);

/// Notes that some version of the instance may have been sent, unless more is known of it. An empty UID is
/// nobody's.
void noteUnknownHistory(platform::Database &database, const platform::InstanceUid &instance);

/// How many sends were noted as long as the index lives, and in any that this one came back from.
std::int64_t sendCount(platform::Database &database);

/// Notes that there were at least so many: the index lacks some where it knew of fewer.
void noteSendCount(platform::Database &database, std::int64_t atLeast);

/// True where instances may have been sent of which the index knows nothing.
bool lacksSentInstances(platform::Database &database);

/// Notes that this is so, for as long as the index lives.
void noteUnrecordedSends(platform::Database &database);

/// Fills an index of before these notes: of what was sent then, nobody knows the version, nor what went of
/// the images that it has let go of.
void noteSentBefore(platform::Database &database);

} // namespace gateway::index
