// The data-encryption suites: AES-CBC and AES-CFB1 under a raw key, with a
// random IV in front and a GMAC tag behind (layout in tvkcrypt.h).
//
// Why GMAC: the tag has to make data under another key, or altered data,
// fail instead of decrypting to garbage, and it should cost little beside
// the cipher. GMAC (AES-GCM over associated data only, NIST SP 800-38D) runs
// on the same AES and carry-less multiply instructions as the cipher and
// costs a fraction of HMAC-SHA-256 at the sizes of configuration values. Its
// one requirement, a nonce never repeated under one MAC key, is met by the
// 128-bit random IV that the output carries anyway; IVs come from a stock
// drawn from OpenSSL's DRBG, and a forked child never uses its parent's
// stock. The MAC key is HKDF-SHA-256 of the AES key, so the two keys are
// independent.
//
// A context keeps the EVP state of the last key it saw: one keyed EVP
// context per mode and direction, keyed when first needed, and the MAC
// context. Calls with the same key pay neither key schedule nor derivation.
#include "tvkcrypt_internal.h"

#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/kdf.h>
#include <openssl/params.h>
#include <openssl/rand.h>

#include <cstring>

namespace {

using tvkcrypt::block_bytes;
using tvkcrypt::Mode;

constexpr size_t iv_bytes = 16;
constexpr size_t tag_bytes = 16;
constexpr size_t header_bytes = 1 + iv_bytes; // format byte and IV
constexpr size_t mac_key_bytes = 32;
constexpr size_t iv_stock_bytes = 4096;   // 256 IVs per draw from the DRBG
constexpr unsigned char format_cbc = 1;
constexpr unsigned char format_cfb1 = 2;

// Info of the HKDF that turns the AES key into the MAC key; a new layout
// would take a new label.
constexpr char mac_key_label[] = "libtvkcrypt suite MAC key 1";

// Contexts are zero-filled when made: no pointer, no key.
struct Slot {
    EVP_CIPHER_CTX *evp;
    uint64_t key_generation; // of the key the EVP context holds; 0: none
};

} // namespace

struct TVKCryptDCSuitesCTX {
    unsigned char key[32];
    size_t key_bytes;
    uint64_t key_generation; // of the key held; 0: none
    uint64_t generations;    // keys taken so far
    Slot slots[2][2];        // [CBC, CFB1][decrypt, encrypt]
    EVP_CIPHER_CTX *mac;     // AES-256-GCM under the MAC key of the key held
    unsigned char ivs[iv_stock_bytes];
    size_t ivs_left;
    uint64_t ivs_fork_generation;
};

namespace {

using Ctx = TVKCryptDCSuitesCTX;

void forget_key(Ctx *ctx)
{
    OPENSSL_cleanse(ctx->key, sizeof ctx->key);
    ctx->key_bytes = 0;
    ctx->key_generation = 0;
}

void destroy(Ctx *ctx)
{
    for (auto &mode : ctx->slots) {
        for (Slot &slot : mode)
            EVP_CIPHER_CTX_free(slot.evp);
    }
    EVP_CIPHER_CTX_free(ctx->mac);
    OPENSSL_clear_free(ctx, sizeof *ctx);
}

int32_t derive_mac_key(const unsigned char *key, size_t key_bytes, unsigned char *mac_key)
{
    EVP_KDF_CTX *kdf = tvkcrypt::hkdf() != nullptr ? EVP_KDF_CTX_new(tvkcrypt::hkdf()) : nullptr;
    if (kdf == nullptr)
        return tvkcrypt::openssl_failure("EVP_KDF_CTX_new");
    const OSSL_PARAM params[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_KDF_PARAM_DIGEST, const_cast<char *>("SHA256"), 0),
        OSSL_PARAM_construct_octet_string(OSSL_KDF_PARAM_KEY, const_cast<unsigned char *>(key), key_bytes),
        OSSL_PARAM_construct_octet_string(OSSL_KDF_PARAM_INFO, const_cast<char *>(mac_key_label),
                                          sizeof mac_key_label - 1),
        OSSL_PARAM_construct_end(),
    };
    const int ok = EVP_KDF_derive(kdf, mac_key, mac_key_bytes, params);
    EVP_KDF_CTX_free(kdf);
    return ok == 1 ? TVKCRYPT_OK : tvkcrypt::openssl_failure("EVP_KDF_derive");
}

// Makes key the context's key, unless it already is.
int32_t use_key(Ctx *ctx, const unsigned char *key, size_t key_bytes)
{
    if (ctx->key_generation != 0 && key_bytes == ctx->key_bytes &&
        CRYPTO_memcmp(key, ctx->key, key_bytes) == 0)
        return TVKCRYPT_OK;
    forget_key(ctx);
    unsigned char mac_key[mac_key_bytes];
    int32_t rc = derive_mac_key(key, key_bytes, mac_key);
    if (rc == TVKCRYPT_OK && EVP_EncryptInit_ex(ctx->mac, nullptr, nullptr, mac_key, nullptr) != 1)
        rc = tvkcrypt::openssl_failure("EVP_EncryptInit_ex");
    OPENSSL_cleanse(mac_key, sizeof mac_key);
    if (rc != TVKCRYPT_OK)
        return rc;
    std::memcpy(ctx->key, key, key_bytes);
    ctx->key_bytes = key_bytes;
    ctx->key_generation = ++ctx->generations;
    return TVKCRYPT_OK;
}

// The EVP context of a mode and direction, keyed with the context's key.
int32_t keyed(Ctx *ctx, Mode mode, bool encrypt, EVP_CIPHER_CTX **evp)
{
    Slot &slot = ctx->slots[mode == Mode::cbc ? 0 : 1][encrypt ? 1 : 0];
    if (slot.key_generation != ctx->key_generation) {
        const EVP_CIPHER *cipher = tvkcrypt::aes(mode, ctx->key_bytes);
        if (cipher == nullptr)
            return tvkcrypt::openssl_failure("EVP_CIPHER_fetch");
        slot.key_generation = 0;
        if (EVP_CipherInit_ex(slot.evp, cipher, nullptr, ctx->key, nullptr, encrypt ? 1 : 0) != 1)
            return tvkcrypt::openssl_failure("EVP_CipherInit_ex");
        slot.key_generation = ctx->key_generation;
    }
    *evp = slot.evp;
    return TVKCRYPT_OK;
}

int32_t next_iv(Ctx *ctx, unsigned char *iv)
{
    if (ctx->ivs_left < iv_bytes || ctx->ivs_fork_generation != tvkcrypt::fork_generation()) {
        ctx->ivs_left = 0;
        if (RAND_bytes(ctx->ivs, sizeof ctx->ivs) != 1)
            return tvkcrypt::openssl_failure("RAND_bytes");
        ctx->ivs_left = sizeof ctx->ivs;
        ctx->ivs_fork_generation = tvkcrypt::fork_generation();
    }
    ctx->ivs_left -= iv_bytes;
    std::memcpy(iv, ctx->ivs + ctx->ivs_left, iv_bytes);
    return TVKCRYPT_OK;
}

// GMAC of the length bytes of data (format byte, IV, ciphertext) with the IV
// as nonce.
int32_t compute_tag(Ctx *ctx, const unsigned char *data, size_t length, unsigned char *tag)
{
    int n = 0;
    OSSL_PARAM get_tag[] = {
        OSSL_PARAM_construct_octet_string(OSSL_CIPHER_PARAM_AEAD_TAG, tag, tag_bytes),
        OSSL_PARAM_construct_end(),
    };
    if (EVP_EncryptInit_ex(ctx->mac, nullptr, nullptr, nullptr, data + 1) != 1 ||
        EVP_EncryptUpdate(ctx->mac, nullptr, &n, data, static_cast<int>(length)) != 1 ||
        EVP_EncryptFinal_ex(ctx->mac, tag, &n) != 1 || EVP_CIPHER_CTX_get_params(ctx->mac, get_tag) != 1)
        return tvkcrypt::openssl_failure("GMAC");
    return TVKCRYPT_OK;
}

// Checks shared by the four operations; clears the outputs first.
int32_t check_arguments(const unsigned char *input, int32_t input_length, const unsigned char *key,
                        int32_t key_length, unsigned char **output, int32_t *output_length, Ctx *ctx)
{
    if (output == nullptr || output_length == nullptr)
        return TVKCRYPT_E_NULL_PARAMETER;
    *output = nullptr;
    *output_length = 0;
    if (ctx == nullptr || key == nullptr || (input == nullptr && input_length > 0))
        return TVKCRYPT_E_NULL_PARAMETER;
    if (!tvkcrypt::valid_key_bytes(key_length))
        return TVKCRYPT_E_KEY_LENGTH;
    if (input_length < 0)
        return TVKCRYPT_E_VALUE;
    return TVKCRYPT_OK;
}

int32_t encrypt(Mode mode, const unsigned char *input, int32_t input_length, const unsigned char *key,
                int32_t key_length, unsigned char **output, int32_t *output_length, Ctx *ctx)
{
    int32_t rc = check_arguments(input, input_length, key, key_length, output, output_length, ctx);
    if (rc != TVKCRYPT_OK)
        return rc;
    const auto length = static_cast<size_t>(input_length);
    const size_t body = mode == Mode::cbc ? (length / block_bytes + 1) * block_bytes : length;
    const size_t total = header_bytes + body + tag_bytes;
    if (total > INT32_MAX)
        return TVKCRYPT_E_OUTPUT_LENGTH;
    rc = use_key(ctx, key, static_cast<size_t>(key_length));
    if (rc != TVKCRYPT_OK)
        return rc;
    EVP_CIPHER_CTX *evp = nullptr;
    rc = keyed(ctx, mode, true, &evp);
    if (rc != TVKCRYPT_OK)
        return rc;
    // Format byte, IV, ciphertext and tag are all public: no clearing on
    // release.
    auto *out = static_cast<unsigned char *>(tvkcrypt::allocate(total, tvkcrypt::Contents::public_data));
    if (out == nullptr)
        return TVKCRYPT_E_MALLOC;
    out[0] = mode == Mode::cbc ? format_cbc : format_cfb1;
    size_t written = 0;
    rc = next_iv(ctx, out + 1);
    if (rc == TVKCRYPT_OK)
        rc = tvkcrypt::run(evp, out + 1, input, length, out + header_bytes, &written);
    if (rc == TVKCRYPT_OK)
        rc = compute_tag(ctx, out, header_bytes + body, out + header_bytes + body);
    if (rc != TVKCRYPT_OK) {
        tvkcrypt::release(out);
        return rc;
    }
    *output = out;
    *output_length = static_cast<int32_t>(total);
    return TVKCRYPT_OK;
}

int32_t decrypt(Mode mode, const unsigned char *input, int32_t input_length, const unsigned char *key,
                int32_t key_length, unsigned char **output, int32_t *output_length, Ctx *ctx)
{
    int32_t rc = check_arguments(input, input_length, key, key_length, output, output_length, ctx);
    if (rc != TVKCRYPT_OK)
        return rc;
    const auto length = static_cast<size_t>(input_length);
    const size_t least = header_bytes + tag_bytes + (mode == Mode::cbc ? block_bytes : 0);
    if (length < least || input[0] != (mode == Mode::cbc ? format_cbc : format_cfb1))
        return TVKCRYPT_E_FORMAT;
    const size_t body = length - header_bytes - tag_bytes;
    if (mode == Mode::cbc && body % block_bytes != 0)
        return TVKCRYPT_E_FORMAT;
    rc = use_key(ctx, key, static_cast<size_t>(key_length));
    if (rc != TVKCRYPT_OK)
        return rc;
    unsigned char tag[tag_bytes];
    rc = compute_tag(ctx, input, header_bytes + body, tag);
    if (rc != TVKCRYPT_OK)
        return rc;
    if (CRYPTO_memcmp(tag, input + header_bytes + body, tag_bytes) != 0)
        return TVKCRYPT_E_FORMAT;
    EVP_CIPHER_CTX *evp = nullptr;
    rc = keyed(ctx, mode, false, &evp);
    if (rc != TVKCRYPT_OK)
        return rc;
    // Decryption writes at most the ciphertext's length; one byte more for
    // the terminator.
    auto *out = static_cast<unsigned char *>(tvkcrypt::allocate(body + 1));
    if (out == nullptr)
        return TVKCRYPT_E_MALLOC;
    size_t written = 0;
    rc = tvkcrypt::run(evp, input + 1, input + header_bytes, body, out, &written);
    if (rc != TVKCRYPT_OK) {
        tvkcrypt::release(out);
        return rc;
    }
    out[written] = 0;
    *output = out;
    *output_length = static_cast<int32_t>(written);
    return TVKCRYPT_OK;
}

} // namespace

extern "C" {

int32_t TVKCryptDCSuitesCTXSetup(TVKCryptDCSuitesCTX **ctx)
{
    if (ctx == nullptr)
        return TVKCRYPT_E_NULL_PARAMETER;
    *ctx = nullptr;
    tvkcrypt::watch_forks();
    const EVP_CIPHER *gcm = tvkcrypt::aes256_gcm();
    if (gcm == nullptr)
        return tvkcrypt::openssl_failure("EVP_CIPHER_fetch");
    auto *made = static_cast<Ctx *>(OPENSSL_zalloc(sizeof(Ctx)));
    if (made == nullptr)
        return TVKCRYPT_E_MALLOC;
    bool complete = (made->mac = EVP_CIPHER_CTX_new()) != nullptr;
    for (auto &mode : made->slots) {
        for (Slot &slot : mode)
            complete = complete && (slot.evp = EVP_CIPHER_CTX_new()) != nullptr;
    }
    if (!complete) {
        destroy(made);
        return TVKCRYPT_E_MALLOC;
    }
    // The MAC context takes its cipher and nonce length once; keys come
    // with use_key and nonces with each tag.
    if (EVP_EncryptInit_ex(made->mac, gcm, nullptr, nullptr, nullptr) != 1 ||
        EVP_CIPHER_CTX_ctrl(made->mac, EVP_CTRL_GCM_SET_IVLEN, static_cast<int>(iv_bytes), nullptr) != 1) {
        destroy(made);
        return tvkcrypt::openssl_failure("EVP_EncryptInit_ex");
    }
    *ctx = made;
    return TVKCRYPT_OK;
}

void TVKCryptDCSuitesCTXDestroy(TVKCryptDCSuitesCTX *ctx)
{
    if (ctx != nullptr)
        destroy(ctx);
}

int32_t TVKCryptDCSuitesAESCheckKey(const unsigned char *key, int32_t key_length, TVKCryptDCSuitesCTX *)
{
    if (key == nullptr)
        return TVKCRYPT_E_NULL_PARAMETER;
    return tvkcrypt::valid_key_bytes(key_length) ? TVKCRYPT_OK : TVKCRYPT_E_KEY_LENGTH;
}

int32_t TVKCryptDCSuitesAESCFB1Encrypt(const unsigned char *input, int32_t input_length,
                                       const unsigned char *key, int32_t key_length,
                                       unsigned char **output, int32_t *output_length,
                                       TVKCryptDCSuitesCTX *ctx)
{
    return encrypt(Mode::cfb1, input, input_length, key, key_length, output, output_length, ctx);
}

int32_t TVKCryptDCSuitesAESCFB1Decrypt(const unsigned char *input, int32_t input_length,
                                       const unsigned char *key, int32_t key_length,
                                       unsigned char **output, int32_t *output_length,
                                       TVKCryptDCSuitesCTX *ctx)
{
    return decrypt(Mode::cfb1, input, input_length, key, key_length, output, output_length, ctx);
}

int32_t TVKCryptDCSuitesAESCBCEncrypt(const unsigned char *input, int32_t input_length,
                                      const unsigned char *key, int32_t key_length,
                                      unsigned char **output, int32_t *output_length,
                                      TVKCryptDCSuitesCTX *ctx)
{
    return encrypt(Mode::cbc, input, input_length, key, key_length, output, output_length, ctx);
}

int32_t TVKCryptDCSuitesAESCBCDecrypt(const unsigned char *input, int32_t input_length,
                                      const unsigned char *key, int32_t key_length,
                                      unsigned char **output, int32_t *output_length,
                                      TVKCryptDCSuitesCTX *ctx)
{
    return decrypt(Mode::cbc, input, input_length, key, key_length, output, output_length, ctx);
}

void TVKCryptDCSuitesGenericFree(void *output, TVKCryptDCSuitesCTX *)
{
    tvkcrypt::release(output);
}

} // extern "C"
