#pragma once

#include "platform/dicom/instance_identity.h"

#include <QtCore/QString>

#include <cstdint>

namespace gateway::platform {

/// What became of making a file ready to go up.
struct SendableFile
{
    enum class Fate
    {
        ready,
        nameless,      ///< the object has no instance UID by which an answer could name it
        failed,        ///< it could not be made of this file
        machineTrouble ///< it could not be made here, which says nothing about the file: no room, no worker
    };

    Fate fate = Fate::failed;
    QString path = {};  ///< where ready: the given file, or a new one, which is the caller's to remove
    QString error = {}; ///< where failed: why, without anything that the file says
    InstanceIdentity identity = {};

    /// Tells versions of one instance apart, by the stored dataset's bytes; above 0 where ready, else 0 where
    /// they couldn't be read.
    std::int64_t version = 0;

    bool isConverted = false; ///< it is the smaller form
};

/// What a look at an instance that was fetched from the cloud gave.
enum class Likeness
{
    same,
    different,
    unknown ///< it could not be compared
};

/// Makes files ready to go up, and smaller without loss. A file that is ready has a meta header (PS3.10 7.1)
/// that agrees with its dataset; where the given one hasn't, a new one is written.
///
/// Thread: any, several files at a time; calls block until the work is done or given up. Given files stay as
/// they are.
class DicomConverting
{
public:
    virtual ~DicomConverting() = default;

    /// Makes the JPEG-LS lossless form of the file at `path`; where nothing is to convert, as `makeSendable`.
    virtual SendableFile convertToJPEGLossless(const QString &path) = 0;

    /// Makes the file at `path` ready as it is.
    virtual SendableFile makeSendable(const QString &path) = 0;

    /// A path for a file of the caller's, beside the new ones that are made here; leftovers are swept with
    /// them. Empty where the folder can't be made.
    virtual QString temporaryPath() = 0;

    /// Whether the file at `fetched` holds the very object that went up as `sent`, made of `stored`.
    virtual Likeness compare(const QString &fetched, const QString &sent, const QString &stored) = 0;
};

} // namespace gateway::platform
