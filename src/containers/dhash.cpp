// The double hash: every item hangs in two chains, one per key.
#include <tarvolk/dhash.h>

#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>

#include <cstddef>
#include <cstdint>

#include "containers/hashtable_private.h"

using tvk::NHashNode;

namespace {

// The hidden header: the chain links of key 1, then those of key 2; the
// item follows.
struct NDHashNode {
    NHashNode key1;
    NHashNode key2;
};

// Distances from each key's chain links to the item.
constexpr size_t key1_offset = sizeof(NDHashNode) - offsetof(NDHashNode, key1);
constexpr size_t key2_offset = sizeof(NDHashNode) - offsetof(NDHashNode, key2);

inline void *node_item(NDHashNode *node) noexcept
{
    return node + 1;
}

inline NDHashNode *item_node(void *item) noexcept
{
    return static_cast<NDHashNode *>(item) - 1;
}

bool item_size_overflows(size_t size) noexcept
{
    return size > SIZE_MAX - sizeof(NDHashNode);
}

template <size_t Off> void *found_item(NHashNode *node) noexcept
{
    return node == nullptr ? nullptr : tvk::chain_item<Off>(node);
}

} // namespace

// The table: its record, then the `size' bucket heads of key 1 and the
// `size' bucket heads of key 2, in the same allocation.
struct NDHash {
    uint32_t size;
    int32_t count;
    NHashFunc hash1;
    void *hash1_arg;
    NCompareFunc compare1;
    void *compare1_arg;
    NHashFunc hash2;
    void *hash2_arg;
    NCompareFunc compare2;
    void *compare2_arg;
};

struct NDHashCursor {
    NDHash *table;
    NHashNode *current;
    NHashNode *next;
    uint32_t bucket;
};

namespace {

inline NHashNode **buckets1(NDHash *table) noexcept
{
    return tvk::trailing_buckets(table);
}

inline NHashNode **buckets2(NDHash *table) noexcept
{
    return tvk::trailing_buckets(table) + table->size;
}

size_t all_buckets_bytes(const NDHash *table) noexcept
{
    return 2 * size_t{table->size} * sizeof(NHashNode *);
}

} // namespace

extern "C" {

// ---- items ----

void *NDHashAlloc(size_t size)
{
    return NDHashAllocWith(n_malloc, size);
}

void *NDHashAllocWith(NAllocFunc alloc, size_t size)
{
    if (alloc == nullptr || item_size_overflows(size))
        return nullptr;
    void *block = alloc(sizeof(NDHashNode) + size);
    return block == nullptr ? nullptr : node_item(static_cast<NDHashNode *>(block));
}

void(NDHashFree)(void *item, void *unused)
{
    (void)unused;
    if (item != nullptr)
        n_free(item_node(item));
}

void NDHashFreeWith(void *item, NFreeFunc free_fn)
{
    if (item != nullptr && free_fn != nullptr)
        free_fn(item_node(item));
}

// ---- tables ----

NDHash *NDHashCreateWith(NAllocFunc alloc, uint32_t size, NHashFunc hash1, void *hash1_arg,
                         NCompareFunc compare1, void *compare1_arg, NHashFunc hash2,
                         void *hash2_arg, NCompareFunc compare2, void *compare2_arg)
{
    if (alloc == nullptr || size == 0 || hash1 == nullptr || compare1 == nullptr ||
        hash2 == nullptr || compare2 == nullptr)
        return nullptr;
    const size_t bytes = tvk::table_bytes<NDHash>(2 * uint64_t{size});
    if (bytes == 0)
        return nullptr;
    auto *table = static_cast<NDHash *>(alloc(bytes));
    if (table == nullptr)
        return nullptr;
    table->size = size;
    table->count = 0;
    table->hash1 = hash1;
    table->hash1_arg = hash1_arg;
    table->compare1 = compare1;
    table->compare1_arg = compare1_arg;
    table->hash2 = hash2;
    table->hash2_arg = hash2_arg;
    table->compare2 = compare2;
    table->compare2_arg = compare2_arg;
    n_bzero(buckets1(table), all_buckets_bytes(table));
    return table;
}

void NDHashInsert(NDHash *table, void *item)
{
    NDHashNode *node = item_node(item);
    const uint32_t b1 = table->hash1(item, table->hash1_arg) % table->size;
    tvk::chain_push(buckets1(table) + b1, &node->key1);
    const uint32_t b2 = table->hash2(item, table->hash2_arg) % table->size;
    tvk::chain_push(buckets2(table) + b2, &node->key2);
    ++table->count;
}

void NDHashDelete(NDHash *table, void *item)
{
    NDHashNode *node = item_node(item);
    --table->count;
    tvk::chain_unlink(&node->key1);
    tvk::chain_unlink(&node->key2);
}

void *NDHashFind1(NDHash *table, const void *key)
{
    NHashNode *node = buckets1(table)[table->hash1(key, table->hash1_arg) % table->size];
    return found_item<key1_offset>(
        tvk::chain_find<key1_offset>(node, key, table->compare1, table->compare1_arg));
}

void *NDHashFind2(NDHash *table, const void *key)
{
    NHashNode *node = buckets2(table)[table->hash2(key, table->hash2_arg) % table->size];
    return found_item<key2_offset>(
        tvk::chain_find<key2_offset>(node, key, table->compare2, table->compare2_arg));
}

void *NDHashNext1(NDHash *table, void *item)
{
    NHashNode *node = item_node(item)->key1.next;
    return found_item<key1_offset>(
        tvk::chain_find<key1_offset>(node, item, table->compare1, table->compare1_arg));
}

void *NDHashNext2(NDHash *table, void *item)
{
    NHashNode *node = item_node(item)->key2.next;
    return found_item<key2_offset>(
        tvk::chain_find<key2_offset>(node, item, table->compare2, table->compare2_arg));
}

int32_t NDHashNumItems(NDHash *table)
{
    return table->count;
}

void NDHashFlush(NDHash *table, NItemFunc fn, void *arg)
{
    tvk::chains_flush<key1_offset>(buckets1(table), table->size, fn, arg);
    table->count = 0;
    n_bzero(buckets1(table), all_buckets_bytes(table));
}

void NDHashDestroyWith(NDHash *table, NItemFunc fn, void *arg, NFreeFunc free_fn)
{
    if (table == nullptr)
        return;
    NDHashFlush(table, fn, arg);
    if (free_fn != nullptr)
        free_fn(table);
}

// Unlike NHashWalk: a sorted walk needs the caller's compare, which gets
// the caller's compare_arg, and what fn returns ends the walk but is not
// passed on.
NRC NDHashWalk(NDHash *table, NWalkFunc fn, void *arg, int sorted, NCompareFunc compare,
               void *compare_arg)
{
    if (fn == nullptr || (sorted && compare == nullptr))
        return NRC_FAILURE;
    if (table->count == 0)
        return 0;
    if (!sorted) {
        (void)tvk::chains_walk<key1_offset>(buckets1(table), table->size, fn, arg);
        return 0;
    }
    int ignored = 0;
    return tvk::chains_walk_sorted<key1_offset>(buckets1(table), table->size, table->count, fn,
                                                arg, compare, compare_arg, &ignored);
}

NDHash *NDHashCopy(NDHash *table, NCopyFunc copy, void *arg)
{
    if (copy == nullptr)
        return nullptr;
    NDHash *dup = NDHashCreateWith(n_malloc, table->size, table->hash1, table->hash1_arg,
                                   table->compare1, table->compare1_arg, table->hash2,
                                   table->hash2_arg, table->compare2, table->compare2_arg);
    if (dup == nullptr)
        return nullptr;
    NHashNode *const *buckets = buckets1(table);
    for (uint32_t i = 0; i < table->size; ++i) {
        for (NHashNode *node = buckets[i]; node != nullptr; node = node->next) {
            void *item = copy(tvk::chain_item<key1_offset>(node), arg);
            if (item != nullptr)
                NDHashInsert(dup, item);
        }
    }
    return dup;
}

// ---- cursor ----

NDHashCursor *NDHashCursorOpen(NDHash *table)
{
    auto *cursor = static_cast<NDHashCursor *>(n_malloc(sizeof(NDHashCursor)));
    if (cursor == nullptr)
        return nullptr;
    cursor->table = table;
    cursor->current = nullptr;
    cursor->bucket = 0;
    cursor->next = buckets1(table)[0];
    return cursor;
}

void *NDHashCursorNext(NDHashCursor *cursor)
{
    NDHash *table = cursor->table;
    return tvk::read_ahead_next<key1_offset>(buckets1(table), table->size, cursor->current,
                                             cursor->next, cursor->bucket);
}

void NDHashCursorClose(NDHashCursor *cursor)
{
    n_free(cursor);
}

} // extern "C"
