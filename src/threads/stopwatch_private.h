// Internal interface of the stopwatch: the thread clock it reads, which the
// tests replace to see the fallback to the wall clock.
#pragma once

#include <tarvolk/stopwatch.h>

#include <sys/time.h>

#include <cstdint>

struct NStopWatch {
    int32_t state; // NSTOPWATCH_STOPPED or NSTOPWATCH_RUNNING
    struct timeval started;
    struct timeval stopped;
    int32_t thread_time; // 1: the calling thread's processor time
};

namespace tvk {

using ThreadClock = NRC (*)(struct timeval *spent);

// Makes stopwatches read the thread's processor time through clock (null:
// n_getthreadcputime again); returns the clock used before.
ThreadClock stopwatch_set_thread_clock(ThreadClock clock);

// Whether the thread clock still counts as working, and a way to make it
// count again after a failure.
bool stopwatch_thread_clock_available();
void stopwatch_restore_thread_clock();

} // namespace tvk
