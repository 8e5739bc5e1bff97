#pragma once

#include <QtCore/QtGlobal>

#include <chrono>

namespace gateway::state {

/// The live figures that an upload run moves.
///
/// Owner: app. Thread: main, where the run posts its calls without waiting for them.
class UploadState
{
public:
    virtual ~UploadState() = default;

    virtual void refreshCounters() = 0;
    virtual void refreshTransferSeries() = 0;

    /// \param bytes    sent since the attempt began.
    /// \param elapsed  since the attempt began.
    virtual void recordUploadThroughput(qint64 bytes, std::chrono::duration<double> elapsed) = 0;

    /// Nothing is sent now, or what was sent was refused.
    virtual void resetUploadSpeed() = 0;
};

} // namespace gateway::state
