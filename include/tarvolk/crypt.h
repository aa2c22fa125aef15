/*
 * tarvolk/crypt.h - the traditional Unix DES password hash: 25 DES
 * encryptions of a zero block, keyed by the first 8 bytes of the password
 * (the low 7 bits of each) and perturbed by a 12-bit salt, written as 13
 * characters of [./0-9A-Za-z], the first two being the salt. For a salt of
 * two characters of that alphabet the text equals the one of the system's
 * crypt(3).
 *
 * Reentrant: everything that depends on the key or the salt lives in an
 * NCryptState given by the caller; the process-wide tables are built once,
 * safely, by the first hash in any thread. A state serves one thread at a
 * time; it is large (about 128 KiB), so give it a heap or static home.
 *
 * Salt characters: each byte, taken as unsigned (0-255), gives a 6-bit
 * value: from 97 up less 59, from 65 up less 53, below that less 46, of
 * which the low 6 bits count. That is the alphabet's numbering for its own
 * characters and well defined for any other byte. The salt is read up to
 * its terminator and no further: a salt of one character hashes as if its
 * second were NUL and repeats its first character in the result; an empty
 * (or null) salt applies no perturbation at all (the hash of the salt "..")
 * and gives a result text that starts with NUL, i.e. the empty string.
 */
#ifndef TARVOLK_CRYPT_H
#define TARVOLK_CRYPT_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

/*
 * The caller's hashing state. Its layout is public so that the caller can
 * provide it; its contents belong to the functions below. The rounds work
 * on the DES halves in their expanded (48-bit) form, each kept as two
 * 32-bit words of 24 bits: the first word holds expansion bits 1-24, the
 * second bits 25-48. An S-box table entry is one 64-bit value whose low
 * word is its first half and whose high word is its second.
 */
typedef struct NCryptState {
    uint32_t key_schedule[16][2]; /* round keys 1-16, first and second word */
    uint64_t sb0[4096];           /* S-boxes 1+2, then P and the expansion */
    uint64_t sb1[4096];           /* S-boxes 3+4 */
    uint64_t sb2[4096];           /* S-boxes 5+6 */
    uint64_t sb3[4096];           /* S-boxes 7+8; all four salted */
    char result[14];              /* n_crypt's text and its terminator */
    char current_salt[2];         /* the salt characters the tables hold */
    uint32_t current_saltbits;    /* that salt as a mask over each word */
    int32_t direction;            /* 0: the hash always encrypts */
    int32_t initialized;          /* non-zero once sb0-sb3 are built */
    char long_result[129];        /* n_cryptblock's text and its terminator */
    char block[9];                /* the 8 bytes n_cryptblock hashes last */
} NCryptState;

/* The hash of password (its first 8 bytes count) with the first two
   characters of salt, in state->result, which is returned. A null
   password hashes as the empty one, a null salt as the empty one; a null
   state gives null. The state need not be prepared: every call starts it
   afresh (long_result and block excepted). */
NAPI char *n_crypt(const char *password, const char *salt, NCryptState *state);

/* The hash of a long password: the salt (its first two characters or
   fewer), then for each 8-byte block of the password the n_crypt text of
   that block alone without its salt characters, in state->long_result,
   which is returned. Blocks are taken while one more fits in the 128
   characters of long_result, and never more than 16: with a two-character
   salt that is 11 blocks (88 bytes), with one character 10 blocks. A
   password longer than the blocks taken is cut in place: a NUL is written
   behind the last byte used (nothing is written into a password that ends
   within them). An empty or null password gives n_crypt of the empty
   password, i.e. state->result, with long_result empty. A null state
   gives null. */
NAPI char *n_cryptblock(char *password, const char *salt, NCryptState *state);

/* The steps of n_crypt, for callers that drive them one by one. */

/* Builds the process-wide tables if need be, then the state's four tables
   without salt; current_salt becomes two NULs, current_saltbits and
   direction 0, initialized 1. */
NAPI void _NCryptInitDES_r(NCryptState *state);
/* Builds the state if initialized is 0; then, unless salt's first two
   characters (the second not read if the first is NUL) equal current_salt,
   applies that salt to the four tables and records it. */
NAPI void _NCryptSetupSalt_r(const char *salt, NCryptState *state);
/* key_schedule from exactly 8 key bytes, of which the low 7 bits count. */
NAPI void _NCryptMakeKeyTable_r(const char *key, NCryptState *state);
/* Runs iterations times the 16 DES rounds on block, the two halves in
   expanded form (words 0-1 the left half, 2-3 the right), exchanging the
   halves after each iteration. A zero block is the zero DES block. */
NAPI void _NCryptDoEncrypt_r(uint32_t iterations, NCryptState *state, uint32_t *block);
/* Undoes the salt's perturbation of the expanded halves in block and
   applies the final permutation: block[0] and block[1] become the 64 bits
   of the DES output, bit 1 at the top of block[0]. */
NAPI void _NCryptCalculateFinalPerm_r(uint32_t *block, NCryptState *state);
/* Writes state->result: the two salt characters (the first again if the
   second is NUL; the second not read if the first is NUL), then v1 and v2
   six bits at a time from the top as 11 characters of the hash alphabet,
   the last taking the final 4 bits shifted up by 2, then a terminator. */
NAPI void _NCryptOutputConversion_r(uint32_t v1, uint32_t v2, const char *salt, NCryptState *state);

N_END_DECLS

#endif /* TARVOLK_CRYPT_H */
