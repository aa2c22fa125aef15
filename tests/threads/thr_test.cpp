// Thread records and thread-specific data keys.
#include <gtest/gtest.h>

#include <tarvolk/retcode.h>
#include <tarvolk/thr.h>

#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include <tarvolk/mem.h>

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

// ---- exception stack ----

NTypedValue typed(int32_t type)
{
    NTypedValue value{};
    value.type = type;
    return value;
}

// The text of the stack, or "<null>" when ToBuffer gives none.
std::string stack_text(NThread *thread)
{
    char *text = nullptr;
    EXPECT_EQ(0, NThreadExceptionToBuffer(thread, &text));
    if (text == nullptr)
        return "<null>";
    std::string copy = text;
    n_free(text);
    return copy;
}

TEST_F(ThreadRecordTest, ExceptionValuesPrintByTheirType)
{
    static char word[] = "libfoo.so";
    struct Case {
        NTypedValue value;
        const char *printed;
    } cases[] = {
        {typed(0), ""},
        {[] { auto v = typed(1); v.value.s = -2; return v; }(), ": -2"},
        {[] { auto v = typed(2); v.value.i = -70000; return v; }(), ": -70000"},
        {[] { auto v = typed(3); v.value.u = 4000000000u; return v; }(), ": 4000000000"},
        {[] { auto v = typed(4); v.value.i = 7; return v; }(), ": TRUE"},
        {typed(4), ": FALSE"},
        {[] { auto v = typed(5); v.value.r = 1.5; return v; }(), ": 1.500000"},
        {[] { auto v = typed(6); v.value.i = 0; return v; }(), ": Thu Jan  1 00:00:00 1970"},
        {[] { auto v = typed(7); v.value.string = {word, 6}; return v; }(), ": libfoo"},
        {[] { auto v = typed(8); v.value.binary = {3, word}; return v; }(), ""},
        {[] { auto v = typed(9); v.value.i64 = -5000000000; return v; }(), ": -5000000000"},
        {[] { auto v = typed(10); v.value.u64 = 18000000000000000000u; return v; }(),
         ": 18000000000000000000"},
        {typed(11), ""},
    };
    in_thread([&] {
        NThread *self = NThreadGetID();
        for (const Case &c : cases) {
            NThreadExceptionRaise(self, "ModuleLoad", nullptr, 3, 20, "dlopen() failed", &c.value);
            EXPECT_EQ(std::string("'ModuleLoad' exception occured:\n\tdlopen() failed") +
                          c.printed + "\n",
                      stack_text(self))
                << "type " << c.value.type;
        }
        NThreadExceptionClear(self);
    });
}

TEST_F(ThreadRecordTest, ExceptionStackStacksUpToSixteenAndRaiseStartsOver)
{
    in_thread([] {
        NThread *self = NThreadGetID();
        EXPECT_EQ(0, NThreadExceptionRaised(self));
        EXPECT_EQ("<null>", stack_text(self));
        NThreadExceptionPrint(self, stdout); // nothing to print
        NThreadExceptionLog(self);

        NThreadExceptionRaise(self, "Old", nullptr, 3, 1, "forgotten", nullptr);
        NThreadExceptionRaise(self, "T", nullptr, 3, 1, "first", nullptr);
        std::string expected = "'T' exception occured:\n\tfirst\n";
        std::vector<std::string> lines; // entries keep pointers to their texts
        for (int i = 2; i <= 17; ++i)
            lines.push_back("entry " + std::to_string(i));
        for (size_t i = 0; i < lines.size(); ++i) {
            NThreadExceptionAdd(self, nullptr, 3, static_cast<int32_t>(i), lines[i].c_str(),
                                nullptr);
            if (i < 15)
                expected += "\t" + lines[i] + "\n";
        }
        EXPECT_EQ(1, NThreadExceptionRaised(self));
        EXPECT_EQ(expected, stack_text(self));

        char *printed = nullptr;
        size_t size = 0;
        FILE *stream = open_memstream(&printed, &size);
        ASSERT_NE(nullptr, stream);
        NThreadExceptionPrint(self, stream);
        std::fclose(stream);
        EXPECT_EQ(expected, printed);
        std::free(printed);
        NThreadExceptionClear(self);
        EXPECT_EQ(0, NThreadExceptionRaised(self));
        EXPECT_EQ(0, NThreadUnregister());
    });
}

TEST_F(ThreadRecordTest, FullStringPoolDropsTheValueButKeepsTheMessage)
{
    in_thread([] {
        NThread *self = NThreadGetID();
        std::string big(NTHREAD_STRING_POOL_SIZE - 11, 'x'); // 10 bytes stay free
        auto value = typed(7);
        value.value.string = {big.data(), static_cast<uint32_t>(big.size())};
        NThreadExceptionRaise(self, "T", nullptr, 3, 1, "big", &value);
        char fits[] = "123456789"; // 9 bytes and its terminator: exactly the rest
        value.value.string = {fits, 9};
        NThreadExceptionAdd(self, nullptr, 3, 2, "fits", &value);
        value.value.string = {fits, 1};
        NThreadExceptionAdd(self, nullptr, 3, 3, "lost", &value);
        EXPECT_EQ("'T' exception occured:\n\tbig: " + big + "\n\tfits: 123456789\n\tlost\n",
                  stack_text(self));
        EXPECT_EQ(0, NThreadUnregister());
    });
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
