// The DES password hash over the caller's state: n_crypt for the first 8
// bytes of a password, n_cryptblock for long passwords block by block. The
// steps themselves are in crypt_util.cpp.
#include <tarvolk/crypt.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

constexpr size_t key_bytes = 8;
constexpr unsigned hash_iterations = 25;
// n_cryptblock hashes at most this many blocks of 8 bytes...
constexpr size_t max_blocks = 16;
// ...and no more than long_result's characters hold.
constexpr size_t long_result_chars = sizeof(NCryptState::long_result) - 1;

// Everything up to and including `initialized' is zeroed, so that nothing
// carries over from the previous call. The four S-box tables are left out
// because the salt setup that follows rewrites every one of their entries
// (initialized being 0); zeroing them first would change nothing.
void reset(NCryptState *state)
{
    std::memset(state->key_schedule, 0, sizeof state->key_schedule);
    auto *from = reinterpret_cast<unsigned char *>(state->result);
    const auto *to = reinterpret_cast<const unsigned char *>(&state->initialized) + sizeof state->initialized;
    std::memset(from, 0, static_cast<size_t>(to - from));
}

// The salt characters that count: at most two, none behind a terminator.
// The copy is taken before the state is touched, as the salt may be text in
// the state itself (a previous result).
struct Salt {
    char chars[3] = {};
    size_t length = 0;

    explicit Salt(const char *salt)
    {
        if (salt == nullptr)
            return;
        while (length < 2 && salt[length] != '\0') {
            chars[length] = salt[length];
            ++length;
        }
    }
};

} // namespace

// The layout is the caller's business too: keep it as published.
static_assert(offsetof(NCryptState, key_schedule) == 0);
static_assert(offsetof(NCryptState, sb0) == 128);
static_assert(offsetof(NCryptState, sb3) == 128 + 3 * 4096 * 8);
static_assert(offsetof(NCryptState, result) == 128 + 4 * 4096 * 8);
static_assert(offsetof(NCryptState, current_salt) == offsetof(NCryptState, result) + 14);
static_assert(offsetof(NCryptState, current_saltbits) == offsetof(NCryptState, current_salt) + 2);
static_assert(offsetof(NCryptState, direction) == offsetof(NCryptState, current_saltbits) + 4);
static_assert(offsetof(NCryptState, initialized) == offsetof(NCryptState, direction) + 4);
static_assert(offsetof(NCryptState, long_result) == offsetof(NCryptState, initialized) + 4);
static_assert(offsetof(NCryptState, block) == offsetof(NCryptState, long_result) + 129);

extern "C" {

char *n_crypt(const char *password, const char *salt, NCryptState *state)
{
    if (state == nullptr)
        return nullptr;
    // Key and salt are read before the state is cleared: either may point
    // into it.
    char key[key_bytes] = {};
    if (password != nullptr)
        for (size_t i = 0; i < key_bytes && password[i] != '\0'; ++i)
            key[i] = password[i];
    const Salt s(salt);

    reset(state);
    _NCryptSetupSalt_r(s.chars, state);
    _NCryptMakeKeyTable_r(key, state);
    uint32_t block[4] = {};
    _NCryptDoEncrypt_r(hash_iterations, state, block);
    _NCryptCalculateFinalPerm_r(block, state);
    _NCryptOutputConversion_r(block[0], block[1], s.chars, state);
    return state->result;
}

char *n_cryptblock(char *password, const char *salt, NCryptState *state)
{
    if (state == nullptr)
        return nullptr;
    const Salt s(salt);
    std::memset(state->long_result, 0, sizeof state->long_result);
    std::memset(state->block, 0, sizeof state->block);
    if (password == nullptr || password[0] == '\0')
        return n_crypt("", s.chars, state);

    std::memcpy(state->long_result, s.chars, s.length);
    size_t length = s.length; // characters in long_result
    size_t used = 0;          // password bytes hashed
    // Each block adds its result less the salt's characters. A one-character
    // salt's result repeats that character, which thus stays in; an empty
    // salt's result is the empty text and adds nothing.
    const size_t piece = s.length == 0 ? 0 : sizeof state->result - 1 - s.length;
    for (size_t blocks = 0; blocks < max_blocks && password[used] != '\0'; ++blocks) {
        if (length + piece > long_result_chars)
            break;
        size_t n = 0;
        while (n < key_bytes && password[used + n] != '\0')
            ++n;
        std::memset(state->block, 0, sizeof state->block);
        std::memcpy(state->block, password + used, n);
        const char *hash = n_crypt(state->block, s.chars, state);
        std::memcpy(state->long_result + length, hash + s.length, piece);
        length += piece;
        used += n;
    }
    // The password counts only as far as it was hashed. A password that
    // ended within the blocks already has its terminator there, and is left
    // untouched (it may be read-only).
    if (password[used] != '\0')
        password[used] = '\0';
    return state->long_result;
}

} // extern "C"
