/*
 * tarvolk/convert.h - moving items between lists, hash tables and trees.
 *
 * Each conversion walks its source once and calls convert(item, arg1,
 * arg2) on every item; a non-null result (an item allocated by the
 * target's family) goes into the target, null leaves the item out. The
 * source is not changed. A tree target keeps its first item of a key: a
 * later equal item stays out and is not reported (a convert function that
 * allocates must allow for that). With a null container or convert
 * function a conversion does nothing (the hash-source ones then return
 * NRC_FAILURE).
 */
#ifndef TARVOLK_CONVERT_H
#define TARVOLK_CONVERT_H

#include <tarvolk/common.h>
#include <tarvolk/hashtable.h>
#include <tarvolk/list.h>
#include <tarvolk/tree.h>

N_BEGIN_DECLS

typedef void *(*NConvertFunc)(void *item, void *arg1, void *arg2);

/* Tree sources are walked in order; list sources from the first item; hash
   sources with an unsorted NHashWalk, whose result (0) they return. List
   targets are appended to. */
NAPI void NTreeToNTree(NTree *source, NTree *target, NConvertFunc convert, void *arg1,
                       void *arg2);
NAPI void NTreeToNHash(NTree *source, NHash *target, NConvertFunc convert, void *arg1,
                       void *arg2);
NAPI void NTreeToNList(NTree *source, NList *target, NConvertFunc convert, void *arg1,
                       void *arg2);
NAPI void NListToNTree(NList *source, NTree *target, NConvertFunc convert, void *arg1,
                       void *arg2);
NAPI void NListToNHash(NList *source, NHash *target, NConvertFunc convert, void *arg1,
                       void *arg2);
NAPI void NListToNList(NList *source, NList *target, NConvertFunc convert, void *arg1,
                       void *arg2);
NAPI NRC NHashToNTree(NHash *source, NTree *target, NConvertFunc convert, void *arg1,
                      void *arg2);
NAPI NRC NHashToNHash(NHash *source, NHash *target, NConvertFunc convert, void *arg1,
                      void *arg2);
NAPI NRC NHashToNList(NHash *source, NList *target, NConvertFunc convert, void *arg1,
                      void *arg2);

N_END_DECLS

#endif /* TARVOLK_CONVERT_H */
