// Binary search in a sorted array.
#include <tarvolk/bsearch.h>

#include <cstddef>

extern "C" void *NBinarySearch(const void *key, const void *base, size_t count, size_t size,
                               NCompareFunc compare, void *arg)
{
    if (base == nullptr || size == 0 || compare == nullptr)
        return nullptr;
    const auto *bytes = static_cast<const unsigned char *>(base);
    ptrdiff_t low = 0;
    ptrdiff_t high = static_cast<ptrdiff_t>(count) - 1;
    while (low <= high) {
        const ptrdiff_t mid = low + (high - low) / 2;
        auto *element = const_cast<unsigned char *>(bytes + static_cast<size_t>(mid) * size);
        const int r = compare(key, element, arg);
        if (r == 0)
            return element;
        if (r < 0)
            high = mid - 1;
        else
            low = mid + 1;
    }
    return nullptr;
}
