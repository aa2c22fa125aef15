// The internationalisation frame: initialisation, locales, catalogs,
// messages, the encoding setting, the file/environment/search wrappers and
// the environment accessors.
#include <tarvolk/i18n.h>
#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>
#include <tarvolk/wstring.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <set>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "support/test_support.h"
#include "text/i18n.h"
#include "text/wstring.h"

namespace {

// Opens the catalog `name' and returns its code as NI18nMessageGet reports
// it ("?" if the catalog cannot be opened).
std::string catalog_code(const char *name)
{
    NI18nLocale locale = nullptr;
    EXPECT_EQ(NI18nLocaleCreate(nullptr, nullptr, nullptr, nullptr, &locale), 0);
    NI18nCatalog catalog = nullptr;
    std::string code = "?";
    if (NI18nCatalogOpen(locale, name, &catalog) == 0 && catalog != nullptr) {
        char buffer[8];
        EXPECT_EQ(NI18nMessageGet(catalog, NI18N_SET_CATALOG_CODE, 1, "UNK", buffer, 8), 0);
        code = buffer;
    }
    NI18nCatalogClose(catalog);
    NI18nLocaleDestroy(locale);
    return code;
}

// ---- frame (in a process that has not touched the library) ----

TEST(I18nFrameTest, CatalogsNeedInitializeWhichMakesItsKeysOnce)
{
    TVK_IN_FRESH_PROCESS({
        NI18nLocale locale = nullptr;
        ASSERT_EQ(NI18nLocaleCreate(nullptr, nullptr, nullptr, nullptr, &locale), 0);
        auto *sentinel = reinterpret_cast<NI18nCatalog>(&locale);
        NI18nCatalog catalog = sentinel;
        EXPECT_EQ(NI18nCatalogOpen(locale, "libtarvolk", &catalog), NRC_FAILURE);
        EXPECT_EQ(catalog, nullptr);
        EXPECT_EQ(tvk::converter_key(), nullptr);
        EXPECT_EQ(tvk::date_key, nullptr);

        ASSERT_EQ(NI18nInitialize(), 0);
        const NThreadDataKey keys[] = {tvk::converter_key(), tvk::date_key, tvk::cal_key, tvk::format_key};
        const std::set<NThreadDataKey> distinct(std::begin(keys), std::end(keys));
        EXPECT_EQ(distinct.size(), 4U);
        EXPECT_EQ(distinct.count(nullptr), 0U);

        // A second call makes no new keys.
        EXPECT_EQ(NI18nInitialize(), 0);
        const NThreadDataKey again[] = {tvk::converter_key(), tvk::date_key, tvk::cal_key, tvk::format_key};
        EXPECT_TRUE(std::equal(std::begin(keys), std::end(keys), std::begin(again)));
        EXPECT_EQ(NI18nShutdown(), 0);

        EXPECT_EQ(NI18nCatalogOpen(locale, "libtarvolk", &catalog), 0);
        EXPECT_NE(catalog, nullptr);
        NI18nCatalogClose(catalog);
        NI18nLocaleDestroy(locale);
    });
}

// ---- encoding (first name wins for the life of the process) ----

TEST(I18nEncodingTest, FirstFittingNameWinsAndNullChangesNothing)
{
    TVK_IN_FRESH_PROCESS({
        EXPECT_EQ(NI18nSetEncoding(nullptr), 0);
        EXPECT_EQ(n_utf8_enabled, 0);
        EXPECT_STREQ(n_code_page, "");
        EXPECT_EQ(NI18nSetEncoding("UTF-8"), 0);
        EXPECT_EQ(NI18nSetEncoding("ISO-8859-1"), 0);
        EXPECT_EQ(NI18nSetEncoding(nullptr), 0);
        EXPECT_EQ(n_utf8_enabled, 1);
        EXPECT_STREQ(n_code_page, "UTF-8");
    });
    TVK_IN_FRESH_PROCESS({
        EXPECT_EQ(NI18nSetEncoding(std::string(N_CODE_PAGE_SIZE, 'x').c_str()), 0); // too long
        EXPECT_EQ(n_utf8_enabled, 0);
        EXPECT_STREQ(n_code_page, "");
        const std::string longest(N_CODE_PAGE_SIZE - 1, 'y');
        EXPECT_EQ(NI18nSetEncoding(longest.c_str()), 0);
        EXPECT_EQ(n_utf8_enabled, 1);
        EXPECT_EQ(std::string(n_code_page), longest);
    });
}

// ---- locales, catalogs and messages ----

class I18nCatalogTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(NI18nInitialize(), 0); }
};

TEST_F(I18nCatalogTest, CodeComesFromTheTableOrTheName)
{
    const struct {
        const char *name;
        const char *code;
    } cases[] = {
        // In the table, whatever the name looks like.
        {"libtarvolk", "TVK"}, {"libtarvolk_r", "TVK"}, {"tvk_gateway", "GWY"},
        {"libnsock", "NSK"}, {"tvp_ui", "UI"}, {"ipv6_r", "IP6"}, {"zimbrel_probe", "ZPB"},
        // Derived from the name.
        {"tvk_event", "EVE"}, {"tvk_gateway2", "GAT"}, {"libtarvolk_rx", "LIB"},
        {"abc", "ABC"}, {"abcdef", "ABC"}, {"ab", "AB"}, {"a", "A"}, {"", ""},
        {"tvk_", ""}, {"libn", ""}, {"libnfoo", "FOO"}, {"tvp_x", "X"}, {"tvk_a1-b", "A1-"},
        {"tvk_tvp_abc", "TVP"}, {"TVK_abc", "TVK"}, {"xtvk_abc", "XTV"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(catalog_code(c.name), c.code) << "name: '" << c.name << "'";
    size_t rows = 0; // every row of the table is found
    for (const tvk::CatalogMapRow *row = tvk::catalog_map; row->name != nullptr; ++row, ++rows) {
        std::string code = row->code;
        std::transform(code.begin(), code.end(), code.begin(), ::toupper);
        EXPECT_EQ(catalog_code(row->name), code) << row->name;
    }
    EXPECT_EQ(rows, 38U);
}

TEST_F(I18nCatalogTest, LocalesAndArgumentErrors)
{
    NI18nLocale locale = nullptr;
    NI18nLocale other = nullptr;
    ASSERT_EQ(NI18nLocaleCreate(nullptr, nullptr, nullptr, nullptr, &locale), 0);
    ASSERT_EQ(NI18nLocaleCreate("de", "DE", "x", "k=v", &other), 0);
    EXPECT_NE(locale, nullptr);
    EXPECT_NE(other, nullptr);
    EXPECT_NE(locale, other);
    EXPECT_EQ(NI18nLocaleDestroy(other), 0);
    auto *sentinel = reinterpret_cast<NI18nCatalog>(&locale);

    NI18nCatalog catalog = sentinel;
    EXPECT_EQ(NI18nCatalogOpen(nullptr, "libtarvolk", &catalog), NRC_I18N_GLOBAL_LOCALE);
    EXPECT_EQ(catalog, nullptr);
    catalog = sentinel;
    EXPECT_EQ(NI18nCatalogOpen(locale, nullptr, &catalog), NRC_FAILURE);
    EXPECT_EQ(catalog, nullptr);
    EXPECT_EQ(NI18nCatalogOpen(locale, "libtarvolk", nullptr), NRC_FAILURE);
    EXPECT_EQ(NI18nLocaleDestroy(locale), 0);
}

TEST_F(I18nCatalogTest, MessageIsTheCodeOrTheDefaultCutToTheBuffer)
{
    NI18nLocale locale = nullptr;
    NI18nCatalog catalog = nullptr;
    ASSERT_EQ(NI18nLocaleCreate(nullptr, nullptr, nullptr, nullptr, &locale), 0);
    ASSERT_EQ(NI18nCatalogOpen(locale, "libtarvolk", &catalog), 0);

    const struct {
        NI18nCatalog catalog;
        int32_t set;
        int32_t number;
        const char *default_text;
        size_t size;
        const char *expected;
    } cases[] = {
        {catalog, 100, 1, "UNK", 8, "TVK"},
        {nullptr, 100, 1, "UNK", 8, "UNK"},
        {catalog, 100, 2, "default", 8, "default"},
        {catalog, 101, 1, "default", 8, "default"},
        {catalog, 1, 100, "default", 8, "default"},
        {catalog, 4, 9, "0123456789", 4, "012"},
        {catalog, 100, 1, "UNK", 3, "TV"},
        {catalog, 100, 1, "UNK", 1, ""},
        {catalog, 4, 9, "", 4, ""},
    };
    for (const auto &c : cases) {
        char buffer[16];
        std::memset(buffer, '#', sizeof buffer);
        EXPECT_EQ(NI18nMessageGet(c.catalog, c.set, c.number, c.default_text, buffer, c.size), 0);
        EXPECT_STREQ(buffer, c.expected) << c.set << "/" << c.number << " size " << c.size;
        for (size_t i = c.size; i < sizeof buffer; ++i)
            EXPECT_EQ(buffer[i], '#') << "written past the buffer at " << i;
    }

    char untouched[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(NI18nMessageGet(catalog, 4, 9, "text", untouched, 0), NRC_FAILURE);
    EXPECT_EQ(std::string(untouched, 4), "####");
    EXPECT_EQ(NI18nMessageGet(catalog, 4, 9, "text", nullptr, 8), NRC_FAILURE);

    NI18nCatalogClose(catalog);
    NI18nLocaleDestroy(locale);
}

// ---- file, search and environment wrappers ----

// The file wrappers hand a byte order mark through like any other bytes.
TEST(I18nFileTest, ByteOrderMarkIsReadLikeOtherBytes)
{
    tvk_test::TempDir dir;
    const std::string text = "\xEF\xBB\xBF" "abc";
    tvk_test::write_file(dir.file("marked"), text);
    for (const auto open_file : {NI18nOpen, NI18nOpenKeepBOM}) {
        const int fd = open_file(dir.file("marked").c_str(), O_RDONLY, 0);
        ASSERT_GE(fd, 0);
        EXPECT_EQ(lseek(fd, 0, SEEK_CUR), 0);
        char buffer[16] = {};
        EXPECT_EQ(read(fd, buffer, sizeof buffer), static_cast<ssize_t>(text.size()));
        EXPECT_EQ(std::string(buffer), text);
        close(fd);
    }
    EXPECT_EQ(NI18nBOMCount(), 0);
}

TEST(I18nFileTest, StrstrTempnamAndPutenv)
{
    const char *text = "hello world";
    char *found = reinterpret_cast<char *>(&text);
    EXPECT_EQ(NI18nStrstr(nullptr, text, "world", &found), 0);
    EXPECT_EQ(found, text + 6);
    EXPECT_EQ(NI18nStrstr(nullptr, text, "planet", &found), 0);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(NI18nStrstr(nullptr, text, "", &found), 0);
    EXPECT_EQ(found, text);

    char *name = nullptr;
    ASSERT_EQ(NI18nTempnam(&name), 0);
    ASSERT_NE(name, nullptr);
    const char *base = std::strrchr(name, '/');
    EXPECT_EQ(std::strncmp(base != nullptr ? base + 1 : name, "tarv", 4), 0) << name;
    EXPECT_NE(access(name, F_OK), 0) << name;
    n_free(name);

    // The entry is not copied: a change to it shows in the environment.
    static char entry[] = "TVK_I18N_PUTENV=one";
    ASSERT_EQ(NI18nPutenv(entry), 0);
    char *value = NI18nGetenv("TVK_I18N_PUTENV");
    EXPECT_EQ(value, entry + std::strlen("TVK_I18N_PUTENV="));
    std::memcpy(value, "two", 3);
    EXPECT_STREQ(std::getenv("TVK_I18N_PUTENV"), "two");
    NI18nFreeenv(value);
    unsetenv("TVK_I18N_PUTENV");
}

// ---- environment accessors ----

TEST(EnvTest, GetIsSetAndDefault)
{
    setenv("TVK_ENV_PRESENT", "value", 1);
    unsetenv("TVK_ENV_ABSENT");

    EXPECT_EQ(NEnvGet("TVK_ENV_PRESENT"), std::getenv("TVK_ENV_PRESENT"));
    EXPECT_EQ(NEnvGet("TVK_ENV_ABSENT"), nullptr);
    EXPECT_EQ(NEnvIsSet("TVK_ENV_PRESENT"), 1);
    EXPECT_EQ(NEnvIsSet("TVK_ENV_ABSENT"), 0);

    EXPECT_EQ(NEnvGetWithDefault("TVK_ENV_PRESENT", "fallback"), std::getenv("TVK_ENV_PRESENT"));
    const char *fallback = "fallback";
    const char *copy = NEnvGetWithDefault("TVK_ENV_ABSENT", fallback);
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy, fallback);
    EXPECT_STREQ(copy, fallback);
    n_free(const_cast<char *>(copy));
    EXPECT_EQ(NEnvGetWithDefault("TVK_ENV_ABSENT", nullptr), nullptr);
    unsetenv("TVK_ENV_PRESENT");
}

// Entries made by NEnvSet stay in the environment for good (the block is
// never freed), so each case uses its own name and leaves it set.
TEST(EnvTest, SetMakesNameEqualsValue)
{
    const struct {
        const char *name;
        const char *value;
    } cases[] = {
        {"TVK_ENV_SET_PLAIN", "abc"}, {"TVK_ENV_SET_EMPTY", ""}, {"TVK_ENV_SET_EQUALS", "a=b"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(NEnvSet(c.name, c.value), 0) << c.name;
        EXPECT_STREQ(std::getenv(c.name), c.value) << c.name;
    }
    setenv("TVK_ENV_SET_OLD", "old", 1);
    EXPECT_EQ(NEnvSet("TVK_ENV_SET_OLD", "new"), 0);
    EXPECT_STREQ(NEnvGet("TVK_ENV_SET_OLD"), "new");

    unsetenv("TVK_ENV_BAD");
    for (const char *bad : {static_cast<const char *>(nullptr), "", "TVK_ENV_BAD=X", "=X"})
        EXPECT_EQ(NEnvSet(bad, "x"), NRC_FAILURE) << (bad != nullptr ? bad : "(null)");
    EXPECT_EQ(std::getenv("TVK_ENV_BAD"), nullptr);
}

} // namespace
