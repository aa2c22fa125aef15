// Internal interface of the regular expression front end and its engines.
//
// A compiled expression is one block in three parts: the engine's private
// part, a header of three pointers, and the engine's public part, which is
// the handle callers hold. The header lies directly in front of the handle.
// The public part of either engine starts with the start and end pointers
// of the 10 substrings.
//
// Nothing here names a TRE type: the TRE driver lives in tre_bridge.cpp,
// the only unit that includes TRE's header (its regex_t is not the
// system's).
#pragma once

#include <tarvolk/regexp.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

// Substrings: index 0 the whole match, 1 to 9 the groups.
constexpr int kRegexpSubs = 10;

// The table of an engine.
struct NRegexpApi {
    const char *name;
    NRC (*allocate)(const char *pattern, size_t header_size, void **public_part, void **private_part,
                    void **header);
    NRC (*compile)(const char *pattern, void *public_part, void *private_part);
    NRC (*match)(void *public_part, const char *subject, void *private_part);
    NRC (*subst)(void *public_part, const char *templ, char *destination, void *private_part);
    NRC (*getsub)(void *public_part, int32_t index, char *destination, void *private_part);
    void (*free)(void *public_part, void *private_part);
    void (*dump)(void *public_part, void *private_part);
};

// The header in front of the public part.
struct NRegexpHeader {
    const NRegexpApi *api;
    void *public_part;
    void *private_part;
};

extern const NRegexpApi nregex_api_tre;
extern const NRegexpApi nregex_api_tarvolk;
// The engine of the next compilation. An atomic, so that a switch racing a
// compilation in another thread is no data race; every access is relaxed.
extern std::atomic<const NRegexpApi *> nregex_api_impl;

// The start and end pointers at the front of every public part.
struct NRegexpSubs {
    const char *start[kRegexpSubs];
    const char *end[kRegexpSubs];
};

namespace tvk::regexp {

// One zeroed block of n_malloc: private_size bytes (rounded up so that the
// header stays aligned), the header, public_size bytes. The private part is
// the start of the block, so n_free(private part) releases it. 12 when the
// size overflows or the allocation fails.
NRC allocate_block(size_t private_size, size_t header_size, size_t public_size, void **public_part,
                   void **private_part, void **header);

// Copies the bytes from start to end, and a NUL, to destination. It stops
// early at a NUL of the subject (which has then changed since the match).
void copy_sub(const char *start, const char *end, char *destination);

// The substitution shared by both engines, on the substrings of the last
// match (null pointers for groups that took no part): 0, or
// NRC_REGEXP_BAD_MATCH when a copied group ends in a NUL.
NRC substitute(const NRegexpSubs &subs, const char *templ, char *destination);

} // namespace tvk::regexp

// Entries of the TRE table (tre_bridge.cpp).
NRC _NRegexpTreAllocate(const char *pattern, size_t header_size, void **public_part, void **private_part,
                        void **header);
NRC _NRegexpTreCompile(const char *pattern, void *public_part, void *private_part);
NRC _NRegexpTreMatch(void *public_part, const char *subject, void *private_part);
NRC _NRegexpTreSubst(void *public_part, const char *templ, char *destination, void *private_part);
NRC _NRegexpTreGetSub(void *public_part, int32_t index, char *destination, void *private_part);
void _NRegexpTreFree(void *public_part, void *private_part);
void _NRegexpTreDump(void *public_part, void *private_part);

// Entries of the library's own engine (native.cpp).
NRC _NRegexpTarvolkAllocate(const char *pattern, size_t header_size, void **public_part,
                            void **private_part, void **header);
NRC _NRegexpTarvolkCompile(const char *pattern, void *public_part, void *private_part);
NRC _NRegexpTarvolkMatch(void *public_part, const char *subject, void *private_part);
NRC _NRegexpTarvolkSubst(void *public_part, const char *templ, char *destination, void *private_part);
NRC _NRegexpTarvolkGetSub(void *public_part, int32_t index, char *destination, void *private_part);
void _NRegexpTarvolkFree(void *public_part, void *private_part);
void _NRegexpTarvolkDump(void *public_part, void *private_part);

namespace tvk::regexp {

// Deepest recursion of the native interpreter. A match that would go deeper
// (a repeated group over a very long subject) gives NRC_FAILURE instead of
// running off the stack.
constexpr unsigned kNativeDepthLimit = 10000;

// Optional limit on the native interpreter's steps for the calling thread,
// 0 for none (the default). Only the fuzz targets set it, so that inputs
// that backtrack exponentially end in NRC_FAILURE within their time.
void set_native_step_limit(uint64_t steps);

} // namespace tvk::regexp
