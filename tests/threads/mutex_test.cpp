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
#include <utility>

#include <tarvolk/lmutex.h>
#include <tarvolk/mutex.h>
#include <tarvolk/retcode.h>

#include "threads/crowd.h"
#include "threads/sync.h"

namespace {

using namespace tvk_test;

// The operations of a mutex family; L is empty for NMutex, Light for NLightMutex.
#define MUTEX_FAMILY(Name, L)                                                                      \
    struct Name {                                                                                  \
        using Mutex = N##L##Mutex;                                                                 \
        using Cond = N##L##Cond;                                                                   \
        static constexpr auto create = N##L##MutexCreate;                                          \
        static constexpr auto destroy = N##L##MutexDestroy;                                        \
        static constexpr auto lock = N##L##MutexLock;                                              \
        static constexpr auto unlock = N##L##MutexUnlock;                                          \
        static constexpr auto is_locked = N##L##MutexIsLocked;                                     \
        static constexpr auto cond_create = N##L##CondCreate;                                      \
        static constexpr auto cond_destroy = N##L##CondDestroy;                                    \
        static constexpr auto signal = N##L##CondSignal;                                           \
        static constexpr auto wait = N##L##CondWait;                                               \
        static constexpr auto timed_wait2 = N##L##CondTimedWait2;                                  \
        static constexpr auto timed_wait = N##L##CondTimedWait;                                    \
    }
MUTEX_FAMILY(RecursiveOps, );
MUTEX_FAMILY(LightOps, Light);

// enter takes one critical section at the deepest level the family allows:
// three nested levels for NMutex (one of them a try), one for NLightMutex.
struct Recursive : RecursiveOps {
    static constexpr int levels = 3;
    static void enter(NMutex *m)
    {
        EXPECT_EQ(0, NMutexLock(m));
        EXPECT_EQ(0, NMutexTryLock(m));
        EXPECT_EQ(0, NMutexLock(m));
    }
};
struct Light : LightOps {
    static constexpr int levels = 1;
    static void enter(NLightMutex *m) { EXPECT_EQ(0, NLightMutexLock(m)); }
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
    void leave(int levels = F::levels)
    {
        for (int i = 0; i < levels; ++i)
            EXPECT_EQ(0, F::unlock(m));
    }
    // Waits (bounded) until `ready', read under the mutex, has reached
    // `count'; waiters raise it under the mutex before they wait, so they are
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
                this->leave();
            }
        });
    }
    EXPECT_EQ(long{threads} * rounds, counter);
    EXPECT_EQ(0, TypeParam::is_locked(this->m));
}

// A wait gives up every nested level at once and takes them all back: after
// the wake-up the mutex stays held until the waiter's last unlock.
TYPED_TEST(CondFamilyTest, WaitGivesUpEveryLevelAndRestoresThem)
{
    for (int round = 0; round < 50 && !failing(); ++round) {
        int ready = 0;
        bool go = false;
        std::atomic<int> stage{0};
        Crowd waiter(1, [&](int) {
            TypeParam::enter(this->m);
            ready = 1;
            while (!go)
                EXPECT_EQ(0, TypeParam::wait(this->c, this->m));
            this->leave(TypeParam::levels - 1);
            stage = 1;
            reach(stage, 2);
            this->leave(1);
        });
        this->lock_when_ready(ready, 1);
        EXPECT_EQ(0, TypeParam::unlock(this->m));
        // The only holder is inside the wait: nobody owns the mutex.
        EXPECT_TRUE(eventually([&] { return TypeParam::is_locked(this->m) == 0; }));
        EXPECT_EQ(0, TypeParam::lock(this->m));
        go = true;
        EXPECT_EQ(0, TypeParam::signal(this->c));
        EXPECT_EQ(0, TypeParam::unlock(this->m));
        ASSERT_TRUE(reach(stage, 1));
        EXPECT_EQ(1, TypeParam::is_locked(this->m)); // one level still held
        stage = 2;
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
    const auto start = Clock::now();
    NRC rc;
    do // a spurious wake-up comes back with the rest of the time
        rc = TypeParam::timed_wait2(this->c, this->m, &count);
    while (rc == 0 && count > 0);
    EXPECT_EQ(NRC_TIMEOUT, rc);
    EXPECT_EQ(0u, count);
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
                this->leave();
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

// A caller that doesn't hold the mutex doesn't wait, even while another
// thread holds it.
TYPED_TEST(CondFamilyTest, NonHolderDoesNotWait)
{
    std::atomic<int> stage{0};
    Crowd holder(1, [&](int) {
        TypeParam::lock(this->m);
        stage = 1;
        reach(stage, 2);
        TypeParam::unlock(this->m);
    });
    ASSERT_TRUE(reach(stage, 1));
    uint32_t count = 60000;
    EXPECT_EQ(0, TypeParam::timed_wait2(this->c, this->m, &count));
    EXPECT_LE(count, 60000u);
    EXPECT_GE(count, 58000u);
    EXPECT_EQ(0, TypeParam::timed_wait(this->c, this->m, 60000));
    EXPECT_EQ(0, TypeParam::wait(this->c, this->m));
    EXPECT_EQ(1, TypeParam::is_locked(this->m));
    stage = 2;
}

// Another thread's try fails while the mutex is held at any depth, and its
// unlock changes nothing; the holder's own try adds a level.
TEST(MutexTest, TryLockAndUnlockByTheHolderAndByOthers)
{
    NMutex *m = nullptr;
    ASSERT_EQ(0, NMutexCreate("try", &m));
    EXPECT_EQ(0, NMutexUnlock(m)); // nobody holds it: nothing happens
    EXPECT_EQ(0, NMutexIsLocked(m));
    auto from_other = [&](NRC want) {
        in_thread([&] {
            EXPECT_EQ(want, NMutexTryLock(m));
            EXPECT_EQ(0, NMutexUnlock(m)); // frees it if acquired
            EXPECT_EQ(want == 0 ? 0 : 1, NMutexIsLocked(m));
            EXPECT_EQ(want, NMutexTryLock(m));
            EXPECT_EQ(0, NMutexUnlock(m));
        });
    };
    EXPECT_EQ(0, NMutexLock(m));
    EXPECT_EQ(0, NMutexTryLock(m));
    from_other(NRC_LOCK_FAILED);
    EXPECT_EQ(0, NMutexUnlock(m));
    from_other(NRC_LOCK_FAILED); // one level left
    EXPECT_EQ(0, NMutexUnlock(m));
    from_other(0);
    EXPECT_EQ(0, NMutexIsLocked(m));
    EXPECT_EQ(0, NMutexDestroy(m));
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
    EXPECT_EQ(0, NLightMutexUnlock(m));
    locker.finish([] {});
    EXPECT_EQ(0, NLightMutexIsLocked(m));
    EXPECT_EQ(0, NLightMutexDestroy(m));
}

// A name is cut to NMUTEX_NAME_SIZE bytes and always terminated.
TEST(MutexTest, NamesAreCutAndTerminated)
{
    const std::string n40(40, 'n'), n41(41, 'n'), n300(300, 'n');
    const std::pair<const char *, std::string> cases[] = {
        {nullptr, ""}, {"", ""}, {"table", "table"}, {n40.c_str(), n40}, {n41.c_str(), n40},
        {n300.c_str(), n40}};
    for (const auto &[name, want] : cases) {
        char kept[NMUTEX_NAME_SIZE + 1];
        std::memset(kept, 'x', sizeof kept);
        tvk::copy_lock_name(kept, name);
        EXPECT_EQ(want, std::string(kept));
        NMutex *m = nullptr;
        NLightMutex *lm = nullptr;
        ASSERT_EQ(0, NMutexCreate(name, &m));
        ASSERT_EQ(0, NLightMutexCreate(name, &lm));
        EXPECT_EQ(0, NMutexDestroy(m));
        EXPECT_EQ(0, NLightMutexDestroy(lm));
    }
}

TEST(MutexTest, NullArgumentsAreRefused)
{
    uint32_t count = 10;
    expect_results({
        NULL_CASE(NMutexCreate("x", nullptr), NRC_FAILURE),
        NULL_CASE(NLightMutexCreate("x", nullptr), NRC_FAILURE),
        NULL_CASE(NCondCreate(nullptr), NRC_FAILURE),
        NULL_CASE(NLightCondCreate(nullptr), NRC_FAILURE),
        NULL_CASE(NMutexDestroy(nullptr), EINVAL), NULL_CASE(NLightMutexDestroy(nullptr), EINVAL),
        NULL_CASE(NMutexLock(nullptr), EINVAL), NULL_CASE(NLightMutexLock(nullptr), EINVAL),
        NULL_CASE(NMutexUnlock(nullptr), EINVAL), NULL_CASE(NLightMutexUnlock(nullptr), EINVAL),
        NULL_CASE(NMutexIsLocked(nullptr), 0), NULL_CASE(NLightMutexIsLocked(nullptr), 0),
        NULL_CASE(NCondDestroy(nullptr), EINVAL), NULL_CASE(NLightCondDestroy(nullptr), EINVAL),
        NULL_CASE(NCondSignal(nullptr), EINVAL), NULL_CASE(NLightCondSignal(nullptr), EINVAL),
        NULL_CASE(NCondWait(nullptr, nullptr), EINVAL),
        NULL_CASE(NLightCondWait(nullptr, nullptr), EINVAL),
        NULL_CASE(NCondTimedWait2(nullptr, nullptr, &count), EINVAL),
        NULL_CASE(NLightCondTimedWait2(nullptr, nullptr, &count), EINVAL),
        NULL_CASE(NMutexTryLock(nullptr), EINVAL),
    });
    EXPECT_EQ(10u, count);
}

// The deadline of a timed wait from a fixed clock reading: {seconds,
// microseconds} + milliseconds -> {seconds, nanoseconds}.
TEST(SyncDeadlineTest, MillisecondsAreAddedWithACarry)
{
    const struct {
        timeval now;
        uint32_t ms;
        timespec want;
    } cases[] = {
        {{1000, 500000}, 500, {1001, 0}}, // the carry leaves exactly 0 ns
        {{1000, 499999}, 500, {1000, 999999000}},
        {{1000, 999999}, 1, {1001, 999000}},
        {{1000, 250000}, 1750, {1002, 0}},
        {{1000, 999999}, UINT32_MAX, {1000 + 4294968, 294999000}},
    };
    for (const auto &c : cases) {
        const timespec got = tvk::deadline_after(c.now, c.ms);
        EXPECT_EQ(c.want.tv_sec, got.tv_sec) << c.now.tv_usec << " us + " << c.ms << " ms";
        EXPECT_EQ(c.want.tv_nsec, got.tv_nsec) << c.now.tv_usec << " us + " << c.ms << " ms";
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
        {1000, {10, 999000}, {11, 0}, 999},  // 1000 ms - 999 ms
        {1000, {10, 500}, {10, 1400}, 1000}, // under a millisecond counts 0
        {1000, {10, 999}, {11, 0}, 0},       // the microseconds truncate alone
        {1000, {10, 0}, {9, 0}, 2000},       // stepped back
        {1000, {10, 999}, {10, 0}, 1000},    // back by under a millisecond
        {UINT32_MAX - 500, {10, 0}, {9, 0}, UINT32_MAX},
        {UINT32_MAX, {10, 0}, {5000000, 0}, 0},
        {UINT32_MAX, {10, 0}, {10, 1000}, UINT32_MAX - 1},
    };
    for (const auto &c : cases) {
        uint32_t count = c.count;
        tvk::count_down(&count, c.before, c.after);
        EXPECT_EQ(c.want, count) << "row " << &c - cases;
    }
}

} // namespace
