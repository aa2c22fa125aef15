// Spawned threads: the start hand-shake, the stop flag, exit codes, names,
// and records of foreign threads whose id the system hands out again.
#include <gtest/gtest.h>

#include <tarvolk/retcode.h>
#include <tarvolk/semaph.h>
#include <tarvolk/thr.h>

#include <pthread.h>
#include <sched.h>

#include <chrono>
#include <string>
#include <thread>

#include "threads/thr.h"

namespace {

class ThreadSpawnTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_EQ(0, _NThreadInitialise()); }
};

constexpr uint32_t keep = NTHREAD_KEEP_RECORD;

// What a body saw of itself when it started.
struct Start {
    NThread **spawned = nullptr; // the spawner's out-pointer
    bool saw_own_record = false;
    std::string name;
    char system_name[32] = {};
};

NRC look_at_self(NThread *self, void *argument)
{
    auto *start = static_cast<Start *>(argument);
    start->saw_own_record = *start->spawned == self && NThreadGetID() == self;
    start->name = NThreadGetName(self);
    pthread_getname_np(pthread_self(), start->system_name, sizeof start->system_name);
    return 42;
}

TEST_F(ThreadSpawnTest, BodyStartsAfterTheHandShakeAndNamesAreCut)
{
    const std::string long_name(100, 'w');
    struct Case {
        std::string name, expected, expected_system;
    } cases[] = {
        {"worker", "worker", "worker"},
        {long_name, std::string(NTHREAD_NAME_SIZE - 1, 'w'), std::string(15, 'w')},
    };
    for (const Case &c : cases) {
        NThread *thread = nullptr;
        Start start;
        start.spawned = &thread;
        ASSERT_EQ(0, NThreadSpawn(c.name.c_str(), look_at_self, &start, &keep, &thread));
        ASSERT_NE(nullptr, thread);
        EXPECT_EQ(42, NThreadDestroy(thread));
        EXPECT_TRUE(start.saw_own_record) << c.name;
        EXPECT_EQ(c.expected, start.name);
        EXPECT_EQ(c.expected_system, start.system_name);
    }
}

// Runs until its stop flag is cleared; posts started first.
NRC run_until_stopped(NThread *self, void *argument)
{
    NSemaphorePost(static_cast<NSemaphore *>(argument));
    while (NThreadShouldContinue(self) != 0)
        sched_yield();
    return NRC_TIMEOUT;
}

// With the flag the record waits for NThreadDestroy; without it the record
// goes with the thread.
TEST_F(ThreadSpawnTest, StopFlagEndsTheBody)
{
    NSemaphore *started = nullptr;
    ASSERT_EQ(0, NSemaphoreCreateN(0, &started));
    for (const uint32_t *flags : {&keep, static_cast<const uint32_t *>(nullptr)}) {
        const int32_t before = tvk::thread_count();
        NThread *thread = nullptr;
        ASSERT_EQ(0, NThreadSpawn("looper", run_until_stopped, started, flags, &thread));
        ASSERT_EQ(0, NSemaphoreWait(started));
        EXPECT_EQ(before + 1, tvk::thread_count());
        EXPECT_EQ(1, NThreadShouldContinue(thread));
        NThreadScheduleStop(thread);
        if (flags != nullptr) {
            EXPECT_EQ(0, NThreadShouldContinue(thread));
            EXPECT_EQ(NRC_TIMEOUT, NThreadDestroy(thread));
        }
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (tvk::thread_count() != before && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        EXPECT_EQ(before, tvk::thread_count());
    }
    NSemaphoreDestroy(started);
}

NRC fail(NThread *, void *) { return NRC_FAILURE; }

TEST_F(ThreadSpawnTest, KeptRecordOutlivesItsThread)
{
    const int32_t before = tvk::thread_count();
    NThread *thread = nullptr;
    ASSERT_EQ(0, NThreadSpawn("short", fail, nullptr, &keep, &thread));
    // Long after the end the record is still there with its code.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(before + 1, tvk::thread_count());
    EXPECT_STREQ("short", NThreadGetName(thread));
    EXPECT_EQ(NRC_FAILURE, NThreadDestroy(thread));
    EXPECT_EQ(before, tvk::thread_count());
}

TEST_F(ThreadSpawnTest, BadArgumentsLeaveNothing)
{
    NThread *thread = reinterpret_cast<NThread *>(1);
    EXPECT_EQ(NRC_FAILURE, NThreadSpawn("x", nullptr, nullptr, nullptr, &thread));
    EXPECT_EQ(nullptr, thread);
    EXPECT_EQ(NRC_FAILURE, NThreadSpawn("x", fail, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, NThreadShouldContinue(nullptr));
    EXPECT_EQ(NRC_FAILURE, NThreadDestroy(nullptr));
    // Only spawned records can be destroyed; an adopted one is not touched.
    EXPECT_EQ(NRC_FAILURE, NThreadDestroy(NThreadGetID()));
}

// A foreign thread made with pthread_create.
struct Foreign {
    pthread_t id{};
    bool fresh = false; // found a clean record of its own
};

void *leave_a_used_record(void *argument)
{
    auto *foreign = static_cast<Foreign *>(argument);
    foreign->id = pthread_self();
    NThreadRegister("old");
    NThread *self = NThreadGetID();
    NThreadScheduleStop(self);
    NThreadExceptionRaise(self, "Old", nullptr, 3, 1, "old failure", nullptr);
    return nullptr; // ends without NThreadUnregister
}

void *look_for_a_clean_record(void *argument)
{
    auto *foreign = static_cast<Foreign *>(argument);
    foreign->id = pthread_self();
    NThread *self = NThreadGetID();
    foreign->fresh = self != nullptr && std::string("UNKNOWN!") == NThreadGetName(self) &&
                     NThreadShouldContinue(self) == 1 && NThreadExceptionRaised(self) == 0;
    return nullptr;
}

void run_foreign(void *(*body)(void *), Foreign *foreign)
{
    pthread_t thread;
    ASSERT_EQ(0, pthread_create(&thread, nullptr, body, foreign));
    ASSERT_EQ(0, pthread_join(thread, nullptr));
}

TEST_F(ThreadSpawnTest, ReusedThreadIdNeverInheritsADeadThreadsRecord)
{
    const int32_t before = tvk::thread_count();
    Foreign old;
    run_foreign(leave_a_used_record, &old);
    // The ended thread took its record with it.
    EXPECT_EQ(before, tvk::thread_count());
    // The system usually hands the id out again at once; try a few times.
    bool reused = false;
    for (int attempt = 0; attempt < 50 && !reused; ++attempt) {
        Foreign next;
        run_foreign(look_for_a_clean_record, &next);
        EXPECT_TRUE(next.fresh);
        reused = pthread_equal(next.id, old.id) != 0;
    }
    EXPECT_EQ(before, tvk::thread_count());
    if (!reused)
        GTEST_SKIP() << "the system did not reuse the thread id";
}

} // namespace
