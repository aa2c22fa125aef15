// The assertion entry point.
#undef NDEBUG // the assertion macro is under test
#include <gtest/gtest.h>
#include <gmock/gmock.h>

#include <tarvolk/debug.h>

#include <csignal>

namespace {

TEST(DebugAssertTest, WritesItsTextAndAborts)
{
    EXPECT_EXIT(_n_DebugAssert("SRV", "serve", "server.c", 42, "count > 0"),
                ::testing::KilledBySignal(SIGABRT),
                ::testing::HasSubstr("\n[SRV] Assertion failure in function serve() line 42 of "
                                     "server.c\nFailed test is \"count > 0\"\n"));
    EXPECT_EXIT(_n_DebugAssert("SRV", nullptr, "server.c", 7, "ok"),
                ::testing::KilledBySignal(SIGABRT),
                ::testing::HasSubstr("\n[SRV] Assertion failure line 7 of server.c\n"
                                     "Failed test is \"ok\"\n"));
}

TEST(DebugAssertTest, MacroLandsThere)
{
    int count = 0;
    EXPECT_EXIT(N_ASSERT("APP", count > 0), ::testing::KilledBySignal(SIGABRT),
                ::testing::HasSubstr("Failed test is \"count > 0\""));
    N_ASSERT("APP", count == 0);
}

} // namespace
