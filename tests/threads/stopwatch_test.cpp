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
constexpr double kIdleThreadTime = 0.1;

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

TEST(StopWatchTest, WallClockRunsThenFreezes)
{
    Watch watch = make_watch(false);
    EXPECT_EQ(0.0, NStopWatchGetElapsed(watch.get())); // never started
    ASSERT_EQ(0, NStopWatchStart(watch.get()));
    EXPECT_EQ(NSTOPWATCH_RUNNING, NStopWatchGetState(watch.get()));
    std::this_thread::sleep_for(200ms);
    EXPECT_GE(NStopWatchGetElapsed(watch.get()), 0.2);
    ASSERT_EQ(0, NStopWatchStop(watch.get()));
    EXPECT_EQ(NSTOPWATCH_STOPPED, NStopWatchGetState(watch.get()));
    const double stopped = NStopWatchGetElapsed(watch.get());
    EXPECT_GE(stopped, 0.2);
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(stopped, NStopWatchGetElapsed(watch.get()));
}

TEST(StopWatchTest, ThreadTimeIgnoresSleepAndSurvivesReset)
{
    Watch watch = make_watch(true);
    ASSERT_EQ(0, NStopWatchStart(watch.get()));
    std::this_thread::sleep_for(200ms);
    ASSERT_EQ(0, NStopWatchStop(watch.get()));
    EXPECT_LT(NStopWatchGetElapsed(watch.get()), kIdleThreadTime);

    NStopWatchReset(watch.get());
    EXPECT_EQ(NSTOPWATCH_STOPPED, NStopWatchGetState(watch.get()));
    EXPECT_EQ(0.0, NStopWatchGetElapsed(watch.get()));
    ASSERT_EQ(0, NStopWatchStart(watch.get()));
    std::this_thread::sleep_for(200ms);
    EXPECT_LT(NStopWatchGetElapsed(watch.get()), kIdleThreadTime);
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
    std::this_thread::sleep_for(200ms);
    EXPECT_GE(NStopWatchGetElapsed(watch.get()), 0.2);

    // Every other thread-time stopwatch reads the wall clock too.
    Watch other = make_watch(true);
    EXPECT_EQ(0, NStopWatchStart(other.get()));
    EXPECT_EQ(0, NStopWatchStop(watch.get()));
    EXPECT_EQ(1, failing_clock_calls.load());

    tvk::stopwatch_set_thread_clock(previous);
    tvk::stopwatch_restore_thread_clock();
}

} // namespace
