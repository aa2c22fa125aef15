// Layout of the hash table and the chain operations shared by the hash
// table, the hash list and the double hash.
//
// A chain is a singly linked list of NHashNode with back links: every node's
// link is the address of the slot that points to it (the bucket, or the next
// field of the node in front), so a node is unlinked without hashing and
// without walking. The three containers differ only in where the chain node
// sits in an item's hidden header; `Off' below is the distance from the
// chain node to the item.
#pragma once

#include <tarvolk/common.h>
#include <tarvolk/hashtable.h>
#include <tarvolk/mem.h>
#include <tarvolk/qsort.h>
#include <tarvolk/retcode.h>

#include <cstddef>
#include <cstdint>

namespace tvk {

// The chain links in an item's hidden header.
struct NHashNode {
    NHashNode *next;
    NHashNode **link;
};

template <size_t Off> inline void *chain_item(NHashNode *node) noexcept
{
    return static_cast<unsigned char *>(static_cast<void *>(node)) + Off;
}

template <size_t Off> inline NHashNode *chain_node(void *item) noexcept
{
    return static_cast<NHashNode *>(static_cast<void *>(static_cast<unsigned char *>(item) - Off));
}

// The bucket array lies directly behind a table record T.
template <typename T> inline NHashNode **trailing_buckets(T *table) noexcept
{
    static_assert(sizeof(T) % alignof(NHashNode *) == 0, "buckets follow the record aligned");
    return static_cast<NHashNode **>(static_cast<void *>(table + 1));
}

// Bytes of a record T followed by `buckets' bucket heads; 0 if that doesn't
// fit a size_t.
template <typename T> inline size_t table_bytes(uint64_t buckets) noexcept
{
    constexpr uint64_t room = (SIZE_MAX - sizeof(T)) / sizeof(NHashNode *);
    if (buckets > room)
        return 0;
    return sizeof(T) + static_cast<size_t>(buckets) * sizeof(NHashNode *);
}

// Pushes node on the front of the chain in slot.
inline void chain_push(NHashNode **slot, NHashNode *node) noexcept
{
    NHashNode *head = *slot;
    node->next = head;
    node->link = slot;
    *slot = node;
    if (head != nullptr)
        head->link = &node->next;
}

// Unlinks node from its chain; its own fields stay as they were.
inline void chain_unlink(NHashNode *node) noexcept
{
    NHashNode *next = node->next;
    *node->link = next;
    if (next != nullptr)
        next->link = node->link;
}

// The first node from `node' on whose item compare(key, item, arg) calls
// equal.
template <size_t Off>
inline NHashNode *chain_find(NHashNode *node, const void *key, NCompareFunc compare, void *arg)
{
    while (node != nullptr && compare(key, chain_item<Off>(node), arg) != 0)
        node = node->next;
    return node;
}

// Calls fn(item, arg) on every item, bucket by bucket and each chain from
// its head; each next link is read before fn runs, so fn may free its item.
template <size_t Off>
void chains_flush(NHashNode *const *buckets, uint32_t size, NItemFunc fn, void *arg)
{
    if (fn == nullptr)
        return;
    for (uint32_t i = 0; i < size; ++i) {
        for (NHashNode *node = buckets[i]; node != nullptr;) {
            NHashNode *next = node->next;
            fn(chain_item<Off>(node), arg);
            node = next;
        }
    }
}

// Unsorted walk: bucket by bucket, each chain from its head; the next link
// is read after fn returns. The first non-zero result of fn, else 0.
template <size_t Off>
int chains_walk(NHashNode *const *buckets, uint32_t size, NWalkFunc fn, void *arg)
{
    for (uint32_t i = 0; i < size; ++i) {
        for (NHashNode *node = buckets[i]; node != nullptr; node = node->next) {
            const int rc = fn(chain_item<Off>(node), arg);
            if (rc != 0)
                return rc;
        }
    }
    return 0;
}

// Comparator of the sorted walk: the array holds node pointers, compare
// gets the items.
struct SortContext {
    NCompareFunc compare;
    void *arg;
};

template <size_t Off> int compare_node_slots(const void *a, const void *b, void *arg)
{
    const auto *ctx = static_cast<const SortContext *>(arg);
    NHashNode *left = *static_cast<NHashNode *const *>(a);
    NHashNode *right = *static_cast<NHashNode *const *>(b);
    return ctx->compare(chain_item<Off>(left), chain_item<Off>(right), ctx->arg);
}

// Sorted walk over a snapshot of the `count' (> 0) items: an array of node
// pointers in bucket order, sorted with n_qsort, then fn in array order
// until it gives non-zero. *result gets that value or 0; the function gives
// 0, or 12 when the array can't be had (fn is then not called).
template <size_t Off>
NRC chains_walk_sorted(NHashNode *const *buckets, uint32_t size, int32_t count, NWalkFunc fn,
                       void *arg, NCompareFunc compare, void *compare_arg, int *result)
{
    *result = 0;
    const auto n = static_cast<size_t>(count);
    if (n > SIZE_MAX / sizeof(NHashNode *))
        return 12;
    auto **array = static_cast<NHashNode **>(n_malloc(n * sizeof(NHashNode *)));
    if (array == nullptr)
        return 12;
    size_t filled = 0;
    for (uint32_t i = 0; i < size && filled < n; ++i) {
        for (NHashNode *node = buckets[i]; node != nullptr && filled < n; node = node->next)
            array[filled++] = node;
    }
    SortContext ctx{compare, compare_arg};
    n_qsort(array, filled, sizeof(NHashNode *), compare_node_slots<Off>, &ctx);
    for (size_t i = 0; i < filled; ++i) {
        const int rc = fn(chain_item<Off>(array[i]), arg);
        if (rc != 0) {
            *result = rc;
            break;
        }
    }
    n_free(array);
    return 0;
}

// The reading-ahead cursor's step: `next' was read ahead; when it is used
// up, the scan goes on from the bucket behind `bucket'.
template <size_t Off>
void *read_ahead_next(NHashNode *const *buckets, uint32_t size, NHashNode *&current,
                      NHashNode *&next, uint32_t &bucket) noexcept
{
    NHashNode *node = next;
    if (node == nullptr) {
        if (bucket >= size - 1) {
            bucket = size;
            return nullptr;
        }
        uint32_t i = bucket + 1;
        while (i < size && buckets[i] == nullptr)
            ++i;
        bucket = i;
        if (i == size)
            return nullptr;
        node = buckets[i];
    }
    current = node;
    next = node->next;
    return chain_item<Off>(node);
}

} // namespace tvk

// The table: its record, then `size' bucket heads in the same allocation.
struct NHash {
    uint32_t size;
    int32_t count;
    NHashFunc hash;
    void *hash_arg;
    NCompareFunc compare;
    void *compare_arg;
};
