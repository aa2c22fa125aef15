// AES in the shape of the published reference interface: a key given as
// hexadecimal text, modes ECB and CBC, whole blocks or PKCS#7 padding, the
// caller's output. The cipher work is one EVP transform per call.
#include "tvkcrypt_internal.h"

#include <openssl/crypto.h>
#include <openssl/err.h>

#include <algorithm>
#include <climits>
#include <cstring>

namespace tvkcrypt {

namespace {

// Largest piece handed to one EVP call (whose lengths are int): a multiple
// of the block size, so that a transform in place keeps input and output
// positions equal from piece to piece.
constexpr size_t max_piece = static_cast<size_t>(INT_MAX) / block_bytes * block_bytes;

enum class Hex { ok, too_short, bad_digit };

// Reads 2 x bytes hexadecimal digits of text into out; out is written only
// when all of them are valid.
Hex decode_hex(const char *text, size_t bytes, unsigned char *out)
{
    for (size_t i = 0; i < 2 * bytes; ++i) {
        if (text[i] == '\0')
            return Hex::too_short;
        if (OPENSSL_hexchar2int(static_cast<unsigned char>(text[i])) < 0)
            return Hex::bad_digit;
    }
    for (size_t i = 0; i < bytes; ++i) {
        const int high = OPENSSL_hexchar2int(static_cast<unsigned char>(text[2 * i]));
        const int low = OPENSSL_hexchar2int(static_cast<unsigned char>(text[2 * i + 1]));
        out[i] = static_cast<unsigned char>(high << 4 | low);
    }
    return Hex::ok;
}

int32_t aes_crypt(bool encrypt, const unsigned char *iv, int32_t mode, const char *key_text,
                  int32_t key_bits, const unsigned char *input, int32_t input_length,
                  unsigned char *output, int32_t pad, int32_t *output_length)
{
    if (output_length == nullptr)
        return TVKCRYPT_E_NULL_PARAMETER;
    *output_length = 0;
    Mode cipher;
    if (mode == TVKCRYPT_MODE_ECB)
        cipher = Mode::ecb;
    else if (mode == TVKCRYPT_MODE_CBC)
        cipher = Mode::cbc;
    else
        return TVKCRYPT_E_CIPHER_NOT_FOUND;
    if (key_bits != 128 && key_bits != 192 && key_bits != 256)
        return TVKCRYPT_E_KEY_LENGTH;
    if (key_text == nullptr || output == nullptr || (input == nullptr && input_length > 0) ||
        (cipher == Mode::cbc && iv == nullptr))
        return TVKCRYPT_E_NULL_PARAMETER;
    if ((pad != 0 && pad != 1) || input_length < 0)
        return TVKCRYPT_E_VALUE;

    const auto length = static_cast<size_t>(input_length);
    if (pad == 0 && length % block_bytes != 0)
        return TVKCRYPT_E_VALUE;
    if (pad == 1 && !encrypt && (length == 0 || length % block_bytes != 0))
        return TVKCRYPT_E_FORMAT;
    if (pad == 1 && encrypt && (length / block_bytes + 1) * block_bytes > INT32_MAX)
        return TVKCRYPT_E_OUTPUT_LENGTH;

    const auto key_bytes = static_cast<size_t>(key_bits / 8);
    unsigned char key[32];
    const Hex parsed = decode_hex(key_text, key_bytes, key);
    int32_t rc = parsed == Hex::too_short ? TVKCRYPT_E_KEY_LENGTH : TVKCRYPT_E_VALUE;
    if (parsed == Hex::ok) {
        size_t written = 0;
        rc = transform(cipher, encrypt, pad == 1, key, key_bytes, cipher == Mode::cbc ? iv : nullptr,
                       input, length, output, &written);
        if (rc == TVKCRYPT_OK)
            *output_length = static_cast<int32_t>(written);
        else if (!encrypt && output != input)
            OPENSSL_cleanse(output, length); // no partial plaintext stays behind
    }
    OPENSSL_cleanse(key, sizeof key);
    return rc;
}

} // namespace

int32_t run(EVP_CIPHER_CTX *keyed, const unsigned char *iv, const unsigned char *in, size_t len,
            unsigned char *out, size_t *out_len)
{
    *out_len = 0;
    if (EVP_CipherInit_ex(keyed, nullptr, nullptr, nullptr, iv, -1) != 1)
        return openssl_failure("EVP_CipherInit_ex");
    size_t done = 0;
    size_t written = 0;
    while (done < len) {
        const size_t piece = std::min(len - done, max_piece);
        int n = 0;
        if (EVP_CipherUpdate(keyed, out + written, &n, in + done, static_cast<int>(piece)) != 1)
            return openssl_failure("EVP_CipherUpdate");
        done += piece;
        written += static_cast<size_t>(n);
    }
    int n = 0;
    if (EVP_CipherFinal_ex(keyed, out + written, &n) != 1) {
        if (EVP_CIPHER_CTX_is_encrypting(keyed) == 0) {
            // Bad padding: the data doesn't decrypt under this key.
            ERR_clear_error();
            return TVKCRYPT_E_FORMAT;
        }
        return openssl_failure("EVP_CipherFinal_ex");
    }
    *out_len = written + static_cast<size_t>(n);
    return TVKCRYPT_OK;
}

int32_t transform(Mode mode, bool encrypt, bool pad, const unsigned char *key, size_t key_bytes,
                  const unsigned char *iv, const unsigned char *in, size_t len, unsigned char *out,
                  size_t *out_len)
{
    *out_len = 0;
    const EVP_CIPHER *cipher = aes(mode, key_bytes);
    if (cipher == nullptr)
        return openssl_failure("EVP_CIPHER_fetch");
    EVP_CIPHER_CTX *ctx = EVP_CIPHER_CTX_new();
    if (ctx == nullptr)
        return openssl_failure("EVP_CIPHER_CTX_new");
    int32_t rc;
    if (EVP_CipherInit_ex(ctx, cipher, nullptr, key, nullptr, encrypt ? 1 : 0) != 1 ||
        EVP_CIPHER_CTX_set_padding(ctx, pad ? 1 : 0) != 1)
        rc = openssl_failure("EVP_CipherInit_ex");
    else
        rc = run(ctx, iv, in, len, out, out_len);
    EVP_CIPHER_CTX_free(ctx); // clears the key schedule
    return rc;
}

} // namespace tvkcrypt

extern "C" {

int32_t TVKCryptAesCryptEncrypt(const unsigned char *iv, int32_t mode, const char *key_text,
                                int32_t key_bits, const unsigned char *input, int32_t input_length,
                                unsigned char *output, int32_t pad, int32_t *output_length)
{
    return tvkcrypt::aes_crypt(true, iv, mode, key_text, key_bits, input, input_length, output, pad,
                               output_length);
}

int32_t TVKCryptAesCryptDecrypt(const unsigned char *iv, int32_t mode, const char *key_text,
                                int32_t key_bits, const unsigned char *input, int32_t input_length,
                                unsigned char *output, int32_t pad, int32_t *output_length)
{
    return tvkcrypt::aes_crypt(false, iv, mode, key_text, key_bits, input, input_length, output, pad,
                               output_length);
}

int32_t TVKCryptAesCryptHexToBin(const char *hex, int32_t count, unsigned char *output)
{
    if (hex == nullptr || output == nullptr)
        return TVKCRYPT_E_NULL_PARAMETER;
    if (count < 0)
        return TVKCRYPT_E_VALUE;
    return tvkcrypt::decode_hex(hex, static_cast<size_t>(count), output) == tvkcrypt::Hex::ok
               ? TVKCRYPT_OK
               : TVKCRYPT_E_VALUE;
}

} // extern "C"
