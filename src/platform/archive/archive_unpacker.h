#pragma once

#include "platform/archive/archive_unpacking.h"

#include <QtCore/QString>

#include <chrono>

namespace gateway::platform {

/// Unpacks through `quorin-dicom unpack`, a process for each archive, which is limited in all that it may do:
/// what a hostile archive breaks is that one process.
///
/// Owner: app. Thread: any, several at a time. The calling thread must outlive the call, since the process
/// ends with it.
class ArchiveUnpacker final : public ArchiveUnpacking
{
public:
    /// An archive that yields nothing for so long has hung its process.
    static constexpr std::chrono::milliseconds kLongestSilence = std::chrono::minutes(2);

    /// \param program  path of quorin-dicom.
    explicit ArchiveUnpacker(QString program, std::chrono::milliseconds longestSilence = kLongestSilence)
        : m_program(std::move(program)), m_longestSilence(longestSilence)
    {
    }

    UnpackedArchive unpack(const QString &archive,
                           const QString &folder,
                           const ArchiveLimits &limits,
                           const Progress &progress,
                           std::stop_token stop) override;

private:
    const QString m_program;
    const std::chrono::milliseconds m_longestSilence;
};

} // namespace gateway::platform
