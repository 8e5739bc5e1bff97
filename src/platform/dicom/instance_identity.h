#pragma once

#include "platform/values/typed_text.h"

namespace gateway::platform {

/// SOP Instance UID (PS3.3 C.12.1) as a dataset or a server says it, without padding. The index's instance
/// keys are made of it and are none.
using InstanceUid = TypedText<struct InstanceUidKind>;

/// Study Instance UID (PS3.3 C.7.2.1) and Series Instance UID (PS3.3 C.7.3.1), in the same way.
using StudyUid = TypedText<struct StudyUidKind>;
using SeriesUid = TypedText<struct SeriesUidKind>;

/// What an instance is called (PS3.3 C.12.1, C.7.2.1, C.7.3.1): the UIDs of its dataset, without padding, as
/// a worker read them. Thread: a plain value.
struct InstanceIdentity
{
    StudyUid study;   ///< empty where the dataset has none
    SeriesUid series; ///< empty where the dataset has none
    InstanceUid instance;

    bool operator==(const InstanceIdentity &) const = default;
};

} // namespace gateway::platform
