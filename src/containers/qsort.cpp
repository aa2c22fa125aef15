// Sorting arrays: insertion sort, Shell sort (n_qsort) and quicksort.
#include <tarvolk/qsort.h>

#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "containers/swap.h"

namespace {

// Ranges of at most this many elements minus one (hi - lo) go to insertion
// sort.
constexpr ptrdiff_t insertion_threshold = 17;

struct Array {
    unsigned char *base;
    size_t size;
    NCompareFunc compare;
    void *arg;

    void *at(ptrdiff_t i) const noexcept { return base + static_cast<size_t>(i) * size; }
    int cmp(ptrdiff_t i, ptrdiff_t j) const { return compare(at(i), at(j), arg); }
    void swap(ptrdiff_t i, ptrdiff_t j) const noexcept { tvk::swap_elements(at(i), at(j), size); }
};

bool bad_arguments(const void *base, size_t count, size_t size, NCompareFunc compare)
{
    return size == 0 || compare == nullptr || (base == nullptr && count > 1);
}

// Insertion sort of elements lo..hi (nothing for fewer than two).
void insertion_sort(const Array &a, ptrdiff_t lo, ptrdiff_t hi)
{
    for (ptrdiff_t i = lo + 1; i <= hi; ++i) {
        for (ptrdiff_t j = i; j > lo && a.cmp(j, j - 1) < 0; --j)
            a.swap(j, j - 1);
    }
}

// Partition of lo + 1..hi around the pivot at lo: moves the elements that
// compare below it, and equal ones while last < mid, to the front, and
// returns last, the index of the last one moved (lo if none). For elements
// of Width 4 or 8 the exchange is done without a branch on the compare
// result, a coin toss that would otherwise cost a misprediction on every
// other element: both words are rewritten, swapped or not. Other widths
// (Width 0) exchange only when needed.
template <size_t Width> ptrdiff_t partition(const Array &a, ptrdiff_t lo, ptrdiff_t hi, ptrdiff_t mid)
{
    ptrdiff_t last = lo;
    for (ptrdiff_t i = lo + 1; i <= hi; ++i) {
        const int r = a.cmp(i, lo);
        if constexpr (Width == 0) {
            if (r < 0 || (r == 0 && last < mid))
                a.swap(++last, i);
        } else {
            using Word = std::conditional_t<Width == 4, uint32_t, uint64_t>;
            const bool take = (r < 0) | ((r == 0) & (last < mid));
            Word x, y;
            std::memcpy(&x, a.at(last + 1), Width);
            std::memcpy(&y, a.at(i), Width);
            const Word diff = (x ^ y) & (Word{0} - Word{take});
            x ^= diff;
            y ^= diff;
            std::memcpy(a.at(last + 1), &x, Width);
            std::memcpy(a.at(i), &y, Width);
            last += take;
        }
    }
    return last;
}

// Entries (of one index each) of the quicksort's stack: room for the
// bottom pair and one pair per halving of the array.
size_t stack_entries(size_t count)
{
    const auto levels = static_cast<size_t>(
        std::ceil(std::log10(static_cast<double>(count)) / std::log10(2.0)));
    const size_t entries = 2 * levels + 2;
    return entries > 6 ? entries : 6;
}

} // namespace

extern "C" {

NRC NInsertionSort(void *base, size_t count, size_t size, NCompareFunc compare, void *arg)
{
    if (bad_arguments(base, count, size, compare))
        return NRC_FAILURE;
    if (count > 1)
        insertion_sort(Array{static_cast<unsigned char *>(base), size, compare, arg}, 0,
                       static_cast<ptrdiff_t>(count) - 1);
    return 0;
}

void n_qsort(void *base, size_t count, size_t size, NCompareFunc compare, void *arg)
{
    if (count < 2 || bad_arguments(base, count, size, compare))
        return;
    const Array a{static_cast<unsigned char *>(base), size, compare, arg};
    const auto n = static_cast<ptrdiff_t>(count);
    for (ptrdiff_t gap = n / 2; gap > 0; gap /= 2) {
        for (ptrdiff_t i = gap; i < n; ++i) {
            for (ptrdiff_t j = i - gap; j >= 0 && a.cmp(j, j + gap) > 0; j -= gap)
                a.swap(j, j + gap);
        }
    }
}

NRC NQuickSort(void *base, size_t count, size_t size, NCompareFunc compare, void *arg)
{
    if (bad_arguments(base, count, size, compare))
        return NRC_FAILURE;
    if (count < 2)
        return 0;

    const size_t capacity = stack_entries(count);
    auto *stack = static_cast<ptrdiff_t *>(n_malloc(capacity * sizeof(ptrdiff_t)));
    if (stack == nullptr)
        return 12;
    size_t top = 0;

    const Array a{static_cast<unsigned char *>(base), size, compare, arg};
    ptrdiff_t lo = 0;
    ptrdiff_t hi = static_cast<ptrdiff_t>(count) - 1;
    // The whole range is the bottom of the stack: popping it ends the sort.
    stack[top++] = lo;
    stack[top++] = hi;

    while (top > 0) {
        if (hi - lo < insertion_threshold) {
            insertion_sort(a, lo, hi);
            hi = stack[--top];
            lo = stack[--top];
            continue;
        }

        // Median of three, moved to lo as the pivot.
        const ptrdiff_t mid = (lo + hi) / 2;
        if (a.cmp(lo + 1, mid) > 0)
            a.swap(lo + 1, mid);
        if (a.cmp(lo + 1, hi) > 0)
            a.swap(lo + 1, hi);
        if (a.cmp(mid, hi) > 0)
            a.swap(mid, hi);
        a.swap(lo, mid);

        // Keys equal to the pivot go left until last reaches mid, so that
        // equal keys are spread over both sides.
        const ptrdiff_t last = size == 4   ? partition<4>(a, lo, hi, mid)
                               : size == 8 ? partition<8>(a, lo, hi, mid)
                                           : partition<0>(a, lo, hi, mid);
        a.swap(lo, last);

        // Push the larger part, go on with the smaller one: the stack holds
        // at most one pair per halving.
        if (hi - last <= last - lo) {
            stack[top++] = lo;
            stack[top++] = last - 1;
            lo = last + 1;
        } else {
            stack[top++] = last + 1;
            stack[top++] = hi;
            hi = last - 1;
        }
    }

    n_free(stack);
    return 0;
}

} // extern "C"
