#pragma once

#include "core/home_layout.h"
#include "core/settings.h"
#include "doctor/diagnosis.h"
#include "index/dicom_db.h"
#include "log/writing/store_log_emitter.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/task.h"
#include "platform/defaults/user_defaults.h"
#include "platform/dicom/helper_fences.h"
#include "receive/incoming_folders.h"
#include "terminal/commands/command_line.h"
#include "terminal/control/control_protocol.h"
#include "upload/upload_gate.h"
#include "upload/waiting_uploads.h"

#include <functional>
#include <memory>
#include <optional>

namespace gateway::terminal {

namespace requests {

inline const QString kDoctor = QStringLiteral("doctor");

} // namespace requests

ControlRequest doctorRequest(const DoctorCommand &command);

/// The running instance's side of `doctor`: one examination at a time, on a thread of its own, ended when its
/// caller hangs up.
///
/// Owner: Gateway, as a shared pointer. Thread: main.
class DoctorCommands : public std::enable_shared_from_this<DoctorCommands>
{
public:
    using Answer = std::function<void(ControlReply)>;

    /// How the rest of the instance stands beside what the index says.
    struct Standing
    {
        std::optional<upload::UploadGate::Closure> pause;
        QString missingSession;            ///< who ended the session and what to do; empty where nobody did
        bool isSignedIn = true;            ///< or it isn't known
        bool isListeningAsItShould = true; ///< or it isn't meant to listen
        qint64 logBytes = 0;               ///< what the log files take
        qint64 logLimitBytes = 0;          ///< the most that they may take; 0 for no limit
    };

    /// \param index, emitter, main, clock, incomingFolders  outlive this.
    /// \param awaitsRemoval         as `doctor::Doctor` asks; any thread.
    /// \param onImagesRecorded  called when images were recorded that wait for their upload now.
    /// \param standing          asked for at the end of each examination.
    DoctorCommands(index::DicomDB &index,
                   log::StoreLogEmitter &emitter,
                   platform::MainExecutor &main,
                   const platform::Clock &clock,
                   receive::IncomingFolders &incomingFolders,
                   std::function<bool(const QString &path)> awaitsRemoval,
                   std::function<void()> onImagesRecorded,
                   std::function<Standing()> standing);

    /// Carries the request out if it is this one; `answer` is called once then, when the examination is over.
    ///
    /// \return false when it is about something else.
    bool handle(const ControlRequest &request, const Answer &answer);

private:
    void examine(const ControlRequest &request, const Answer &answer);
    void finish(doctor::Diagnosis diagnosis,
                upload::WaitingUploads waiting,
                const std::optional<platform::HelperFences> &fences,
                bool repair,
                const Answer &answer);

    index::DicomDB &m_index;
    log::StoreLogEmitter &m_emitter;
    platform::MainExecutor &m_main;
    const platform::Clock &m_clock;
    receive::IncomingFolders &m_incomingFolders;
    const std::function<bool(const QString &path)> m_awaitsRemoval;
    const std::function<void()> m_onImagesRecorded;
    const std::function<Standing()> m_standing;
    bool m_isExamining = false;
    platform::Task m_task; // last: joined before the fields go
};

/// Carries the request out when no instance runs. The caller owns the home. Thread: main; blocks.
ControlReply examineWithoutInstance(const core::HomeLayout &layout,
                                    platform::UserDefaults &defaults,
                                    const core::Settings &settings,
                                    const ControlRequest &request);

} // namespace gateway::terminal
