#include "platform/concurrency/unawaited.h"

#include "platform/concurrency/thread_traits.h"

#include <QtCore/QString>

#include <thread>
#include <utility>

namespace gateway::platform {

void runUnawaited(const char *name, std::function<void()> work)
{
    std::thread([threadName = QString::fromUtf8(name), work = std::move(work)] {
        nameThisThread(threadName);
        work();
    }).detach();
}

} // namespace gateway::platform
