// The internationalisation frame: initialisation, locales, catalogs,
// messages, the encoding setting, the file/environment/search wrappers and
// the environment accessors.
#include <tarvolk/i18n.h>
#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>
#include <tarvolk/wstring.h>

#include <gtest/gtest.h>

#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <set>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
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

// ---- frame (each in a process that has not touched the library) ----

void check_initialize()
{
    NI18nLocale locale = nullptr;
    ASSERT_EQ(NI18nLocaleCreate(nullptr, nullptr, nullptr, nullptr, &locale), 0);
    auto *sentinel = reinterpret_cast<NI18nCatalog>(&locale);
    NI18nCatalog catalog = sentinel;
    EXPECT_EQ(NI18nCatalogOpen(locale, "libtarvolk", &catalog), NRC_FAILURE);
    EXPECT_EQ(catalog, nullptr);
    EXPECT_EQ(tvk::converter_key(), nullptr);
    EXPECT_EQ(tvk::date_key, nullptr);

    ASSERT_EQ(NI18nInitialize(), 0);
    const NThreadDataKey keys[] = {tvk::converter_key(), tvk::date_key, tvk::cal_key,
                                   tvk::format_key};
    const std::set<NThreadDataKey> distinct(std::begin(keys), std::end(keys));
    EXPECT_EQ(distinct.size(), 4U);
    EXPECT_EQ(distinct.count(nullptr), 0U);

    // A second call makes no new keys.
    EXPECT_EQ(NI18nInitialize(), 0);
    EXPECT_EQ(tvk::converter_key(), keys[0]);
    EXPECT_EQ(tvk::date_key, keys[1]);
    EXPECT_EQ(tvk::cal_key, keys[2]);
    EXPECT_EQ(tvk::format_key, keys[3]);
    EXPECT_EQ(NI18nShutdown(), 0);

    EXPECT_EQ(NI18nCatalogOpen(locale, "libtarvolk", &catalog), 0);
    EXPECT_NE(catalog, nullptr);
    NI18nCatalogClose(catalog);
    NI18nLocaleDestroy(locale);
}

TEST(I18nFrameTest, CatalogsNeedInitializeWhichMakesItsKeysOnce)
{
    TVK_IN_FRESH_PROCESS({ check_initialize(); });
}

// ---- encoding (first name wins for the life of the process) ----

void check_encoding_first_name_wins()
{
    EXPECT_EQ(n_utf8_enabled, 0);
    EXPECT_STREQ(n_code_page, "");
    EXPECT_EQ(NI18nSetEncoding(nullptr), 0);
    EXPECT_EQ(n_utf8_enabled, 0);
    EXPECT_STREQ(n_code_page, "");

    EXPECT_EQ(NI18nSetEncoding("UTF-8"), 0);
    EXPECT_EQ(n_utf8_enabled, 1);
    EXPECT_STREQ(n_code_page, "UTF-8");

    EXPECT_EQ(NI18nSetEncoding("ISO-8859-1"), 0);
    EXPECT_EQ(NI18nSetEncoding(nullptr), 0);
    EXPECT_EQ(n_utf8_enabled, 1);
    EXPECT_STREQ(n_code_page, "UTF-8");
}

void check_encoding_name_length()
{
    const std::string too_long(N_CODE_PAGE_SIZE, 'x');
    EXPECT_EQ(NI18nSetEncoding(too_long.c_str()), 0);
    EXPECT_EQ(n_utf8_enabled, 0);
    EXPECT_STREQ(n_code_page, "");

    const std::string longest(N_CODE_PAGE_SIZE - 1, 'y');
    EXPECT_EQ(NI18nSetEncoding(longest.c_str()), 0);
    EXPECT_EQ(n_utf8_enabled, 1);
    EXPECT_EQ(std::string(n_code_page), longest);
}

TEST(I18nEncodingTest, FirstNameWinsAndNullChangesNothing)
{
    TVK_IN_FRESH_PROCESS({ check_encoding_first_name_wins(); });
}

TEST(I18nEncodingTest, NameMustFitTheCodePage)
{
    TVK_IN_FRESH_PROCESS({ check_encoding_name_length(); });
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

TEST_F(I18nCatalogTest, TableOfKnownCatalogsIsWellFormed)
{
    std::set<std::string> names;
    size_t rows = 0;
    for (const tvk::CatalogMapRow *row = tvk::catalog_map; row->name != nullptr; ++row) {
        ++rows;
        const std::string name = row->name;
        ASSERT_NE(row->code, nullptr) << name;
        const std::string code = row->code;
        EXPECT_FALSE(name.empty());
        EXPECT_TRUE(names.insert(name).second) << "duplicate: " << name;
        EXPECT_GE(code.size(), 1U) << name;
        EXPECT_LE(code.size(), 3U) << name;
        for (char ch : code)
            EXPECT_TRUE(std::isalnum(static_cast<unsigned char>(ch))) << name;
    }
    EXPECT_EQ(rows, 38U);
    EXPECT_EQ(tvk::catalog_map[rows].code, nullptr);
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

// ---- file, environment and search wrappers ----

// -1 for a null stream, else 0 (the stream is closed).
int stream_result(FILE *stream)
{
    return stream != nullptr ? std::fclose(stream) : -1;
}

int descriptor_result(int fd)
{
    return fd >= 0 ? close(fd) : -1;
}

// The wrappers pass the system library's failure and errno through.
TEST(I18nFileTest, WrappersFailLikeTheSystemOnAMissingPath)
{
    tvk_test::TempDir dir;
    const std::string missing = dir.file("missing");
    const char *path = missing.c_str();
    const std::string below = dir.file("missing/below");
    const std::string other = dir.file("other");
    struct stat info {};
    char resolved[PATH_MAX];

    const struct {
        const char *name;
        std::function<int()> call;
    } cases[] = {
        {"fopen", [&] { return stream_result(NI18nFopen(path, "r")); }},
        {"open", [&] { return descriptor_result(NI18nOpen(path, O_RDONLY, 0)); }},
        {"open keep", [&] { return descriptor_result(NI18nOpenKeepBOM(path, O_RDONLY, 0)); }},
        {"remove", [&] { return NI18nRemove(path); }},
        {"rename", [&] { return NI18nRename(path, other.c_str()); }},
        {"unlink", [&] { return NI18nUnlink(path); }},
        {"stat", [&] { return NI18nStat(path, &info); }},
        {"mkdir", [&] { return NI18nMkdir(below.c_str(), 0700); }},
        {"access", [&] { return NI18nAccess(path, F_OK); }},
        {"realpath", [&] { return NI18nRealPath(resolved, path) == nullptr ? -1 : 0; }},
    };
    for (const auto &c : cases) {
        errno = 0;
        EXPECT_EQ(c.call(), -1) << c.name;
        EXPECT_EQ(errno, ENOENT) << c.name;
    }
    EXPECT_NE(access(other.c_str(), F_OK), 0);
}

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
