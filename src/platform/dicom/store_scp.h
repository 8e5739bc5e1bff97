#pragma once

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
    QString bindAddress;                 // empty for all addresses
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
};

/// The network door of the gateway: takes DICOM associations and keeps what they store.
///
/// Owner: StoreListenerService, a new one for each start. Thread: as said at each function.
class StoreSCP
{
public:
    virtual ~StoreSCP() = default;

    /// Listens until stop(); blocks for the whole run. Any thread but the main one; once an object.
    ///
    /// \return 0 when it was stopped, else non-zero: it could not listen, or ended by itself; lastMessage()
    /// says why.
    virtual std::int32_t start(const StoreSCPConfig &config, StoreSCPCallbacks callbacks) = 0;

    /// Ends the listening: returns when the port is free again, while start() may still be waiting for
    /// the last associations to finish their object. Before start() it makes that return at once. Any thread.
    virtual void stop() = 0;

    /// The port that is listened on; nothing before and after. Any thread.
    virtual std::optional<int> boundPort() const = 0;

    /// A sentence for people that says why start() returned non-zero; else empty. Any thread.
    virtual QString lastMessage() const = 0;
};

} // namespace gateway::platform
