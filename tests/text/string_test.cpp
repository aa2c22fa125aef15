// Tests of the byte-wise text helpers: the number parsers at their range
// edges and against a wide reference, the tests, trims, quoting, word wrap,
// binary data and addresses.
#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>
#include <tarvolk/string.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

constexpr int32_t I32_MAX = std::numeric_limits<int32_t>::max();
constexpr int32_t I32_MIN = std::numeric_limits<int32_t>::min();
constexpr uint32_t U32_MAX = std::numeric_limits<uint32_t>::max();
constexpr int64_t I64_MAX = std::numeric_limits<int64_t>::max();
constexpr int64_t I64_MIN = std::numeric_limits<int64_t>::min();
constexpr uint64_t U64_MAX = std::numeric_limits<uint64_t>::max();

__extension__ typedef __int128 Wide;

// Takes an allocated text from the library and gives it back.
std::string take(char *text)
{
    std::string copy = text != nullptr ? text : "<null>";
    n_free(text);
    return copy;
}

TEST(NStringNumbers, ThirtyTwoBitEdges)
{
    // text, base 0, base 10, short, unsigned, unsigned code
    const std::tuple<const char *, int32_t, int32_t, int16_t, uint32_t, NRC> cases[] = {
        {"2147483647", I32_MAX, I32_MAX, -1, 2147483647U, 0},
        {"2147483648", I32_MAX, I32_MAX, -1, 2147483648U, 0},
        {"-2147483648", I32_MIN, I32_MIN, 0, 2147483648U, 0},
        {"-2147483649", I32_MIN, I32_MIN, 0, 2147483647U, 0},
        {"3000000000", I32_MAX, I32_MAX, -1, 3000000000U, 0},
        {"-3000000000", I32_MIN, I32_MIN, 0, 1294967296U, 0},
        {"4294967295", I32_MAX, I32_MAX, -1, U32_MAX, 0},
        {"4294967296", I32_MAX, I32_MAX, -1, U32_MAX, ERANGE},
        {"-1", -1, -1, -1, U32_MAX, 0},
        {"-4294967295", I32_MIN, I32_MIN, 0, 1, 0},
        {"-4294967296", I32_MIN, I32_MIN, 0, U32_MAX, ERANGE},
        {"-18446744073709551615", I32_MIN, I32_MIN, 0, U32_MAX, ERANGE}, // 64 bits would say 1
        {"99999999999999999999999", I32_MAX, I32_MAX, -1, U32_MAX, ERANGE},
        {"70000", 70000, 70000, 4464, 70000, 0},
        {"-32769", -32769, -32769, 32767, 4294934527U, 0},
        {"0x10", 16, 0, 0, 0, 0},
        {"010", 8, 10, 10, 10, 0},
        {"08", 0, 8, 8, 8, 0},
        {"0x80000000", I32_MAX, 0, 0, 0, 0},
        {"-0x80000001", I32_MIN, 0, 0, 0, 0},
        {" \t\n+12abc", 12, 12, 12, 12, 0},
        {"- 5", 0, 0, 0, 0, 0},
        {"", 0, 0, 0, 0, 0},
    };
    for (const auto &[text, base0, base10, low, as_unsigned, rc] : cases) {
        SCOPED_TRACE(text);
        int32_t value = 99;
        EXPECT_EQ(NStringToInteger(text, &value), 0);
        EXPECT_EQ(value, base0);
        EXPECT_EQ(NStringToDecimalInteger(text, &value), 0);
        EXPECT_EQ(value, base10);
        int16_t short_value = 99;
        EXPECT_EQ(NStringToShort(text, &short_value), 0);
        EXPECT_EQ(short_value, low);
        uint32_t unsigned_value = 99;
        errno = EINVAL; // must be cleared first
        EXPECT_EQ(NStringToUnsigned(text, &unsigned_value), rc);
        EXPECT_EQ(unsigned_value, as_unsigned);
    }
}

TEST(NStringNumbers, Real)
{
    const std::tuple<const char *, double, NRC> cases[] = {
        {" 1.5e2x", 150.0, 0}, {"0x1p4", 16.0, 0}, {"1e999", HUGE_VAL, ERANGE}, {"abc", 0.0, 0}};
    for (const auto &[text, expected, rc] : cases) {
        double value = 99;
        errno = EINVAL;
        EXPECT_EQ(NStringToReal(text, &value), rc) << text;
        EXPECT_EQ(value, expected) << text;
    }
}

// Random numbers in decimal, octal and hexadecimal, with blanks, signs and
// trailing text, against a reference computed in 128 bits: 32-bit results
// as a library whose long is 32 bits wide gives them, 64-bit ones as
// strtoll/strtoull do. Covers every overflow edge of both widths.
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

        int32_t as_int = 0;
        NStringToInteger(text.c_str(), &as_int);
        EXPECT_EQ(as_int, static_cast<int32_t>(clamp(value, I32_MIN, I32_MAX)));
        if (kind != 0)
            continue;
        int16_t as_short = 0;
        NStringToShort(text.c_str(), &as_short);
        EXPECT_EQ(as_short, static_cast<int16_t>(clamp(value, I32_MIN, I32_MAX)));
        uint32_t as_unsigned = 0;
        const bool wide32 = magnitude > U32_MAX;
        EXPECT_EQ(NStringToUnsigned(text.c_str(), &as_unsigned), wide32 ? ERANGE : 0);
        EXPECT_EQ(as_unsigned, wide32 ? U32_MAX : static_cast<uint32_t>(value));
        int64_t as_int64 = 0;
        const Wide clamped64 = clamp(value, I64_MIN, I64_MAX);
        EXPECT_EQ(NStringToInteger64(text.c_str(), &as_int64), value != clamped64 ? ERANGE : 0);
        EXPECT_EQ(as_int64, static_cast<int64_t>(clamped64));
        uint64_t as_unsigned64 = 0;
        const bool wide64 = magnitude > U64_MAX;
        EXPECT_EQ(NStringToUnsigned64(text.c_str(), &as_unsigned64), wide64 ? ERANGE : 0);
        EXPECT_EQ(as_unsigned64, wide64 ? U64_MAX : static_cast<uint64_t>(value));
        EXPECT_EQ(NStringIsValidInteger(text.c_str()), tail.empty());
        EXPECT_EQ(NStringIsValidInteger64(text.c_str()), tail.empty());
    }
}

TEST(NStringTests, Booleans)
{
    const std::tuple<const char *, int32_t, int32_t> cases[] = {
        {"1", 1, 1},   {"t", 1, 0},    {"Yes", 1, 1},  {"ON", 1, 0},  {"one", 1, 0}, {"100", 1, 0},
        {"tRUE", 1, 1}, {"", 0, 0},    {"0", 0, 1},    {"O", 0, 0},   {"OFF", 0, 0}, {"FALSE", 0, 1},
        {"nO", 0, 1},  {" 1", 0, 0},   {"TRUE ", 1, 0}, {"\xff", 0, 0},
    };
    for (const auto &[text, value, valid] : cases) {
        int32_t result = 7;
        EXPECT_EQ(NStringToBoolean(text, &result), 0);
        EXPECT_EQ(result, value) << text;
        EXPECT_EQ(NStringIsValidBoolean(text), valid) << text;
    }
}

TEST(NStringTests, Validity)
{
    // text, integer, real (the 64-bit test agrees with the integer one here)
    const std::tuple<const char *, int32_t, int32_t> numbers[] = {
        {"", 1, 1},  {" -12", 1, 1}, {"12x", 0, 0}, {"12 ", 0, 0}, {" ", 0, 0},      {"-", 0, 0},
        {"1.5", 0, 1}, {"0x1A", 0, 1}, {"inf", 0, 1}, {"1.5.", 0, 0}, {"99999999999999999999", 1, 1},
    };
    for (const auto &[text, integer, real] : numbers) {
        EXPECT_EQ(NStringIsValidInteger(text), integer) << text;
        EXPECT_EQ(NStringIsValidInteger64(text), integer) << text;
        EXPECT_EQ(NStringIsValidReal(text), real) << text;
    }
    const std::string forty(40, 'a');
    const std::pair<std::string, int32_t> names[] = {
        {"a", 1}, {"Z9_x", 1}, {forty, 1}, {forty + "b", 0}, {"", 0}, {"_a", 0}, {"1a", 0}, {"a-b", 0}, {"a b", 0},
    };
    for (const auto &[name, valid] : names)
        EXPECT_EQ(NStringIsValidName(name.c_str()), valid) << name;
    const std::tuple<const char *, int32_t, int32_t> cases[] = {
        {"", 1, 1}, {"abc", 1, 0}, {"ABC", 0, 1}, {"abc1", 0, 0}, {"AB C", 0, 0}, {"aB", 0, 0}, {"\xff", 0, 0},
    };
    for (const auto &[text, lower, upper] : cases) {
        EXPECT_EQ(NStringIsLower(text), lower) << text;
        EXPECT_EQ(NStringIsUpper(text), upper) << text;
    }
}

TEST(NStringCopies, TrimsDuplicatesAndCase)
{
    // text, left, right, both
    const std::tuple<const char *, const char *, const char *, const char *> trims[] = {
        {"", "", "", ""},           {"a  ", "a  ", "a", "a"}, {"   ", "", "", " "},
        {"\t \n", "", "", "\t"},    {" \ta b\n ", "a b\n ", " \ta b", "a b"},
    };
    for (const auto &[text, left, right, both] : trims) {
        SCOPED_TRACE(text);
        char *out = nullptr;
        EXPECT_EQ(NStringLTrim(text, &out), 0);
        EXPECT_EQ(take(out), left);
        EXPECT_EQ(NStringRTrim(text, &out), 0);
        EXPECT_EQ(take(out), right);
        EXPECT_EQ(NStringLRTrim(text, &out), 0);
        EXPECT_EQ(take(out), both);
    }
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
    const std::pair<std::string, std::string> cases[] = {
        {"", "''"}, {"a\tb\nc\rd", "'a\\tb\\nc\\rd'"}, {"say \"it's\" \\o/", "'say \\\"it\\'s\\\" \\\\o/'"},
    };
    for (const auto &[plain, quoted] : cases) {
        char *out = nullptr;
        EXPECT_EQ(NStringQuoted(plain.c_str(), &out), 0);
        EXPECT_EQ(take(out), quoted);
    }
    // Unknown escapes stand for their byte, as does a backslash at the very
    // end; the first and last bytes go unseen.
    const std::pair<const char *, const char *> unquoted[] = {
        {"\"\\a\\b\"", "ab"}, {"xyz", "y"}, {"'ab\\", "ab"}, {"'\\", ""}, {"''", ""},
    };
    for (const auto &[text, expected] : unquoted) {
        char *out = nullptr;
        EXPECT_EQ(NStringUnquoted(text, &out), 0) << text;
        EXPECT_EQ(take(out), expected) << text;
    }
    for (const char *text : {"", "'"}) {
        char *out = reinterpret_cast<char *>(1);
        EXPECT_EQ(NStringUnquoted(text, &out), NRC_FAILURE);
        EXPECT_EQ(out, nullptr);
    }
    std::mt19937 random(7);
    for (int round = 0; round < 500; ++round) {
        std::string plain(random() % 40, ' ');
        for (char &c : plain)
            c = static_cast<char>(1 + random() % 255);
        char *quoted = nullptr, *back = nullptr;
        ASSERT_EQ(NStringQuoted(plain.c_str(), &quoted), 0);
        ASSERT_EQ(NStringUnquoted(quoted, &back), 0);
        n_free(quoted);
        EXPECT_EQ(take(back), plain);
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
        {"192.168.1.20", 0xC0A80114}, {"255.255.255.255", U32_MAX},
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

TEST(NStringArguments, NullIsRefused)
{
    int32_t value = 5;
    char *text = reinterpret_cast<char *>(1);
    NBinary binary{5, nullptr};
    EXPECT_EQ(NStringToInteger(nullptr, &value), NRC_FAILURE);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(NStringLRTrim(nullptr, &text), NRC_FAILURE);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(NStringToBinary(nullptr, &binary), NRC_FAILURE);
    EXPECT_EQ(binary.size, 0U);
    EXPECT_EQ(NStringQuoted("a", nullptr), NRC_FAILURE);
    EXPECT_EQ(NStringIsValidInteger(nullptr), 0);
    NStringWordWrap(nullptr, 3);
}

} // namespace
