/*
 * tarvolk/hashtable.h - the chained hash table.
 *
 * Items carry a hidden header and are allocated by this family; every
 * operation takes and returns item pointers. The bucket count is fixed at
 * creation: the table never grows. Duplicates are allowed. A key given to a
 * find goes to the same hash and compare functions as items, so keys and
 * items must share one form as far as those functions look. No locking.
 */
#ifndef TARVOLK_HASHTABLE_H
#define TARVOLK_HASHTABLE_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

typedef struct NHash NHash;
typedef struct NHashCursor NHashCursor;
typedef struct NHashCursorCurrent NHashCursorCurrent;

/* ---- items ---- */

/* An item of size bytes of caller data; null on exhaustion. Nothing is
   initialised. */
NAPI void *NHashAlloc(size_t size);
NAPI void *NHashAllocWith(NAllocFunc alloc, size_t size);
NAPI void *NHashIncrAlloc(NIncrAllocator *arena, size_t size);
/* Releases an item made by NHashAlloc; also usable as the item callback of
   NHashFlush (the second argument is ignored). */
NAPI void NHashFree(void *item, void *unused);
#define NHashFree(...) (NHashFree)(N_FIRST_ARG(__VA_ARGS__), NULL)
NAPI void NHashFreeWith(void *item, NFreeFunc free_fn);

/* ---- tables ---- */

/* A new empty table of `size' buckets. Null when alloc fails, and for a
   size of 0, a null alloc, hash or compare. */
NAPI NHash *NHashCreateWith(NAllocFunc alloc, uint32_t size, NHashFunc hash, void *hash_arg,
                            NCompareFunc compare, void *compare_arg);
/* Removes all items, bucket by bucket, each chain newest first; fn gets
   each item (after its link was read, so it may free it) and arg. A null fn
   only empties the table. */
NAPI void NHashFlush(NHash *table, NItemFunc fn, void *arg);
/* NHashFlush, then free_fn on the table. */
NAPI void NHashDestroyWith(NHash *table, NItemFunc fn, void *arg, NFreeFunc free_fn);

/* Pushes the item on the front of its chain; no comparison is made. */
NAPI void NHashInsert(NHash *table, void *item);
/* Unlinks the item without hashing; it is not freed. */
NAPI void NHashDelete(NHash *table, void *item);
/* The newest item equal to key (compare(key, item)), else null. */
NAPI void *NHashFind(NHash *table, const void *key);
/* The next older item of item's chain equal to it (compare(item, other)),
   else null. */
NAPI void *NHashNext(NHash *table, void *item);
NAPI int32_t NHashNumItems(NHash *table);

/*
 * Calls fn(item, arg) on every item until one gives non-zero, which is
 * returned; else 0. Unsorted: bucket by bucket, each chain newest first;
 * fn must leave its item in the table. Sorted: on a snapshot sorted with
 * `compare' (null: the table's), always with the table's compare argument;
 * fn may then delete and free its own item. 12 when a sorted walk can't get
 * its array (fn is not called). NRC_FAILURE for a null fn.
 */
NAPI NRC NHashWalk(NHash *table, NWalkFunc fn, void *arg, int sorted, NCompareFunc compare);

/* A new table with the size and functions of table, holding what copy
   gives for each item (null leaves an item out). Null on exhaustion or for
   a null copy function. */
NAPI NHash *NHashCopy(NHash *table, NCopyFunc copy, void *arg);

/* ---- string hashes: NUL-terminated text; usable as a table's hash
   function, whose second argument they ignore ---- */

/* Sum of the bytes, modulo 2^32. */
NAPI uint32_t NHashString1(const void *text, void *unused);
#define NHashString1(...) (NHashString1)(N_FIRST_ARG(__VA_ARGS__), NULL)
/* Shift-and-fold hash; never sets the top four bits. */
NAPI uint32_t NHashString2(const void *text, void *unused);
#define NHashString2(...) (NHashString2)(N_FIRST_ARG(__VA_ARGS__), NULL)
/* NHashString2 over the upper-cased bytes (the current locale's toupper),
   to go with strcasecmp-like compare functions. */
NAPI uint32_t NHashStringIC(const void *text, void *unused);
#define NHashStringIC(...) (NHashStringIC)(N_FIRST_ARG(__VA_ARGS__), NULL)

/* ---- cursors: buckets in ascending order, each chain newest first ---- */

/* Reads one item ahead: the item last returned may be deleted (and freed),
   but not its successor. Null on exhaustion. */
NAPI NHashCursor *NHashCursorOpen(NHash *table);
NAPI void *NHashCursorNext(NHashCursor *cursor);
NAPI void NHashCursorClose(NHashCursor *cursor);

/* Holds its place: the successor of the item last returned may be deleted,
   but not that item itself. Null on exhaustion. */
NAPI NHashCursorCurrent *NHashCursorCurrentOpen(NHash *table);
NAPI void *NHashCursorCurrentNext(NHashCursorCurrent *cursor);
NAPI void NHashCursorCurrentClose(NHashCursorCurrent *cursor);

N_END_DECLS

#endif /* TARVOLK_HASHTABLE_H */
