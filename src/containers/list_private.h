// Layout of the list, shared by the containers built on it.
#pragma once

#include <tarvolk/list.h>

#include <cstdint>

namespace tvk {

// The hidden header in front of every item.
struct NListNode {
    NListNode *next;
    NListNode *prev;
};

// Items start right behind their node.
inline void *node_item(NListNode *node) noexcept
{
    return node + 1;
}

inline NListNode *item_node(void *item) noexcept
{
    return static_cast<NListNode *>(item) - 1;
}

} // namespace tvk

// The list header. The sentinels lie inside it, so a header is never copied
// or moved once created.
struct NList {
    int32_t count;
    tvk::NListNode *head;
    tvk::NListNode *tail;
    tvk::NListNode head_sentinel;
    tvk::NListNode tail_sentinel;
};
