// The encoding core: the library's encoding setting, the threads' ICU
// converters with their substituting callbacks, and the conversions between
// multibyte, UTF-16 and wide text.
#include "text/wstring.h"

#include "frame/mem.h"
#include "threads/thr.h"

#include <tarvolk/incralloc.h>
#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>
#include <tarvolk/string.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <clocale>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include <emmintrin.h>
#include <langinfo.h>
#include <pthread.h>
#include <strings.h>

#include <unicode/ucnv_cb.h>
#include <unicode/ustring.h>

extern "C" {
int32_t n_utf8_enabled = 0;
char n_code_page[N_CODE_PAGE_SIZE] = {};
int32_t utf8enabled_isenabled = 0;
}

using tvk::text::failed;
using tvk::text::uc;
using tvk::text::log;
using tvk::text::max_size;
using tvk::text::refused;

namespace {

NThreadDataKey converter_key_value = nullptr;
std::atomic<bool> thr_specific_cnv_initialized{false};
pthread_mutex_t converter_key_lock = PTHREAD_MUTEX_INITIALIZER;

// The calling thread's converter as its key holds it, so that the common
// case costs no key lookup. Kept equal to the key's value by every place
// that sets or clears the key.
thread_local UConverter *thread_converter = nullptr;

// The converter of a thread that ends without NUStringThrSpecificDataFree is
// closed by the key's destructor, so that it is not lost.
void close_converter(void *converter)
{
    if (thread_converter == converter)
        thread_converter = nullptr;
    ucnv_close(static_cast<UConverter *>(converter));
}

// ---- callbacks of the threads' converters ----

extern "C" void tou_subcb(const void *, UConverterToUnicodeArgs *args, const char *bytes,
                          int32_t length, UConverterCallbackReason, UErrorCode *error)
{
    if (U_SUCCESS(*error) || *error == U_BUFFER_OVERFLOW_ERROR)
        return;
    for (int32_t i = 0; i < length; ++i)
        log(NLOG_WARN, 3, "Invalid character %#02x found when converting to Unicode.",
            static_cast<unsigned char>(bytes[i]));
    // ICU writes nothing while the error is set, so it is cleared first.
    *error = U_ZERO_ERROR;
    ucnv_cbToUWriteSub(args, 0, error);
    *error = U_ZERO_ERROR;
}

extern "C" void fromu_subcb(const void *, UConverterFromUnicodeArgs *args, const UChar *,
                            int32_t, UChar32 code_point, UConverterCallbackReason,
                            UErrorCode *error)
{
    if (U_SUCCESS(*error) || *error == U_BUFFER_OVERFLOW_ERROR)
        return;
    log(NLOG_WARN, 2, "Invalid character %#02x found when converting from Unicode.",
        static_cast<unsigned>(code_point));
    *error = U_ZERO_ERROR;
    ucnv_cbFromUWriteSub(args, 0, error);
    if (*error != U_BUFFER_OVERFLOW_ERROR)
        *error = U_ZERO_ERROR;
}

// The converter name of the Yen code page, where 0x5C is not a backslash.
constexpr const char *yen_code_page = "ibm-943_P130-1999";

UConverter *open_thread_converter(NRC *rc)
{
    UErrorCode error = U_ZERO_ERROR;
    const char *name = n_utf8_enabled != 0 ? n_code_page : tvk::text::locale_converter_name();
    UConverter *converter = ucnv_open(name, &error);
    if (U_FAILURE(error)) {
        log(NLOG_ERROR, 21, "Failed to open ICU converter, error code '%d' error message '%s'",
            static_cast<int>(error), u_errorName(error));
        *rc = NRC_TEXT_NO_CONVERTER;
        return nullptr;
    }

    error = U_ZERO_ERROR;
    const char *actual = ucnv_getName(converter, &error);
    if (U_SUCCESS(error) && actual != nullptr && std::strcmp(actual, yen_code_page) == 0)
        log(NLOG_WARN, 7,
            "Code page:%s is detected, backslash(0x5c) character is defined as Yen symbol in "
            "this code page, string can't be escaped and unescaped properly",
            actual);

    error = U_ZERO_ERROR;
    ucnv_setToUCallBack(converter, tou_subcb, nullptr, nullptr, nullptr, &error);
    if (U_FAILURE(error))
        log(NLOG_ERROR, 30, "Failed to set ICU to Unicode conversion call back function: %s",
            u_errorName(error));
    if (U_SUCCESS(error)) {
        ucnv_setFromUCallBack(converter, fromu_subcb, nullptr, nullptr, nullptr, &error);
        if (U_FAILURE(error))
            log(NLOG_ERROR, 29,
                "Failed to set ICU from Unicode conversion call back function: %s",
                u_errorName(error));
    }
    if (U_SUCCESS(error)) {
        ucnv_setSubstChars(converter, "?", 1, &error);
        if (U_FAILURE(error))
            log(NLOG_ERROR, 31, "Failed to set ICU substitution character call back function: %s",
                u_errorName(error));
    }
    if (U_FAILURE(error)) {
        ucnv_close(converter);
        *rc = NRC_TEXT_NO_CONVERTER;
        return nullptr;
    }
    return converter;
}

// Storage of a conversion's result: the heap, or an incremental allocator
// whose memory stays with it.
struct Storage {
    NIncrAllocator *arena = nullptr;

    void *get(size_t size) const
    {
        return arena != nullptr ? NIncrAllocatorAlloc(arena, size) : n_malloc(size);
    }
    void release(void *block) const
    {
        if (arena == nullptr)
            n_free(block);
    }
};

// Multibyte text to UTF-16, into the caller's destination or, without one,
// into 2 x bytes + 1 units of new storage. *units gets the length.
NRC to_utf16(const char *text, NUChar *destination, int32_t capacity, NUChar **result,
             int32_t *units, Storage storage = {})
{
    UConverter *converter = nullptr;
    size_t bytes = 0;
    const NRC rc = tvk::text::prepare_to_utf16(text, &converter, &bytes);
    if (rc != 0)
        return rc;
    NUChar *made = nullptr;
    if (destination == nullptr) {
        capacity = static_cast<int32_t>(bytes * 2 + 1);
        made = static_cast<NUChar *>(storage.get(static_cast<size_t>(capacity) * sizeof(NUChar)));
        if (made == nullptr)
            return 12;
        destination = made;
    }
    UErrorCode error = U_ZERO_ERROR;
    const int32_t length = ucnv_toUChars(converter, uc(destination), capacity, text,
                                         static_cast<int32_t>(bytes), &error);
    if (failed(error)) {
        log(NLOG_ERROR, 28, "Failed to convert string: '%s' to UTF-16: %s", text,
            u_errorName(error));
        if (made != nullptr)
            storage.release(made);
        return NRC_TEXT_TO_UTF16;
    }
    if (result != nullptr)
        *result = destination;
    if (units != nullptr)
        *units = length;
    return 0;
}

// UTF-16 to multibyte text, into the caller's destination or, without one,
// into (units + 10) x the largest character + 1 bytes of new storage.
NRC from_utf16(const NUChar *text, char *destination, int32_t capacity, char **result,
               Storage storage = {}, NRC converter_failure = 0)
{
    UConverter *converter = nullptr;
    NRC rc = _NUStringGetConverter(&converter);
    if (rc != 0)
        return converter_failure != 0 ? converter_failure : rc;
    const int32_t units = tvk::text::length(text);
    char *made = nullptr;
    if (destination == nullptr) {
        const int64_t room =
            (static_cast<int64_t>(units) + 10) * ucnv_getMaxCharSize(converter) + 1;
        if (room > max_size)
            return NRC_STRING_TOO_LONG;
        made = static_cast<char *>(storage.get(static_cast<size_t>(room)));
        if (made == nullptr)
            return 12;
        destination = made;
        capacity = static_cast<int32_t>(room);
    }
    UErrorCode error = U_ZERO_ERROR;
    ucnv_fromUChars(converter, destination, capacity, uc(text), units, &error);
    if (failed(error)) {
        log(NLOG_ERROR, 27, "Failed to convert UTF-16 string to code page, error message %s",
            u_errorName(error));
        if (made != nullptr)
            storage.release(made);
        return NRC_TEXT_FROM_UTF16;
    }
    if (result != nullptr)
        *result = destination;
    return 0;
}

// ---- wide text by the system library ----

// Length in wide characters of the multibyte text, or -1 if it is invalid.
size_t measure_wide(const char *text)
{
    std::mbstate_t state{};
    const char *source = text;
    return std::mbsrtowcs(nullptr, &source, 0, &state);
}

NRC to_wide(const char *text, wchar_t **result, Storage storage = {})
{
    const size_t length = measure_wide(text);
    if (length == static_cast<size_t>(-1))
        return EILSEQ;
    if (static_cast<uint64_t>(length) + 1 > static_cast<uint64_t>(max_size))
        return NRC_STRING_TOO_LONG;
    auto *wide = static_cast<wchar_t *>(storage.get((length + 1) * sizeof(wchar_t)));
    if (wide == nullptr)
        return 12;
    std::mbstate_t state{};
    const char *source = text;
    if (std::mbsrtowcs(wide, &source, length + 1, &state) == static_cast<size_t>(-1)) {
        const NRC rc = storage.arena != nullptr ? EILSEQ : errno;
        storage.release(wide);
        return rc;
    }
    *result = wide;
    return 0;
}

NRC from_wide(const wchar_t *text, char **result, Storage storage = {})
{
    std::mbstate_t state{};
    const wchar_t *source = text;
    const size_t length = std::wcsrtombs(nullptr, &source, 0, &state);
    if (length == static_cast<size_t>(-1))
        return storage.arena != nullptr ? EILSEQ : errno;
    if (static_cast<uint64_t>(length) + 1 > static_cast<uint64_t>(max_size))
        return NRC_STRING_TOO_LONG;
    auto *bytes = static_cast<char *>(storage.get(length + 1));
    if (bytes == nullptr)
        return 12;
    state = std::mbstate_t{};
    source = text;
    if (std::wcsrtombs(bytes, &source, length + 1, &state) == static_cast<size_t>(-1)) {
        const NRC rc = storage.arena != nullptr ? EILSEQ : errno;
        storage.release(bytes);
        return rc;
    }
    *result = bytes;
    return 0;
}

// The second stage of a conversion to UTF-8: the UTF-16 in scratch (freed
// here, whatever happens) into units x 4 + 1 bytes; `failure' is the code
// for a text that ICU can't encode.
NRC scratch_to_utf8(UChar *scratch, int32_t units, NRC failure, char **result)
{
    const int64_t size = static_cast<int64_t>(units) * 4 + 1;
    auto *utf8 =
        size > max_size ? nullptr : static_cast<char *>(n_malloc(static_cast<size_t>(size)));
    if (utf8 == nullptr) {
        n_free(scratch);
        return size > max_size ? NRC_STRING_TOO_LONG : 12;
    }
    UErrorCode error = U_ZERO_ERROR;
    u_strToUTF8(utf8, static_cast<int32_t>(size), nullptr, scratch, units, &error);
    n_free(scratch);
    if (failed(error)) {
        n_free(utf8);
        return failure;
    }
    *result = utf8;
    return 0;
}

// ---- conversion records between the default code set and UTF-8 ----

// Either converter stops at invalid input instead of substituting it.
bool set_stop_callbacks(UConverter *converter)
{
    UErrorCode error = U_ZERO_ERROR;
    ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
    ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                          &error);
    return U_SUCCESS(error);
}

NRC utf8_convert(UConverter *from, UConverter *to, const char *text, char **result)
{
    const size_t bytes = std::strlen(text);
    const uint64_t room = static_cast<uint64_t>(bytes) * 4 + 1;
    if (room > static_cast<uint64_t>(max_size))
        return NRC_STRING_TOO_LONG;
    auto *converted = static_cast<char *>(n_malloc(room));
    if (converted == nullptr)
        return 12;
    char *target = converted;
    const char *source = text;
    UErrorCode error = U_ZERO_ERROR;
    ucnv_convertEx(to, from, &target, converted + room - 1, &source, text + bytes, nullptr,
                   nullptr, nullptr, nullptr, true, true, &error);
    if (U_FAILURE(error)) {
        if (error == U_INVALID_CHAR_FOUND || error == U_TRUNCATED_CHAR_FOUND ||
            error == U_ILLEGAL_CHAR_FOUND || error == U_BUFFER_OVERFLOW_ERROR)
            log(NLOG_ERROR, 40,
                "Failed to convert string between character sets. [error code: %d error "
                "message: %s]",
                static_cast<int>(error), u_errorName(error));
        else
            log(NLOG_ERROR, 39,
                "Failed to convert string between character sets for unknown error. [error "
                "code: %d, error message: %s]",
                static_cast<int>(error), u_errorName(error));
        n_free(converted);
        return NRC_FAILURE;
    }
    *target = '\0';
    *result = converted;
    return 0;
}

NRC utf8_copy_or_convert(UConverter *from, UConverter *to, const char *text, char **result)
{
    if (refused(result, text))
        return NRC_FAILURE;
    if (from == nullptr || to == nullptr) {
        *result = n_strdup(text);
        return *result != nullptr ? 0 : 12;
    }
    return utf8_convert(from, to, text, result);
}

} // namespace

namespace tvk {

NThreadDataKey converter_key()
{
    return thr_specific_cnv_initialized.load(std::memory_order_acquire) ? converter_key_value
                                                                         : nullptr;
}

namespace text {

void log(NLogLevel level, int32_t number, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    (void)NLogAP(level, 1, libtarvolk_catalog, NI18N_SET_ERRORS, number, format, args);
    va_end(args);
}

// Aligned 16-byte loads never cross a page, so reading the rest of the
// block that holds the terminator is safe; the sanitizers would still see a
// read past the text, so they are kept out of this function.
__attribute__((no_sanitize_address, no_sanitize_thread, no_sanitize_undefined)) int32_t
length(const NUChar *text)
{
    const NUChar *unit = text;
    if ((reinterpret_cast<uintptr_t>(text) & 1) == 0) {
        while ((reinterpret_cast<uintptr_t>(unit) & 15) != 0) {
            if (*unit == 0)
                return static_cast<int32_t>(unit - text);
            ++unit;
        }
        const __m128i zero = _mm_setzero_si128();
        for (;; unit += 8) {
            const __m128i block = _mm_load_si128(reinterpret_cast<const __m128i *>(unit));
            const int found = _mm_movemask_epi8(_mm_cmpeq_epi16(block, zero));
            if (found != 0) {
                unit += __builtin_ctz(static_cast<unsigned>(found)) / 2;
                break;
            }
        }
    } else {
        while (*unit != 0)
            ++unit;
    }
    const auto units = unit - text;
    return units > max_size ? static_cast<int32_t>(max_size) : static_cast<int32_t>(units);
}

NRC prepare_to_utf16(const char *text, UConverter **converter, size_t *bytes)
{
    const NRC rc = _NUStringGetConverter(converter);
    if (rc != 0)
        return rc;
    *bytes = std::strlen(text);
    return static_cast<uint64_t>(*bytes) * 2 + 1 > static_cast<uint64_t>(max_size)
               ? NRC_STRING_TOO_LONG
               : 0;
}

UConverter *walking_converter()
{
    UConverter *converter = nullptr;
    if (_NUStringGetConverter(&converter) != 0)
        return nullptr;
    ucnv_resetToUnicode(converter);
    return converter;
}

const char *locale_converter_name()
{
    // ICU takes UTF-8 as its default whatever the locale, so the locale's
    // own code set is asked for by name. A code set that ICU does not know
    // leaves ICU's default.
    const char *codeset = nl_langinfo(CODESET);
    if (codeset == nullptr || *codeset == '\0')
        return nullptr;
    UErrorCode error = U_ZERO_ERROR;
    return ucnv_countAliases(codeset, &error) > 0 && U_SUCCESS(error) ? codeset : nullptr;
}

} // namespace text
} // namespace tvk

extern "C" {

// ---- the threads' converters ----

void _NUStringThrSpecificDataInit(void)
{
    if (thr_specific_cnv_initialized.load(std::memory_order_acquire))
        return;
    pthread_mutex_lock(&converter_key_lock);
    if (!thr_specific_cnv_initialized.load(std::memory_order_relaxed) &&
        tvk::thread_data_key_create(&converter_key_value, close_converter) == 0)
        thr_specific_cnv_initialized.store(true, std::memory_order_release);
    pthread_mutex_unlock(&converter_key_lock);
}

NRC _NUStringGetConverter(UConverter **result)
{
    if (result == nullptr)
        return NRC_FAILURE;
    if (thread_converter != nullptr) {
        *result = thread_converter;
        return 0;
    }
    *result = nullptr;
    if (!thr_specific_cnv_initialized.load(std::memory_order_acquire))
        _NUStringThrSpecificDataInit();
    NThreadDataKey key = tvk::converter_key();
    if (key == nullptr) {
        log(NLOG_ERROR, 33, "Failed to create thread specific ICU Converter. (%d:%s)",
            NRC_TEXT_THREAD_KEY, NRCToString(NRC_TEXT_THREAD_KEY));
        return NRC_TEXT_THREAD_KEY;
    }
    void *held = nullptr;
    (void)NThreadDataGet(key, &held);
    if (held != nullptr) {
        *result = thread_converter = static_cast<UConverter *>(held);
        return 0;
    }
    NRC rc = 0;
    UConverter *converter = open_thread_converter(&rc);
    if (converter == nullptr)
        return rc;
    if (NThreadDataSet(key, converter) != 0) {
        log(NLOG_ERROR, 32, "Failed to set thread specific data for ICU Converter. (%d:%s)",
            NRC_TEXT_THREAD_SET, NRCToString(NRC_TEXT_THREAD_SET));
        ucnv_close(converter);
        return NRC_TEXT_THREAD_SET;
    }
    *result = thread_converter = converter;
    return 0;
}

NRC NUStringThrSpecificDataFree(void)
{
    NThreadDataKey key = tvk::converter_key();
    if (key == nullptr)
        return 0;
    void *held = nullptr;
    (void)NThreadDataGet(key, &held);
    const NRC rc = NThreadDataSet(key, nullptr);
    if (rc != 0) {
        log(NLOG_ERROR, 32, "Failed to set thread specific data for ICU Converter. (%d:%s)", rc,
            NRCToString(rc));
        return rc;
    }
    thread_converter = nullptr;
    ucnv_close(static_cast<UConverter *>(held));
    return 0;
}

// ---- life of text values ----

void NUStringDestroy(NUChar *text)
{
    n_free(text);
}

void NUStringStrDestroy(char *text)
{
    n_free(text);
}

void NUStringWStrDestroy(wchar_t *text)
{
    n_free(text);
}

void NWStringDestroy(wchar_t *text)
{
    n_free(text);
}

NRC NUStringBufCreate(uint32_t capacity, NUStringBuf **result)
{
    if (result == nullptr)
        return NRC_FAILURE;
    *result = nullptr;
    auto *buffer = static_cast<NUStringBuf *>(n_calloc(1, sizeof(NUStringBuf)));
    if (buffer == nullptr)
        return 12;
    buffer->data = static_cast<NUChar *>(n_calloc(capacity == 0 ? 1 : capacity, sizeof(NUChar)));
    if (buffer->data == nullptr) {
        n_free(buffer);
        return 12;
    }
    buffer->capacity = capacity;
    *result = buffer;
    return 0;
}

NRC NWStringBufCreate(uint32_t capacity, NWStringBuf **result)
{
    if (result == nullptr)
        return NRC_FAILURE;
    *result = nullptr;
    auto *buffer = static_cast<NWStringBuf *>(n_calloc(1, sizeof(NWStringBuf)));
    if (buffer == nullptr)
        return 12;
    buffer->data =
        static_cast<wchar_t *>(n_calloc(capacity == 0 ? 1 : capacity, sizeof(wchar_t)));
    if (buffer->data == nullptr) {
        n_free(buffer);
        return 12;
    }
    buffer->capacity = capacity;
    *result = buffer;
    return 0;
}

void NUStringBufDestroy(NUStringBuf *buffer)
{
    if (buffer == nullptr)
        return;
    n_free(buffer->data);
    n_free(buffer);
}

void NWStringBufDestroy(NWStringBuf *buffer)
{
    if (buffer == nullptr)
        return;
    n_free(buffer->data);
    n_free(buffer);
}

NRC NWStringMbStateInitialise(NWStringMbState **result)
{
    if (result == nullptr)
        return NRC_FAILURE;
    *result = static_cast<NWStringMbState *>(n_calloc(1, sizeof(NWStringMbState)));
    return *result != nullptr ? 0 : 12;
}

void NWStringMbStateDestroy(NWStringMbState *state)
{
    if (state != nullptr)
        n_free(state);
}

size_t NWStringMbCharToWideChar(wchar_t *result, const char *bytes, size_t count,
                                NWStringMbState *state)
{
    return std::mbrtowc(result, bytes, count, state);
}

NRC NUStringBufAppendUChar32(NUStringBuf *buffer, NUChar32 code_point)
{
    if (buffer == nullptr)
        return NRC_FAILURE;
    if (code_point < 0 || code_point > 0x10FFFF)
        return 0;
    if (code_point < 0x10000) {
        buffer->data[buffer->length++] = static_cast<NUChar>(code_point);
        return 0;
    }
    if (static_cast<int64_t>(buffer->capacity) - 2 <= static_cast<int64_t>(buffer->length) + 1) {
        const uint64_t grown = static_cast<uint64_t>(buffer->capacity) + 4;
        if (grown > static_cast<uint64_t>(max_size))
            return NRC_STRING_TOO_LONG;
        auto *data = static_cast<NUChar *>(n_realloc(buffer->data, grown * sizeof(NUChar)));
        if (data == nullptr)
            return 12;
        buffer->data = data;
        buffer->capacity = static_cast<uint32_t>(grown);
        if (buffer->capacity < buffer->length + 2)
            return 0; // still too small: the code point is dropped
    }
    const uint32_t offset = static_cast<uint32_t>(code_point) - 0x10000;
    buffer->data[buffer->length++] = static_cast<NUChar>(0xD800 | (offset >> 10));
    buffer->data[buffer->length++] = static_cast<NUChar>(0xDC00 | (offset & 0x3FF));
    return 0;
}

// ---- multibyte text to UTF-16 and back ----

NRC NUStringCreate(const char *text, NUChar **result)
{
    if (refused(result, text))
        return NRC_FAILURE;
    return to_utf16(text, nullptr, 0, result, nullptr);
}

NRC NUStringStrToUStr(const char *text, NUChar **result)
{
    return NUStringCreate(text, result);
}

NRC NUStringStrToUStrBuf(const char *text, NUChar *destination, int32_t capacity)
{
    if (text == nullptr || destination == nullptr || capacity < 0)
        return NRC_FAILURE;
    return to_utf16(text, destination, capacity, nullptr, nullptr);
}

NRC NUStringBufStrToUStr(NUStringBuf *buffer, const char *text)
{
    if (buffer == nullptr || text == nullptr)
        return NRC_FAILURE;
    const size_t bytes = std::strlen(text);
    const uint64_t room = static_cast<uint64_t>(bytes) * 2 + 1;
    if (room > static_cast<uint64_t>(max_size))
        return NRC_STRING_TOO_LONG;
    if (buffer->capacity < room) {
        auto *data = static_cast<NUChar *>(n_realloc(buffer->data, room * sizeof(NUChar)));
        if (data == nullptr)
            return 12;
        buffer->data = data;
        buffer->capacity = static_cast<uint32_t>(room);
    }
    int32_t units = 0;
    const auto capacity = static_cast<int32_t>(
        buffer->capacity > static_cast<uint64_t>(max_size) ? max_size : buffer->capacity);
    const NRC rc = to_utf16(text, buffer->data, capacity, nullptr, &units);
    if (rc == 0)
        buffer->length = static_cast<uint32_t>(units);
    return rc;
}

NRC NUStringUStrToStr(const NUChar *text, char **result)
{
    if (refused(result, text))
        return NRC_FAILURE;
    return from_utf16(text, nullptr, 0, result);
}

NRC NUStringUStrToStrBuf(const NUChar *text, char *destination, int32_t capacity)
{
    if (text == nullptr || destination == nullptr || capacity < 0)
        return NRC_FAILURE;
    return from_utf16(text, destination, capacity, nullptr);
}

NRC NUStringBufUStrToStr(const NUStringBuf *buffer, char **result)
{
    if (refused(result, buffer) || buffer->data == nullptr)
        return NRC_FAILURE;
    return NUStringUStrToStr(buffer->data, result);
}

NRC NUStringUStrToNStr(const NUChar **text, int32_t limit, char *destination, int32_t *length)
{
    if (length == nullptr)
        return NRC_FAILURE;
    *length = -1;
    if (text == nullptr || *text == nullptr || destination == nullptr)
        return NRC_FAILURE;
    char *converted = nullptr;
    const NRC rc = NUStringUStrToStr(*text, &converted);
    if (rc != 0)
        return rc;
    int32_t cut = limit < 0 ? 0 : limit;
    const size_t bytes = std::strlen(converted);
    NUStringMbsTruncate(converted, bytes > static_cast<size_t>(max_size)
                                       ? static_cast<int32_t>(max_size)
                                       : static_cast<int32_t>(bytes),
                        &cut);
    if (cut < 0) {
        n_free(converted);
        return NRC_FAILURE;
    }
    std::memcpy(destination, converted, static_cast<size_t>(cut));
    destination[cut] = '\0';
    *length = cut;
    n_free(converted);
    return 0;
}

NRC NIncrUStringStrToUStr(NIncrAllocator *allocator, const char *text, NUChar **result)
{
    if (refused(result, allocator, text))
        return NRC_FAILURE;
    return to_utf16(text, nullptr, 0, result, nullptr, Storage{allocator});
}

NRC NIncrUStringUStrToStr(NIncrAllocator *allocator, const NUChar *text, char **result)
{
    if (refused(result, allocator, text))
        return NRC_FAILURE;
    return from_utf16(text, nullptr, 0, result, Storage{allocator}, NRC_TEXT_NO_CONVERTER);
}

NRC _NUStringDefaultToUTF8(UConverter *converter, const char *text, char **result)
{
    if (refused(result, converter, text))
        return NRC_FAILURE;
    const size_t bytes = std::strlen(text);
    const uint64_t room = static_cast<uint64_t>(bytes) * 2 + 1;
    if (room > static_cast<uint64_t>(max_size))
        return NRC_STRING_TOO_LONG;
    auto *scratch = static_cast<UChar *>(n_malloc(room * sizeof(UChar)));
    if (scratch == nullptr)
        return 12;
    UErrorCode error = U_ZERO_ERROR;
    const int32_t units = ucnv_toUChars(converter, scratch, static_cast<int32_t>(room), text,
                                        static_cast<int32_t>(bytes), &error);
    if (failed(error)) {
        n_free(scratch);
        return NRC_TEXT_TO_UTF16;
    }
    return scratch_to_utf8(scratch, units, NRC_TEXT_TO_UTF8, result);
}

// ---- wide text and UTF-8 ----

NRC NUStringWCSToUTF8(const wchar_t *text, char **result)
{
    if (refused(result, text))
        return NRC_FAILURE;
    const size_t length = std::wcslen(text);
    if (static_cast<uint64_t>(length) + 1 > static_cast<uint64_t>(max_size))
        return NRC_STRING_TOO_LONG;
    const auto room = static_cast<int32_t>(length + 1);
    auto *scratch = static_cast<UChar *>(n_malloc(static_cast<size_t>(room) * sizeof(UChar)));
    if (scratch == nullptr)
        return 12;
    UErrorCode error = U_ZERO_ERROR;
    int32_t units = 0;
    u_strFromWCS(scratch, room, &units, text, static_cast<int32_t>(length), &error);
    if (failed(error)) {
        n_free(scratch);
        return NRC_TEXT_TO_UTF16;
    }
    return scratch_to_utf8(scratch, units, NRC_TEXT_FROM_UTF16, result);
}

NRC NUStringUTF8ToWCS(const char *text, wchar_t **result)
{
    if (refused(result, text))
        return NRC_FAILURE;
    const size_t bytes = std::strlen(text);
    const uint64_t room = static_cast<uint64_t>(bytes) * 2 + 1;
    if (room > static_cast<uint64_t>(max_size))
        return NRC_STRING_TOO_LONG;
    auto *scratch = static_cast<UChar *>(n_malloc(room * sizeof(UChar)));
    if (scratch == nullptr)
        return 12;
    UErrorCode error = U_ZERO_ERROR;
    int32_t units = 0;
    u_strFromUTF8(scratch, static_cast<int32_t>(room), &units, text, static_cast<int32_t>(bytes),
                  &error);
    if (failed(error)) {
        n_free(scratch);
        return error == U_INVALID_CHAR_FOUND ? NRC_TEXT_BAD_UTF8 : NRC_TEXT_TO_UTF16;
    }
    const auto size = static_cast<size_t>(units) + 1;
    auto *wide = static_cast<wchar_t *>(n_malloc(size * sizeof(wchar_t)));
    if (wide == nullptr) {
        n_free(scratch);
        return 12;
    }
    error = U_ZERO_ERROR;
    u_strToWCS(wide, static_cast<int32_t>(size), nullptr, scratch, units, &error);
    n_free(scratch);
    if (failed(error)) {
        n_free(wide);
        return NRC_TEXT_FROM_UTF16;
    }
    *result = wide;
    return 0;
}

// ---- the wide family ----

NRC NWStringCreate(const char *text, wchar_t **result)
{
    if (refused(result, text))
        return NRC_FAILURE;
    return to_wide(text, result);
}

NRC NWStringStrToWStr(const char *text, wchar_t **result)
{
    return NWStringCreate(text, result);
}

NRC NWStringWStrToStr(const wchar_t *text, char **result)
{
    if (refused(result, text))
        return NRC_FAILURE;
    return from_wide(text, result);
}

NRC NWStringBufStrToWStr(NWStringBuf *buffer, const char *text)
{
    if (buffer == nullptr || text == nullptr)
        return NRC_FAILURE;
    const size_t length = measure_wide(text);
    if (length == static_cast<size_t>(-1)) {
        buffer->length = 0;
        return EILSEQ;
    }
    if (static_cast<uint64_t>(length) + 1 > static_cast<uint64_t>(max_size))
        return NRC_STRING_TOO_LONG;
    if (length + 1 > buffer->capacity) {
        auto *data = static_cast<wchar_t *>(n_calloc(length + 1, sizeof(wchar_t)));
        if (data == nullptr)
            return 12;
        n_free(buffer->data);
        buffer->data = data;
        buffer->capacity = static_cast<uint32_t>(length + 1);
    }
    std::mbstate_t state{};
    const char *source = text;
    const size_t converted = std::mbsrtowcs(buffer->data, &source, buffer->capacity, &state);
    if (converted == static_cast<size_t>(-1)) {
        buffer->length = 0;
        return EILSEQ;
    }
    buffer->length = static_cast<uint32_t>(converted);
    return 0;
}

NRC NWStringBufWStrToStr(const NWStringBuf *buffer, char **result)
{
    if (refused(result, buffer) || buffer->data == nullptr)
        return NRC_FAILURE;
    return from_wide(buffer->data, result);
}

NRC NWStringWStrToNStr(const wchar_t **text, size_t limit, char *destination, size_t *count)
{
    std::mbstate_t state{};
    const size_t converted = std::wcsrtombs(destination, text, limit, &state);
    if (count != nullptr)
        *count = converted;
    return 0;
}

NRC NIncrWStringStrToWStr(NIncrAllocator *allocator, const char *text, wchar_t **result)
{
    if (refused(result, allocator, text))
        return NRC_FAILURE;
    return to_wide(text, result, Storage{allocator});
}

NRC NIncrWStringWStrToStr(NIncrAllocator *allocator, const wchar_t *text, char **result)
{
    if (refused(result, allocator, text))
        return NRC_FAILURE;
    return from_wide(text, result, Storage{allocator});
}

// ---- conversion between the default code set and UTF-8 ----

NRC NUStringUTF8ConverterCreate(NUStringUTF8Converter **result)
{
    if (result == nullptr)
        return NRC_FAILURE;
    *result = nullptr;
    auto *record = static_cast<NUStringUTF8Converter *>(n_calloc(1, sizeof(NUStringUTF8Converter)));
    if (record == nullptr)
        return 12;
    // The default code set is the locale's, as for the threads' converters
    // in locale mode.
    const char *native = tvk::text::locale_converter_name();
    const char *default_name = native != nullptr ? native : ucnv_getDefaultName();
    if (strcasecmp(default_name, "UTF-8") == 0) {
        *result = record;
        return 0;
    }
    UErrorCode error = U_ZERO_ERROR;
    record->utf8 = ucnv_open("UTF-8", &error);
    if (U_SUCCESS(error))
        record->native = ucnv_open(native, &error);
    if (U_SUCCESS(error) && !(set_stop_callbacks(record->utf8) && set_stop_callbacks(record->native)))
        error = U_INTERNAL_PROGRAM_ERROR;
    if (U_FAILURE(error)) {
        log(NLOG_ERROR, 21, "Failed to open ICU converter, error code '%d' error message: %s",
            static_cast<int>(error), u_errorName(error));
        ucnv_close(record->utf8);
        ucnv_close(record->native);
        n_free(record);
        return NRC_FAILURE;
    }
    *result = record;
    return 0;
}

void NUStringUTF8ConverterDestroy(NUStringUTF8Converter *converter)
{
    if (converter == nullptr)
        return;
    ucnv_close(converter->utf8);
    ucnv_close(converter->native);
    n_free(converter);
}

NRC NUStringUTF8ConverterTo(NUStringUTF8Converter *converter, const char *text, char **result)
{
    if (converter == nullptr) {
        if (result != nullptr)
            *result = nullptr;
        return NRC_FAILURE;
    }
    return utf8_copy_or_convert(converter->native, converter->utf8, text, result);
}

NRC NUStringUTF8ConverterFrom(NUStringUTF8Converter *converter, const char *text, char **result)
{
    if (converter == nullptr) {
        if (result != nullptr)
            *result = nullptr;
        return NRC_FAILURE;
    }
    return utf8_copy_or_convert(converter->utf8, converter->native, text, result);
}

// ---- cleaning text ----

NRC NUStringStripInvalidCharacters(const char *text, char **result)
{
    if (refused(result, text))
        return NRC_FAILURE;
    const size_t bytes = std::strlen(text);
    if (static_cast<uint64_t>(bytes) + 1 > static_cast<uint64_t>(max_size))
        return NRC_STRING_TOO_LONG;
    auto *clean = static_cast<char *>(n_malloc(bytes + 1));
    if (clean == nullptr)
        return 12;
    UConverter *converter = nullptr;
    NRC rc = _NUStringGetConverter(&converter);
    if (rc != 0) {
        n_free(clean);
        return rc;
    }
    UErrorCode error = U_ZERO_ERROR;
    ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
    if (U_FAILURE(error)) {
        n_free(clean);
        return NRC_TEXT_CALLBACK;
    }
    ucnv_resetToUnicode(converter);
    const char *position = text;
    const char *const end = text + bytes;
    while (position < end) {
        const char *start = position;
        error = U_ZERO_ERROR;
        (void)ucnv_getNextUChar(converter, &position, end, &error);
        if (U_SUCCESS(error)) {
            std::memcpy(clean + (start - text), start, static_cast<size_t>(position - start));
            continue;
        }
        if (position == start)
            ++position;
        for (const char *bad = start; bad < position; ++bad) {
            const auto index = static_cast<int>(bad - text);
            clean[index] = ' ';
            log(NLOG_WARN, 6, "Invalid character %#02x replaced by [space] in SQL command at index %d",
                static_cast<int>(static_cast<signed char>(*bad)), index);
        }
        ucnv_resetToUnicode(converter);
    }
    // Restoring the substituting callback can't fail for a callback that
    // was just replaced; were it to, the converter would stop at bad bytes
    // until the thread frees it, so it is given up at once.
    error = U_ZERO_ERROR;
    ucnv_setToUCallBack(converter, tou_subcb, nullptr, nullptr, nullptr, &error);
    if (U_FAILURE(error))
        (void)NUStringThrSpecificDataFree();
    clean[bytes] = '\0';
    *result = clean;
    return 0;
}

NRC NWStringStripInvalidCharacters(const char *text, char **result)
{
    if (refused(result, text))
        return NRC_FAILURE;
    const size_t bytes = std::strlen(text);
    if (measure_wide(text) != static_cast<size_t>(-1)) {
        *result = NStringNDuplicate(text, bytes);
        return *result != nullptr ? 0 : 12;
    }
    auto *clean = static_cast<char *>(n_malloc(bytes + 1));
    if (clean == nullptr)
        return 12;
    std::mbstate_t state{};
    const size_t widest = MB_CUR_MAX;
    size_t index = 0;
    while (index < bytes) {
        wchar_t wide = 0;
        const size_t left = bytes - index;
        const size_t used =
            std::mbrtowc(&wide, text + index, left < widest ? left : widest, &state);
        if (used == 0 || used > left) {
            NLogLog(NLOG_WARN, 0, nullptr, 0, 0,
                    "Invalid character %c removed from SQL command at index %d", text[index],
                    static_cast<int>(index));
            clean[index++] = ' ';
            state = std::mbstate_t{};
            continue;
        }
        std::memcpy(clean + index, text + index, used);
        index += used;
    }
    clean[bytes] = '\0';
    *result = clean;
    return 0;
}

} // extern "C"
