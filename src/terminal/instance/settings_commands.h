#pragma once

#include "terminal/control/control_protocol.h"
#include "terminal/instance/settings_catalogue.h"

namespace gateway::terminal {

/// What a settings request came to.
struct SettingsAnswer
{
    ControlReply reply;
    bool needsListenerRestart = false; ///< a running listener goes by its old settings until then
};

/// Carries out one of the settings requests: list answers `{"settings": [{"key", "value", "fixed"}]}`, get
/// and set answer `{"key", "value"}`, import answers `{"changed": [keys]}`; to both an instance may add a
/// `remark`. Thread: that of the catalogue.
SettingsAnswer answerSettings(SettingsCatalogue &catalogue, const ControlRequest &request);

} // namespace gateway::terminal
