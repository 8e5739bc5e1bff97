#pragma once

#include <QtCore/QString>
#include <QtCore/QVariantMap>

#include <cstdint>

namespace gateway::platform {

/// The elements of a DICOM object by the keys that the index knows. Texts are QString; "seriesNumber",
/// "imageID", "height", "width" and "numberOfFrames" are qlonglong; "sliceLocation", "WindowWidth" and
/// "WindowCenter" are double; "orientation" and "origin" are QVariantList of double; "hasDICOM" is bool, and
/// so is "damaged", which stands there where the file ends before its elements do; "studyDate" is QDateTime
/// in UTC. What the object hasn't, or has in no readable form, is absent; only "patientUID", "studyID",
/// "SOPUID", "fileType", "hasDICOM" and "filePath" always stand there.
using DicomElements = QVariantMap;

/// How reading a file ended. What becomes of an image hangs on it, so each fate is a case of its own.
///
/// Thread: a plain value.
struct ParsedFile
{
    enum class Fate
    {
        parsed,     ///< a DICOM object; `elements` are its
        notDicom,   ///< read without any error, and no DICOM object: no other try could end otherwise
        trouble,    ///< this file could not be read, or no reader survived it: another try may end otherwise
        unavailable ///< no file can be read now: there is no reader
    };

    Fate fate = Fate::unavailable;
    DicomElements elements = {}; ///< where parsed
    int code = 0;                ///< errno of trouble, 0 where there is none
    QString message = {};        ///< of what isn't parsed: why, without anything that the file says
    std::int64_t version = 0;    ///< of what was parsed with it, as DicomParsing::versionOf tells it
};

/// Reads the elements of DICOM files (PS3.10), and sees to it that they are whole.
///
/// Thread: any; several files at a time.
class DicomParsing
{
public:
    virtual ~DicomParsing() = default;

    /// Reads the elements of the file at `path`, and passes its pixels by; blocks until they are read or
    /// given up.
    virtual ParsedFile parse(const QString &path) = 0;

    /// The same, and its version. Reads the whole file; where that can't be done, or not in time, the version
    /// is 0.
    virtual ParsedFile parseWithVersion(const QString &path) = 0;

    /// The number by which versions of an instance are told apart, made of the dataset of the file at `path`
    /// and as a SendableFile bears it; 0 where it can't be told now. Reads the whole file.
    virtual std::int64_t versionOf(const QString &path) = 0;
};

} // namespace gateway::platform
