#include "platform/concurrency/main_thread.h"

#include <QtCore/QtGlobal>

#include <unistd.h>

namespace gateway::platform {

void assertMainThread(const char *who)
{
    if (::gettid() != ::getpid()) {
        qFatal("%s was used away from the main thread", who);
    }
}

} // namespace gateway::platform
