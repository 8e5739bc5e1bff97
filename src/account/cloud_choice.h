#pragma once

#include "cloud_client/cloud_configuration.h"
#include "platform/defaults/user_defaults.h"

#include <QtCore/QString>

#include <functional>
#include <optional>

namespace gateway::account {

/// Which cloud images go to, and the way to another one. A session belongs to one service, so another cloud
/// counts from the start of the program on: it is kept, and the program starts anew.
///
/// Owner: app. Thread: main.
class CloudChoice
{
public:
    struct Parts
    {
        const cloud_client::CloudConfiguration &configuration;
        platform::UserDefaults &defaults;
        std::function<bool()> restart; ///< ends the program for a new start; false where it can't
    };

    struct Entries
    {
        cloud_client::CloudKind kind = cloud_client::CloudKind::quorin;
        QString address = {};
    };

    explicit CloudChoice(Parts parts);

    /// The one that this start goes to.
    Entries present() const;

    /// The command line or the environment names the cloud of each start, whatever is chosen here.
    bool isGivenAtStart() const { return m_parts.configuration.isGivenAtStart; }

    /// Keeps what was entered, and starts the program anew unless it goes there already.
    ///
    /// \return why not, in one sentence for people; nothing where it came to that.
    std::optional<QString> choose(const Entries &entered);

private:
    std::optional<QString> issueWith(const Entries &entered) const;
    bool keep(const Entries &entered);

    const Parts m_parts;
};

} // namespace gateway::account
