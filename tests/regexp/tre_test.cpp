// The TRE driver against TRE called directly: the same compile results
// (mapped to the library's codes), the same match results and the same
// substrings, on every pair of a list of extended expressions and subjects.
#include <tarvolk/regexp.h>
#include <tarvolk/retcode.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <string>
#include <vector>

#include "tre_direct.h"

namespace {

// The library's code for a tre_regcomp result.
NRC expected_compile_code(int result)
{
    static const std::map<std::string, NRC> table = {
        {"REG_OK", 0},
        {"REG_BADPAT", NRC_REGEXP_INVALID},
        {"REG_ECOLLATE", NRC_REGEXP_INVALID},
        {"REG_ECTYPE", NRC_REGEXP_INVALID},
        {"REG_EESCAPE", NRC_REGEXP_INVALID},
        {"REG_ESUBREG", NRC_REGEXP_INVALID},
        {"REG_EBRACK", NRC_REGEXP_INVALID},
        {"REG_EBRACE", NRC_REGEXP_INVALID},
        {"REG_BADBR", NRC_REGEXP_INVALID},
        {"REG_BADRPT", NRC_REGEXP_INVALID},
        {"REG_ESPACE", ENOMEM},
    };
    for (const auto &[name, rc] : table)
        if (tre_direct::code(name) == result)
            return rc;
    return NRC_FAILURE;
}

TEST(TreDriver, CompileCodes)
{
    // pattern, TRE's result, the library's code
    const std::vector<std::tuple<const char *, const char *, NRC>> cases = {
        {"a(b", "REG_EPAREN", NRC_FAILURE},   {"a)", "REG_OK", 0},
        {"a[", "REG_EBRACK", NRC_REGEXP_INVALID}, {"a{1", "REG_EBRACE", NRC_REGEXP_INVALID},
        {"a{2,1}", "REG_BADBR", NRC_REGEXP_INVALID}, {"[[:nope:]]", "REG_ECTYPE", NRC_REGEXP_INVALID},
        {"a\\", "REG_EESCAPE", NRC_REGEXP_INVALID}, {"(a)\\2", "REG_ESUBREG", NRC_REGEXP_INVALID},
        {"[z-a]", "REG_ERANGE", NRC_FAILURE},
    };
    ASSERT_EQ(NRegexpLibrarySwitch(NREGEXP_LIBRARY_TRE), 0);
    for (const auto &[pattern, tre_name, rc] : cases) {
        const tre_direct::Result direct = tre_direct::run(pattern, "");
        NRegexp *re = nullptr;
        const NRC got = NRegexpCompile(pattern, &re);
        NRegexpFree(re);
        EXPECT_EQ(direct.compile, tre_direct::code(tre_name)) << pattern;
        EXPECT_EQ(got, rc) << pattern;
        EXPECT_EQ(got, expected_compile_code(direct.compile)) << pattern;
    }
}

// Patterns on which TRE itself reads past the pattern, allocates without
// end, or wraps a count: the driver answers as TRE means to.
TEST(TreDriver, PatternsThatTripTre)
{
    ASSERT_EQ(NRegexpLibrarySwitch(NREGEXP_LIBRARY_TRE), 0);
    const std::vector<std::pair<const char *, NRC>> refused = {
        {"[[:alpha:", NRC_REGEXP_INVALID}, {"x[^a[:digit:", NRC_REGEXP_INVALID},
        {"[[.a.]]", NRC_REGEXP_INVALID},   {"a{4294967297}", NRC_REGEXP_INVALID},
        {"a{256}", NRC_REGEXP_INVALID},    {"a{1,66666666666666666666}", NRC_REGEXP_INVALID},
    };
    for (const auto &[pattern, rc] : refused) {
        NRegexp *re = nullptr;
        EXPECT_EQ(NRegexpCompile(pattern, &re), rc) << pattern;
        NRegexpFree(re);
    }
    // A ")" that closes no group is a literal, also behind an escaped
    // backslash; the results are those of TRE on the pattern with "\)".
    const std::vector<std::pair<std::string, std::string>> literal_paren = {
        {"\\\\)", "\\\\\\)"},
        {"a|x\\\\)", "a|x\\\\\\)"},
        {"[[:alpha: ]\\\\)", "[[:alpha: ]\\\\\\)"},
        {"(a\\\\)", "(a\\\\)"},
    };
    for (const auto &[pattern, same_as] : literal_paren) {
        NRegexp *re = nullptr;
        ASSERT_EQ(NRegexpCompile(pattern.c_str(), &re), 0) << pattern;
        for (const std::string subject : {"x\\)", "a\\", "b \\)"}) {
            const tre_direct::Result direct = tre_direct::run(same_as, subject);
            ASSERT_EQ(direct.compile, 0) << same_as;
            EXPECT_EQ(NRegexpMatch(re, subject.c_str()), direct.exec == 0 ? 0 : NRC_REGEXP_NO_MATCH)
                << pattern << " on " << subject;
        }
        NRegexpFree(re);
    }
    NRegexp *re = nullptr;
    ASSERT_EQ(NRegexpCompile("a{255}", &re), 0);
    NRegexpFree(re);
}

TEST(TreDriver, SameResultsAsTreDirect)
{
    const std::vector<std::string> patterns = {
        "", "a", "abc", "a|b", "a|ab", "(a|ab)(c|bcd)", "(a)|b", "(a)*", "(a*)*", "(a|b)*c", "a+b+",
        "x?y?z?", "^abc", "abc$", "^$", "a.c", "[abc]+", "[^abc]+", "[a-c]{2,3}", "a{2}", "(ab){1,2}",
        "([0-9]+)-([0-9]+)", "[[:alpha:]]+", "[[:digit:]]*x", "[[:space:]]", "(((((((((a)))))))))",
        "((a)(b)(c)(d)(e)(f)(g)(h)(i)(j))", "()", "(|a)", "a**", "(a)(b)?(c)", "\\.", "[.]", "a\\|b",
        "(a|b|c|d)+e", "(x+x+)+y", "[]a]", "[^]a]", "(.*)(.*)", "(a+|b+)*", "a(b|c)*d", "[a-]+", "(^a)",
        "(a$)", "a(b)\\1", "\xe9+",
    };
    const std::vector<std::string> subjects = {
        "", "a", "abc", "abcd", "xxabcxx", "aaabbb", "ab-cd", "123-456", "a.c a c", "xxxxy",
        "abcdefghij", "b", "aab]a", "abbbcd", "\n \t", "abb", "caf\xe9\xe9",
    };
    ASSERT_EQ(NRegexpLibrarySwitch(NREGEXP_LIBRARY_TRE), 0);
    int pairs = 0;
    for (const std::string &pattern : patterns) {
        NRegexp *re = nullptr;
        const NRC rc = NRegexpCompile(pattern.c_str(), &re);
        for (const std::string &subject : subjects) {
            const tre_direct::Result direct = tre_direct::run(pattern, subject);
            ASSERT_EQ(rc, expected_compile_code(direct.compile)) << pattern;
            if (rc != 0)
                break;
            ++pairs;
            const NRC m = NRegexpMatch(re, subject.c_str());
            const NRC expected = direct.exec == 0 ? 0
                                 : direct.exec == tre_direct::code("REG_NOMATCH") ? NRC_REGEXP_NO_MATCH
                                                                                  : NRC_FAILURE;
            ASSERT_EQ(m, expected) << pattern << " on " << subject;
            for (int32_t i = 0; i < 10; ++i) {
                char out[64] = "?";
                const int so = direct.offsets[2 * i];
                const int eo = direct.offsets[2 * i + 1];
                const NRC sub = NRegexpGetSub(re, i, out);
                if (m != 0 || so == -1 || eo == -1) {
                    EXPECT_EQ(sub, NRC_FAILURE) << pattern << " on " << subject << " #" << i;
                    continue;
                }
                EXPECT_EQ(sub, 0) << pattern << " on " << subject << " #" << i;
                EXPECT_EQ(out, subject.substr(static_cast<size_t>(so), static_cast<size_t>(eo - so)))
                    << pattern << " on " << subject << " #" << i;
            }
        }
        NRegexpFree(re);
    }
    EXPECT_GE(pairs, 300);
}

} // namespace
