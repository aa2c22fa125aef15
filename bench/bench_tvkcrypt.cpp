// libtvkcrypt beside raw EVP. The suite's AES-CBC encryption (IV, cipher,
// GMAC tag, allocation of the output) against EVP_EncryptInit_ex / Update /
// Final on a context made once, re-keyed per call as the suite's first call
// with a key would be, and with the key kept as the suite keeps it; for
// scale, the same raw CBC followed by an HMAC-SHA-256 of its output. Base64
// against EVP_EncodeBlock and EVP_DecodeBlock into preallocated buffers.
#include "tvkcrypt.h"

#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/params.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

namespace {

constexpr int64_t value_bytes = 1024;

const unsigned char key16[16] = {0x2b, 0x7e, 0x15, 0x16, 0x28, 0xae, 0xd2, 0xa6,
                                 0xab, 0xf7, 0x15, 0x88, 0x09, 0xcf, 0x4f, 0x3c};
const unsigned char iv16[16] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

std::vector<unsigned char> value(int64_t bytes)
{
    std::vector<unsigned char> data(static_cast<size_t>(bytes));
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<unsigned char>(i * 37 + 11);
    return data;
}

void BM_SuiteCbcEncrypt(benchmark::State &state)
{
    const auto data = value(state.range(0));
    TVKCryptDCSuitesCTX *ctx = nullptr;
    if (TVKCryptDCSuitesCTXSetup(&ctx) != TVKCRYPT_OK) {
        state.SkipWithError("context");
        return;
    }
    for (auto _ : state) {
        unsigned char *out = nullptr;
        int32_t length = 0;
        if (TVKCryptDCSuitesAESCBCEncrypt(data.data(), static_cast<int32_t>(data.size()), key16, 16, &out, &length,
                                          ctx) != TVKCRYPT_OK) {
            state.SkipWithError("encrypt");
            break;
        }
        benchmark::DoNotOptimize(out);
        TVKCryptDCSuitesGenericFree(out, ctx);
    }
    TVKCryptDCSuitesCTXDestroy(ctx);
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void BM_SuiteCbcDecrypt(benchmark::State &state)
{
    const auto data = value(state.range(0));
    TVKCryptDCSuitesCTX *ctx = nullptr;
    unsigned char *sealed = nullptr;
    int32_t sealed_length = 0;
    if (TVKCryptDCSuitesCTXSetup(&ctx) != TVKCRYPT_OK ||
        TVKCryptDCSuitesAESCBCEncrypt(data.data(), static_cast<int32_t>(data.size()), key16, 16, &sealed,
                                      &sealed_length, ctx) != TVKCRYPT_OK) {
        state.SkipWithError("set-up");
        return;
    }
    for (auto _ : state) {
        unsigned char *out = nullptr;
        int32_t length = 0;
        if (TVKCryptDCSuitesAESCBCDecrypt(sealed, sealed_length, key16, 16, &out, &length, ctx) != TVKCRYPT_OK) {
            state.SkipWithError("decrypt");
            break;
        }
        benchmark::DoNotOptimize(out);
        TVKCryptDCSuitesGenericFree(out, ctx);
    }
    TVKCryptDCSuitesGenericFree(sealed, ctx);
    TVKCryptDCSuitesCTXDestroy(ctx);
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

// Raw EVP: the context and cipher are made once; each call sets key (or
// only IV) and runs Update and Final into a preallocated buffer.
void raw_cbc(benchmark::State &state, bool rekey, bool hmac)
{
    const auto data = value(state.range(0));
    std::vector<unsigned char> out(data.size() + 16);
    EVP_CIPHER *cipher = EVP_CIPHER_fetch(nullptr, "AES-128-CBC", nullptr);
    EVP_CIPHER_CTX *ctx = EVP_CIPHER_CTX_new();
    EVP_MAC *mac = EVP_MAC_fetch(nullptr, "HMAC", nullptr);
    EVP_MAC_CTX *mac_ctx = EVP_MAC_CTX_new(mac);
    OSSL_PARAM params[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, const_cast<char *>("SHA256"), 0),
        OSSL_PARAM_construct_end(),
    };
    if (cipher == nullptr || ctx == nullptr || mac_ctx == nullptr ||
        EVP_EncryptInit_ex(ctx, cipher, nullptr, key16, iv16) != 1 ||
        EVP_MAC_init(mac_ctx, key16, sizeof key16, params) != 1) {
        state.SkipWithError("set-up");
        return;
    }
    for (auto _ : state) {
        int n = 0, final_n = 0;
        EVP_EncryptInit_ex(ctx, nullptr, nullptr, rekey ? key16 : nullptr, iv16);
        EVP_EncryptUpdate(ctx, out.data(), &n, data.data(), static_cast<int>(data.size()));
        EVP_EncryptFinal_ex(ctx, out.data() + n, &final_n);
        if (hmac) {
            unsigned char tag[32];
            size_t tag_length = 0;
            EVP_MAC_init(mac_ctx, nullptr, 0, nullptr);
            EVP_MAC_update(mac_ctx, out.data(), static_cast<size_t>(n + final_n));
            EVP_MAC_final(mac_ctx, tag, &tag_length, sizeof tag);
            benchmark::DoNotOptimize(tag);
        }
        benchmark::DoNotOptimize(out.data());
    }
    EVP_MAC_CTX_free(mac_ctx);
    EVP_MAC_free(mac);
    EVP_CIPHER_CTX_free(ctx);
    EVP_CIPHER_free(cipher);
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void BM_RawEvpCbcEncrypt(benchmark::State &state)
{
    raw_cbc(state, true, false);
}

void BM_RawEvpCbcEncryptKeyKept(benchmark::State &state)
{
    raw_cbc(state, false, false);
}

void BM_RawEvpCbcEncryptThenHmacSha256(benchmark::State &state)
{
    raw_cbc(state, false, true);
}

void BM_SuiteBase64Encode(benchmark::State &state)
{
    const auto data = value(state.range(0));
    for (auto _ : state) {
        char *text = TVKCryptDesBinasciiB2Abase64(data.data(), static_cast<int32_t>(data.size()));
        benchmark::DoNotOptimize(text);
        TVKCryptDesFree(text);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void BM_EvpEncodeBlock(benchmark::State &state)
{
    const auto data = value(state.range(0));
    std::vector<unsigned char> text((data.size() + 2) / 3 * 4 + 1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(EVP_EncodeBlock(text.data(), data.data(), static_cast<int>(data.size())));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

std::vector<unsigned char> encoded(int64_t bytes)
{
    const auto data = value(bytes);
    std::vector<unsigned char> text((data.size() + 2) / 3 * 4 + 1);
    const int n = EVP_EncodeBlock(text.data(), data.data(), static_cast<int>(data.size()));
    text.resize(static_cast<size_t>(n) + 1);
    return text; // zero-terminated
}

void BM_SuiteBase64Decode(benchmark::State &state)
{
    const auto text = encoded(state.range(0));
    for (auto _ : state) {
        int32_t count = 0;
        unsigned char *data = TVKCryptDesBinasciiA2Bbase64(reinterpret_cast<const char *>(text.data()), &count);
        benchmark::DoNotOptimize(data);
        TVKCryptDesFree(data);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void BM_EvpDecodeBlock(benchmark::State &state)
{
    const auto text = encoded(state.range(0));
    std::vector<unsigned char> data(text.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            EVP_DecodeBlock(data.data(), text.data(), static_cast<int>(text.size() - 1)));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

} // namespace

BENCHMARK(BM_SuiteCbcEncrypt)->Arg(value_bytes);
BENCHMARK(BM_RawEvpCbcEncrypt)->Arg(value_bytes);
BENCHMARK(BM_RawEvpCbcEncryptKeyKept)->Arg(value_bytes);
BENCHMARK(BM_RawEvpCbcEncryptThenHmacSha256)->Arg(value_bytes);
BENCHMARK(BM_SuiteCbcDecrypt)->Arg(value_bytes);
BENCHMARK(BM_SuiteBase64Encode)->Arg(value_bytes);
BENCHMARK(BM_EvpEncodeBlock)->Arg(value_bytes);
BENCHMARK(BM_SuiteBase64Decode)->Arg(value_bytes);
BENCHMARK(BM_EvpDecodeBlock)->Arg(value_bytes);

BENCHMARK_MAIN();
