/*
 * tarvolk/qsort.h - sorting arrays of fixed-size elements with a caller's
 * compare function (a, b, arg). Elements are exchanged in place; element
 * sizes of any width are allowed.
 */
#ifndef TARVOLK_QSORT_H
#define TARVOLK_QSORT_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

/* Stable insertion sort: each element moves left past neighbours that
   compare(element, neighbour, arg) puts after it (a strictly negative
   result). For short arrays. Returns 0; NRC_FAILURE for a null base (with
   count > 1), a size of 0 or a null compare. */
NAPI NRC NInsertionSort(void *base, size_t count, size_t size, NCompareFunc compare, void *arg);

/* In-place Shell sort (gaps count/2, count/4, ..., 1); not stable, needs no
   memory, can't fail. Does nothing for a null base, a size of 0 or a null
   compare. */
NAPI void n_qsort(void *base, size_t count, size_t size, NCompareFunc compare, void *arg);

/* Iterative quicksort with median of three, an explicit stack and insertion
   sort for ranges of at most 17 elements; not stable. Returns 0, 12 when
   its stack can't be allocated (the array is then unchanged), NRC_FAILURE
   for a null base (with count > 1), a size of 0 or a null compare. */
NAPI NRC NQuickSort(void *base, size_t count, size_t size, NCompareFunc compare, void *arg);

N_END_DECLS

#endif /* TARVOLK_QSORT_H */
