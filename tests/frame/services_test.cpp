// Names of the process and of the directories of an installation, path
// building, FIPS.
#include <gtest/gtest.h>

#include <tarvolk/retcode.h>
#include <tarvolk/services.h>
#include <tarvolk/shlib.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include "support/test_support.h"

namespace {

TEST(ServicesTest, DirectoryNames)
{
    const std::vector<std::pair<const char *(*)(), const char *>> names = {
        {NGetBinDir, "bin"},       {NGetLibDir, "lib"},     {NGetEtcDir, "etc"},
        {NGetVarDir, "var"},       {NGetConfigDir, "config"}, {NGetGateDir, "gates"},
        {NGetLogDir, "log"},
    };
    for (const auto &[get, expected] : names)
        EXPECT_STREQ(expected, get());

    // The platform directories have a buffer each, and a caller that wrote
    // into one gets the right text at the next call.
    char *tsm = const_cast<char *>(NGetTsmDir());
    EXPECT_NE(static_cast<const void *>(tsm), NGetMonitorDir());
    EXPECT_NE(static_cast<const void *>(tsm), NGetProbeDir());
    tsm[0] = 'X';
    EXPECT_STREQ("tsm/linux2x86", NGetTsmDir());
}

TEST(ServicesTest, PlatformIsReadOnceWithItsDefault)
{
    TVK_IN_FRESH_PROCESS({
        unsetenv("TARVOLKPLATFORM");
        EXPECT_STREQ("linux2x86", NGetPlatform());
        setenv("TARVOLKPLATFORM", "other", 1);
        EXPECT_STREQ("linux2x86", NGetPlatform());
        EXPECT_STREQ("linux2x86", NDetectPlatform());
        EXPECT_STREQ("tsm/linux2x86", NGetTsmDir());
    });
    TVK_IN_FRESH_PROCESS({
        setenv("TARVOLKPLATFORM", "sunos", 1);
        const char *platform = NGetPlatform();
        EXPECT_STREQ("sunos", platform);
        unsetenv("TARVOLKPLATFORM");
        EXPECT_EQ(platform, NGetPlatform());
        EXPECT_STREQ("tsm/sunos", NGetTsmDir());
        EXPECT_STREQ("monitors/sunos", NGetMonitorDir());
        EXPECT_STREQ("probes/sunos", NGetProbeDir());
        EXPECT_STREQ("sunos", NDetectPlatform());
    });
}

TEST(ServicesTest, ProcessNameFallsBackToApplicationName)
{
    TVK_IN_FRESH_PROCESS({
        EXPECT_EQ(nullptr, NGetProcName());
        ASSERT_EQ(0, NInitialise("app", "stdout"));
        EXPECT_STREQ("app", NGetProcName());
        EXPECT_EQ(0, NSetProcName("worker"));
        EXPECT_STREQ("worker", NGetProcName());
        EXPECT_EQ(0, NSetProcName("again"));
        EXPECT_STREQ("again", NGetProcName());
        EXPECT_EQ(0, NSetProcName(NGetProcName())); // its own name back
        EXPECT_STREQ("again", NGetProcName());
        EXPECT_EQ(0, NSetProcName(nullptr));
        EXPECT_STREQ("app", NGetProcName());
    });
}

TEST(ServicesTest, HostNameIsTheSystemsAndStable)
{
    char expected[64] = {};
    ASSERT_EQ(0, gethostname(expected, sizeof expected - 1));
    const char *first = NGetHostName();
    EXPECT_STREQ(expected, first);
    EXPECT_EQ(first, NGetHostName());
}

TEST(ServicesTest, HomesAreReadAndCachedAtFirstCall)
{
    TVK_IN_FRESH_PROCESS({
        const std::string home = tvk_test::home();
        EXPECT_EQ(home, NGetTARVOLKHOME());
        EXPECT_EQ(home + "/zimbrel", NGetZIMBRELHOME());
        // Once tested, the values are kept whatever the environment says.
        setenv("TARVOLKHOME", "/nonexistent", 1);
        setenv("ZIMBRELHOME", "/nonexistent", 1);
        EXPECT_EQ(home, NGetTARVOLKHOME());
        EXPECT_EQ(home + "/zimbrel", NGetZIMBRELHOME());
    });
}

TEST(ServicesTest, UnreadableHomesEndTheProcess)
{
    EXPECT_EXIT(
        {
            setenv("ZIMBRELHOME", "/nonexistent/product", 1);
            NGetZIMBRELHOME();
        },
        ::testing::ExitedWithCode(1),
        "^Fatal Error: Failed to access ZIMBRELHOME directory: /nonexistent/product$");
    EXPECT_EXIT(
        {
            setenv("TARVOLKHOME", "relative/missing", 1);
            NGetTARVOLKHOME();
        },
        ::testing::ExitedWithCode(1),
        "^Fatal Error: Failed to access TARVOLKHOME directory: relative/missing$");
}

TEST(ServicesTest, ConstructPathWithAndWithoutBound)
{
    char path[64];
    NConstructPath(path, "/opt", "/", "tarvolk", "/", "etc", nullptr);
    EXPECT_STREQ("/opt/tarvolk/etc", path);
    NConstructPath(path, "alone", nullptr);
    EXPECT_STREQ("alone", path);

    const struct {
        uint32_t size;
        const char *pieces[4]; // up to the first null
        const char *expected;
        NRC rc;
    } cases[] = {
        {5, {"ab", "cd", "ef"}, "abcd", NRC_FAILURE},
        {5, {"ab", "c"}, "abc", 0},
        {3, {"abcd"}, "ab", NRC_FAILURE},
        {5, {"abcd"}, "abcd", 0},
        {5, {"abcde"}, "abcd", NRC_FAILURE},
        {5, {"ab", "cde", "f"}, "abcd", NRC_FAILURE},
        {6, {"ab", "", "cde"}, "abcde", 0},
        {1, {"x", "y"}, "", NRC_FAILURE},
        {8, {"a", "bc", "def", "ghij"}, "abcdefg", NRC_FAILURE},
    };
    for (const auto &c : cases) {
        char buffer[16];
        std::memset(buffer, '#', sizeof buffer);
        const NRC rc = NConstructPathWithLength(buffer, c.size, c.pieces[0], c.pieces[1], c.pieces[2],
                                                c.pieces[3], nullptr);
        SCOPED_TRACE(std::to_string(c.size) + " -> " + c.expected);
        EXPECT_EQ(c.rc, rc);
        EXPECT_STREQ(c.expected, buffer);
        EXPECT_EQ('#', buffer[c.size]) << "wrote past the bound";
    }
    char untouched[4] = "xyz";
    EXPECT_EQ(NRC_FAILURE, NConstructPathWithLength(untouched, 0, "a", nullptr));
    EXPECT_STREQ("xyz", untouched);
    EXPECT_EQ(NRC_FAILURE, NConstructPathWithLength(nullptr, 4, "a", nullptr));
}

TEST(ServicesTest, FipsFollowsTheFileInTheFamilyHome)
{
    TVK_IN_FRESH_PROCESS({
        tvk_test::TempDir home;
        setenv("TARVOLKHOME", home.path().c_str(), 1);
        int32_t fips = -1;
        EXPECT_EQ(0, NIsSystemFIPS(&fips));
        EXPECT_EQ(0, fips);
        ASSERT_EQ(0, mkdir(home.file("etc").c_str(), 0755));
        ASSERT_EQ(0, mkdir(home.file("etc/security").c_str(), 0755));
        tvk_test::write_file(home.file("etc/security/fips.conf"), "");
        EXPECT_EQ(0, NIsSystemFIPS(&fips));
        EXPECT_EQ(1, fips);
        EXPECT_EQ(NRC_FAILURE, NIsSystemFIPS(nullptr));
    });
}

TEST(ServicesTest, FirstCallsFromManyThreadsAgree)
{
    TVK_IN_FRESH_PROCESS({
        std::vector<const char *> seen(8);
        std::vector<std::thread> threads;
        for (size_t i = 0; i < seen.size(); ++i)
            threads.emplace_back([&seen, i] {
                seen[i] = NGetPlatform();
                (void)NGetHostName();
                (void)NGetTsmDir();
                (void)NGetTARVOLKHOME();
            });
        for (auto &thread : threads)
            thread.join();
        for (const char *platform : seen)
            EXPECT_EQ(seen[0], platform);
    });
}

} // namespace
