/*
 * tarvolk/string.h - byte-wise text helpers: numbers, booleans and binary
 * data from text, validity tests, trimming, case, word wrapping, and the
 * single-quoted text form. Classification and case follow the process
 * locale. Allocated results come from n_malloc; free them with n_free.
 *
 * The 32-bit parsers behave the same on every platform: a value out of the
 * 32-bit range is clamped as a 32-bit system library would clamp it.
 *
 * A null text or result pointer is refused with NRC_FAILURE, and a result
 * that can be reached is cleared; the tests answer 0 for a null text and the
 * in-place functions leave it alone.
 */
#ifndef TARVOLK_STRING_H
#define TARVOLK_STRING_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

/* Result of NStringToBinary; the caller frees data. */
typedef struct NBinary {
    uint32_t size;
    unsigned char *data;
} NBinary;

/* Longest name of the library's objects. */
#define NSTRING_NAME_MAX 40

/* ---- text to numbers: leading blanks and a sign accepted, trailing text
   ignored, unreadable text gives 0 ---- */

/* Base 0 (0x hexadecimal, 0 octal), clamped to 32 bits; always 0. */
NAPI NRC NStringToInteger(const char *text, int32_t *result);
/* Base 10, clamped to 32 bits; always 0. */
NAPI NRC NStringToDecimalInteger(const char *text, int32_t *result);
/* Base 10, the low 16 bits of the clamped 32-bit value; always 0. */
NAPI NRC NStringToShort(const char *text, int16_t *result);
/* Base 10: 0, or 34 (ERANGE) with the saturated value stored. */
NAPI NRC NStringToUnsigned(const char *text, uint32_t *result);
NAPI NRC NStringToInteger64(const char *text, int64_t *result);
NAPI NRC NStringToUnsigned64(const char *text, uint64_t *result);
/* strtod: 0, or its errno. */
NAPI NRC NStringToReal(const char *text, double *result);
/* 1 for a first character 1, T or Y, or a first O followed by N (any case);
   else 0. Always returns 0. */
NAPI NRC NStringToBoolean(const char *text, int32_t *result);

/* ---- validity tests: 1 or 0 ---- */

/* Parsing stops at the end of the text (range not looked at; "" is valid). */
NAPI int32_t NStringIsValidInteger(const char *text);
NAPI int32_t NStringIsValidInteger64(const char *text);
NAPI int32_t NStringIsValidReal(const char *text);
/* TRUE, FALSE, YES, NO, 1 or 0, in any case. */
NAPI int32_t NStringIsValidBoolean(const char *text);
/* 1 to 40 bytes, an alpha first, then alphanumerics or '_'. */
NAPI int32_t NStringIsValidName(const char *text);
/* Every byte a lower-case (upper-case) letter; "" is true. */
NAPI int32_t NStringIsLower(const char *text);
NAPI int32_t NStringIsUpper(const char *text);

/* ---- copies and trimming: 0, or 12 ---- */

/* A new text of at most maximum bytes; null on exhaustion. */
NAPI char *NStringNDuplicate(const char *text, size_t maximum);
/* A copy of at most 40 bytes; mode 1 also upper-cases it. */
NAPI NRC NStringToNameCase(const char *text, char **result, int32_t mode);
/* Copies without leading, trailing, or both kinds of white space. A text
   of white space only gives "" (left, right) or its first character
   (both). */
NAPI NRC NStringLTrim(const char *text, char **result);
NAPI NRC NStringRTrim(const char *text, char **result);
NAPI NRC NStringLRTrim(const char *text, char **result);

/* ---- in place ---- */

NAPI void NStringLower(char *text);
NAPI void NStringUpper(char *text);
/* Replaces white space by newlines so that lines don't exceed width where
   possible; a longer word stays whole. */
NAPI void NStringWordWrap(char *text, int32_t width);

/* ---- quoting, binary data, addresses ---- */

/* The text between single quotes, with tab, newline, carriage return, both
   quotes and backslash escaped by a backslash. 0 or 12. */
NAPI NRC NStringQuoted(const char *text, char **result);
/* The inverse: drops the first and the last byte and undoes the escapes; a
   backslash as the last byte stands for itself. 0 or 12; NRC_FAILURE for a
   text of fewer than two bytes. */
NAPI NRC NStringUnquoted(const char *text, char **result);
/* Hexadecimal digit pairs (after an optional "0x") into bytes; a lone last
   digit is not read. 0; 12 with size 0; NRC_STRING_TOO_LONG for more than
   2^31 - 1 bytes. */
NAPI NRC NStringToBinary(const char *text, NBinary *result);
/* A dotted IPv4 address into a 32-bit value, first number highest; missing
   numbers count as 0. 0. */
NAPI NRC NIpAddrToUnsigned(const char *text, uint32_t *result);

N_END_DECLS

#endif /* TARVOLK_STRING_H */
