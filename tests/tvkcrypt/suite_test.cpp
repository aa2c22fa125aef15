// The data-encryption suites: round trips with every key size, the output
// layout, and -5009 for whatever doesn't authenticate.
#include "tvkcrypt.h"
#include "tvkcrypt_internal.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include "bytes.h"

namespace {

using tvk_test::Bytes;
using Op = decltype(&TVKCryptDCSuitesAESCBCEncrypt);

const struct Suite {
    const char *name;
    Op encrypt, decrypt;
    tvkcrypt::Mode mode;
    unsigned char format;
} suites[] = {
    {"CBC", TVKCryptDCSuitesAESCBCEncrypt, TVKCryptDCSuitesAESCBCDecrypt, tvkcrypt::Mode::cbc, 1},
    {"CFB1", TVKCryptDCSuitesAESCFB1Encrypt, TVKCryptDCSuitesAESCFB1Decrypt, tvkcrypt::Mode::cfb1, 2},
};

Bytes pattern(size_t bytes, unsigned char seed)
{
    Bytes out(bytes);
    for (size_t i = 0; i < bytes; ++i)
        out[i] = static_cast<unsigned char>(seed + i * 13);
    return out;
}

class Suites : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(TVKCRYPT_OK, TVKCryptDCSuitesCTXSetup(&ctx_)); }
    void TearDown() override { TVKCryptDCSuitesCTXDestroy(ctx_); }

    // Runs op; its code, and its output in out (empty after a failure, which
    // must leave null and 0).
    int32_t call(Op op, const Bytes &in, const Bytes &key, Bytes &out, TVKCryptDCSuitesCTX *ctx = nullptr)
    {
        unsigned char *made = nullptr;
        int32_t length = -1;
        const int32_t rc = op(in.data(), static_cast<int32_t>(in.size()), key.data(),
                              static_cast<int32_t>(key.size()), &made, &length, ctx != nullptr ? ctx : ctx_);
        out.clear();
        if (rc != TVKCRYPT_OK) {
            EXPECT_TRUE(made == nullptr && length == 0);
            return rc;
        }
        out.assign(made, made + length);
        if (op == TVKCryptDCSuitesAESCBCDecrypt || op == TVKCryptDCSuitesAESCFB1Decrypt) {
            EXPECT_EQ(0, made[length]) << "decrypted data without its zero byte";
        }
        TVKCryptDCSuitesGenericFree(made, ctx_);
        return rc;
    }

    TVKCryptDCSuitesCTX *ctx_ = nullptr;
};

TEST_F(Suites, RoundTripsWithEveryKeySize)
{
    for (const Suite &suite : suites) {
        for (const size_t key_bytes : {16U, 24U, 32U}) {
            for (const size_t length : {0U, 1U, 15U, 16U, 17U, 1024U}) {
                SCOPED_TRACE(std::string(suite.name) + " key " + std::to_string(key_bytes) + " length " +
                             std::to_string(length));
                const Bytes key = pattern(key_bytes, 1), plain = pattern(length, 7);
                Bytes sealed, opened;
                ASSERT_EQ(TVKCRYPT_OK, call(suite.encrypt, plain, key, sealed));
                ASSERT_EQ(TVKCRYPT_OK, call(suite.decrypt, sealed, key, opened));
                EXPECT_EQ(plain, opened);
            }
        }
    }
}

// Format byte, IV, ciphertext of the suite's mode under the key itself,
// 16-byte tag: decrypting the middle with the raw mode gives the input. Each
// output has an IV of its own.
TEST_F(Suites, OutputHasTheDocumentedLayout)
{
    const Bytes key = pattern(24, 3), plain = pattern(40, 9);
    for (const Suite &suite : suites) {
        SCOPED_TRACE(suite.name);
        const bool cbc = suite.mode == tvkcrypt::Mode::cbc;
        const size_t body = cbc ? 48 : 40;
        Bytes sealed, again, raw(body);
        ASSERT_EQ(TVKCRYPT_OK, call(suite.encrypt, plain, key, sealed));
        ASSERT_EQ(TVKCRYPT_OK, call(suite.encrypt, plain, key, again));
        ASSERT_EQ(1 + 16 + body + 16, sealed.size());
        EXPECT_EQ(suite.format, sealed[0]);
        EXPECT_NE(Bytes(&sealed[1], &sealed[17]), Bytes(&again[1], &again[17]));
        size_t written = 0;
        ASSERT_EQ(TVKCRYPT_OK, tvkcrypt::transform(suite.mode, false, cbc, key.data(), key.size(), &sealed[1],
                                                   &sealed[17], body, raw.data(), &written));
        raw.resize(written);
        EXPECT_EQ(plain, raw);
    }
}

TEST_F(Suites, WhatDoesNotAuthenticateIsAFormatError)
{
    const Bytes key = pattern(32, 1), plain = pattern(33, 2);
    for (const Suite &suite : suites) {
        const Suite &other = &suite == &suites[0] ? suites[1] : suites[0];
        Bytes sealed, foreign, out;
        ASSERT_EQ(TVKCRYPT_OK, call(suite.encrypt, plain, key, sealed));
        ASSERT_EQ(TVKCRYPT_OK, call(other.encrypt, plain, key, foreign));
        Bytes longer = sealed, relabelled = foreign;
        longer.push_back(0);
        relabelled[0] = suite.format; // the tag covers the format byte
        std::vector<std::pair<std::string, Bytes>> cases = {
            {"cut by one byte", Bytes(sealed.begin(), sealed.end() - 1)},
            {"one byte more", longer},
            {"header and tag only", Bytes(sealed.begin(), sealed.begin() + 33)},
            {"empty", Bytes()},
            {"the other suite's output", foreign},
            {"the other suite's output relabelled", relabelled},
        };
        for (const size_t at : {size_t{0}, size_t{1}, size_t{16}, size_t{17}, sealed.size() - 17,
                                sealed.size() - 16, sealed.size() - 1}) {
            cases.emplace_back("bit flipped at " + std::to_string(at), sealed);
            cases.back().second[at] ^= 0x01;
        }
        for (const auto &[name, data] : cases)
            EXPECT_EQ(TVKCRYPT_E_FORMAT, call(suite.decrypt, data, key, out)) << suite.name << ": " << name;
        EXPECT_EQ(TVKCRYPT_E_FORMAT, call(suite.decrypt, sealed, pattern(32, 2), out)) << "wrong key";
        EXPECT_EQ(TVKCRYPT_E_FORMAT, call(suite.decrypt, sealed, pattern(16, 1), out)) << "shorter key";
        // The failures left the context sound.
        ASSERT_EQ(TVKCRYPT_OK, call(suite.decrypt, sealed, key, out));
        EXPECT_EQ(plain, out);
    }
}

// The context keeps the EVP state of the last key; a new key must replace
// all of it, and another context must read what this one wrote.
TEST_F(Suites, KeysChangeFreelyAndContextsAgree)
{
    const Bytes keys[] = {pattern(16, 1), pattern(32, 1), pattern(16, 2)}, plain = pattern(100, 4);
    std::vector<Bytes> sealed(3);
    for (size_t k = 0; k < 3; ++k)
        ASSERT_EQ(TVKCRYPT_OK, call(TVKCryptDCSuitesAESCBCEncrypt, plain, keys[k], sealed[k]));
    TVKCryptDCSuitesCTX *other = nullptr;
    ASSERT_EQ(TVKCRYPT_OK, TVKCryptDCSuitesCTXSetup(&other));
    for (TVKCryptDCSuitesCTX *ctx : {ctx_, other}) {
        Bytes out;
        for (const size_t k : {2U, 0U, 1U}) {
            ASSERT_EQ(TVKCRYPT_OK, call(TVKCryptDCSuitesAESCBCDecrypt, sealed[k], keys[k], out, ctx)) << k;
            EXPECT_EQ(plain, out);
        }
        EXPECT_EQ(TVKCRYPT_E_FORMAT, call(TVKCryptDCSuitesAESCBCDecrypt, sealed[0], keys[2], out, ctx));
    }
    TVKCryptDCSuitesCTXDestroy(other);
}

TEST_F(Suites, RefusesKeysOfUnusableLength)
{
    const unsigned char key[64] = {};
    for (const int32_t bytes : {0, 15, 17, 23, 25, 31, 33, 64, -16})
        EXPECT_EQ(TVKCRYPT_E_KEY_LENGTH, TVKCryptDCSuitesAESCheckKey(key, bytes, ctx_)) << bytes;
    for (const int32_t bytes : {16, 24, 32})
        EXPECT_EQ(TVKCRYPT_OK, TVKCryptDCSuitesAESCheckKey(key, bytes, nullptr)) << bytes;
    Bytes out;
    for (const Suite &suite : suites) {
        EXPECT_EQ(TVKCRYPT_E_KEY_LENGTH, call(suite.encrypt, Bytes(16), pattern(20, 0), out));
        EXPECT_EQ(TVKCRYPT_E_KEY_LENGTH, call(suite.decrypt, Bytes(48), pattern(20, 0), out));
    }
}

// IVs come from a stock drawn ahead; a forked child must not reuse the
// parent's (a repeated IV would repeat the GMAC nonce).
TEST_F(Suites, ForkedChildDrawsItsOwnIvs)
{
    const Bytes key = pattern(16, 8), plain = pattern(16, 0);
    Bytes sealed;
    ASSERT_EQ(TVKCRYPT_OK, call(TVKCryptDCSuitesAESCBCEncrypt, plain, key, sealed)); // stock drawn
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    const pid_t child = fork();
    ASSERT_NE(-1, child);
    if (child == 0) {
        const bool ok = call(TVKCryptDCSuitesAESCBCEncrypt, plain, key, sealed) == TVKCRYPT_OK &&
                        write(ends[1], &sealed[1], 16) == 16;
        _exit(ok ? 0 : 1);
    }
    close(ends[1]);
    unsigned char child_iv[16] = {};
    EXPECT_EQ(16, read(ends[0], child_iv, sizeof child_iv));
    close(ends[0]);
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    ASSERT_EQ(TVKCRYPT_OK, call(TVKCryptDCSuitesAESCBCEncrypt, plain, key, sealed));
    EXPECT_NE(Bytes(child_iv, child_iv + 16), Bytes(&sealed[1], &sealed[17]));
}

} // namespace
