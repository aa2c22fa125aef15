// AES with a hexadecimal key text (TVKCryptAesCrypt...): the published
// known answers, the padding, the refusals; and the CFB1 path of the suites
// against its known answers.
#include "tvkcrypt.h"
#include "tvkcrypt_internal.h"

#include <gtest/gtest.h>

#include <string>

#include "bytes.h"

namespace {

using tvk_test::Bytes;
using tvk_test::from_hex;

const char *const sp800_38a_plain = "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                                    "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710";
const char *const sp800_38a_iv = "000102030405060708090a0b0c0d0e0f";
const char *const key128 = "2b7e151628aed2a6abf7158809cf4f3c";
const char *const key192 = "8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b";
const char *const key256 = "603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4";

struct Vector {
    const char *name;
    int32_t mode;
    const char *key;
    const char *iv;
    const char *plain;
    const char *cipher;
};

// FIPS-197 appendix C and SP 800-38A F.1 (ECB) and F.2 (CBC); each row is
// the encryption example and, read backwards, the decryption one.
const Vector block_vectors[] = {
    {"FIPS-197 C.1", 1, "000102030405060708090a0b0c0d0e0f", nullptr, "00112233445566778899aabbccddeeff",
     "69c4e0d86a7b0430d8cdb78070b4c55a"},
    {"FIPS-197 C.2", 1, "000102030405060708090a0b0c0d0e0f1011121314151617", nullptr,
     "00112233445566778899aabbccddeeff", "dda97ca4864cdfe06eaf70a0ec0d7191"},
    {"FIPS-197 C.3", 1, "000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F", nullptr,
     "00112233445566778899aabbccddeeff", "8ea2b7ca516745bfeafc49904b496089"},
    {"F.1.1/F.1.2 ECB-AES128", 1, key128, nullptr, sp800_38a_plain,
     "3ad77bb40d7a3660a89ecaf32466ef97f5d3d58503b9699de785895a96fdbaaf"
     "43b1cd7f598ece23881b00e3ed0306887b0c785e27e8ad3f8223207104725dd4"},
    {"F.1.3/F.1.4 ECB-AES192", 1, key192, nullptr, sp800_38a_plain,
     "bd334f1d6e45f25ff712a214571fa5cc974104846d0ad3ad7734ecb3ecee4eef"
     "ef7afd2270e2e60adce0ba2face6444e9a4b41ba738d6c72fb16691603c18e0e"},
    {"F.1.5/F.1.6 ECB-AES256", 1, key256, nullptr, sp800_38a_plain,
     "f3eed1bdb5d2a03c064b5a7e3db181f8591ccb10d410ed26dc5ba74a31362870"
     "b6ed21b99ca6f4f9f153e7b1beafed1d23304b7a39f9f3ff067d8d8f9e24ecc7"},
    {"F.2.1/F.2.2 CBC-AES128", 2, key128, sp800_38a_iv, sp800_38a_plain,
     "7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"
     "73bed6b8e3c1743b7116e69e222295163ff1caa1681fac09120eca307586e1a7"},
    {"F.2.3/F.2.4 CBC-AES192", 2, key192, sp800_38a_iv, sp800_38a_plain,
     "4f021db243bc633d7178183a9fa071e8b4d9ada9ad7dedf4e5e738763f69145a"
     "571b242012fb7ae07fa9baac3df102e008b0e27988598881d920a9e64f5615cd"},
    {"F.2.5/F.2.6 CBC-AES256", 2, key256, sp800_38a_iv, sp800_38a_plain,
     "f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d"
     "39f23369a9d9bacfa530e26304231461b2eb05e2c39be9fcda6c19078c6a9d1b"},
};

int32_t key_bits(const char *key_text)
{
    return static_cast<int32_t>(std::string(key_text).size() * 4);
}

using Crypt = decltype(&TVKCryptAesCryptEncrypt);

// Runs one call with an output of input size + 16, holding a copy of the
// input when in_place; the output cut to the length the call reports.
int32_t crypt(Crypt fn, const Vector &v, const Bytes &input, int32_t pad, Bytes &output, bool in_place = false)
{
    const Bytes iv = v.iv != nullptr ? from_hex(v.iv) : Bytes(16, 0);
    output = input;
    output.resize(input.size() + 16, 0xEE);
    int32_t length = -1;
    const int32_t rc = fn(iv.data(), v.mode, v.key, key_bits(v.key), in_place ? output.data() : input.data(),
                          static_cast<int32_t>(input.size()), output.data(), pad, &length);
    output.resize(static_cast<size_t>(length < 0 ? 0 : length));
    return rc;
}

TEST(AesCrypt, KnownAnswersBothWays)
{
    for (const Vector &v : block_vectors) {
        for (const bool in_place : {false, true}) {
            SCOPED_TRACE(std::string(v.name) + (in_place ? " in place" : ""));
            Bytes out;
            ASSERT_EQ(TVKCRYPT_OK, crypt(TVKCryptAesCryptEncrypt, v, from_hex(v.plain), 0, out, in_place));
            EXPECT_EQ(from_hex(v.cipher), out);
            ASSERT_EQ(TVKCRYPT_OK, crypt(TVKCryptAesCryptDecrypt, v, from_hex(v.cipher), 0, out, in_place));
            EXPECT_EQ(from_hex(v.plain), out);
        }
    }
}

// SP 800-38A F.3.1 to F.3.6: CFB1 over the first 16 bits of the common
// plaintext, through the transform that the CFB1 suite runs.
TEST(AesCrypt, Cfb1KnownAnswersOfTheSuitePath)
{
    const struct {
        const char *name;
        const char *key;
        const char *cipher;
    } rows[] = {
        {"F.3.1/F.3.2 CFB1-AES128", key128, "68b3"},
        {"F.3.3/F.3.4 CFB1-AES192", key192, "9359"},
        {"F.3.5/F.3.6 CFB1-AES256", key256, "9029"},
    };
    const Bytes iv = from_hex(sp800_38a_iv);
    const Bytes plain = from_hex("6bc1");
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const Bytes key = from_hex(row.key);
        for (const bool encrypt : {true, false}) {
            const Bytes &in = encrypt ? plain : from_hex(row.cipher);
            Bytes out(2);
            size_t written = 0;
            ASSERT_EQ(TVKCRYPT_OK, tvkcrypt::transform(tvkcrypt::Mode::cfb1, encrypt, false, key.data(), key.size(),
                                                       iv.data(), in.data(), in.size(), out.data(), &written));
            EXPECT_EQ(2U, written);
            EXPECT_EQ(encrypt ? from_hex(row.cipher) : plain, out);
        }
    }
}

// Padding is PKCS#7: 1 to 16 bytes, each holding the count.
TEST(AesCrypt, PaddedRoundTripsAddOneToSixteenBytes)
{
    for (const Vector &v : {block_vectors[2], block_vectors[7]}) {
        for (const size_t length : {0U, 1U, 15U, 16U, 17U, 33U}) {
            SCOPED_TRACE(std::string(v.name) + " length " + std::to_string(length));
            const Bytes plain(length, 0x5A);
            Bytes sealed, opened, raw;
            ASSERT_EQ(TVKCRYPT_OK, crypt(TVKCryptAesCryptEncrypt, v, plain, 1, sealed));
            EXPECT_EQ((length / 16 + 1) * 16, sealed.size());
            ASSERT_EQ(TVKCRYPT_OK, crypt(TVKCryptAesCryptDecrypt, v, sealed, 1, opened));
            EXPECT_EQ(plain, opened);
            ASSERT_EQ(TVKCRYPT_OK, crypt(TVKCryptAesCryptDecrypt, v, sealed, 0, raw));
            const size_t pad = sealed.size() - length;
            raw.erase(raw.begin(), raw.begin() + static_cast<long>(length));
            EXPECT_EQ(Bytes(pad, static_cast<unsigned char>(pad)), raw);
        }
    }
}

TEST(AesCrypt, RefusesBadArguments)
{
    const Bytes iv(16, 0), ones(32, 1);
    unsigned char out[64];
    const char *const key = block_vectors[0].key, *const short_key = "000102030405060708090a0b0c0d0e";
    const auto encrypt = TVKCryptAesCryptEncrypt, decrypt = TVKCryptAesCryptDecrypt;
    const struct {
        const char *name;
        Crypt fn;
        int32_t mode, bits, length, pad;
        const char *key_text;
        const unsigned char *iv;
        int32_t expected;
    } rows[] = {
        {"mode 3", encrypt, 3, 128, 16, 0, key, iv.data(), TVKCRYPT_E_CIPHER_NOT_FOUND},
        {"129 bits", encrypt, 1, 129, 16, 0, key, iv.data(), TVKCRYPT_E_KEY_LENGTH},
        {"key text short", encrypt, 1, 128, 16, 0, short_key, iv.data(), TVKCRYPT_E_KEY_LENGTH},
        {"key text not hex", encrypt, 1, 128, 16, 0, "000102030405060708090a0b0c0d0e0g", iv.data(), TVKCRYPT_E_VALUE},
        {"CBC without IV", encrypt, 2, 128, 16, 0, key, nullptr, TVKCRYPT_E_NULL_PARAMETER},
        {"pad flag 2", encrypt, 1, 128, 16, 2, key, iv.data(), TVKCRYPT_E_VALUE},
        {"unpadded part block", encrypt, 1, 128, 15, 0, key, iv.data(), TVKCRYPT_E_VALUE},
        {"padded decrypt of part block", decrypt, 2, 128, 17, 1, key, iv.data(), TVKCRYPT_E_FORMAT},
        // 32 bytes of 0x01 decrypt to no valid padding under this key.
        {"bad padding", decrypt, 1, 128, 32, 1, key, iv.data(), TVKCRYPT_E_FORMAT},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        int32_t length = 99;
        EXPECT_EQ(row.expected,
                  row.fn(row.iv, row.mode, row.key_text, row.bits, ones.data(), row.length, out, row.pad, &length));
        EXPECT_EQ(0, length);
    }
}

TEST(AesCrypt, HexToBin)
{
    unsigned char out[4] = {9, 9, 9, 9};
    EXPECT_EQ(TVKCRYPT_OK, TVKCryptAesCryptHexToBin("00fFa5zz", 3, out)); // 2 x count digits read
    EXPECT_EQ(Bytes({0x00, 0xff, 0xa5, 9}), Bytes(out, out + 4));
    for (const char *bad : {"0x01", "012", "01 2"})
        EXPECT_EQ(TVKCRYPT_E_VALUE, TVKCryptAesCryptHexToBin(bad, 2, out)) << bad;
    EXPECT_EQ(Bytes({0x00, 0xff, 0xa5, 9}), Bytes(out, out + 4)); // refusals wrote nothing
    EXPECT_EQ(TVKCRYPT_E_VALUE, TVKCryptAesCryptHexToBin("00", -1, out));
    EXPECT_EQ(TVKCRYPT_E_NULL_PARAMETER, TVKCryptAesCryptHexToBin(nullptr, 1, out));
}

} // namespace
