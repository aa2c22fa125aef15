// Re-entrant wrappers of the system's time calls and their fixed text forms.
#include <tarvolk/time.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <ctime>

#include <sys/time.h>
#include <time.h>

namespace {

// The line of ctime, "Www Mmm dd hh:mm:ss yyyy\n", is 24 characters and the
// line feed for a four-digit year.
constexpr size_t kCtimeLineLength = 24;

// Wide characters that the narrow-buffer fallback of n_localtimestring
// converts at most.
constexpr size_t kMaxWideChars = 127;

constexpr const char kWeekdays[7][4] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr const char kMonths[12][4] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

void invalid_time(time_t when, char *buffer)
{
    std::snprintf(buffer, N_CTIME_BUFFER_SIZE, "Invalid time: %lld", static_cast<long long>(when));
}

// Writes the ctime line of `when' into a buffer of N_CTIME_BUFFER_SIZE bytes.
// The line is the one ctime_r gives (fixed English names, whatever the
// locale), formatted here with a bound: ctime_r itself writes without one,
// and with a 64-bit time_t the year can have up to ten digits. Every time
// that localtime_r can break down fits: 20 + 10 + line feed + NUL = 32.
// Times before the epoch and times whose year does not fit a struct tm get
// the "Invalid time" text.
void ctime_line(time_t when, char *buffer)
{
    struct tm fields;
    if (when < 0 || localtime_r(&when, &fields) == nullptr || fields.tm_wday < 0 ||
        fields.tm_wday > 6 || fields.tm_mon < 0 || fields.tm_mon > 11) {
        invalid_time(when, buffer);
        return;
    }
    // The year in 64 bits: tm_year + 1900 can pass INT_MAX.
    const int length = std::snprintf(
        buffer, N_CTIME_BUFFER_SIZE, "%.3s %.3s%3d %.2d:%.2d:%.2d %lld\n", kWeekdays[fields.tm_wday],
        kMonths[fields.tm_mon], fields.tm_mday, fields.tm_hour, fields.tm_min, fields.tm_sec,
        static_cast<long long>(fields.tm_year) + 1900);
    // Out-of-range fields of a broken C library would not leave a cut line.
    if (length < 0 || length >= N_CTIME_BUFFER_SIZE)
        invalid_time(when, buffer);
}

} // namespace

extern "C" {

NRC n_gettimeofday(struct timeval *now)
{
    if (now == nullptr)
        return EINVAL;
    if (gettimeofday(now, nullptr) != 0)
        return errno;
    return 0;
}

// The thread's processor clock through clock_gettime, which the C library
// serves from the kernel's clock 3 (CLOCK_THREAD_CPUTIME_ID): the same
// reading as the raw system call.
NRC n_getthreadcputime(struct timeval *spent)
{
    if (spent == nullptr)
        return EINVAL;
    struct timespec now;
    if (clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now) != 0)
        return errno;
    spent->tv_sec = now.tv_sec;
    spent->tv_usec = static_cast<suseconds_t>(now.tv_nsec / 1000);
    return 0;
}

time_t NGetCurrentTime(time_t *now)
{
    return time(now);
}

time_t NGetCurrentUTC(time_t *now)
{
    return time(now);
}

struct tm *n_localtime(const time_t *when, struct tm *result)
{
    if (when == nullptr || result == nullptr)
        return nullptr;
    return localtime_r(when, result);
}

time_t n_mktime(struct tm *fields)
{
    if (fields == nullptr)
        return static_cast<time_t>(-1);
    return mktime(fields);
}

time_t n_mktime_t(struct tm *fields)
{
    return n_mktime(fields);
}

char *n_ctime(const time_t *when, char *buffer)
{
    if (buffer == nullptr)
        return nullptr;
    if (when == nullptr) {
        buffer[0] = '\0';
        return nullptr;
    }
    ctime_line(*when, buffer);
    return buffer;
}

// Without the line feed: the first 24 characters for a four-digit year. A
// longer year stays whole rather than being cut, and so does the "Invalid
// time" text, whose number would be wrong if cut.
char *n_ctimex(const time_t *when, char *buffer)
{
    if (n_ctime(when, buffer) == nullptr)
        return nullptr;
    const size_t length = std::strlen(buffer);
    if (length >= kCtimeLineLength && buffer[length - 1] == '\n')
        buffer[length - 1] = '\0';
    return buffer;
}

char *n_timestring(char *buffer)
{
    const time_t now = time(nullptr);
    return n_ctimex(&now, buffer);
}

// The seconds fallback is bounded by the size too: a buffer too small even
// for them holds their leading digits.
char *n_ISOtimestring(char *buffer, size_t size)
{
    if (buffer == nullptr || size == 0)
        return nullptr;
    const time_t now = time(nullptr);
    struct tm fields;
    if (localtime_r(&now, &fields) != nullptr &&
        strftime(buffer, size, "%Y-%m-%dT%H:%M:%S", &fields) != 0)
        return buffer;
    std::snprintf(buffer, size, "%lld", static_cast<long long>(now));
    return buffer;
}

char *n_localtimestring(char *buffer, size_t size)
{
    if (buffer == nullptr || size == 0)
        return nullptr;
    const time_t now = time(nullptr);
    struct tm fields;
    // The locale's own date and time forms, two-digit year included: that is
    // the point of this text.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-y2k"
    if (localtime_r(&now, &fields) != nullptr && strftime(buffer, size, "%x %X", &fields) != 0)
        return buffer;
#pragma GCC diagnostic pop
    if (size >= N_CTIME_BUFFER_SIZE) {
        n_ctimex(&now, buffer);
        return buffer;
    }
    // A small buffer gets as many whole characters of the ctime line as fit
    // in size - 1 bytes: through wide characters, so that a multibyte
    // character is never split.
    char line[N_CTIME_BUFFER_SIZE];
    n_ctimex(&now, line);
    wchar_t wide[kMaxWideChars + 1];
    size_t written = static_cast<size_t>(-1);
    const size_t converted = std::mbstowcs(wide, line, kMaxWideChars);
    if (converted != static_cast<size_t>(-1)) {
        wide[converted < kMaxWideChars ? converted : kMaxWideChars] = L'\0';
        written = std::wcstombs(buffer, wide, size - 1);
    }
    if (written == static_cast<size_t>(-1)) {
        written = strnlen(line, size - 1);
        std::memcpy(buffer, line, written);
    }
    // wcstombs leaves the bytes after a character that didn't fit as they
    // were: the text ends where it stopped.
    buffer[written] = '\0';
    buffer[size - 1] = '\0';
    return buffer;
}

} // extern "C"
