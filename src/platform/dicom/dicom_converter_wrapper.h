#pragma once

#include "platform/dicom/dicom_converting.h"

#include <QtCore/QString>

namespace gateway::platform {

class WorkerProcessPool;

/// Has files made ready in a worker process, new ones in a folder of their own.
///
/// Owner: app. Thread: any.
class DicomConverterWrapper final : public DicomConverting
{
public:
    /// \param workers          borrowed; outlives this.
    /// \param temporaryFolder  is made, for its owner alone, when it is first needed. Nobody else's files
    ///                         belong there.
    DicomConverterWrapper(WorkerProcessPool &workers, QString temporaryFolder);

    SendableFile convertToJPEGLossless(const QString &path) override;
    SendableFile makeSendable(const QString &path) override;
    QString temporaryPath() override;
    Likeness compare(const QString &fetched, const QString &sent, const QString &stored) override;

    /// Removes converted files that a process which died left in the folder; how many it were. Call it once
    /// at the start, before the first conversion.
    int sweepLeftovers() const;

private:
    SendableFile made(const char *job, const QString &path);

    WorkerProcessPool &m_workers;
    const QString m_temporaryFolder;
};

} // namespace gateway::platform
