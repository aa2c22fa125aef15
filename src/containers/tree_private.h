// Layout of the AVL tree, shared with its tests.
#pragma once

#include <tarvolk/tree.h>

#include <cstdint>

namespace tvk {

// Balance codes of a tree node.
inline constexpr uint32_t kTreeLeftHigh = 0;
inline constexpr uint32_t kTreeEven = 1;
inline constexpr uint32_t kTreeRightHigh = 2;

// The hidden header in front of every item. Its size is a multiple of 8, so
// the item behind it keeps the allocator's 8-byte alignment.
struct alignas(8) NTreeNode {
    NTreeNode *left;  // items below this one
    NTreeNode *right; // items above this one
    uint32_t balance; // kTreeLeftHigh, kTreeEven or kTreeRightHigh
};

static_assert(sizeof(NTreeNode) % 8 == 0);

// Items start right behind their node.
inline void *tree_node_item(NTreeNode *node) noexcept
{
    return node + 1;
}

inline NTreeNode *tree_item_node(void *item) noexcept
{
    return static_cast<NTreeNode *>(item) - 1;
}

} // namespace tvk

struct NTree {
    int32_t count;
    NCompareFunc compare;
    void *compare_arg;
    tvk::NTreeNode *root;
};
