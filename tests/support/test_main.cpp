// main() of the unit tests: a fixed environment, and death tests that
// re-execute the binary so that each starts from a fresh process.
#include <gtest/gtest.h>

#include "support/test_support.h"

int main(int argc, char **argv)
{
    tvk_test::fix_environment();
    ::testing::InitGoogleTest(&argc, argv);
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    return RUN_ALL_TESTS();
}

// Under the sanitizers, an impossible allocation must come back as null, as
// it does from the system allocator, so that the library's handling of
// exhaustion can be tested.
extern "C" {
__attribute__((used, visibility("default"))) const char *__asan_default_options();
__attribute__((used, visibility("default"))) const char *__tsan_default_options();

const char *__asan_default_options()
{
    return "allocator_may_return_null=1";
}

const char *__tsan_default_options()
{
    return "allocator_may_return_null=1";
}
}
