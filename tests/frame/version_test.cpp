// The version texts and the list of revision lines.
#include <gtest/gtest.h>

#include <tarvolk/mem.h>
#include <tarvolk/nversion.h>
#include <tarvolk/retcode.h>
#include <tarvolk/shlib.h>

#include <string>

namespace {

std::string revisions()
{
    char *text = nullptr;
    EXPECT_EQ(0, NVersionInfoString(&text));
    if (text == nullptr)
        return "<null>";
    std::string copy = text;
    n_free(text);
    return copy;
}

TEST(VersionTest, LibraryRegistersItsRevisionAtLoad)
{
    EXPECT_EQ("Library Revisions:\n\tlibtarvolk: 5.50.97\n", revisions());
}

TEST(VersionTest, LinesKeepTheirOrderAndUnregisterTakesTheFirstEqual)
{
    NVersionInfoRegister("libone: 1.0");
    NVersionInfoRegister("libtwo: 2.0");
    NVersionInfoRegister("libone: 1.0");
    EXPECT_EQ("Library Revisions:\n\tlibtarvolk: 5.50.97\n\tlibone: 1.0\n\tlibtwo: 2.0\n"
              "\tlibone: 1.0\n",
              revisions());
    NVersionInfoUnregister("libone: 1.0");
    NVersionInfoUnregister("libnone: 0.0");
    EXPECT_EQ("Library Revisions:\n\tlibtarvolk: 5.50.97\n\tlibtwo: 2.0\n\tlibone: 1.0\n",
              revisions());

    ::testing::internal::CaptureStderr();
    NVersionInfoPrint();
    EXPECT_EQ("Library Revisions:\n\tlibtarvolk: 5.50.97\n\tlibtwo: 2.0\n\tlibone: 1.0\n",
              ::testing::internal::GetCapturedStderr());

    NVersionInfoUnregister("libtwo: 2.0");
    NVersionInfoUnregister("libone: 1.0");
    NVersionInfoUnregister(NLIBTARVOLK_REVISION);
    // The list stays, empty.
    EXPECT_EQ("Library Revisions:\n", revisions());
    NVersionInfoRegister(NLIBTARVOLK_REVISION);
    EXPECT_EQ(NRC_FAILURE, NVersionInfoString(nullptr));
}

TEST(VersionTest, ProductTexts)
{
    EXPECT_STREQ("Tarvolk/Zimbrel", _n_GetProductName());
    EXPECT_STREQ("8.1.0", _n_GetVersionString());
    EXPECT_STREQ("Version 8.1.0", _n_GetFullVersionString());
    EXPECT_STREQ("TVK", _n_GetProductDCIName());
    EXPECT_NE(std::string(), _n_GetNoticeString());

    ASSERT_EQ(0, NInitialise("version_test", "stdout"));
    NI18nLocale locale = nullptr;
    ASSERT_EQ(0, NI18nLocaleCreate(nullptr, nullptr, nullptr, nullptr, &locale));
    EXPECT_EQ(0, _NVersionInitialise(locale));
    ASSERT_NE(nullptr, libtarvolk_version_catalog);
    EXPECT_STREQ("Tarvolk/Zimbrel", _n_GetProductName());
    EXPECT_STREQ("Version 8.1.0", _n_GetFullVersionString());
    NI18nLocaleDestroy(locale);
}

} // namespace
