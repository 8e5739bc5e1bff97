#pragma once

#include "updates/alert.h"

#include <QtCore/QString>

#include <functional>
#include <memory>
#include <optional>

namespace gateway::platform {
class MainExecutor;
class WorkerPool;
} // namespace gateway::platform

namespace gateway::updates {

/// Offers, once in a run, to move a program that is one file to the place for programs, where it stays when
/// the folder of downloads is tidied up, and where it can replace itself.
///
/// Owner: app; exactly one exists. Thread: main, but for `checkInstallLocation`.
class MoveToApplicationsService
{
public:
    struct Collaborators
    {
        Alerts &alerts;
        platform::MainExecutor &main;
        platform::WorkerPool &pool;

        /// Starts the program at `path` in place of this one, which ends; false when it can't be started.
        std::function<bool(const QString &path)> open;
    };

    /// Where this program is.
    struct Place
    {
        QString bundle;           ///< the file that holds the program, without links; empty for none
        QString homeFolder;       ///< the user's
        bool isUnderTest = false; ///< a test runner started the program: nobody is asked
    };

    MoveToApplicationsService(Collaborators collaborators, Place place);

    MoveToApplicationsService(const MoveToApplicationsService &) = delete;
    MoveToApplicationsService &operator=(const MoveToApplicationsService &) = delete;

    /// Offers the move where it makes sense; the second call in a run does nothing. Thread: any.
    void checkInstallLocation();

private:
    bool shouldOfferMove() const;
    void performMove();
    void moved(const QString &destination, const std::optional<QString> &problem);
    void showFailure(const QString &why);

    const Collaborators m_collaborators;
    const Place m_place;
    bool m_hasCheckedInstallLocation = false;
    std::shared_ptr<const void> m_life; // last: what is posted to the main thread is dropped once it has died
};

} // namespace gateway::updates
