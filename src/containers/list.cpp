// The doubly linked list with hidden item headers.
#include <tarvolk/list.h>

#include <tarvolk/incralloc.h>
#include <tarvolk/mem.h>

#include <cstddef>

#include "containers/list_private.h"

using tvk::item_node;
using tvk::node_item;
using tvk::NListNode;

namespace {

void self_link(NListNode *node) noexcept
{
    node->next = node;
    node->prev = node;
}

void *init_item(void *block) noexcept
{
    if (block == nullptr)
        return nullptr;
    auto *node = static_cast<NListNode *>(block);
    self_link(node);
    return node_item(node);
}

NList *init_list(void *block) noexcept
{
    if (block == nullptr)
        return nullptr;
    auto *list = static_cast<NList *>(block);
    list->count = 0;
    list->head = &list->head_sentinel;
    list->tail = &list->tail_sentinel;
    list->head->next = list->tail;
    list->head->prev = list->head;
    list->tail->next = list->tail;
    list->tail->prev = list->head;
    return list;
}

bool item_size_overflows(size_t size) noexcept
{
    return size > static_cast<size_t>(-1) - sizeof(NListNode);
}

void unlink_node(NList *list, NListNode *node) noexcept
{
    node->prev->next = node->next;
    node->next->prev = node->prev;
    self_link(node);
    --list->count;
}

// Steps `steps' times along next; the tail sentinel is self-linked, so a
// walk past the end stays on it.
NListNode *step_forward(NListNode *node, size_t steps) noexcept
{
    while (steps-- > 0)
        node = node->next;
    return node;
}

// Merges two runs, each ended by the tail sentinel, and returns the first
// node of the result, which is ended by the tail sentinel too. While both
// runs have nodes, compare decides: a result below 1 takes the left node, so
// equal keys keep their order.
NListNode *merge_runs(NListNode *tail, NListNode *left, NListNode *right,
                      NListCompareFunc compare, void *arg)
{
    if (right == tail)
        return left;
    NListNode first{};
    NListNode *last = &first;
    for (;;) {
        if (compare(node_item(left), node_item(right), arg) < 1) {
            last->next = left;
            last = left;
            left = left->next;
            if (left == tail) {
                last->next = right;
                break;
            }
        } else {
            last->next = right;
            last = right;
            right = right->next;
            if (right == tail) {
                last->next = left;
                break;
            }
        }
    }
    return first.next;
}

} // namespace

extern "C" {

void *NListAlloc(size_t size)
{
    return NListAllocWith(n_malloc, size);
}

void *NListAllocWith(NAllocFunc alloc, size_t size)
{
    if (alloc == nullptr || item_size_overflows(size))
        return nullptr;
    return init_item(alloc(sizeof(NListNode) + size));
}

void *NIncrListAlloc(NIncrAllocator *arena, size_t size)
{
    if (arena == nullptr || item_size_overflows(size))
        return nullptr;
    return init_item(NIncrAllocatorAlloc(arena, sizeof(NListNode) + size));
}

void(NListFree)(void *item, void *unused)
{
    (void)unused;
    if (item != nullptr)
        n_free(item_node(item));
}

void NListFreeWith(void *item, NFreeFunc free_fn)
{
    if (item != nullptr && free_fn != nullptr)
        free_fn(item_node(item));
}

NList *NListCreateWith(NAllocFunc alloc)
{
    if (alloc == nullptr)
        return nullptr;
    return init_list(alloc(sizeof(NList)));
}

NList *NIncrListCreate(NIncrAllocator *arena)
{
    if (arena == nullptr)
        return nullptr;
    return init_list(NIncrAllocatorAlloc(arena, sizeof(NList)));
}

void NListFlush(NList *list, NItemFunc fn, void *arg)
{
    NListNode *node = list->head->next;
    while (node != list->tail) {
        NListNode *next = node->next;
        self_link(node);
        if (fn != nullptr)
            fn(node_item(node), arg);
        node = next;
    }
    list->count = 0;
    list->head->next = list->tail;
    list->tail->prev = list->head;
}

void NListDestroyWith(NList *list, NItemFunc fn, void *arg, NFreeFunc free_fn)
{
    if (list == nullptr)
        return;
    NListFlush(list, fn, arg);
    if (free_fn != nullptr)
        free_fn(list);
}

void NListInsertAfter(NList *list, void *item, void *after)
{
    NListNode *node = item_node(item);
    NListNode *place = item_node(after);
    node->next = place->next;
    node->prev = place;
    place->next->prev = node;
    place->next = node;
    ++list->count;
}

void NListInsertBefore(NList *list, void *item, void *before)
{
    NListNode *node = item_node(item);
    NListNode *place = item_node(before);
    node->prev = place->prev;
    node->next = place;
    place->prev->next = node;
    place->prev = node;
    ++list->count;
}

void NListDelete(NList *list, void *item)
{
    unlink_node(list, item_node(item));
}

void *NListDeleteNext(NList *list, void *item)
{
    NListNode *node = item_node(item)->next;
    unlink_node(list, node);
    return node_item(node);
}

void *NListFirst(NList *list)
{
    NListNode *node = list->head->next;
    return node == list->tail ? nullptr : node_item(node);
}

void *NListLast(NList *list)
{
    NListNode *node = list->tail->prev;
    return node == list->head ? nullptr : node_item(node);
}

void *NListNext(void *item)
{
    NListNode *node = item_node(item);
    NListNode *next = node->next;
    if (next == node || next->next == next)
        return nullptr;
    return node_item(next);
}

void *NListPrev(void *item)
{
    NListNode *node = item_node(item);
    NListNode *prev = node->prev;
    if (prev == node || prev->prev == prev)
        return nullptr;
    return node_item(prev);
}

void *NListNth(NList *list, int32_t index)
{
    if (index < 0 || index >= list->count)
        return nullptr;
    return node_item(step_forward(list->head->next, static_cast<size_t>(index)));
}

void *NListHead(NList *list)
{
    return node_item(list->head);
}

void *NListTail(NList *list)
{
    return node_item(list->tail->prev);
}

int32_t NListNumItems(NList *list)
{
    return list->count;
}

// Bottom-up merge sort. Pass k merges the runs of 2^(k-1) items pairwise,
// from the front, a short or missing right run included; sorting ends after
// the pass that merged a single pair. Those are the merges, and the order of
// compare calls, of the classic form that finds each run by stepping along
// the list. Here the runs are kept apart instead: each ends at the tail
// sentinel, and the prev link of a run's first node (free while the sort
// runs) points at the next run, so no pass steps along a run to find its
// end. The prev links are rebuilt at the end.
void NListMergeSort(NList *list, NListCompareFunc compare, void *arg)
{
    NListNode *const head = list->head;
    NListNode *const tail = list->tail;

    if (head->next == tail) {
        tail->prev = head;
        return;
    }

    // First pass: the runs are the single nodes, chained by their next
    // links.
    NListNode *runs = nullptr;
    NListNode **link = &runs;
    size_t merged = 0;
    for (NListNode *left = head->next; left != tail;) {
        NListNode *right = left->next;
        NListNode *rest = right == tail ? tail : right->next;
        left->next = tail;
        right->next = tail;
        NListNode *run = merge_runs(tail, left, right, compare, arg);
        *link = run;
        link = &run->prev;
        ++merged;
        left = rest;
    }
    *link = nullptr;

    // Further passes: the runs are chained by the prev links of their first
    // nodes.
    while (merged > 1) {
        NListNode *left = runs;
        link = &runs;
        merged = 0;
        while (left != nullptr) {
            NListNode *right = left->prev;
            NListNode *rest = right == nullptr ? nullptr : right->prev;
            NListNode *run = merge_runs(tail, left, right == nullptr ? tail : right, compare, arg);
            *link = run;
            link = &run->prev;
            ++merged;
            left = rest;
        }
        *link = nullptr;
    }

    head->next = runs;
    NListNode *prev = head;
    for (NListNode *node = runs; node != tail; node = node->next) {
        node->prev = prev;
        prev = node;
    }
    tail->prev = prev;
    tail->next = tail;
}

} // extern "C"
