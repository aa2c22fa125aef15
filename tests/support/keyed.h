// Compare and hash callbacks for test items keyed by an int member.
#pragma once

#include <cstdint>

namespace tvk_test {

inline int three_way(int a, int b)
{
    return (a > b) - (a < b);
}

template <typename T, int T::*Key> int compare_by(const void *a, const void *b, void *)
{
    return three_way(static_cast<const T *>(a)->*Key, static_cast<const T *>(b)->*Key);
}

// The key itself is the hash, so key % size is the bucket.
template <typename T, int T::*Key> uint32_t hash_by(const void *item, void *)
{
    return static_cast<uint32_t>(static_cast<const T *>(item)->*Key);
}

} // namespace tvk_test
