// The height-balanced (AVL) tree with hidden item headers and unique keys.
//
// There are no parent links. Delete descends recursively and repairs the
// balance while the recursion unwinds, so its stack depth is bounded by the
// height of the tree (about 1.44 log2 of the count); insert does the same
// with a loop and a path of slots.
#include <tarvolk/tree.h>

#include <tarvolk/mem.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <initializer_list>

#include "containers/tree_private.h"

using tvk::kTreeEven;
using tvk::kTreeLeftHigh;
using tvk::kTreeRightHigh;
using tvk::NTreeNode;
using tvk::tree_item_node;
using tvk::tree_node_item;

namespace {

bool item_size_overflows(size_t size) noexcept
{
    return size > static_cast<size_t>(-1) - sizeof(NTreeNode);
}

// The right child if `right', else the left one, picked without a branch:
// the way a search goes is data-dependent, so a branch would be mispredicted
// about every other level.
NTreeNode *child(const NTreeNode *node, bool right) noexcept
{
    const auto left_bits = reinterpret_cast<uintptr_t>(node->left);
    const auto right_bits = reinterpret_cast<uintptr_t>(node->right);
    const uintptr_t mask = 0 - static_cast<uintptr_t>(right);
    return reinterpret_cast<NTreeNode *>(left_bits ^ ((left_bits ^ right_bits) & mask));
}

// Asks for both children of a node on the way down to be fetched, header
// and item, while compare runs on the node itself: in a tree larger than the
// cache every level would otherwise wait for memory after the comparison.
void prefetch_children(const NTreeNode *node) noexcept
{
    for (const auto bits : {reinterpret_cast<uintptr_t>(node->left),
                            reinterpret_cast<uintptr_t>(node->right)}) {
        // Integer arithmetic: a child may be null, and a prefetch of any
        // address is harmless.
        __builtin_prefetch(reinterpret_cast<const void *>(bits));
        __builtin_prefetch(reinterpret_cast<const void *>(bits + sizeof(NTreeNode)));
    }
}

// ---- rotations ----
// Each takes the slot that holds the subtree's root and puts the new root
// there. Balances are left to the caller.

void rotate_left(NTreeNode **slot) noexcept
{
    NTreeNode *node = *slot;
    NTreeNode *right = node->right;
    node->right = right->left;
    right->left = node;
    *slot = right;
}

void rotate_right(NTreeNode **slot) noexcept
{
    NTreeNode *node = *slot;
    NTreeNode *left = node->left;
    node->left = left->right;
    left->right = node;
    *slot = left;
}

// n's right child r is left-high: m, the left child of r, rises to n's
// place with n on its left and r on its right.
void rotate_right_left(NTreeNode **slot) noexcept
{
    NTreeNode *node = *slot;
    NTreeNode *right = node->right;
    NTreeNode *middle = right->left;
    const uint32_t was = middle->balance;
    rotate_right(&node->right);
    rotate_left(slot);
    node->balance = was == kTreeRightHigh ? kTreeLeftHigh : kTreeEven;
    right->balance = was == kTreeLeftHigh ? kTreeRightHigh : kTreeEven;
    middle->balance = kTreeEven;
}

// Mirror image: n's left child l is right-high, and m, the right child of
// l, rises to n's place.
void rotate_left_right(NTreeNode **slot) noexcept
{
    NTreeNode *node = *slot;
    NTreeNode *left = node->left;
    NTreeNode *middle = left->right;
    const uint32_t was = middle->balance;
    rotate_left(&node->left);
    rotate_right(slot);
    node->balance = was == kTreeLeftHigh ? kTreeRightHigh : kTreeEven;
    left->balance = was == kTreeRightHigh ? kTreeLeftHigh : kTreeEven;
    middle->balance = kTreeEven;
}

// ---- repair after insertion ----
// Each returns whether the subtree in the slot is still one level higher
// than before the insertion.

bool right_grew(NTreeNode **slot) noexcept
{
    NTreeNode *node = *slot;
    switch (node->balance) {
    case kTreeLeftHigh:
        node->balance = kTreeEven;
        return false;
    case kTreeEven:
        node->balance = kTreeRightHigh;
        return true;
    default:
        break;
    }
    NTreeNode *right = node->right;
    if (right->balance == kTreeRightHigh) {
        rotate_left(slot);
        node->balance = kTreeEven;
        right->balance = kTreeEven;
    } else {
        rotate_right_left(slot);
    }
    return false;
}

bool left_grew(NTreeNode **slot) noexcept
{
    NTreeNode *node = *slot;
    switch (node->balance) {
    case kTreeRightHigh:
        node->balance = kTreeEven;
        return false;
    case kTreeEven:
        node->balance = kTreeLeftHigh;
        return true;
    default:
        break;
    }
    NTreeNode *left = node->left;
    if (left->balance == kTreeLeftHigh) {
        rotate_right(slot);
        node->balance = kTreeEven;
        left->balance = kTreeEven;
    } else {
        rotate_left_right(slot);
    }
    return false;
}

// ---- repair after deletion ----
// Each returns whether the subtree in the slot has lost a level.

bool left_shrank(NTreeNode **slot) noexcept
{
    NTreeNode *node = *slot;
    switch (node->balance) {
    case kTreeLeftHigh:
        node->balance = kTreeEven;
        return true;
    case kTreeEven:
        node->balance = kTreeRightHigh;
        return false;
    default:
        break;
    }
    NTreeNode *right = node->right;
    switch (right->balance) {
    case kTreeRightHigh:
        rotate_left(slot);
        node->balance = kTreeEven;
        right->balance = kTreeEven;
        return true;
    case kTreeEven:
        rotate_left(slot);
        node->balance = kTreeRightHigh;
        right->balance = kTreeLeftHigh;
        return false;
    default:
        rotate_right_left(slot);
        return true;
    }
}

bool right_shrank(NTreeNode **slot) noexcept
{
    NTreeNode *node = *slot;
    switch (node->balance) {
    case kTreeRightHigh:
        node->balance = kTreeEven;
        return true;
    case kTreeEven:
        node->balance = kTreeLeftHigh;
        return false;
    default:
        break;
    }
    NTreeNode *left = node->left;
    switch (left->balance) {
    case kTreeLeftHigh:
        rotate_right(slot);
        node->balance = kTreeEven;
        left->balance = kTreeEven;
        return true;
    case kTreeEven:
        rotate_right(slot);
        node->balance = kTreeLeftHigh;
        left->balance = kTreeRightHigh;
        return false;
    default:
        rotate_left_right(slot);
        return true;
    }
}

// ---- insert ----

// Bound on the height of a tree: an AVL tree of height h holds at least
// F(h + 2) - 1 nodes (F the Fibonacci numbers), and F(88) nodes of 24 bytes
// exceed any 64-bit address space.
constexpr int kMaxHeight = 96;

// The slot of the right child if `right', else that of the left one.
NTreeNode **child_slot(NTreeNode *node, bool right) noexcept
{
    return right ? &node->right : &node->left;
}

// ---- delete ----

struct Deletion {
    NCompareFunc compare;
    void *compare_arg;
    const void *key;
    NTreeNode *removed;
};

// Takes the rightmost node of the subtree in the slot out of its place,
// leaving its left child there, and repairs along the right spine on the
// way back. Returns whether the subtree lost a level.
bool take_rightmost(NTreeNode **slot, NTreeNode *&taken) noexcept
{
    NTreeNode *node = *slot;
    if (node->right != nullptr)
        return take_rightmost(&node->right, taken) && right_shrank(slot);
    taken = node;
    *slot = node->left;
    return true;
}

// Removes the node equal to the key from below the slot; returns whether the
// subtree lost a level.
bool delete_below(NTreeNode **slot, Deletion &del)
{
    NTreeNode *node = *slot;
    if (node == nullptr)
        return false;
    const int order = del.compare(tree_node_item(node), del.key, del.compare_arg);
    if (order < 0)
        return delete_below(&node->right, del) && right_shrank(slot);
    if (order > 0)
        return delete_below(&node->left, del) && left_shrank(slot);

    del.removed = node;
    if (node->right == nullptr) {
        *slot = node->left;
        return true;
    }
    if (node->left == nullptr) {
        *slot = node->right;
        return true;
    }
    NTreeNode *left = node->left;
    if (left->right == nullptr) {
        // The left child is the predecessor: it moves up and keeps its own
        // left subtree.
        left->right = node->right;
        left->balance = node->balance;
        *slot = left;
        return left_shrank(slot);
    }
    // The predecessor, the rightmost node of the left subtree, takes the
    // removed node's place; nodes move, items don't.
    NTreeNode *pred = nullptr;
    const bool lost = take_rightmost(&node->left, pred);
    pred->left = node->left;
    pred->right = node->right;
    pred->balance = node->balance;
    *slot = pred;
    return lost && left_shrank(slot);
}

// ---- walks ----

struct Walk {
    NItemFunc fn;
    void *arg;
};

void walk_preorder(NTreeNode *node, const Walk &walk)
{
    while (node != nullptr) {
        walk.fn(tree_node_item(node), walk.arg);
        walk_preorder(node->left, walk);
        node = node->right;
    }
}

void walk_inorder(NTreeNode *node, const Walk &walk)
{
    while (node != nullptr) {
        walk_inorder(node->left, walk);
        walk.fn(tree_node_item(node), walk.arg);
        node = node->right;
    }
}

// Children first, so fn may release the item.
void walk_postorder(NTreeNode *node, const Walk &walk)
{
    if (node == nullptr)
        return;
    walk_postorder(node->left, walk);
    walk_postorder(node->right, walk);
    walk.fn(tree_node_item(node), walk.arg);
}

struct RangeWalk {
    NCompareFunc compare;
    void *compare_arg;
    const void *low;
    const void *high;
    NItemFunc fn;
    void *arg;
};

// Subtrees wholly outside [low, high] are not entered.
void walk_range(NTreeNode *node, const RangeWalk &walk)
{
    while (node != nullptr) {
        void *item = tree_node_item(node);
        if (walk.compare(item, walk.low, walk.compare_arg) < 0) {
            node = node->right;
        } else if (walk.compare(item, walk.high, walk.compare_arg) > 0) {
            node = node->left;
        } else {
            walk_range(node->left, walk);
            walk.fn(item, walk.arg);
            node = node->right;
        }
    }
}

// ---- print ----

// State of NTreePrint: the depth of the node being printed (-1 above the
// root) and one mark per column, set where a vertical line runs.
struct Printer {
    FILE *stream;
    NTreePrintFunc fn;
    void *arg;
    int depth;
    uint64_t marks;

    void set_mark(int column) noexcept
    {
        if (column >= 0 && column < 64)
            marks |= uint64_t{1} << column;
    }
    void clear_mark(int column) noexcept
    {
        if (column >= 0 && column < 64)
            marks &= ~(uint64_t{1} << column);
    }
    bool marked(int column) const noexcept
    {
        return column >= 0 && column < 64 && (marks >> column & 1U) != 0;
    }
};

void print_node(Printer &pr, NTreeNode *node, bool is_left)
{
    const int d = pr.depth++;
    if (node->right != nullptr)
        print_node(pr, node->right, false);
    else
        pr.set_mark(d + 2);
    for (int column = 1; column <= pr.depth; ++column) {
        pr.fn(pr.stream, nullptr, nullptr);
        if (column == pr.depth)
            std::fputs("  +--", pr.stream);
        else if (pr.marked(column))
            std::fputs("  |  ", pr.stream);
        else
            std::fputs("     ", pr.stream);
    }
    pr.fn(pr.stream, tree_node_item(node), pr.arg);
    if (node->left != nullptr || node->right != nullptr)
        std::fputs("--+", pr.stream);
    std::fputc('\n', pr.stream);
    if (is_left)
        pr.clear_mark(pr.depth);
    else
        pr.set_mark(pr.depth);
    if (node->left != nullptr)
        print_node(pr, node->left, true);
    else
        pr.clear_mark(pr.depth);
    --pr.depth;
}

} // namespace

extern "C" {

void *NTreeAlloc(size_t size)
{
    return NTreeAllocWith(n_malloc, size);
}

// The header is left uninitialised; insert sets it.
void *NTreeAllocWith(NAllocFunc alloc, size_t size)
{
    if (alloc == nullptr || item_size_overflows(size))
        return nullptr;
    void *block = alloc(sizeof(NTreeNode) + size);
    if (block == nullptr)
        return nullptr;
    return tree_node_item(static_cast<NTreeNode *>(block));
}

void(NTreeFree)(void *item, void *unused)
{
    (void)unused;
    if (item != nullptr)
        n_free(tree_item_node(item));
}

void NTreeFreeWith(void *item, NFreeFunc free_fn)
{
    if (item != nullptr && free_fn != nullptr)
        free_fn(tree_item_node(item));
}

NTree *NTreeCreateWith(NAllocFunc alloc, NCompareFunc compare, void *compare_arg)
{
    if (alloc == nullptr || compare == nullptr)
        return nullptr;
    auto *tree = static_cast<NTree *>(alloc(sizeof(NTree)));
    if (tree == nullptr)
        return nullptr;
    tree->count = 0;
    tree->compare = compare;
    tree->compare_arg = compare_arg;
    tree->root = nullptr;
    return tree;
}

// The descent is a loop that remembers the slots it passed; the repair then
// climbs back along them while the subtree below has grown, exactly as a
// recursion would unwind.
void *NTreeInsert(NTree *tree, void *item)
{
    NTreeNode *const fresh = tree_item_node(item);
    const NCompareFunc compare = tree->compare;
    void *const compare_arg = tree->compare_arg;
    NTreeNode **path[kMaxHeight];
    int depth = 0;
    NTreeNode **slot = &tree->root;
    while (*slot != nullptr) {
        NTreeNode *node = *slot;
        prefetch_children(node);
        const int order = compare(tree_node_item(node), item, compare_arg);
        if (order == 0)
            return tree_node_item(node);
        path[depth++] = slot;
        slot = child_slot(node, order < 0);
    }
    fresh->left = nullptr;
    fresh->right = nullptr;
    fresh->balance = kTreeEven;
    *slot = fresh;
    ++tree->count;
    while (depth > 0) {
        NTreeNode **above = path[--depth];
        const bool grew = slot == &(*above)->right ? right_grew(above) : left_grew(above);
        if (!grew)
            break;
        slot = above;
    }
    return nullptr;
}

void *NTreeFind(NTree *tree, const void *key)
{
    const NCompareFunc compare = tree->compare;
    void *const compare_arg = tree->compare_arg;
    NTreeNode *node = tree->root;
    while (node != nullptr) {
        prefetch_children(node);
        const int order = compare(key, tree_node_item(node), compare_arg);
        if (order == 0)
            return tree_node_item(node);
        node = child(node, order > 0);
    }
    return nullptr;
}

void *NTreeDelete(NTree *tree, const void *key)
{
    Deletion del{tree->compare, tree->compare_arg, key, nullptr};
    delete_below(&tree->root, del);
    if (del.removed == nullptr)
        return nullptr;
    --tree->count;
    return tree_node_item(del.removed);
}

void *NTreeFindMin(NTree *tree)
{
    NTreeNode *node = tree->root;
    if (node == nullptr)
        return nullptr;
    while (node->left != nullptr)
        node = node->left;
    return tree_node_item(node);
}

void *NTreeFindMax(NTree *tree)
{
    NTreeNode *node = tree->root;
    if (node == nullptr)
        return nullptr;
    while (node->right != nullptr)
        node = node->right;
    return tree_node_item(node);
}

void NTreeRange(NTree *tree, const void *low, const void *high, NItemFunc fn, void *arg)
{
    walk_range(tree->root, RangeWalk{tree->compare, tree->compare_arg, low, high, fn, arg});
}

void NTreeTraverse(NTree *tree, int order, NItemFunc fn, void *arg)
{
    const Walk walk{fn, arg};
    switch (order) {
    case NTREE_PREORDER:
        walk_preorder(tree->root, walk);
        break;
    case NTREE_INORDER:
        walk_inorder(tree->root, walk);
        break;
    case NTREE_POSTORDER:
        walk_postorder(tree->root, walk);
        break;
    default:
        break;
    }
}

int32_t NTreeNumItems(NTree *tree)
{
    return tree->count;
}

void NTreePrint(FILE *stream, NTree *tree, NTreePrintFunc fn, void *arg)
{
    if (tree->root == nullptr)
        return;
    Printer pr{stream, fn, arg, -1, 0};
    print_node(pr, tree->root, false);
}

void NTreeDestroyWith(NTree *tree, NItemFunc fn, void *arg, NFreeFunc free_fn)
{
    if (tree == nullptr)
        return;
    if (fn != nullptr)
        walk_postorder(tree->root, Walk{fn, arg});
    if (free_fn != nullptr)
        free_fn(tree);
}

} // extern "C"
