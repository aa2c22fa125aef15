// Tests of the incremental allocator. The arena's state is observed through
// the addresses it hands out, its blob count and the rest of the blob.
#include <tarvolk/incralloc.h>
#include <tarvolk/list.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace {

struct ArenaDeleter {
    void operator()(NIncrAllocator *arena) const { NIncrAllocatorDestroy(arena); }
};
using Arena = std::unique_ptr<NIncrAllocator, ArenaDeleter>;

Arena make_arena(uint32_t size, bool clear = false)
{
    Arena arena(clear ? NIncrAllocatorCreate(size) : NIncrAllocatorCreateNoClear(size));
    EXPECT_NE(arena, nullptr);
    return arena;
}

char *alloc(const Arena &arena, size_t size)
{
    return static_cast<char *>(NIncrAllocatorAlloc(arena.get(), size));
}

std::vector<char *> alloc_all(const Arena &arena, const std::vector<size_t> &sizes)
{
    std::vector<char *> pieces;
    for (size_t size : sizes)
        pieces.push_back(alloc(arena, size));
    return pieces;
}

char *rest_blob(const Arena &arena, uint32_t *size)
{
    return static_cast<char *>(NIncrAllocatorAllocRestBlob(arena.get(), size));
}

int32_t blobs(const Arena &arena)
{
    return NIncrAllocatorNumBlobs(arena.get());
}

bool all_zero(const char *p, size_t size)
{
    return std::all_of(p, p + size, [](char c) { return c == 0; });
}

TEST(IncrAllocatorTest, PiecesAreRoundedUpAndContiguous)
{
    Arena arena = make_arena(4096);
    char *base = alloc(arena, 0);
    ASSERT_EQ(reinterpret_cast<uintptr_t>(base) % 8, 0u);
    const struct {
        size_t size;
        ptrdiff_t offset;
    } pieces[] = {{1, 0}, {0, 8}, {8, 8}, {9, 16}, {16, 32}, {17, 48}, {3, 72}, {0, 80}};
    for (const auto &piece : pieces)
        EXPECT_EQ(alloc(arena, piece.size) - base, piece.offset) << piece.size;

    char *text = NIncrAllocatorStrdup(arena.get(), "12345678");
    EXPECT_EQ(text, base + 80);
    EXPECT_STREQ(text, "12345678");
    EXPECT_EQ(NIncrAllocatorStrdup(arena.get(), nullptr), nullptr);

    // Sizes that cannot be rounded within 32 bits fail and change nothing.
    EXPECT_EQ(NIncrAllocatorAlloc(arena.get(), SIZE_MAX), nullptr);
    EXPECT_EQ(NIncrAllocatorAlloc(arena.get(), size_t{UINT32_MAX} - 6), nullptr);
    EXPECT_EQ(NIncrAllocatorCreateNoClear(UINT32_MAX - 6), nullptr);
    uint32_t rest = 0;
    EXPECT_EQ(rest_blob(arena, &rest), base + 96);
    EXPECT_EQ(rest, 4096u - 96u);
    EXPECT_EQ(blobs(arena), 1);
}

TEST(IncrAllocatorTest, BlobsHoldNominalSizeRoundedUp)
{
    const struct {
        uint32_t nominal;
        uint32_t blob;
    } cases[] = {{0, 0}, {1, 8}, {8, 8}, {13, 16}, {100, 104}, {4096, 4096}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.nominal);
        Arena arena = make_arena(c.nominal);
        EXPECT_EQ(NIncrAllocatorEstimateSize(arena.get()), c.blob);
        char *first = alloc(arena, 0);
        for (uint32_t i = 0; i < c.blob / 8; ++i)
            ASSERT_EQ(alloc(arena, 1), first + 8 * i);
        EXPECT_EQ(blobs(arena), 1);
        alloc(arena, 1);
        EXPECT_EQ(blobs(arena), 2);
        EXPECT_EQ(NIncrAllocatorEstimateSize(arena.get()), 2 * c.blob);
    }

    // Nominal 0: every piece gets a blob of exactly its rounded size.
    Arena zero = make_arena(0);
    char *piece = alloc(zero, 20);
    EXPECT_EQ(alloc(zero, 0), piece + 24);
    alloc(zero, 1);
    EXPECT_EQ(blobs(zero), 3);
}

TEST(IncrAllocatorTest, OversizedAndRetainedBlobs)
{
    Arena arena = make_arena(100);
    char *small = alloc(arena, 1);
    char *big = alloc(arena, 200); // a blob of its own; the first keeps 96 unused bytes
    EXPECT_TRUE(big < small || big >= small + 104);
    uint32_t rest = 0;
    char *tail = rest_blob(arena, &rest); // nothing is left of the big blob: a fresh one
    EXPECT_EQ(rest, 104u);
    EXPECT_EQ(blobs(arena), 3);
    for (int round = 0; round < 2; ++round) { // a rewind hands out the same blobs again
        NIncrAllocatorExpunge(arena.get());
        EXPECT_EQ(alloc_all(arena, {1, 96, 200}), (std::vector<char *>{small, small + 8, big}));
        EXPECT_EQ(rest_blob(arena, &rest), tail);
        EXPECT_EQ(blobs(arena), 3);
    }

    // After a rewind, a request larger than the next retained blob gets a new
    // blob in front of it; the retained one serves the next request.
    Arena fixed = make_arena(64);
    const std::vector<char *> first = alloc_all(fixed, {64, 64, 64});
    NIncrAllocatorExpunge(fixed.get());
    EXPECT_EQ(alloc(fixed, 64), first[0]);
    char *wide = alloc(fixed, 128);
    EXPECT_EQ(blobs(fixed), 4);
    EXPECT_EQ(alloc_all(fixed, {64, 64}), (std::vector<char *>{first[1], first[2]}));
    NIncrAllocatorExpunge(fixed.get());
    EXPECT_EQ(alloc_all(fixed, {64, 128, 64, 64}),
              (std::vector<char *>{first[0], wide, first[1], first[2]}));
    alloc(fixed, 8);
    EXPECT_EQ(blobs(fixed), 5);
}

TEST(IncrAllocatorTest, RestBlobAndResize)
{
    const struct {
        uint32_t unused;
        uint32_t back;
    } cases[] = {{0, 0}, {7, 0}, {8, 8}, {13, 8}, {80, 80}, {88, 88}, {95, 88}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.unused);
        Arena arena = make_arena(100);
        char *first = alloc(arena, 16);
        uint32_t size = 0;
        char *rest = rest_blob(arena, &size);
        EXPECT_EQ(rest, first + 16);
        EXPECT_EQ(size, 88u);

        NIncrAllocatorAllocResize(arena.get(), c.unused);
        char *again = rest_blob(arena, &size);
        EXPECT_TRUE(c.back == 0 || again == rest + 88 - c.back);
        EXPECT_EQ(size, c.back > 0 ? c.back : 104u); // else a fresh blob
        EXPECT_EQ(blobs(arena), c.back > 0 ? 1 : 2);
    }
}

TEST(IncrAllocatorTest, ClearingArenaHandsOutZeroedMemory)
{
    // Each round differs from the one before, so new blobs go in between
    // retained ones and both kinds are handed out again.
    const std::vector<size_t> rounds[] = {
        {24, 64, 64, 200, 8, 8},
        {24, 128, 64, 64, 300, 8},
        std::vector<size_t>(17, 8),
    };
    Arena arena = make_arena(64, true);
    for (int pass = 0; pass < 2; ++pass) {
        for (const auto &sizes : rounds) {
            SCOPED_TRACE(::testing::PrintToString(sizes));
            for (size_t size : sizes) {
                char *piece = alloc(arena, size);
                EXPECT_TRUE(all_zero(piece, size));
                std::memset(piece, 0xA5, size);
            }
            uint32_t rest = 0;
            char *tail = rest_blob(arena, &rest);
            EXPECT_TRUE(all_zero(tail, rest));
            std::memset(tail, 0xA5, rest);
            if (&sizes == &rounds[1])
                NIncrAllocatorFlush(arena.get()); // keeps a used blob that is not the first
            else
                NIncrAllocatorExpunge(arena.get());
        }
    }

    // Bytes handed back after the rest-of-blob protocol were written to.
    uint32_t size = 0;
    char *rest = rest_blob(arena, &size);
    ASSERT_GE(size, 16u);
    std::memset(rest, 0xA5, size);
    NIncrAllocatorAllocResize(arena.get(), 16);
    EXPECT_TRUE(all_zero(alloc(arena, 16), 16));
}

TEST(IncrAllocatorTest, FlushKeepsOnlyCurrentBlob)
{
    Arena arena = make_arena(64);
    char *big = alloc_all(arena, {8, 64, 200})[2];
    NIncrAllocatorFlush(arena.get());
    EXPECT_EQ(blobs(arena), 1);
    EXPECT_EQ(NIncrAllocatorEstimateSize(arena.get()), 64u);
    uint32_t rest = 0;
    EXPECT_EQ(rest_blob(arena, &rest), big);
    EXPECT_EQ(rest, 200u);

    alloc(arena, 8);
    NIncrAllocatorExpunge(arena.get()); // the current blob is the first one again
    NIncrAllocatorFlush(arena.get());
    EXPECT_EQ(blobs(arena), 1);
    EXPECT_EQ(alloc(arena, 200), big);
}

TEST(IncrAllocatorTest, ListsInsideArena)
{
    Arena arena = make_arena(256, true);
    NList *list = NIncrListCreate(arena.get());
    ASSERT_NE(list, nullptr);
    for (int i = 0; i < 100; ++i) {
        auto *item = static_cast<int *>(NIncrListAlloc(arena.get(), 3 * sizeof(int)));
        ASSERT_NE(item, nullptr);
        EXPECT_TRUE(item[0] == 0 && item[2] == 0 && NListNext(item) == nullptr && NListPrev(item) == nullptr);
        item[0] = i;
        NListInsertAfter(list, item, NListTail(list));
    }
    EXPECT_GT(blobs(arena), 1);
    int expected = 0;
    for (void *item = NListFirst(list); item != nullptr; item = NListNext(item))
        EXPECT_EQ(static_cast<int *>(item)[0], expected++);
    EXPECT_EQ(expected, 100);
}

} // namespace
