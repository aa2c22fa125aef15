// Tests of the AVL tree: shapes after each repair case, a differential run
// against std::set with the AVL invariant checked after every step, walks,
// the drawing, and the order of compare's arguments.
#include <tarvolk/mem.h>
#include <tarvolk/tree.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "containers/tree_private.h"

namespace {

using tvk::NTreeNode;
using tvk::tree_node_item;

int key_of(const void *item)
{
    return *static_cast<const int *>(item);
}

int compare_ints(const void *a, const void *b, void *)
{
    return (key_of(a) > key_of(b)) - (key_of(a) < key_of(b));
}

int *new_item(int key)
{
    auto *item = static_cast<int *>(NTreeAlloc(sizeof(int)));
    *item = key;
    return item;
}

void collect(void *item, void *arg)
{
    static_cast<std::vector<int> *>(arg)->push_back(key_of(item));
}

// Pre-order " key/balance" list.
std::string shape_of(NTreeNode *node)
{
    if (node == nullptr)
        return "";
    return " " + std::to_string(key_of(tree_node_item(node))) + "/" +
           std::to_string(node->balance) + shape_of(node->left) + shape_of(node->right);
}

// Height of the subtree; fails the test where a balance code disagrees
// with the heights, or where the heights differ by more than one.
int checked_height(NTreeNode *node)
{
    if (node == nullptr)
        return 0;
    const int left = checked_height(node->left);
    const int right = checked_height(node->right);
    EXPECT_LE(std::abs(left - right), 1);
    EXPECT_EQ(node->balance, static_cast<uint32_t>(right - left + 1)) << key_of(tree_node_item(node));
    return 1 + std::max(left, right);
}

class TreeTest : public ::testing::Test {
protected:
    void SetUp() override { tree = NTreeCreateWith(n_malloc, compare_ints, nullptr); }
    void TearDown() override { NTreeDestroyWith(tree, NTreeFree, nullptr, n_free); }

    // Starts over with a tree of these keys.
    void rebuild(const std::vector<int> &keys)
    {
        TearDown();
        SetUp();
        for (int key : keys)
            ASSERT_EQ(NTreeInsert(tree, new_item(key)), nullptr) << key;
    }
    // The drawing, with items as letters (1 is a); blank columns must come
    // with a null arg.
    std::string printed()
    {
        char *text = nullptr;
        size_t size = 0;
        FILE *stream = open_memstream(&text, &size);
        int arg = 0;
        NTreePrint(stream, tree, [](FILE *out, const void *item, void *fn_arg) {
            std::fputc(item != nullptr ? 'a' + key_of(item) - 1 : fn_arg == nullptr ? ' ' : '?', out);
        }, &arg);
        std::fclose(stream);
        std::string result(text, size);
        std::free(text);
        return result;
    }

    NTree *tree = nullptr;
};

// Pre-order key/balance after inserts and deletes, one case per repair rule.
TEST_F(TreeTest, RepairShapes)
{
    struct Case {
        std::vector<int> inserts, deletes;
        const char *shape;
    } const cases[] = {
        {{1, 2, 3, 4, 5, 6, 7}, {}, " 4/1 2/1 1/1 3/1 6/1 5/1 7/1"},
        {{3, 2, 1}, {}, " 2/1 1/1 3/1"},
        {{1, 3, 2}, {}, " 2/1 1/1 3/1"},
        {{6, 3, 7, 1, 5, 4}, {}, " 5/1 3/1 1/1 4/1 6/2 7/1"},         // left-right, m left-high
        {{60, 30, 70, 10, 50, 55}, {}, " 50/1 30/0 10/1 60/1 55/1 70/1"}, // m right-high
        {{20, 10, 40, 30, 50, 35}, {}, " 30/1 20/0 10/1 40/1 35/1 50/1"}, // right-left
        {{1, 2, 3, 4, 5, 6, 7}, {4}, " 3/1 2/0 1/1 6/1 5/1 7/1"}, // predecessor from the spine
        {{1, 2, 3, 4, 5, 6, 7}, {2}, " 4/1 1/2 3/1 6/1 5/1 7/1"}, // left child is predecessor
        {{1, 2, 3, 4, 5, 6, 7}, {7}, " 4/1 2/1 1/1 3/1 6/0 5/1"},
        {{2, 1, 3, 4}, {3}, " 2/1 1/1 4/1"},                       // only a right child
        {{2, 1, 4, 3, 5}, {1}, " 4/0 2/2 3/1 5/1"},                // r even: no height lost
        {{2, 1, 3, 4}, {1}, " 3/1 2/1 4/1"},
        {{2, 1, 4, 3}, {1}, " 3/1 2/1 4/1"},
        {{4, 5, 2, 1, 3}, {5}, " 2/2 1/1 4/0 3/1"},
        {{3, 4, 1, 2}, {4}, " 2/1 1/1 3/1"},
    };
    for (const Case &c : cases) {
        rebuild(c.inserts);
        for (int key : c.deletes)
            NTreeFree(NTreeDelete(tree, &key));
        EXPECT_EQ(shape_of(tree->root), c.shape);
    }
}

TEST_F(TreeTest, DifferentialAgainstStdSet)
{
    for (unsigned seed = 1; seed <= 6; ++seed) {
        std::mt19937 rng(seed);
        std::map<int, int *> model; // key -> the item that holds it
        for (int step = 0; step < 3000; ++step) {
            int key = static_cast<int>(rng() % 200);
            const auto found = model.find(key);
            int *const expected = found == model.end() ? nullptr : found->second;
            if (rng() % 3 == 0) {
                int *item = new_item(key);
                EXPECT_EQ(NTreeInsert(tree, item), expected);
                if (expected == nullptr)
                    model[key] = item;
                else
                    NTreeFree(item);
            } else if (rng() % 2 == 0) {
                EXPECT_EQ(NTreeDelete(tree, &key), expected);
                NTreeFree(expected);
                model.erase(key);
            } else {
                EXPECT_EQ(NTreeFind(tree, &key), expected);
            }
            checked_height(tree->root);
            ASSERT_EQ(NTreeNumItems(tree), static_cast<int32_t>(model.size()));
            std::vector<int *> in_order, expected_order;
            NTreeTraverse(tree, NTREE_INORDER, [](void *item, void *arg) {
                static_cast<std::vector<int *> *>(arg)->push_back(static_cast<int *>(item));
            }, &in_order);
            for (const auto &entry : model)
                expected_order.push_back(entry.second);
            ASSERT_EQ(in_order, expected_order) << "seed " << seed << " step " << step;
            EXPECT_EQ(NTreeFindMin(tree), model.empty() ? nullptr : model.begin()->second);
            EXPECT_EQ(NTreeFindMax(tree), model.empty() ? nullptr : model.rbegin()->second);
        }
        rebuild({});
    }
}

TEST_F(TreeTest, WalksAndRanges)
{
    const std::pair<int, std::vector<int>> walks[] = {
        {NTREE_PREORDER, {4, 2, 1, 3, 6, 5, 7}}, {NTREE_INORDER, {1, 2, 3, 4, 5, 6, 7}},
        {NTREE_POSTORDER, {1, 3, 2, 5, 7, 6, 4}}, {3, {}}, {-1, {}}};
    rebuild({1, 2, 3, 4, 5, 6, 7});
    for (const auto &[order, expected] : walks) {
        std::vector<int> got;
        NTreeTraverse(tree, order, collect, &got);
        EXPECT_EQ(got, expected) << order;
    }
    const std::pair<int, int> ranges[] = {{2, 5}, {0, 9}, {4, 4}, {8, 9}, {5, 3}, {0, 1}};
    for (const auto &[low, high] : ranges) {
        std::vector<int> got, expected;
        NTreeRange(tree, &low, &high, collect, &got);
        for (int key = std::max(low, 1); key <= std::min(high, 7); ++key)
            expected.push_back(key);
        EXPECT_EQ(got, expected) << low << ".." << high;
    }
}

// compare(key, item) in find, (item, key) elsewhere; a range of one key in
// a large tree compares only along two paths.
TEST_F(TreeTest, CompareArguments)
{
    static std::vector<std::pair<const void *, const void *>> calls;
    NTree *t = NTreeCreateWith(n_malloc, [](const void *a, const void *b, void *) {
        calls.emplace_back(a, b);
        return compare_ints(a, b, nullptr);
    }, nullptr);
    for (int key = 0; key < 4096; ++key)
        NTreeInsert(t, new_item(key));
    int *fresh = new_item(5000);
    int key = 1234, high = 1234;
    auto check = [&](auto &&call, bool key_first, std::initializer_list<const void *> keys) {
        calls.clear();
        call();
        EXPECT_FALSE(calls.empty());
        for (const auto &[a, b] : calls)
            EXPECT_TRUE(std::find(keys.begin(), keys.end(), key_first ? a : b) != keys.end());
    };
    check([&] { NTreeInsert(t, fresh); }, false, {fresh});
    check([&] { NTreeFind(t, &key); }, true, {&key});
    check([&] { NTreeRange(t, &key, &high, [](void *, void *) {}, nullptr); }, false, {&key, &high});
    EXPECT_LE(calls.size(), 4U * 14);
    check([&] { NTreeFree(NTreeDelete(t, &key)); }, false, {&key});
    NTreeDestroyWith(t, NTreeFree, nullptr, n_free);
}

TEST_F(TreeTest, Print)
{
    struct Case {
        std::vector<int> keys;
        const char *text;
    } const cases[] = {
        {{}, ""},
        {{1}, "a\n"},
        {{1, 2}, "   +--b\na--+\n"},
        {{2, 1}, "b--+\n   +--a\n"},
        {{2, 1, 3}, "   +--c\nb--+\n   +--a\n"},
        {{3, 2, 4, 1}, "   +--d\nc--+\n   +--b--+\n         +--a\n"},
        {{3, 1, 4, 2}, "   +--d\nc--+\n         +--b\n   +--a--+\n"},
        // A leaf without a right child marks the column two to its right, and
        // nothing clears that mark before g's line.
        {{4, 8, 9, 3, 10, 1, 5, 12, 2, 6, 11, 7},
         "         +--l--+\n"
         "         |     +--k\n"
         "   +--j--+\n"
         "   |     +--i\n"
         "h--+\n"
         "   |           |     +--g\n"
         "   |           +--f--+\n"
         "   |     +--e--+\n"
         "   |     |     +--d\n"
         "   +--c--+\n"
         "         |     +--b\n"
         "         +--a--+\n"},
    };
    for (const Case &c : cases) {
        rebuild(c.keys);
        EXPECT_EQ(printed(), c.text);
    }
}

TEST_F(TreeTest, AllocationAndDestruction)
{
    auto failing = [](size_t) -> void * { return nullptr; };
    EXPECT_EQ(NTreeAllocWith(failing, 4), nullptr);
    EXPECT_EQ(NTreeAllocWith(n_malloc, SIZE_MAX), nullptr);
    EXPECT_EQ(NTreeCreateWith(failing, compare_ints, nullptr), nullptr);
    EXPECT_EQ(NTreeCreateWith(nullptr, compare_ints, nullptr), nullptr);
    EXPECT_EQ(NTreeCreateWith(n_malloc, nullptr, nullptr), nullptr);
    void *item = NTreeAllocWith(n_malloc, 1);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(item) % 8, 0U);
    NTreeFreeWith(item, n_free);

    // Post-order, so the callback may free; a null callback leaves the items;
    // an empty tree gets free only.
    rebuild({1, 2, 3, 4, 5, 6, 7});
    std::vector<int> seen;
    NTreeDestroyWith(tree, [](void *it, void *arg) { collect(it, arg); NTreeFree(it); }, &seen, n_free);
    EXPECT_EQ(seen, (std::vector<int>{1, 3, 2, 5, 7, 6, 4}));
    SetUp();
    int *kept = new_item(1);
    NTreeInsert(tree, kept);
    NTreeDestroyWith(tree, nullptr, nullptr, n_free);
    NTreeFree(kept);
    static int frees = 0;
    NTreeDestroyWith(NTreeCreateWith(n_malloc, compare_ints, nullptr), collect, &seen,
                     [](void *freed) { ++frees; n_free(freed); });
    EXPECT_EQ(frees + seen.size(), 8U);
    SetUp(); // for TearDown
}

} // namespace
