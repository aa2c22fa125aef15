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
