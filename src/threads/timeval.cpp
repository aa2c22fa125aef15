// Arithmetic on timeval pairs.
//
// Seconds are added and subtracted modulo 2^64 and spans in microseconds are
// taken modulo 2^32, both through unsigned arithmetic, so that an overflow
// wraps the way the fixed-width numbers of the interface say instead of
// being undefined.
#include <tarvolk/timeval.h>

#include <cstdint>

namespace {

constexpr int64_t kMicrosPerSecond = 1000000;

time_t add_seconds(time_t a, time_t b)
{
    return static_cast<time_t>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
}

time_t subtract_seconds(time_t a, time_t b)
{
    return static_cast<time_t>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b));
}

// seconds * 1000000 + micros, modulo 2^32, as a signed 32-bit number.
int32_t span32(uint64_t seconds, uint64_t micros)
{
    return static_cast<int32_t>(
        static_cast<uint32_t>(seconds * static_cast<uint64_t>(kMicrosPerSecond) + micros));
}

// a + a span in microseconds of either sign. The span is split with the
// remainder in 0..999999 (floor division), so that one carry keeps the
// microseconds of a normalised a within range whatever the sign.
void add_span(struct timeval *a, int64_t micros)
{
    int64_t seconds = micros / kMicrosPerSecond;
    int64_t rest = micros % kMicrosPerSecond;
    if (rest < 0) {
        rest += kMicrosPerSecond;
        --seconds;
    }
    const struct timeval span = {static_cast<time_t>(seconds), static_cast<suseconds_t>(rest)};
    NTimevalAdd(a, &span);
}

} // namespace

extern "C" {

void NTimevalAdd(struct timeval *a, const struct timeval *b)
{
    if (a == nullptr || b == nullptr)
        return;
    a->tv_sec = add_seconds(a->tv_sec, b->tv_sec);
    a->tv_usec += b->tv_usec;
    if (a->tv_usec >= kMicrosPerSecond) {
        a->tv_sec = add_seconds(a->tv_sec, 1);
        a->tv_usec -= kMicrosPerSecond;
    }
}

void NTimevalSubtract(struct timeval *a, const struct timeval *b)
{
    if (a == nullptr || b == nullptr)
        return;
    a->tv_sec = subtract_seconds(a->tv_sec, b->tv_sec);
    a->tv_usec -= b->tv_usec;
    if (a->tv_usec < 0) {
        a->tv_sec = subtract_seconds(a->tv_sec, 1);
        a->tv_usec += kMicrosPerSecond;
    }
}

int32_t NTimevalToMicroseconds(const struct timeval *a)
{
    if (a == nullptr)
        return 0;
    return span32(static_cast<uint64_t>(a->tv_sec), static_cast<uint64_t>(a->tv_usec));
}

// C division: a negative span gives negative seconds and negative (or zero)
// microseconds, -1500000 giving -1 s and -500000 us.
void NTimevalFromMicroseconds(struct timeval *a, int32_t microseconds)
{
    if (a == nullptr)
        return;
    a->tv_sec = static_cast<time_t>(microseconds / kMicrosPerSecond);
    a->tv_usec = static_cast<suseconds_t>(microseconds % kMicrosPerSecond);
}

int32_t NTimevalDifference(const struct timeval *a, const struct timeval *b)
{
    if (a == nullptr || b == nullptr)
        return 0;
    return span32(static_cast<uint64_t>(b->tv_sec) - static_cast<uint64_t>(a->tv_sec),
                  static_cast<uint64_t>(b->tv_usec) - static_cast<uint64_t>(a->tv_usec));
}

void NTimevalIncrement(struct timeval *a, int32_t microseconds)
{
    if (a != nullptr)
        add_span(a, microseconds);
}

void NTimevalDecrement(struct timeval *a, int32_t microseconds)
{
    if (a != nullptr)
        add_span(a, -static_cast<int64_t>(microseconds));
}

} // extern "C"
