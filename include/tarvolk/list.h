/*
 * tarvolk/list.h - the doubly linked list.
 *
 * The list puts a hidden header of two links in front of every item: items
 * are allocated by this family, and every operation takes and returns item
 * pointers. An item that is in no list is self-linked. The list does no
 * locking and validates nothing: a null item, an item of another list, or
 * NListDeleteNext behind the last item is the caller's error.
 */
#ifndef TARVOLK_LIST_H
#define TARVOLK_LIST_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

typedef struct NList NList;

/* Compare function of NListMergeSort: negative, zero or positive as left
   sorts before, with or after right. */
typedef NCompareFunc NListCompareFunc;

/* ---- items ---- */

/* An item of size bytes of caller data, self-linked; null on exhaustion.
   The caller's part is not initialised. */
NAPI void *NListAlloc(size_t size);
NAPI void *NListAllocWith(NAllocFunc alloc, size_t size);
/* An item from the arena; zeroed only if the arena clears. */
NAPI void *NIncrListAlloc(NIncrAllocator *arena, size_t size);

/* Releases an item made by NListAlloc. Takes an ignored second argument so
   that it also serves as the item callback of NListFlush: both
   NListFree(item) and NListFlush(list, NListFree, arg) are valid. */
NAPI void NListFree(void *item, void *unused);
#define NListFree(...) (NListFree)(N_FIRST_ARG(__VA_ARGS__), NULL)
/* Gives the item's block to free. */
NAPI void NListFreeWith(void *item, NFreeFunc free_fn);

/* ---- lists ---- */

/* A new empty list whose header comes from alloc; null on failure. */
NAPI NList *NListCreateWith(NAllocFunc alloc);
/* A new empty list whose header lies in the arena; null on failure. */
NAPI NList *NIncrListCreate(NIncrAllocator *arena);
/* Removes all items, each self-linked before fn (if not null) gets it with
   arg; fn may free the item. The list stays usable. */
NAPI void NListFlush(NList *list, NItemFunc fn, void *arg);
/* NListFlush, then free_fn on the header. */
NAPI void NListDestroyWith(NList *list, NItemFunc fn, void *arg, NFreeFunc free_fn);

NAPI void NListInsertAfter(NList *list, void *item, void *after);
NAPI void NListInsertBefore(NList *list, void *item, void *before);
/* Unlinks item and self-links it; it is not freed. */
NAPI void NListDelete(NList *list, void *item);
/* Unlinks and returns the item behind item. */
NAPI void *NListDeleteNext(NList *list, void *item);

NAPI void *NListFirst(NList *list);
NAPI void *NListLast(NList *list);
/* Following and preceding item; null at the ends and for a self-linked
   item. */
NAPI void *NListNext(void *item);
NAPI void *NListPrev(void *item);
/* Item at index (from 0), null unless 0 <= index < count. */
NAPI void *NListNth(NList *list, int32_t index);
/* Pseudo-item in front of the first item: only for NListInsertAfter,
   NListDeleteNext and NListNext; never dereference it. */
NAPI void *NListHead(NList *list);
/* The last item, or the pseudo-item of NListHead when empty. */
NAPI void *NListTail(NList *list);
NAPI int32_t NListNumItems(NList *list);

/* Sorts ascending and stable, with a bottom-up merge sort that allocates
   nothing. compare must touch only the two items it is given. */
NAPI void NListMergeSort(NList *list, NListCompareFunc compare, void *arg);

N_END_DECLS

#endif /* TARVOLK_LIST_H */
