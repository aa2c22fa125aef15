/*
 * tarvolk/tree.h - the ordered set: a height-balanced (AVL) binary search
 * tree with unique keys. Items carry a hidden header and are allocated by
 * this family; every operation takes and returns item pointers. Items never
 * move: deletion relinks nodes. No locking.
 */
#ifndef TARVOLK_TREE_H
#define TARVOLK_TREE_H

#include <stdio.h>

#include <tarvolk/common.h>

N_BEGIN_DECLS

typedef struct NTree NTree;

/* Orders of NTreeTraverse. */
#define NTREE_PREORDER 0
#define NTREE_INORDER 1
#define NTREE_POSTORDER 2

/* Print callback of NTreePrint: writes the item, or for a null item (which
   comes with a null arg) the blank space that stands for one item's width. */
typedef void (*NTreePrintFunc)(FILE *stream, const void *item, void *arg);

/* ---- items ---- */

NAPI void *NTreeAlloc(size_t size);
NAPI void *NTreeAllocWith(NAllocFunc alloc, size_t size);
/* Releases an item made by NTreeAlloc; also usable as the callback of
   NTreeDestroyWith. */
NAPI void NTreeFree(void *item, void *unused);
#define NTreeFree(...) (NTreeFree)(N_FIRST_ARG(__VA_ARGS__), NULL)
NAPI void NTreeFreeWith(void *item, NFreeFunc free_fn);

/* ---- trees ---- */

/* A new empty tree ordered by compare; null when alloc fails, or for a null
   alloc or compare. */
NAPI NTree *NTreeCreateWith(NAllocFunc alloc, NCompareFunc compare, void *compare_arg);

/* Null when the item went in; when an equal item exists, that item, and
   the given one is not linked. compare(item in tree, new item). */
NAPI void *NTreeInsert(NTree *tree, void *item);
/* The item equal to key, else null. compare(key, item in tree). */
NAPI void *NTreeFind(NTree *tree, const void *key);
/* Removes the item equal to key (which has an item's form but needs no
   header) and returns it, not freed; null if there is none.
   compare(item in tree, key). */
NAPI void *NTreeDelete(NTree *tree, const void *key);
NAPI void *NTreeFindMin(NTree *tree);
NAPI void *NTreeFindMax(NTree *tree);
/* fn(item, arg) on each item from low to high, both included, ascending.
   compare(item in tree, low or high). */
NAPI void NTreeRange(NTree *tree, const void *low, const void *high, NItemFunc fn, void *arg);
/* fn(item, arg) on every item in pre-order, in-order or post-order (see
   NTREE_*); any other order does nothing. */
NAPI void NTreeTraverse(NTree *tree, int order, NItemFunc fn, void *arg);
NAPI int32_t NTreeNumItems(NTree *tree);
/* Draws the tree on its side: right subtree above its root, left below. */
NAPI void NTreePrint(FILE *stream, NTree *tree, NTreePrintFunc fn, void *arg);
/* fn(item, arg) on every item in post-order (so fn may free it; a null fn
   leaves the items alone), then free_fn on the tree. */
NAPI void NTreeDestroyWith(NTree *tree, NItemFunc fn, void *arg, NFreeFunc free_fn);

N_END_DECLS

#endif /* TARVOLK_TREE_H */
