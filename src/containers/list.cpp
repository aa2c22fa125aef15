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

// Merges the runs starting at left and right (each ended by the tail
// sentinel) and returns the first node of the result; *last is the last
// node placed by a comparison (the tail sentinel if none was made). The
// tail sentinel's next link serves as the temporary head; equal keys take
// the left node.
NListNode *merge_runs(NListNode *tail, NListNode *left, NListNode *right,
                      NListCompareFunc compare, void *arg, NListNode **last_out)
{
    NListNode *last = tail;
    while (left != tail && right != tail) {
        if (compare(node_item(left), node_item(right), arg) < 1) {
            last->next = left;
            last = left;
            left = left->next;
        } else {
            last->next = right;
            last = right;
            right = right->next;
        }
    }
    last->next = (left != tail) ? left : right;
    *last_out = last;
    return tail->next;
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

void NListMergeSort(NList *list, NListCompareFunc compare, void *arg)
{
    NListNode *const head = list->head;
    NListNode *const tail = list->tail;

    if (head->next == tail) {
        tail->prev = head;
        return;
    }

    for (size_t run = 1;; run *= 2) {
        NListNode *output = head;
        NListNode *rest = head->next;
        NListNode *last_left = nullptr;

        while (rest != tail) {
            NListNode *left = rest;
            NListNode *left_end = step_forward(left, run - 1);
            NListNode *right = left_end->next;
            left_end->next = tail;

            NListNode *right_end = step_forward(right, run - 1);
            rest = right_end->next;
            right_end->next = tail;

            NListNode *merged_end = nullptr;
            NListNode *merged = merge_runs(tail, left, right, compare, arg, &merged_end);
            if (merged_end == tail)
                merged_end = merged;
            while (merged_end->next != tail)
                merged_end = merged_end->next;
            output->next = merged;
            tail->next = tail;
            output = merged_end;
            last_left = left;
        }

        // One pair whose left run kept the lead: the list is sorted.
        if (head->next == last_left)
            break;
    }

    NListNode *prev = head;
    for (NListNode *node = head->next; node != tail; node = node->next) {
        node->prev = prev;
        prev = node;
    }
    tail->prev = prev;
}

} // extern "C"
