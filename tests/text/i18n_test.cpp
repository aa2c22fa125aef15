// The internationalisation frame: initialisation, the encoding, locales,
// catalogs, messages, the file/search wrappers, the environment accessors.
#include <tarvolk/i18n.h>
#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>
#include <tarvolk/wstring.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "support/test_support.h"
#include "text/i18n.h"
#include "text/wstring.h"

namespace {

std::string failed(NRC rc) { return "rc " + std::to_string(rc); }

// The code of the catalog `name' as NI18nMessageGet reports it, or "rc N"
// if it can't be opened (the result pointer must be cleared then).
std::string catalog_code(const char *name, bool global_locale = false)
{
    NI18nLocale locale = nullptr;
    EXPECT_EQ(NI18nLocaleCreate(nullptr, nullptr, nullptr, nullptr, &locale), 0);
    auto catalog = reinterpret_cast<NI18nCatalog>(&locale);
    const NRC rc = NI18nCatalogOpen(global_locale ? nullptr : locale, name, &catalog);
    char code[8] = {};
    if (rc == 0)
        EXPECT_EQ(NI18nMessageGet(catalog, NI18N_SET_CATALOG_CODE, 1, "UNK", code, sizeof code), 0);
    else
        EXPECT_EQ(catalog, nullptr);
    NI18nCatalogClose(rc == 0 ? catalog : nullptr);
    NI18nLocaleDestroy(locale);
    return rc == 0 ? std::string(code) : failed(rc);
}

// In a process that has not touched the library yet. The first encoding name that fits wins for good.
TEST(I18nFrameTest, CatalogsNeedInitializeWhichMakesItsKeysOnceAndTheEncodingIsSetOnce)
{
    TVK_IN_FRESH_PROCESS({
        const auto keys = [] {
            return std::vector<NThreadDataKey>{tvk::converter_key(), tvk::date_key, tvk::cal_key, tvk::format_key};
        };
        EXPECT_EQ(catalog_code("libtarvolk"), failed(NRC_FAILURE));
        EXPECT_EQ(keys(), std::vector<NThreadDataKey>(4));
        ASSERT_EQ(NI18nInitialize(), 0);
        const std::vector<NThreadDataKey> made = keys();
        EXPECT_EQ(std::set<NThreadDataKey>(made.begin(), made.end()).size(), 4U);
        EXPECT_EQ(std::count(made.begin(), made.end(), nullptr), 0);
        EXPECT_EQ(NI18nInitialize(), 0);
        EXPECT_EQ(keys(), made); // no new keys
        EXPECT_EQ(NI18nShutdown(), 0);
        EXPECT_EQ(catalog_code("libtarvolk"), "TVK");

        // name, then the code page (encoding mode on if not empty)
        const std::string too_long(N_CODE_PAGE_SIZE, 'x'), longest(N_CODE_PAGE_SIZE - 1, 'y');
        const char *const page = longest.c_str();
        for (const auto &[name, now] : {std::pair<const char *, const char *>{nullptr, ""}, {too_long.c_str(), ""},
                                        {page, page}, {"UTF-8", page}, {nullptr, page}}) {
            EXPECT_EQ(NI18nSetEncoding(name), 0);
            EXPECT_EQ(n_utf8_enabled, *now != '\0');
            EXPECT_STREQ(n_code_page, now);
        }
    });
}

TEST(I18nCatalogTest, CodeComesFromTheTableOrTheNameAndArgumentsAreChecked)
{
    ASSERT_EQ(NI18nInitialize(), 0);
    const std::pair<const char *, std::string> cases[] = {
        // In the table, whatever the name looks like (libnregexp is near its end).
        {"libtarvolk", "TVK"}, {"libtarvolk_r", "TVK"}, {"tvk_gateway", "GWY"}, {"libnsock", "NSK"},
        {"tvp_ui", "UI"}, {"ipv6_r", "IP6"}, {"zimbrel_probe", "ZPB"}, {"libnregexp", "RGX"},
        // Derived from the name.
        {"tvk_event", "EVE"}, {"tvk_gateway2", "GAT"}, {"libtarvolk_rx", "LIB"},
        {"abc", "ABC"}, {"abcdef", "ABC"}, {"ab", "AB"}, {"a", "A"}, {"", ""},
        {"tvk_", ""}, {"libn", ""}, {"libnfoo", "FOO"}, {"tvp_x", "X"}, {"tvk_a1-b", "A1-"},
        {"tvk_tvp_abc", "TVP"}, {"TVK_abc", "TVK"}, {"xtvk_abc", "XTV"},
        {nullptr, failed(NRC_FAILURE)},
    };
    for (const auto &[name, code] : cases)
        EXPECT_EQ(catalog_code(name), code) << "name: '" << (name != nullptr ? name : "(null)") << "'";
    EXPECT_EQ(catalog_code("libtarvolk", true), failed(NRC_I18N_GLOBAL_LOCALE));

    NI18nLocale locale = nullptr, other = nullptr;
    ASSERT_EQ(NI18nLocaleCreate(nullptr, nullptr, nullptr, nullptr, &locale), 0);
    ASSERT_EQ(NI18nLocaleCreate("de", "DE", "x", "k=v", &other), 0);
    EXPECT_TRUE(locale != nullptr && other != nullptr && locale != other);
    EXPECT_EQ(NI18nCatalogOpen(locale, "libtarvolk", nullptr), NRC_FAILURE);
    EXPECT_EQ(NI18nLocaleDestroy(other), 0);
    EXPECT_EQ(NI18nLocaleDestroy(locale), 0);
}

TEST(I18nCatalogTest, MessageIsTheCodeOrTheDefaultCutToTheBuffer)
{
    ASSERT_EQ(NI18nInitialize(), 0);
    NI18nLocale locale = nullptr;
    NI18nCatalog catalog = nullptr;
    ASSERT_EQ(NI18nLocaleCreate(nullptr, nullptr, nullptr, nullptr, &locale), 0);
    ASSERT_EQ(NI18nCatalogOpen(locale, "libtarvolk", &catalog), 0);
    // catalog, set, number, default text, buffer size, message
    const std::tuple<NI18nCatalog, int32_t, int32_t, const char *, size_t, const char *> cases[] = {
        {catalog, 100, 1, "UNK", 8, "TVK"},         {nullptr, 100, 1, "UNK", 8, "UNK"},
        {catalog, 100, 2, "default", 8, "default"}, {catalog, 101, 1, "default", 8, "default"},
        {catalog, 1, 100, "default", 8, "default"}, {catalog, 4, 9, "0123456789", 4, "012"},
        {catalog, 100, 1, "UNK", 3, "TV"},          {catalog, 100, 1, "UNK", 1, ""},
        {catalog, 4, 9, "", 4, ""},
    };
    for (const auto &[from, set, number, default_text, size, expected] : cases) {
        char buffer[16];
        std::memset(buffer, '#', sizeof buffer);
        EXPECT_EQ(NI18nMessageGet(from, set, number, default_text, buffer, size), 0);
        EXPECT_STREQ(buffer, expected) << set << "/" << number << " size " << size;
        EXPECT_EQ(std::string(buffer + size, sizeof buffer - size), std::string(sizeof buffer - size, '#'));
    }
    char untouched[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(NI18nMessageGet(catalog, 4, 9, "text", untouched, 0), NRC_FAILURE);
    EXPECT_EQ(std::string(untouched, 4), "####");
    EXPECT_EQ(NI18nMessageGet(catalog, 4, 9, "text", nullptr, 8), NRC_FAILURE);
    NI18nCatalogClose(catalog);
    NI18nLocaleDestroy(locale);
}

TEST(I18nFileTest, WrappersPassThrough)
{
    // A byte order mark is handed through like any other bytes.
    tvk_test::TempDir dir;
    const std::string text = "\xEF\xBB\xBF" "abc";
    tvk_test::write_file(dir.file("marked"), text);
    for (const auto open_file : {NI18nOpen, NI18nOpenKeepBOM}) {
        const int fd = open_file(dir.file("marked").c_str(), O_RDONLY, 0);
        char buffer[16] = {};
        EXPECT_EQ(read(fd, buffer, sizeof buffer), static_cast<ssize_t>(text.size()));
        EXPECT_EQ(std::string(buffer), text);
        close(fd);
    }
    EXPECT_EQ(NI18nBOMCount(), 0);

    const char *hello = "hello world";
    char *found = nullptr, *missing = reinterpret_cast<char *>(&dir);
    EXPECT_EQ(NI18nStrstr(nullptr, hello, "world", &found) | NI18nStrstr(nullptr, hello, "planet", &missing), 0);
    EXPECT_TRUE(found == hello + 6 && missing == nullptr);

    char *name = nullptr;
    ASSERT_EQ(NI18nTempnam(&name), 0);
    ASSERT_NE(name, nullptr);
    const char *base = std::strrchr(name, '/');
    EXPECT_EQ(std::strncmp(base != nullptr ? base + 1 : name, "tarv", 4), 0) << name;
    EXPECT_NE(access(name, F_OK), 0) << name;
    n_free(name);
}

TEST(EnvTest, GetPutAndSet)
{
    // NI18nPutenv doesn't copy the entry: a change to it shows in the environment.
    static char entry[] = "TVK_ENV_PUT=one";
    ASSERT_EQ(NI18nPutenv(entry), 0);
    char *value = NI18nGetenv("TVK_ENV_PUT");
    EXPECT_EQ(value, entry + std::strlen("TVK_ENV_PUT="));
    std::memcpy(value, "two", 3);
    EXPECT_EQ(NEnvGet("TVK_ENV_PUT"), value);
    EXPECT_EQ(NEnvIsSet("TVK_ENV_PUT"), 1);
    EXPECT_EQ(NEnvGetWithDefault("TVK_ENV_PUT", "fallback"), value);
    NI18nFreeenv(value);

    unsetenv("TVK_ENV_ABSENT");
    EXPECT_EQ(NEnvGet("TVK_ENV_ABSENT"), nullptr);
    EXPECT_EQ(NEnvIsSet("TVK_ENV_ABSENT"), 0);
    const char *fallback = "fallback";
    const char *copy = NEnvGetWithDefault("TVK_ENV_ABSENT", fallback);
    EXPECT_TRUE(copy != fallback && copy != nullptr && std::strcmp(copy, fallback) == 0);
    n_free(const_cast<char *>(copy));
    EXPECT_EQ(NEnvGetWithDefault("TVK_ENV_ABSENT", nullptr), nullptr);

    // NEnvSet's entries stay in the environment for good (the block is never freed), so each name is its own.
    for (const auto &[name, set] : {std::pair<const char *, const char *>{"TVK_ENV_SET_PLAIN", "abc"},
                                    {"TVK_ENV_SET_EMPTY", ""}, {"TVK_ENV_SET_EQUALS", "a=b"}, {"TVK_ENV_PUT", "new"}}) {
        EXPECT_EQ(NEnvSet(name, set), 0) << name;
        EXPECT_STREQ(std::getenv(name), set) << name;
    }
    for (const char *bad : {static_cast<const char *>(nullptr), "", "TVK_ENV_ABSENT=X", "=X"})
        EXPECT_EQ(NEnvSet(bad, "x"), NRC_FAILURE) << (bad != nullptr ? bad : "(null)");
    EXPECT_EQ(std::getenv("TVK_ENV_ABSENT"), nullptr);
}

} // namespace
