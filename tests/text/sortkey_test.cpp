// Sort keys: byte order of the keys is the collator's order; and the
// library's strcasestr against the C library's.
#include "text_support.h"

#include <tarvolk/sortkey.h>

#include <unicode/ucol.h>
#include <unicode/uloc.h>

#include <algorithm>
#include <random>

#include <dlfcn.h>

using namespace text_test;

namespace {

std::vector<uint8_t> key_of(NSortKeyContext *context, const char *text)
{
    std::vector<uint8_t> key(8);
    int32_t length = 0;
    EXPECT_EQ(0, NSortKeyGenerate(context, text, key.data(), static_cast<int32_t>(key.size()),
                                  &length));
    if (length > static_cast<int32_t>(key.size())) {
        key.resize(static_cast<size_t>(length));
        EXPECT_EQ(0, NSortKeyGenerate(context, text, key.data(), length, &length));
    }
    key.resize(static_cast<size_t>(length));
    return key;
}

int sign(int value)
{
    return (value > 0) - (value < 0);
}

int key_order(const std::vector<uint8_t> &a, const std::vector<uint8_t> &b)
{
    const int byte_order = std::memcmp(a.data(), b.data(), std::min(a.size(), b.size()));
    return byte_order != 0 ? sign(byte_order) : sign(static_cast<int>(a.size() - b.size()));
}

class SortKeyTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        capture_log();
        TEXT_TEST_ENTER(utf8);
    }
    void TearDown() override { NUStringThrSpecificDataFree(); }
};

TEST_F(SortKeyTest, KeyOrderIsCollationOrderOnRandomWords)
{
    const std::vector<std::u16string> pieces = {u"a", u"A", u"b", u"é", u"E", u"e", u"z", u"ß",
                                                u"ss", u"-", u" ", u"1", u"日", u"ö", u"Ö", u"ﬁ"};
    for (int32_t case_order : {0, 1, 2}) {
        NSortKeyContext *context = nullptr;
        ASSERT_EQ(0, NSortKeyCreate(&context, case_order));
        UErrorCode error = U_ZERO_ERROR;
        UCollator *collator = ucol_open(uloc_getDefault(), &error);
        ucol_setAttribute(collator, UCOL_CASE_FIRST,
                          case_order == 1   ? UCOL_UPPER_FIRST
                          : case_order == 2 ? UCOL_LOWER_FIRST
                                            : UCOL_OFF,
                          &error);
        ASSERT_TRUE(U_SUCCESS(error));

        std::mt19937 random(12345 + static_cast<unsigned>(case_order));
        std::vector<std::u16string> words;
        for (int i = 0; i < 150; ++i) {
            std::u16string word;
            const auto length = 1 + random() % 6;
            for (unsigned j = 0; j < length; ++j)
                word += pieces[random() % pieces.size()];
            words.push_back(word);
        }
        std::vector<std::vector<uint8_t>> keys;
        for (const std::u16string &word : words) {
            char *bytes = nullptr;
            ASSERT_EQ(0, NUStringUStrToStr(word.c_str(), &bytes));
            keys.push_back(key_of(context, bytes));
            n_free(bytes);
        }
        for (size_t i = 0; i < words.size(); ++i)
            for (size_t j = i + 1; j < words.size(); j += 7) {
                const int expected = sign(ucol_strcoll(collator, words[i].c_str(), -1,
                                                       words[j].c_str(), -1));
                EXPECT_EQ(expected, key_order(keys[i], keys[j])) << i << " " << j;
            }
        ucol_close(collator);
        NSortKeyDestroy(context);
    }
}

TEST_F(SortKeyTest, CaseOrderPutsTheChosenCaseFirst)
{
    NSortKeyContext *upper = nullptr, *lower = nullptr;
    ASSERT_EQ(0, NSortKeyCreate(&upper, NSORTKEY_UPPER_FIRST));
    ASSERT_EQ(0, NSortKeyCreate(&lower, NSORTKEY_LOWER_FIRST));
    EXPECT_LT(key_order(key_of(upper, "A"), key_of(upper, "a")), 0);
    EXPECT_GT(key_order(key_of(lower, "A"), key_of(lower, "a")), 0);
    NSortKeyDestroy(upper);
    NSortKeyDestroy(lower);
    NSortKeyDestroy(nullptr);
}

TEST_F(SortKeyTest, SmallBuffersGiveTheLengthNeeded)
{
    NSortKeyContext *context = nullptr;
    ASSERT_EQ(0, NSortKeyCreate(&context, 0));
    int32_t length = -1;
    ASSERT_EQ(0, NSortKeyGenerate(context, "", nullptr, 0, &length));
    EXPECT_GT(length, 0);

    int32_t needed = 0;
    uint8_t untouched[4] = {0xAA, 0xAA, 0xAA, 0xAA};
    ASSERT_EQ(0, NSortKeyGenerate(context, "a longer text to sort", untouched, 0, &needed));
    EXPECT_GT(needed, 4);
    EXPECT_EQ(0xAA, untouched[0]);
    std::vector<uint8_t> full(static_cast<size_t>(needed));
    ASSERT_EQ(0, NSortKeyGenerate(context, "a longer text to sort", full.data(), needed, &length));
    EXPECT_EQ(needed, length);
    EXPECT_EQ(0, full.back()); // a complete key ends with its terminator

    // Invalid bytes are substituted: the key is that of the substitute.
    EXPECT_EQ(key_of(context, "x\xef\xbf\xbdy"), key_of(context, "x\xffy"));
    EXPECT_FALSE(take_logged().empty());

    // A context without its parts is refused.
    NSortKeyContext empty{};
    EXPECT_EQ(NRC_SORTKEY_BAD_CONTEXT, NSortKeyGenerate(&empty, "a", full.data(), needed, &length));
    NSortKeyDestroy(context);
}

// ---- strcasestr ----

using Search = char *(*)(const char *, const char *);

TEST(StrcasestrTest, ExamplesAndTheEmptyPart)
{
    struct Case {
        const char *text, *part;
        long at; // -1: not found
    };
    const Case cases[] = {
        {"Hello World", "WORLD", 6}, {"Hello World", "planet", -1}, {"abc", "", 3},
        {"aXaB", "ab", 2},           {"", "", 0},                   {"", "a", -1},
        {"ABAB", "bab", 1},          {"short", "shorter", -1},
    };
    for (const Case &c : cases) {
        const char *found = strcasestr(c.text, c.part);
        EXPECT_EQ(c.at, found == nullptr ? -1 : found - c.text) << c.text << " / " << c.part;
    }
}

TEST(StrcasestrTest, AgreesWithTheCLibraryOnNonEmptyParts)
{
    // The executable's own definition replaces the C library's; the next
    // one in the search order is the C library's.
    auto system_search = reinterpret_cast<Search>(dlsym(RTLD_NEXT, "strcasestr"));
    ASSERT_NE(nullptr, system_search);
    // They part on the empty part: the C library's finds it at the start.
    const char *abc = "abc";
    ASSERT_EQ(abc, system_search(abc, ""));
    ASSERT_EQ(abc + 3, strcasestr(abc, ""));
    for (const char *locale : {"C", "C.UTF-8"}) {
        ASSERT_NE(nullptr, std::setlocale(LC_ALL, locale));
        std::mt19937 random(99);
        const char alphabet[] = "aAbBcC xX";
        for (int i = 0; i < 3000; ++i) {
            std::string text, part;
            for (auto n = random() % 20; n > 0; --n)
                text += alphabet[random() % (sizeof alphabet - 1)];
            for (auto n = 1 + random() % 4; n > 0; --n)
                part += alphabet[random() % (sizeof alphabet - 1)];
            EXPECT_EQ(system_search(text.c_str(), part.c_str()), strcasestr(text.c_str(), part.c_str()))
                << "'" << text << "' / '" << part << "'";
        }
    }
}

} // namespace
