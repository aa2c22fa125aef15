// The time wrappers and their text forms (the test main fixes TZ=UTC).
#include <tarvolk/time.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

namespace {

constexpr char kCanary = '#';

// Runs fill on a canary-filled buffer of `size' bytes while the present
// second may change: the text must be what expect gives for the time before
// or after, and the byte behind the buffer stays untouched.
template <typename Fill, typename Expect>
void expect_present_text(size_t size, Fill fill, Expect expect)
{
    char buffer[64];
    std::memset(buffer, kCanary, sizeof buffer);
    const std::string before = expect(time(nullptr));
    EXPECT_EQ(buffer, fill(buffer, size));
    const std::string after = expect(time(nullptr));
    EXPECT_TRUE(before == buffer || after == buffer) << buffer;
    EXPECT_EQ(kCanary, buffer[size]);
}

std::string ctimex(time_t when)
{
    char line[N_CTIME_BUFFER_SIZE];
    return n_ctimex(&when, line);
}

TEST(TimeTextTest, CtimeAndCtimexOfKnownTimes)
{
    const struct {
        time_t when;
        const char *text; // n_ctime's; n_ctimex's is the same without the line feed
    } cases[] = {
        {0, "Thu Jan  1 00:00:00 1970\n"},
        {INT64_C(2147483648), "Tue Jan 19 03:14:08 2038\n"},
        {INT64_C(2147484648), "Tue Jan 19 03:30:48 2038\n"},
        {INT64_C(4107542399), "Sun Feb 28 23:59:59 2100\n"},
        {INT64_C(253402300800), "Sat Jan  1 00:00:00 10000\n"},
        // The last second a struct tm holds: a ten-digit year fills 32 bytes.
        {INT64_C(67768036191676799), "Wed Dec 31 23:59:59 2147485547\n"},
        {INT64_C(67768036191676800), "Invalid time: 67768036191676800"},
        {-1, "Invalid time: -1"},
        {INT64_MIN, "Invalid time: -9223372036854775"}, // cut to 32 bytes
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        std::string line = c.text;
        for (auto *convert : {n_ctime, n_ctimex}) {
            char buffer[N_CTIME_BUFFER_SIZE + 8];
            std::memset(buffer, kCanary, sizeof buffer);
            EXPECT_EQ(buffer, convert(&c.when, buffer));
            EXPECT_EQ(line, buffer);
            EXPECT_EQ(std::string(8, kCanary), std::string(buffer + N_CTIME_BUFFER_SIZE, 8));
            if (line.back() == '\n')
                line.pop_back();
        }
    }
}

TEST(TimeTextTest, PresentTimeTexts)
{
    expect_present_text(N_CTIME_BUFFER_SIZE, [](char *b, size_t) { return n_timestring(b); },
                        ctimex);
    // The ISO text needs 20 bytes; below, the seconds, whose leading digits
    // are all that ten bytes hold.
    for (const size_t size : {size_t{12}, size_t{10}}) {
        SCOPED_TRACE(size);
        expect_present_text(size, n_ISOtimestring, [size](time_t now) {
            return std::to_string(now).substr(0, size - 1);
        });
    }
    char iso[64];
    ASSERT_EQ(19u, std::strlen(n_ISOtimestring(iso, sizeof iso)));
    EXPECT_EQ('T', iso[10]);

    // "%x %X" is 17 characters here; smaller buffers get the leading bytes
    // of the ctime line.
    char local[64];
    EXPECT_EQ(17u, std::strlen(n_localtimestring(local, sizeof local))) << local;
    for (const size_t size : {size_t{1}, size_t{8}, size_t{17}}) {
        SCOPED_TRACE(size);
        expect_present_text(size, n_localtimestring,
                            [size](time_t now) { return ctimex(now).substr(0, size - 1); });
    }
}

TEST(TimeWrapperTest, LocaltimeAndMktimeRoundTripPast2038)
{
    const std::pair<time_t, int> cases[] = {{0, 70}, {INT64_C(2147484648), 138}}; // tm_year
    for (auto [when, year] : cases) {
        struct tm fields;
        ASSERT_EQ(&fields, n_localtime(&when, &fields));
        EXPECT_EQ(year, fields.tm_year);
        EXPECT_EQ(when, n_mktime(&fields));
    }
}

TEST(TimeWrapperTest, BusyThreadClockMovesForward)
{
    struct timeval first, second;
    ASSERT_EQ(0, n_getthreadcputime(&first));
    do
        ASSERT_EQ(0, n_getthreadcputime(&second));
    while (second.tv_sec == first.tv_sec && second.tv_usec == first.tv_usec);
    EXPECT_GT(second.tv_sec * 1000000LL + second.tv_usec, first.tv_sec * 1000000LL + first.tv_usec);
    EXPECT_LT(second.tv_usec, 1000000);
}

TEST(TimeWrapperTest, NullArgumentsAreRefused)
{
    const time_t zero = 0;
    struct tm fields;
    char buffer[N_CTIME_BUFFER_SIZE] = "x";
    EXPECT_EQ(EINVAL, n_gettimeofday(nullptr));
    EXPECT_EQ(EINVAL, n_getthreadcputime(nullptr));
    EXPECT_EQ(nullptr, n_localtime(&zero, nullptr));
    EXPECT_EQ(nullptr, n_localtime(nullptr, &fields));
    EXPECT_EQ(-1, n_mktime(nullptr));
    EXPECT_EQ(nullptr, n_ctime(&zero, nullptr));
    EXPECT_EQ(nullptr, n_ctimex(nullptr, buffer));
    EXPECT_STREQ("", buffer);
    EXPECT_EQ(nullptr, n_ISOtimestring(buffer, 0));
    EXPECT_EQ(nullptr, n_localtimestring(nullptr, 64));
}

} // namespace
