// Growable buffer: growth and failed growth through a counting allocator, the
// length limit (on hand-set records), formatting and line reads.
#include <tarvolk/buffer.h>
#include <tarvolk/retcode.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <functional>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <unistd.h>

namespace {

// Counts, records the sizes asked for, fills new storage with 0xAA (so a
// missing terminator shows) and fails the nth allocation.
struct Counter {
    int allocs = 0, releases = 0, fail_at = 0;
    std::vector<size_t> sizes;
} counter;

void *counting_alloc(size_t size)
{
    counter.sizes.push_back(size);
    return ++counter.allocs == counter.fail_at ? nullptr : std::memset(std::malloc(size), 0xAA, size);
}

void counting_release(void *p)
{
    ++counter.releases;
    std::free(p);
}

NBuffer counted()
{
    counter = Counter{};
    NBuffer b;
    EXPECT_EQ(nb_init_with(&b, counting_alloc, counting_release), 0);
    return b;
}

std::string content(const NBuffer &b)
{
    return b.length == 0 ? std::string() : std::string(b.data, static_cast<size_t>(b.length));
}

using Op = std::function<NRC(NBuffer *)>;
Op strcat_n(size_t n) { return [n](NBuffer *b) { return nb_strcat(b, std::string(n, 'x').c_str()); }; }
Op strncat_n(size_t n) { return [n](NBuffer *b) { return nb_strncat(b, std::string(n, 'x').c_str(), n); }; }
Op append_n(size_t n) { return [n](NBuffer *b) { return nb_append(b, std::string(n, 'x').data(), n); }; }
Op strval() { return [](NBuffer *b) { return nb_strval(b) != nullptr ? 0 : ENOMEM; }; }
Op trunc_to(int32_t n) { return [n](NBuffer *b) { return nb_strtrunc(b, n); }; }
Op sprintf_n(int n) { return [n](NBuffer *b) { return nb_sprintf(b, "%*d", n, 7); }; }

TEST(BufferTest, GrowthFollowsTheCapacityMinusOneRule)
{
    // name, operations, the sizes they allocate, the length they leave
    const std::tuple<const char *, std::vector<Op>, std::vector<size_t>, int32_t> rows[] = {
        {"strval on a fresh record", {strval()}, {128}, 0},
        {"empty strcat", {strcat_n(0)}, {128}, 0},
        {"append of nothing", {append_n(0)}, {128}, 0},
        {"strtrunc to 0", {trunc_to(0)}, {128}, 0},
        {"strcat 126 fits", {strval(), strcat_n(126)}, {128}, 126},
        {"strcat to 127 doubles", {strval(), strcat_n(126), strcat_n(1)}, {128, 256}, 127},
        {"strncat 125 fits", {strval(), strncat_n(125)}, {128}, 125},
        {"strncat to 126 counts its terminator", {strcat_n(1), strncat_n(125)}, {128, 256}, 126},
        {"append 126 fits", {strval(), append_n(126)}, {128}, 126},
        {"append 127 doubles", {strval(), append_n(127)}, {128, 256}, 127},
        {"doubling short of R gives R + 1", {strval(), strcat_n(1000)}, {128, 1001}, 1000},
        {"R 300 on capacity 200", {append_n(199), append_n(101)}, {200, 400}, 300},
        {"sprintf measures first", {sprintf_n(200)}, {201}, 200},
        {"strtrunc pads", {strcat_n(3), trunc_to(300)}, {128, 301}, 300},
        {"sprintf in place to capacity - 2", {append_n(511), trunc_to(1), sprintf_n(509)}, {512}, 510},
        {"sprintf to capacity - 1 grows", {append_n(511), trunc_to(1), sprintf_n(510)}, {512, 1024}, 511},
    };
    // The last op of a row runs first with a failing allocator, if it grows: ENOMEM, the record and its bytes
    // as they were; the retry must then carry the content over.
    for (const auto &[name, ops, allocs, length] : rows) {
        SCOPED_TRACE(name);
        NBuffer b = counted();
        for (size_t k = 0; k + 1 < ops.size(); ++k)
            ASSERT_EQ(ops[k](&b), 0);
        const bool grows = static_cast<size_t>(counter.allocs) < allocs.size();
        counter.fail_at = counter.allocs + 1;
        const NBuffer before = b;
        const std::string kept = b.data == nullptr ? "" : std::string(b.data, static_cast<size_t>(b.length) + 1);
        if (grows) {
            EXPECT_EQ(ops.back()(&b), ENOMEM);
            EXPECT_EQ(std::memcmp(&b, &before, sizeof b), 0);
            EXPECT_EQ(b.data == nullptr ? "" : std::string(b.data, static_cast<size_t>(b.length) + 1), kept);
            counter.sizes.pop_back();
        }
        ASSERT_EQ(ops.back()(&b), 0);
        EXPECT_EQ(content(b).substr(0, static_cast<size_t>(before.length)), kept.substr(0, kept.size() - 1));
        EXPECT_EQ(counter.sizes, allocs);
        EXPECT_EQ(nb_strsize(&b), static_cast<int32_t>(allocs.back()));
        EXPECT_EQ(nb_strlen(&b), length);
        EXPECT_EQ(std::strlen(nb_strval(&b)), static_cast<size_t>(length));
        nb_free(&b);
        EXPECT_EQ(counter.releases, counter.allocs - grows);
    }
}

TEST(BufferTest, LengthLimit)
{
    // The allocator records the size and fails, so the fake storage is never reached.
    char storage[16] = {};
    const std::string fifteen(15, 'x');
    const std::tuple<const char *, Op, NRC> rows[] = {
        {"strcat to the limit", [&](NBuffer *b) { return nb_strcat(b, fifteen.c_str() + 1); }, ENOMEM},
        {"strcat past it", [&](NBuffer *b) { return nb_strcat(b, fifteen.c_str()); }, NRC_STRING_TOO_LONG},
        {"strncat past it", [](NBuffer *b) { return nb_strncat(b, "x", 15); }, NRC_STRING_TOO_LONG},
        {"append past it", [&](NBuffer *b) { return nb_append(b, storage, SIZE_MAX); }, NRC_STRING_TOO_LONG},
        {"sprintf to the limit", [](NBuffer *b) { return nb_sprintf(b, "%14d", 1); }, ENOMEM},
        {"sprintf past it", [](NBuffer *b) { return nb_sprintf(b, "%15d", 1); }, NRC_STRING_TOO_LONG},
        {"strtrunc past it", trunc_to(INT32_MAX), NRC_STRING_TOO_LONG},
        {"strtrunc negative", trunc_to(-1), EINVAL},
    };
    for (const auto &[name, op, rc] : rows) {
        SCOPED_TRACE(name);
        NBuffer b = counted();
        counter.fail_at = 1;
        b.data = storage;
        b.capacity = 0x7FFFFFF2;
        b.length = NB_MAX_LENGTH - 14;
        const NBuffer before = b;
        EXPECT_EQ(op(&b), rc);
        EXPECT_EQ(std::memcmp(&b, &before, sizeof b), 0);
        // Doubling stops at the largest capacity an int32_t holds.
        EXPECT_EQ(counter.sizes, std::vector<size_t>(rc == ENOMEM ? 1 : 0, 0x7FFFFFFF));
    }
}

TEST(BufferTest, FreeResetAppendsAndNullArguments)
{
    NBuffer b = counted();
    EXPECT_EQ(nb_reset(&b), 0);
    EXPECT_EQ(b.data, nullptr);
    ASSERT_EQ(nb_append(&b, "a\0b\0c", 5), 0); // zeros count, no terminator
    EXPECT_EQ(static_cast<unsigned char>(b.data[5]), 0xAA);
    EXPECT_EQ(std::strlen(nb_strval(&b)), 1u);
    ASSERT_EQ(nb_strncat(&b, "de", 4), 0); // strncpy pads with zeros
    EXPECT_EQ(content(b), std::string("a\0b\0cde\0\0", 9));
    EXPECT_EQ(b.data[9], '\0');
    ASSERT_EQ(nb_strtrunc(&b, 7), 0);
    EXPECT_EQ(content(b), std::string("a\0b\0cde", 7));
    ASSERT_EQ(nb_strtrunc(&b, 10), 0);
    EXPECT_EQ(content(b), std::string("a\0b\0cde   ", 10));
    EXPECT_EQ(b.data[10], '\0');
    EXPECT_EQ(nb_reset(&b), 0);
    EXPECT_EQ(std::string(b.data, 128), std::string(128, '\0'));
    EXPECT_EQ(nb_free(&b), 0);
    EXPECT_EQ(nb_free(&b), 0);
    EXPECT_EQ(counter.releases, 1);
    ASSERT_EQ(nb_strcat(&b, "again"), 0); // the pair survives
    EXPECT_EQ(counter.allocs, 2);
    nb_free(&b);

    EXPECT_EQ(nb_init_with(&b, nullptr, counting_release), EINVAL);
    EXPECT_EQ(nb_strcat(&b, "x"), ENOMEM);
    for (const NRC rc : {nb_init(nullptr), nb_free(nullptr), nb_reset(nullptr), nb_strcat(nullptr, "x"),
                         nb_strcat(&b, nullptr), nb_append(nullptr, "x", 1), nb_sprintf(nullptr, "x"),
                         nb_fgets(nullptr, stdin), nb_reads(nullptr, 0)})
        EXPECT_EQ(rc, EINVAL);
    EXPECT_TRUE(nb_strval(nullptr) == nullptr && nb_strsize(nullptr) == 0 && nb_strlen(nullptr) == 0);
}

TEST(BufferTest, Sprintf)
{
    NBuffer b;
    nb_init(&b);
    // Past the scratch size (formatted twice from one argument list), far past it, then in place.
    const std::string v(300, 'v'), big(3 << 20, 'b');
    ASSERT_EQ(nb_sprintf(&b, "%s=%d;%s", "key", 42, v.c_str()), 0);
    ASSERT_EQ(nb_sprintf(&b, "[%s|%d]", big.c_str(), -1), 0);
    ASSERT_EQ(nb_sprintf(&b, "%s.", "in place"), 0);
    const std::string expected = "key=42;" + v + "[" + big + "|-1]in place.";
    EXPECT_EQ(nb_strlen(&b), static_cast<int32_t>(expected.size()));
    EXPECT_TRUE(std::string(b.data) == expected);

    std::setlocale(LC_CTYPE, "C"); // no multibyte form for this wide character
    const NBuffer before = b;
    EXPECT_EQ(nb_sprintf(&b, "x%lc", static_cast<wint_t>(0x7FFFFFFF)), EILSEQ);
    EXPECT_EQ(std::memcmp(&b, &before, sizeof b), 0);
    EXPECT_EQ(b.data[b.length], '\0');
    nb_free(&b);

    ASSERT_EQ(nb_sprintf(&b, "ab%cde", 0), 0); // a zero %c ends the text that counts
    ASSERT_EQ(nb_sprintf(&b, "xy"), 0);
    EXPECT_EQ(nb_strlen(&b), 4);
    EXPECT_STREQ(b.data, "abxy");
    nb_free(&b);
}

TEST(BufferTest, ThreadsFormatIntoTheirOwnBuffers)
{
    std::vector<int> ok(4, 0);
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([t, &ok] {
                NBuffer b;
                nb_init(&b);
                std::string expected;
                for (int k = 0; k < 2000; ++k) {
                    nb_sprintf(&b, "%d:%d;", k, t);
                    expected += std::to_string(k) + ":" + std::to_string(t) + ";";
                }
                ok[static_cast<size_t>(t)] = expected == nb_strval(&b);
                nb_free(&b);
            });
    }
    EXPECT_EQ(ok, std::vector<int>(4, 1));
}

int pipe_with(const std::string &input)
{
    int fds[2];
    EXPECT_EQ(pipe(fds), 0);
    EXPECT_EQ(write(fds[1], input.data(), input.size()), static_cast<ssize_t>(input.size()));
    close(fds[1]);
    return fds[0];
}

TEST(BufferTest, LineReads)
{
    for (const bool stdio : {true, false}) {
        SCOPED_TRACE(stdio ? "fgets" : "reads");
        for (const std::string input : {"one\n\nlast", ""}) { // empty: the end of input finds a fresh record
            const int fd = pipe_with(input);
            FILE *stream = stdio ? fdopen(fd, "r") : nullptr;
            NBuffer b;
            nb_init(&b);
            ASSERT_EQ(input.empty() ? 0 : nb_strcat(&b, ">"), 0); // lines are appended, not stored over
            std::vector<std::string> lines;
            for (int k = 0; k < 4; ++k) {
                EXPECT_EQ(stdio ? nb_fgets(&b, stream) : nb_reads(&b, fd), 0);
                EXPECT_EQ(std::strlen(b.data), static_cast<size_t>(b.length));
                lines.push_back(content(b));
                nb_reset(&b);
            }
            using Lines = std::vector<std::string>;
            EXPECT_EQ(lines, input.empty() ? Lines(4) : (Lines{">one\n", "\n", "last", ""}));
            EXPECT_EQ(b.capacity, 128);
            stdio ? std::fclose(stream) : close(fd);
            nb_free(&b);
        }
    }

    // Failed reads; the successive lines above show that nb_reads takes nothing behind a newline.
    NBuffer b;
    nb_init(&b);
    EXPECT_EQ(nb_reads(&b, -1), EBADF);
    EXPECT_EQ(nb_strval(&b), std::string());
    FILE *directory = std::fopen(".", "r"); // opens, but can't be read
    ASSERT_NE(directory, nullptr);
    EXPECT_EQ(nb_fgets(&b, directory), EISDIR);
    std::fclose(directory);
    nb_free(&b);
}

} // namespace
