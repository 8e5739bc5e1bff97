#pragma once

#include "updates/appcast.h"

#include <QtCore/QString>

#include <functional>
#include <optional>
#include <stop_token>

namespace gateway::updates {

/// Where updates come from. Thread: any; calls block, and end soon after `stop` was requested.
class UpdateSource
{
public:
    /// Told how many bytes of the package are there, on the thread that fetches.
    using Progress = std::function<void(qint64 received)>;

    virtual ~UpdateSource() = default;

    /// The newest build that this program may take; nothing when it is the newest itself.
    ///
    /// \throws UpdateError
    virtual std::optional<AppcastItem> newerItem(std::stop_token stop) = 0;

    /// Fetches the package, going on where an earlier call ended, and verifies it.
    ///
    /// \return the path of a file that holds exactly what was signed.
    /// \throws UpdateError  what came so far stays for the next call, unless it can't be right.
    virtual QString fetch(const AppcastItem &item, const Progress &progress, std::stop_token stop) = 0;
};

/// How a verified package gets into place. Thread: any; calls block.
class PackageInstaller
{
public:
    /// What is left to do.
    enum class Outcome
    {
        installed, ///< the next start runs the new build
        handedOver ///< the system's installer has it and asks the person
    };

    virtual ~PackageInstaller() = default;

    /// True where nobody is asked any more, so that the program may install when it quits.
    virtual bool installsByItself() const = 0;

    /// \param verified  the file of UpdateSource::fetch; it is taken.
    /// \throws UpdateError  the build that ran before is then as it was.
    virtual Outcome install(const QString &verified, const AppcastItem &item) = 0;
};

} // namespace gateway::updates
