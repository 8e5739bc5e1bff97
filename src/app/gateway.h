#pragma once

#include "app/cloud_account.h"
#include "app/doors.h"
#include "app/gateway_options.h"
#include "app/ground.h"
#include "app/index_recording.h"
#include "app/launch_ports.h"
#include "app/receiving.h"
#include "app/sending.h"
#include "index/store_watch.h"
#include "receive/inbox_watch.h"
#include "shell/desktop/screen_models.h"
#include "state/gateway_app_state.h"

#include <optional>

namespace gateway::app {

/// The shared objects of one running gateway, each made once and joined to the others here and nowhere else:
/// five assemblies, each made of those before it.
///
/// Owner: main. Thread: main; made after the application object. Nothing is torn down in life: the program
/// ends with the process, and what was in flight is found again at the next start.
class Gateway
{
public:
    /// Opens the defaults and the index.
    ///
    /// \param face  outlives this; nothing is shown before `launch`.
    /// \throws platform::DefaultsError, index::IndexOpenError, index::StoreInUseError  each with one plain
    /// sentence.
    Gateway(GatewayOptions options, GatewayFace &face);

    Gateway(const Gateway &) = delete;
    Gateway &operator=(const Gateway &) = delete;

    /// Comes up in the given order; the listener follows from the event loop.
    void launch();

    /// Goes down as an application does.
    void terminate();

    /// What a face with screens works with.
    shell::ScreenModels screenModels();

    /// The figures for operators, of this moment.
    monitor::HealthFigures healthFigures() { return m_doors.health->figures(); }

    /// The program that takes the place of this one when it has ended; empty for none.
    const QString &successor() const { return m_doors.upkeep.successor(); }

    /// Who is asked to open something.
    AppDelegate &delegate() { return *m_doors.delegate; }

    /// Carries out a request of the command line; `answer` is called once, now or later.
    void handle(const terminal::ControlRequest &request, const terminal::InstanceCommands::Answer &answer);

private:
    state::GatewayAppStateParts figureParts();
    void sendNow(const QString &study);
    void tellOfFormerIndex();
    void startWatches();
    receive::IncomingFolders::Sight lookAtPresentInbox();
    void inboxesWereSeen(const state::InboxFigures &inbox);
    void storeWasSeen(bool isOutOfSight);
    void say(const QString &sentence);

    const GatewayOptions m_options;
    GatewayFace &m_face;

    Ground m_ground{.options = m_options};
    CloudAccount m_account{.ground = m_ground};
    state::GatewayAppState m_live{figureParts()};
    Sending m_sending{.ground = m_ground, .account = m_account, .live = m_live};
    Receiving m_receiving{
        .ground = m_ground, .live = m_live, .sending = m_sending, .importPanel = m_face.importPanel()};
    Doors m_doors{.ground = m_ground,
                  .account = m_account,
                  .live = m_live,
                  .sending = m_sending,
                  .receiving = m_receiving,
                  .face = m_face};

    // From the launch on.
    std::optional<receive::InboxWatch> m_inboxWatch;
    std::optional<index::StoreWatch> m_storeWatch;
    std::optional<IndexRecording> m_recording;
};

} // namespace gateway::app
