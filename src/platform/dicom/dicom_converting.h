#pragma once

#include <QtCore/QString>

namespace gateway::platform {

/// What became of a conversion.
struct Conversion
{
    QString path; ///< the converted file, or the given one where nothing is to convert; empty where it failed
    QString error; ///< why it failed, without anything that the file says; else empty
};

/// Makes files smaller without loss.
///
/// Thread: any, several files at a time.
class DicomConverting
{
public:
    virtual ~DicomConverting() = default;

    /// Makes the JPEG-LS lossless form of the file at `path`, which stays as it is; blocks until that is done
    /// or given up. A new file is the caller's to remove.
    virtual Conversion convertToJPEGLossless(const QString &path) = 0;
};

} // namespace gateway::platform
