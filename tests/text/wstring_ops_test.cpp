// Character-aware operations on multibyte, UTF-16 and wide text: cutting at
// whole characters in several code sets, boundary tables, walking UTF-16,
// trimming, case, classes and the UTF-16 helpers.
#include "text_support.h"

#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <cwctype>

using namespace text_test;

namespace {

class TextOpsTest : public ::testing::Test {
protected:
    void SetUp() override { capture_log(); }
    void TearDown() override { NUStringThrSpecificDataFree(); }
};

// The byte offsets behind each character of a UTF-8 text once it is
// encoded in the locale's code set, found with iconv one character at a
// time.
std::vector<int32_t> character_ends(const std::string &utf8_text, const Locale &locale)
{
    std::vector<int32_t> ends;
    int32_t offset = 0;
    for (size_t i = 0; i < utf8_text.size();) {
        size_t length = 1;
        const auto lead = static_cast<unsigned char>(utf8_text[i]);
        if (lead >= 0xF0)
            length = 4;
        else if (lead >= 0xE0)
            length = 3;
        else if (lead >= 0xC0)
            length = 2;
        offset += static_cast<int32_t>(encode(utf8_text.substr(i, length), locale).size());
        ends.push_back(offset);
        i += length;
    }
    return ends;
}

struct Sample {
    const Locale *locale;
    const char *utf8_text;
};

const Sample multibyte_samples[] = {
    {&utf8, "aé日😀b"},
    {&utf8, "ÀÉÎÕÜ"},
    {&latin1, "Grüße!"},
    {&eucjp, "日本ｶﾀ語a"},
    {&sjis, "表示ｶﾀ日本a"},
};

TEST_F(TextOpsTest, CutsFallOnWholeCharactersAtEveryBytePosition)
{
    for (const Sample &sample : multibyte_samples) {
        TEXT_TEST_ENTER(*sample.locale);
        SCOPED_TRACE(std::string(sample.locale->name) + ": " + sample.utf8_text);
        const std::string native = encode(sample.utf8_text, *sample.locale);
        const std::vector<int32_t> ends = character_ends(sample.utf8_text, *sample.locale);
        const auto bytes = static_cast<int32_t>(native.size());
        ASSERT_EQ(bytes, ends.back());
        EXPECT_EQ(static_cast<int32_t>(ends.size()), NUStringMbsCountUChar32(native.c_str()));
        EXPECT_EQ(ends[0], NUStringMbcSize(native.c_str()));
        NUChar32 first = 0;
        EXPECT_EQ(ends[0], NUStringMbCharToUChar32(&first, native.c_str(), bytes));
        EXPECT_EQ(static_cast<NUChar32>(utf16_of(sample.utf8_text)[0]), first);

        for (int32_t limit = 0; limit <= bytes + 2; ++limit) {
            int32_t whole = 0;
            for (int32_t end : ends)
                if (end <= limit)
                    whole = end;
            SCOPED_TRACE("limit " + std::to_string(limit));
            int32_t u_limit = limit, w_limit = limit;
            EXPECT_EQ(0, NUStringMbsLimit(native.c_str(), bytes, &u_limit));
            EXPECT_EQ(whole, u_limit);
            EXPECT_EQ(0, NWStringMbsLimit(native.c_str(), bytes, &w_limit));
            EXPECT_EQ(whole, w_limit);

            std::string cut = native;
            int32_t t_limit = limit;
            EXPECT_EQ(0, NUStringMbsTruncate(cut.data(), bytes, &t_limit));
            EXPECT_EQ(native.substr(0, static_cast<size_t>(whole)), cut.c_str());
            cut = native;
            t_limit = limit;
            EXPECT_EQ(0, NWStringMbsTruncate(cut.data(), bytes, &t_limit));
            EXPECT_EQ(native.substr(0, static_cast<size_t>(whole)), cut.c_str());

            std::string copy(static_cast<size_t>(limit) + 1, '#');
            EXPECT_EQ(copy.data(), NUStringMbsStrncpy(copy.data(), native.c_str(), limit));
            EXPECT_EQ(native.substr(0, static_cast<size_t>(whole)), copy.c_str());
            copy.assign(static_cast<size_t>(limit) + 1, '#');
            EXPECT_EQ(copy.data(), NWStringMbsStrncpy(copy.data(), native.c_str(),
                                                      static_cast<size_t>(limit)));
            EXPECT_EQ(native.substr(0, static_cast<size_t>(whole)), copy.c_str());
        }
    }
    EXPECT_TRUE(take_logged().empty());
}

TEST_F(TextOpsTest, BadBytesCountAsOneCharacterInWalks)
{
    TEXT_TEST_ENTER(utf8);
    const char *text = "a\xff\xc3\xa9";
    int32_t limit = 2;
    EXPECT_EQ(0, NWStringMbsLimit(text, 4, &limit));
    EXPECT_EQ(2, limit);
    limit = 3;
    EXPECT_EQ(0, NUStringMbsLimit(text, 4, &limit));
    EXPECT_EQ(2, limit);
    EXPECT_EQ(3, NUStringMbsCountUChar32(text));
    take_logged();
    // A bad byte decodes as the substitute, and is reported.
    EXPECT_EQ(1, NUStringMbcSize("\xc3"));
    NUChar32 code_point = 77;
    EXPECT_EQ(1, NUStringMbCharToUChar32(&code_point, "\xff", 1));
    EXPECT_EQ(0xFFFD, code_point);
    EXPECT_EQ(2U, take_logged().size());
    // Nothing to decode: nothing stored.
    code_point = 77;
    EXPECT_EQ(0, NUStringMbCharToUChar32(&code_point, "", 0));
    EXPECT_EQ(77, code_point);
    EXPECT_EQ(0, NUStringMbcSize(""));
    // A count of 0 leaves only the terminator.
    char copy[4] = "xyz";
    NUStringMbsStrncpy(copy, "abc", 0);
    EXPECT_STREQ("", copy);
    std::strcpy(copy, "xyz");
    NWStringMbsStrncpy(copy, "abc", 0);
    EXPECT_STREQ("", copy);
}

TEST_F(TextOpsTest, BoundaryTablesMapUnitsToByteOffsets)
{
    TEXT_TEST_ENTER(utf8);
    // a, é, 😀 (two units), b
    const char *text = "a\xc3\xa9\xf0\x9f\x98\x80" "b";
    const std::vector<int32_t> expected = {0, 1, 3, 7, 7, 8};
    int32_t *wide_table = nullptr;
    int32_t count = 0;
    int32_t wide = 0;
    ASSERT_EQ(0, NUStringMbsGetCodePointBoundaryV2(text, &wide_table, &count, &wide));
    EXPECT_EQ(expected, std::vector<int32_t>(wide_table, wide_table + count));
    EXPECT_EQ(1, wide);
    n_free(wide_table);

    uint8_t *narrow_table = nullptr;
    wide = 0;
    ASSERT_EQ(0, NUStringMbsGetCodePointBoundary("a\xc3\xa9", &narrow_table, &count, &wide));
    EXPECT_EQ((std::vector<uint8_t>{0, 1, 3}), std::vector<uint8_t>(narrow_table, narrow_table + count));
    EXPECT_EQ(0, wide);
    n_free(narrow_table);

    // The two forms differ on the empty text.
    ASSERT_EQ(0, NUStringMbsGetCodePointBoundary("", &narrow_table, &count, &wide));
    EXPECT_EQ(1, count);
    EXPECT_EQ(0, narrow_table[0]);
    n_free(narrow_table);
    ASSERT_EQ(0, NUStringMbsGetCodePointBoundaryV2("", &wide_table, &count, &wide));
    EXPECT_EQ(nullptr, wide_table);
    EXPECT_EQ(0, count);

    // A bad byte moves the walk on by one.
    ASSERT_EQ(0, NUStringMbsGetCodePointBoundaryV2("\xff" "a", &wide_table, &count, &wide));
    EXPECT_EQ((std::vector<int32_t>{0, 1, 2}), std::vector<int32_t>(wide_table, wide_table + count));
    n_free(wide_table);
}

TEST(Utf16WalkTest, NextAndPreviousCombinePairsAndStayAtTheEnds)
{
    const std::u16string text = u"a\U0001F600\xD800";
    struct Step {
        int32_t index;
        NUChar32 next;
        int32_t after_next;
        NUChar32 previous;
        int32_t after_previous;
    };
    const Step steps[] = {
        {-1, 0, -1, 0, -1},       {0, u'a', 1, 0, 0},
        {1, 0x1F600, 3, u'a', 0}, {3, 0xD800, 4, 0x1F600, 1},
        {4, 0, 4, 0xD800, 3},     {5, 0, 5, 0, 5},
    };
    for (const Step &s : steps) {
        int32_t index = s.index;
        EXPECT_EQ(s.next, NUStringGetNextUChar32(text.c_str(), &index)) << s.index;
        EXPECT_EQ(s.after_next, index) << s.index;
        index = s.index;
        EXPECT_EQ(s.previous, NUStringGetPrevUChar32(text.c_str(), &index)) << s.index;
        EXPECT_EQ(s.after_previous, index) << s.index;
    }

    std::u16string changed = u"ab\U0001F600";
    EXPECT_EQ(0, NUStringSetBmpChrAtPrev(changed.data(), 2, u'X'));
    EXPECT_EQ(u"aX\U0001F600", changed);
    for (int32_t index : {0, 4, 5}) // before the start, behind a pair, past the end
        EXPECT_EQ(NRC_TEXT_INDEX_RANGE, NUStringSetBmpChrAtPrev(changed.data(), index, u'Y'));
    EXPECT_EQ(u"aX\U0001F600", changed);
}

TEST(Utf16WalkTest, SubstrAndTruncateCountCodePoints)
{
    struct Sub {
        std::u16string text;
        int32_t start, count;
        std::u16string expected;
    };
    const Sub subs[] = {
        {u"\U0001F600a", 1, 1, u"a"},      {u"\U0001F600a", 0, 1, u"\U0001F600"},
        {u"abc", 3, 1, u""},               {u"abc", 1, 0, u""},
        {u"abcdef", 2, -1, u"cdef"},       {u"ab", 1, 5, u"b"},
        {u"", 0, 3, u""},                  {u"\U0001F600\U0001F601", 1, 1, u"\U0001F601"},
        {u"\U0001F600", 1, 1, u""}, // start inside the text's units but behind its code points
    };
    for (const Sub &s : subs) {
        NUChar *out = nullptr;
        ASSERT_EQ(0, NUStringSubstr(s.text.c_str(), s.start, s.count, &out));
        EXPECT_EQ(s.expected, u16(out)) << s.start << "," << s.count;
        n_free(out);
    }

    std::u16string text = u"ab\U0001F600c";
    int32_t length = 3; // splits the pair
    EXPECT_EQ(0, NUStringUStrTruncate(text.data(), &length));
    EXPECT_EQ(2, length);
    EXPECT_EQ(u"ab", u16(text.c_str()));
    length = 9;
    EXPECT_EQ(NRC_TEXT_TRUNCATE_RANGE, NUStringUStrTruncate(text.data(), &length));
}

TEST(TrimTest, UStringTrimsUnicodeWhiteSpace)
{
    struct Case {
        std::u16string text;
        std::u16string right, both, left;
    };
    const Case cases[] = {
        {u" \u3000a b\u00a0\t\n", u" \u3000a b", u"a b", u"a b\u00a0\t\n"},
        {u"   ", u"", u"", u""},
        {u"", u"", u"", u""},
        {u"x", u"x", u"x", u"x"},
        {u"\U0001F600 ", u"\U0001F600", u"\U0001F600", u"\U0001F600 "},
    };
    for (const Case &c : cases) {
        std::u16string in_place = c.text;
        EXPECT_EQ(0, NUStringRTrim(in_place.data()));
        EXPECT_EQ(c.right, u16(in_place.c_str()));
        NUChar *both = nullptr;
        ASSERT_EQ(0, NUStringLRTrim(c.text.c_str(), &both));
        EXPECT_EQ(c.both, u16(both));
        n_free(both);
        NUChar *left = nullptr;
        ASSERT_EQ(0, NUStringLTrim(c.text.c_str(), &left));
        EXPECT_EQ(c.left, u16(left));
        EXPECT_GE(left, c.text.c_str()); // a pointer into the argument
    }
    // A length that cuts a pair drops its high unit first.
    std::u16string text = u"a \U0001F600";
    int32_t length = 3;
    EXPECT_EQ(0, NUStringRNTrim(text.data(), &length));
    EXPECT_EQ(1, length);
    EXPECT_EQ(u"a", u16(text.c_str()));
}

TEST(TrimTest, WideTrimsAndTheLoneCharacterOfWhiteSpace)
{
    ASSERT_NE(nullptr, std::setlocale(LC_ALL, "C.UTF-8"));
    struct Case {
        std::wstring text;
        std::wstring right, left, both;
    };
    const Case cases[] = {
        {L"  a b \t", L"  a b", L"a b \t", L"a b"},
        {L"\t  ", L"", L"", L"\t"},
        {L"", L"", L"", L""},
    };
    for (const Case &c : cases) {
        wchar_t *out = nullptr;
        ASSERT_EQ(0, NWStringRTrim(c.text.c_str(), &out));
        EXPECT_EQ(c.right, out);
        n_free(out);
        ASSERT_EQ(0, NWStringLTrim(c.text.c_str(), &out));
        EXPECT_EQ(c.left, out);
        n_free(out);
        ASSERT_EQ(0, NWStringLRTrim(c.text.c_str(), &out));
        EXPECT_EQ(c.both, out);
        n_free(out);
    }
}

TEST_F(TextOpsTest, MultibyteTrimWithACharacterNeverSplitsACharacter)
{
    struct Case {
        const Locale *locale;
        const char *utf8_text;
        char byte;
        const char *right;
        const char *both;
    };
    const Case cases[] = {
        {&utf8, "abc; ;  ", ';', "abc", "abc"},
        {&utf8, ";\u3000x\u3000;", ';', ";\u3000x", "x"},
        {&utf8, "", ';', "", ""},
        // In Shift_JIS the second byte of 表 is 0x5C, the byte of a backslash.
        {&sjis, "表", '\\', "表", "表"},
        {&sjis, "@表@", '@', "@表", "表"},
    };
    for (const Case &c : cases) {
        TEXT_TEST_ENTER(*c.locale);
        const std::string native = encode(c.utf8_text, *c.locale);
        char *out = nullptr;
        ASSERT_EQ(0, NUStringMbsRTrimWithChar(native.c_str(), &out, c.byte));
        EXPECT_EQ(encode(c.right, *c.locale), out) << c.utf8_text;
        n_free(out);
        ASSERT_EQ(0, NUStringMbsLRTrimWithChar(native.c_str(), &out, c.byte));
        EXPECT_EQ(encode(c.both, *c.locale), out) << c.utf8_text;
        n_free(out);
    }
}

TEST(CaseTest, FullCaseMappingAgreesWithIcu)
{
    const std::u16string words[] = {u"straße", u"ΌΣΟΣ", u"ǅemal", u"İstanbul", u"ﬁne",
                                    u"Ωmega 𐐀𐐨", u"", u"ÀÉÎ õü"};
    for (const std::u16string &word : words) {
        UErrorCode error = U_ZERO_ERROR;
        char16_t upper[64], lower[64];
        u_strToUpper(upper, 64, word.c_str(), -1, "", &error);
        u_strToLower(lower, 64, word.c_str(), -1, "", &error);
        ASSERT_TRUE(U_SUCCESS(error));
        NUChar *ours = NUStringUpper(word.c_str());
        EXPECT_EQ(std::u16string(upper), u16(ours));
        n_free(ours);
        ours = NUStringLower(word.c_str());
        EXPECT_EQ(std::u16string(lower), u16(ours));
        n_free(ours);
    }
    NUChar *upper = NUStringUpper(u"straße");
    EXPECT_EQ(u"STRASSE", u16(upper)); // the length changes
    n_free(upper);

    ASSERT_NE(nullptr, std::setlocale(LC_ALL, "C.UTF-8"));
    std::wstring wide = L"Grüße, ÉTÉ 1";
    EXPECT_EQ(wide.data(), NWStringUpper(wide.data()));
    EXPECT_EQ(std::wstring(L"GRÜßE, ÉTÉ 1"), wide); // one character for one
    NWStringLower(wide.data());
    EXPECT_EQ(std::wstring(L"grüße, été 1"), wide);
}

TEST(CaseTest, LowerAndUpperTestsDifferBetweenTheForms)
{
    ASSERT_NE(nullptr, std::setlocale(LC_ALL, "C.UTF-8"));
    struct Case {
        std::u16string u_text;
        std::wstring w_text;
        int32_t u_lower, u_upper, w_lower, w_upper;
    };
    const Case cases[] = {
        {u"abc1", L"abc1", 1, 0, 0, 0}, {u"ABC", L"ABC", 0, 1, 0, 1},
        {u"", L"", 1, 1, 1, 1},         {u"été", L"été", 1, 0, 1, 0},
        {u"a B", L"a B", 0, 0, 0, 0},   {u"123", L"123", 1, 1, 0, 0},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(c.u_lower, NUStringIsLower(c.u_text.c_str()));
        EXPECT_EQ(c.u_upper, NUStringIsUpper(c.u_text.c_str()));
        EXPECT_EQ(c.w_lower, NWStringIsLower(c.w_text.c_str()));
        EXPECT_EQ(c.w_upper, NWStringIsUpper(c.w_text.c_str()));
    }
    // Classes of code points beyond ASCII.
    EXPECT_EQ(1, NUStringUChar32IsDigit(0x0663));      // Arabic-Indic three
    EXPECT_EQ(1, NUStringUChar32IsSpace(0x3000));
    EXPECT_EQ(1, NUStringUChar32IsAlpha(0x65E5));
    EXPECT_EQ(0, NUStringUChar32IsPrint(0x0007));
    EXPECT_EQ(1, NUStringUChar32IsAlnum(0xFF11));
    EXPECT_EQ(0x00C9, NUStringUChar32ToUpper(0x00E9));
}

TEST(Utf16HelperTest, IntegersHashesAndPrintableText)
{
    struct Number {
        std::u16string text;
        int32_t base;
        int32_t value;
    };
    const Number numbers[] = {
        {u"\uFF0D\uFF11\uFF12", 10, -12}, {u"12x", 10, 12}, {u"x", 10, 0},
        {u"+-1", 10, 0},                  {u"\u0661\u0662\u0663", 10, 123},
        {u"ff", 16, 255},                 {u"-7", 10, -7},   {u"", 10, 0},
        {u"99999999999", 10, 2147483647}, {u"-99999999999", 10, -2147483647 - 1},
    };
    for (const Number &n : numbers)
        EXPECT_EQ(n.value, NUStringUStrToInteger(n.text.c_str(), n.base)) << n.value;

    EXPECT_EQ(26499U, NUStringHashString(u"abc"));
    EXPECT_EQ(0U, NUStringHashString(u""));
    // The high four bits fold back in 24 bits lower once the text is long.
    uint32_t expected = 0;
    const std::u16string long_text = u"a longer text of some length \u65E5\u672C";
    for (char16_t unit : long_text) {
        expected = (expected << 4) + unit;
        const uint32_t high = expected & 0xF0000000U;
        if (high != 0)
            expected = (expected ^ (high >> 24)) & ~high;
    }
    EXPECT_EQ(expected, NUStringHashString(long_text.c_str()));

    NUChar *printable = NUStringNonprintableToSpace(u"a\u0007b\U0010FFFFc");
    EXPECT_EQ(u"a b c", u16(printable));
    n_free(printable);

    // Comparison in code point order: a supplementary character after the
    // whole basic plane.
    EXPECT_LT(NUStringStrcmp(u"\uFF5E", u"\U0001F600"), 0);
    EXPECT_LT(NUStringStrncmp(u"a\uFF5Ex", u"a\U0001F600", 3), 0);

    std::u16string tokens = u"a,b;;c";
    NUChar *saved = nullptr;
    std::vector<std::u16string> seen;
    for (NUChar *token = NUStringStrtok(tokens.data(), u",;", &saved); token != nullptr;
         token = NUStringStrtok(nullptr, u",;", &saved))
        seen.emplace_back(token);
    EXPECT_EQ((std::vector<std::u16string>{u"a", u"b", u"c"}), seen);

    NUChar formatted[32];
    EXPECT_EQ(5, NUStringSprintf(formatted, "%d-%s", 42, "ab"));
    EXPECT_EQ(u"42-ab", u16(formatted));
    int number = 0;
    EXPECT_EQ(1, NUStringSscanf(u"  17 rest", "%d", &number));
    EXPECT_EQ(17, number);
}

TEST(Utf16HelperTest, BufferConcatenationGrows)
{
    NUStringBuf *buffer = nullptr;
    ASSERT_EQ(0, NUStringBufCreate(4, &buffer));
    EXPECT_EQ(0, NUStringBufStrcat(buffer, u""));
    EXPECT_EQ(0, NUStringBufStrcat(buffer, u"abc"));
    EXPECT_EQ(4U, buffer->capacity);
    EXPECT_EQ(0, NUStringBufStrcat(buffer, u"de")); // doubles
    EXPECT_EQ(8U, buffer->capacity);
    EXPECT_EQ(0, NUStringBufStrcat(buffer, u"0123456789")); // more than double
    EXPECT_EQ(16U, buffer->capacity);
    EXPECT_EQ(15U, buffer->length);
    EXPECT_EQ(u"abcde0123456789", u16(buffer->data));
    NUStringBufDestroy(buffer);
}

} // namespace
