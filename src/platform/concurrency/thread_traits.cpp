#include "platform/concurrency/thread_traits.h"

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

namespace gateway::platform {

void nameThisThread(const QString &name)
{
    constexpr qsizetype kLongestName = 15;
    const QByteArray bytes = name.toUtf8().left(kLongestName);
    ::pthread_setname_np(::pthread_self(), bytes.constData());
}

void setThisThreadNice(int nice)
{
    // On Linux the nice value belongs to the thread, and a thread's id passes for a process's here.
    static_cast<void>(::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), nice));
}

} // namespace gateway::platform
