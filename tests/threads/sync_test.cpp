// Semaphores, events, gates and one-time initialisation. What must not
// happen (a wake-up too many, a gate that lets a late comer through) is
// checked after a short pause; what must happen is polled for with a
// generous limit, so no case depends on the speed of the machine.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <utility>

#include <tarvolk/event.h>
#include <tarvolk/gate.h>
#include <tarvolk/once.h>
#include <tarvolk/retcode.h>
#include <tarvolk/semaph.h>

#include "threads/crowd.h"

namespace {

using namespace tvk_test;

// Each row posts `post' (none when 0) and then expects `takes' tries to
// succeed and the next one to fail: a refused try leaves 0, not less.
TEST(SemaphoreTest, TryTakesOnlyWhatIsThere)
{
    const struct {
        int32_t start;
        std::initializer_list<std::pair<int32_t, int>> steps; // post, takes
    } cases[] = {
        {2, {{0, 2}, {0, 0}, {1, 1}, {-2, 0}, {0, 0}, {2, 0}, {3, 3}}},
        {-1, {{1, 0}, {1, 1}}},
    };
    for (const auto &c : cases) {
        NSemaphore *s = nullptr;
        ASSERT_EQ(0, NSemaphoreCreateN(c.start, &s));
        for (const auto &[post, takes] : c.steps) {
            SCOPED_TRACE(testing::Message() << "start " << c.start << ", post " << post);
            EXPECT_EQ(0, post == 1 ? NSemaphorePost(s) : NSemaphorePostN(s, post));
            for (int i = 0; i < takes; ++i)
                EXPECT_EQ(0, NSemaphoreTry(s));
            EXPECT_EQ(EAGAIN, NSemaphoreTry(s));
        }
        EXPECT_EQ(0, NSemaphoreDestroy(s));
    }
}

// Five sleepers: PostN(3) lets exactly three through, PostN(-2) nobody, and
// the rest follow as the count comes back above zero.
TEST(SemaphoreTest, PostNWakesAsManyAsTheCountAllows)
{
    for (int round = 0; round < 20 && !failing(); ++round) {
        NSemaphore *s = nullptr;
        ASSERT_EQ(0, NSemaphoreCreateN(0, &s));
        std::atomic<int> passed{0};
        Crowd sleepers(5, [&](int) {
            EXPECT_EQ(0, NSemaphoreWait(s));
            ++passed;
        });
        const std::pair<int32_t, int> steps[] = {{0, 0}, {3, 3}, {-2, 3}, {3, 4}}; // post, passed
        for (const auto &[post, settles_at] : steps) {
            EXPECT_EQ(0, NSemaphorePostN(s, post));
            EXPECT_TRUE(eventually([&] { return passed >= settles_at; })) << "round " << round;
            pause_ms(3);
            EXPECT_EQ(settles_at, passed) << "round " << round << ", post " << post;
        }
        EXPECT_EQ(0, NSemaphorePost(s));
        sleepers.finish([] {});
        EXPECT_EQ(EAGAIN, NSemaphoreTry(s));
        EXPECT_EQ(0, NSemaphoreDestroy(s));
    }
}

// Every post is taken exactly once and the count ends at 0.
TEST(SemaphoreTest, ProducersAndConsumersBalance)
{
    constexpr int pairs = 3, units = 300; // each producer posts `units'
    for (int round = 0; round < 20 && !failing(); ++round) {
        NSemaphore *s = nullptr;
        ASSERT_EQ(0, NSemaphoreCreateN(0, &s));
        std::atomic<int> taken{0};
        {
            Crowd crowd(2 * pairs, [&](int i) {
                if (i % 2 == 0) { // a producer, by ones and by twos
                    for (int n = 0; n < units; n += 3) {
                        EXPECT_EQ(0, NSemaphorePost(s));
                        EXPECT_EQ(0, NSemaphorePostN(s, 2));
                    }
                    return;
                }
                for (int n = 0; n < units; ++n, ++taken) { // a consumer, by waits and tries
                    if (n % 2 == 0 || NSemaphoreTry(s) != 0) {
                        EXPECT_EQ(0, NSemaphoreWait(s));
                    }
                }
            });
        }
        EXPECT_EQ(pairs * units, taken);
        EXPECT_EQ(EAGAIN, NSemaphoreTry(s));
        EXPECT_EQ(0, NSemaphoreDestroy(s));
    }
}

class EventTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(0, NEventCreate(&e)); }
    void TearDown() override { EXPECT_EQ(0, NEventDestroy(e)); }
    NEvent *e = nullptr;
};

// An event has no memory: a signal before the wait is lost.
TEST_F(EventTest, SignalWithNobodyWaitingLeavesNoTrace)
{
    EXPECT_EQ(0, NEventSignal(e));
    Crowd waiter(1, [&](int) { EXPECT_EQ(0, NEventWait(e)); });
    pause_ms(30);
    EXPECT_EQ(0, waiter.returned());
    waiter.finish([&] { NEventSignal(e); });
}

TEST_F(EventTest, TimedWaitGivesZeroWhenTheTimeRunsOut)
{
    auto locked_wait = [](NEvent *event, uint32_t ms) {
        NEventLock(event);
        const NRC rc = NEventTimedWaitAlreadyLocked(event, ms);
        NEventUnlock(event);
        return rc;
    };
    for (auto *wait : {+locked_wait, NEventTimedWait}) {
        SCOPED_TRACE(wait == NEventTimedWait ? "NEventTimedWait" : "NEventTimedWaitAlreadyLocked");
        EXPECT_EQ(0, wait(e, 0));
        const auto start = Clock::now();
        EXPECT_EQ(0, wait(e, 50));
        EXPECT_GE(ms_since(start), 49.0);
    }
}

// Waiters that test their predicate under the event's mutex never miss the
// signal, whether it comes before or during their wait.
TEST_F(EventTest, PredicateUnderTheLockLosesNoSignal)
{
    for (int round = 0; round < 200 && !failing(); ++round) {
        bool go = false;
        Crowd waiters(3, [&](int) {
            EXPECT_EQ(0, NEventLock(e));
            while (!go)
                EXPECT_EQ(0, NEventWaitAlreadyLocked(e));
            EXPECT_EQ(0, NEventUnlock(e));
        });
        EXPECT_EQ(0, NEventLock(e));
        go = true;
        EXPECT_EQ(0, NEventSignal(e));
        EXPECT_EQ(0, NEventUnlock(e));
        waiters.finish([] {});
    }
}

// The longest timed wait has its deadline far ahead, not wrapped into the
// past: it sleeps until signalled.
TEST_F(EventTest, LongestTimedWaitSleepsUntilSignalled)
{
    std::atomic<int> ready{0};
    Crowd waiter(1, [&](int) {
        NEventLock(e);
        ready = 1;
        EXPECT_EQ(0, NEventTimedWaitAlreadyLocked(e, UINT32_MAX));
        NEventUnlock(e);
    });
    ASSERT_TRUE(reach(ready, 1));
    NEventLock(e); // the waiter is inside its wait now
    NEventUnlock(e);
    pause_ms(20);
    EXPECT_EQ(0, waiter.returned());
    waiter.finish([&] { NEventSignal(e); });
}

// NGateRelease reaches only those already asleep at the gate, and a waiter
// can't be seen to have got there: the release is repeated until they are
// through.
TEST(GateTest, ReleasePassesPresentWaitersOpenPassesEveryone)
{
    for (int round = 0; round < 10 && !failing(); ++round) {
        NGate *g = nullptr;
        ASSERT_EQ(0, NGateCreate(&g)); // closed
        auto blocked_at_gate = [&](int count) {
            auto waiters = std::make_unique<Crowd>(count, [&](int) { EXPECT_EQ(0, NGateWait(g)); });
            pause_ms(5);
            EXPECT_EQ(0, waiters->returned()) << "round " << round;
            return waiters;
        };
        blocked_at_gate(3)->finish([&] { NGateRelease(g); });
        auto late = blocked_at_gate(1); // released, the gate is still closed
        EXPECT_EQ(0, NGateOpen(g));
        late->finish([] {}); // one opening is enough
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(0, NGateWait(g));
        EXPECT_EQ(0, NGateClose(g));
        blocked_at_gate(2)->finish([&] { NGateRelease(g); });
        EXPECT_EQ(0, NGateDestroy(g));
    }
}

std::atomic<int> once_calls{0};

void count_once()
{
    pause_ms(1); // let the other callers pile up behind the first
    ++once_calls;
}

TEST(OnceTest, TheFunctionRunsOnceBeforeAnyCallerReturns)
{
    for (auto *initialise : {NOneTimeInitialise, NOnceFunc}) {
        for (int round = 0; round < 30 && !failing(); ++round) {
            pthread_once_t control = PTHREAD_ONCE_INIT;
            once_calls = 0;
            {
                Crowd callers(4, [&](int) {
                    EXPECT_EQ(0, initialise(&control, count_once));
                    EXPECT_EQ(1, once_calls);
                });
            }
            EXPECT_EQ(0, initialise(&control, count_once));
            EXPECT_EQ(1, once_calls);
        }
    }
}

TEST(SyncNullTest, NullArgumentsAreRefused)
{
    pthread_once_t control = PTHREAD_ONCE_INIT;
    expect_results({
        NULL_CASE(NSemaphoreCreateN(1, nullptr), EINVAL), NULL_CASE(NEventCreate(nullptr), EINVAL),
        NULL_CASE(NSemaphoreDestroy(nullptr), EINVAL), NULL_CASE(NSemaphoreWait(nullptr), EINVAL),
        NULL_CASE(NSemaphoreTry(nullptr), EINVAL), NULL_CASE(NSemaphorePostN(nullptr, 2), EINVAL),
        NULL_CASE(NEventDestroy(nullptr), EINVAL), NULL_CASE(NEventLock(nullptr), EINVAL),
        NULL_CASE(NEventUnlock(nullptr), EINVAL), NULL_CASE(NEventWait(nullptr), EINVAL),
        NULL_CASE(NEventWaitAlreadyLocked(nullptr), EINVAL),
        NULL_CASE(NEventSignal(nullptr), EINVAL),
        NULL_CASE(NEventTimedWait(nullptr, 10), EINVAL),
        NULL_CASE(NEventTimedWaitAlreadyLocked(nullptr, 10), EINVAL),
        NULL_CASE(NGateCreate(nullptr), EINVAL), NULL_CASE(NGateDestroy(nullptr), EINVAL),
        NULL_CASE(NGateWait(nullptr), EINVAL), NULL_CASE(NGateClose(nullptr), EINVAL),
        NULL_CASE(NGateOpen(nullptr), EINVAL), NULL_CASE(NGateRelease(nullptr), EINVAL),
        NULL_CASE(NOneTimeInitialise(nullptr, count_once), EINVAL),
        NULL_CASE(NOneTimeInitialise(&control, nullptr), EINVAL),
        NULL_CASE(NOnceFunc(nullptr, count_once), 0),
    });
}

} // namespace
