#pragma once

#include <QtCore/QString>

namespace gateway::updates {

/// An update that may be installed, by its names.
struct UpdateItem
{
    QString displayVersionString; ///< the version for people; may be blank
    QString versionString;        ///< the version that is compared

    bool operator==(const UpdateItem &) const = default;
};

/// Who is told what an updater finds. Thread: main.
class UpdaterDelegate
{
public:
    virtual ~UpdaterDelegate() = default;

    /// True where the delegate itself reminds of an update that a check in the background found; no window
    /// then comes up by itself.
    virtual bool supportsGentleScheduledUpdateReminders() const = 0;

    /// Any check found an update that this program may take.
    virtual void updaterDidFindValidUpdate(const UpdateItem &item) = 0;
};

/// What looks for new builds, fetches, verifies and installs them. After its making it goes on by itself with
/// checks in the background, at an interval of its own, as long as they are switched on.
///
/// Owner: GatewayUpdaterService. Thread: main; nothing here blocks.
class Updater
{
public:
    virtual ~Updater() = default;

    /// Whether it checks by itself.
    virtual bool automaticallyChecksForUpdates() const = 0;
    virtual void setAutomaticallyChecksForUpdates(bool areOn) = 0;

    /// A check that shows nothing, found or not; the delegate is told what it finds.
    virtual void checkForUpdatesInBackground() = 0;

    /// A check that shows how it goes, and what comes of it.
    virtual void checkForUpdates() = 0;
};

} // namespace gateway::updates
