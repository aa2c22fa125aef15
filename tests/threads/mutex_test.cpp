// NMutex and NLightMutex with their conditions, and the deadline arithmetic
// of the timed waits. Concurrent cases hand-shake so that nothing depends on
// timing: a waiter announces itself while it holds the mutex, so once the
// main thread gets the mutex the waiter is inside its condition wait. Time
// is only ever bounded from below.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>

#include <tarvolk/lmutex.h>
#include <tarvolk/mutex.h>
#include <tarvolk/retcode.h>

#include "threads/crowd.h"
#include "threads/sync.h"

namespace {

using namespace tvk_test;

// The two mutex families side by side, so the condition cases run on both.
// enter/leave take and give back one critical section: three nested levels
// for NMutex (one of them a try), one for NLightMutex.
struct Recursive {
    using Mutex = NMutex;
    using Cond = NCond;
    static constexpr auto create = NMutexCreate;
    static constexpr auto destroy = NMutexDestroy;
    static constexpr auto lock = NMutexLock;
    static constexpr auto unlock = NMutexUnlock;
    static constexpr auto is_locked = NMutexIsLocked;
    static constexpr auto cond_create = NCondCreate;
    static constexpr auto cond_destroy = NCondDestroy;
    static constexpr auto signal = NCondSignal;
    static constexpr auto wait = NCondWait;
    static constexpr auto timed_wait2 = NCondTimedWait2;
    static constexpr auto timed_wait = NCondTimedWait;
    static constexpr int levels = 3;
    static void enter(NMutex *m)
    {
        EXPECT_EQ(0, NMutexLock(m));
        EXPECT_EQ(0, NMutexTryLock(m));
        EXPECT_EQ(0, NMutexLock(m));
    }
    static void leave(NMutex *m)
    {
        for (int i = 0; i < levels; ++i)
            EXPECT_EQ(0, NMutexUnlock(m));
    }
};

struct Light {
    using Mutex = NLightMutex;
    using Cond = NLightCond;
    static constexpr auto create = NLightMutexCreate;
    static constexpr auto destroy = NLightMutexDestroy;
    static constexpr auto lock = NLightMutexLock;
    static constexpr auto unlock = NLightMutexUnlock;
    static constexpr auto is_locked = NLightMutexIsLocked;
    static constexpr auto cond_create = NLightCondCreate;
    static constexpr auto cond_destroy = NLightCondDestroy;
    static constexpr auto signal = NLightCondSignal;
    static constexpr auto wait = NLightCondWait;
    static constexpr auto timed_wait2 = NLightCondTimedWait2;
    static constexpr auto timed_wait = NLightCondTimedWait;
    static constexpr int levels = 1;
    static void enter(NLightMutex *m) { EXPECT_EQ(0, NLightMutexLock(m)); }
    static void leave(NLightMutex *m) { EXPECT_EQ(0, NLightMutexUnlock(m)); }
};

template <typename F> class CondFamilyTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(0, F::create("family", &m));
        ASSERT_EQ(0, F::cond_create(&c));
    }
    void TearDown() override
    {
        EXPECT_EQ(0, F::cond_destroy(c));
        EXPECT_EQ(0, F::destroy(m));
    }

    // Waits (bounded) until `ready' has reached `count' as read under the
    // mutex; waiters raise it under the mutex before they wait, so they are
    // all inside their waits when this returns with the mutex held.
    void lock_when_ready(const int &ready, int count)
    {
        ASSERT_TRUE(eventually([&] {
            F::lock(m);
            if (ready >= count)
                return true;
            F::unlock(m);
            return false;
        }));
    }

    typename F::Mutex *m = nullptr;
    typename F::Cond *c = nullptr;
};

using Families = ::testing::Types<Recursive, Light>;
TYPED_TEST_SUITE(CondFamilyTest, Families);

TYPED_TEST(CondFamilyTest, MutualExclusionKeepsEveryIncrement)
{
    constexpr int threads = 4, rounds = 2000;
    long counter = 0; // plain on purpose: a race shows under the thread sanitizer
    {
        Crowd crowd(threads, [&](int) {
            for (int i = 0; i < rounds; ++i) {
                TypeParam::enter(this->m);
                EXPECT_EQ(1, TypeParam::is_locked(this->m));
                ++counter;
                TypeParam::leave(this->m);
            }
        });
    }
    EXPECT_EQ(long{threads} * rounds, counter);
    EXPECT_EQ(0, TypeParam::is_locked(this->m));
}

TYPED_TEST(CondFamilyTest, WaitGivesTheMutexUpWholly)
{
    for (int round = 0; round < 50 && !failing(); ++round) {
        int ready = 0;
        bool go = false;
        Crowd waiter(1, [&](int) {
            TypeParam::enter(this->m);
            ready = 1;
            while (!go)
                EXPECT_EQ(0, TypeParam::wait(this->c, this->m));
            EXPECT_EQ(1, TypeParam::is_locked(this->m));
            TypeParam::leave(this->m);
        });
        // Only possible because the wait gave up every nested level.
        this->lock_when_ready(ready, 1);
        EXPECT_EQ(1, TypeParam::is_locked(this->m));
        EXPECT_EQ(0, TypeParam::unlock(this->m));
        // Now the only holder is inside the wait: nobody owns the mutex.
        EXPECT_TRUE(eventually([&] { return TypeParam::is_locked(this->m) == 0; }));
        EXPECT_EQ(0, TypeParam::lock(this->m));
        go = true;
        EXPECT_EQ(0, TypeParam::signal(this->c));
        EXPECT_EQ(0, TypeParam::unlock(this->m));
        waiter.finish([] {});
        EXPECT_EQ(0, TypeParam::is_locked(this->m));
    }
}

// A signal is a broadcast: five waiters, one signal, five wake up.
TYPED_TEST(CondFamilyTest, SignalWakesEveryWaiter)
{
    for (int round = 0; round < 50 && !failing(); ++round) {
        int ready = 0;
        bool go = false;
        Crowd waiters(5, [&](int) {
            TypeParam::lock(this->m);
            ++ready;
            while (!go)
                TypeParam::wait(this->c, this->m);
            TypeParam::unlock(this->m);
        });
        this->lock_when_ready(ready, 5);
        go = true;
        EXPECT_EQ(0, TypeParam::signal(this->c));
        TypeParam::unlock(this->m);
        const bool all_woke = eventually([&] { return waiters.returned() == 5; });
        waiters.finish([&] { TypeParam::signal(this->c); });
        EXPECT_TRUE(all_woke) << "round " << round;
    }
}

TYPED_TEST(CondFamilyTest, TimedWaitRunsOutAfterItsTime)
{
    TypeParam::enter(this->m);
    uint32_t count = 0;
    EXPECT_EQ(NRC_TIMEOUT, TypeParam::timed_wait2(this->c, this->m, &count));
    EXPECT_EQ(0u, count);
    EXPECT_EQ(NRC_TIMEOUT, TypeParam::timed_wait(this->c, this->m, 0));
    count = 50;
    auto start = Clock::now();
    NRC rc;
    do // a spurious wake-up comes back with the rest of the time
        rc = TypeParam::timed_wait2(this->c, this->m, &count);
    while (rc == 0 && count > 0);
    EXPECT_EQ(NRC_TIMEOUT, rc);
    EXPECT_EQ(0u, count);
    EXPECT_GE(ms_since(start), 49.0);
    start = Clock::now();
    EXPECT_EQ(NRC_TIMEOUT, TypeParam::timed_wait(this->c, this->m, 50));
    EXPECT_GE(ms_since(start), 49.0);
    for (int level = 0; level < TypeParam::levels; ++level) { // held again, at full depth
        EXPECT_EQ(1, TypeParam::is_locked(this->m));
        EXPECT_EQ(0, TypeParam::unlock(this->m));
    }
    EXPECT_EQ(0, TypeParam::is_locked(this->m));
}

// Woken early, the count keeps the rest: some time has gone (the signaller
// holds the mutex for a few milliseconds), most of it is left. The largest
// count must give a deadline in the future, not a wrapped one in the past.
TYPED_TEST(CondFamilyTest, EarlyWakeUpKeepsTheRestOfTheTime)
{
    for (uint32_t original : {60000u, UINT32_MAX}) {
        for (int round = 0; round < 10 && !failing(); ++round) {
            int ready = 0;
            bool go = false;
            uint32_t count = original;
            NRC rc = -1;
            Crowd waiter(1, [&](int) {
                TypeParam::enter(this->m);
                ready = 1;
                while (!go && rc != NRC_TIMEOUT)
                    rc = TypeParam::timed_wait2(this->c, this->m, &count);
                TypeParam::leave(this->m);
            });
            this->lock_when_ready(ready, 1);
            pause_ms(3);
            go = true;
            TypeParam::signal(this->c);
            TypeParam::unlock(this->m);
            waiter.finish([] {});
            EXPECT_EQ(0, rc);
            EXPECT_GT(count, 0u);
            EXPECT_LT(count, original);
        }
    }
}

// A caller that doesn't hold the mutex doesn't wait, whoever else holds it.
TYPED_TEST(CondFamilyTest, NonHolderDoesNotWait)
{
    auto check = [&] {
        uint32_t count = 60000;
        EXPECT_EQ(0, TypeParam::timed_wait2(this->c, this->m, &count));
        EXPECT_LE(count, 60000u);
        EXPECT_GE(count, 58000u);
        EXPECT_EQ(0, TypeParam::timed_wait(this->c, this->m, 60000));
        EXPECT_EQ(0, TypeParam::wait(this->c, this->m));
    };
    check();
    std::atomic<int> stage{0};
    Crowd holder(1, [&](int) {
        TypeParam::lock(this->m);
        stage = 1;
        reach(stage, 2);
        TypeParam::unlock(this->m);
    });
    ASSERT_TRUE(reach(stage, 1));
    check();
    EXPECT_EQ(1, TypeParam::is_locked(this->m));
    stage = 2;
}

TEST(MutexTest, TryLockAndUnlockFromTheHolderAndFromOthers)
{
    NMutex *m = nullptr;
    ASSERT_EQ(0, NMutexCreate("try", &m));
    EXPECT_EQ(0, NMutexIsLocked(m));
    EXPECT_EQ(0, NMutexUnlock(m)); // nobody holds it: nothing happens
    EXPECT_EQ(0, NMutexIsLocked(m));
    auto from_other = [&](NRC expected_try) {
        in_thread([&] {
            // Acquired, the unlock frees it; refused, it changes nothing.
            EXPECT_EQ(expected_try, NMutexTryLock(m));
            EXPECT_EQ(0, NMutexUnlock(m));
            EXPECT_EQ(expected_try == 0 ? 0 : 1, NMutexIsLocked(m));
            EXPECT_EQ(expected_try, NMutexTryLock(m));
            if (expected_try == 0) {
                EXPECT_EQ(0, NMutexUnlock(m));
            }
        });
    };
    EXPECT_EQ(0, NMutexLock(m));
    EXPECT_EQ(0, NMutexTryLock(m)); // the holder's try adds a level
    EXPECT_EQ(1, NMutexIsLocked(m));
    from_other(NRC_LOCK_FAILED);
    EXPECT_EQ(0, NMutexUnlock(m));
    from_other(NRC_LOCK_FAILED); // one level left
    EXPECT_EQ(0, NMutexUnlock(m));
    EXPECT_EQ(0, NMutexIsLocked(m));
    from_other(0);

    // Another thread's hold is seen as locked, and survives our unlock.
    std::atomic<int> stage{0};
    Crowd holder(1, [&](int) {
        EXPECT_EQ(0, NMutexLock(m));
        stage = 1;
        reach(stage, 2);
        EXPECT_EQ(0, NMutexUnlock(m));
    });
    ASSERT_TRUE(reach(stage, 1));
    EXPECT_EQ(1, NMutexIsLocked(m));
    EXPECT_EQ(0, NMutexUnlock(m));
    EXPECT_EQ(NRC_LOCK_FAILED, NMutexTryLock(m));
    EXPECT_EQ(1, NMutexIsLocked(m));
    stage = 2;
    holder.finish([] {});
    EXPECT_EQ(0, NMutexIsLocked(m));
    EXPECT_EQ(0, NMutexDestroy(m));
}

// Three levels, a condition wait that gives all of them up, and afterwards
// exactly three unlocks to free the mutex, seen from another thread.
TEST(MutexTest, WaitRestoresTheDepth)
{
    NMutex *m = nullptr;
    NCond *c = nullptr;
    ASSERT_EQ(0, NMutexCreate("depth", &m));
    ASSERT_EQ(0, NCondCreate(&c));
    for (int round = 0; round < 50 && !failing(); ++round) {
        std::atomic<int> stage{0};
        bool go = false;
        Crowd waiter(1, [&](int) {
            for (int i = 0; i < 3; ++i)
                EXPECT_EQ(0, NMutexLock(m));
            stage = 1;
            while (!go)
                EXPECT_EQ(0, NCondWait(c, m));
            EXPECT_EQ(0, NMutexUnlock(m));
            EXPECT_EQ(0, NMutexUnlock(m));
            stage = 2;
            reach(stage, 3);
            EXPECT_EQ(0, NMutexUnlock(m));
            stage = 4;
        });
        ASSERT_TRUE(reach(stage, 1));
        EXPECT_EQ(0, NMutexLock(m)); // the waiter is inside its wait now
        EXPECT_EQ(0, NMutexTryLock(m));
        go = true;
        EXPECT_EQ(0, NCondSignal(c));
        EXPECT_EQ(0, NMutexUnlock(m));
        EXPECT_EQ(0, NMutexUnlock(m));
        ASSERT_TRUE(reach(stage, 2));
        EXPECT_EQ(NRC_LOCK_FAILED, NMutexTryLock(m)); // one level still held
        EXPECT_EQ(1, NMutexIsLocked(m));
        stage = 3;
        ASSERT_TRUE(reach(stage, 4));
        EXPECT_EQ(0, NMutexIsLocked(m));
        EXPECT_EQ(0, NMutexTryLock(m));
        EXPECT_EQ(0, NMutexUnlock(m));
        waiter.finish([] {});
    }
    EXPECT_EQ(0, NCondDestroy(c));
    EXPECT_EQ(0, NMutexDestroy(m));
}

// A name only serves debugging: it is cut to NMUTEX_NAME_SIZE bytes and
// always terminated.
TEST(MutexTest, NamesAreCutAndTerminated)
{
    const std::string n40(40, 'n'), n41(41, 'n'), n300(300, 'n');
    const struct {
        const char *name;
        std::string want;
    } cases[] = {{nullptr, ""}, {"", ""}, {"table", "table"}, {n40.c_str(), n40},
                 {n41.c_str(), n40}, {n300.c_str(), n40}};
    for (const auto &c : cases) {
        char kept[NMUTEX_NAME_SIZE + 1];
        std::memset(kept, 'x', sizeof kept);
        tvk::copy_lock_name(kept, c.name);
        EXPECT_EQ(c.want, std::string(kept));
        NMutex *m = nullptr;
        NLightMutex *lm = nullptr;
        ASSERT_EQ(0, NMutexCreate(c.name, &m));
        ASSERT_EQ(0, NLightMutexCreate(c.name, &lm));
        EXPECT_EQ(0, NMutexDestroy(m));
        EXPECT_EQ(0, NLightMutexDestroy(lm));
    }
}

#define NULL_CASE(call, expected) {#call, call, expected}

TEST(MutexTest, NullArgumentsAreRefused)
{
    uint32_t count = 10;
    const struct {
        const char *what;
        NRC got, expected;
    } cases[] = {
        NULL_CASE(NMutexCreate("x", nullptr), NRC_FAILURE),
        NULL_CASE(NCondCreate(nullptr), NRC_FAILURE),
        NULL_CASE(NLightMutexCreate("x", nullptr), NRC_FAILURE),
        NULL_CASE(NLightCondCreate(nullptr), NRC_FAILURE),
        NULL_CASE(NMutexDestroy(nullptr), EINVAL),
        NULL_CASE(NMutexLock(nullptr), EINVAL),
        NULL_CASE(NMutexTryLock(nullptr), EINVAL),
        NULL_CASE(NMutexUnlock(nullptr), EINVAL),
        NULL_CASE(NMutexIsLocked(nullptr), 0),
        NULL_CASE(NCondDestroy(nullptr), EINVAL),
        NULL_CASE(NCondSignal(nullptr), EINVAL),
        NULL_CASE(NCondWait(nullptr, nullptr), EINVAL),
        NULL_CASE(NCondTimedWait2(nullptr, nullptr, &count), EINVAL),
        NULL_CASE(NCondTimedWait(nullptr, nullptr, 10), EINVAL),
        NULL_CASE(NLightMutexDestroy(nullptr), EINVAL),
        NULL_CASE(NLightMutexLock(nullptr), EINVAL),
        NULL_CASE(NLightMutexUnlock(nullptr), EINVAL),
        NULL_CASE(NLightMutexIsLocked(nullptr), 0),
        NULL_CASE(NLightCondDestroy(nullptr), EINVAL),
        NULL_CASE(NLightCondSignal(nullptr), EINVAL),
        NULL_CASE(NLightCondWait(nullptr, nullptr), EINVAL),
        NULL_CASE(NLightCondTimedWait2(nullptr, nullptr, &count), EINVAL),
        NULL_CASE(NLightCondTimedWait(nullptr, nullptr, 10), EINVAL),
    };
    for (const auto &c : cases)
        EXPECT_EQ(c.expected, c.got) << c.what;
    EXPECT_EQ(10u, count);
}

TEST(LightMutexTest, OnlyTheOwnerUnlocks)
{
    NLightMutex *m = nullptr;
    ASSERT_EQ(0, NLightMutexCreate("light", &m));
    EXPECT_EQ(NRC_FAILURE, NLightMutexUnlock(m)); // free: nobody owns it
    EXPECT_EQ(0, NLightMutexLock(m));
    in_thread([&] {
        EXPECT_EQ(NRC_FAILURE, NLightMutexUnlock(m));
        EXPECT_EQ(1, NLightMutexIsLocked(m));
    });
    // Still ours: another locker stays out until we let go.
    Crowd locker(1, [&](int) {
        EXPECT_EQ(0, NLightMutexLock(m));
        EXPECT_EQ(0, NLightMutexUnlock(m));
    });
    pause_ms(20);
    EXPECT_EQ(0, locker.returned());
    EXPECT_EQ(1, NLightMutexIsLocked(m));
    EXPECT_EQ(0, NLightMutexUnlock(m));
    locker.finish([] {});
    EXPECT_EQ(0, NLightMutexIsLocked(m));
    EXPECT_EQ(0, NLightMutexDestroy(m));
}

// The deadline of a timed wait, from a fixed clock reading.
TEST(SyncDeadlineTest, MillisecondsAreAddedWithACarry)
{
    const struct {
        time_t sec;
        suseconds_t usec;
        uint32_t ms;
        time_t want_sec;
        long want_nsec;
    } cases[] = {
        {1000, 500000, 500, 1001, 0}, // the carry leaves exactly 0 ns
        {1000, 499999, 500, 1000, 999999000},
        {1000, 0, 0, 1000, 0},
        {1000, 999999, 1, 1001, 999000},
        {1000, 250000, 1750, 1002, 0},
        {1000, 0, 60000, 1060, 0},
        {1000, 999999, UINT32_MAX, 1000 + 4294968, 294999000},
    };
    for (const auto &c : cases) {
        const timespec got = tvk::deadline_after(timeval{c.sec, c.usec}, c.ms);
        EXPECT_EQ(c.want_sec, got.tv_sec) << c.usec << " us + " << c.ms << " ms";
        EXPECT_EQ(c.want_nsec, got.tv_nsec) << c.usec << " us + " << c.ms << " ms";
    }
}

// The time left after a wait; a clock stepped back gives time back, up to
// the largest count.
TEST(SyncDeadlineTest, CountDownTakesOffTheElapsedTime)
{
    const struct {
        uint32_t count;
        timeval before, after;
        uint32_t want;
    } cases[] = {
        {1000, {10, 0}, {10, 300000}, 700},
        {1000, {10, 0}, {11, 0}, 0},
        {1000, {10, 0}, {12, 0}, 0},
        {0, {10, 0}, {10, 0}, 0},
        {1000, {10, 999000}, {11, 0}, 999},    // 1000 ms - 999 ms
        {1000, {10, 500}, {10, 1400}, 1000},   // under a millisecond counts 0
        {1000, {10, 999}, {11, 0}, 0},         // the microseconds truncate alone
        {1000, {10, 0}, {9, 0}, 2000},         // stepped back
        {1000, {10, 999}, {10, 0}, 1000},      // back by under a millisecond
        {UINT32_MAX - 500, {10, 0}, {9, 0}, UINT32_MAX},
        {UINT32_MAX, {10, 0}, {5000000, 0}, 0},
        {UINT32_MAX, {10, 0}, {10, 1000}, UINT32_MAX - 1},
    };
    for (const auto &c : cases) {
        uint32_t count = c.count;
        tvk::count_down(&count, c.before, c.after);
        EXPECT_EQ(c.want, count) << c.count << " from " << c.before.tv_sec << "." << c.before.tv_usec
                                 << " to " << c.after.tv_sec << "." << c.after.tv_usec;
    }
}

} // namespace
