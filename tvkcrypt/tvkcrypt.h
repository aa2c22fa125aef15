/*
 * tvkcrypt.h - libtvkcrypt.so.1, the cryptographic library beneath
 * libtarvolk_r: AES in the shape of the published reference interface, the
 * data-encryption suites, Base64, random bytes and the system's FIPS flag.
 * Every operation runs on OpenSSL 3's libcrypto.
 *
 * This header is private to the project: libtarvolk_r includes it, it is
 * not installed. Only the TVKCrypt* and TVKUTILS* functions below leave the
 * shared library.
 *
 * Return codes: TVKCRYPT_OK (-3) for success, a value from -5199 to -5000
 * for a failure (0 is never returned as a code). The failures used are
 * listed below; their texts are those of libtarvolk_r's NRC_KCE_* codes.
 *
 * Memory that the library hands out comes back through the library's own
 * release function named with each operation. Decrypted data is overwritten
 * with zeros before it is freed; ciphertext and Base64 codings are not.
 *
 * Layout of the suite outputs (TVKCryptDCSuitesAES...Encrypt):
 *
 *   offset      bytes  content
 *   0           1      format: 1 AES-CBC with PKCS#7 padding, 2 AES-CFB1
 *   1           16     IV, random (OpenSSL's DRBG) for every output
 *   17          n      ciphertext: CBC n = input rounded up to the next
 *                      multiple of 16 (always 1 to 16 bytes of padding);
 *                      CFB1 n = input
 *   17 + n      16     tag: GMAC (AES-256-GCM without plaintext) over bytes
 *                      0 .. 17 + n - 1, nonce = the IV, under a MAC key
 *                      derived from the AES key by HKDF-SHA-256 (no salt,
 *                      info "libtvkcrypt suite MAC key 1")
 *
 * Decryption checks the format byte and the tag (constant-time compare)
 * before it decrypts anything: data under another key, cut or altered data
 * all give TVKCRYPT_E_FORMAT.
 */
#ifndef TVKCRYPT_H
#define TVKCRYPT_H

#include <stdarg.h>
#include <stdint.h>

/* Every exported declaration carries TVKCRYPT_API; everything else in the
   library stays hidden. */
#if defined(__GNUC__)
#define TVKCRYPT_API __attribute__((visibility("default")))
#else
#define TVKCRYPT_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Return codes (the NRC_KCE_* codes of the same value). */
#define TVKCRYPT_OK (-3)
#define TVKCRYPT_E_CIPHER_NOT_FOUND (-5004) /* mode other than 1 or 2 */
#define TVKCRYPT_E_MALLOC (-5006)           /* memory exhausted */
#define TVKCRYPT_E_OUTPUT_LENGTH (-5007)    /* the output would pass 2^31 - 1 bytes */
#define TVKCRYPT_E_KEY_LENGTH (-5008)       /* key of unusable length */
#define TVKCRYPT_E_FORMAT (-5009)           /* data that doesn't decrypt */
#define TVKCRYPT_E_OS (-5012)               /* system failure; detail: errno (no
                                               operation of this build returns it) */
#define TVKCRYPT_E_OPENSSL (-5013)          /* libcrypto failure; detail: its error code */
#define TVKCRYPT_E_NULL_PARAMETER (-5014)   /* a pointer that must be given is null */
#define TVKCRYPT_E_VALUE (-5016)            /* a value out of range or malformed */

/* Modes of TVKCryptAesCrypt..., numbered as in the reference interface. */
#define TVKCRYPT_MODE_ECB 1
#define TVKCRYPT_MODE_CBC 2

/* ---- AES with a hexadecimal key text ---------------------------------- */

/* One complete AES transform of input_length bytes of input into the
   caller's output.
   - mode: TVKCRYPT_MODE_ECB (the IV is not read and may be null) or
     TVKCRYPT_MODE_CBC (iv: 16 bytes).
   - key_text: key_bits / 4 hexadecimal digits (either case); key_bits 128,
     192 or 256. Characters behind those digits are not read.
   - pad 1: PKCS#7 padding. Encryption writes input_length rounded up to the
     next multiple of 16, plus 16 when it is one already; decryption needs a
     non-empty multiple of 16 and refuses bad padding with
     TVKCRYPT_E_FORMAT. pad 0: input_length must be a multiple of 16 (0 is
     allowed and gives 0 bytes) and the output has the same length.
   - output: room for the result (decryption never writes more than
     input_length bytes); it may be the input itself, not overlap it
     otherwise.
   - *output_length: bytes written, 0 on failure.
   Codes: TVKCRYPT_OK; TVKCRYPT_E_NULL_PARAMETER; TVKCRYPT_E_CIPHER_NOT_FOUND
   (mode); TVKCRYPT_E_KEY_LENGTH (key_bits, or fewer digits than needed);
   TVKCRYPT_E_VALUE (pad flag, negative length, a non-hexadecimal digit,
   unpadded input that isn't whole blocks); TVKCRYPT_E_FORMAT;
   TVKCRYPT_E_OUTPUT_LENGTH; TVKCRYPT_E_OPENSSL. */
TVKCRYPT_API int32_t TVKCryptAesCryptEncrypt(const unsigned char *iv, int32_t mode, const char *key_text,
                                             int32_t key_bits, const unsigned char *input,
                                             int32_t input_length, unsigned char *output, int32_t pad,
                                             int32_t *output_length);
TVKCRYPT_API int32_t TVKCryptAesCryptDecrypt(const unsigned char *iv, int32_t mode, const char *key_text,
                                             int32_t key_bits, const unsigned char *input,
                                             int32_t input_length, unsigned char *output, int32_t pad,
                                             int32_t *output_length);

/* Turns the first 2 x count hexadecimal digits of hex (either case) into
   count bytes. The output is written only if all digits are valid.
   TVKCRYPT_OK, TVKCRYPT_E_NULL_PARAMETER, TVKCRYPT_E_VALUE (negative count,
   a non-hexadecimal character or a text too short). */
TVKCRYPT_API int32_t TVKCryptAesCryptHexToBin(const char *hex, int32_t count, unsigned char *output);

/* ---- Data-encryption suites -------------------------------------------- */

/* Caches the EVP state of the last key used (key schedules, MAC key) and a
   stock of random IVs. A context serves one thread at a time. */
typedef struct TVKCryptDCSuitesCTX TVKCryptDCSuitesCTX;

/* A new context in *ctx (null on failure). TVKCRYPT_OK,
   TVKCRYPT_E_NULL_PARAMETER, TVKCRYPT_E_MALLOC, TVKCRYPT_E_OPENSSL. */
TVKCRYPT_API int32_t TVKCryptDCSuitesCTXSetup(TVKCryptDCSuitesCTX **ctx);

/* Releases a context, its key copy overwritten with zeros. Null is
   ignored. */
TVKCRYPT_API void TVKCryptDCSuitesCTXDestroy(TVKCryptDCSuitesCTX *ctx);

/* TVKCRYPT_OK for a key of 16, 24 or 32 bytes (AES-128, -192, -256),
   TVKCRYPT_E_KEY_LENGTH for any other length, TVKCRYPT_E_NULL_PARAMETER for
   a null key. ctx is not used and may be null. */
TVKCRYPT_API int32_t TVKCryptDCSuitesAESCheckKey(const unsigned char *key, int32_t key_length,
                                                 TVKCryptDCSuitesCTX *ctx);

/* Encrypt input_length bytes (0 allowed) under key (16, 24 or 32 bytes)
   into a new output of the layout above; decrypt such an output back. The
   output is released with TVKCryptDCSuitesGenericFree; a decrypted output
   has a zero byte behind it that is not counted. On failure *output is
   null and *output_length 0.
   Codes: TVKCRYPT_OK; TVKCRYPT_E_FORMAT (decryption: wrong format byte,
   length, tag or padding); TVKCRYPT_E_KEY_LENGTH; TVKCRYPT_E_NULL_PARAMETER
   (also for a null ctx); TVKCRYPT_E_VALUE (negative length);
   TVKCRYPT_E_OUTPUT_LENGTH; TVKCRYPT_E_MALLOC; TVKCRYPT_E_OPENSSL. */
TVKCRYPT_API int32_t TVKCryptDCSuitesAESCFB1Encrypt(const unsigned char *input, int32_t input_length,
                                                    const unsigned char *key, int32_t key_length,
                                                    unsigned char **output, int32_t *output_length,
                                                    TVKCryptDCSuitesCTX *ctx);
TVKCRYPT_API int32_t TVKCryptDCSuitesAESCFB1Decrypt(const unsigned char *input, int32_t input_length,
                                                    const unsigned char *key, int32_t key_length,
                                                    unsigned char **output, int32_t *output_length,
                                                    TVKCryptDCSuitesCTX *ctx);
TVKCRYPT_API int32_t TVKCryptDCSuitesAESCBCEncrypt(const unsigned char *input, int32_t input_length,
                                                   const unsigned char *key, int32_t key_length,
                                                   unsigned char **output, int32_t *output_length,
                                                   TVKCryptDCSuitesCTX *ctx);
TVKCRYPT_API int32_t TVKCryptDCSuitesAESCBCDecrypt(const unsigned char *input, int32_t input_length,
                                                   const unsigned char *key, int32_t key_length,
                                                   unsigned char **output, int32_t *output_length,
                                                   TVKCryptDCSuitesCTX *ctx);

/* Overwrites an output of the four operations above with zeros and frees
   it. Null is ignored; ctx is not used. */
TVKCRYPT_API void TVKCryptDCSuitesGenericFree(void *output, TVKCryptDCSuitesCTX *ctx);

/* ---- Base64 (RFC 4648, standard alphabet, "=" padding, one line) -------- */

/* A new zero-terminated Base64 text of count bytes ("" for 0), or null for
   a null data with count > 0, a negative count or exhausted memory. */
TVKCRYPT_API char *TVKCryptDesBinasciiB2Abase64(const unsigned char *data, int32_t count);

/* New bytes decoded from the zero-terminated text, their number in *count,
   with a zero byte behind them that is not counted. Null (and *count 0) for
   a text that TVKCryptDesBinasciiCheckbase64 refuses, a null argument or
   exhausted memory. */
TVKCRYPT_API unsigned char *TVKCryptDesBinasciiA2Bbase64(const char *text, int32_t *count);

/* 1 if the length bytes of text are canonical Base64: a multiple of 4
   characters of the alphabet, "=" only as the last one or two, and the
   unused bits before the padding zero. The empty text is valid (the
   encoding of nothing). 0 otherwise, also for a null text or a negative
   length. */
TVKCRYPT_API int32_t TVKCryptDesBinasciiCheckbase64(const char *text, int32_t length);

/* Frees a result of the two conversions. It is not cleared first: a caller
   that holds a coding secret clears it itself. Null is ignored. */
TVKCRYPT_API void TVKCryptDesFree(void *data);

/* ---- Random bytes, errors, system ------------------------------------- */

/* Fills count bytes from OpenSSL's DRBG (seeded by the kernel).
   TVKCRYPT_OK, TVKCRYPT_E_NULL_PARAMETER, TVKCRYPT_E_VALUE (negative
   count), TVKCRYPT_E_OPENSSL. */
TVKCRYPT_API int32_t TVKCryptGetRandomBytes(unsigned char *buffer, int32_t count);

/* Detail of the last TVKCRYPT_E_OS (the errno value) or TVKCRYPT_E_OPENSSL
   (libcrypto's packed error code, ERR_GET_LIB / ERR_GET_REASON) returned in
   the calling thread; 0 if there was none. Successes leave it alone. */
TVKCRYPT_API long TVKCryptGetExtendedError(void);

/* 1 when the system runs in FIPS mode: /proc/sys/crypto/fips_enabled holds
   a non-zero number. The environment variable TVKCRYPT_FIPS_FILE names
   another file to read instead (for tests). 0 otherwise, also when the file
   is missing or unreadable. Read at every call. */
TVKCRYPT_API int32_t TVKUTILSIsSystemFips(void);

/* Receives the library's own messages (one line each, no newline), for
   instance the text of a libcrypto failure. */
typedef void (*TVKUTILSLogCB)(const char *format, va_list args);

/* Registers the receiver of the library's messages; null stops them.
   Without one, messages are dropped. Looked up by name at run time by
   libtarvolk_r's log manager. */
TVKCRYPT_API void TVKUTILSRegisterLogCB(TVKUTILSLogCB callback);

#ifdef __cplusplus
}
#endif

#endif /* TVKCRYPT_H */
