// The DES machinery of the password hash: the tables of the standard (FIPS
// PUB 46), the process-wide tables derived from them, and the steps that
// n_crypt runs on the caller's state.
//
// Representation. The rounds never hold a DES half as its 32 bits: they hold
// its expansion E (48 bits) as one 64-bit word, so that the key can be XORed
// in and the S-box inputs picked out without any permuting. Expansion bits
// 1-24 lie in the low 32-bit word, 25-48 in the high word; each word holds two
// lanes of 16 bits, and a lane carries the 12 bits of two S-box inputs in its
// bits 3-14 (first expansion bit highest). A lane masked with 0x7ff8 is thus
// directly the byte offset of an 8-byte entry in a table of 4096. Each entry
// of the four S-box tables holds the output of its two S-boxes already sent
// through P and then through E, in that same form, so that one round is four
// lookups XORed into the other half. The salt exchanges expansion bit i with
// bit i + 24 (i = 1..12): in this form that is an exchange of equal bit
// positions between the low and the high word, applied to every table entry
// once per salt. At the end the exchange is undone and the 32 bits of each
// half are read from the middle four bits of each group of six.
#include <tarvolk/crypt.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace {

// --- The tables of the standard, 1-based bit numbers as published. ---

constexpr unsigned char pc1_table[56] = {
    57, 49, 41, 33, 25, 17, 9,  1,  58, 50, 42, 34, 26, 18, 10, 2,  59, 51, 43,
    35, 27, 19, 11, 3,  60, 52, 44, 36, 63, 55, 47, 39, 31, 23, 15, 7,  62, 54,
    46, 38, 30, 22, 14, 6,  61, 53, 45, 37, 29, 21, 13, 5,  28, 20, 12, 4};

constexpr unsigned char pc2_table[48] = {
    14, 17, 11, 24, 1,  5,  3,  28, 15, 6,  21, 10, 23, 19, 12, 4,
    26, 8,  16, 7,  27, 20, 13, 2,  41, 52, 31, 37, 47, 55, 30, 40,
    51, 45, 33, 48, 44, 49, 39, 56, 34, 53, 46, 42, 50, 36, 29, 32};

constexpr unsigned char rotations[16] = {1, 1, 2, 2, 2, 2, 2, 2, 1, 2, 2, 2, 2, 2, 2, 1};

constexpr unsigned char e_table[48] = {
    32, 1,  2,  3,  4,  5,  4,  5,  6,  7,  8,  9,  8,  9,  10, 11,
    12, 13, 12, 13, 14, 15, 16, 17, 16, 17, 18, 19, 20, 21, 20, 21,
    22, 23, 24, 25, 24, 25, 26, 27, 28, 29, 28, 29, 30, 31, 32, 1};

constexpr unsigned char p_table[32] = {16, 7, 20, 21, 29, 12, 28, 17, 1,  15, 23, 26, 5,  18, 31, 10,
                                       2,  8, 24, 14, 32, 27, 3,  9,  19, 13, 30, 6,  22, 11, 4,  25};

// The final permutation, the inverse of the initial one.
constexpr unsigned char fp_table[64] = {
    40, 8, 48, 16, 56, 24, 64, 32, 39, 7, 47, 15, 55, 23, 63, 31, 38, 6, 46, 14, 54, 22,
    62, 30, 37, 5, 45, 13, 53, 21, 61, 29, 36, 4, 44, 12, 52, 20, 60, 28, 35, 3, 43, 11,
    51, 19, 59, 27, 34, 2, 42, 10, 50, 18, 58, 26, 33, 1, 41, 9,  49, 17, 57, 25};

// S-boxes 1-8, each as 4 rows of 16.
constexpr unsigned char s_boxes[8][64] = {
    {14, 4,  13, 1, 2,  15, 11, 8,  3,  10, 6,  12, 5,  9,  0, 7,  0, 15, 7,  4,  14, 2,
     13, 1,  10, 6, 12, 11, 9,  5,  3,  8,  4,  1,  14, 8,  13, 6, 2, 11, 15, 12, 9,  7,
     3,  10, 5,  0, 15, 12, 8,  2,  4,  9,  1,  7,  5,  11, 3,  14, 10, 0,  6,  13},
    {15, 1,  8,  14, 6,  11, 3,  4,  9,  7, 2,  13, 12, 0, 5,  10, 3,  13, 4,  7,  15, 2,
     8,  14, 12, 0,  1,  10, 6,  9,  11, 5, 0,  14, 7,  11, 10, 4, 13, 1,  5,  8,  12, 6,
     9,  3,  2,  15, 13, 8,  10, 1,  3,  15, 4,  2,  11, 6,  7,  12, 0,  5,  14, 9},
    {10, 0,  9,  14, 6,  3,  15, 5,  1,  13, 12, 7,  11, 4,  2,  8,  13, 7, 0, 9,  3, 4,
     6,  10, 2,  8,  5,  14, 12, 11, 15, 1,  13, 6,  4,  9,  8,  15, 3,  0, 11, 1, 2, 12,
     5,  10, 14, 7,  1,  10, 13, 0,  6,  9,  8,  7,  4,  15, 14, 3,  11, 5,  2,  12},
    {7,  13, 14, 3,  0,  6,  9,  10, 1,  2, 8,  5,  11, 12, 4,  15, 13, 8,  11, 5,  6,  15,
     0,  3,  4,  7,  2,  12, 1,  10, 14, 9, 10, 6,  9,  0,  12, 11, 7,  13, 15, 1,  3,  14,
     5,  2,  8,  4,  3,  15, 0,  6,  10, 1, 13, 8,  9,  4,  5,  11, 12, 7,  2,  14},
    {2,  12, 4,  1,  7,  10, 11, 6,  8,  5, 3,  15, 13, 0,  14, 9,  14, 11, 2,  12, 4,  7,
     13, 1,  5,  0,  15, 10, 3,  9,  8,  6, 4,  2,  1,  11, 10, 13, 7,  8,  15, 9,  12, 5,
     6,  3,  0,  14, 11, 8,  12, 7,  1,  14, 2, 13, 6,  15, 0,  9,  10, 4,  5,  3},
    {12, 1,  10, 15, 9,  2,  6,  8,  0,  13, 3,  4,  14, 7,  5,  11, 10, 15, 4,  2,  7,  12,
     9,  5,  6,  1,  13, 14, 0,  11, 3,  8,  9,  14, 15, 5,  2,  8,  12, 3,  7,  0,  4,  10,
     1,  13, 11, 6,  4,  3,  2,  12, 9,  5,  15, 10, 11, 14, 1,  7,  6,  0,  8,  13},
    {4,  11, 2,  14, 15, 0,  8,  13, 3,  12, 9,  7,  5,  10, 6,  1,  13, 0,  11, 7,  4,  9,
     1,  10, 14, 3,  5,  12, 2,  15, 8,  6,  1,  4,  11, 13, 12, 3,  7,  14, 10, 15, 6,  8,
     0,  5,  9,  2,  6,  11, 13, 8,  1,  4,  10, 7,  9,  5,  0,  15, 14, 2,  3,  12},
    {13, 2,  8,  4,  6,  15, 11, 1,  10, 9,  3,  14, 5,  0,  12, 7,  1,  15, 13, 8,  10, 3,
     7,  4,  12, 5,  6,  11, 0,  14, 9,  2,  7,  11, 4,  1,  9,  12, 14, 2,  0,  6,  10, 13,
     15, 3,  5,  8,  2,  1,  14, 7,  4,  10, 8,  13, 15, 12, 9,  0,  3,  5,  6,  11}};

constexpr char hash_alphabet[] = "./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

constexpr size_t table_entries = 4096;

// Bit position, in the 64-bit form, of expansion bit j (0-based, 0..47).
constexpr unsigned expansion_position(unsigned j)
{
    const unsigned half = j / 24, k = j % 24;
    return 32 * half + 16 * (k / 12) + 3 + (11 - k % 12);
}

// Shift that brings the middle four bits of expansion group g (0..7), which
// are bits 4g+1..4g+4 of the half, to the bottom of the word.
constexpr unsigned group_middle_shift(unsigned g)
{
    return expansion_position(6 * g + 4);
}

// The S-box output for a 6-bit input: row from the outer bits, column from
// the inner four.
constexpr unsigned s_box(unsigned box, unsigned input)
{
    return s_boxes[box][16 * (((input >> 4) & 2) | (input & 1)) + ((input >> 1) & 15)];
}

// The process-wide tables: the key permutations, P and E merged, and the
// final permutation. The S-box tables of a state are built from the fifth,
// which holds each S-box already sent through P and E.
struct Tables {
    // PC-1 per key byte: the 28-bit C and D contributions of its 7 bits.
    std::array<std::array<std::array<uint32_t, 2>, 128>, 8> pc1{};
    // PC-2 per 7-bit piece of C (pieces 0-3) and D (4-7): the round key bits.
    std::array<std::array<uint64_t, 128>, 8> pc2{};
    // P then E, per byte of the S-box output (S-boxes 2t+1 and 2t+2).
    std::array<std::array<uint64_t, 256>, 4> eperm{};
    // The final permutation, per middle nibble of the 16 expansion groups of
    // the two halves: the output bits, bit 1 highest.
    std::array<std::array<uint64_t, 16>, 16> fp{};
    // Per table t, S-box 2t+1 by its input (0-63) and S-box 2t+2 by its
    // input (64-127), each through P and E. Since P and E only move bits,
    // an entry of table t is the XOR of one of each.
    std::array<std::array<uint64_t, 128>, 4> sbox_pe{};

    Tables();
};

Tables::Tables()
{
    for (unsigned byte = 0; byte < 8; ++byte) {
        for (unsigned value = 0; value < 128; ++value) {
            for (unsigned j = 0; j < 56; ++j) {
                const unsigned src = pc1_table[j] - 1u, bit = src % 8;
                // The password byte sits in the key byte shifted up by one;
                // bit 8 of each key byte is parity and never set.
                if (src / 8 != byte || bit == 7 || ((value >> (6 - bit)) & 1) == 0)
                    continue;
                pc1[byte][value][j / 28] |= uint32_t{1} << (27 - j % 28);
            }
        }
    }
    for (unsigned piece = 0; piece < 8; ++piece) {
        for (unsigned value = 0; value < 128; ++value) {
            for (unsigned j = 0; j < 48; ++j) {
                const unsigned src = pc2_table[j] - 1u;
                if (src / 7 == piece && ((value >> (6 - src % 7)) & 1) != 0)
                    pc2[piece][value] |= uint64_t{1} << expansion_position(j);
            }
        }
    }
    for (unsigned byte = 0; byte < 4; ++byte) {
        for (unsigned value = 0; value < 256; ++value) {
            for (unsigned j = 0; j < 48; ++j) {
                const unsigned src = p_table[e_table[j] - 1u] - 1u;
                if (src / 8 == byte && ((value >> (7 - src % 8)) & 1) != 0)
                    eperm[byte][value] |= uint64_t{1} << expansion_position(j);
            }
        }
    }
    for (unsigned nibble = 0; nibble < 16; ++nibble) {
        for (unsigned value = 0; value < 16; ++value) {
            for (unsigned i = 0; i < 64; ++i) {
                const unsigned src = fp_table[i] - 1u;
                if (src / 4 == nibble && ((value >> (3 - src % 4)) & 1) != 0)
                    fp[nibble][value] |= uint64_t{1} << (63 - i);
            }
        }
    }
    for (unsigned t = 0; t < 4; ++t) {
        for (unsigned input = 0; input < 64; ++input) {
            sbox_pe[t][input] = eperm[t][s_box(2 * t, input) << 4];
            sbox_pe[t][64 + input] = eperm[t][s_box(2 * t + 1, input)];
        }
    }
}

// Built by the first hash in any thread; the language guards the build.
const Tables &tables()
{
    static const Tables built;
    return built;
}

uint64_t *state_table(NCryptState *state, unsigned t)
{
    switch (t) {
    case 0: return state->sb0;
    case 1: return state->sb1;
    case 2: return state->sb2;
    default: return state->sb3;
    }
}

// Exchanges the bits under mask (a mask over one 32-bit word) between the low
// and the high word.
inline uint64_t swap_halves(uint64_t v, uint64_t mask)
{
    const uint64_t t = (v ^ (v >> 32)) & mask;
    return v ^ t ^ (t << 32);
}

// The state's four tables, built with the salt mask applied. An entry for
// the inputs a (high 6 index bits) and b (low 6) is the XOR of the two
// S-boxes' parts; the exchange of the salt moves bits alike in both, so it is
// applied to the 128 parts rather than to the 4096 entries. What remains is
// writing 128 KiB, which is what the build costs.
//
// The table is written in order, and each row after the first as the row
// before it XORed with the change of the first part. Computing every row from
// the second parts directly would load those parts beside the stream of
// stores; such loads are often taken for dependants of stores 4 KiB apart and
// held back, which made the build up to 70% slower depending on where the
// caller's state lies. The previous row lies 512 bytes back, never 4 KiB.
void build_tables(NCryptState *state, uint32_t mask)
{
    const Tables &g = tables();
    for (unsigned t = 0; t < 4; ++t) {
        uint64_t *dst = state_table(state, t);
        const uint64_t first = swap_halves(g.sbox_pe[t][0], mask);
        for (unsigned b = 0; b < 64; ++b)
            dst[b] = first ^ swap_halves(g.sbox_pe[t][64 + b], mask);
        for (unsigned a = 1; a < 64; ++a) {
            const uint64_t change = swap_halves(g.sbox_pe[t][a] ^ g.sbox_pe[t][a - 1], mask);
            uint64_t *row = dst + 64 * a;
            for (unsigned b = 0; b < 64; ++b)
                row[b] = (row - 64)[b] ^ change;
        }
    }
}

// The 6-bit value of a salt character. The byte is taken as unsigned, so
// that every byte has one well-defined value.
uint32_t salt_value(char c)
{
    const int u = static_cast<unsigned char>(c);
    const int v = u >= 97 ? u - 59 : u >= 65 ? u - 53 : u - 46;
    return static_cast<uint32_t>(v) & 63;
}

// The 12 salt bits as a mask over one word of the 64-bit form: salt bit i
// marks the position of expansion bit i.
uint32_t salt_mask(char first, char second)
{
    const uint32_t bits = salt_value(first) | salt_value(second) << 6;
    uint32_t mask = 0;
    for (unsigned i = 0; i < 12; ++i)
        if ((bits >> i) & 1)
            mask |= uint32_t{1} << expansion_position(i);
    return mask;
}

inline uint64_t entry_at(const unsigned char *table, uint64_t offset)
{
    uint64_t v;
    std::memcpy(&v, table + offset, sizeof v);
    return v;
}

} // namespace

extern "C" {

void _NCryptInitDES_r(NCryptState *state)
{
    if (state == nullptr)
        return;
    build_tables(state, 0);
    state->current_salt[0] = state->current_salt[1] = '\0';
    state->current_saltbits = 0;
    state->direction = 0;
    state->initialized = 1;
}

void _NCryptSetupSalt_r(const char *salt, NCryptState *state)
{
    if (state == nullptr)
        return;
    if (salt == nullptr)
        salt = "";
    const char first = salt[0], second = first != '\0' ? salt[1] : '\0';
    // A state not built yet gets its tables built once, with the salt in
    // them, rather than built unsalted and then rewritten: same contents,
    // one pass over the 128 KiB instead of two.
    const bool fresh = state->initialized == 0;
    if (fresh) {
        state->current_salt[0] = state->current_salt[1] = '\0';
        state->current_saltbits = 0;
        state->direction = 0;
        state->initialized = 1;
    }
    if (first == state->current_salt[0] && second == state->current_salt[1]) {
        if (fresh)
            build_tables(state, 0);
        return;
    }
    state->current_salt[0] = first;
    state->current_salt[1] = second;
    const uint32_t mask = salt_mask(first, second);
    if (fresh) {
        build_tables(state, mask);
    } else {
        // The tables hold the old salt's exchange; exchanging the bits where
        // old and new masks differ leaves them holding the new one.
        const uint64_t change = mask ^ state->current_saltbits;
        if (change != 0) {
            for (unsigned t = 0; t < 4; ++t) {
                uint64_t *table = state_table(state, t);
                for (size_t i = 0; i < table_entries; ++i)
                    table[i] = swap_halves(table[i], change);
            }
        }
    }
    state->current_saltbits = mask;
}

void _NCryptMakeKeyTable_r(const char *key, NCryptState *state)
{
    if (key == nullptr || state == nullptr)
        return;
    const Tables &g = tables();
    uint32_t c = 0, d = 0;
    for (unsigned i = 0; i < 8; ++i) {
        const unsigned v = static_cast<unsigned char>(key[i]) & 0x7fu;
        c |= g.pc1[i][v][0];
        d |= g.pc1[i][v][1];
    }
    for (unsigned round = 0; round < 16; ++round) {
        const unsigned n = rotations[round];
        c = ((c << n) | (c >> (28 - n))) & 0x0fffffffu;
        d = ((d << n) | (d >> (28 - n))) & 0x0fffffffu;
        uint64_t k = 0;
        for (unsigned piece = 0; piece < 4; ++piece) {
            const unsigned shift = 21 - 7 * piece;
            k |= g.pc2[piece][(c >> shift) & 0x7f] | g.pc2[4 + piece][(d >> shift) & 0x7f];
        }
        state->key_schedule[round][0] = static_cast<uint32_t>(k);
        state->key_schedule[round][1] = static_cast<uint32_t>(k >> 32);
    }
}

void _NCryptDoEncrypt_r(uint32_t iterations, NCryptState *state, uint32_t *block)
{
    if (state == nullptr || block == nullptr)
        return;
    uint64_t keys[16];
    for (unsigned i = 0; i < 16; ++i)
        keys[i] = state->key_schedule[i][0] | uint64_t{state->key_schedule[i][1]} << 32;
    const auto *sb0 = reinterpret_cast<const unsigned char *>(state->sb0);
    const auto *sb1 = reinterpret_cast<const unsigned char *>(state->sb1);
    const auto *sb2 = reinterpret_cast<const unsigned char *>(state->sb2);
    const auto *sb3 = reinterpret_cast<const unsigned char *>(state->sb3);
    // S-boxes, P and E for one round. The masks keep every offset inside its
    // table whatever the block holds.
    const auto f = [=](uint64_t s) {
        return entry_at(sb0, s & 0x7ff8) ^ entry_at(sb1, (s >> 16) & 0x7ff8) ^
               entry_at(sb2, (s >> 32) & 0x7ff8) ^ entry_at(sb3, (s >> 48) & 0x7ff8);
    };
    uint64_t l = block[0] | uint64_t{block[1]} << 32;
    uint64_t r = block[2] | uint64_t{block[3]} << 32;
    while (iterations-- > 0) {
        for (unsigned i = 0; i < 16; i += 2) {
            l ^= f(keys[i] ^ r);
            r ^= f(keys[i + 1] ^ l);
        }
        std::swap(l, r);
    }
    block[0] = static_cast<uint32_t>(l);
    block[1] = static_cast<uint32_t>(l >> 32);
    block[2] = static_cast<uint32_t>(r);
    block[3] = static_cast<uint32_t>(r >> 32);
}

void _NCryptCalculateFinalPerm_r(uint32_t *block, NCryptState *state)
{
    if (block == nullptr || state == nullptr)
        return;
    const Tables &g = tables();
    const uint64_t mask = state->current_saltbits;
    const uint64_t l = swap_halves(block[0] | uint64_t{block[1]} << 32, mask);
    const uint64_t r = swap_halves(block[2] | uint64_t{block[3]} << 32, mask);
    uint64_t out = 0;
    for (unsigned group = 0; group < 8; ++group) {
        const unsigned shift = group_middle_shift(group);
        out |= g.fp[group][(l >> shift) & 15] | g.fp[8 + group][(r >> shift) & 15];
    }
    block[0] = static_cast<uint32_t>(out >> 32);
    block[1] = static_cast<uint32_t>(out);
}

void _NCryptOutputConversion_r(uint32_t v1, uint32_t v2, const char *salt, NCryptState *state)
{
    if (state == nullptr)
        return;
    if (salt == nullptr)
        salt = "";
    char *out = state->result;
    out[0] = salt[0];
    const char second = salt[0] != '\0' ? salt[1] : '\0';
    out[1] = second != '\0' ? second : salt[0];
    const uint64_t bits = uint64_t{v1} << 32 | v2;
    for (unsigned i = 0; i < 10; ++i)
        out[2 + i] = hash_alphabet[(bits >> (58 - 6 * i)) & 63];
    out[12] = hash_alphabet[(bits & 15) << 2];
    out[13] = '\0';
}

} // extern "C"
