// Character-aware operations on text: limits and cuts of multibyte text,
// walking, trimming, case and classes of UTF-16 and wide text.
#include "text/wstring.h"

#include <tarvolk/mem.h>

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <memory>

#include <unicode/uchar.h>
#include <unicode/ustdio.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

using tvk::text::failed;
using tvk::text::uc;
using tvk::text::max_size;
using tvk::text::refused;

namespace {

struct FreeWith {
    void operator()(void *block) const { n_free(block); }
};
template <typename T> using Owned = std::unique_ptr<T, FreeWith>;

int32_t clamp_length(size_t length)
{
    return length > static_cast<size_t>(max_size) ? static_cast<int32_t>(max_size)
                                                  : static_cast<int32_t>(length);
}

// A walk over multibyte text with the thread's converter, one character at
// a time. Bad bytes are substituted by the converter's callback and count
// as what they consumed.
class CharWalk {
public:
    CharWalk(UConverter *converter, const char *text, const char *end)
        : converter_(converter), position_(text), end_(end)
    {
    }
    // Decodes the next character; false at the end, on a failure of the
    // decoder or when it makes no progress.
    bool next(UChar32 *code_point = nullptr)
    {
        if (position_ >= end_)
            return false;
        const char *before = position_;
        UErrorCode error = U_ZERO_ERROR;
        const UChar32 decoded = ucnv_getNextUChar(converter_, &position_, end_, &error);
        if (U_FAILURE(error) || position_ == before)
            return false;
        if (code_point != nullptr)
            *code_point = decoded;
        return true;
    }
    const char *position() const { return position_; }

private:
    UConverter *converter_;
    const char *position_;
    const char *end_;
};

bool is_white(UChar32 code_point)
{
    return u_isUWhiteSpace(code_point) != 0;
}

NUChar *new_utext(int32_t units)
{
    return static_cast<NUChar *>(n_malloc((static_cast<size_t>(units) + 1) * sizeof(NUChar)));
}

NUChar *copy_units(const NUChar *from, int32_t units)
{
    NUChar *copy = new_utext(units);
    if (copy == nullptr)
        return nullptr;
    std::memcpy(copy, from, static_cast<size_t>(units) * sizeof(NUChar));
    copy[units] = 0;
    return copy;
}

wchar_t *copy_wide(const wchar_t *from, size_t length)
{
    auto *copy = static_cast<wchar_t *>(n_malloc((length + 1) * sizeof(wchar_t)));
    if (copy == nullptr)
        return nullptr;
    std::wmemcpy(copy, from, length);
    copy[length] = L'\0';
    return copy;
}

// Index behind the last code point among the first `length' units that is
// not white space.
int32_t trailing_trim(const NUChar *text, int32_t length)
{
    while (length > 0) {
        int32_t before = length;
        UChar32 code_point = 0;
        U16_PREV(text, 0, before, code_point);
        if (!is_white(code_point))
            break;
        length = before;
    }
    return length;
}

// Index of the first code point that is not white space.
int32_t leading_trim(const NUChar *text, int32_t length)
{
    int32_t index = 0;
    while (index < length) {
        int32_t after = index;
        UChar32 code_point = 0;
        U16_NEXT(text, after, length, code_point);
        if (!is_white(code_point))
            break;
        index = after;
    }
    return index;
}

// The multibyte trims: the byte range of the text without leading (when
// asked) and trailing characters that are white space or `trimmed'.
NRC mbs_trim(const char *text, char **result, char byte, bool leading)
{
    if (refused(result, text))
        return NRC_FAILURE;
    UConverter *converter = tvk::text::walking_converter();
    if (converter == nullptr)
        return NRC_TEXT_NO_CONVERTER;
    // A byte of ASCII is its own character; another is decoded on its own.
    UChar32 trimmed = static_cast<unsigned char>(byte);
    const char single[2] = {byte, '\0'};
    NUChar32 decoded = 0;
    if (trimmed >= 0x80 && NUStringMbCharToUChar32(&decoded, single, 1) == 1)
        trimmed = decoded;
    ucnv_resetToUnicode(converter);

    const size_t bytes = std::strlen(text);
    CharWalk walk(converter, text, text + bytes);
    const char *start = leading ? nullptr : text;
    const char *end = text;
    const char *before = text;
    UChar32 code_point = 0;
    while (walk.next(&code_point)) {
        if (!is_white(code_point) && code_point != trimmed) {
            if (start == nullptr)
                start = before;
            end = walk.position();
        }
        before = walk.position();
    }
    if (start == nullptr)
        start = end = text;
    const auto kept = static_cast<size_t>(end - start);
    auto *copy = static_cast<char *>(n_malloc(kept + 1));
    if (copy == nullptr)
        return 12;
    std::memcpy(copy, start, kept);
    copy[kept] = '\0';
    *result = copy;
    return 0;
}

// The code point boundary table, with entries of either width.
template <typename Entry>
NRC boundaries(const char *text, Entry **offsets, int32_t *count, int32_t *wide)
{
    UConverter *converter = nullptr;
    size_t bytes = 0;
    NRC rc = tvk::text::prepare_to_utf16(text, &converter, &bytes);
    if (rc != 0)
        return rc;
    UErrorCode error = U_ZERO_ERROR;
    const int32_t units =
        ucnv_toUChars(converter, nullptr, 0, text, static_cast<int32_t>(bytes), &error);
    if (U_FAILURE(error) && error != U_BUFFER_OVERFLOW_ERROR)
        return NRC_TEXT_TO_UTF16;
    auto *table =
        static_cast<Entry *>(n_malloc((static_cast<size_t>(units) + 1) * sizeof(Entry)));
    if (table == nullptr)
        return 12;
    int32_t entries = 0;
    table[entries++] = 0;
    ucnv_resetToUnicode(converter);
    const char *position = text;
    const char *const end = text + bytes;
    while (position < end && entries <= units) {
        const char *before = position;
        error = U_ZERO_ERROR;
        const UChar32 code_point = ucnv_getNextUChar(converter, &position, end, &error);
        if (U_FAILURE(error)) {
            if (position == before)
                ++position;
        } else if (code_point > 0xFFFF && entries < units) {
            table[entries++] = static_cast<Entry>(position - text);
            *wide = 1;
        }
        table[entries++] = static_cast<Entry>(position - text);
    }
    *offsets = table;
    *count = entries;
    return 0;
}

} // namespace

extern "C" {

// ---- limits and cutting in multibyte text ----

NRC NUStringMbsLimit(const char *text, int32_t bytes, int32_t *limit)
{
    if (limit == nullptr)
        return NRC_FAILURE;
    if (text == nullptr) {
        *limit = -1;
        return NRC_FAILURE;
    }
    UConverter *converter = tvk::text::walking_converter();
    if (converter == nullptr) {
        *limit = -1;
        return NRC_TEXT_NO_CONVERTER;
    }
    if (bytes < 0)
        bytes = clamp_length(std::strlen(text));
    CharWalk walk(converter, text, text + bytes);
    int32_t fits = 0;
    while (walk.next()) {
        const auto reached = static_cast<int32_t>(walk.position() - text);
        if (reached > *limit)
            break;
        fits = reached;
    }
    *limit = fits;
    return 0;
}

NRC NWStringMbsLimit(const char *text, int32_t bytes, int32_t *limit)
{
    if (limit == nullptr)
        return NRC_FAILURE;
    if (text == nullptr) {
        *limit = -1;
        return NRC_FAILURE;
    }
    if (bytes < 0)
        bytes = clamp_length(std::strlen(text));
    std::mbstate_t state{};
    int32_t position = 0;
    int32_t fits = 0;
    while (position < bytes) {
        size_t used = std::mbrtowc(nullptr, text + position, static_cast<size_t>(bytes - position),
                                   &state);
        if (used == 0)
            break;
        if (used == static_cast<size_t>(-1) || used == static_cast<size_t>(-2)) {
            used = 1;
            state = std::mbstate_t{};
        }
        position += static_cast<int32_t>(used);
        if (position > *limit)
            break;
        fits = position;
    }
    *limit = fits;
    return 0;
}

NRC NUStringMbsTruncate(char *text, int32_t bytes, int32_t *limit)
{
    const NRC rc = NUStringMbsLimit(text, bytes, limit);
    if (limit != nullptr && *limit >= 0 && text != nullptr)
        text[*limit] = '\0';
    return rc;
}

NRC NWStringMbsTruncate(char *text, int32_t bytes, int32_t *limit)
{
    const NRC rc = NWStringMbsLimit(text, bytes, limit);
    if (limit != nullptr && *limit >= 0 && text != nullptr)
        text[*limit] = '\0';
    return rc;
}

char *NUStringMbsStrncpy(char *destination, const char *source, int32_t count)
{
    if (destination == nullptr)
        return nullptr;
    int32_t fits = count;
    if (source == nullptr || count <= 0 ||
        NUStringMbsLimit(source, clamp_length(std::strlen(source)), &fits) != 0 || fits < 0)
        fits = 0;
    if (fits > 0)
        std::memcpy(destination, source, static_cast<size_t>(fits));
    destination[fits] = '\0';
    return destination;
}

char *NWStringMbsStrncpy(char *destination, const char *source, size_t count)
{
    if (destination == nullptr)
        return nullptr;
    if (source == nullptr || count == 0 || *source == '\0') {
        *destination = '\0';
        return destination;
    }
    wchar_t *wide = nullptr;
    if (NWStringCreate(source, &wide) == 0) {
        // wcstombs writes only whole characters within the count.
        size_t written = std::wcstombs(destination, wide, count);
        n_free(wide);
        if (written == static_cast<size_t>(-1) || written == 0)
            written = 0;
        else if (written > count)
            written = count;
        destination[written] = '\0';
        return destination;
    }
    // No wide copy to be had: walk the bytes, a byte that doesn't convert
    // counting as one.
    std::mblen(nullptr, 0);
    size_t copied = 0;
    while (source[copied] != '\0') {
        int used = std::mblen(source + copied, MB_CUR_MAX);
        if (used <= 0)
            used = 1;
        if (copied + static_cast<size_t>(used) > count)
            break;
        copied += static_cast<size_t>(used);
    }
    std::memcpy(destination, source, copied);
    destination[copied] = '\0';
    return destination;
}

int32_t NUStringMbcSize(const char *text)
{
    NUChar32 code_point = 0;
    return text == nullptr ? 0 : NUStringMbCharToUChar32(&code_point, text, clamp_length(std::strlen(text)));
}

int32_t NUStringMbCharToUChar32(NUChar32 *code_point, const char *text, int32_t bytes)
{
    if (code_point == nullptr || text == nullptr || bytes <= 0)
        return 0;
    UConverter *converter = tvk::text::walking_converter();
    if (converter == nullptr)
        return 0;
    CharWalk walk(converter, text, text + bytes);
    UChar32 decoded = 0;
    if (!walk.next(&decoded))
        return 0;
    *code_point = decoded;
    return static_cast<int32_t>(walk.position() - text);
}

int32_t NUStringMbsCountUChar32(const char *text)
{
    if (text == nullptr)
        return -1;
    UConverter *converter = tvk::text::walking_converter();
    if (converter == nullptr)
        return -1;
    const size_t bytes = std::strlen(text);
    CharWalk walk(converter, text, text + bytes);
    int32_t count = 0;
    while (walk.next())
        ++count;
    return walk.position() == text + bytes ? count : -1;
}

int32_t NUStringUStrMbsLen(const NUChar *text)
{
    UConverter *converter = nullptr;
    if (text == nullptr || _NUStringGetConverter(&converter) != 0)
        return 0;
    UErrorCode error = U_ZERO_ERROR;
    const int32_t bytes = ucnv_fromUChars(converter, nullptr, 0, uc(text), -1, &error);
    return U_FAILURE(error) && error != U_BUFFER_OVERFLOW_ERROR ? 0 : bytes;
}

NRC NUStringMbsGetCodePointBoundary(const char *text, uint8_t **offsets, int32_t *count,
                                    int32_t *wide)
{
    if (offsets == nullptr || count == nullptr || wide == nullptr)
        return NRC_FAILURE;
    *offsets = nullptr;
    *count = 0;
    if (text == nullptr)
        return NRC_FAILURE;
    return boundaries(text, offsets, count, wide);
}

NRC NUStringMbsGetCodePointBoundaryV2(const char *text, int32_t **offsets, int32_t *count,
                                      int32_t *wide)
{
    if (offsets == nullptr || count == nullptr || wide == nullptr)
        return NRC_FAILURE;
    *offsets = nullptr;
    *count = 0;
    if (text == nullptr)
        return NRC_FAILURE;
    if (*text == '\0')
        return 0;
    return boundaries(text, offsets, count, wide);
}

// ---- walking UTF-16 text ----

NUChar32 NUStringGetNextUChar32(const NUChar *text, int32_t *index)
{
    if (text == nullptr || index == nullptr)
        return 0;
    const int32_t length = tvk::text::length(text);
    if (*index < 0 || *index >= length)
        return 0;
    UChar32 code_point = 0;
    U16_NEXT(text, *index, length, code_point);
    return code_point;
}

NUChar32 NUStringGetPrevUChar32(const NUChar *text, int32_t *index)
{
    if (text == nullptr || index == nullptr)
        return 0;
    const int32_t length = tvk::text::length(text);
    if (*index < 1 || *index > length)
        return 0;
    UChar32 code_point = 0;
    U16_PREV(text, 0, *index, code_point);
    return code_point;
}

NRC NUStringSetBmpChrAtPrev(NUChar *text, int32_t index, NUChar unit)
{
    if (text == nullptr)
        return NRC_FAILURE;
    const int32_t length = tvk::text::length(text);
    if (index < 1 || index > length)
        return NRC_TEXT_INDEX_RANGE;
    if (U16_IS_TRAIL(text[index - 1]) && index >= 2 && U16_IS_LEAD(text[index - 2]))
        return NRC_TEXT_INDEX_RANGE;
    text[index - 1] = unit;
    return 0;
}

NRC NUStringSubstr(const NUChar *text, int32_t start, int32_t count, NUChar **result)
{
    if (refused(result, text))
        return NRC_FAILURE;
    const int32_t length = tvk::text::length(text);
    NUChar *part = new_utext(length);
    if (part == nullptr)
        return 12;
    part[0] = 0;
    *result = part;
    if (start < 0 || start >= length || count == 0)
        return 0;
    int32_t from = 0;
    for (int32_t walked = 0; walked < start; ++walked) {
        if (from >= length)
            return 0;
        U16_FWD_1(text, from, length);
    }
    int32_t to = from;
    for (int32_t walked = 0; (count < 0 || walked < count) && to < length; ++walked)
        U16_FWD_1(text, to, length);
    std::memcpy(part, text + from, static_cast<size_t>(to - from) * sizeof(NUChar));
    part[to - from] = 0;
    return 0;
}

NRC NUStringUStrTruncate(NUChar *text, int32_t *length)
{
    if (text == nullptr || length == nullptr)
        return NRC_FAILURE;
    if (*length < 0 || *length > tvk::text::length(text))
        return NRC_TEXT_TRUNCATE_RANGE;
    if (*length > 0 && U16_IS_LEAD(text[*length - 1]))
        --*length;
    text[*length] = 0;
    return 0;
}

// ---- trimming ----

NRC NUStringRNTrim(NUChar *text, int32_t *length)
{
    if (text == nullptr || length == nullptr)
        return NRC_FAILURE;
    if (*text == 0 || *length <= 0) {
        *length = 0;
        return 0;
    }
    int32_t end = *length;
    const int32_t whole = tvk::text::length(text);
    if (end > whole)
        end = whole;
    if (U16_IS_LEAD(text[end - 1]))
        --end;
    end = trailing_trim(text, end);
    text[end] = 0;
    *length = end;
    return 0;
}

NRC NUStringRTrim(NUChar *text)
{
    if (text == nullptr)
        return NRC_FAILURE;
    int32_t length = tvk::text::length(text);
    (void)NUStringRNTrim(text, &length);
    return 0;
}

NRC NUStringRTrimReturnLen(NUChar *text)
{
    return NUStringRTrim(text);
}

NRC NUStringLRTrim(const NUChar *text, NUChar **result)
{
    if (refused(result, text))
        return NRC_FAILURE;
    const int32_t length = tvk::text::length(text);
    const int32_t start = leading_trim(text, length);
    const int32_t end = start == length ? start : trailing_trim(text, length);
    *result = copy_units(text + start, end - start);
    return *result != nullptr ? 0 : 12;
}

NRC NUStringLTrim(const NUChar *text, NUChar **result)
{
    if (refused(result, text))
        return NRC_FAILURE;
    *result = const_cast<NUChar *>(text + leading_trim(text, tvk::text::length(text)));
    return 0;
}

NRC NWStringRTrim(const wchar_t *text, wchar_t **result)
{
    if (refused(result, text))
        return NRC_FAILURE;
    size_t end = std::wcslen(text);
    while (end > 0 && std::iswspace(static_cast<wint_t>(text[end - 1])))
        --end;
    *result = copy_wide(text, end);
    return *result != nullptr ? 0 : 12;
}

NRC NWStringLTrim(const wchar_t *text, wchar_t **result)
{
    if (refused(result, text))
        return NRC_FAILURE;
    size_t start = 0;
    while (text[start] != L'\0' && std::iswspace(static_cast<wint_t>(text[start])))
        ++start;
    *result = copy_wide(text + start, std::wcslen(text + start));
    return *result != nullptr ? 0 : 12;
}

NRC NWStringLRTrim(const wchar_t *text, wchar_t **result)
{
    if (refused(result, text))
        return NRC_FAILURE;
    const size_t length = std::wcslen(text);
    size_t start = 0;
    while (start < length && std::iswspace(static_cast<wint_t>(text[start])))
        ++start;
    size_t end = length;
    while (end > start && std::iswspace(static_cast<wint_t>(text[end - 1])))
        --end;
    // White space only keeps its first character, as the byte-wise trim
    // does.
    if (start == length && length > 0)
        start = 0, end = 1;
    *result = copy_wide(text + start, end - start);
    return *result != nullptr ? 0 : 12;
}

NRC NUStringMbsRTrimWithChar(const char *text, char **result, char byte)
{
    return mbs_trim(text, result, byte, false);
}

NRC NUStringMbsLRTrimWithChar(const char *text, char **result, char byte)
{
    return mbs_trim(text, result, byte, true);
}

// ---- case and classes ----

int32_t NUStringIsLower(const NUChar *text)
{
    if (text == nullptr)
        return 1;
    for (int32_t index = 0; text[index] != 0;) {
        UChar32 code_point = 0;
        U16_NEXT(text, index, -1, code_point);
        if (u_isUUppercase(code_point))
            return 0;
    }
    return 1;
}

int32_t NUStringIsUpper(const NUChar *text)
{
    if (text == nullptr)
        return 1;
    for (int32_t index = 0; text[index] != 0;) {
        UChar32 code_point = 0;
        U16_NEXT(text, index, -1, code_point);
        if (u_isULowercase(code_point))
            return 0;
    }
    return 1;
}

int32_t NWStringIsLower(const wchar_t *text)
{
    for (; text != nullptr && *text != L'\0'; ++text) {
        if (!std::iswlower(static_cast<wint_t>(*text)))
            return 0;
    }
    return 1;
}

int32_t NWStringIsUpper(const wchar_t *text)
{
    for (; text != nullptr && *text != L'\0'; ++text) {
        if (!std::iswupper(static_cast<wint_t>(*text)))
            return 0;
    }
    return 1;
}

namespace {

using CaseMapping = int32_t (*)(UChar *, int32_t, const UChar *, int32_t, const char *,
                                UErrorCode *);

NUChar *map_case(const NUChar *text, CaseMapping mapping)
{
    if (text == nullptr)
        return nullptr;
    UErrorCode error = U_ZERO_ERROR;
    const int32_t length = mapping(nullptr, 0, uc(text), -1, nullptr, &error);
    if (U_FAILURE(error) && error != U_BUFFER_OVERFLOW_ERROR)
        return nullptr;
    NUChar *mapped = new_utext(length);
    if (mapped == nullptr)
        return nullptr;
    error = U_ZERO_ERROR;
    mapping(uc(mapped), length + 1, uc(text), -1, nullptr, &error);
    if (failed(error)) {
        n_free(mapped);
        return nullptr;
    }
    return mapped;
}

} // namespace

NUChar *NUStringLower(const NUChar *text)
{
    return map_case(text, u_strToLower);
}

NUChar *NUStringUpper(const NUChar *text)
{
    return map_case(text, u_strToUpper);
}

wchar_t *NWStringLower(wchar_t *text)
{
    for (wchar_t *at = text; at != nullptr && *at != L'\0'; ++at)
        *at = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(*at)));
    return text;
}

wchar_t *NWStringUpper(wchar_t *text)
{
    for (wchar_t *at = text; at != nullptr && *at != L'\0'; ++at)
        *at = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(*at)));
    return text;
}

NUChar32 NUStringUChar32ToLower(NUChar32 code_point)
{
    return u_tolower(code_point);
}

NUChar32 NUStringUChar32ToUpper(NUChar32 code_point)
{
    return u_toupper(code_point);
}

int32_t NUStringUChar32IsSpace(NUChar32 code_point)
{
    return u_isUWhiteSpace(code_point) ? 1 : 0;
}

int32_t NUStringUChar32IsAlpha(NUChar32 code_point)
{
    return u_isUAlphabetic(code_point) ? 1 : 0;
}

int32_t NUStringUChar32IsDigit(NUChar32 code_point)
{
    return u_isdigit(code_point) ? 1 : 0;
}

int32_t NUStringUChar32IsXDigit(NUChar32 code_point)
{
    return u_isxdigit(code_point) ? 1 : 0;
}

int32_t NUStringUChar32IsPunct(NUChar32 code_point)
{
    return u_ispunct(code_point) ? 1 : 0;
}

int32_t NUStringUChar32IsPrint(NUChar32 code_point)
{
    return u_hasBinaryProperty(code_point, UCHAR_POSIX_PRINT) ? 1 : 0;
}

int32_t NUStringUChar32IsAlnum(NUChar32 code_point)
{
    return u_hasBinaryProperty(code_point, UCHAR_POSIX_ALNUM) ? 1 : 0;
}

// ---- whole UTF-16 texts ----

int32_t NUStringStrlen(const NUChar *text)
{
    return u_strlen(uc(text));
}

NUChar *NUStringStrcat(NUChar *destination, const NUChar *source)
{
    return reinterpret_cast<NUChar *>(u_strcat(uc(destination), uc(source)));
}

NUChar *NUStringStrcpy(NUChar *destination, const NUChar *source)
{
    return reinterpret_cast<NUChar *>(u_strcpy(uc(destination), uc(source)));
}

NUChar *NUStringStrncpy(NUChar *destination, const NUChar *source, int32_t count)
{
    return reinterpret_cast<NUChar *>(u_strncpy(uc(destination), uc(source), count));
}

int32_t NUStringStrcmp(const NUChar *a, const NUChar *b)
{
    return u_strcmpCodePointOrder(uc(a), uc(b));
}

int32_t NUStringStrncmp(const NUChar *a, const NUChar *b, int32_t count)
{
    return u_strncmpCodePointOrder(uc(a), uc(b), count);
}

NUChar *NUStringStrchr(const NUChar *text, NUChar unit)
{
    return reinterpret_cast<NUChar *>(u_strchr(uc(text), static_cast<UChar>(unit)));
}

NUChar *NUStringStrstr(const NUChar *text, const NUChar *part)
{
    return reinterpret_cast<NUChar *>(u_strstr(uc(text), uc(part)));
}

int32_t NUStringStrcspn(const NUChar *text, const NUChar *reject)
{
    return u_strcspn(uc(text), uc(reject));
}

NUChar *NUStringStrtok(NUChar *text, const NUChar *delimiters, NUChar **saved)
{
    return reinterpret_cast<NUChar *>(
        u_strtok_r(uc(text), uc(delimiters), reinterpret_cast<UChar **>(saved)));
}

int32_t NUStringSprintf(NUChar *buffer, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    const int32_t written = u_vsprintf(uc(buffer), format, args);
    va_end(args);
    return written;
}

int32_t NUStringSscanf(const NUChar *text, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    const int32_t read = u_vsscanf(uc(text), format, args);
    va_end(args);
    return read;
}

// ---- others ----

NRC NUStringBufStrcat(NUStringBuf *buffer, const NUChar *text)
{
    if (buffer == nullptr || text == nullptr)
        return NRC_FAILURE;
    const int32_t length = tvk::text::length(text);
    if (length == 0)
        return 0;
    if (static_cast<int64_t>(length) >=
        static_cast<int64_t>(buffer->capacity) - static_cast<int64_t>(buffer->length)) {
        const int64_t doubled = static_cast<int64_t>(buffer->capacity) * 2;
        const int64_t needed = static_cast<int64_t>(buffer->length) + length + 1;
        if (doubled > 0x7FFFFFFE || needed > 0x7FFFFFFE)
            return NRC_STRING_TOO_LONG;
        const int64_t capacity = doubled > needed ? doubled : needed;
        auto *data = static_cast<NUChar *>(
            n_realloc(buffer->data, static_cast<size_t>(capacity) * sizeof(NUChar)));
        if (data == nullptr)
            return NRC_FAILURE;
        buffer->data = data;
        buffer->capacity = static_cast<uint32_t>(capacity);
    }
    std::memcpy(buffer->data + buffer->length, text,
                (static_cast<size_t>(length) + 1) * sizeof(NUChar));
    buffer->length += static_cast<uint32_t>(length);
    return 0;
}

NUChar *NUStringNonprintableToSpace(const NUChar *text)
{
    if (text == nullptr)
        return nullptr;
    const int32_t length = tvk::text::length(text);
    NUChar *clean = new_utext(length);
    if (clean == nullptr)
        return nullptr;
    int32_t out = 0;
    for (int32_t index = 0; index < length;) {
        const int32_t from = index;
        UChar32 code_point = 0;
        U16_NEXT(text, index, length, code_point);
        if (u_hasBinaryProperty(code_point, UCHAR_POSIX_PRINT)) {
            for (int32_t unit = from; unit < index; ++unit)
                clean[out++] = text[unit];
        } else {
            clean[out++] = u' ';
        }
    }
    clean[out] = 0;
    return clean;
}

int32_t NUStringUStrToInteger(const NUChar *text, int32_t base)
{
    if (text == nullptr)
        return 0;
    const int32_t length = tvk::text::length(text);
    // Each code point gives at most one byte, and a sign leads.
    Owned<char> digits(static_cast<char *>(n_malloc(static_cast<size_t>(length) + 1)));
    if (digits == nullptr)
        return 0;
    int32_t collected = 0;
    for (int32_t index = 0; index < length;) {
        UChar32 code_point = 0;
        U16_NEXT(text, index, length, code_point);
        if (collected == 0 && (code_point == u'+' || code_point == 0xFF0B)) {
            digits.get()[collected++] = '+';
            continue;
        }
        if (collected == 0 && (code_point == u'-' || code_point == 0xFF0D)) {
            digits.get()[collected++] = '-';
            continue;
        }
        const int32_t value = u_digit(code_point, static_cast<int8_t>(base));
        if (value < 0)
            break;
        digits.get()[collected++] =
            static_cast<char>(value < 10 ? '0' + value : 'A' + (value - 10));
    }
    if (collected == 0)
        return 0;
    digits.get()[collected] = '\0';
    // The value of a 32-bit strtol: clamped to its range.
    const long long value = std::strtoll(digits.get(), nullptr, base);
    if (value > INT32_MAX) {
        errno = ERANGE;
        return INT32_MAX;
    }
    if (value < INT32_MIN) {
        errno = ERANGE;
        return INT32_MIN;
    }
    return static_cast<int32_t>(value);
}

uint32_t NUStringHashString(const NUChar *text)
{
    uint32_t hash = 0;
    for (; text != nullptr && *text != 0; ++text) {
        hash = (hash << 4) + static_cast<uint32_t>(*text);
        const uint32_t high = hash & 0xF0000000u;
        if (high != 0) {
            hash ^= high >> 24;
            hash &= ~high;
        }
    }
    return hash;
}

} // extern "C"
