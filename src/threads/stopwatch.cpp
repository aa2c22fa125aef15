// The stopwatch: elapsed wall-clock time, or the calling thread's processor
// time while the system provides that clock.
#include <tarvolk/stopwatch.h>

#include <tarvolk/mem.h>
#include <tarvolk/time.h>

#include <atomic>
#include <cerrno>
#include <cstring>

#include "threads/stopwatch_private.h"

namespace {

// Cleared by the first failure of the thread clock, for every stopwatch and
// for good: from then on thread-time stopwatches read the wall clock. The
// flag guards nothing else, so relaxed order is enough.
std::atomic<bool> thread_clock_available{true};

std::atomic<tvk::ThreadClock> thread_clock{n_getthreadcputime};

// One reading of the stopwatch's clock into target.
NRC read_clock(const NStopWatch *watch, struct timeval *target)
{
    if (watch->thread_time != 0 && thread_clock_available.load(std::memory_order_relaxed)) {
        if (thread_clock.load(std::memory_order_relaxed)(target) == 0)
            return 0;
        thread_clock_available.store(false, std::memory_order_relaxed);
    }
    return n_gettimeofday(target);
}

NRC create(NStopWatch **watch, int32_t thread_time)
{
    if (watch == nullptr)
        return EINVAL;
    *watch = static_cast<NStopWatch *>(n_malloc(sizeof(NStopWatch)));
    if (*watch == nullptr)
        return ENOMEM;
    std::memset(*watch, 0, sizeof(NStopWatch));
    (*watch)->thread_time = thread_time;
    return 0;
}

} // namespace

namespace tvk {

ThreadClock stopwatch_set_thread_clock(ThreadClock clock)
{
    return thread_clock.exchange(clock != nullptr ? clock : n_getthreadcputime,
                                 std::memory_order_relaxed);
}

bool stopwatch_thread_clock_available()
{
    return thread_clock_available.load(std::memory_order_relaxed);
}

void stopwatch_restore_thread_clock()
{
    thread_clock_available.store(true, std::memory_order_relaxed);
}

} // namespace tvk

extern "C" {

NRC NStopWatchCreate(NStopWatch **watch)
{
    return create(watch, 0);
}

NRC NStopWatchThreadTimeCreate(NStopWatch **watch)
{
    return create(watch, 1);
}

void NStopWatchDestroy(NStopWatch *watch)
{
    n_free(watch);
}

NRC NStopWatchStart(NStopWatch *watch)
{
    if (watch == nullptr)
        return EINVAL;
    const NRC rc = read_clock(watch, &watch->started);
    if (rc == 0)
        watch->state = NSTOPWATCH_RUNNING;
    return rc;
}

NRC NStopWatchStop(NStopWatch *watch)
{
    if (watch == nullptr)
        return EINVAL;
    const NRC rc = read_clock(watch, &watch->stopped);
    if (rc == 0)
        watch->state = NSTOPWATCH_STOPPED;
    return rc;
}

void NStopWatchReset(NStopWatch *watch)
{
    if (watch == nullptr)
        return;
    watch->state = NSTOPWATCH_STOPPED;
    watch->started = timeval{};
    watch->stopped = timeval{};
}

int32_t NStopWatchGetState(NStopWatch *watch)
{
    return watch != nullptr ? watch->state : NSTOPWATCH_STOPPED;
}

// Never started: started and stopped are both zero, and so is the result.
double NStopWatchGetElapsed(NStopWatch *watch)
{
    if (watch == nullptr)
        return 0.0;
    struct timeval end = watch->stopped;
    if (watch->state == NSTOPWATCH_RUNNING && read_clock(watch, &end) != 0)
        return 0.0;
    const struct timeval &start = watch->started;
    auto seconds = static_cast<double>(end.tv_sec) - static_cast<double>(start.tv_sec);
    auto micros = static_cast<double>(end.tv_usec) - static_cast<double>(start.tv_usec);
    if (end.tv_usec < start.tv_usec) {
        seconds -= 1.0;
        micros += 1000000.0;
    }
    return seconds + micros / 1000000.0;
}

} // extern "C"
