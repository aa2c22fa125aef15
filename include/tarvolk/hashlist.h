/*
 * tarvolk/hashlist.h - the hash list: an ordered list whose items are also
 * found by key through a hash index. One allocation and one hidden header
 * serve both. The bucket count is fixed at creation; duplicates are allowed;
 * no locking.
 *
 * Unlike the list, a deleted item is not self-linked, and a new item's links
 * are undefined: NHashListNext and NHashListPrev are for items in a table.
 */
#ifndef TARVOLK_HASHLIST_H
#define TARVOLK_HASHLIST_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

typedef struct NHashList NHashList;

/* ---- items ---- */

NAPI void *NHashListAlloc(size_t size);
NAPI void *NHashListAllocWith(NAllocFunc alloc, size_t size);
NAPI void *NIncrHashListAlloc(NIncrAllocator *arena, size_t size);
/* Releases an item made by NHashListAlloc; also usable as the item
   callback of NHashListFlush. */
NAPI void NHashListFree(void *item, void *unused);
#define NHashListFree(...) (NHashListFree)(N_FIRST_ARG(__VA_ARGS__), NULL)
NAPI void NHashListFreeWith(void *item, NFreeFunc free_fn);

/* ---- tables ---- */

/* A new empty table; null on failure, and for a size of 0, a null alloc
   (arena), hash or compare. */
NAPI NHashList *NHashListCreateWith(NAllocFunc alloc, uint32_t size, NHashFunc hash,
                                    void *hash_arg, NCompareFunc compare, void *compare_arg);
NAPI NHashList *NIncrHashListCreate(NIncrAllocator *arena, uint32_t size, NHashFunc hash,
                                    void *hash_arg, NCompareFunc compare, void *compare_arg);

/* Link the item into the list behind `after' (or in front of `before') and
   into its hash chain. NHashListHead and NHashListTail give the places for
   prepending and appending. */
NAPI void NHashListInsertAfter(NHashList *table, void *item, void *after);
NAPI void NHashListInsertBefore(NHashList *table, void *item, void *before);
/* Unlinks the item from list and chain; its own links stay as they were. */
NAPI void NHashListDelete(NHashList *table, void *item);
/* Unlinks and returns the item behind item; null, and nothing changes, when
   item is the last. */
NAPI void *NHashListDeleteNext(NHashList *table, void *item);

NAPI void *NHashListFirst(NHashList *table);
NAPI void *NHashListLast(NHashList *table);
NAPI void *NHashListNext(void *item);
NAPI void *NHashListPrev(void *item);
NAPI void *NHashListHead(NHashList *table);
NAPI void *NHashListTail(NHashList *table);
NAPI int32_t NHashListNumItems(NHashList *table);

/* The newest item equal to key, else null; the next older equal item. */
NAPI void *NHashListFind(NHashList *table, const void *key);
NAPI void *NHashListNextHash(NHashList *table, void *item);

/* Removes all items in list order, fn (may be null) getting each after its
   link was read; the table keeps its functions. */
NAPI void NHashListFlush(NHashList *table, NItemFunc fn, void *arg);
NAPI void NHashListDestroyWith(NHashList *table, NItemFunc fn, void *arg, NFreeFunc free_fn);

N_END_DECLS

#endif /* TARVOLK_HASHLIST_H */
