#pragma once

#include "account/quorin_auth_view_model.h"
#include "core/settings.h"
#include "receive/store_manual_import_service.h"
#include "terminal/control/control_protocol.h"
#include "upload/upload_requests.h"

#include <functional>
#include <vector>

namespace gateway::terminal {

/// What the running instance does for the commands of the command line: knows for each who answers it.
///
/// Owner: app. Thread: main.
class InstanceCommands
{
public:
    using Answer = std::function<void(ControlReply)>;

    /// Carries a request out and answers once, now or later; false when it is about something else.
    using Handler = std::function<bool(const ControlRequest &request, const Answer &answer)>;

    struct Collaborators
    {
        core::Settings &settings;
        const account::QuorinAuthViewModel &auth;
        upload::UploadRequests &uploadRequests;
        receive::StoreManualImportService &manualImports;
        std::function<void()> reopen;  ///< the program was started once more
        std::vector<Handler> handlers; ///< asked one after the other for what isn't answered here
    };

    explicit InstanceCommands(Collaborators collaborators);

    /// Carries out a request; `answer` is called once, now or later.
    void handle(const ControlRequest &request, const Answer &answer);

private:
    ControlReply activate();
    ControlReply requestUpload();

    const Collaborators m_collaborators;
};

} // namespace gateway::terminal
