#pragma once

#include <QtCore/QString>

namespace gateway::platform {

/// What an instance is called (PS3.3 C.12.1, C.7.2.1, C.7.3.1): the UIDs of its dataset, without padding, as
/// a worker read them. Thread: a plain value.
struct InstanceIdentity
{
    QString study;  ///< empty where the dataset has none
    QString series; ///< empty where the dataset has none
    QString instance;

    bool operator==(const InstanceIdentity &) const = default;
};

} // namespace gateway::platform
