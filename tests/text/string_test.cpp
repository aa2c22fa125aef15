// Byte-wise text helpers: the number parsers at their range edges and against
// a wide reference, the tests, trims, quoting, word wrap, binary, addresses.
#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>
#include <tarvolk/string.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

__extension__ typedef __int128 Wide;

// Takes an allocated text from the library and gives it back.
std::string take(char *text)
{
    std::string copy = text != nullptr ? text : "<null>";
    n_free(text);
    return copy;
}

// The text that `make' produces from `text', which must succeed.
std::string made(NRC (*make)(const char *, char **), const char *text)
{
    char *out = nullptr;
    EXPECT_EQ(make(text, &out), 0) << text;
    return take(out);
}

TEST(NStringNumbers, ThirtyTwoBitEdges)
{
    // text, base 0, base 10, short, unsigned, unsigned code
    const std::tuple<const char *, int32_t, int32_t, int16_t, uint32_t, NRC> cases[] = {
        {"2147483647", INT32_MAX, INT32_MAX, -1, 2147483647U, 0},
        {"2147483648", INT32_MAX, INT32_MAX, -1, 2147483648U, 0},
        {"-2147483648", INT32_MIN, INT32_MIN, 0, 2147483648U, 0},
        {"-2147483649", INT32_MIN, INT32_MIN, 0, 2147483647U, 0},
        {"3000000000", INT32_MAX, INT32_MAX, -1, 3000000000U, 0},
        {"-3000000000", INT32_MIN, INT32_MIN, 0, 1294967296U, 0},
        {"4294967295", INT32_MAX, INT32_MAX, -1, UINT32_MAX, 0},
        {"4294967296", INT32_MAX, INT32_MAX, -1, UINT32_MAX, ERANGE},
        {"-1", -1, -1, -1, UINT32_MAX, 0},
        {"-4294967295", INT32_MIN, INT32_MIN, 0, 1, 0},
        {"-4294967296", INT32_MIN, INT32_MIN, 0, UINT32_MAX, ERANGE},
        {"-18446744073709551615", INT32_MIN, INT32_MIN, 0, UINT32_MAX, ERANGE}, // 64 bits would say 1
        {"99999999999999999999999", INT32_MAX, INT32_MAX, -1, UINT32_MAX, ERANGE},
        {"70000", 70000, 70000, 4464, 70000, 0}, {"-32769", -32769, -32769, 32767, 4294934527U, 0},
        {"0x80000000", INT32_MAX, 0, 0, 0, 0},  {"-0x80000001", INT32_MIN, 0, 0, 0, 0},
        {"0x10", 16, 0, 0, 0, 0}, {"010", 8, 10, 10, 10, 0}, {"08", 0, 8, 8, 8, 0}, {"- 5", 0, 0, 0, 0, 0},
        {" \t\n+12abc", 12, 12, 12, 12, 0}, {"", 0, 0, 0, 0, 0},
    };
    for (const auto &[text, base0, base10, low, as_unsigned, rc] : cases) {
        int32_t v0 = 99, v10 = 99;
        int16_t v16 = 99;
        uint32_t u = 99;
        EXPECT_EQ(NStringToInteger(text, &v0) | NStringToDecimalInteger(text, &v10) | NStringToShort(text, &v16), 0)
            << text;
        errno = EINVAL; // must be cleared first
        EXPECT_EQ(NStringToUnsigned(text, &u), rc) << text;
        EXPECT_EQ(std::make_tuple(v0, v10, v16, u), std::make_tuple(base0, base10, low, as_unsigned)) << text;
    }
    for (const auto &[text, expected, rc] : {std::tuple<const char *, double, NRC>{" 1.5e2x", 150.0, 0},
                                             {"0x1p4", 16.0, 0}, {"1e999", HUGE_VAL, ERANGE}, {"abc", 0.0, 0}}) {
        double value = 99;
        errno = EINVAL;
        EXPECT_EQ(NStringToReal(text, &value), rc) << text;
        EXPECT_EQ(value, expected) << text;
    }
}

// Random decimal, octal and hexadecimal numbers with blanks, signs and
// trailing text, against a 128-bit reference: 32-bit results as a library
// with a 32-bit long gives them, 64-bit ones as strtoll/strtoull do.
TEST(NStringNumbers, MatchesWideReference)
{
    std::mt19937 random(20240611);
    const char *const blanks[] = {"", " ", "\t ", "\n"};
    const char *const signs[] = {"", "", "+"};
    const char *const tails[] = {"", "", "x", " 5", ".5"};
    const auto clamp = [](Wide v, Wide lo, Wide hi) { return v < lo ? lo : v > hi ? hi : v; };
    for (int round = 0; round < 20000; ++round) {
        const int kind = static_cast<int>(random() % 3); // as base 0 reads it: 10, 8, 16
        const int base = kind == 0 ? 10 : kind == 1 ? 8 : 16;
        const bool negative = random() % 4 == 3;
        std::string digits = kind == 0 ? std::string(1, static_cast<char>('1' + random() % 9)) : "0";
        for (size_t i = random() % (kind == 2 ? 18 : 23); i > 0; --i)
            digits += "0123456789abcdef"[random() % static_cast<unsigned>(base)];
        Wide magnitude = 0;
        for (const char d : digits)
            magnitude = magnitude * base + (d <= '9' ? d - '0' : d - 'a' + 10);
        const std::string tail = tails[random() % 5];
        const std::string text = std::string(blanks[random() % 4]) + (negative ? "-" : signs[random() % 3]) +
                                 (kind == 2 ? "0x" : "") + digits + tail;
        SCOPED_TRACE(text);
        const Wide value = negative ? -magnitude : magnitude;
        errno = EINVAL; // the errno results must be cleared first

        const char *c = text.c_str();
        int32_t i32 = 0;
        NStringToInteger(c, &i32);
        EXPECT_EQ(i32, static_cast<int32_t>(clamp(value, INT32_MIN, INT32_MAX)));
        if (kind != 0)
            continue;
        int16_t i16 = 0;
        uint32_t u32 = 0;
        int64_t i64 = 0;
        uint64_t u64 = 0;
        const Wide clamped64 = clamp(value, INT64_MIN, INT64_MAX);
        const bool wide32 = magnitude > UINT32_MAX, wide64 = magnitude > UINT64_MAX;
        NStringToShort(c, &i16);
        const auto codes = std::make_tuple(NStringToUnsigned(c, &u32), NStringToInteger64(c, &i64),
                                           NStringToUnsigned64(c, &u64));
        EXPECT_EQ(codes, std::make_tuple(wide32 ? ERANGE : 0, value != clamped64 ? ERANGE : 0, wide64 ? ERANGE : 0));
        EXPECT_EQ(std::make_tuple(i16, u32, i64, u64),
                  std::make_tuple(static_cast<int16_t>(clamp(value, INT32_MIN, INT32_MAX)),
                                  wide32 ? UINT32_MAX : static_cast<uint32_t>(value), static_cast<int64_t>(clamped64),
                                  wide64 ? UINT64_MAX : static_cast<uint64_t>(value)));
        EXPECT_EQ(std::make_pair(NStringIsValidInteger(c), NStringIsValidInteger64(c)),
                  std::make_pair(int32_t{tail.empty()}, int32_t{tail.empty()}));
    }
}

TEST(NStringTests, BooleansNumbersNamesAndCase)
{
    // text, NStringToBoolean, NStringIsValidBoolean
    const std::tuple<const char *, int32_t, int32_t> booleans[] = {
        {"1", 1, 1},   {"t", 1, 0},    {"Yes", 1, 1},  {"ON", 1, 0},  {"one", 1, 0}, {"100", 1, 0},
        {"tRUE", 1, 1}, {"", 0, 0},    {"0", 0, 1},    {"O", 0, 0},   {"OFF", 0, 0}, {"FALSE", 0, 1},
        {"nO", 0, 1},  {" 1", 0, 0},   {"TRUE ", 1, 0}, {"\xff", 0, 0},
    };
    for (const auto &[text, value, valid] : booleans) {
        int32_t result = 7;
        EXPECT_EQ(NStringToBoolean(text, &result), 0);
        EXPECT_EQ(std::make_pair(result, NStringIsValidBoolean(text)), std::make_pair(value, valid)) << text;
    }
    // text, integer (32 and 64 bits), real
    const std::tuple<const char *, int32_t, int32_t> numbers[] = {
        {"", 1, 1},  {" -12", 1, 1}, {"12x", 0, 0}, {"12 ", 0, 0}, {" ", 0, 0},      {"-", 0, 0},
        {"1.5", 0, 1}, {"0x1A", 0, 1}, {"inf", 0, 1}, {"1.5.", 0, 0}, {"99999999999999999999", 1, 1},
    };
    for (const auto &[text, integer, real] : numbers)
        EXPECT_EQ(std::make_tuple(NStringIsValidInteger(text), NStringIsValidInteger64(text), NStringIsValidReal(text)),
                  std::make_tuple(integer, integer, real)) << text;
    const std::string forty(40, 'a');
    for (const auto &[name, valid] : {std::pair<std::string, int32_t>{"a", 1}, {"Z9_x", 1}, {forty, 1},
                                      {forty + "b", 0}, {"", 0}, {"_a", 0}, {"1a", 0}, {"a-b", 0}, {"a b", 0}})
        EXPECT_EQ(NStringIsValidName(name.c_str()), valid) << name;
    // text, NStringIsLower, NStringIsUpper
    for (const auto &[text, lower, upper] :
         {std::tuple<const char *, int32_t, int32_t>{"", 1, 1}, {"abc", 1, 0}, {"ABC", 0, 1}, {"abc1", 0, 0},
          {"AB C", 0, 0}, {"aB", 0, 0}, {"\xff", 0, 0}})
        EXPECT_EQ(std::make_pair(NStringIsLower(text), NStringIsUpper(text)), std::make_pair(lower, upper)) << text;
}

TEST(NStringCopies, TrimsDuplicatesAndCase)
{
    // text, left, right, both
    const std::tuple<const char *, const char *, const char *, const char *> trims[] = {
        {"", "", "", ""},           {"a  ", "a  ", "a", "a"}, {"   ", "", "", " "},
        {"\t \n", "", "", "\t"},    {" \ta b\n ", "a b\n ", " \ta b", "a b"},
    };
    for (const auto &[text, left, right, both] : trims)
        EXPECT_EQ(std::make_tuple(made(NStringLTrim, text), made(NStringRTrim, text), made(NStringLRTrim, text)),
                  std::make_tuple(left, right, both)) << text;
    EXPECT_EQ(take(NStringNDuplicate("abcdef", 3)), "abc");
    EXPECT_EQ(take(NStringNDuplicate("ab", 10)), "ab");
    char *out = nullptr;
    EXPECT_EQ(NStringToNameCase(std::string(45, 'q').c_str(), &out, 1), 0);
    EXPECT_EQ(take(out), std::string(40, 'Q'));
    EXPECT_EQ(NStringToNameCase("MixEd_1", &out, 2), 0);
    EXPECT_EQ(take(out), "MixEd_1");

    // Bytes outside ASCII are no letters in the test locale and stay as they are.
    char text[] = "Hello, World 42 \xc3\xa9\xff";
    NStringUpper(text);
    EXPECT_STREQ(text, "HELLO, WORLD 42 \xc3\xa9\xff");
    NStringLower(text);
    EXPECT_STREQ(text, "hello, world 42 \xc3\xa9\xff");
}

TEST(NStringQuoting, EscapesAndInverse)
{
    EXPECT_EQ(made(NStringQuoted, ""), "''");
    EXPECT_EQ(made(NStringQuoted, "a\tb\nc\rd"), "'a\\tb\\nc\\rd'");
    EXPECT_EQ(made(NStringQuoted, "say \"it's\" \\o/"), "'say \\\"it\\'s\\\" \\\\o/'");
    // Unknown escapes and a backslash at the very end stand for their byte; the first and last bytes go unseen.
    for (const auto &[text, expected] : {std::pair<const char *, const char *>{"\"\\a\\b\"", "ab"}, {"xyz", "y"},
                                         {"'ab\\", "ab"}, {"'\\", ""}, {"''", ""}})
        EXPECT_EQ(made(NStringUnquoted, text), expected);
    std::mt19937 random(7);
    for (int round = 0; round < 500; ++round) {
        std::string plain(random() % 40, ' ');
        for (char &c : plain)
            c = static_cast<char>(1 + random() % 255);
        EXPECT_EQ(made(NStringUnquoted, made(NStringQuoted, plain.c_str()).c_str()), plain);
    }
}

TEST(NStringWordWrap, Lines)
{
    const std::tuple<const char *, int32_t, const char *> cases[] = {
        {"aaaa bbbb cccc", 6, "aaaa\nbbbb\ncccc"},
        {"aaaaaaaaaa bb", 4, "aaaaaaaaaa\nbb"},    // a long word stays whole
        {"aaaa bbbb", 9, "aaaa bbbb"},             // exactly the width: no break
        {"aaaa bbbb", 8, "aaaa\nbbbb"},
        {"ab cd", 2, "ab\ncd"},                    // the blank at the limit itself
        {" abcdef", 3, " abcdef"},                 // the line start is never a break
        {"aa\nbbbb cc", 6, "aa\nbbbb\ncc"},        // an existing newline starts a line
        {"aa bb\ncc dd", 5, "aa bb\ncc dd"},
        {"a b c", -3, "a\nb\nc"},
        {"one two three four", 9, "one two\nthree\nfour"},
    };
    for (const auto &[original, width, wrapped] : cases) {
        std::string text = original;
        NStringWordWrap(text.data(), width);
        EXPECT_EQ(text, wrapped) << original << " / " << width;
    }
}

TEST(NStringBinaryAndAddresses, Parse)
{
    const std::pair<const char *, std::vector<unsigned char>> binaries[] = {
        {"0x4142", {0x41, 0x42}}, {"4142", {0x41, 0x42}}, {"0xfF00", {0xff, 0x00}},
        {"0X41", {0x00, 0x41}},   // only a lower-case prefix is skipped
        {"4g2", {0x04}},          // strtol stops at g; the lone 2 is not read
        {"0x", {}},               {"", {}},
    };
    for (const auto &[text, bytes] : binaries) {
        NBinary binary{99, reinterpret_cast<unsigned char *>(1)};
        EXPECT_EQ(NStringToBinary(text, &binary), 0) << text;
        EXPECT_EQ(std::vector<unsigned char>(binary.data, binary.data + binary.size), bytes) << text;
        EXPECT_EQ(binary.data == nullptr, bytes.empty()) << text;
        n_free(binary.data);
    }
    const std::pair<const char *, uint32_t> addresses[] = {
        {"192.168.1.20", 0xC0A80114}, {"255.255.255.255", UINT32_MAX},
        {"1.2.3.256", 0x01020300},    // 256 spills into the third byte
        {"1-2 3x4", 0x01020304},      // separators are not looked at
        {"10.1", 0x0A010000},         {"1.2.3.", 0x01020300}, {"", 0},
        {"4294967296.0.0.0", 0xFF000000},
    };
    for (const auto &[text, expected] : addresses) {
        uint32_t value = 99;
        EXPECT_EQ(NIpAddrToUnsigned(text, &value), 0) << text;
        EXPECT_EQ(value, expected) << text;
    }
}

TEST(NStringArguments, BadOnesAreRefusedAndTheResultCleared)
{
    int32_t value = 5;
    NBinary binary{5, nullptr};
    EXPECT_EQ(NStringToInteger(nullptr, &value), NRC_FAILURE);
    EXPECT_EQ(NStringToBinary(nullptr, &binary), NRC_FAILURE);
    EXPECT_EQ(std::make_pair(value, binary.size), std::make_pair(0, 0U));
    // A null text; for the inverse of quoting, one shorter than the two quotes.
    for (const auto &[make, text] : {std::pair<NRC (*)(const char *, char **), const char *>{NStringLRTrim, nullptr},
                                     {NStringUnquoted, ""}, {NStringUnquoted, "'"}}) {
        char *out = reinterpret_cast<char *>(1);
        EXPECT_EQ(make(text, &out), NRC_FAILURE);
        EXPECT_TRUE(out == nullptr);
    }
    EXPECT_EQ(NStringQuoted("a", nullptr), NRC_FAILURE);
    EXPECT_EQ(NStringIsValidInteger(nullptr), 0);
    NStringWordWrap(nullptr, 3);
}

} // namespace
