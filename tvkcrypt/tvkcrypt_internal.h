// Internal interface of libtvkcrypt, shared by its units and its unit tests.
// Nothing here leaves the shared library.
#pragma once

#include <openssl/evp.h>

#include <cstddef>
#include <cstdint>

#include "tvkcrypt.h"

namespace tvkcrypt {

// AES modes behind the operations.
enum class Mode { ecb, cbc, cfb1 };

constexpr size_t block_bytes = 16;

inline bool valid_key_bytes(int64_t bytes)
{
    return bytes == 16 || bytes == 24 || bytes == 32;
}

// The AES cipher of a mode for a key of 16, 24 or 32 bytes, fetched from the
// default library context once per process and kept; null if libcrypto has
// none.
const EVP_CIPHER *aes(Mode mode, size_t key_bytes);

// AES-256-GCM (the suites' MAC) and HKDF, fetched the same way.
const EVP_CIPHER *aes256_gcm();
EVP_KDF *hkdf();

// One complete transform on a context that already holds cipher, key and
// direction: sets the IV (null for ECB), runs the input through and
// finishes. out needs room for len plus one block when encrypting with
// padding. Returns TVKCRYPT_OK, TVKCRYPT_E_FORMAT when decryption can't
// finish (bad padding), or TVKCRYPT_E_OPENSSL. *out_len: bytes written.
int32_t run(EVP_CIPHER_CTX *keyed, const unsigned char *iv, const unsigned char *in, size_t len,
            unsigned char *out, size_t *out_len);

// The same with a context of its own, keyed for this call only: the path of
// TVKCryptAesCrypt... and of the known-answer tests.
int32_t transform(Mode mode, bool encrypt, bool pad, const unsigned char *key, size_t key_bytes,
                  const unsigned char *iv, const unsigned char *in, size_t len, unsigned char *out,
                  size_t *out_len);

// Takes the thread's last libcrypto error as its extended error, logs it
// with the name of the failed call, empties the thread's error queue, and
// returns TVKCRYPT_E_OPENSSL.
int32_t openssl_failure(const char *what);

// Hands a message to the registered log callback, if there is one.
void log(const char *format, ...) __attribute__((format(printf, 1, 2)));

// Memory handed to callers. A hidden header keeps the size, so that release
// overwrites a block that may hold secrets with zeros before freeing it.
// Blocks are aligned to 16 bytes.
enum class Contents { secret, public_data };
void *allocate(size_t bytes, Contents contents = Contents::secret);
void release(void *block);

// Makes forks visible (pthread_atfork, registered once): fork_generation()
// changes in every child, so that state drawn from the random generator
// before a fork is never used by both processes.
void watch_forks();
uint64_t fork_generation();

} // namespace tvkcrypt
