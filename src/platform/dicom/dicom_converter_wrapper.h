#pragma once

#include <QtCore/QString>

namespace gateway::platform {

class WorkerProcessPool;

struct Conversion
{
    QString path; ///< the converted file, or the given one where nothing is to convert; empty where it failed
    QString error; ///< why it failed, without anything that the file says; else empty
};

/// Port of the upload run. Thread: any; blocks.
class DicomConverting
{
public:
    virtual ~DicomConverting() = default;

    /// Makes the JPEG-LS lossless form of the file at `path`, which stays as it is. A new file is the
    /// caller's to remove.
    virtual Conversion convertToJPEGLossless(const QString &path) = 0;
};

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
