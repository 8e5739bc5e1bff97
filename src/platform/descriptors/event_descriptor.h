#pragma once

#include "platform/descriptors/descriptor.h"

namespace gateway::platform {

/// A descriptor that is readable while the event is set, so that `poll` and an event loop can wait for it;
/// programs started by this process don't inherit it.
///
/// Thread: any.
class EventDescriptor
{
public:
    /// \throws std::system_error
    EventDescriptor();

    int descriptor() const { return m_descriptor.get(); }

    void set();
    void reset();

private:
    Descriptor m_descriptor;
};

} // namespace gateway::platform
