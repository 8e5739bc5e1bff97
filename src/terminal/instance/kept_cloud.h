#pragma once

#include "cloud_client/cloud_configuration.h"
#include "platform/defaults/user_defaults.h"
#include "terminal/control/control_protocol.h"

#include <QtCore/QString>

#include <functional>
#include <optional>

namespace gateway::terminal {

/// Which cloud the next start goes to, when it isn't told: that of `setup` and `sign-in`.
///
/// Owner: app. Thread: main.
class KeptCloud
{
public:
    using Answer = std::function<void(ControlReply)>;

    /// What this start was told by --cloud and --cloud-kind.
    struct Given
    {
        std::optional<QString> url;
        std::optional<QString> kind;
    };

    KeptCloud(Given given,
              const cloud_client::CloudConfiguration &configuration,
              platform::UserDefaults &defaults)
        : m_given(std::move(given)), m_configuration(configuration), m_defaults(defaults)
    {
    }

    /// Keeps what was given when a request comes that sets up or signs in, and leaves the rest to others.
    /// Answers it, with a refusal, when it names another cloud than the one that this instance goes to.
    ///
    /// \return true when it was answered.
    bool handle(const ControlRequest &request, const Answer &answer) const;

    /// The sentence for a start that goes elsewhere than the kept settings say; nothing when it doesn't, or
    /// when nothing is kept.
    std::optional<QString> difference() const;

private:
    bool isThisOne(const QJsonObject &arguments) const;

    const Given m_given;
    const cloud_client::CloudConfiguration &m_configuration;
    platform::UserDefaults &m_defaults;
};

} // namespace gateway::terminal
