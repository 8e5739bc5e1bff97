#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QUrl>

#include <optional>

namespace gateway::core {

/// Where this installation's updates come from, and who signs them.
///
/// Thread: a plain value.
struct UpdateChannel
{
    QUrl feed;
    QByteArray publicKey; ///< Ed25519, 32 bytes
};

/// What whoever installs the gateway says of the world around it, in one file that its user can't write. What
/// isn't said there is absent: so is the button that would need it.
///
/// Thread: a plain value.
struct Deployment
{
    std::optional<UpdateChannel> updates; ///< nothing where updates come with the system
    QUrl storePage;                       ///< where an account can be had, http or https; empty for none
    QString supportEmail;                 ///< one address; empty for none
    QStringList problems;                 ///< a sentence each for the system's log
};

/// The places of the file, the one that counts first.
///
/// \param programFolder  in which the program lies.
QStringList deploymentFiles(const QString &programFolder);

/// Reads the first of the files that is there:
/// `{"updates": {"feed": "https://...", "publicKey": "<base64 of 32 bytes>"}, "storePage": "https://...",
/// "supportEmail": "name@site.example"}`, each member optional. What can't be understood is left out, and
/// told as a problem. Thread: any; reads the disk.
Deployment readDeployment(const QStringList &paths);

/// True for an address that updates may be fetched from: https, or http on this machine alone.
bool isFetchable(const QUrl &url);

} // namespace gateway::core
