#include "platform/descriptors/event_descriptor.h"

#include <cerrno>
#include <system_error>

#include <sys/eventfd.h>

namespace gateway::platform {

EventDescriptor::EventDescriptor() : m_descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (!m_descriptor.isOpen()) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

void EventDescriptor::set()
{
    static_cast<void>(::eventfd_write(m_descriptor.get(), 1)); // fails only where it is set already
}

void EventDescriptor::reset()
{
    eventfd_t count = 0;
    static_cast<void>(::eventfd_read(m_descriptor.get(), &count)); // fails only where it isn't set
}

} // namespace gateway::platform
