/*
 * tarvolk/bsearch.h - binary search in a sorted array.
 */
#ifndef TARVOLK_BSEARCH_H
#define TARVOLK_BSEARCH_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

/* An element that compare(key, element, arg) finds equal to key, else null.
   Among several equal elements, which one is found depends on the path of
   the search. Null, without a call of compare, for a count of 0, a null
   base, a size of 0 or a null compare. */
NAPI void *NBinarySearch(const void *key, const void *base, size_t count, size_t size,
                         NCompareFunc compare, void *arg);

N_END_DECLS

#endif /* TARVOLK_BSEARCH_H */
