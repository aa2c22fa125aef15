// The regular expression front end: the choice of engine, handles that keep
// their engine, the substring and substitution rules both engines share,
// the codes of each engine, bad arguments and bad input.
#include <tarvolk/regexp.h>
#include <tarvolk/retcode.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <tuple>
#include <vector>

#include "regexp/regexp_private.h"

namespace {

constexpr const char *kTreName = "TRE Regular Expression Library";
constexpr const char *kNativeName = "Tarvolk Regular Expression Library";

// Both engines, each test once with each.
class Engines : public ::testing::TestWithParam<int32_t> {
protected:
    void SetUp() override { ASSERT_EQ(NRegexpLibrarySwitch(GetParam()), 0); }
    void TearDown() override { NRegexpLibrarySwitch(NREGEXP_LIBRARY_TRE); }
    bool tre() const { return GetParam() == NREGEXP_LIBRARY_TRE; }
};

struct Handle {
    NRC rc = 0;
    NRegexp *re = nullptr;
    explicit Handle(const std::string &pattern) { rc = NRegexpCompile(pattern.c_str(), &re); }
    ~Handle() { NRegexpFree(re); }
    Handle(const Handle &) = delete;
    Handle &operator=(const Handle &) = delete;
};

TEST(RegexpSelection, SwitchesAndNames)
{
    EXPECT_STREQ(NRegexpLibraryGetName(), kTreName);
    const std::tuple<int32_t, NRC, const char *> numbers[] = {
        {0, 0, kNativeName}, {2, NRC_FAILURE, kNativeName}, {-1, NRC_FAILURE, kNativeName},
        {1, 0, kTreName},    {2, NRC_FAILURE, kTreName},
    };
    for (const auto &[library, rc, name] : numbers) {
        EXPECT_EQ(NRegexpLibrarySwitch(library), rc) << library;
        EXPECT_STREQ(NRegexpLibraryGetName(), name) << library;
    }
    const std::tuple<const char *, NRC, const char *> names[] = {
        {"tarvolk", 0, kNativeName}, {"TRe", 0, kTreName},       {"TARVOLK", 0, kNativeName},
        {"native", NRC_FAILURE, kNativeName}, {"", NRC_FAILURE, kNativeName},
        {"TRE ", NRC_FAILURE, kNativeName}, {nullptr, NRC_FAILURE, kNativeName}, {"tre", 0, kTreName},
    };
    for (const auto &[text, rc, name] : names) {
        EXPECT_EQ(NRegexpLibrarySwitchFromString(text), rc) << (text ? text : "null");
        EXPECT_STREQ(NRegexpLibraryGetName(), name) << (text ? text : "null");
    }
}

// A handle keeps the engine that compiled it: "a{2}" is a bound for TRE and
// a literal for the library's engine, and an out-of-range index tells the
// engines apart too.
TEST(RegexpSelection, HandleKeepsItsEngine)
{
    ASSERT_EQ(NRegexpLibrarySwitch(NREGEXP_LIBRARY_TRE), 0);
    Handle tre("a{2}");
    ASSERT_EQ(NRegexpLibrarySwitch(NREGEXP_LIBRARY_TARVOLK), 0);
    Handle native("a{2}");
    ASSERT_EQ(NRegexpLibrarySwitch(NREGEXP_LIBRARY_TRE), 0);
    ASSERT_EQ(tre.rc, 0);
    ASSERT_EQ(native.rc, 0);
    char out[16];
    EXPECT_EQ(NRegexpMatch(tre.re, "xaa"), 0);
    EXPECT_EQ(NRegexpMatch(native.re, "xaa"), NRC_REGEXP_NO_MATCH);
    EXPECT_EQ(NRegexpMatch(native.re, "xa{2}"), 0);
    EXPECT_EQ(NRegexpGetSub(tre.re, 10, out), EINVAL);
    EXPECT_EQ(NRegexpGetSub(native.re, 10, out), NRC_FAILURE);
    testing::internal::CaptureStdout();
    NRegexpDump(tre.re);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    testing::internal::CaptureStdout();
    NRegexpDump(native.re);
    EXPECT_NE(testing::internal::GetCapturedStdout(), "");
}

TEST(RegexpSelection, HeaderInFrontOfHandle)
{
    for (int32_t library : {NREGEXP_LIBRARY_TRE, NREGEXP_LIBRARY_TARVOLK}) {
        ASSERT_EQ(NRegexpLibrarySwitch(library), 0);
        Handle h("x");
        ASSERT_EQ(h.rc, 0);
        const auto *header = reinterpret_cast<const NRegexpHeader *>(h.re) - 1;
        EXPECT_EQ(header->api, library == 0 ? &nregex_api_tarvolk : &nregex_api_tre);
        EXPECT_EQ(header->public_part, h.re);
        EXPECT_LT(header->private_part, static_cast<const void *>(header));
    }
    NRegexpLibrarySwitch(NREGEXP_LIBRARY_TRE);
}

TEST_P(Engines, SubstringsOfLastMatch)
{
    Handle h("(a)|(b)(c*)");
    ASSERT_EQ(h.rc, 0);
    char out[32];
    // Before any match: TRE has no subject, the native slots are clear.
    EXPECT_EQ(NRegexpGetSub(h.re, 0, out), NRC_FAILURE);
    ASSERT_EQ(NRegexpMatch(h.re, "xxb"), 0);
    const std::tuple<int32_t, NRC, const char *> cases[] = {
        {0, 0, "b"}, {1, NRC_FAILURE, ""}, {2, 0, "b"}, {3, 0, ""}, {9, NRC_FAILURE, ""},
    };
    for (const auto &[index, rc, text] : cases) {
        out[0] = '\0';
        EXPECT_EQ(NRegexpGetSub(h.re, index, out), rc) << index;
        EXPECT_STREQ(out, text) << index;
    }
    const NRC out_of_range = tre() ? EINVAL : NRC_FAILURE;
    EXPECT_EQ(NRegexpGetSub(h.re, 10, out), out_of_range);
    EXPECT_EQ(NRegexpGetSub(h.re, -1, out), out_of_range);
    // A failed match: TRE forgets the subject; the native slots are clear.
    EXPECT_EQ(NRegexpMatch(h.re, "xyz"), NRC_REGEXP_NO_MATCH);
    EXPECT_EQ(NRegexpGetSub(h.re, 0, out), NRC_FAILURE);
}

TEST_P(Engines, SubstitutionTemplates)
{
    Handle h("(a+)(b*)(z)?");
    ASSERT_EQ(h.rc, 0);
    ASSERT_EQ(NRegexpMatch(h.re, "xaab!"), 0);
    const std::pair<const char *, const char *> cases[] = {
        {"a&b", "aaabb"},          {"\\&", "&"},         {"\\q", "\\q"},        {"\\\\", "\\"},
        {"\\0|\\1|\\2|\\3|\\9", "aab|aa|b||"},           {"\\\\1", "\\1"},      {"\\&&", "&aab"},
        {"end\\", "end\\"},        {"", ""},             {"[\\2\\1]", "[baa]"}, {"\\a&", "\\aaab"},
    };
    for (const auto &[templ, expected] : cases) {
        char out[64] = "garbage";
        EXPECT_EQ(NRegexpSubst(h.re, templ, out), 0) << templ;
        EXPECT_STREQ(out, expected) << templ;
    }
    // After a failed match every group is unset.
    ASSERT_EQ(NRegexpMatch(h.re, "zzz"), NRC_REGEXP_NO_MATCH);
    char out[16];
    EXPECT_EQ(NRegexpSubst(h.re, "<&\\1>", out), 0);
    EXPECT_STREQ(out, "<>");
}

TEST_P(Engines, ChangedSubjectIsABadMatch)
{
    Handle h("b+");
    ASSERT_EQ(h.rc, 0);
    char subject[] = "abbbc";
    ASSERT_EQ(NRegexpMatch(h.re, subject), 0);
    subject[3] = '\0';
    char out[16];
    EXPECT_EQ(NRegexpSubst(h.re, "<&>", out), NRC_REGEXP_BAD_MATCH);
    EXPECT_STREQ(out, "<bb");
}

TEST_P(Engines, CommonExamples)
{
    // pattern, subject, code, whole match
    const std::tuple<const char *, const char *, NRC, const char *> cases[] = {
        {"abc", "xxabcxx", 0, "abc"}, {"^abc", "xabc", NRC_REGEXP_NO_MATCH, ""}, {"c$", "abc", 0, "c"},
        {"a|b", "xb", 0, "b"},        {"[0-9]+", "ab1234c", 0, "1234"},      {"", "", 0, ""},
        {"x*", "", 0, ""},            {"a.", "a", NRC_REGEXP_NO_MATCH, ""},   {"(ab)+", "ababa", 0, "abab"},
        {"[^a-c]", "abcd", 0, "d"},   {"a?b", "b", 0, "b"},
    };
    for (const auto &[pattern, subject, rc, whole] : cases) {
        Handle h(pattern);
        ASSERT_EQ(h.rc, 0) << pattern;
        EXPECT_EQ(NRegexpMatch(h.re, subject), rc) << pattern;
        char out[32] = "";
        if (rc == 0) {
            EXPECT_EQ(NRegexpGetSub(h.re, 0, out), 0) << pattern;
            EXPECT_STREQ(out, whole) << pattern;
        }
    }
}

TEST_P(Engines, BadArguments)
{
    NRegexp *re = nullptr;
    EXPECT_EQ(NRegexpCompile(nullptr, &re), EINVAL);
    EXPECT_EQ(NRegexpCompile("a", nullptr), EINVAL);
    Handle h("a");
    ASSERT_EQ(h.rc, 0);
    char out[8];
    EXPECT_EQ(NRegexpMatch(nullptr, "a"), EINVAL);
    EXPECT_EQ(NRegexpMatch(h.re, nullptr), EINVAL);
    EXPECT_EQ(NRegexpGetSub(nullptr, 0, out), EINVAL);
    EXPECT_EQ(NRegexpGetSub(h.re, 0, nullptr), EINVAL);
    EXPECT_EQ(NRegexpSubst(nullptr, "&", out), EINVAL);
    EXPECT_EQ(NRegexpSubst(h.re, nullptr, out), EINVAL);
    EXPECT_EQ(NRegexpSubst(h.re, "&", nullptr), EINVAL);
    NRegexpFree(nullptr);
    NRegexpDump(nullptr);
}

// A failed compile leaves out alone (and, under ASan, nothing allocated).
TEST_P(Engines, BadPatternsLeaveOutAlone)
{
    const char *patterns[] = {"a[", "(a", "a)", "a\\", "*", "[z-a]", "((((((((((a))))))))))"};
    for (const char *pattern : patterns) {
        static char marker;
        auto *sentinel = reinterpret_cast<NRegexp *>(&marker);
        NRegexp *re = sentinel;
        const NRC rc = NRegexpCompile(pattern, &re);
        if (rc != 0) {
            EXPECT_EQ(re, sentinel) << pattern;
            EXPECT_TRUE(rc == NRC_REGEXP_INVALID || rc == NRC_FAILURE) << pattern << " " << rc;
        } else {
            NRegexpFree(re);
        }
    }
}

// Bytes that are no valid text, long patterns and subjects: codes, never a
// crash.
TEST_P(Engines, BadInputGivesCodes)
{
    const std::vector<std::string> patterns = {
        "\xff\xfe", "[\x80-\xff]+", "a\xc3", std::string(65 * 1024, 'x'), std::string(300, '('),
        std::string(300, '(') + std::string(300, ')'), "(((((((((a)))))))))", "a|", "|",
    };
    const std::vector<std::string> subjects = {"", "\xff\xfe\xfd", "a\xc3\x28", std::string(2000, 'x')};
    for (const std::string &pattern : patterns) {
        NRegexp *re = nullptr;
        const NRC rc = NRegexpCompile(pattern.c_str(), &re);
        if (rc != 0) {
            EXPECT_TRUE(rc == NRC_REGEXP_INVALID || rc == NRC_REGEXP_TOO_BIG || rc == NRC_FAILURE ||
                        rc == ENOMEM)
                << pattern.substr(0, 20) << ": " << rc;
            EXPECT_EQ(re, nullptr);
            continue;
        }
        for (const std::string &subject : subjects) {
            const NRC m = NRegexpMatch(re, subject.c_str());
            EXPECT_TRUE(m == 0 || m == NRC_REGEXP_NO_MATCH || m == NRC_FAILURE) << m;
            char out[8];
            (void)NRegexpSubst(re, "", out);
        }
        NRegexpFree(re);
    }
}

INSTANTIATE_TEST_SUITE_P(Regexp, Engines, ::testing::Values(NREGEXP_LIBRARY_TRE, NREGEXP_LIBRARY_TARVOLK),
                         [](const ::testing::TestParamInfo<int32_t> &param) {
                             return std::string(param.param == NREGEXP_LIBRARY_TRE ? "Tre" : "Native");
                         });

} // namespace
