// The red-black tree with embedded nodes, parent links and rings of equal
// keys.
//
// Only the first item of a key sits in the tree. Later items of that key
// join its ring, each directly behind the node in the tree in the next
// direction, so next dup runs from the newest item to the oldest and back
// to the node in the tree. Every search and step that lands on a node in
// the tree hands out the first item of its key: the node's next dup if it
// has a ring, else the node itself.
#include <tarvolk/rbtree.h>

#include <tarvolk/mem.h>

#include <cstdint>
#include <initializer_list>

#include "containers/rbtree_private.h"

namespace {

using Node = NRBTreeNode;

constexpr uint16_t kRed = NRBTREE_RED;
constexpr uint16_t kBlack = NRBTREE_BLACK;

bool is_black(const Node *node) noexcept
{
    return node == nullptr || node->colour == kBlack;
}

// The first item of the key of a node in the tree.
Node *first_of_key(Node *node) noexcept
{
    return node->next_dup != nullptr ? node->next_dup : node;
}

// The right child if `right', else the left one, picked without a branch:
// the way a search goes is data-dependent, so a branch would be mispredicted
// about every other level.
Node *child(const Node *node, bool right) noexcept
{
    const auto left_bits = reinterpret_cast<uintptr_t>(node->left);
    const auto right_bits = reinterpret_cast<uintptr_t>(node->right);
    const uintptr_t mask = 0 - static_cast<uintptr_t>(right);
    return reinterpret_cast<Node *>(left_bits ^ ((left_bits ^ right_bits) & mask));
}

// Asks for both children of a node on the way down to be fetched, node and
// the start of the caller's data behind it, while compare runs on the node
// itself: in a tree larger than the cache every level would otherwise wait
// for memory after the comparison.
void prefetch_children(const Node *node) noexcept
{
    for (const auto bits : {reinterpret_cast<uintptr_t>(node->left),
                            reinterpret_cast<uintptr_t>(node->right)}) {
        // Integer arithmetic: a child may be null, and a prefetch of any
        // address is harmless.
        __builtin_prefetch(reinterpret_cast<const void *>(bits));
        __builtin_prefetch(reinterpret_cast<const void *>(bits + sizeof(Node)));
    }
}

Node *leftmost(Node *node) noexcept
{
    while (node->left != nullptr)
        node = node->left;
    return node;
}

Node *rightmost(Node *node) noexcept
{
    while (node->right != nullptr)
        node = node->right;
    return node;
}

// Puts `to' where `from' hangs below its parent (or at the root).
void replace_child(NRBTree *tree, Node *parent, Node *from, Node *to) noexcept
{
    if (parent == nullptr)
        tree->root = to;
    else if (parent->left == from)
        parent->left = to;
    else
        parent->right = to;
}

void rotate_left(NRBTree *tree, Node *node) noexcept
{
    Node *right = node->right;
    node->right = right->left;
    if (right->left != nullptr)
        right->left->parent = node;
    right->parent = node->parent;
    replace_child(tree, node->parent, node, right);
    right->left = node;
    node->parent = right;
}

void rotate_right(NRBTree *tree, Node *node) noexcept
{
    Node *left = node->left;
    node->left = left->right;
    if (left->right != nullptr)
        left->right->parent = node;
    left->parent = node->parent;
    replace_child(tree, node->parent, node, left);
    left->right = node;
    node->parent = left;
}

// Restores the red-black rules after `node' went in as a red leaf.
void repair_insert(NRBTree *tree, Node *node) noexcept
{
    Node *parent;
    while ((parent = node->parent) != nullptr && parent->colour == kRed) {
        Node *grand = parent->parent; // exists: a red node is never the root
        if (parent == grand->left) {
            Node *uncle = grand->right;
            if (!is_black(uncle)) {
                parent->colour = kBlack;
                uncle->colour = kBlack;
                grand->colour = kRed;
                node = grand;
                continue;
            }
            if (node == parent->right) {
                rotate_left(tree, parent);
                node = parent;
                parent = node->parent;
            }
            parent->colour = kBlack;
            grand->colour = kRed;
            rotate_right(tree, grand);
        } else {
            Node *uncle = grand->left;
            if (!is_black(uncle)) {
                parent->colour = kBlack;
                uncle->colour = kBlack;
                grand->colour = kRed;
                node = grand;
                continue;
            }
            if (node == parent->left) {
                rotate_right(tree, parent);
                node = parent;
                parent = node->parent;
            }
            parent->colour = kBlack;
            grand->colour = kRed;
            rotate_left(tree, grand);
        }
    }
    tree->root->colour = kBlack;
}

// Restores the red-black rules after a black node was removed; `node' (may
// be null) is the child that took its place below `parent'.
void repair_delete(NRBTree *tree, Node *node, Node *parent) noexcept
{
    while (node != tree->root && is_black(node)) {
        if (node == parent->left) {
            Node *sibling = parent->right;
            if (sibling->colour == kRed) {
                sibling->colour = kBlack;
                parent->colour = kRed;
                rotate_left(tree, parent);
                sibling = parent->right;
            }
            if (is_black(sibling->left) && is_black(sibling->right)) {
                sibling->colour = kRed;
                node = parent;
                parent = node->parent;
                continue;
            }
            if (is_black(sibling->right)) {
                sibling->left->colour = kBlack;
                sibling->colour = kRed;
                rotate_right(tree, sibling);
                sibling = parent->right;
            }
            sibling->colour = parent->colour;
            parent->colour = kBlack;
            sibling->right->colour = kBlack;
            rotate_left(tree, parent);
        } else {
            Node *sibling = parent->left;
            if (sibling->colour == kRed) {
                sibling->colour = kBlack;
                parent->colour = kRed;
                rotate_right(tree, parent);
                sibling = parent->left;
            }
            if (is_black(sibling->left) && is_black(sibling->right)) {
                sibling->colour = kRed;
                node = parent;
                parent = node->parent;
                continue;
            }
            if (is_black(sibling->left)) {
                sibling->right->colour = kBlack;
                sibling->colour = kRed;
                rotate_left(tree, sibling);
                sibling = parent->left;
            }
            sibling->colour = parent->colour;
            parent->colour = kBlack;
            sibling->left->colour = kBlack;
            rotate_right(tree, parent);
        }
        node = tree->root;
        break;
    }
    if (node != nullptr)
        node->colour = kBlack;
}

// Ordinary red-black removal of a node in the tree that has no ring. A node
// with two children is replaced by its in-order successor; nodes are
// relinked, item data stays where it is.
void erase_node(NRBTree *tree, Node *node) noexcept
{
    Node *child;
    Node *child_parent;
    uint16_t removed_colour = node->colour;

    if (node->left == nullptr || node->right == nullptr) {
        child = node->left != nullptr ? node->left : node->right;
        child_parent = node->parent;
        if (child != nullptr)
            child->parent = child_parent;
        replace_child(tree, node->parent, node, child);
    } else {
        Node *succ = leftmost(node->right);
        removed_colour = succ->colour;
        child = succ->right;
        if (succ->parent == node) {
            child_parent = succ;
        } else {
            child_parent = succ->parent;
            child_parent->left = child;
            if (child != nullptr)
                child->parent = child_parent;
            succ->right = node->right;
            succ->right->parent = succ;
        }
        succ->left = node->left;
        succ->left->parent = succ;
        succ->parent = node->parent;
        succ->colour = node->colour;
        replace_child(tree, node->parent, node, succ);
    }
    if (removed_colour == kBlack)
        repair_delete(tree, child, child_parent);
}

// The oldest duplicate takes the place of the node in the tree, with its
// links and colour; the shape doesn't change.
void promote_duplicate(NRBTree *tree, Node *node, Node *dup) noexcept
{
    dup->parent = node->parent;
    dup->left = node->left;
    dup->right = node->right;
    dup->colour = node->colour;
    dup->duplicate = 0;
    if (dup->left != nullptr)
        dup->left->parent = dup;
    if (dup->right != nullptr)
        dup->right->parent = dup;
    replace_child(tree, node->parent, node, dup);
}

// For a node in the tree with a ring: walking previous dup from the node
// comes back to it, each step's next dup points back, and the last node
// walked is the node's next dup.
bool ring_consistent(const Node *node) noexcept
{
    if (node->next_dup == nullptr && node->prev_dup == nullptr)
        return true;
    if (node->next_dup == nullptr || node->prev_dup == nullptr)
        return false;
    const Node *walked = node;
    for (;;) {
        const Node *prev = walked->prev_dup;
        if (prev == nullptr || prev->next_dup != walked)
            return false;
        if (prev == node)
            return true; // the step just made checked node->next_dup == walked
        walked = prev;
    }
}

// Next or previous key in the tree from a node in the tree, as its first
// item; `Forward' picks the direction.
template <bool Forward> Node *step_key(Node *node) noexcept
{
    Node *down = Forward ? node->right : node->left;
    if (down != nullptr)
        return first_of_key(Forward ? leftmost(down) : rightmost(down));
    Node *parent = node->parent;
    while (parent != nullptr && node == (Forward ? parent->right : parent->left)) {
        node = parent;
        parent = node->parent;
    }
    return parent != nullptr ? first_of_key(parent) : nullptr;
}

} // namespace

extern "C" {

NRBTree *NRBTreeCreate(NCompareFunc compare, void *compare_arg)
{
    if (compare == nullptr)
        return nullptr;
    auto *tree = static_cast<NRBTree *>(n_malloc(sizeof(NRBTree)));
    if (tree == nullptr)
        return nullptr;
    tree->compare = compare;
    tree->compare_arg = compare_arg;
    tree->root = nullptr;
    return tree;
}

void NRBTreeDestroy(NRBTree *tree)
{
    n_free(tree);
}

void NRBTreeClear(NRBTree *tree)
{
    tree->root = nullptr;
}

void NRBTreeInsert(NRBTree *tree, NRBTreeNode *node)
{
    const NCompareFunc compare = tree->compare;
    void *const compare_arg = tree->compare_arg;
    Node *parent = nullptr;
    Node **slot = &tree->root;
    while (*slot != nullptr) {
        parent = *slot;
        prefetch_children(parent);
        const int order = compare(node, parent, compare_arg);
        if (order == 0) {
            // Into the ring, directly behind the node in the tree.
            node->left = nullptr;
            node->right = nullptr;
            node->parent = nullptr;
            node->colour = kRed;
            node->duplicate = 1;
            node->prev_dup = parent;
            if (parent->next_dup == nullptr) {
                node->next_dup = parent;
                parent->prev_dup = node;
            } else {
                node->next_dup = parent->next_dup;
                parent->next_dup->prev_dup = node;
            }
            parent->next_dup = node;
            return;
        }
        slot = order < 0 ? &parent->left : &parent->right;
    }
    node->left = nullptr;
    node->right = nullptr;
    node->parent = parent;
    node->colour = kRed;
    node->duplicate = 0;
    node->next_dup = nullptr;
    node->prev_dup = nullptr;
    *slot = node;
    repair_insert(tree, node);
}

void NRBTreeDelete(NRBTree *tree, NRBTreeNode *node)
{
    if (node->next_dup == nullptr) {
        erase_node(tree, node);
        return;
    }
    Node *next = node->next_dup;
    Node *prev = node->prev_dup;
    prev->next_dup = next;
    next->prev_dup = prev;
    if (next == prev) {
        next->next_dup = nullptr;
        next->prev_dup = nullptr;
    }
    if (node->duplicate == 0)
        promote_duplicate(tree, node, prev);
}

NRBTreeNode *NRBTreeFind(NRBTree *tree, const void *key)
{
    const NCompareFunc compare = tree->compare;
    void *const compare_arg = tree->compare_arg;
    Node *node = tree->root;
    while (node != nullptr) {
        prefetch_children(node);
        const int order = compare(key, node, compare_arg);
        if (order == 0)
            return first_of_key(node);
        node = child(node, order > 0);
    }
    return nullptr;
}

NRBTreeNode *NRBTreeFindMoreThan(NRBTree *tree, const void *key, int inclusive)
{
    Node *above = nullptr;
    Node *node = tree->root;
    while (node != nullptr) {
        const int order = tree->compare(key, node, tree->compare_arg);
        if (order < 0) {
            above = node;
            node = node->left;
        } else if (order == 0 && inclusive != 0) {
            return first_of_key(node);
        } else {
            node = node->right;
        }
    }
    return above != nullptr ? first_of_key(above) : nullptr;
}

NRBTreeNode *NRBTreeFindLessThan(NRBTree *tree, const void *key, int inclusive)
{
    Node *below = nullptr;
    Node *node = tree->root;
    while (node != nullptr) {
        const int order = tree->compare(key, node, tree->compare_arg);
        if (order > 0) {
            below = node;
            node = node->right;
        } else if (order == 0 && inclusive != 0) {
            return first_of_key(node);
        } else {
            node = node->left;
        }
    }
    return below != nullptr ? first_of_key(below) : nullptr;
}

NRBTreeNode *NRBTreeMin(NRBTree *tree)
{
    return tree->root != nullptr ? first_of_key(leftmost(tree->root)) : nullptr;
}

NRBTreeNode *NRBTreeMax(NRBTree *tree)
{
    return tree->root != nullptr ? first_of_key(rightmost(tree->root)) : nullptr;
}

NRBTreeNode *NRBTreeNext(NRBTreeNode *node)
{
    if (node->duplicate != 0)
        return node->next_dup;
    return step_key<true>(node);
}

// Among keys the mirror image of NRBTreeNext, but inside a ring it also
// follows next dup, so the items of a key come newest first both ways.
NRBTreeNode *NRBTreePrevious(NRBTreeNode *node)
{
    if (node->duplicate != 0)
        return node->next_dup;
    return step_key<false>(node);
}

NRBTreeNode *NRBTreeNextDup(NRBTreeNode *node)
{
    return node->duplicate != 0 ? node->next_dup : nullptr;
}

int NRBTreeCompare(NRBTree *tree, const void *a, const void *b)
{
    return tree->compare(a, b, tree->compare_arg);
}

// Structure only: parent links and rings. Colours, black heights and key
// order are not examined. The walk is iterative (it climbs by the parent
// links it has already checked), so a damaged, degenerate tree can't
// exhaust the stack.
int NRBTreeValidate(NRBTree *tree)
{
    Node *node = tree->root;
    if (node == nullptr)
        return 1;
    if (node->parent != nullptr)
        return 0;
    for (;;) {
        if (!ring_consistent(node))
            return 0;
        if (node->left != nullptr && node->left == node->right)
            return 0;
        if (node->left != nullptr) {
            if (node->left->parent != node)
                return 0;
            node = node->left;
            continue;
        }
        if (node->right != nullptr) {
            if (node->right->parent != node)
                return 0;
            node = node->right;
            continue;
        }
        // A leaf: climb to the first ancestor whose right subtree is still
        // to be visited.
        for (;;) {
            Node *parent = node->parent;
            if (parent == nullptr)
                return 1;
            if (node == parent->left && parent->right != nullptr) {
                if (parent->right->parent != parent)
                    return 0;
                node = parent->right;
                break;
            }
            node = parent;
        }
    }
}

} // extern "C"
