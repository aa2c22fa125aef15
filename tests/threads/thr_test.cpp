// Thread records and thread-specific data keys.
#include <gtest/gtest.h>

#include <tarvolk/retcode.h>
#include <tarvolk/thr.h>

#include <string>
#include <thread>

#include "support/test_support.h"
#include "threads/thr.h"

namespace {

class ThreadRecordTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_EQ(0, _NThreadInitialise()); }
};

// Runs fn in a new thread and waits for it.
template <typename Fn> void in_thread(Fn fn)
{
    std::thread thread(fn);
    thread.join();
}

TEST(ThreadRecordBeforeInitialiseTest, NothingWorksYet)
{
    TVK_IN_FRESH_PROCESS({
        EXPECT_EQ(nullptr, NThreadGetID());
        EXPECT_EQ(NRC_FAILURE, NThreadRegister("early"));
        EXPECT_EQ(NRC_FAILURE, NThreadUnregister());
        EXPECT_EQ(0, _NThreadInitialise());
        EXPECT_EQ(0, _NThreadInitialise());
        EXPECT_STREQ("MAIN", NThreadGetName(NThreadGetID()));
        EXPECT_EQ(1, tvk::thread_count());
    });
}

TEST_F(ThreadRecordTest, ForeignThreadsGetARecordOnFirstUse)
{
    in_thread([] {
        NThread *first = NThreadGetID();
        ASSERT_NE(nullptr, first);
        EXPECT_STREQ("UNKNOWN!", NThreadGetName(first));
        EXPECT_EQ(first, NThreadGetID());
        EXPECT_NE(nullptr, NThreadGetErrorBuffer(first));
        // Registering later keeps the record and its name.
        EXPECT_EQ(0, NThreadRegister("worker"));
        EXPECT_EQ(first, NThreadGetID());
        EXPECT_STREQ("UNKNOWN!", NThreadGetName(first));
        EXPECT_EQ(0, NThreadUnregister());
        EXPECT_EQ(0, NThreadUnregister());
    });
}

TEST_F(ThreadRecordTest, RegisteredThreadsKeepTheirName)
{
    in_thread([] {
        const int32_t before = tvk::thread_count();
        EXPECT_EQ(0, NThreadRegister("worker"));
        EXPECT_STREQ("worker", NThreadGetName(NThreadGetID()));
        EXPECT_EQ(before + 1, tvk::thread_count());
        EXPECT_EQ(0, NThreadUnregister());
        EXPECT_EQ(before, tvk::thread_count());
        EXPECT_EQ(0, NThreadRegister(nullptr));
        EXPECT_STREQ("UNKNOWN!", NThreadGetName(NThreadGetID()));
        EXPECT_EQ(0, NThreadUnregister());
    });
    in_thread([] {
        EXPECT_EQ(0, NThreadRegister(std::string(100, 'n').c_str()));
        EXPECT_EQ(std::string(NTHREAD_NAME_SIZE - 1, 'n'), NThreadGetName(NThreadGetID()));
        EXPECT_EQ(0, NThreadUnregister());
    });
}

TEST_F(ThreadRecordTest, ManyThreadsAtOnce)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 16; ++i)
        threads.emplace_back([] {
            for (int round = 0; round < 50; ++round) {
                NThread *self = NThreadGetID();
                ASSERT_NE(nullptr, self);
                ASSERT_EQ(self, NThreadGetID());
                ASSERT_STREQ("Timeout", NRCToString(NRC_TIMEOUT));
                ASSERT_EQ(0, NThreadUnregister());
            }
        });
    for (auto &thread : threads)
        thread.join();
}

TEST(ThreadDataKeyTest, ValuesArePerThread)
{
    NThreadDataKey key = nullptr;
    ASSERT_EQ(0, NThreadDataKeyCreate(&key));
    ASSERT_NE(nullptr, key);
    void *value = reinterpret_cast<void *>(1);
    EXPECT_EQ(0, NThreadDataGet(key, &value));
    EXPECT_EQ(nullptr, value);
    int mine = 1;
    EXPECT_EQ(0, NThreadDataSet(key, &mine));
    in_thread([key] {
        void *theirs = reinterpret_cast<void *>(1);
        EXPECT_EQ(0, NThreadDataGet(key, &theirs));
        EXPECT_EQ(nullptr, theirs);
    });
    EXPECT_EQ(0, NThreadDataGet(key, &value));
    EXPECT_EQ(&mine, value);
    EXPECT_EQ(0, NThreadDataKeyDestroy(key));
    EXPECT_EQ(NRC_FAILURE, NThreadDataKeyCreate(nullptr));
}

} // namespace
