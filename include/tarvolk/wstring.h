/*
 * tarvolk/wstring.h - the encoding core and the character-aware operations
 * on text.
 *
 * Text comes in three forms: multibyte text (char, in the process's text
 * encoding: "Str" or "Mbs" in names), UTF-16 text (NUChar, the NUString
 * family, converted through the calling thread's ICU converter) and wide
 * text (wchar_t, the NWString family, converted by the system library in
 * the locale of LC_CTYPE).
 *
 * The NUString family follows the library's encoding setting: in locale
 * mode (the default) multibyte text is in the code set of the process's
 * locale; after NI18nSetEncoding it is in the named encoding. Each thread
 * opens its converter at its first text operation and keeps it until
 * NUStringThrSpecificDataFree.
 *
 * Invalid bytes and unmappable characters never fail a conversion: they are
 * substituted (ICU's substitute towards UTF-16, "?" towards bytes) and
 * reported as warnings in the log.
 *
 * Results that a function allocates come from n_malloc and go back with
 * n_free or the family's Destroy function. A size that would not fit a
 * signed 32-bit integer gives NRC_STRING_TOO_LONG; exhausted memory gives
 * 12.
 */
#ifndef TARVOLK_WSTRING_H
#define TARVOLK_WSTRING_H

#include <stdarg.h>
#include <wchar.h>

#include <tarvolk/common.h>

N_BEGIN_DECLS

/* A UTF-16 code unit: the same type as ICU's UChar. */
#ifdef __cplusplus
typedef char16_t NUChar;
#else
typedef uint16_t NUChar;
#endif
/* A code point: the same type as ICU's UChar32. */
typedef int32_t NUChar32;

/* ICU's converter, for the few entry points that hand one out. */
struct UConverter;

/* Codes of the text layer. They have no rows in the library's table of
   texts, so NRCToString gives its text for unknown codes. */
#define NRC_TEXT_COLLATOR_OPEN (-294)      /* no collator */
#define NRC_TEXT_SORTKEY_CONVERTER (-295)  /* no converter for a sort key context */
#define NRC_TEXT_SORTKEY_CONVERT (-296)    /* text could not be decoded for a sort key */
#define NRC_TEXT_NO_CONVERTER (-300)       /* no converter could be set up */
#define NRC_TEXT_FROM_UTF16 (-301)         /* UTF-16 could not be encoded */
#define NRC_TEXT_TO_UTF16 (-302)           /* text could not be decoded to UTF-16 */
#define NRC_TEXT_TRUNCATE_RANGE (-303)     /* a cut behind the end of a UTF-16 text */
#define NRC_TEXT_CALLBACK (-304)           /* a converter callback could not be changed */
#define NRC_TEXT_BAD_UTF8 (-305)           /* invalid UTF-8 */
#define NRC_TEXT_THREAD_SET (-306)         /* a thread's converter could not be stored */
#define NRC_TEXT_THREAD_KEY (-307)         /* the thread data key doesn't exist */
#define NRC_TEXT_INDEX_RANGE (-308)        /* an index outside a UTF-16 text */
#define NRC_TEXT_BAD_DATE_FORMAT (-309)    /* an invalid date format */
#define NRC_TEXT_CALENDAR_OPEN (-311)      /* no calendar */
#define NRC_TEXT_DATE_OPEN (-312)          /* no date formatter */
#define NRC_TEXT_TIME_SCALE (-313)         /* a time scale conversion failed */
#define NRC_TEXT_DATE_FORMAT_FAILED (-314) /* a date could not be formatted */
#define NRC_TEXT_DATE_PARSE_FAILED (-315)  /* a date could not be parsed */
#define NRC_TEXT_TIME_RANGE (-317)         /* a parsed time outside 32-bit seconds */
#define NRC_TEXT_CALENDAR_SET (-318)       /* the calendar refused the time */
#define NRC_TEXT_TO_UTF8 (-319)            /* UTF-16 could not be encoded as UTF-8 */

/* Size of n_code_page, terminator included. */
#define N_CODE_PAGE_SIZE 60

/* 1 once an encoding has been set (NI18nSetEncoding), else 0. */
extern NAPI int32_t n_utf8_enabled;
/* The encoding's name, zero-terminated. */
extern NAPI char n_code_page[N_CODE_PAGE_SIZE];
/* A word for client code; the library neither writes nor reads it. */
extern NAPI int32_t utf8enabled_isenabled;

/* A counted UTF-16 text. `length' counts the units in use (terminator not
   counted), `capacity' the units allocated. Record and data are separate
   allocations. */
typedef struct NUStringBuf {
    NUChar *data;
    uint32_t length;
    uint32_t capacity;
} NUStringBuf;

/* A counted wide text; both counts in wchar_t. */
typedef struct NWStringBuf {
    wchar_t *data;
    uint32_t length;
    uint32_t capacity;
} NWStringBuf;

/* Converts between the process's default code set and UTF-8. Both handles
   are null when that code set already is UTF-8. Owned by its creator; not
   for two threads at a time. */
typedef struct NUStringUTF8Converter {
    struct UConverter *utf8;
    struct UConverter *native;
} NUStringUTF8Converter;

/* A conversion state of the system library. */
typedef mbstate_t NWStringMbState;

/* ================= the encoding core ================= */

/* ---- life of text values ---- */

NAPI void NUStringDestroy(NUChar *text);
NAPI void NUStringStrDestroy(char *text);
NAPI void NUStringWStrDestroy(wchar_t *text);
NAPI void NWStringDestroy(wchar_t *text);

/* A zeroed record with `capacity' zeroed units and length 0. 12 on
   exhausted memory, nothing left allocated. */
NAPI NRC NUStringBufCreate(uint32_t capacity, NUStringBuf **result);
NAPI NRC NWStringBufCreate(uint32_t capacity, NWStringBuf **result);
/* Free the data, then the record; null does nothing. */
NAPI void NUStringBufDestroy(NUStringBuf *buffer);
NAPI void NWStringBufDestroy(NWStringBuf *buffer);

/* A zeroed state in *result; null (and 12) on exhausted memory. */
NAPI NRC NWStringMbStateInitialise(NWStringMbState **result);
NAPI void NWStringMbStateDestroy(NWStringMbState *state);
/* mbrtowc(3). */
NAPI size_t NWStringMbCharToWideChar(wchar_t *result, const char *bytes, size_t count,
                                     NWStringMbState *state);

/* Appends one code point without a terminator. Below 0x10000: one unit,
   with no test of the capacity (the caller keeps room). Up to 0x10FFFF: a
   surrogate pair, growing the capacity by 4 units first if it is short (12
   on exhausted memory). Above 0x10FFFF: ignored. Returns 0. */
NAPI NRC NUStringBufAppendUChar32(NUStringBuf *buffer, NUChar32 code_point);

/* ---- multibyte text to UTF-16 and back ---- */

/* A new UTF-16 text of 2 x bytes + 1 units. NRC_TEXT_TO_UTF16 if ICU
   fails; the converter's code if there is none. NUStringStrToUStr is the
   same operation. */
NAPI NRC NUStringCreate(const char *text, NUChar **result);
NAPI NRC NUStringStrToUStr(const char *text, NUChar **result);
/* Into the caller's buffer of `capacity' units, terminated. A buffer that
   is too small (the terminator included) gives NRC_TEXT_TO_UTF16. */
NAPI NRC NUStringStrToUStrBuf(const char *text, NUChar *destination, int32_t capacity);
/* Into a counted buffer, grown to 2 x bytes + 1 units if it is smaller;
   sets `length'. */
NAPI NRC NUStringBufStrToUStr(NUStringBuf *buffer, const char *text);
/* A new multibyte text of (units + 10) x the converter's largest character
   + 1 bytes. NRC_TEXT_FROM_UTF16 if ICU fails. */
NAPI NRC NUStringUStrToStr(const NUChar *text, char **result);
/* Into the caller's buffer of `capacity' bytes, terminated. */
NAPI NRC NUStringUStrToStrBuf(const NUChar *text, char *destination, int32_t capacity);
/* NUStringUStrToStr on the buffer's data. */
NAPI NRC NUStringBufUStrToStr(const NUStringBuf *buffer, char **result);
/* Converts *text, cuts the bytes at the last whole character that fits in
   `limit' bytes, copies them and a terminator to the destination (which
   holds limit + 1 bytes) and stores their count in *length. NRC_FAILURE
   when no converter can be had for the cut. */
NAPI NRC NUStringUStrToNStr(const NUChar **text, int32_t limit, char *destination,
                            int32_t *length);
/* As NUStringCreate and NUStringUStrToStr, with the storage taken from the
   incremental allocator (it stays there on failure).
   NIncrUStringUStrToStr gives NRC_TEXT_NO_CONVERTER for any converter
   failure. */
NAPI NRC NIncrUStringStrToUStr(NIncrAllocator *allocator, const char *text, NUChar **result);
NAPI NRC NIncrUStringUStrToStr(NIncrAllocator *allocator, const NUChar *text, char **result);
/* Text in the given converter's encoding to a new UTF-8 text.
   NRC_TEXT_TO_UTF16 for the first stage, NRC_TEXT_TO_UTF8 for the
   second. */
NAPI NRC _NUStringDefaultToUTF8(struct UConverter *converter, const char *text, char **result);

/* ---- wide text and UTF-8 (no converter, no log) ---- */

/* Wide text to a new UTF-8 text, through (wide length + 1) UTF-16 units:
   a character above 0xFFFF does not fit and gives NRC_TEXT_TO_UTF16. */
NAPI NRC NUStringWCSToUTF8(const wchar_t *text, char **result);
/* UTF-8 to a new wide text. NRC_TEXT_BAD_UTF8 for invalid UTF-8. */
NAPI NRC NUStringUTF8ToWCS(const char *text, wchar_t **result);

/* ---- the wide family (system library, LC_CTYPE) ---- */

/* New wide text, measured first. 84 (EILSEQ) for invalid text. */
NAPI NRC NWStringCreate(const char *text, wchar_t **result);
NAPI NRC NWStringStrToWStr(const char *text, wchar_t **result);
/* New multibyte text; errno of a failing pass (84 for a character the
   locale lacks). */
NAPI NRC NWStringWStrToStr(const wchar_t *text, char **result);
/* Into a counted buffer, replacing its data when length + 1 exceeds the
   capacity. 84 for invalid text, with `length' 0. */
NAPI NRC NWStringBufStrToWStr(NWStringBuf *buffer, const char *text);
NAPI NRC NWStringBufWStrToStr(const NWStringBuf *buffer, char **result);
/* wcsrtombs(3) with a zeroed state; *count is what it returned. Returns
   0. */
NAPI NRC NWStringWStrToNStr(const wchar_t **text, size_t limit, char *destination,
                            size_t *count);
/* As NWStringCreate and NWStringWStrToStr, with storage from the
   incremental allocator. Invalid text gives 84. */
NAPI NRC NIncrWStringStrToWStr(NIncrAllocator *allocator, const char *text, wchar_t **result);
NAPI NRC NIncrWStringWStrToStr(NIncrAllocator *allocator, const wchar_t *text, char **result);

/* ---- conversion between the default code set and UTF-8 ---- */

/* 12 on exhausted memory; NRC_FAILURE if a converter can't be opened. */
NAPI NRC NUStringUTF8ConverterCreate(NUStringUTF8Converter **result);
NAPI void NUStringUTF8ConverterDestroy(NUStringUTF8Converter *converter);
/* Native to UTF-8 and UTF-8 to native, into a new text. These conversions
   do not substitute: invalid input gives NRC_FAILURE. */
NAPI NRC NUStringUTF8ConverterTo(NUStringUTF8Converter *converter, const char *text,
                                 char **result);
NAPI NRC NUStringUTF8ConverterFrom(NUStringUTF8Converter *converter, const char *text,
                                   char **result);

/* ---- cleaning text ---- */

/* A new text of the same length in which every byte that doesn't decode is
   a blank (a warning for each). */
NAPI NRC NUStringStripInvalidCharacters(const char *text, char **result);
NAPI NRC NWStringStripInvalidCharacters(const char *text, char **result);

/* ---- the threads' converters ---- */

/* Creates the thread data key of the converters, once. */
NAPI void _NUStringThrSpecificDataInit(void);
/* The calling thread's converter, opened at the first call. */
NAPI NRC _NUStringGetConverter(struct UConverter **result);
/* Closes the calling thread's converter and clears the key. A thread that
   used text operations calls it before it ends. */
NAPI NRC NUStringThrSpecificDataFree(void);

/* ================= character-aware operations ================= */

/* ---- limits and cutting in multibyte text (limits in bytes) ---- */

/* Lowers *limit to the bytes of the whole characters that fit in it (at
   most `bytes'). -1 if the thread has no converter. A negative `bytes'
   means the whole text. */
NAPI NRC NUStringMbsLimit(const char *text, int32_t bytes, int32_t *limit);
/* The same by mbrtowc; a byte that doesn't convert counts as a character of
   one byte; stops at a zero byte. */
NAPI NRC NWStringMbsLimit(const char *text, int32_t bytes, int32_t *limit);
/* The limit functions, then a terminator at the limit (not for -1). */
NAPI NRC NUStringMbsTruncate(char *text, int32_t bytes, int32_t *limit);
NAPI NRC NWStringMbsTruncate(char *text, int32_t bytes, int32_t *limit);
/* Copies the whole characters of the source that fit in `count' bytes and
   a terminator (the destination holds count + 1 bytes). Returns the
   destination. */
NAPI char *NUStringMbsStrncpy(char *destination, const char *source, int32_t count);
NAPI char *NWStringMbsStrncpy(char *destination, const char *source, size_t count);
/* Bytes of the first character; 0 if it can't be decoded. */
NAPI int32_t NUStringMbcSize(const char *text);
/* Decodes the first character of at most `bytes' bytes into *code_point
   and returns its bytes; 0 (nothing stored) on failure. */
NAPI int32_t NUStringMbCharToUChar32(NUChar32 *code_point, const char *text, int32_t bytes);
/* Code points of the text; -1 if it can't be converted. */
NAPI int32_t NUStringMbsCountUChar32(const char *text);
/* Bytes of the multibyte form of a UTF-16 text; 0 without a converter. */
NAPI int32_t NUStringUStrMbsLen(const NUChar *text);

/* Maps the position of each UTF-16 unit of the text to its byte offset:
   *count entries, the first 0, the last the end of the text. A character
   above 0xFFFF takes two entries of the same offset and sets *wide to 1
   (it is never cleared). The table is freed with n_free. The first form has
   8-bit entries; the second 32-bit ones, and a null table and a count of 0
   for the empty text. */
NAPI NRC NUStringMbsGetCodePointBoundary(const char *text, uint8_t **offsets, int32_t *count,
                                         int32_t *wide);
NAPI NRC NUStringMbsGetCodePointBoundaryV2(const char *text, int32_t **offsets, int32_t *count,
                                           int32_t *wide);

/* ---- walking UTF-16 text (indexes in units) ---- */

/* The code point at *index, moving the index behind it; 0 (index kept)
   for an index outside the text. */
NAPI NUChar32 NUStringGetNextUChar32(const NUChar *text, int32_t *index);
/* The code point before *index, moving the index to it; 0 (kept) for an
   index below 1 or above the length. */
NAPI NUChar32 NUStringGetPrevUChar32(const NUChar *text, int32_t *index);
/* Replaces the unit before the index. NRC_TEXT_INDEX_RANGE outside the
   text or behind a surrogate pair. */
NAPI NRC NUStringSetBmpChrAtPrev(NUChar *text, int32_t index, NUChar unit);
/* A new text of `count' code points from code point `start'; a negative
   count runs to the end. */
NAPI NRC NUStringSubstr(const NUChar *text, int32_t start, int32_t count, NUChar **result);
/* Cuts at *length, one unit earlier if that would split a surrogate pair.
   NRC_TEXT_TRUNCATE_RANGE for a length above the text's. */
NAPI NRC NUStringUStrTruncate(NUChar *text, int32_t *length);

/* ---- trimming ---- */

/* In place: trailing white space among the first *length units; *length
   becomes the new length. */
NAPI NRC NUStringRNTrim(NUChar *text, int32_t *length);
NAPI NRC NUStringRTrim(NUChar *text);
NAPI NRC NUStringRTrimReturnLen(NUChar *text);
/* A new text without white space on either side. */
NAPI NRC NUStringLRTrim(const NUChar *text, NUChar **result);
/* No allocation: *result points into the text at its first character that
   is not white space. */
NAPI NRC NUStringLTrim(const NUChar *text, NUChar **result);
/* New texts. White space only gives the empty text, except for
   NWStringLRTrim, which gives the first character. */
NAPI NRC NWStringRTrim(const wchar_t *text, wchar_t **result);
NAPI NRC NWStringLTrim(const wchar_t *text, wchar_t **result);
NAPI NRC NWStringLRTrim(const wchar_t *text, wchar_t **result);
/* New multibyte texts without trailing (and leading) characters that are
   white space or the character of the given byte. */
NAPI NRC NUStringMbsRTrimWithChar(const char *text, char **result, char byte);
NAPI NRC NUStringMbsLRTrimWithChar(const char *text, char **result, char byte);

/* ---- case and classes ---- */

/* 1 if no code point is upper case (lower case); else 0. */
NAPI int32_t NUStringIsLower(const NUChar *text);
NAPI int32_t NUStringIsUpper(const NUChar *text);
/* 1 if every wide character is iswlower (iswupper); the empty text is 1. */
NAPI int32_t NWStringIsLower(const wchar_t *text);
NAPI int32_t NWStringIsUpper(const wchar_t *text);
/* New texts, full case mapping in the default locale; null on failure. */
NAPI NUChar *NUStringLower(const NUChar *text);
NAPI NUChar *NUStringUpper(const NUChar *text);
/* In place (towlower, towupper); return the text. */
NAPI wchar_t *NWStringLower(wchar_t *text);
NAPI wchar_t *NWStringUpper(wchar_t *text);
NAPI NUChar32 NUStringUChar32ToLower(NUChar32 code_point);
NAPI NUChar32 NUStringUChar32ToUpper(NUChar32 code_point);
NAPI int32_t NUStringUChar32IsSpace(NUChar32 code_point);
NAPI int32_t NUStringUChar32IsAlpha(NUChar32 code_point);
NAPI int32_t NUStringUChar32IsDigit(NUChar32 code_point);
NAPI int32_t NUStringUChar32IsXDigit(NUChar32 code_point);
NAPI int32_t NUStringUChar32IsPunct(NUChar32 code_point);
NAPI int32_t NUStringUChar32IsPrint(NUChar32 code_point);
NAPI int32_t NUStringUChar32IsAlnum(NUChar32 code_point);

/* ---- whole UTF-16 texts (comparison in code point order) ---- */

NAPI int32_t NUStringStrlen(const NUChar *text);
NAPI NUChar *NUStringStrcat(NUChar *destination, const NUChar *source);
NAPI NUChar *NUStringStrcpy(NUChar *destination, const NUChar *source);
NAPI NUChar *NUStringStrncpy(NUChar *destination, const NUChar *source, int32_t count);
NAPI int32_t NUStringStrcmp(const NUChar *a, const NUChar *b);
NAPI int32_t NUStringStrncmp(const NUChar *a, const NUChar *b, int32_t count);
NAPI NUChar *NUStringStrchr(const NUChar *text, NUChar unit);
NAPI NUChar *NUStringStrstr(const NUChar *text, const NUChar *part);
NAPI int32_t NUStringStrcspn(const NUChar *text, const NUChar *reject);
NAPI NUChar *NUStringStrtok(NUChar *text, const NUChar *delimiters, NUChar **saved);
/* Formatting and scanning on UTF-16 text (ICU's u_vsprintf, u_vsscanf). */
NAPI int32_t NUStringSprintf(NUChar *buffer, const char *format, ...);
NAPI int32_t NUStringSscanf(const NUChar *text, const char *format, ...);

/* ---- others ---- */

/* Appends a UTF-16 text, growing the capacity to twice its size or to
   length + text + 1, whichever is larger. NRC_STRING_TOO_LONG past
   0x7FFFFFFE units; NRC_FAILURE if the memory can't be had. */
NAPI NRC NUStringBufStrcat(NUStringBuf *buffer, const NUChar *text);
/* A new text with each code point that is not printable replaced by one
   blank; null on exhausted memory. */
NAPI NUChar *NUStringNonprintableToSpace(const NUChar *text);
/* Reads an integer of digits of any script in the base; 0 if there are
   none. The value is clamped to 32 bits. */
NAPI int32_t NUStringUStrToInteger(const NUChar *text, int32_t base);
/* PJW hash over the units; 0 for the empty text. */
NAPI uint32_t NUStringHashString(const NUChar *text);

N_END_DECLS

#endif /* TARVOLK_WSTRING_H */
