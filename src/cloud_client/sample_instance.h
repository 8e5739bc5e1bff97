#pragma once

#include "platform/dicom/instance_identity.h"

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>

namespace gateway::cloud_client {

/// A small image of nobody, by which an archive is tried out: a secondary capture of one grey square, as a
/// DICOM file with explicit VR in little endian.
///
/// Thread: a value, any.
struct SampleInstance
{
    platform::InstanceIdentity identity; ///< like no other (PS3.5 B.2)
    QByteArray dataset;                  ///< without what a file has before it
    QByteArray file;
};

SampleInstance makeSampleInstance(const QDateTime &madeAt);

} // namespace gateway::cloud_client
