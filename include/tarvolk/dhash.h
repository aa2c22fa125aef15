/*
 * tarvolk/dhash.h - the double hash: a hash table with two keys. Each item
 * hangs in two chains, one for each hash and compare pair, with one
 * allocation and one hidden header. Flush, walk, copy and the cursor go by
 * key 1 and see each item once. Fixed bucket count; duplicates allowed; no
 * locking.
 */
#ifndef TARVOLK_DHASH_H
#define TARVOLK_DHASH_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

typedef struct NDHash NDHash;
typedef struct NDHashCursor NDHashCursor;

NAPI void *NDHashAlloc(size_t size);
NAPI void *NDHashAllocWith(NAllocFunc alloc, size_t size);
/* Releases an item made by NDHashAlloc; also usable as a flush callback. */
NAPI void NDHashFree(void *item, void *unused);
#define NDHashFree(...) (NDHashFree)(N_FIRST_ARG(__VA_ARGS__), NULL)
NAPI void NDHashFreeWith(void *item, NFreeFunc free_fn);

/* A new empty table of `size' buckets for each key; null on failure, and
   for a size of 0 or a null alloc, hash or compare. */
NAPI NDHash *NDHashCreateWith(NAllocFunc alloc, uint32_t size, NHashFunc hash1, void *hash1_arg,
                              NCompareFunc compare1, void *compare1_arg, NHashFunc hash2,
                              void *hash2_arg, NCompareFunc compare2, void *compare2_arg);

/* Pushes the item on both of its chains. */
NAPI void NDHashInsert(NDHash *table, void *item);
/* Unlinks it from both, without hashing. */
NAPI void NDHashDelete(NDHash *table, void *item);
NAPI void *NDHashFind1(NDHash *table, const void *key);
NAPI void *NDHashFind2(NDHash *table, const void *key);
NAPI void *NDHashNext1(NDHash *table, void *item);
NAPI void *NDHashNext2(NDHash *table, void *item);
NAPI int32_t NDHashNumItems(NDHash *table);

/* Removes all items (fn may be null) and clears both bucket arrays. */
NAPI void NDHashFlush(NDHash *table, NItemFunc fn, void *arg);
NAPI void NDHashDestroyWith(NDHash *table, NItemFunc fn, void *arg, NFreeFunc free_fn);

/* Calls fn on the items until one gives non-zero; the result is 0 either
   way. A sorted walk needs compare, which gets compare_arg. 12 when a
   sorted walk can't get its array; NRC_FAILURE for a null fn, or a sorted
   walk without compare. */
NAPI NRC NDHashWalk(NDHash *table, NWalkFunc fn, void *arg, int sorted, NCompareFunc compare,
                    void *compare_arg);
/* A new table with the size and functions of table, holding what copy
   gives for each item. Null on failure. */
NAPI NDHash *NDHashCopy(NDHash *table, NCopyFunc copy, void *arg);

/* The reading-ahead cursor of the hash table, by key 1. */
NAPI NDHashCursor *NDHashCursorOpen(NDHash *table);
NAPI void *NDHashCursorNext(NDHashCursor *cursor);
NAPI void NDHashCursorClose(NDHashCursor *cursor);

N_END_DECLS

#endif /* TARVOLK_DHASH_H */
