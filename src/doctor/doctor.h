#pragma once

#include "doctor/diagnosis.h"
#include "index/dicom_db.h"
#include "log/writing/store_log_emitter.h"
#include "platform/concurrency/clock.h"
#include "receive/incoming_folders.h"

#include <functional>
#include <stop_token>
#include <utility>

namespace gateway::doctor {

/// Compares what the gateway has recorded with what is there.
///
/// Works in small steps beside a live gateway: an image that is just coming in or going out is never taken
/// for a fault. An examination that is stopped has mended whole things or nothing.
///
/// Owner: the command. Thread: any; blocks for as long as it takes to look at every stored file.
class Doctor
{
public:
    /// \param index            the one of this home; outlives this.
    /// \param incomingFolders  where received files arrive, or arrived; outlives this.
    /// \param emitter          told of each file that is taken in; outlives this.
    /// \param clock            by which received files wait; outlives this.
    /// \param awaitsRemoval    whether a file in an incoming folder was taken in and is only still to be
    ///                         removed; asked on the thread that examines.
    Doctor(index::DicomDB &index,
           receive::IncomingFolders &incomingFolders,
           log::StoreLogEmitter &emitter,
           const platform::Clock &clock,
           std::function<bool(const QString &path)> awaitsRemoval)
        : m_index(index), m_incomingFolders(incomingFolders), m_emitter(emitter), m_clock(clock),
          m_awaitsRemoval(std::move(awaitsRemoval))
    {
    }

    /// Looks at everything. Never throws.
    ///
    /// \param repair  whether to mend what can be mended without losing anything.
    Diagnosis examine(bool repair, const std::stop_token &stop);

private:
    index::DicomDB &m_index;
    receive::IncomingFolders &m_incomingFolders;
    log::StoreLogEmitter &m_emitter;
    const platform::Clock &m_clock;
    const std::function<bool(const QString &path)> m_awaitsRemoval;
};

} // namespace gateway::doctor
