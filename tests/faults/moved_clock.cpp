// A wall clock that is moved when a test says so: preloaded into a program and all that it starts.
//
// The environment variable MOVED_CLOCK names a file of eight bytes, by how many seconds the clock is off (a
// signed number in the machine's order). It is mapped when the program starts, so it steers confined
// processes as well; a test may write another number at any moment. Clocks that only count up are left alone.

#include <atomic>
#include <cstdint>
#include <cstdlib>

#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

using Offset = std::atomic<std::int64_t>;
static_assert(Offset::is_always_lock_free);

const Offset *mapOffset()
{
    const char *path = std::getenv("MOVED_CLOCK");
    const int file = path == nullptr ? -1 : ::open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return nullptr;
    }
    void *memory = ::mmap(nullptr, sizeof(Offset), PROT_READ, MAP_SHARED, file, 0);
    ::close(file);
    return memory == MAP_FAILED ? nullptr : static_cast<const Offset *>(memory);
}

std::int64_t offset()
{
    static const Offset *const mapped = mapOffset();
    return mapped == nullptr ? 0 : mapped->load();
}

/// Mapped before the program's own code runs, and so before anything is forbidden to it.
[[gnu::constructor]] void begin()
{
    offset();
}

template <typename Function>
Function *original(const char *name)
{
    return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

} // namespace

// NOLINTBEGIN: the names and signatures are the C library's.
extern "C" {

int clock_gettime(clockid_t clock, struct timespec *now) noexcept
{
    static const auto next = original<int(clockid_t, struct timespec *)>("clock_gettime");
    const int result = next(clock, now);
    if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE)) {
        now->tv_sec += offset();
    }
    return result;
}

int gettimeofday(struct timeval *now, void *zone) noexcept
{
    static const auto next = original<int(struct timeval *, void *)>("gettimeofday");
    const int result = next(now, zone);
    if (result == 0) {
        now->tv_sec += offset();
    }
    return result;
}

time_t time(time_t *to) noexcept
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (to != nullptr) {
        *to = now.tv_sec;
    }
    return now.tv_sec;
}
}
// NOLINTEND
