// The real shared object: what happens when it is loaded and unloaded, and
// what a program linked against it does.
#include <gtest/gtest.h>

#include <string>

#include "support/test_support.h"

namespace {

using tvk_test::run_command;

std::string quoted(const std::string &text)
{
    return "'" + text + "'";
}

std::string home_env()
{
    return "TARVOLKHOME=" + quoted(tvk_test::home()) +
           " ZIMBRELHOME=" + quoted(tvk_test::home() + "/zimbrel") + " ";
}

TEST(SharedObject, LoadAndUnloadAreAnnouncedWhenAsked)
{
    const auto result = run_command("NDE_SHLIB_LOAD_DEBUG=1 " + quoted(TVK_LOAD_PROBE) + " " +
                                    quoted(TVK_SHARED_LIBRARY));
    ASSERT_EQ(0, result.status) << result.err;
    EXPECT_EQ("Library Revisions:\n\tlibtarvolk: 5.50.97\n", result.out);
    EXPECT_EQ("libtarvolk: 5.50.97 **LOADED**\nlibtarvolk: 5.50.97 **UNLOADED**\n", result.err);
}

TEST(SharedObject, LoadIsSilentByDefault)
{
    const auto result =
        run_command("env -u NDE_SHLIB_LOAD_DEBUG " + quoted(TVK_LOAD_PROBE) + " " +
                    quoted(TVK_SHARED_LIBRARY));
    ASSERT_EQ(0, result.status) << result.err;
    EXPECT_EQ("", result.err);
}

TEST(SharedObject, DemoRuns)
{
    const auto result = run_command(home_env() + quoted(TVK_DEMO));
    ASSERT_EQ(0, result.status) << result.out << result.err;
    EXPECT_NE(std::string::npos, result.out.find("Application   demo\n"));
    EXPECT_NE(std::string::npos, result.out.find("Process       tarvolk-demo\n"));
    EXPECT_NE(std::string::npos, result.out.find("\tlibtarvolk: 5.50.97\n"));
    EXPECT_NE(std::string::npos, result.out.find("-19  General failure\n"));
    EXPECT_NE(std::string::npos,
              result.out.find("in order): and:2 dog:1 fox:2 lazy:1 quick:1 the:3\n"));
    EXPECT_NE(std::string::npos, result.out.find(" 3 7 7 19 23 42 61 88; 23 found at index 4\n"));
    const auto tartu = result.out.find("Tartu");
    const auto oslo = result.out.find("Oslo");
    ASSERT_NE(std::string::npos, tartu);
    ASSERT_NE(std::string::npos, oslo);
    EXPECT_LT(tartu, oslo);
}

TEST(SharedObject, MissingInstallationEndsInitialisation)
{
    const auto result = run_command("TARVOLKHOME=/nonexistent/tarvolk " + quoted(TVK_DEMO));
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("Fatal Error: Failed to access TARVOLKHOME directory: /nonexistent/tarvolk",
              result.err);
    EXPECT_EQ("", result.out);
}

} // namespace
