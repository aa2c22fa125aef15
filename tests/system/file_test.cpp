// NFileExists.
#include <tarvolk/file.h>

#include <gtest/gtest.h>

#include <string>

#include <sys/stat.h>
#include <unistd.h>

#include "support/test_support.h"

namespace {

TEST(FileExistsTest, FilesDirectoriesLinksAndMissingPaths)
{
    tvk_test::TempDir dir;
    tvk_test::write_file(dir.file("plain"), "text");
    ASSERT_EQ(mkdir(dir.file("sub").c_str(), 0700), 0);
    ASSERT_EQ(symlink(dir.file("plain").c_str(), dir.file("good-link").c_str()), 0);
    ASSERT_EQ(symlink(dir.file("nowhere").c_str(), dir.file("dangling").c_str()), 0);

    const struct {
        std::string path;
        int expected;
    } cases[] = {
        {dir.file("plain"), 1},
        {dir.file("sub"), 1},
        {dir.file("sub/"), 1},
        {dir.file("good-link"), 1},
        {dir.file("dangling"), 0},
        {dir.file("missing"), 0},
        {dir.file("plain/below"), 0},
        {"", 0},
    };
    for (const auto &c : cases)
        EXPECT_EQ(NFileExists(c.path.c_str()), c.expected) << "path: '" << c.path << "'";

    EXPECT_EQ(NFileExists(nullptr), 0);
}

} // namespace
