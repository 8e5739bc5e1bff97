#pragma once

#include <QtCore/QString>
#include <QtCore/QVariantMap>

#include <optional>

namespace gateway::platform {

class Clock;
class WorkerProcessPool;

/// The elements of a DICOM object by the keys that the index knows. Texts are QString; "seriesNumber",
/// "imageID", "height", "width" and "numberOfFrames" are qlonglong; "sliceLocation", "WindowWidth" and
/// "WindowCenter" are double; "orientation" and "origin" are QVariantList of double; "hasDICOM" is bool;
/// "studyDate" is QDateTime in UTC. What the object hasn't, or has in no readable form, is absent; only
/// "patientUID", "studyID", "SOPUID", "fileType", "hasDICOM" and "filePath" always stand there.
using DicomElements = QVariantMap;

/// Port of the index. Thread: any; blocks.
class DicomParsing
{
public:
    virtual ~DicomParsing() = default;

    /// \return the elements of the file at `path`; nothing when it isn't readable as DICOM.
    virtual std::optional<DicomElements> parse(const QString &path) = 0;
};

/// Parses files in a worker process.
///
/// Owner: app. Thread: any. Trouble that isn't the file's is waited out: where no process can be started,
/// or one dies or hangs, the job is tried again before the file counts as unreadable.
class DicomFile final : public DicomParsing
{
public:
    /// Both are borrowed and outlive this.
    DicomFile(WorkerProcessPool &workers, Clock &clock) : m_workers(workers), m_clock(clock) {}

    std::optional<DicomElements> parse(const QString &path) override;

private:
    WorkerProcessPool &m_workers;
    Clock &m_clock;
};

} // namespace gateway::platform
