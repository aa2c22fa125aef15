// The memory family.
#include <gtest/gtest.h>

#include <tarvolk/mem.h>

#include <cstring>
#include <string>
#include <vector>

#include "frame/mem.h"

#if defined(__SANITIZE_ADDRESS__)
// From the sanitizer runtime: the size that was asked for a block.
extern "C" size_t __sanitizer_get_allocated_size(const volatile void *block);
#endif

namespace {

TEST(MemTest, XstrdupRoundsTheBlockUpToFourBytes)
{
    const std::vector<std::pair<size_t, size_t>> sizes = {
        {0, 4}, {1, 4}, {2, 4}, {3, 4}, {4, 8}, {6, 8}, {7, 8}, {8, 12}, {11, 12}, {12, 16},
    };
    for (const auto &[length, block] : sizes) {
        EXPECT_EQ(block, tvk::xstrdup_block_size(length)) << length;
        const std::string text(length, 'a');
        char *copy = n_xstrdup(text.c_str());
        ASSERT_NE(nullptr, copy);
        EXPECT_EQ(text, copy);
        for (size_t i = length; i < block; ++i)
            EXPECT_EQ('\0', copy[i]) << "padding byte " << i;
#if defined(__SANITIZE_ADDRESS__)
        EXPECT_EQ(block, __sanitizer_get_allocated_size(copy));
#endif
        n_free(copy);
    }
    EXPECT_EQ(0u, tvk::xstrdup_block_size(static_cast<size_t>(-1)));
    EXPECT_EQ(nullptr, n_xstrdup(nullptr));
}

TEST(MemTest, StrdupCopiesAndExhaustionGivesNull)
{
    char *copy = n_strdup("tarvolk");
    ASSERT_NE(nullptr, copy);
    EXPECT_STREQ("tarvolk", copy);
    n_free(copy);
    EXPECT_EQ(nullptr, n_strdup(nullptr));
    EXPECT_EQ(nullptr, n_malloc(static_cast<size_t>(-1) / 2)); // nothing aborts
    n_free(nullptr);
}

TEST(MemTest, BcopyTakesTheDestinationFirstAndAllowsOverlap)
{
    char text[] = "abcdefgh";
    n_bcopy(text + 2, text, 5); // forward overlap
    EXPECT_STREQ("ababcdeh", text);
    char again[] = "abcdefgh";
    n_bcopy(again, again + 3, 5); // backward overlap
    EXPECT_STREQ("defghfgh", again);
    n_bzero(again + 2, 3);
    EXPECT_EQ(0, std::memcmp(again, "de\0\0\0fgh", 8));
    n_bcopy(nullptr, nullptr, 0);
    n_bzero(nullptr, 0);
}

} // namespace
