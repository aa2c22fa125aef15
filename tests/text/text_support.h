// Helpers of the text tests: switching the process between locales of
// several code sets, collecting what the library logs, and building UTF-16
// and byte strings for comparisons.
#pragma once

#include <tarvolk/log.h>
#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>
#include <tarvolk/shlib.h>
#include <tarvolk/wstring.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include <iconv.h>

namespace text_test {

// A locale of the given code set, compiled for the tests.
struct Locale {
    const char *name;   // the locale's name in the private directory
    const char *iconv;  // the code set's name for iconv
    const char *icu;    // the code set's name for ICU
};

inline constexpr Locale utf8{"en_US.UTF-8", "UTF-8", "UTF-8"};
inline constexpr Locale latin1{"en_US.ISO-8859-1", "ISO-8859-1", "ISO-8859-1"};
inline constexpr Locale eucjp{"ja_JP.EUC-JP", "EUC-JP", "EUC-JP"};
inline constexpr Locale sjis{"ja_JP.SJIS", "SHIFT_JIS", "Shift_JIS"};

// Puts the process into the locale and drops the thread's converter, so
// that the next text operation opens the locale's. False if the locale
// could not be compiled on this machine.
inline bool enter(const Locale &locale)
{
    setenv("LOCPATH", TVK_TEST_LOCALES, 1);
    NUStringThrSpecificDataFree();
    return std::setlocale(LC_ALL, locale.name) != nullptr;
}

#define TEXT_TEST_ENTER(locale)                                                                  \
    do {                                                                                         \
        if (!::text_test::enter(locale))                                                         \
            GTEST_SKIP() << "locale " << (locale).name << " could not be compiled";            \
    } while (0)

// One message of the text layer as the log received it.
struct Logged {
    NLogLevel level;
    int32_t set;
    int32_t number;
    std::string text;
    bool operator==(const Logged &) const = default;
};

inline std::mutex logged_lock;
inline std::vector<Logged> logged;

inline NRC capture_format(NLogFile *, NLogLevel level, NI18nCatalog, int32_t set, int32_t number,
                          const char *text, char **line)
{
    {
        std::lock_guard<std::mutex> guard(logged_lock);
        // The text arrives behind its identification, "W-TVK-102-003: ".
        const char *colon = std::strstr(text, ": ");
        const bool identified = colon != nullptr && text[1] == '-' && colon - text < 24;
        logged.push_back({level, set, number, identified ? colon + 2 : text});
    }
    *line = n_strdup("");
    return *line != nullptr ? 0 : 12;
}

// Starts the library with a log whose messages are collected.
inline void capture_log()
{
    ASSERT_EQ(0, NInitialise("text_test", "stderr"));
    ASSERT_EQ(0, NLogModuleOverrideMsgFormat(capture_format));
}

// The messages collected since the last call, which forgets them.
inline std::vector<Logged> take_logged()
{
    std::lock_guard<std::mutex> guard(logged_lock);
    std::vector<Logged> out;
    out.swap(logged);
    return out;
}

// ---- strings ----

inline std::u16string u16(const NUChar *text)
{
    return text != nullptr ? std::u16string(text) : std::u16string(u"(null)");
}

// Converts bytes between code sets with iconv; "" and a failed check when
// iconv refuses.
inline std::string iconv_convert(const std::string &text, const char *from, const char *to)
{
    iconv_t cd = iconv_open(to, from);
    if (cd == reinterpret_cast<iconv_t>(-1)) {
        ADD_FAILURE() << "iconv can't convert " << from << " to " << to;
        return {};
    }
    std::string out(text.size() * 4 + 8, '\0');
    char *in = const_cast<char *>(text.data());
    size_t in_left = text.size();
    char *target = out.data();
    size_t out_left = out.size();
    if (iconv(cd, &in, &in_left, &target, &out_left) == static_cast<size_t>(-1))
        ADD_FAILURE() << "iconv refused " << from << " to " << to << ": errno " << errno;
    iconv_close(cd);
    out.resize(out.size() - out_left);
    return out;
}

// UTF-8 text in another code set.
inline std::string encode(const std::string &utf8_text, const Locale &locale)
{
    return iconv_convert(utf8_text, "UTF-8", locale.iconv);
}

inline std::u16string utf16_of(const std::string &utf8_text)
{
    const std::string bytes = iconv_convert(utf8_text, "UTF-8", "UTF-16LE");
    std::u16string out(bytes.size() / 2, u'\0');
    std::memcpy(out.data(), bytes.data(), out.size() * 2);
    return out;
}

} // namespace text_test
