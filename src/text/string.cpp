// The byte-wise text helpers. Every operation walks zero-terminated bytes;
// classification and case come from the process locale.
//
// Invalid arguments (a null text or a null result pointer) are answered with
// NRC_FAILURE, and the result, where there is one, is cleared. The 32-bit
// parsers reproduce a library whose long is 32 bits wide: same digits
// consumed, same clamping, same errno, on every platform.
#include <tarvolk/string.h>

#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>

#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <strings.h>

namespace {

// The argument for the <cctype> functions for a byte taken as a signed char.
// The system's tables answer for -128..-2 as for the same byte read unsigned,
// so passing the unsigned value gives the same answers without leaving the
// defined range; only 0xFF is special, as a signed char it is EOF, which no
// class holds and no case mapping changes.
int ctype_arg(char c) noexcept
{
    const auto byte = static_cast<unsigned char>(c);
    return byte == 0xFF ? EOF : byte;
}

bool is_space(char c) noexcept
{
    return std::isspace(ctype_arg(c)) != 0;
}

char lower_byte(char c) noexcept
{
    const int mapped = std::tolower(ctype_arg(c));
    return mapped == EOF ? c : static_cast<char>(mapped);
}

char upper_byte(char c) noexcept
{
    const int mapped = std::toupper(ctype_arg(c));
    return mapped == EOF ? c : static_cast<char>(mapped);
}

// strtol of a 32-bit long. The wide conversion consumes exactly the same
// characters (it reads every digit however large the value grows), so only
// the value needs to be clamped, and errno set to ERANGE as the narrow
// function would. errno is left alone otherwise.
int32_t strtol32(const char *text, char **end, int base) noexcept
{
    const long long value = std::strtoll(text, end, base);
    if (value > std::numeric_limits<int32_t>::max()) {
        errno = ERANGE;
        return std::numeric_limits<int32_t>::max();
    }
    if (value < std::numeric_limits<int32_t>::min()) {
        errno = ERANGE;
        return std::numeric_limits<int32_t>::min();
    }
    return static_cast<int32_t>(value);
}

// strtoul of a 32-bit unsigned long: the magnitude of the digits must fit in
// 32 bits, else ERANGE and the maximum whatever the sign; a '-' negates the
// magnitude modulo 2^32. The wide conversion reports the negated value modulo
// 2^64, so the magnitude is recovered from it.
uint32_t strtoul32(const char *text, char **end, int base) noexcept
{
    const int saved = errno;
    errno = 0;
    char *stop = nullptr;
    const unsigned long long value = std::strtoull(text, &stop, base);
    const bool wide_overflow = errno == ERANGE;
    errno = saved;
    if (end != nullptr)
        *end = stop;
    if (wide_overflow) {
        errno = ERANGE;
        return std::numeric_limits<uint32_t>::max();
    }
    if (stop == text)
        return 0;
    // Digits were read, so the text runs: white space, an optional sign,
    // digits. No white space is a sign or a digit.
    const char *lead = text;
    while (*lead != '-' && *lead != '+' && std::isdigit(static_cast<unsigned char>(*lead)) == 0)
        ++lead;
    const bool negative = *lead == '-';
    const unsigned long long magnitude = negative ? 0ULL - value : value;
    if (magnitude > std::numeric_limits<uint32_t>::max()) {
        errno = ERANGE;
        return std::numeric_limits<uint32_t>::max();
    }
    const auto narrow = static_cast<uint32_t>(magnitude);
    return negative ? 0U - narrow : narrow;
}

// A new text holding `length' bytes from `from', terminated.
char *copy_bytes(const char *from, size_t length) noexcept
{
    auto *copy = static_cast<char *>(n_malloc(length + 1));
    if (copy == nullptr)
        return nullptr;
    std::memcpy(copy, from, length);
    copy[length] = '\0';
    return copy;
}

NRC deliver(char *copy, char **result) noexcept
{
    *result = copy;
    return copy == nullptr ? ENOMEM : 0;
}

template <typename T> NRC reject(T *result, T cleared) noexcept
{
    if (result != nullptr)
        *result = cleared;
    return NRC_FAILURE;
}

const char *skip_space(const char *p) noexcept
{
    while (is_space(*p))
        ++p;
    return p;
}

// Length of the text once trailing white space is cut, but never below
// `floor'.
size_t trimmed_end(const char *text, size_t floor) noexcept
{
    size_t length = std::strlen(text);
    while (length > floor && is_space(text[length - 1]))
        --length;
    return length;
}

template <typename Check> int32_t all_bytes(const char *text, Check check) noexcept
{
    if (text == nullptr)
        return 0;
    for (const char *p = text; *p != '\0'; ++p)
        if (!check(*p))
            return 0;
    return 1;
}

} // namespace

extern "C" {

NRC NStringToInteger(const char *text, int32_t *result)
{
    if (text == nullptr || result == nullptr)
        return reject<int32_t>(result, 0);
    *result = strtol32(text, nullptr, 0);
    return 0;
}

NRC NStringToDecimalInteger(const char *text, int32_t *result)
{
    if (text == nullptr || result == nullptr)
        return reject<int32_t>(result, 0);
    *result = strtol32(text, nullptr, 10);
    return 0;
}

NRC NStringToShort(const char *text, int16_t *result)
{
    if (text == nullptr || result == nullptr)
        return reject<int16_t>(result, 0);
    const auto low = static_cast<uint16_t>(static_cast<uint32_t>(strtol32(text, nullptr, 10)));
    *result = static_cast<int16_t>(low);
    return 0;
}

NRC NStringToUnsigned(const char *text, uint32_t *result)
{
    if (text == nullptr || result == nullptr)
        return reject<uint32_t>(result, 0);
    errno = 0;
    *result = strtoul32(text, nullptr, 10);
    return errno;
}

NRC NStringToInteger64(const char *text, int64_t *result)
{
    if (text == nullptr || result == nullptr)
        return reject<int64_t>(result, 0);
    errno = 0;
    *result = std::strtoll(text, nullptr, 10);
    return errno;
}

NRC NStringToUnsigned64(const char *text, uint64_t *result)
{
    if (text == nullptr || result == nullptr)
        return reject<uint64_t>(result, 0);
    errno = 0;
    *result = std::strtoull(text, nullptr, 10);
    return errno;
}

NRC NStringToReal(const char *text, double *result)
{
    if (text == nullptr || result == nullptr)
        return reject<double>(result, 0.0);
    errno = 0;
    *result = std::strtod(text, nullptr);
    return errno;
}

NRC NStringToBoolean(const char *text, int32_t *result)
{
    if (text == nullptr || result == nullptr)
        return reject<int32_t>(result, 0);
    const char first = upper_byte(text[0]);
    *result = first == '1' || first == 'T' || first == 'Y' ||
              (first == 'O' && upper_byte(text[1]) == 'N');
    return 0;
}

int32_t NStringIsValidInteger(const char *text)
{
    if (text == nullptr)
        return 0;
    char *end = nullptr;
    strtol32(text, &end, 10);
    return *end == '\0';
}

int32_t NStringIsValidInteger64(const char *text)
{
    if (text == nullptr)
        return 0;
    char *end = nullptr;
    std::strtoll(text, &end, 10);
    return *end == '\0';
}

int32_t NStringIsValidReal(const char *text)
{
    if (text == nullptr)
        return 0;
    char *end = nullptr;
    std::strtod(text, &end);
    return *end == '\0';
}

int32_t NStringIsValidBoolean(const char *text)
{
    if (text == nullptr)
        return 0;
    for (const char *word : {"TRUE", "FALSE", "YES", "NO", "1", "0"})
        if (strcasecmp(text, word) == 0)
            return 1;
    return 0;
}

int32_t NStringIsValidName(const char *text)
{
    if (text == nullptr || std::isalpha(ctype_arg(text[0])) == 0)
        return 0;
    size_t length = 1;
    for (const char *p = text + 1; *p != '\0'; ++p, ++length)
        if (length == NSTRING_NAME_MAX || (*p != '_' && std::isalnum(ctype_arg(*p)) == 0))
            return 0;
    return 1;
}

int32_t NStringIsLower(const char *text)
{
    return all_bytes(text, [](char c) { return std::islower(ctype_arg(c)) != 0; });
}

int32_t NStringIsUpper(const char *text)
{
    return all_bytes(text, [](char c) { return std::isupper(ctype_arg(c)) != 0; });
}

char *NStringNDuplicate(const char *text, size_t maximum)
{
    if (text == nullptr)
        return nullptr;
    return copy_bytes(text, strnlen(text, maximum));
}

NRC NStringToNameCase(const char *text, char **result, int32_t mode)
{
    if (text == nullptr || result == nullptr)
        return reject<char *>(result, nullptr);
    *result = NStringNDuplicate(text, NSTRING_NAME_MAX);
    if (*result == nullptr)
        return ENOMEM;
    if (mode == 1)
        NStringUpper(*result);
    return 0;
}

NRC NStringLTrim(const char *text, char **result)
{
    if (text == nullptr || result == nullptr)
        return reject<char *>(result, nullptr);
    const char *start = skip_space(text);
    return deliver(copy_bytes(start, std::strlen(start)), result);
}

NRC NStringRTrim(const char *text, char **result)
{
    if (text == nullptr || result == nullptr)
        return reject<char *>(result, nullptr);
    return deliver(copy_bytes(text, trimmed_end(text, 0)), result);
}

NRC NStringLRTrim(const char *text, char **result)
{
    if (text == nullptr || result == nullptr)
        return reject<char *>(result, nullptr);
    *result = nullptr;
    const char *start = skip_space(text);
    if (*start == '\0') // empty or white space only: its first byte, if any
        return deliver(copy_bytes(text, text[0] == '\0' ? 0 : 1), result);
    const size_t end = trimmed_end(start, 1);
    return deliver(copy_bytes(start, end), result);
}

void NStringLower(char *text)
{
    if (text == nullptr)
        return;
    for (char *p = text; *p != '\0'; ++p)
        *p = lower_byte(*p);
}

void NStringUpper(char *text)
{
    if (text == nullptr)
        return;
    for (char *p = text; *p != '\0'; ++p)
        *p = upper_byte(*p);
}

void NStringWordWrap(char *text, int32_t width)
{
    if (text == nullptr)
        return;
    // A negative width wraps as width 0 does: at every possible blank.
    const size_t span = width > 0 ? static_cast<size_t>(width) : 0;
    char *const end = text + std::strlen(text);
    char *line = text;
    while (static_cast<size_t>(end - line) > span) {
        // The limit and everything before it lie inside the text.
        char *const limit = line + span;
        if (auto *newline = static_cast<char *>(std::memchr(line, '\n', span + 1))) {
            line = newline + 1;
            continue;
        }
        char *at = limit;
        while (at > line && !is_space(*at))
            --at;
        if (at == line) {
            at = limit + 1;
            while (at < end && !is_space(*at))
                ++at;
            if (at == end)
                return;
        }
        *at = '\n';
        line = at + 1;
    }
}

NRC NStringQuoted(const char *text, char **result)
{
    if (text == nullptr || result == nullptr)
        return reject<char *>(result, nullptr);
    *result = nullptr;
    const size_t length = std::strlen(text);
    if (length > (std::numeric_limits<size_t>::max() - 3) / 2)
        return ENOMEM;
    auto *out = static_cast<char *>(n_malloc(2 * length + 3));
    if (out == nullptr)
        return ENOMEM;
    char *w = out;
    *w++ = '\'';
    for (const char *p = text; *p != '\0'; ++p) {
        char escape = '\0';
        switch (*p) {
        case '\t': escape = 't'; break;
        case '\n': escape = 'n'; break;
        case '\r': escape = 'r'; break;
        case '"':
        case '\'':
        case '\\': escape = *p; break;
        default: break;
        }
        if (escape != '\0') {
            *w++ = '\\';
            *w++ = escape;
        } else {
            *w++ = *p;
        }
    }
    *w++ = '\'';
    *w = '\0';
    *result = out;
    return 0;
}

NRC NStringUnquoted(const char *text, char **result)
{
    if (text == nullptr || result == nullptr)
        return reject<char *>(result, nullptr);
    *result = nullptr;
    const size_t length = std::strlen(text);
    if (length < 2)
        return NRC_FAILURE;
    auto *out = static_cast<char *>(n_malloc(length));
    if (out == nullptr)
        return ENOMEM;
    // Every byte read writes one byte, and the first is skipped, so at most
    // length - 1 bytes are written before the last of them is cut.
    char *w = out;
    for (const char *p = text + 1; *p != '\0'; ++p) {
        // A backslash as the very last byte has nothing to escape and stands
        // for itself.
        if (*p == '\\' && p[1] != '\0') {
            ++p;
            switch (*p) {
            case 'r': *w++ = '\r'; break;
            case 't': *w++ = '\t'; break;
            case 'n': *w++ = '\n'; break;
            default: *w++ = *p; break;
            }
        } else {
            *w++ = *p;
        }
    }
    w[-1] = '\0';
    *result = out;
    return 0;
}

NRC NStringToBinary(const char *text, NBinary *result)
{
    if (result != nullptr) {
        result->size = 0;
        result->data = nullptr;
    }
    if (text == nullptr || result == nullptr)
        return NRC_FAILURE;
    const char *digits = text[0] == '0' && text[1] == 'x' ? text + 2 : text;
    // A lone last digit has no partner and is not read.
    const size_t count = std::strlen(digits) / 2;
    if (count > static_cast<size_t>(std::numeric_limits<int32_t>::max()))
        return NRC_STRING_TOO_LONG;
    if (count == 0)
        return 0;
    auto *data = static_cast<unsigned char *>(n_malloc(count));
    if (data == nullptr)
        return ENOMEM;
    for (size_t i = 0; i < count; ++i) {
        const char pair[3] = {digits[2 * i], digits[2 * i + 1], '\0'};
        data[i] = static_cast<unsigned char>(std::strtol(pair, nullptr, 16));
    }
    result->size = static_cast<uint32_t>(count);
    result->data = data;
    return 0;
}

NRC NIpAddrToUnsigned(const char *text, uint32_t *result)
{
    if (text == nullptr || result == nullptr)
        return reject<uint32_t>(result, 0);
    uint32_t address = 0;
    const char *p = text;
    for (const int shift : {24, 16, 8, 0}) {
        char *end = nullptr;
        address |= strtoul32(p, &end, 10) << shift;
        if (*end == '\0') // fewer than four numbers: the rest count as 0
            break;
        p = end + 1; // the separator, whatever it is
    }
    *result = address;
    return 0;
}

} // extern "C"
