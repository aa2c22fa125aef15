// Return codes: the library's table, registration of further tables, and
// the texts of every range of the number space.
#include <gtest/gtest.h>

#include <tarvolk/i18n.h>
#include <tarvolk/retcode.h>
#include <tarvolk/shlib.h>
#include <tarvolk/thr.h>

#include <climits>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <netdb.h>

#include "frame/retcode.h"
#include "support/test_support.h"

namespace {

class ReturnCodeTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_EQ(0, NInitialise("retcode_test", "stdout")); }
};

TEST_F(ReturnCodeTest, EveryLibraryCodeHasItsText)
{
#define CHECK_ROW(name, code, set, number, text) EXPECT_STREQ(text, NRCToString(code)) << #name;
    N_RC_TABLE(CHECK_ROW)
#undef CHECK_ROW
}

TEST_F(ReturnCodeTest, EachRangeOfTheNumberSpace)
{
    const std::vector<std::pair<NRC, std::string>> cases = {
        {0, "No error"},
        {2, strerror(2)},
        {12, strerror(12)},
        {1000000, strerror(1000000)},
        {1000001, gai_strerror(1)},
        {1000002, gai_strerror(2)},
        {1000254, gai_strerror(254)},
        {1000255, strerror(1000255)},
        {INT32_MAX, strerror(INT32_MAX)},
        {-1, "Unknown error -1"},
        {-15, "Unknown error -15"},
        {-302, "Unknown error -302"},
        {INT32_MIN, "Unknown error -2147483648"},
    };
    for (const auto &[code, text] : cases)
        EXPECT_EQ(text, NRCToString(code)) << code;
}

TEST_F(ReturnCodeTest, FirstRegisteredTableWinsAndEmptyTablesAreSkipped)
{
    static const NRCTableEntry rows[] = {
        {NRC_FAILURE, 1, 6, "Overridden"},
        {-9001, 1, 1, "Nine thousand and one"},
        {-9001, 1, 2, "Later duplicate"},
    };
    static const NRCTableEntry later[] = {{-9001, 1, 1, "Later table"}, {-9301, 1, 1, "hidden"}};
    ASSERT_EQ(0, NRCRegister(nullptr, 3, rows));
    EXPECT_EQ(0, NRCRegister(nullptr, 0, later + 1));
    EXPECT_EQ(0, NRCRegister(nullptr, -1, later + 1));
    EXPECT_EQ(NRC_FAILURE, NRCRegister(nullptr, 1, nullptr));
    ASSERT_EQ(0, NRCRegister(nullptr, 1, later));
    EXPECT_STREQ("General failure", NRCToString(NRC_FAILURE));
    EXPECT_STREQ("Nine thousand and one", NRCToString(-9001));
    EXPECT_STREQ("Unknown error -9301", NRCToString(-9301));
}

TEST_F(ReturnCodeTest, TextsComeThroughTheTablesCatalog)
{
    NI18nLocale locale = nullptr;
    NI18nCatalog catalog = nullptr;
    ASSERT_EQ(0, NI18nLocaleCreate(nullptr, nullptr, nullptr, nullptr, &locale));
    ASSERT_EQ(0, NI18nCatalogOpen(locale, "tvk_event", &catalog));
    NI18nLocaleDestroy(locale);
    static const std::string long_text(2000, 'x');
    static const NRCTableEntry with_catalog[] = {
        {-9101, 100, 1, "default"},
        {-9102, 1, 7, "plain text"},
        {-9103, 1, 8, long_text.c_str()},
    };
    static const NRCTableEntry without_catalog[] = {
        {-9201, 100, 1, "default"},
        {-9202, 1, 8, long_text.c_str()},
    };
    ASSERT_EQ(0, NRCRegister(catalog, 3, with_catalog));
    ASSERT_EQ(0, NRCRegister(nullptr, 2, without_catalog));

    // Set 100 number 1 is the catalog's own code: proof that the catalog
    // was asked.
    EXPECT_STREQ("EVE", NRCToString(-9101));
    EXPECT_STREQ("plain text", NRCToString(-9102));
    EXPECT_EQ(std::string(1023, 'x'), NRCToString(-9103));
    EXPECT_STREQ("default", NRCToString(-9201));
    EXPECT_EQ(std::string(1023, 'x'), NRCToString(-9202));
}

TEST_F(ReturnCodeTest, SixtyFourSlots)
{
    TVK_IN_FRESH_PROCESS({
        ASSERT_EQ(0, NInitialise("slots", "stdout"));
        static const NRCTableEntry rows[] = {{-9401, 1, 1, "slot"}};
        for (int i = 1; i < NRC_MAX_TABLES; ++i)
            EXPECT_EQ(0, NRCRegister(nullptr, 1, rows)) << i;
        EXPECT_EQ(NRC_FAILURE, NRCRegister(nullptr, 1, rows));
        EXPECT_EQ(NRC_MAX_TABLES, tvk::rc_table_count());
        EXPECT_STREQ("slot", NRCToString(-9401));
    });
}

TEST_F(ReturnCodeTest, LibraryTableIsRegisteredOnce)
{
    EXPECT_EQ(0, _NRCInitialise(nullptr));
    EXPECT_EQ(0, _NRCInitialise(libtarvolk_catalog));
    static const NRCTableEntry rows[] = {{-9501, 1, 1, "after"}};
    const int32_t before = tvk::rc_table_count();
    EXPECT_EQ(0, _NRCInitialise(nullptr));
    ASSERT_EQ(0, NRCRegister(nullptr, 1, rows));
    EXPECT_EQ(before + 1, tvk::rc_table_count());
}

TEST_F(ReturnCodeTest, EachThreadHasItsOwnText)
{
    const char *mine = NRCToString(NRC_FAILURE);
    const char *theirs = nullptr;
    std::string their_text;
    std::thread other([&] {
        theirs = NRCToString(NRC_TIMEOUT);
        their_text = theirs;
    });
    other.join();
    EXPECT_NE(mine, theirs);
    EXPECT_EQ("Timeout", their_text);
    EXPECT_STREQ("General failure", mine);
    EXPECT_EQ(mine, NThreadGetErrorBuffer(NThreadGetID()));
}

TEST(ReturnCodeWithoutThreadsTest, TextsBeforeInitialiseAndNoCatalogAfter)
{
    TVK_IN_FRESH_PROCESS({
        EXPECT_STREQ("Unknown thread error", NRCToString(0));
        EXPECT_STREQ("Unknown thread error", NRCToString(NRC_FAILURE));
        EXPECT_STREQ("Unknown thread error", NRCToString(-302));
        EXPECT_STREQ(strerror(12), NRCToString(12));
        EXPECT_STREQ(gai_strerror(3), NRCToString(1000003));
        // The tables are now registered without a catalog; NInitialise leaves them.
        ASSERT_EQ(0, NInitialise("app", "stdout"));
        EXPECT_EQ(1, tvk::rc_table_count());
        EXPECT_STREQ("General failure", NRCToString(NRC_FAILURE));
    });
}

} // namespace
