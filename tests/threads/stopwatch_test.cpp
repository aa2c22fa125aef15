// The stopwatch, on the wall clock and on the thread's processor clock.
// Only lower bounds on wall time: the machine may be loaded.
#include <tarvolk/stopwatch.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <memory>
#include <thread>

#include "threads/stopwatch_private.h"

namespace {

using namespace std::chrono_literals;

// Processor time of a thread that only sleeps stays far below this.
constexpr double kIdleThreadTime = 0.05;

struct WatchDeleter {
    void operator()(NStopWatch *watch) const { NStopWatchDestroy(watch); }
};
using Watch = std::unique_ptr<NStopWatch, WatchDeleter>;

Watch make_watch(bool thread_time)
{
    NStopWatch *watch = nullptr;
    EXPECT_EQ(0, thread_time ? NStopWatchThreadTimeCreate(&watch) : NStopWatchCreate(&watch));
    EXPECT_NE(nullptr, watch);
    return Watch(watch);
}

// A run of 100 ms of sleep: the wall clock counts it, the processor clock of
// the thread hardly moves. The second run follows a reset, which keeps the clock.
TEST(StopWatchTest, RunsOnItsClockFreezesAtStopAndResets)
{
    for (const bool thread_time : {false, true}) {
        SCOPED_TRACE(thread_time ? "thread time" : "wall clock");
        auto expect_run = [&](double elapsed) {
            EXPECT_TRUE(thread_time ? elapsed < kIdleThreadTime : elapsed >= 0.1) << elapsed;
        };
        Watch watch = make_watch(thread_time);
        for (int run = 0; run < 2; ++run) {
            EXPECT_EQ(0.0, NStopWatchGetElapsed(watch.get())); // never started, or reset
            ASSERT_EQ(0, NStopWatchStart(watch.get()));
            EXPECT_EQ(NSTOPWATCH_RUNNING, NStopWatchGetState(watch.get()));
            std::this_thread::sleep_for(100ms);
            expect_run(NStopWatchGetElapsed(watch.get()));
            ASSERT_EQ(0, NStopWatchStop(watch.get()));
            EXPECT_EQ(NSTOPWATCH_STOPPED, NStopWatchGetState(watch.get()));
            const double stopped = NStopWatchGetElapsed(watch.get());
            expect_run(stopped);
            std::this_thread::sleep_for(20ms);
            EXPECT_EQ(stopped, NStopWatchGetElapsed(watch.get()));
            NStopWatchReset(watch.get());
        }
    }
}

std::atomic<int> failing_clock_calls{0};

NRC failing_clock(struct timeval *)
{
    ++failing_clock_calls;
    return ENOSYS;
}

TEST(StopWatchTest, FailingThreadClockFallsBackToWallClockForGood)
{
    failing_clock_calls = 0;
    const tvk::ThreadClock previous = tvk::stopwatch_set_thread_clock(failing_clock);
    Watch watch = make_watch(true);
    EXPECT_EQ(0, NStopWatchStart(watch.get()));
    EXPECT_EQ(1, failing_clock_calls.load());
    EXPECT_FALSE(tvk::stopwatch_thread_clock_available());
    std::this_thread::sleep_for(100ms);
    EXPECT_GE(NStopWatchGetElapsed(watch.get()), 0.1);
    // Every other thread-time stopwatch reads the wall clock too.
    Watch other = make_watch(true);
    EXPECT_EQ(0, NStopWatchStart(other.get()));
    EXPECT_EQ(0, NStopWatchStop(watch.get()));
    EXPECT_EQ(1, failing_clock_calls.load());

    tvk::stopwatch_set_thread_clock(previous);
    tvk::stopwatch_restore_thread_clock();
}

} // namespace
