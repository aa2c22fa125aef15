// Base64 of libtvkcrypt: the vectors of RFC 4648, what the check refuses,
// and long inputs that cross the pieces handed to EVP.
#include "tvkcrypt.h"

#include <openssl/evp.h>

#include <gtest/gtest.h>

#include <string>

#include "bytes.h"

namespace {

using tvk_test::Bytes;
using tvk_test::from_text;

std::string encode(const Bytes &data)
{
    char *text = TVKCryptDesBinasciiB2Abase64(data.data(), static_cast<int32_t>(data.size()));
    if (text == nullptr)
        return "(null)";
    std::string result(text);
    TVKCryptDesFree(text);
    return result;
}

// The decoded bytes, or "(null)" as text.
Bytes decode(const std::string &text)
{
    int32_t count = -1;
    unsigned char *data = TVKCryptDesBinasciiA2Bbase64(text.c_str(), &count);
    if (data == nullptr) {
        EXPECT_EQ(0, count);
        return from_text("(null)");
    }
    EXPECT_EQ(0, data[count]) << "no zero byte behind the data";
    Bytes result(data, data + count);
    TVKCryptDesFree(data);
    return result;
}

int32_t check(const std::string &text)
{
    return TVKCryptDesBinasciiCheckbase64(text.data(), static_cast<int32_t>(text.size()));
}

TEST(Base64, Rfc4648Vectors)
{
    const struct {
        const char *data;
        const char *text;
    } rows[] = {
        {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.data);
        EXPECT_EQ(row.text, encode(from_text(row.data)));
        EXPECT_EQ(from_text(row.data), decode(row.text));
        EXPECT_EQ(1, check(row.text));
    }
    EXPECT_EQ("//79/A==", encode({0xff, 0xfe, 0xfd, 0xfc})); // the last two letters of the alphabet
}

// The check, and so decoding, take canonical Base64 only.
TEST(Base64, CheckRefusesWhatIsNotCanonical)
{
    const std::string refused[] = {
        "Z",        "Zg",       "Zg=",       "Zg===",    "=",        "====",  "Z===",
        "Zg=a",     "Zg==Zg==", "Zh==",      "Zm9=",     " Zm9v",    "Zm9v ", "Zm9v\n",
        "Zm 9v",    "Zm9-",     "Zm9_",      "Zm9v\r\n", std::string("Zm\0v", 4),
    };
    for (const std::string &text : refused) {
        SCOPED_TRACE("'" + text + "'");
        EXPECT_EQ(0, check(text));
        if (text.find('\0') == std::string::npos) {
            EXPECT_EQ(from_text("(null)"), decode(text));
        }
    }
    EXPECT_EQ(1, TVKCryptDesBinasciiCheckbase64("Zm9vYmFy", 4)); // only length bytes count
    EXPECT_EQ(0, TVKCryptDesBinasciiCheckbase64("Zm9vYmFy", 5));
}

// Long data is coded in pieces; the text must be EVP's one-line coding of
// the whole, and come back whole.
TEST(Base64, LongDataCrossesPieces)
{
    for (const size_t length : {size_t{3 * 65536}, size_t{3 * 65536 * 2 + 2}}) {
        SCOPED_TRACE(length);
        Bytes data(length);
        for (size_t i = 0; i < length; ++i)
            data[i] = static_cast<unsigned char>(i * 31 + i / 251);
        std::string expected((length + 2) / 3 * 4 + 1, '\0');
        const int n = EVP_EncodeBlock(reinterpret_cast<unsigned char *>(expected.data()), data.data(),
                                      static_cast<int>(length));
        expected.resize(static_cast<size_t>(n));
        const std::string text = encode(data);
        EXPECT_TRUE(text == expected);
        EXPECT_TRUE(decode(text) == data);
    }
}

} // namespace
