#pragma once

#include "platform/sentences/sentence.h"

#include <QtCore/QString>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

namespace gateway::platform {

/// How a storage SCP listens. The listener is plain: the four switches of a secure connection are carried
/// as they are given and change nothing.
struct StoreSCPConfig
{
    QString aeTitle; // for the record only: peers may call by any title
    int port = 0;    // 0 lets the system choose
    bool secureConnection = false;
    bool doAuthenticate = false;
    int securityProfile = 1;
    bool verifyPeerCert = false;
    std::chrono::seconds timeout{30};    // until a silent association is aborted; 0 or less for never
    std::optional<QString> incomingPath; // absent for the SCP's own default
    QString incomingFolderId;            // the number that it keeps; empty where nobody knows one
    QString bindAddress;                 // empty for all addresses
    int associationsPerAddress = 128;    // at once; beyond that they are rejected
    std::int64_t acknowledgeAfter = 0;   // see StoreSCP::acknowledgeAfter()
};

/// Why a storage SCP that had listened does not at this moment, though nobody stopped it.
struct StoreSCPInterruption
{
    enum class Cause
    {
        ended,     ///< its process ended or was ended by somebody else
        silent,    ///< its process gave no sign of life and was killed
        notStarted ///< a further try to listen failed
    };

    Cause cause = Cause::ended;
    int status = 0;                  // of the process: its exit status, or 128 and the signal; 0 without one
    Sentence message;                // for people
    std::chrono::milliseconds pause; // until it is started again
};

/// Peers that a storage SCP turned away.
struct StoreSCPTurnedAway
{
    QString reason; // a word that never changes
    QString host;   // the address of the last of them
    qint64 count = 0;
};

/// What a storage SCP tells and asks. Called one at a time on the thread that called start(); an empty one is
/// left out.
struct StoreSCPCallbacks
{
    /// An association began: the peer's address, the association's identifier.
    std::function<void(QString, QString)> started;
    /// The association with this identifier ended well.
    std::function<void(QString)> complete;
    /// The association with this identifier failed, with this message. Each association that started ends
    /// in exactly one `complete` or `failed`.
    std::function<void(QString, QString)> failed;
    /// An object is kept: 1, an empty text, the path of its durable file, the association's identifier.
    std::function<void(double, QString, QString, QString)> progress;
    /// Asked after `started`; false ends the association.
    std::function<bool()> shouldAcceptAssoc;
    /// Called before each `progress`.
    std::function<void()> incomingData;
    /// Asked after each `progress`; true ends the association with this identifier.
    std::function<bool(QString)> isCancelled;
    /// The port is bound, for the first time: boundPort() tells which. Peers may come.
    std::function<void()> listening;
    /// The listening was interrupted; it goes on by itself after the pause.
    std::function<void(StoreSCPInterruption)> interrupted;
    /// The listening goes on after an interruption.
    std::function<void()> resumed;
    /// Complete objects that no `progress` named may lie in the inbox: a process ended before it could tell.
    std::function<void()> leftFiles;
    /// A helper named something that is no object in the inbox, for the association with this identifier; it
    /// was not taken.
    std::function<void(QString)> misnamed;
    /// Peers were turned away; told once a minute at most for each reason, but for those in an association.
    std::function<void(StoreSCPTurnedAway)> turnedAway;
};

/// The network door of the gateway: takes DICOM associations and keeps what they store.
///
/// Owner: StoreListenerService, a new one for each start. Thread: as said at each function.
class StoreSCP
{
public:
    /// A result of start().
    static constexpr std::int32_t kFolderRefused = 2;

    virtual ~StoreSCP() = default;

    /// Listens until stop(); blocks for the whole run. Any thread but the main one; once an object.
    ///
    /// Once it has listened, an end of its process only interrupts it: it is started again until stop().
    ///
    /// \return 0 when it was stopped, else non-zero: it could not listen; lastMessage() says why. It is
    /// kFolderRefused where the incoming folder was the reason.
    virtual std::int32_t start(const StoreSCPConfig &config, StoreSCPCallbacks callbacks) = 0;

    /// Asks for the end of the listening and returns at once. The port is free soon after, while start() may
    /// still be waiting for the last associations to finish their object. Before start() it makes that return
    /// at once. Any thread.
    virtual void stop() = 0;

    /// Objects that are kept from now on have later times than this, in nanoseconds since 1970: others than
    /// the SCP acknowledge images, too. Returns at once, before every process of it knows. Any thread.
    virtual void acknowledgeAfter(std::int64_t time) = 0;

    /// After a stop(): waits until the port is free again, for some seconds at most: a process that doesn't
    /// let go of it is killed, and what a callback waits for isn't waited for. Any thread but the one in
    /// start().
    virtual void awaitFreePort() = 0;

    /// The port that is listened on; nothing before and after. Any thread.
    virtual std::optional<int> boundPort() const = 0;

    /// For people: why start() returned non-zero, or why the listening is interrupted at
    /// this moment; else empty. Any thread.
    virtual Sentence lastMessage() const = 0;
};

} // namespace gateway::platform
