// What the operations share: the fetched algorithms, memory handed to
// callers, errors and messages, forks; and the small operations: random
// bytes, the extended error, the FIPS flag, the log callback.
#include "tvkcrypt_internal.h"

#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/kdf.h>
#include <openssl/rand.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

namespace tvkcrypt {

namespace {

// Fetching an algorithm searches libcrypto's method store under a lock;
// done once, it keeps that search out of every operation. The objects are
// kept for the life of the process: a release at exit could race with
// another thread or exit handler still encrypting.
struct Algorithms {
    EVP_CIPHER *aes[3][3]{}; // [mode][key size 16, 24, 32]
    EVP_CIPHER *gcm = nullptr;
    EVP_KDF *hkdf = nullptr;

    Algorithms()
    {
        static const char *const names[3][3] = {
            {"AES-128-ECB", "AES-192-ECB", "AES-256-ECB"},
            {"AES-128-CBC", "AES-192-CBC", "AES-256-CBC"},
            {"AES-128-CFB1", "AES-192-CFB1", "AES-256-CFB1"},
        };
        for (int mode = 0; mode < 3; ++mode) {
            for (int size = 0; size < 3; ++size)
                aes[mode][size] = EVP_CIPHER_fetch(nullptr, names[mode][size], nullptr);
        }
        gcm = EVP_CIPHER_fetch(nullptr, "AES-256-GCM", nullptr);
        hkdf = EVP_KDF_fetch(nullptr, "HKDF", nullptr);
    }
};

const Algorithms &algorithms()
{
    static const Algorithms *const fetched = new Algorithms();
    return *fetched;
}

// Room in front of each block handed out: its size and whether it may hold
// secrets, padded to keep the block aligned.
constexpr size_t header_bytes = 16;
static_assert(2 * sizeof(size_t) <= header_bytes);

thread_local long extended_error = 0;

std::atomic<TVKUTILSLogCB> log_callback{nullptr};

std::atomic<uint64_t> forks{0};

void count_fork()
{
    forks.fetch_add(1, std::memory_order_relaxed);
}

constexpr const char *default_fips_file = "/proc/sys/crypto/fips_enabled";

} // namespace

const EVP_CIPHER *aes(Mode mode, size_t key_bytes)
{
    if (!valid_key_bytes(static_cast<int64_t>(key_bytes)))
        return nullptr;
    return algorithms().aes[static_cast<int>(mode)][(key_bytes - 16) / 8];
}

const EVP_CIPHER *aes256_gcm()
{
    return algorithms().gcm;
}

EVP_KDF *hkdf()
{
    return algorithms().hkdf;
}

int32_t openssl_failure(const char *what)
{
    const unsigned long code = ERR_peek_last_error();
    extended_error = static_cast<long>(code);
    if (log_callback.load(std::memory_order_acquire) != nullptr) {
        char text[256] = "no detail";
        if (code != 0)
            ERR_error_string_n(code, text, sizeof text);
        log("libtvkcrypt: %s failed: %s", what, text);
    }
    ERR_clear_error();
    return TVKCRYPT_E_OPENSSL;
}

void log(const char *format, ...)
{
    const TVKUTILSLogCB callback = log_callback.load(std::memory_order_acquire);
    if (callback == nullptr)
        return;
    va_list args;
    va_start(args, format);
    callback(format, args);
    va_end(args);
}

void *allocate(size_t bytes, Contents contents)
{
    if (bytes > SIZE_MAX - header_bytes)
        return nullptr;
    auto *base = static_cast<unsigned char *>(OPENSSL_malloc(bytes + header_bytes));
    if (base == nullptr)
        return nullptr;
    const size_t secret = contents == Contents::secret ? 1 : 0;
    std::memcpy(base, &bytes, sizeof bytes);
    std::memcpy(base + sizeof bytes, &secret, sizeof secret);
    return base + header_bytes;
}

void release(void *block)
{
    if (block == nullptr)
        return;
    unsigned char *base = static_cast<unsigned char *>(block) - header_bytes;
    size_t bytes = 0;
    size_t secret = 0;
    std::memcpy(&bytes, base, sizeof bytes);
    std::memcpy(&secret, base + sizeof bytes, sizeof secret);
    if (secret != 0)
        OPENSSL_clear_free(base, bytes + header_bytes);
    else
        OPENSSL_free(base);
}

void watch_forks()
{
    static std::once_flag once;
    std::call_once(once, [] { pthread_atfork(nullptr, nullptr, count_fork); });
}

uint64_t fork_generation()
{
    return forks.load(std::memory_order_relaxed);
}

} // namespace tvkcrypt

extern "C" {

int32_t TVKCryptGetRandomBytes(unsigned char *buffer, int32_t count)
{
    if (count < 0)
        return TVKCRYPT_E_VALUE;
    if (count == 0)
        return TVKCRYPT_OK;
    if (buffer == nullptr)
        return TVKCRYPT_E_NULL_PARAMETER;
    if (RAND_bytes(buffer, count) != 1)
        return tvkcrypt::openssl_failure("RAND_bytes");
    return TVKCRYPT_OK;
}

long TVKCryptGetExtendedError(void)
{
    return tvkcrypt::extended_error;
}

int32_t TVKUTILSIsSystemFips(void)
{
    // The override serves tests; secure_getenv keeps it away from programs
    // running with raised privileges.
    const char *path = secure_getenv("TVKCRYPT_FIPS_FILE");
    if (path == nullptr || *path == '\0')
        path = tvkcrypt::default_fips_file;
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return 0;
    char text[32];
    ssize_t got;
    do {
        got = read(fd, text, sizeof text - 1);
    } while (got < 0 && errno == EINTR);
    close(fd);
    if (got <= 0)
        return 0;
    text[got] = '\0';
    char *end = nullptr;
    const long value = std::strtol(text, &end, 10);
    return end != text && value != 0 ? 1 : 0;
}

void TVKUTILSRegisterLogCB(TVKUTILSLogCB callback)
{
    tvkcrypt::log_callback.store(callback, std::memory_order_release);
}

} // extern "C"
