// NInitialise: the order of its steps, what a failure at each step does,
// and the retry; NShutdown.
#include <gtest/gtest.h>

#include <tarvolk/i18n.h>
#include <tarvolk/retcode.h>
#include <tarvolk/services.h>
#include <tarvolk/shlib.h>
#include <tarvolk/thr.h>

#include <string>
#include <vector>

#include "frame/retcode.h"
#include "frame/shlib.h"
#include "support/test_support.h"

namespace {

// Fake steps that record their calls and fail where told.
std::vector<std::string> calls;
std::string failing_step;
constexpr NRC failure_code = -4711;

NRC record(const std::string &name)
{
    calls.push_back(name);
    return name == failing_step ? failure_code : 0;
}

tvk::InitSteps recording_steps()
{
    tvk::InitSteps steps{};
    steps.set_locale = [] { calls.emplace_back("locale"); };
    steps.i18n_initialize = [] { return record("i18n"); };
    steps.locale_create = [](const char *, const char *, const char *, const char *,
                             NI18nLocale *result) {
        const NRC rc = record("locale_create");
        if (rc == 0)
            NI18nLocaleCreate(nullptr, nullptr, nullptr, nullptr, result);
        return rc;
    };
    steps.catalog_open = [](NI18nLocale locale, const char *name, NI18nCatalog *result) {
        *result = nullptr;
        calls.push_back(std::string("catalog ") + name + (locale != nullptr ? "" : " (no locale)"));
        return failing_step == "catalog" ? failure_code : 0;
    };
    steps.rc_initialise = [](NI18nCatalog catalog) {
        return record(catalog == nullptr ? "rc" : "rc with catalog");
    };
    steps.mt_initialise = [] { return record("mt"); };
    steps.logmgr_initialise = [](const char *destination) {
        return record(std::string("log ") + destination);
    };
    steps.socket_initialise = [] { return record("socket"); };
    return steps;
}

const std::vector<std::string> all_steps = {
    "locale", "i18n", "locale_create", "catalog libtarvolk", "rc", "mt", "log file:x", "socket"};

struct FailureCase {
    std::string step;
    std::vector<std::string> expected_calls;
};

TEST(InitialiseTest, StepsRunInOrderAndAFailureStopsAtItsStep)
{
    const std::vector<FailureCase> cases = {
        {"i18n", {"locale", "i18n", "rc"}},
        {"locale_create", {"locale", "i18n", "locale_create", "rc"}},
        // The failing step is retried with a null catalog, which the real
        // tables ignore once they are up.
        {"rc", {"locale", "i18n", "locale_create", "catalog libtarvolk", "rc", "rc"}},
        {"mt", {"locale", "i18n", "locale_create", "catalog libtarvolk", "rc", "mt"}},
        {"log file:x",
         {"locale", "i18n", "locale_create", "catalog libtarvolk", "rc", "mt", "log file:x"}},
        {"socket", all_steps},
    };
    for (const FailureCase &c : cases) {
        SCOPED_TRACE(c.step);
        TVK_IN_FRESH_PROCESS({
            tvk::init_steps = recording_steps();
            failing_step = c.step;
            EXPECT_EQ(failure_code, NInitialise("first", "file:x"));
            EXPECT_EQ(c.expected_calls, calls);
            EXPECT_FALSE(tvk::initialised());
            EXPECT_STREQ("first", NGetAppName());

            // A failed call may be repeated and runs every step again.
            calls.clear();
            failing_step.clear();
            EXPECT_EQ(0, NInitialise("second", "file:x"));
            EXPECT_EQ(all_steps, calls);
            EXPECT_TRUE(tvk::initialised());
            EXPECT_STREQ("second", NGetAppName());

            // After success every call is a no-op.
            calls.clear();
            EXPECT_EQ(0, NInitialise("third", "other"));
            EXPECT_TRUE(calls.empty());
            EXPECT_STREQ("second", NGetAppName());
        });
    }
}

TEST(InitialiseTest, CatalogFailureIsIgnored)
{
    TVK_IN_FRESH_PROCESS({
        tvk::init_steps = recording_steps();
        failing_step = "catalog";
        EXPECT_EQ(0, NInitialise("app", "file:x"));
        EXPECT_EQ(all_steps, calls);
    });
}

TEST(InitialiseTest, RealStepsBringTheLibraryUp)
{
    TVK_IN_FRESH_PROCESS({
        EXPECT_EQ(nullptr, NGetAppName());
        EXPECT_EQ(nullptr, libtarvolk_catalog);
        EXPECT_EQ(nullptr, NThreadGetID());

        ASSERT_EQ(0, NInitialise("server", "stdout"));
        EXPECT_TRUE(tvk::initialised());
        EXPECT_STREQ("server", NGetAppName());
        ASSERT_NE(nullptr, libtarvolk_catalog);
        char code[8];
        NI18nMessageGet(libtarvolk_catalog, 100, 1, "UNK", code, sizeof code);
        EXPECT_STREQ("TVK", code);
        EXPECT_NE(nullptr, tvk::default_locale());
        EXPECT_STREQ("MAIN", NThreadGetName(NThreadGetID()));
        EXPECT_STREQ("General failure", NRCToString(NRC_FAILURE));
        EXPECT_EQ(1, tvk::rc_table_count());

        // Shut: the flag stays, so a later call does nothing.
        NShutdown();
        EXPECT_EQ(0, NInitialise("other", "stdout"));
        EXPECT_STREQ("server", NGetAppName());
        EXPECT_EQ(1, tvk::rc_table_count());
    });
}

TEST(InitialiseTest, MissingFamilyHomeEndsTheProcess)
{
    EXPECT_EXIT(
        {
            setenv("TARVOLKHOME", "/nonexistent/family", 1);
            NInitialise("app", "stdout");
        },
        ::testing::ExitedWithCode(1),
        "^Fatal Error: Failed to access TARVOLKHOME directory: /nonexistent/family$");
}

} // namespace
