#pragma once

#include <QtCore/QString>
#include <QtCore/QVariantMap>

#include <optional>

namespace gateway::platform {

/// The elements of a DICOM object by the keys that the index knows. Texts are QString; "seriesNumber",
/// "imageID", "height", "width" and "numberOfFrames" are qlonglong; "sliceLocation", "WindowWidth" and
/// "WindowCenter" are double; "orientation" and "origin" are QVariantList of double; "hasDICOM" is bool;
/// "studyDate" is QDateTime in UTC. What the object hasn't, or has in no readable form, is absent; only
/// "patientUID", "studyID", "SOPUID", "fileType", "hasDICOM" and "filePath" always stand there.
using DicomElements = QVariantMap;

/// Reads the elements of DICOM files (PS3.10), up to the pixel data.
///
/// Thread: any; several files at a time.
class DicomParsing
{
public:
    virtual ~DicomParsing() = default;

    /// Reads the file at `path`; blocks until it is read or given up.
    ///
    /// \return nothing when the file isn't readable as DICOM.
    /// \throws std::exception  when the service that reads could not do its work, which says nothing about
    ///                         the file.
    virtual std::optional<DicomElements> parse(const QString &path) = 0;
};

} // namespace gateway::platform
