// The chained hash table with hidden item headers.
#include <tarvolk/hashtable.h>

#include <tarvolk/incralloc.h>
#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>

#include <cctype>
#include <cstddef>
#include <cstdint>

#include "containers/hashtable_private.h"

using tvk::NHashNode;

namespace {

// An item lies directly behind its node.
constexpr size_t item_offset = sizeof(NHashNode);

inline void *node_item(NHashNode *node) noexcept
{
    return tvk::chain_item<item_offset>(node);
}

inline NHashNode *item_node(void *item) noexcept
{
    return tvk::chain_node<item_offset>(item);
}

inline NHashNode **buckets_of(NHash *table) noexcept
{
    return tvk::trailing_buckets(table);
}

inline NHashNode **bucket_for(NHash *table, const void *key_or_item)
{
    return buckets_of(table) + table->hash(key_or_item, table->hash_arg) % table->size;
}

bool item_size_overflows(size_t size) noexcept
{
    return size > SIZE_MAX - sizeof(NHashNode);
}

void *item_from_block(void *block) noexcept
{
    return block == nullptr ? nullptr : node_item(static_cast<NHashNode *>(block));
}

// The shift-and-fold hash, one byte at a time in 32-bit unsigned
// arithmetic:
//
//     h = (h << 4) + c;  g = h & 0xF0000000;
//     if (g != 0) h = (h ^ (g >> 24)) & 0x0FFFFFFF;
//
// The loop carries s = h << 4 instead of h (h stays below 2^28, so nothing
// is lost). With x = s + c the next s is (x << 4) ^ ((x >> 20) & 0xF00): the
// 32-bit shift drops the folded top bits by itself, and when g is 0 the xor
// changes nothing, so there is no branch, and each byte costs a chain of
// four simple operations. The result is s >> 4.
template <typename Map> inline uint32_t fold_text(const void *text, Map map) noexcept
{
    uint32_t s = 0;
    for (const auto *p = static_cast<const unsigned char *>(text); *p != 0; ++p) {
        const uint32_t x = s + map(*p);
        s = (x << 4) ^ ((x >> 20) & 0xF00u);
    }
    return s >> 4;
}

} // namespace

struct NHashCursor {
    NHash *table;
    NHashNode *current;
    NHashNode *next;
    uint32_t bucket;
};

struct NHashCursorCurrent {
    NHash *table;
    NHashNode *current;
    uint32_t bucket;
};

extern "C" {

// ---- items ----

void *NHashAlloc(size_t size)
{
    return NHashAllocWith(n_malloc, size);
}

void *NHashAllocWith(NAllocFunc alloc, size_t size)
{
    if (alloc == nullptr || item_size_overflows(size))
        return nullptr;
    return item_from_block(alloc(sizeof(NHashNode) + size));
}

void *NHashIncrAlloc(NIncrAllocator *arena, size_t size)
{
    if (arena == nullptr || item_size_overflows(size))
        return nullptr;
    return item_from_block(NIncrAllocatorAlloc(arena, sizeof(NHashNode) + size));
}

void(NHashFree)(void *item, void *unused)
{
    (void)unused;
    if (item != nullptr)
        n_free(item_node(item));
}

void NHashFreeWith(void *item, NFreeFunc free_fn)
{
    if (item != nullptr && free_fn != nullptr)
        free_fn(item_node(item));
}

// ---- tables ----

NHash *NHashCreateWith(NAllocFunc alloc, uint32_t size, NHashFunc hash, void *hash_arg,
                       NCompareFunc compare, void *compare_arg)
{
    if (alloc == nullptr || size == 0 || hash == nullptr || compare == nullptr)
        return nullptr;
    const size_t bytes = tvk::table_bytes<NHash>(size);
    if (bytes == 0)
        return nullptr;
    auto *table = static_cast<NHash *>(alloc(bytes));
    if (table == nullptr)
        return nullptr;
    table->size = size;
    table->count = 0;
    table->hash = hash;
    table->hash_arg = hash_arg;
    table->compare = compare;
    table->compare_arg = compare_arg;
    n_bzero(buckets_of(table), size_t{size} * sizeof(NHashNode *));
    return table;
}

void NHashFlush(NHash *table, NItemFunc fn, void *arg)
{
    tvk::chains_flush<item_offset>(buckets_of(table), table->size, fn, arg);
    table->count = 0;
    n_bzero(buckets_of(table), size_t{table->size} * sizeof(NHashNode *));
}

void NHashDestroyWith(NHash *table, NItemFunc fn, void *arg, NFreeFunc free_fn)
{
    if (table == nullptr)
        return;
    NHashFlush(table, fn, arg);
    if (free_fn != nullptr)
        free_fn(table);
}

void NHashInsert(NHash *table, void *item)
{
    tvk::chain_push(bucket_for(table, item), item_node(item));
    ++table->count;
}

void NHashDelete(NHash *table, void *item)
{
    --table->count;
    tvk::chain_unlink(item_node(item));
}

void *NHashFind(NHash *table, const void *key)
{
    NHashNode *node = *bucket_for(table, key);
    node = tvk::chain_find<item_offset>(node, key, table->compare, table->compare_arg);
    return node == nullptr ? nullptr : node_item(node);
}

void *NHashNext(NHash *table, void *item)
{
    NHashNode *node = item_node(item)->next;
    node = tvk::chain_find<item_offset>(node, item, table->compare, table->compare_arg);
    return node == nullptr ? nullptr : node_item(node);
}

int32_t NHashNumItems(NHash *table)
{
    return table->count;
}

NRC NHashWalk(NHash *table, NWalkFunc fn, void *arg, int sorted, NCompareFunc compare)
{
    if (fn == nullptr)
        return NRC_FAILURE;
    if (table->count == 0)
        return 0;
    if (!sorted)
        return tvk::chains_walk<item_offset>(buckets_of(table), table->size, fn, arg);
    int result = 0;
    const NRC rc = tvk::chains_walk_sorted<item_offset>(
        buckets_of(table), table->size, table->count, fn, arg,
        compare != nullptr ? compare : table->compare, table->compare_arg, &result);
    return rc != 0 ? rc : result;
}

NHash *NHashCopy(NHash *table, NCopyFunc copy, void *arg)
{
    if (copy == nullptr)
        return nullptr;
    NHash *dup = NHashCreateWith(n_malloc, table->size, table->hash, table->hash_arg,
                                 table->compare, table->compare_arg);
    if (dup == nullptr)
        return nullptr;
    NHashNode *const *buckets = buckets_of(table);
    for (uint32_t i = 0; i < table->size; ++i) {
        for (NHashNode *node = buckets[i]; node != nullptr; node = node->next) {
            void *item = copy(node_item(node), arg);
            if (item != nullptr)
                NHashInsert(dup, item);
        }
    }
    return dup;
}

// ---- string hashes ----

uint32_t(NHashString1)(const void *text, void *unused)
{
    (void)unused;
    uint32_t h = 0;
    for (const auto *p = static_cast<const unsigned char *>(text); *p != 0; ++p)
        h += *p;
    return h;
}

uint32_t(NHashString2)(const void *text, void *unused)
{
    (void)unused;
    return fold_text(text, [](unsigned char c) { return uint32_t{c}; });
}

// Each byte goes through the current locale's upper-casing table, read once
// per call (the table toupper itself consults, with glibc).
uint32_t(NHashStringIC)(const void *text, void *unused)
{
    (void)unused;
#if defined(__GLIBC__)
    const int32_t *upper = *__ctype_toupper_loc();
    return fold_text(text, [upper](unsigned char c) { return static_cast<uint32_t>(upper[c]); });
#else
    return fold_text(text,
                     [](unsigned char c) { return static_cast<uint32_t>(std::toupper(c)); });
#endif
}

// ---- cursors ----

NHashCursor *NHashCursorOpen(NHash *table)
{
    auto *cursor = static_cast<NHashCursor *>(n_malloc(sizeof(NHashCursor)));
    if (cursor == nullptr)
        return nullptr;
    cursor->table = table;
    cursor->current = nullptr;
    cursor->bucket = 0;
    cursor->next = buckets_of(table)[0];
    return cursor;
}

void *NHashCursorNext(NHashCursor *cursor)
{
    NHash *table = cursor->table;
    return tvk::read_ahead_next<item_offset>(buckets_of(table), table->size, cursor->current,
                                             cursor->next, cursor->bucket);
}

void NHashCursorClose(NHashCursor *cursor)
{
    n_free(cursor);
}

NHashCursorCurrent *NHashCursorCurrentOpen(NHash *table)
{
    auto *cursor = static_cast<NHashCursorCurrent *>(n_malloc(sizeof(NHashCursorCurrent)));
    if (cursor == nullptr)
        return nullptr;
    cursor->table = table;
    cursor->current = nullptr;
    cursor->bucket = UINT32_MAX;
    return cursor;
}

void *NHashCursorCurrentNext(NHashCursorCurrent *cursor)
{
    if (cursor->current != nullptr) {
        cursor->current = cursor->current->next;
        if (cursor->current != nullptr)
            return node_item(cursor->current);
    }
    NHash *table = cursor->table;
    NHashNode *const *buckets = buckets_of(table);
    // From the all-ones start value, the wrap-around gives bucket 0.
    for (uint32_t i = cursor->bucket + 1; i < table->size; ++i) {
        cursor->bucket = i;
        cursor->current = buckets[i];
        if (cursor->current != nullptr)
            return node_item(cursor->current);
    }
    return nullptr;
}

void NHashCursorCurrentClose(NHashCursorCurrent *cursor)
{
    n_free(cursor);
}

} // extern "C"
