// Arithmetic on timeval pairs.
#include <tarvolk/timeval.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>

namespace {

using Pair = std::pair<long long, long long>; // seconds, microseconds

struct timeval tv(Pair p)
{
    return {static_cast<time_t>(p.first), static_cast<suseconds_t>(p.second)};
}

Pair pair(const struct timeval &t)
{
    return {t.tv_sec, t.tv_usec};
}

TEST(TimevalTest, AddAndSubtractCarryAndBorrowOnce)
{
    const struct {
        Pair a, b, sum, difference; // difference: a - b
    } cases[] = {
        {{1, 600000}, {0, 500000}, {2, 100000}, {1, 100000}},
        {{2, 100000}, {0, 500000}, {2, 600000}, {1, 600000}},
        {{0, 999999}, {0, 1}, {1, 0}, {0, 999998}},
        {{5, 0}, {7, 1}, {12, 1}, {-3, 999999}},
    };
    for (const auto &c : cases) {
        struct timeval a = tv(c.a);
        const struct timeval b = tv(c.b);
        NTimevalAdd(&a, &b);
        EXPECT_EQ(c.sum, pair(a));
        a = tv(c.a);
        NTimevalSubtract(&a, &b);
        EXPECT_EQ(c.difference, pair(a));
    }
}

TEST(TimevalTest, MicrosecondSpansAreSigned32Bit)
{
    const struct {
        Pair span;
        int32_t micros;
    } cases[] = {
        {{2, 500000}, 2500000},
        {{2147, 483647}, INT32_MAX},
        {{2147, 483648}, INT32_MIN}, // just past 35 minutes
        {{4294, 967296}, 0},         // 2^32
    };
    const struct timeval zero = tv({100, 900000});
    for (const auto &c : cases) {
        const struct timeval span = tv(c.span);
        EXPECT_EQ(c.micros, NTimevalToMicroseconds(&span));
        // The same span between two times, both ways round.
        struct timeval later = zero;
        NTimevalAdd(&later, &span);
        EXPECT_EQ(c.micros, NTimevalDifference(&zero, &later));
        EXPECT_EQ(static_cast<int32_t>(0u - static_cast<uint32_t>(c.micros)),
                  NTimevalDifference(&later, &zero));
    }
}

TEST(TimevalTest, FromIncrementAndDecrement)
{
    const struct {
        int32_t micros;
        Pair from;        // truncating, as C division
        Pair plus, minus; // {10, 600000} + and - micros
    } cases[] = {
        {2500000, {2, 500000}, {13, 100000}, {8, 100000}},
        {-1500000, {-1, -500000}, {9, 100000}, {12, 100000}},
        {INT32_MIN, {-2147, -483648}, {-2137, 116352}, {2158, 83648}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.micros);
        struct timeval t = tv({9, 9});
        NTimevalFromMicroseconds(&t, c.micros);
        EXPECT_EQ(c.from, pair(t));
        t = tv({10, 600000});
        NTimevalIncrement(&t, c.micros);
        EXPECT_EQ(c.plus, pair(t));
        t = tv({10, 600000});
        NTimevalDecrement(&t, c.micros);
        EXPECT_EQ(c.minus, pair(t));
    }
}

} // namespace
