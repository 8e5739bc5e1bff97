#pragma once

#include <QtCore/QProcessEnvironment>
#include <QtCore/QString>

#include <optional>
#include <stdexcept>
#include <utility>

namespace gateway::core {

/// Where the gateway keeps things. Thread: a plain value.
struct HomeLayout
{
    QString defaultsFile;
    QString indexFile;
    QString fileStore;      ///< "Pavan Data": the stored images
    QString incomingFolder; ///< the default one
    QString logFolder;
    QString temporaryFolder; ///< on the file store's volume
    QString runFolder;       ///< the instance's lock and socket

    /// Held by the one instance of this home, for life.
    QString lockFile() const;

    /// Held beside the index as well, because the run folder can differ between two sessions of one user.
    QString indexLockFile() const;

    /// The socket that commands talk to.
    QString controlSocket() const;

    /// The socket that tells metrics and health.
    QString healthSocket() const;

    /// Where the session token is kept when the desktop has no secret service.
    QString tokenFolder() const;
};

/// A folder of the home can't be made or used. `message` is one plain sentence.
struct HomeError : std::runtime_error
{
    explicit HomeError(QString text) : std::runtime_error(text.toStdString()), message(std::move(text)) {}

    QString message;
};

/// Everything below `home` where one is given; otherwise the platform's standard places, by the XDG variables
/// of `environment` and the user's Documents folder.
HomeLayout homeLayout(const std::optional<QString> &home, const QProcessEnvironment &environment);

/// The name of the user whose home this is, when this process should not work in it: it is another user's and
/// can't be used, or this is the superuser, who would leave files there that its owner can't read.
std::optional<QString> otherOwner(const HomeLayout &layout);

/// Makes the folders that are missing, the run folder for this user alone, takes the others' rights from
/// those with images, index, log and settings, and checks that each may be written.
///
/// \throws HomeError
void makeFolders(const HomeLayout &layout);

} // namespace gateway::core
