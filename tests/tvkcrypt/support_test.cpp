// Random bytes, the extended error and the log callback, the FIPS flag, and
// the return codes against libtarvolk_r's table.
#include "tvkcrypt.h"
#include "tvkcrypt_internal.h"

#include <tarvolk/retcode.h>

#include <openssl/err.h>
#include <openssl/evp.h>

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/test_support.h"

namespace {

static_assert(TVKCRYPT_E_CIPHER_NOT_FOUND == NRC_KCE_CIPHER_NOT_FOUND);
static_assert(TVKCRYPT_E_MALLOC == NRC_KCE_MALLOC);
static_assert(TVKCRYPT_E_OUTPUT_LENGTH == NRC_KCE_OUTPUT_LENGTH);
static_assert(TVKCRYPT_E_KEY_LENGTH == NRC_KCE_KEY_LENGTH);
static_assert(TVKCRYPT_E_FORMAT == NRC_KCE_FORMAT);
static_assert(TVKCRYPT_E_OS == NRC_KCE_OS);
static_assert(TVKCRYPT_E_OPENSSL == NRC_KCE_OPENSSL);
static_assert(TVKCRYPT_E_NULL_PARAMETER == NRC_KCE_NULL_PARAMETER);
static_assert(TVKCRYPT_E_VALUE == NRC_KCE_VALUE);

TEST(Random, FillsTheBuffer)
{
    std::vector<unsigned char> a(32, 0), b(32, 0);
    ASSERT_EQ(TVKCRYPT_OK, TVKCryptGetRandomBytes(a.data(), 32));
    ASSERT_EQ(TVKCRYPT_OK, TVKCryptGetRandomBytes(b.data(), 32));
    EXPECT_NE(a, b);
    EXPECT_EQ(TVKCRYPT_E_NULL_PARAMETER, TVKCryptGetRandomBytes(nullptr, 1));
}

std::vector<std::string> messages;

void collect(const char *format, va_list args)
{
    char text[512];
    std::vsnprintf(text, sizeof text, format, args);
    messages.emplace_back(text);
}

// A libcrypto failure leaves its code for the failing thread only, sends
// one message, and takes nothing else of the thread's error queue along.
TEST(Errors, LibcryptoFailureIsDetailedPerThreadAndLogged)
{
    messages.clear();
    TVKUTILSRegisterLogCB(collect);
    ERR_raise(ERR_LIB_EVP, EVP_R_BAD_DECRYPT);
    EXPECT_EQ(TVKCRYPT_E_OPENSSL, tvkcrypt::openssl_failure("EVP_Probe"));
    const auto expected = static_cast<long>(ERR_PACK(ERR_LIB_EVP, 0, EVP_R_BAD_DECRYPT));
    EXPECT_EQ(expected, TVKCryptGetExtendedError());
    EXPECT_EQ(0UL, ERR_peek_error());
    ASSERT_EQ(1U, messages.size());
    EXPECT_EQ(0U, messages[0].find("libtvkcrypt: EVP_Probe failed: error:")) << messages[0];
    EXPECT_NE(std::string::npos, messages[0].find("bad decrypt")) << messages[0];

    long elsewhere = -1;
    std::thread([&elsewhere] { elsewhere = TVKCryptGetExtendedError(); }).join();
    EXPECT_EQ(0, elsewhere);
    EXPECT_EQ(expected, TVKCryptGetExtendedError()); // successes leave it alone

    TVKUTILSRegisterLogCB(nullptr);
    tvkcrypt::log("dropped %d", 1);
    EXPECT_EQ(1U, messages.size());
}

TEST(Fips, FlagFollowsTheFileNamedByTheOverride)
{
    tvk_test::TempDir dir;
    tvk_test::write_file(dir.file("on"), "1\n");
    tvk_test::write_file(dir.file("off"), "0\n");
    for (const auto &[file, expected] : {std::pair{"on", 1}, {"off", 0}, {"missing", 0}}) {
        setenv("TVKCRYPT_FIPS_FILE", dir.file(file).c_str(), 1);
        EXPECT_EQ(expected, TVKUTILSIsSystemFips()) << file;
    }
    unsetenv("TVKCRYPT_FIPS_FILE");
}

} // namespace
