/*
 * tarvolk/rbtree.h - the ordered multiset: a red-black tree with parent
 * links that keeps equal keys. The node is embedded by the caller at the
 * start of each item; the family allocates only the tree header, and insert
 * can't fail. Items of one key hang in a ring off the item that sits in the
 * tree (the one that came first) and appear newest first. No locking.
 */
#ifndef TARVOLK_RBTREE_H
#define TARVOLK_RBTREE_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

#define NRBTREE_RED 0
#define NRBTREE_BLACK 1

/* The node at the start of each item; insert sets every field. */
typedef struct NRBTreeNode {
    struct NRBTreeNode *left;
    struct NRBTreeNode *right;
    struct NRBTreeNode *parent;
    uint16_t colour;    /* NRBTREE_RED or NRBTREE_BLACK */
    uint16_t duplicate; /* 1 for an item in a ring, 0 for one in the tree */
    struct NRBTreeNode *next_dup;
    struct NRBTreeNode *prev_dup;
} NRBTreeNode;

typedef struct NRBTree NRBTree;

/* A new tree (from n_malloc); null on failure or for a null compare.
   compare gets (key or new node, node in the tree, arg). */
NAPI NRBTree *NRBTreeCreate(NCompareFunc compare, void *compare_arg);
/* Frees the header; items are left alone. */
NAPI void NRBTreeDestroy(NRBTree *tree);
/* Forgets every item; they keep their old node content. */
NAPI void NRBTreeClear(NRBTree *tree);

NAPI void NRBTreeInsert(NRBTree *tree, NRBTreeNode *node);
/* Removes exactly this item (in the tree or in a ring). */
NAPI void NRBTreeDelete(NRBTree *tree, NRBTreeNode *node);

/* The first item (newest duplicate) of key, else null. */
NAPI NRBTreeNode *NRBTreeFind(NRBTree *tree, const void *key);
/* The first item above key (inclusive: of key or above), else null. */
NAPI NRBTreeNode *NRBTreeFindMoreThan(NRBTree *tree, const void *key, int inclusive);
/* The first item of the closest key below key (inclusive: of key or
   below), else null. */
NAPI NRBTreeNode *NRBTreeFindLessThan(NRBTree *tree, const void *key, int inclusive);
NAPI NRBTreeNode *NRBTreeMin(NRBTree *tree);
NAPI NRBTreeNode *NRBTreeMax(NRBTree *tree);
/* Iteration: keys ascending (NRBTreeNext) or descending (NRBTreePrevious);
   the items of one key come newest first either way. */
NAPI NRBTreeNode *NRBTreeNext(NRBTreeNode *node);
NAPI NRBTreeNode *NRBTreePrevious(NRBTreeNode *node);
/* The next item of the same key, null after the last one. */
NAPI NRBTreeNode *NRBTreeNextDup(NRBTreeNode *node);
/* compare(a, b) with the tree's compare argument. */
NAPI int NRBTreeCompare(NRBTree *tree, const void *a, const void *b);
/* 1 if parent links and rings are consistent, else 0. */
NAPI int NRBTreeValidate(NRBTree *tree);

N_END_DECLS

#endif /* TARVOLK_RBTREE_H */
