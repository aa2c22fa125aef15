// The hash list: a doubly linked list whose items also hang in hash chains.
#include <tarvolk/hashlist.h>

#include <tarvolk/incralloc.h>
#include <tarvolk/mem.h>

#include <cstddef>
#include <cstdint>

#include "containers/hashtable_private.h"
#include "containers/list_private.h"

using tvk::NHashNode;
using tvk::NListNode;

namespace {

// The hidden header: the list links, then the chain links; the item
// follows.
struct NHashListNode {
    NListNode list;
    NHashNode hash;
};

// Distance from the chain links to the item.
constexpr size_t chain_offset = sizeof(NHashListNode) - offsetof(NHashListNode, hash);

inline void *node_item(NHashListNode *node) noexcept
{
    return node + 1;
}

inline NHashListNode *item_node(void *item) noexcept
{
    return static_cast<NHashListNode *>(item) - 1;
}

// The list links lie first, so a list node is the whole header.
inline NHashListNode *header_of(NListNode *node) noexcept
{
    return static_cast<NHashListNode *>(static_cast<void *>(node));
}

bool item_size_overflows(size_t size) noexcept
{
    return size > SIZE_MAX - sizeof(NHashListNode);
}

void *item_from_block(void *block) noexcept
{
    return block == nullptr ? nullptr : node_item(static_cast<NHashListNode *>(block));
}

} // namespace

// The table: its record, then `size' bucket heads in the same allocation.
// The sentinels lie inside it, so it is never copied or moved.
struct NHashList {
    int32_t count;
    NHashListNode *head;
    NHashListNode *tail;
    NHashListNode head_sentinel;
    NHashListNode tail_sentinel;
    uint32_t size;
    NHashFunc hash;
    void *hash_arg;
    NCompareFunc compare;
    void *compare_arg;
};

namespace {

inline NHashNode **buckets_of(NHashList *table) noexcept
{
    return tvk::trailing_buckets(table);
}

size_t table_bytes(uint32_t size) noexcept
{
    return tvk::table_bytes<NHashList>(size);
}

void init_sentinels(NHashList *table) noexcept
{
    table->count = 0;
    table->head = &table->head_sentinel;
    table->tail = &table->tail_sentinel;
    table->head->list.next = &table->tail->list;
    table->head->list.prev = &table->head->list;
    table->tail->list.next = &table->tail->list;
    table->tail->list.prev = &table->head->list;
}

NHashList *init_table(void *block, uint32_t size, NHashFunc hash, void *hash_arg,
                      NCompareFunc compare, void *compare_arg) noexcept
{
    if (block == nullptr)
        return nullptr;
    auto *table = static_cast<NHashList *>(block);
    n_bzero(table, table_bytes(size));
    init_sentinels(table);
    table->size = size;
    table->hash = hash;
    table->hash_arg = hash_arg;
    table->compare = compare;
    table->compare_arg = compare_arg;
    return table;
}

bool bad_arguments(uint32_t size, NHashFunc hash, NCompareFunc compare) noexcept
{
    return size == 0 || hash == nullptr || compare == nullptr || table_bytes(size) == 0;
}

// Pushes the node on the chain of its bucket and counts it; the list links
// are already set.
void hash_link(NHashList *table, NHashListNode *node)
{
    const uint32_t bucket = table->hash(node_item(node), table->hash_arg) % table->size;
    tvk::chain_push(buckets_of(table) + bucket, &node->hash);
    ++table->count;
}

void unlink_node(NHashList *table, NHashListNode *node) noexcept
{
    node->list.prev->next = node->list.next;
    node->list.next->prev = node->list.prev;
    tvk::chain_unlink(&node->hash);
    --table->count;
}

void *found_item(NHashNode *node) noexcept
{
    return node == nullptr ? nullptr : tvk::chain_item<chain_offset>(node);
}

} // namespace

extern "C" {

// ---- items ----

void *NHashListAlloc(size_t size)
{
    return NHashListAllocWith(n_malloc, size);
}

void *NHashListAllocWith(NAllocFunc alloc, size_t size)
{
    if (alloc == nullptr || item_size_overflows(size))
        return nullptr;
    return item_from_block(alloc(sizeof(NHashListNode) + size));
}

void *NIncrHashListAlloc(NIncrAllocator *arena, size_t size)
{
    if (arena == nullptr || item_size_overflows(size))
        return nullptr;
    return item_from_block(NIncrAllocatorAlloc(arena, sizeof(NHashListNode) + size));
}

void(NHashListFree)(void *item, void *unused)
{
    (void)unused;
    if (item != nullptr)
        n_free(item_node(item));
}

void NHashListFreeWith(void *item, NFreeFunc free_fn)
{
    if (item != nullptr && free_fn != nullptr)
        free_fn(item_node(item));
}

// ---- tables ----

NHashList *NHashListCreateWith(NAllocFunc alloc, uint32_t size, NHashFunc hash, void *hash_arg,
                               NCompareFunc compare, void *compare_arg)
{
    if (alloc == nullptr || bad_arguments(size, hash, compare))
        return nullptr;
    return init_table(alloc(table_bytes(size)), size, hash, hash_arg, compare, compare_arg);
}

NHashList *NIncrHashListCreate(NIncrAllocator *arena, uint32_t size, NHashFunc hash,
                               void *hash_arg, NCompareFunc compare, void *compare_arg)
{
    if (arena == nullptr || bad_arguments(size, hash, compare))
        return nullptr;
    return init_table(NIncrAllocatorAlloc(arena, table_bytes(size)), size, hash, hash_arg,
                      compare, compare_arg);
}

void NHashListInsertAfter(NHashList *table, void *item, void *after)
{
    NHashListNode *node = item_node(item);
    NListNode *place = &item_node(after)->list;
    node->list.next = place->next;
    node->list.prev = place;
    place->next->prev = &node->list;
    place->next = &node->list;
    hash_link(table, node);
}

void NHashListInsertBefore(NHashList *table, void *item, void *before)
{
    NHashListNode *node = item_node(item);
    NListNode *place = &item_node(before)->list;
    node->list.prev = place->prev;
    node->list.next = place;
    place->prev->next = &node->list;
    place->prev = &node->list;
    hash_link(table, node);
}

void NHashListDelete(NHashList *table, void *item)
{
    unlink_node(table, item_node(item));
}

void *NHashListDeleteNext(NHashList *table, void *item)
{
    NListNode *next = item_node(item)->list.next;
    // Nothing behind the last item: the tail sentinel is not unlinked.
    if (next->next == next)
        return nullptr;
    NHashListNode *node = header_of(next);
    unlink_node(table, node);
    return node_item(node);
}

void *NHashListFirst(NHashList *table)
{
    NListNode *node = table->head->list.next;
    return node == &table->tail->list ? nullptr : node_item(header_of(node));
}

void *NHashListLast(NHashList *table)
{
    NListNode *node = table->tail->list.prev;
    return node == &table->head->list ? nullptr : node_item(header_of(node));
}

// The ends are recognised as in the list: the tail sentinel's next and the
// head sentinel's prev point to themselves.
void *NHashListNext(void *item)
{
    NListNode *next = item_node(item)->list.next;
    return next->next == next ? nullptr : node_item(header_of(next));
}

void *NHashListPrev(void *item)
{
    NListNode *prev = item_node(item)->list.prev;
    return prev->prev == prev ? nullptr : node_item(header_of(prev));
}

void *NHashListHead(NHashList *table)
{
    return node_item(table->head);
}

void *NHashListTail(NHashList *table)
{
    return node_item(header_of(table->tail->list.prev));
}

int32_t NHashListNumItems(NHashList *table)
{
    return table->count;
}

void *NHashListFind(NHashList *table, const void *key)
{
    NHashNode *node = buckets_of(table)[table->hash(key, table->hash_arg) % table->size];
    return found_item(
        tvk::chain_find<chain_offset>(node, key, table->compare, table->compare_arg));
}

void *NHashListNextHash(NHashList *table, void *item)
{
    NHashNode *node = item_node(item)->hash.next;
    return found_item(
        tvk::chain_find<chain_offset>(node, item, table->compare, table->compare_arg));
}

void NHashListFlush(NHashList *table, NItemFunc fn, void *arg)
{
    if (fn != nullptr) {
        NListNode *const end = &table->tail->list;
        for (NListNode *node = table->head->list.next; node != end;) {
            NListNode *next = node->next;
            fn(node_item(header_of(node)), arg);
            node = next;
        }
    }
    init_table(table, table->size, table->hash, table->hash_arg, table->compare,
               table->compare_arg);
}

void NHashListDestroyWith(NHashList *table, NItemFunc fn, void *arg, NFreeFunc free_fn)
{
    if (table == nullptr)
        return;
    NHashListFlush(table, fn, arg);
    if (free_fn != nullptr)
        free_fn(table);
}

} // extern "C"
