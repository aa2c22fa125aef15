// Conversions between multibyte, UTF-16 and wide text: agreement with ICU
// and iconv in several code sets, substitution of invalid input with its
// warnings, buffers, the two modes and the threads' own converters.
#include "text_support.h"

#include <tarvolk/i18n.h>
#include <tarvolk/incralloc.h>
#include <tarvolk/sortkey.h>

#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <atomic>
#include <thread>

#include <sys/mman.h>

using namespace text_test;

namespace {

struct Owned {
    char *text = nullptr;
    ~Owned() { n_free(text); }
};

std::vector<std::string> texts_of(const std::vector<Logged> &messages, int32_t number)
{
    std::vector<std::string> out;
    for (const Logged &m : messages)
        if (m.set == 102 && m.number == number)
            out.push_back(m.text);
    return out;
}

// ICU's own conversion with a converter of the code set, as the reference.
std::u16string icu_to_utf16(const std::string &bytes, const char *code_set)
{
    UErrorCode error = U_ZERO_ERROR;
    UConverter *converter = ucnv_open(code_set, &error);
    std::u16string out(bytes.size() * 2 + 1, u'\0');
    const int32_t units =
        ucnv_toUChars(converter, out.data(), static_cast<int32_t>(out.size()), bytes.data(),
                      static_cast<int32_t>(bytes.size()), &error);
    ucnv_close(converter);
    EXPECT_TRUE(U_SUCCESS(error)) << u_errorName(error);
    out.resize(static_cast<size_t>(units));
    return out;
}

class TextConvertTest : public ::testing::Test {
protected:
    void SetUp() override { capture_log(); }
    void TearDown() override { NUStringThrSpecificDataFree(); }
};

struct Sample {
    const Locale *locale;
    const char *utf8_text;
};

const Sample valid_samples[] = {
    {&utf8, ""},
    {&utf8, "plain ASCII, with punctuation!"},
    {&utf8, "Grüße aus Köln – “quoted” ½"},
    {&utf8, "日本語のテキスト、ｶﾀｶﾅ"},
    {&utf8, "emoji 😀 and 𝄞 clef"},
    {&latin1, "Grüße, café, ¿qué? ½ ÿ"},
    {&latin1, "plain"},
    {&eucjp, "日本語のテキスト、ｶﾀｶﾅと漢字"},
    {&eucjp, "mixed ASCII 東京"},
    {&sjis, "日本語のテキスト、ｶﾀｶﾅと漢字"},
    {&sjis, "mixed ASCII 東京 表示"},
};

TEST_F(TextConvertTest, ValidTextAgreesWithIcuAndIconvInEachCodeSet)
{
    for (const Sample &sample : valid_samples) {
        const Locale &locale = *sample.locale;
        TEXT_TEST_ENTER(locale);
        SCOPED_TRACE(std::string(locale.name) + ": " + sample.utf8_text);
        const std::string native = encode(sample.utf8_text, locale);
        const std::u16string expected = utf16_of(sample.utf8_text);
        ASSERT_EQ(expected, icu_to_utf16(native, locale.icu));

        NUChar *made = nullptr;
        ASSERT_EQ(0, NUStringCreate(native.c_str(), &made));
        EXPECT_EQ(expected, u16(made));

        Owned back;
        ASSERT_EQ(0, NUStringUStrToStr(made, &back.text));
        EXPECT_EQ(native, back.text);
        EXPECT_EQ(static_cast<int32_t>(native.size()), NUStringUStrMbsLen(made));
        int32_t code_points = 0;
        for (size_t i = 0; i < expected.size(); ++i)
            code_points += (expected[i] & 0xFC00) == 0xDC00 ? 0 : 1;
        EXPECT_EQ(code_points, NUStringMbsCountUChar32(native.c_str()));
        NUStringDestroy(made);

        // The counted buffer and the arena give the same text.
        NUStringBuf *buffer = nullptr;
        ASSERT_EQ(0, NUStringBufCreate(1, &buffer));
        ASSERT_EQ(0, NUStringBufStrToUStr(buffer, native.c_str()));
        EXPECT_EQ(expected.size(), buffer->length);
        EXPECT_EQ(expected, u16(buffer->data));
        EXPECT_GE(buffer->capacity, native.size() * 2 + 1);
        Owned from_buffer;
        ASSERT_EQ(0, NUStringBufUStrToStr(buffer, &from_buffer.text));
        EXPECT_EQ(native, from_buffer.text);
        NUStringBufDestroy(buffer);

        NIncrAllocator *arena = NIncrAllocatorCreate(256);
        NUChar *in_arena = nullptr;
        char *bytes_in_arena = nullptr;
        ASSERT_EQ(0, NIncrUStringStrToUStr(arena, native.c_str(), &in_arena));
        EXPECT_EQ(expected, u16(in_arena));
        ASSERT_EQ(0, NIncrUStringUStrToStr(arena, in_arena, &bytes_in_arena));
        EXPECT_EQ(native, bytes_in_arena);

        // The wide family follows the same locale through the C library.
        const std::string ucs4 = iconv_convert(native, locale.iconv, "WCHAR_T");
        const std::wstring wide_expected(reinterpret_cast<const wchar_t *>(ucs4.data()),
                                         ucs4.size() / sizeof(wchar_t));
        wchar_t *wide = nullptr;
        ASSERT_EQ(0, NWStringCreate(native.c_str(), &wide));
        EXPECT_EQ(wide_expected, wide);
        Owned wide_back;
        ASSERT_EQ(0, NWStringWStrToStr(wide, &wide_back.text));
        EXPECT_EQ(native, wide_back.text);
        wchar_t *wide_in_arena = nullptr;
        char *wide_back_in_arena = nullptr;
        ASSERT_EQ(0, NIncrWStringStrToWStr(arena, native.c_str(), &wide_in_arena));
        EXPECT_EQ(wide_expected, wide_in_arena);
        ASSERT_EQ(0, NIncrWStringWStrToStr(arena, wide, &wide_back_in_arena));
        EXPECT_EQ(native, wide_back_in_arena);
        NWStringDestroy(wide);
        NIncrAllocatorDestroy(arena);

        // Cleaning valid text changes nothing and says nothing.
        Owned clean;
        ASSERT_EQ(0, NUStringStripInvalidCharacters(native.c_str(), &clean.text));
        EXPECT_EQ(native, clean.text);
        Owned wide_clean;
        ASSERT_EQ(0, NWStringStripInvalidCharacters(native.c_str(), &wide_clean.text));
        EXPECT_EQ(native, wide_clean.text);
        EXPECT_TRUE(take_logged().empty());
    }
}

TEST_F(TextConvertTest, InvalidBytesAreSubstitutedAndEachByteIsReported)
{
    struct Case {
        const Locale *locale;
        const char *bytes;
        std::u16string expected;
        std::vector<std::string> bytes_reported; // message 3, in order
    };
    const Case cases[] = {
        {&utf8, "a\xff" "b", u"a\uFFFDb", {"0xff"}},
        {&utf8, "\xfe\xff", u"\uFFFD\uFFFD", {"0xfe", "0xff"}},
        {&utf8, "a\xc3", u"a\uFFFD", {"0xc3"}},
        {&utf8, "\xe6\x97" "b", u"\uFFFDb", {"0xe6", "0x97"}},
        {&utf8, "\xc0\x80", u"\uFFFD\uFFFD", {"0xc0", "0x80"}},
        {&utf8, "\xed\xa0\x80", u"\uFFFD\uFFFD\uFFFD", {"0xed", "0xa0", "0x80"}},
        {&utf8, "\x80" "x\xbf", u"\uFFFDx\uFFFD", {"0x80", "0xbf"}},
        {&utf8, "\xf4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD", {"0xf4", "0x90", "0x80", "0x80"}},
        {&eucjp, "\xa4" "a", u"\uFFFD" "a", {"0xa4"}},
        {&sjis, "\x82", u"\uFFFD", {"0x82"}},
    };
    for (const Case &c : cases) {
        TEXT_TEST_ENTER(*c.locale);
        SCOPED_TRACE(std::string(c.locale->name) + " case " + std::to_string(&c - cases));
        NUChar *made = nullptr;
        ASSERT_EQ(0, NUStringCreate(c.bytes, &made));
        EXPECT_EQ(c.expected, u16(made));
        NUStringDestroy(made);
        std::vector<std::string> expected_texts;
        for (const std::string &byte : c.bytes_reported)
            expected_texts.push_back("Invalid character " + byte +
                                     " found when converting to Unicode.");
        const std::vector<Logged> messages = take_logged();
        EXPECT_EQ(expected_texts, texts_of(messages, 3));
        for (const Logged &m : messages)
            EXPECT_EQ(NLOG_WARN, m.level);
    }
}

TEST_F(TextConvertTest, UnmappableCharactersBecomeAQuestionMarkWithOneWarning)
{
    struct Case {
        const Locale *locale;
        std::u16string text;
        std::string expected;
        std::vector<std::string> reported;
    };
    const Case cases[] = {
        {&latin1, u"a\u4E00b", "a?b", {"Invalid character 0x4e00 found when converting from Unicode."}},
        {&latin1, u"\U0001F600", "?", {"Invalid character 0x1f600 found when converting from Unicode."}},
        {&latin1, u"\u00e9\u20ac", "\xe9?", {"Invalid character 0x20ac found when converting from Unicode."}},
        {&utf8, u"x\xD800y", "x?y", {"Invalid character 0xd800 found when converting from Unicode."}},
        {&eucjp, u"\U0001F600", "?", {"Invalid character 0x1f600 found when converting from Unicode."}},
    };
    for (const Case &c : cases) {
        TEXT_TEST_ENTER(*c.locale);
        Owned out;
        ASSERT_EQ(0, NUStringUStrToStr(c.text.c_str(), &out.text));
        EXPECT_EQ(c.expected, out.text);
        EXPECT_EQ(c.reported, texts_of(take_logged(), 2));
    }
}

TEST_F(TextConvertTest, CallerBuffersMustHoldTheTerminator)
{
    TEXT_TEST_ENTER(utf8);
    // "Grüß" is 4 units and 6 bytes.
    const char *text = "Gr\xc3\xbc\xc3\x9f";
    NUChar units[8];
    EXPECT_EQ(NRC_TEXT_TO_UTF16, NUStringStrToUStrBuf(text, units, 4));
    EXPECT_EQ(1U, texts_of(take_logged(), 28).size());
    ASSERT_EQ(0, NUStringStrToUStrBuf(text, units, 5));
    EXPECT_EQ(u"Grüß", u16(units));

    char bytes[8];
    EXPECT_EQ(NRC_TEXT_FROM_UTF16, NUStringUStrToStrBuf(units, bytes, 6));
    EXPECT_EQ(std::vector<std::string>{"Failed to convert UTF-16 string to code page, error message "
                                       "U_STRING_NOT_TERMINATED_WARNING"},
              texts_of(take_logged(), 27));
    EXPECT_EQ(NRC_TEXT_FROM_UTF16, NUStringUStrToStrBuf(units, bytes, 3));
    EXPECT_EQ(1U, texts_of(take_logged(), 27).size());
    ASSERT_EQ(0, NUStringUStrToStrBuf(units, bytes, 7));
    EXPECT_STREQ(text, bytes);
}

TEST_F(TextConvertTest, UStrToNStrCutsAtAWholeCharacterAtOrBelowTheLimit)
{
    TEXT_TEST_ENTER(utf8);
    const std::u16string text = u"aé日😀"; // 1 + 2 + 3 + 4 bytes
    const NUChar *pointer = text.c_str();
    const char *full = "a\xc3\xa9\xe6\x97\xa5\xf0\x9f\x98\x80";
    const int32_t cuts[] = {0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10, 10};
    for (int32_t limit = 0; limit <= 11; ++limit) {
        char destination[16];
        int32_t length = -5;
        ASSERT_EQ(0, NUStringUStrToNStr(&pointer, limit, destination, &length));
        EXPECT_EQ(cuts[limit], length) << "limit " << limit;
        EXPECT_EQ(std::string(full, static_cast<size_t>(cuts[limit])), destination);
    }
}

TEST_F(TextConvertTest, CountedBuffersGrowAsTheirOperationsSay)
{
    NUStringBuf *buffer = nullptr;
    ASSERT_EQ(0, NUStringBufCreate(4, &buffer));
    EXPECT_EQ(0U, buffer->length);
    EXPECT_EQ(0, NUStringBufAppendUChar32(buffer, u'A'));
    // A supplementary code point needs capacity - 2 above length + 1: the
    // buffer grows by 4 units first.
    EXPECT_EQ(0, NUStringBufAppendUChar32(buffer, 0x1F600));
    EXPECT_EQ(3U, buffer->length);
    EXPECT_EQ(8U, buffer->capacity);
    EXPECT_EQ(0, NUStringBufAppendUChar32(buffer, 0x110000));
    EXPECT_EQ(3U, buffer->length);
    buffer->data[buffer->length] = 0;
    EXPECT_EQ(u"A\U0001F600", u16(buffer->data));
    NUStringBufDestroy(buffer);

    NWStringBuf *wide = nullptr;
    ASSERT_EQ(0, NWStringBufCreate(2, &wide));
    TEXT_TEST_ENTER(utf8);
    ASSERT_EQ(0, NWStringBufStrToWStr(wide, "caf\xc3\xa9 \xe6\x97\xa5"));
    EXPECT_EQ(6U, wide->length);
    EXPECT_EQ(7U, wide->capacity);
    EXPECT_EQ(std::wstring(L"café 日"), wide->data);
    Owned back;
    ASSERT_EQ(0, NWStringBufWStrToStr(wide, &back.text));
    EXPECT_STREQ("caf\xc3\xa9 \xe6\x97\xa5", back.text);
    EXPECT_EQ(EILSEQ, NWStringBufStrToWStr(wide, "bad \xff"));
    EXPECT_EQ(0U, wide->length);
    NWStringBufDestroy(wide);
}

TEST_F(TextConvertTest, WideTextAndUtf8WithoutAConverter)
{
    TEXT_TEST_ENTER(latin1); // neither conversion looks at the locale
    Owned utf8_text;
    ASSERT_EQ(0, NUStringWCSToUTF8(L"caf\u00e9 \u65e5", &utf8_text.text));
    EXPECT_STREQ("caf\xc3\xa9 \xe6\x97\xa5", utf8_text.text);
    // One unit of room for each wide character: a supplementary one fails.
    Owned none;
    EXPECT_EQ(NRC_TEXT_TO_UTF16, NUStringWCSToUTF8(L"x\U0001F600", &none.text));
    EXPECT_EQ(nullptr, none.text);

    wchar_t *wide = nullptr;
    ASSERT_EQ(0, NUStringUTF8ToWCS("\xf0\x9f\x98\x80 caf\xc3\xa9", &wide));
    EXPECT_EQ(std::wstring(L"\U0001F600 caf\u00e9"), wide);
    NWStringDestroy(wide);
    for (const char *broken : {"\xff", "a\xc3", "\xed\xa0\x80", "\xc0\x80"}) {
        EXPECT_EQ(NRC_TEXT_BAD_UTF8, NUStringUTF8ToWCS(broken, &wide)) << broken;
        EXPECT_EQ(nullptr, wide);
    }
    EXPECT_TRUE(take_logged().empty());

    // The wide family: invalid text is EILSEQ, and the bounded conversion
    // reports what wcsrtombs did.
    TEXT_TEST_ENTER(utf8);
    EXPECT_EQ(EILSEQ, NWStringCreate("ok \xff", &wide));
    const wchar_t *source = L"a\u00e9\u65e5";
    char destination[8] = {};
    size_t count = 0;
    EXPECT_EQ(0, NWStringWStrToNStr(&source, 4, destination, &count));
    EXPECT_EQ(3U, count);
    EXPECT_STREQ("a\xc3\xa9", destination);
}

TEST_F(TextConvertTest, Utf8ConverterRecordsConvertOrCopy)
{
    {
        TEXT_TEST_ENTER(utf8);
        NUStringUTF8Converter *record = nullptr;
        ASSERT_EQ(0, NUStringUTF8ConverterCreate(&record));
        EXPECT_EQ(nullptr, record->utf8);
        EXPECT_EQ(nullptr, record->native);
        Owned copy;
        ASSERT_EQ(0, NUStringUTF8ConverterTo(record, "\xff as is", &copy.text));
        EXPECT_STREQ("\xff as is", copy.text);
        NUStringUTF8ConverterDestroy(record);
    }
    TEXT_TEST_ENTER(latin1);
    NUStringUTF8Converter *record = nullptr;
    ASSERT_EQ(0, NUStringUTF8ConverterCreate(&record));
    ASSERT_NE(nullptr, record->utf8);
    Owned to, from;
    ASSERT_EQ(0, NUStringUTF8ConverterTo(record, "caf\xe9 \xbd", &to.text));
    EXPECT_STREQ("caf\xc3\xa9 \xc2\xbd", to.text);
    ASSERT_EQ(0, NUStringUTF8ConverterFrom(record, to.text, &from.text));
    EXPECT_STREQ("caf\xe9 \xbd", from.text);
    // No substitution here: bad UTF-8 and characters Latin-1 lacks fail.
    for (const char *bad : {"caf\xc3", "\xe6\x97\xa5"}) {
        Owned failed;
        EXPECT_EQ(NRC_FAILURE, NUStringUTF8ConverterFrom(record, bad, &failed.text));
        const std::vector<std::string> messages = texts_of(take_logged(), 40);
        ASSERT_EQ(1U, messages.size());
        EXPECT_EQ(0U, messages[0].find("Failed to convert string between character sets. [error code: "));
    }
    NUStringUTF8ConverterDestroy(record);
}

TEST_F(TextConvertTest, StripInvalidCharactersBlanksEachBadByteInPlace)
{
    TEXT_TEST_ENTER(utf8);
    struct Case {
        const char *text;
        const char *expected;
        std::vector<std::string> reported;
    };
    const Case cases[] = {
        {"ab\xff" "cd", "ab cd",
         {"Invalid character 0xffffffff replaced by [space] in SQL command at index 2"}},
        {"\xe6\x97" "x\xc3", "  x ",
         {"Invalid character 0xffffffe6 replaced by [space] in SQL command at index 0",
          "Invalid character 0xffffff97 replaced by [space] in SQL command at index 1",
          "Invalid character 0xffffffc3 replaced by [space] in SQL command at index 3"}},
        {"\xc3\xa9\x80\xc3\xa9", "\xc3\xa9 \xc3\xa9",
         {"Invalid character 0xffffff80 replaced by [space] in SQL command at index 2"}},
    };
    for (const Case &c : cases) {
        Owned clean;
        ASSERT_EQ(0, NUStringStripInvalidCharacters(c.text, &clean.text));
        EXPECT_STREQ(c.expected, clean.text);
        EXPECT_EQ(c.reported, texts_of(take_logged(), 6));

        Owned wide_clean;
        ASSERT_EQ(0, NWStringStripInvalidCharacters(c.text, &wide_clean.text));
        EXPECT_STREQ(c.expected, wide_clean.text);
        std::vector<Logged> messages = take_logged();
        EXPECT_EQ(c.reported.size(), messages.size());
        for (const Logged &m : messages) {
            EXPECT_EQ(0, m.set);
            EXPECT_EQ(0U, m.text.find("Invalid character ")) << m.text;
            EXPECT_NE(std::string::npos, m.text.find(" removed from SQL command at index "));
        }
    }
    // The converter substitutes again afterwards.
    NUChar *made = nullptr;
    ASSERT_EQ(0, NUStringCreate("\xff", &made));
    EXPECT_EQ(u"\uFFFD", u16(made));
    NUStringDestroy(made);
}

// ---- modes and threads ----

TEST(EncodingModeTest, NamedEncodingWinsOverTheLocaleForNewConverters)
{
    capture_log();
    TEXT_TEST_ENTER(utf8);
    NUChar *made = nullptr;
    // A converter opened before the setting stays in locale mode.
    ASSERT_EQ(0, NUStringCreate("\xe3\x81\x82", &made));
    EXPECT_EQ(u"\u3042", u16(made));
    NUStringDestroy(made);
    ASSERT_EQ(0, NI18nSetEncoding("Shift_JIS"));
    ASSERT_EQ(0, NUStringCreate("\x82\xa0", &made));
    EXPECT_EQ(u"\uFFFD\uFFFD", u16(made));
    NUStringDestroy(made);

    ASSERT_EQ(0, NUStringThrSpecificDataFree());
    ASSERT_EQ(0, NUStringCreate("\x82\xa0", &made));
    EXPECT_EQ(u"\u3042", u16(made));
    NUStringDestroy(made);
    // The wide family still follows the locale.
    wchar_t *wide = nullptr;
    EXPECT_EQ(EILSEQ, NWStringCreate("\x82\xa0", &wide));
    NUStringThrSpecificDataFree();
    take_logged();
}

TEST(EncodingModeTest, YenCodePageIsReportedAndUsed)
{
    capture_log();
    ASSERT_EQ(0, NI18nSetEncoding("ibm-943_P130-1999"));
    NUChar *made = nullptr;
    ASSERT_EQ(0, NUStringCreate("a\x5c\x82\xa0", &made));
    EXPECT_EQ(u"a\u00a5\u3042", u16(made));
    NUStringDestroy(made);
    ASSERT_EQ(0, NUStringCreate("b", &made));
    NUStringDestroy(made);
    const std::vector<Logged> messages = take_logged();
    ASSERT_EQ(1U, messages.size());
    EXPECT_EQ(NLOG_WARN, messages[0].level);
    EXPECT_EQ(7, messages[0].number);
    EXPECT_EQ("Code page:ibm-943_P130-1999 is detected, backslash(0x5c) character is defined as "
              "Yen symbol in this code page, string can't be escaped and unescaped properly",
              messages[0].text);
    NUStringThrSpecificDataFree();
}

TEST(EncodingModeTest, UnknownEncodingGivesNoConverter)
{
    capture_log();
    ASSERT_EQ(0, NI18nSetEncoding("no-such-code-page"));
    NUChar *made = nullptr;
    EXPECT_EQ(NRC_TEXT_NO_CONVERTER, NUStringCreate("x", &made));
    EXPECT_EQ(nullptr, made);
    char *bytes = nullptr;
    EXPECT_EQ(NRC_TEXT_NO_CONVERTER, NUStringUStrToStr(u"x", &bytes));
    NIncrAllocator *arena = NIncrAllocatorCreate(64);
    EXPECT_EQ(NRC_TEXT_NO_CONVERTER, NIncrUStringUStrToStr(arena, u"x", &bytes));
    NIncrAllocatorDestroy(arena);
    int32_t limit = 3;
    NUStringMbsLimit("xyz", 3, &limit);
    EXPECT_EQ(-1, limit);
    const std::vector<Logged> messages = take_logged();
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(21, messages[0].number);
    EXPECT_EQ(0U, messages[0].text.find("Failed to open ICU converter, error code '"));
    // Freeing with no converter open only clears the key.
    EXPECT_EQ(0, NUStringThrSpecificDataFree());
}

TEST(ThreadConverterTest, EachThreadKeepsTheConverterOfItsOwnMode)
{
    if (!enter(latin1))
        GTEST_SKIP() << "no Latin-1 locale";
    std::atomic<int> opened{0};
    std::atomic<bool> go{false};
    std::atomic<int> wrong{0};
    auto work = [&](const char *bytes, char16_t expected, bool free_at_end) {
        NUChar *made = nullptr;
        if (NUStringCreate(bytes, &made) != 0)
            ++wrong;
        NUStringDestroy(made);
        ++opened;
        while (!go.load())
            std::this_thread::yield();
        for (int i = 0; i < 2000; ++i) {
            made = nullptr;
            if (NUStringCreate(bytes, &made) != 0 || made[0] != expected || made[1] != 0)
                ++wrong;
            NUStringDestroy(made);
        }
        // A thread that forgets to free its converter leaks nothing either.
        if (free_at_end)
            NUStringThrSpecificDataFree();
    };
    // The first thread opens its converter in locale mode (Latin-1), the
    // second after the encoding is set.
    std::thread locale_mode(work, "\xe9", u'\u00e9', true);
    while (opened.load() < 1)
        std::this_thread::yield();
    ASSERT_EQ(0, NI18nSetEncoding("Shift_JIS"));
    std::thread encoding_mode(work, "\x82\xa0", u'\u3042', false);
    while (opened.load() < 2)
        std::this_thread::yield();
    go = true;
    locale_mode.join();
    encoding_mode.join();
    EXPECT_EQ(0, wrong.load());
}

// Sizes that don't fit a signed 32-bit integer are refused before any
// allocation: a text of 512 MiB needs 2 GiB of room when each byte may
// become 4.
TEST(TextLimitTest, SizesAboveInt32AreTooLong)
{
    TEXT_TEST_ENTER(latin1);
    const size_t size = size_t{1} << 29;
    void *map = mmap(nullptr, size + 1, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (map == MAP_FAILED)
        GTEST_SKIP() << "no room for 512 MiB";
    auto *text = static_cast<char *>(map);
    std::memset(text, 'a', size);
    text[size] = '\0';

    NUStringUTF8Converter *record = nullptr;
    ASSERT_EQ(0, NUStringUTF8ConverterCreate(&record));
    Owned out;
    EXPECT_EQ(NRC_STRING_TOO_LONG, NUStringUTF8ConverterTo(record, text, &out.text));
    NUStringUTF8ConverterDestroy(record);

    NSortKeyContext *context = nullptr;
    ASSERT_EQ(0, NSortKeyCreate(&context, 0));
    uint8_t key[8];
    int32_t length = 0;
    EXPECT_EQ(NRC_STRING_TOO_LONG, NSortKeyGenerate(context, text, key, sizeof key, &length));
    NSortKeyDestroy(context);

    // Appending to a counted buffer near the limit.
    NUChar data[4] = {};
    NUStringBuf near_limit{data, 0x7FFFFFF0U, 0x7FFFFFF0U};
    EXPECT_EQ(NRC_STRING_TOO_LONG, NUStringBufStrcat(&near_limit, u"xy"));
    EXPECT_EQ(0x7FFFFFF0U, near_limit.length);
    munmap(map, size + 1);
    NUStringThrSpecificDataFree();
}

} // namespace
