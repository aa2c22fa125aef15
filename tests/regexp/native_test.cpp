// The library's own engine: its language (what it accepts and refuses), the
// layout data (start byte, anchor, must text) through the dump, leftmost-
// first matching against Python's re on a generated table, the known
// differences from Python, and the limits (program size, link length,
// recursion depth).
#include <tarvolk/regexp.h>
#include <tarvolk/retcode.h>

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

#include "regexp/regexp_private.h"

namespace {

class Native : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(NRegexpLibrarySwitch(NREGEXP_LIBRARY_TARVOLK), 0); }
    void TearDown() override { NRegexpLibrarySwitch(NREGEXP_LIBRARY_TRE); }
};

// Compiles, or gives the code.
struct Compiled {
    NRC rc = 0;
    NRegexp *re = nullptr;
    explicit Compiled(const std::string &pattern) { rc = NRegexpCompile(pattern.c_str(), &re); }
    ~Compiled() { NRegexpFree(re); }
    Compiled(const Compiled &) = delete;
    Compiled &operator=(const Compiled &) = delete;
};

// "start,end" of every substring of the last match, "-" for unset ones,
// the whole as "s,e s,e - ..."; "no" when the match failed.
std::string spans(NRegexp *re, const char *subject)
{
    const NRC rc = NRegexpMatch(re, subject);
    if (rc == NRC_REGEXP_NO_MATCH)
        return "no";
    if (rc != 0)
        return "rc " + std::to_string(rc);
    const auto *subs = reinterpret_cast<const NRegexpSubs *>(re);
    std::string out;
    for (int i = 0; i < kRegexpSubs; ++i) {
        if (i > 0)
            out += ' ';
        if (subs->start[i] == nullptr)
            out += '-';
        else
            out += std::to_string(subs->start[i] - subject) + ',' + std::to_string(subs->end[i] - subject);
    }
    while (out.size() > 1 && out.ends_with(" -"))
        out.resize(out.size() - 2);
    return out;
}

std::string dump_of(NRegexp *re)
{
    testing::internal::CaptureStdout();
    NRegexpDump(re);
    return testing::internal::GetCapturedStdout();
}

struct TableRow {
    const char *pattern;
    const char *subject;
    bool matched;
    int offsets[2 * kRegexpSubs];
};

const TableRow python_table[] = {
#include "native_table.inc"
};

TEST_F(Native, SyntaxAcceptedAndRefused)
{
    const std::pair<const char *, NRC> cases[] = {
        {"", 0}, {"()", 0}, {"a?", 0}, {"(a?)?", 0}, {"{", 0}, {"]", 0}, {"}", 0}, {"a{2}", 0},
        {"[]a]", 0}, {"[^]a]", 0}, {"[a-]", 0}, {"[-a]", 0}, {"[a-a]", 0}, {"[\\]", 0}, {"\\n", 0},
        {"(((((((((a)))))))))", 0}, {"^*$", NRC_REGEXP_INVALID}, {"(a*)*", NRC_REGEXP_INVALID},
        {"()+", NRC_REGEXP_INVALID}, {"a**", NRC_REGEXP_INVALID}, {"a+?", NRC_REGEXP_INVALID},
        {"a?*", NRC_REGEXP_INVALID}, {"*a", NRC_REGEXP_INVALID}, {"a|*b", NRC_REGEXP_INVALID},
        {"(+a)", NRC_REGEXP_INVALID}, {"?", NRC_REGEXP_INVALID}, {"a\\", NRC_REGEXP_INVALID},
        {"(a", NRC_REGEXP_INVALID}, {"a)", NRC_REGEXP_INVALID}, {")", NRC_REGEXP_INVALID},
        {"[a", NRC_REGEXP_INVALID}, {"[", NRC_REGEXP_INVALID}, {"[]", NRC_REGEXP_INVALID},
        {"[z-a]", NRC_REGEXP_INVALID}, {"((((((((((a))))))))))", NRC_REGEXP_INVALID},
        {"()()()()()()()()()()", NRC_REGEXP_INVALID}, {"\xff\x80[\xc0-\xff]", 0},
    };
    for (const auto &[pattern, rc] : cases) {
        Compiled c(pattern);
        EXPECT_EQ(c.rc, rc) << pattern;
        EXPECT_EQ(c.re == nullptr, rc != 0) << pattern;
    }
}

TEST_F(Native, DumpShowsProgramAndOptimisationData)
{
    const std::pair<const char *, const char *> cases[] = {
        {"ab*c", " 1:BRANCH(22)\n 4:EXACTLY(9)a\n 9:STAR(17)\n12:EXACTLY(0)b\n17:EXACTLY(22)c\n22:END(0)\n"
                 "start `a' \n"},
        {"^abc", " 1:BRANCH(14)\n 4:BOL(7)\n 7:EXACTLY(14)abc\n14:END(0)\nanchored \n"},
        {"a|b", " 1:BRANCH(9)\n 4:EXACTLY(17)a\n 9:BRANCH(17)\n12:EXACTLY(17)b\n17:END(0)\n\n"},
        {".*abc", " 1:BRANCH(17)\n 4:STAR(10)\n 7:ANY(0)\n10:EXACTLY(17)abc\n17:END(0)\nmust have \"abc\""
                  "\n"},
        {"(a)", " 1:BRANCH(18)\n 4:OPEN1(7)\n 7:BRANCH(15)\n10:EXACTLY(15)a\n15:CLOSE1(18)\n18:END(0)\n\n"},
        {"[^]a]+", " 1:BRANCH(13)\n 4:PLUS(13)\n 7:ANYBUT(0)]a\n13:END(0)\n\n"},
        {"", " 1:BRANCH(7)\n 4:NOTHING(7)\n 7:END(0)\n\n"},
    };
    for (const auto &[pattern, dump] : cases) {
        Compiled c(pattern);
        ASSERT_EQ(c.rc, 0) << pattern;
        EXPECT_EQ(dump_of(c.re), dump) << pattern;
    }
}

TEST_F(Native, MustTextIsTheLongestLiteralLaterOnTies)
{
    const std::pair<const char *, const char *> cases[] = {
        {".*abc", "abc"}, {"x*ab*cde", "cde"}, {"x*ab*cd", "cd"}, {"a+bc", "bc"}, {"(ab)+c", "c"},
        {"a?bc", ""}, {"abc", ""}, {"x*ab|cd", ""},
    };
    for (const auto &[pattern, must] : cases) {
        Compiled c(pattern);
        ASSERT_EQ(c.rc, 0) << pattern;
        const std::string dump = dump_of(c.re);
        const std::string tail = dump.substr(dump.rfind('\n', dump.size() - 2) + 1);
        if (*must == '\0')
            EXPECT_EQ(tail.find("must"), std::string::npos) << pattern << ": " << tail;
        else
            EXPECT_NE(tail.find(std::string("must have \"") + must + "\""), std::string::npos)
                << pattern << ": " << tail;
    }
}

TEST_F(Native, LeftmostFirstGreedy)
{
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"a*", "baaa", "0,0"},
        {"(a|ab)c", "abc", "0,3 0,2"},
        {"(a|ab)(c|bcd)", "abcd", "0,4 0,1 1,4"},
        {"(a)|b", "b", "0,1"},
        {"(a)*", "aa", "0,2 1,2"},
        {"(a|(b))*", "ba", "0,2 1,2 0,1"},
        {"[a-]+", "x-a-b", "1,4"},
        {"[]a]+", "x]a]b", "1,4"},
        {"[^]a]+", "]a]xyz", "3,6"},
        {"\\.", "a.b", "1,2"},
        {"\\n", "\nn", "1,2"},
        {"{", "a{", "1,2"},
        {"a.", "a", "no"},
        {"a?", "xyz", "0,0"},
        {"", "", "0,0"},
        {"$", "abc", "3,3"},
        {"b$", "ab\n", "no"},
        {"a^b", "ab", "no"},
        {"(^a|b)+", "aab", "0,1 0,1"},
        {"a.c", "a\nc", "0,3"},
        {"abc*", "abccd", "0,4"},
        {"ab+", "abab", "0,2"},
        {"x*ab*cde", "xxabbcde", "0,8"},
        {"(((((((((a)))))))))", "a", "0,1 0,1 0,1 0,1 0,1 0,1 0,1 0,1 0,1 0,1"},
        {"()", "x", "0,0 0,0"},
        {"\xe9+", "caf\xe9\xe9", "3,5"},
    };
    for (const auto &[pattern, subject, expected] : cases) {
        Compiled c(pattern);
        ASSERT_EQ(c.rc, 0) << pattern;
        EXPECT_EQ(spans(c.re, subject), expected) << pattern << " on " << subject;
    }
}

// The engine against Python's re on the shared language: whether it
// matches, and where each substring starts and ends.
TEST_F(Native, AgreesWithPythonOnGeneratedTable)
{
    int checked = 0;
    for (const TableRow &row : python_table) {
        Compiled c(row.pattern);
        ASSERT_EQ(c.rc, 0) << row.pattern;
        std::string expected = "no";
        if (row.matched) {
            expected.clear();
            for (int i = 0; i < kRegexpSubs; ++i) {
                if (i > 0)
                    expected += ' ';
                if (row.offsets[2 * i] < 0)
                    expected += '-';
                else
                    expected += std::to_string(row.offsets[2 * i]) + ',' + std::to_string(row.offsets[2 * i + 1]);
            }
            while (expected.size() > 1 && expected.ends_with(" -"))
                expected.resize(expected.size() - 2);
        }
        EXPECT_EQ(spans(c.re, row.subject), expected) << "pattern \"" << row.pattern << "\" subject \""
                                                      << row.subject << "\"";
        ++checked;
    }
    EXPECT_GE(checked, 1000);
}

// Where the engine and Python's re part: each row is the engine's own
// behaviour, with what Python does in the comment.
TEST_F(Native, KnownDifferencesFromPython)
{
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"b$", "ab\n", "no"},         // Python's $ also matches before a last newline
        {"a.c", "a\nc", "0,3"},       // Python's . skips a newline without DOTALL
        {"\\n", "\n", "no"},          // a backslash makes the next byte literal: the letter n
        {"\\d", "5d", "1,2"},         // no class escapes: the letter d
        {"a{2}", "aa a{2}", "3,7"},   // braces are literals, not a bound
        {"[\\d]", "\\", "0,1"},       // a backslash is a class member
        {"[a-c-e]", "d", "0,1"},      // after a range, "-e" ranges from the range's end
        {"[a-c-e]", "-", "no"},       // Python: "-" is a member there
    };
    for (const auto &[pattern, subject, expected] : cases) {
        Compiled c(pattern);
        ASSERT_EQ(c.rc, 0) << pattern;
        EXPECT_EQ(spans(c.re, subject), expected) << pattern << " on " << subject;
    }
    // Accepted by Python, refused here: a lazy repetition, a repeated group
    // that may be empty.
    for (const char *pattern : {"a+?", "a*?", "(a*)*", "(a?)+", "(|a)*"}) {
        Compiled c(pattern);
        EXPECT_EQ(c.rc, NRC_REGEXP_INVALID) << pattern;
    }
}

TEST_F(Native, SubstringsAndSubstitution)
{
    Compiled c("(a+)(x)?(b*)");
    ASSERT_EQ(c.rc, 0);
    char out[64];
    EXPECT_EQ(NRegexpGetSub(c.re, 0, out), NRC_FAILURE); // before any match: unset
    ASSERT_EQ(NRegexpMatch(c.re, "zaab"), 0);
    const std::tuple<int32_t, NRC, const char *> subs[] = {
        {0, 0, "aab"}, {1, 0, "aa"}, {2, NRC_FAILURE, ""}, {3, 0, "b"}, {4, NRC_FAILURE, ""},
        {10, NRC_FAILURE, ""}, {-1, NRC_FAILURE, ""},
    };
    for (const auto &[index, rc, text] : subs) {
        out[0] = '\0';
        EXPECT_EQ(NRegexpGetSub(c.re, index, out), rc) << index;
        EXPECT_STREQ(out, text) << index;
    }
    EXPECT_EQ(NRegexpSubst(c.re, "<\\1|\\2|\\3|&>", out), 0);
    EXPECT_STREQ(out, "<aa||b|aab>");
    // A failed match leaves every group unset.
    EXPECT_EQ(NRegexpMatch(c.re, "zzz"), NRC_REGEXP_NO_MATCH);
    EXPECT_EQ(NRegexpSubst(c.re, "<&\\1>", out), 0);
    EXPECT_STREQ(out, "<>");
    EXPECT_EQ(NRegexpGetSub(c.re, 0, out), NRC_FAILURE);
}

// A search with no try at all (no position holds the start byte) still
// leaves no substring of an earlier match behind.
TEST_F(Native, EveryMatchStartsFromClearSlots)
{
    Compiled c("a(b)");
    ASSERT_EQ(c.rc, 0);
    ASSERT_EQ(NRegexpMatch(c.re, "ab"), 0);
    EXPECT_EQ(NRegexpMatch(c.re, "xyz"), NRC_REGEXP_NO_MATCH);
    char out[8];
    EXPECT_EQ(NRegexpGetSub(c.re, 1, out), NRC_FAILURE);
    Compiled must(".*abc");
    ASSERT_EQ(NRegexpMatch(must.re, "xabc"), 0);
    EXPECT_EQ(NRegexpMatch(must.re, "xab"), NRC_REGEXP_NO_MATCH); // refused by the must text
    EXPECT_EQ(NRegexpGetSub(must.re, 0, out), NRC_FAILURE);
}

TEST_F(Native, DamagedProgramAndSubject)
{
    Compiled c("(a+)");
    ASSERT_EQ(c.rc, 0);
    std::string subject = "xaaay";
    ASSERT_EQ(NRegexpMatch(c.re, subject.c_str()), 0);
    char out[32];
    subject[2] = '\0'; // the subject changes after the match
    EXPECT_EQ(NRegexpSubst(c.re, "[\\1]", out), NRC_REGEXP_BAD_MATCH);
    EXPECT_STREQ(out, "[a");

    auto *program = reinterpret_cast<unsigned char *>(c.re) + sizeof(NRegexpSubs) + 2 * sizeof(void *) + 8;
    ASSERT_EQ(*program, 0234);
    *program = 0;
    EXPECT_EQ(NRegexpMatch(c.re, "a"), NRC_REGEXP_INVALID);
    EXPECT_EQ(NRegexpSubst(c.re, "&", out), NRC_REGEXP_INVALID);
    *program = 0234;
    EXPECT_EQ(NRegexpMatch(c.re, "a"), 0);
}

TEST_F(Native, ProgramSizeAndLinkLimits)
{
    // One literal of n bytes: BRANCH, EXACTLY and END take n + 11 bytes, and
    // the BRANCH links n + 7 bytes ahead. A link must fit in 15 bits.
    const std::pair<size_t, NRC> literal[] = {
        {32760, 0}, {32761, NRC_REGEXP_TOO_BIG}, {65524, NRC_REGEXP_TOO_BIG}, {65525, NRC_REGEXP_TOO_BIG},
        {65 * 1024, NRC_REGEXP_TOO_BIG}, {1 << 20, NRC_REGEXP_TOO_BIG},
    };
    for (const auto &[n, rc] : literal) {
        std::string pattern(n, 'q');
        Compiled c(pattern);
        EXPECT_EQ(c.rc, rc) << n;
        if (rc == 0) {
            EXPECT_EQ(NRegexpMatch(c.re, (pattern + "q").c_str()), 0);
            EXPECT_EQ(NRegexpMatch(c.re, pattern.substr(1).c_str()), NRC_REGEXP_NO_MATCH);
        }
    }
    // Short links, but a 65 KiB pattern of pieces: too big either way.
    std::string pieces;
    while (pieces.size() < 65 * 1024)
        pieces += "a?";
    EXPECT_EQ(Compiled(pieces).rc, NRC_REGEXP_TOO_BIG);
    // Syntax is checked before size.
    EXPECT_EQ(Compiled(std::string(70000, 'a') + "(").rc, NRC_REGEXP_INVALID);
}

// A repeated group recurses once per iteration or more. The depth is
// bounded: a long subject gives NRC_FAILURE, a moderate one still matches.
TEST_F(Native, RecursionDepthIsBounded)
{
    Compiled c("(ab)*c");
    ASSERT_EQ(c.rc, 0);
    std::string moderate;
    for (int i = 0; i < 1000; ++i)
        moderate += "ab";
    EXPECT_EQ(spans(c.re, (moderate + "c").c_str()), "0,2001 1998,2000");
    std::string deep;
    for (int i = 0; i < 200000; ++i)
        deep += "ab";
    EXPECT_EQ(NRegexpMatch(c.re, (deep + "c").c_str()), NRC_FAILURE);
    char out[8];
    EXPECT_EQ(NRegexpGetSub(c.re, 0, out), NRC_FAILURE);
    // One-byte repetitions don't recurse per byte.
    Compiled star("x[ab]*c");
    EXPECT_EQ(spans(star.re, ("x" + deep + "c").c_str()), "0," + std::to_string(deep.size() + 2));
}

TEST_F(Native, StepLimitEndsExponentialBacktracking)
{
    Compiled c("(a|aa)+b");
    ASSERT_EQ(c.rc, 0);
    const std::string subject = std::string(60, 'a') + "cb";
    tvk::regexp::set_native_step_limit(100000);
    EXPECT_EQ(NRegexpMatch(c.re, subject.c_str()), NRC_FAILURE);
    EXPECT_EQ(NRegexpMatch(c.re, "aab"), 0); // a normal match is unchanged
    tvk::regexp::set_native_step_limit(0);
}

} // namespace
