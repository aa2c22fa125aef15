// Base64 of RFC 4648: standard alphabet, "=" padding, one line. EVP's block
// coder does the conversion; the check in front of decoding is this file's,
// because EVP_DecodeBlock reads "=" anywhere as a zero and skips white space
// at both ends.
#include "tvkcrypt_internal.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace {

// Codings are released without clearing: what they carry here is
// ciphertext or a one-way transform, and a caller that holds a coding
// secret clears it itself before TVKCryptDesFree.
constexpr auto public_data = tvkcrypt::Contents::public_data;

// Pieces handed to one EVP call: whole groups (3 bytes, 4 characters),
// small enough for EVP's int lengths.
constexpr size_t encode_piece = 3 * 65536;
constexpr size_t decode_piece = 4 * 65536;

// 0 for a character of the alphabet, 1 otherwise. Written as comparisons
// joined without branches rather than a table, so that the compiler can
// test many characters at a time.
inline unsigned char outside_alphabet(unsigned char c)
{
    const auto in = [c](unsigned char first, unsigned char count) {
        return static_cast<unsigned char>(static_cast<unsigned char>(c - first) < count);
    };
    return static_cast<unsigned char>((in('A', 26) | in('a', 26) | in('0', 10) | in('+', 1) | in('/', 1)) ^ 1);
}

// Value of a character of the alphabet.
unsigned value(unsigned char c)
{
    if (c >= 'A' && c <= 'Z')
        return static_cast<unsigned>(c - 'A');
    if (c >= 'a' && c <= 'z')
        return static_cast<unsigned>(c - 'a' + 26);
    if (c >= '0' && c <= '9')
        return static_cast<unsigned>(c - '0' + 52);
    return c == '+' ? 62U : 63U;
}

size_t padding_of(const char *text, size_t length)
{
    if (length == 0 || text[length - 1] != '=')
        return 0;
    return text[length - 2] == '=' ? 2 : 1;
}

// Canonical Base64: whole groups, the alphabet, "=" only as the last one or
// two characters, and zero bits where the padding cuts a character.
bool canonical(const char *text, size_t length)
{
    if (length % 4 != 0)
        return false;
    if (length == 0)
        return true;
    const size_t padding = padding_of(text, length);
    const size_t data = length - padding;
    const auto *bytes = reinterpret_cast<const unsigned char *>(text);
    unsigned char outside = 0;
    for (size_t i = 0; i < data; ++i)
        outside |= outside_alphabet(bytes[i]);
    if (outside != 0)
        return false;
    // Two "=" leave 4 bits of the last character unused, one leaves 2.
    const unsigned unused_mask = padding == 2 ? 0x0F : padding == 1 ? 0x03 : 0;
    return (value(bytes[data - 1]) & unused_mask) == 0;
}

} // namespace

extern "C" {

char *TVKCryptDesBinasciiB2Abase64(const unsigned char *data, int32_t count)
{
    if (count < 0 || (data == nullptr && count > 0))
        return nullptr;
    const auto length = static_cast<size_t>(count);
    const size_t text_length = (length + 2) / 3 * 4;
    auto *text = static_cast<unsigned char *>(tvkcrypt::allocate(text_length + 1, public_data));
    if (text == nullptr)
        return nullptr;
    size_t done = 0;
    size_t written = 0;
    while (done < length) {
        const size_t piece = std::min(length - done, encode_piece);
        written += static_cast<size_t>(EVP_EncodeBlock(text + written, data + done, static_cast<int>(piece)));
        done += piece;
    }
    text[written] = '\0';
    return reinterpret_cast<char *>(text);
}

unsigned char *TVKCryptDesBinasciiA2Bbase64(const char *text, int32_t *count)
{
    if (count != nullptr)
        *count = 0;
    if (text == nullptr || count == nullptr)
        return nullptr;
    const size_t length = std::strlen(text);
    if (!canonical(text, length))
        return nullptr;
    const size_t groups_bytes = length / 4 * 3; // what EVP writes, padding included
    const size_t bytes = groups_bytes - padding_of(text, length);
    if (bytes > INT32_MAX)
        return nullptr;
    auto *out = static_cast<unsigned char *>(tvkcrypt::allocate(groups_bytes + 1, public_data));
    if (out == nullptr)
        return nullptr;
    const auto *in = reinterpret_cast<const unsigned char *>(text);
    size_t done = 0;
    size_t written = 0;
    while (done < length) {
        const size_t piece = std::min(length - done, decode_piece);
        const int n = EVP_DecodeBlock(out + written, in + done, static_cast<int>(piece));
        if (n < 0) {
            tvkcrypt::release(out);
            return nullptr;
        }
        written += static_cast<size_t>(n);
        done += piece;
    }
    out[bytes] = 0;
    *count = static_cast<int32_t>(bytes);
    return out;
}

int32_t TVKCryptDesBinasciiCheckbase64(const char *text, int32_t length)
{
    if (text == nullptr || length < 0)
        return 0;
    return canonical(text, static_cast<size_t>(length)) ? 1 : 0;
}

void TVKCryptDesFree(void *data)
{
    tvkcrypt::release(data);
}

} // extern "C"
