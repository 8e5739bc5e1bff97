#pragma once

#include "platform/dicom/dicom_converting.h"

#include <QtCore/QString>

namespace gateway::platform {

class WorkerProcessPool;

/// Converts files in a worker process, into a folder of its own.
///
/// Owner: app. Thread: any.
class DicomConverterWrapper final : public DicomConverting
{
public:
    /// \param workers          borrowed; outlives this.
    /// \param temporaryFolder  is made, for its owner alone, when it is first needed. Nobody else's files
    ///                         belong there.
    DicomConverterWrapper(WorkerProcessPool &workers, QString temporaryFolder);

    Conversion convertToJPEGLossless(const QString &path) override;

    /// Removes converted files that a process which died left in the folder; how many it were. Call it once
    /// at the start, before the first conversion.
    int sweepLeftovers() const;

private:
    WorkerProcessPool &m_workers;
    const QString m_temporaryFolder;
};

} // namespace gateway::platform
