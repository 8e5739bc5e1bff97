#pragma once

#include "platform/dicom/instance_identity.h"

namespace gateway::platform::testing {

inline StudyUid studyUid(const char *text)
{
    return StudyUid(QString::fromLatin1(text));
}

inline SeriesUid seriesUid(const char *text)
{
    return SeriesUid(QString::fromLatin1(text));
}

inline InstanceUid instanceUid(const char *text)
{
    return InstanceUid(QString::fromLatin1(text));
}

inline InstanceIdentity identity(const char *study, const char *series, const char *instance)
{
    return {studyUid(study), seriesUid(series), instanceUid(instance)};
}

} // namespace gateway::platform::testing
