#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QUrl>

#include <optional>

namespace gateway::updates {

/// Where this installation's updates come from, and who signs them.
///
/// Thread: a plain value.
struct UpdateChannel
{
    QUrl feed;
    QByteArray publicKey; ///< Ed25519, 32 bytes
};

/// What was read of the files that describe a deployment.
struct Deployment
{
    std::optional<UpdateChannel> updates; ///< nothing where updates come with the system
    QString problem;                      ///< a sentence for the system's log; empty for none
};

/// Reads the first of the files that is there:
/// `{"updates": {"feed": "https://...", "publicKey": "<base64 of 32 bytes>"}}`.
/// A file that can't be understood gives no channel, and a problem. Thread: any; reads the disk.
Deployment readDeployment(const QStringList &paths);

} // namespace gateway::updates
