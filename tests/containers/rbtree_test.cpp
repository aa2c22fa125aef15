// Tests of the red-black tree: a differential run against std::multimap with
// the red-black rules and the rings checked after every step, the rings of
// equal keys, range searches, delete by successor, and validation.
#include <tarvolk/rbtree.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <map>
#include <random>
#include <tuple>
#include <utility>
#include <vector>

#include "containers/rbtree_private.h"
#include "support/keyed.h"

namespace {

struct Item {
    NRBTreeNode node;
    int key;
};

const auto compare_keys = tvk_test::compare_by<Item, &Item::key>;

int key_of(const void *item)
{
    return static_cast<const Item *>(item)->key;
}

// Checks the subtree below parent and returns its black height.
int check_subtree(const NRBTreeNode *node, const NRBTreeNode *parent, const int *low, const int *high)
{
    if (node == nullptr)
        return 1;
    const int key = key_of(node);
    EXPECT_EQ(node->parent, parent) << key;
    EXPECT_EQ(node->duplicate, 0) << key;
    EXPECT_TRUE(low == nullptr || *low < key) << key;
    EXPECT_TRUE(high == nullptr || key < *high) << key;
    if (node->colour == NRBTREE_RED) {
        for (const NRBTreeNode *child : {node->left, node->right})
            EXPECT_TRUE(child == nullptr || child->colour == NRBTREE_BLACK) << "red-red at " << key;
    }
    EXPECT_EQ(node->next_dup == nullptr, node->prev_dup == nullptr) << key;
    for (const NRBTreeNode *dup = node->next_dup; dup != nullptr && dup != node; dup = dup->next_dup) {
        EXPECT_EQ(dup->duplicate, 1) << key;
        EXPECT_EQ(key_of(dup), key);
        EXPECT_EQ(dup->next_dup->prev_dup, dup) << key;
    }
    const int left = check_subtree(node->left, node, low, &key);
    const int right = check_subtree(node->right, node, &key, high);
    EXPECT_EQ(left, right) << "black heights differ at " << key;
    return left + (node->colour == NRBTREE_BLACK ? 1 : 0);
}

void check_tree(NRBTree *tree)
{
    EXPECT_TRUE(tree->root == nullptr || tree->root->colour == NRBTREE_BLACK);
    check_subtree(tree->root, nullptr, nullptr, nullptr);
    EXPECT_EQ(NRBTreeValidate(tree), 1);
}

using Model = std::multimap<int, Item *>; // equal keys in insertion order

// The first item of a key: the newest.
Item *newest(const Model &model, int key)
{
    return std::prev(model.upper_bound(key))->second;
}

// Items in the order of a forward (or backward) walk: keys ascending
// (descending), the items of one key newest first.
std::vector<Item *> model_walk(const Model &model, bool backward)
{
    std::vector<int> keys;
    for (auto it = model.begin(); it != model.end(); it = model.upper_bound(it->first))
        keys.push_back(it->first);
    if (backward)
        std::reverse(keys.begin(), keys.end());
    std::vector<Item *> out;
    for (int key : keys)
        for (auto [from, at] = model.equal_range(key); at != from;)
            out.push_back((--at)->second);
    return out;
}

std::vector<Item *> tree_walk(NRBTree *tree, bool backward)
{
    std::vector<Item *> out;
    for (NRBTreeNode *node = backward ? NRBTreeMax(tree) : NRBTreeMin(tree); node != nullptr;
         node = backward ? NRBTreePrevious(node) : NRBTreeNext(node))
        out.push_back(reinterpret_cast<Item *>(node));
    return out;
}

class RBTreeTest : public ::testing::Test {
protected:
    void SetUp() override { tree = NRBTreeCreate(compare_keys, nullptr); }
    void TearDown() override { NRBTreeDestroy(tree); }

    NRBTree *tree = nullptr;
};

TEST_F(RBTreeTest, DifferentialAgainstStdMultimap)
{
    for (unsigned seed = 1; seed <= 5; ++seed) {
        std::mt19937 rng(seed);
        std::vector<Item> items(400);
        std::vector<Item *> idle, live;
        for (Item &item : items)
            idle.push_back(&item);
        Model model;
        NRBTreeClear(tree);
        for (int step = 0; step < 2500; ++step) {
            const int key = static_cast<int>(rng() % 42) - 1;
            const int inclusive = static_cast<int>(rng() % 2);
            const unsigned op = rng() % 5;
            if (op < 2 && !idle.empty()) {
                Item *item = idle[rng() % idle.size()];
                std::erase(idle, item);
                std::memset(item, 0xa5, sizeof(Item)); // insert must set every field
                item->key = static_cast<int>(rng() % 40);
                NRBTreeInsert(tree, &item->node);
                model.emplace(item->key, item);
                live.push_back(item);
            } else if (op == 2 && !live.empty()) {
                Item *item = live[rng() % live.size()];
                NRBTreeDelete(tree, &item->node);
                std::erase(live, item);
                idle.push_back(item);
                auto it = model.lower_bound(item->key);
                while (it->second != item)
                    ++it;
                model.erase(it);
            } else {
                Item probe{};
                probe.key = key;
                auto first_at = [&](Model::const_iterator it) {
                    return it == model.end() ? nullptr : newest(model, it->first);
                };
                EXPECT_EQ(reinterpret_cast<Item *>(NRBTreeFind(tree, &probe)),
                          model.count(key) != 0 ? newest(model, key) : nullptr);
                EXPECT_EQ(reinterpret_cast<Item *>(NRBTreeFindMoreThan(tree, &probe, inclusive)),
                          first_at(inclusive ? model.lower_bound(key) : model.upper_bound(key)));
                const auto above = inclusive ? model.upper_bound(key) : model.lower_bound(key);
                EXPECT_EQ(reinterpret_cast<Item *>(NRBTreeFindLessThan(tree, &probe, inclusive)),
                          above == model.begin() ? nullptr : first_at(std::prev(above)));
            }
            check_tree(tree);
            ASSERT_EQ(tree_walk(tree, false), model_walk(model, false)) << seed << "/" << step;
            ASSERT_EQ(tree_walk(tree, true), model_walk(model, true)) << seed << "/" << step;
        }
    }
}

// Items A, B, C of one key, inserted in that order, between X and Y.
TEST_F(RBTreeTest, RingOfEqualKeys)
{
    for (int removal = 0; removal < 3; ++removal) {
        Item x{{}, 1}, a{{}, 5}, b{{}, 5}, c{{}, 5}, y{{}, 9};
        NRBTreeClear(tree);
        for (Item *item : {&x, &a, &y, &b, &c})
            NRBTreeInsert(tree, &item->node);
        const NRBTreeNode was = a.node;
        std::vector<Item *> expected{&x, &c, &b, &a, &y};
        if (removal == 0) {
            EXPECT_EQ(NRBTreeFind(tree, &b), &c.node);
            EXPECT_EQ(NRBTreeNextDup(&c.node), &b.node);
            EXPECT_EQ(NRBTreeNextDup(&b.node), &a.node);
            EXPECT_EQ(NRBTreeNextDup(&a.node), nullptr);
        } else if (removal == 1) { // the oldest duplicate takes A's place, links and colour
            NRBTreeDelete(tree, &a.node);
            expected = {&x, &c, &b, &y};
            EXPECT_EQ(std::tie(b.node.parent, b.node.left, b.node.right, b.node.colour, b.node.duplicate),
                      std::tie(was.parent, was.left, was.right, was.colour, was.duplicate));
            EXPECT_TRUE(b.node.next_dup == &c.node && b.node.prev_dup == &c.node);
        } else {
            NRBTreeDelete(tree, &b.node);
            NRBTreeDelete(tree, &c.node);
            expected = {&x, &a, &y};
            EXPECT_TRUE(a.node.next_dup == nullptr && a.node.prev_dup == nullptr);
        }
        check_tree(tree);
        EXPECT_EQ(tree_walk(tree, false), expected) << removal;
    }
}

TEST_F(RBTreeTest, DeleteUsesTheSuccessor)
{
    Item one{{}, 1}, two{{}, 2}, three{{}, 3};
    for (Item *item : {&two, &one, &three})
        NRBTreeInsert(tree, &item->node);
    NRBTreeDelete(tree, &two.node);
    EXPECT_EQ(tree->root, &three.node);
    EXPECT_EQ(three.node.colour, NRBTREE_BLACK);
    EXPECT_EQ(three.node.left, &one.node);
    EXPECT_EQ(one.node.colour, NRBTREE_RED);
    EXPECT_EQ(one.node.parent, &three.node);
}

// Items 0..4 with keys 0..4, and 5, 6, 7 in the ring of 4; each case
// damages one link. Colours are not examined.
TEST_F(RBTreeTest, ValidateChecksLinksOnly)
{
    EXPECT_EQ(NRBTreeValidate(tree), 1);
    for (int damage = 0; damage < 7; ++damage) {
        Item v[8];
        NRBTreeClear(tree);
        for (int i = 0; i < 8; ++i) {
            v[i].key = std::min(i, 4);
            NRBTreeInsert(tree, &v[i].node);
        }
        NRBTreeNode *root = tree->root;
        switch (damage) {
        case 1: root->colour = NRBTREE_RED; break;
        case 2: root->parent = root->left; break;
        case 3: root->left->parent = root->right; break;
        case 4: v[7].node.prev_dup = &v[7].node; break;
        case 5: v[7].node.next_dup = &v[5].node; break;
        case 6: v[6].node.next_dup = &v[4].node; break;
        }
        EXPECT_EQ(NRBTreeValidate(tree), damage < 2 ? 1 : 0) << damage;
    }
}

TEST_F(RBTreeTest, CompareArguments)
{
    EXPECT_EQ(NRBTreeCreate(nullptr, nullptr), nullptr);
    // Searches and inserts pass the key or new node first, and the tree's arg.
    static std::vector<std::pair<const void *, void *>> calls;
    int arg = 0;
    NRBTree *t = NRBTreeCreate([](const void *a, const void *b, void *carg) {
        calls.emplace_back(a, carg);
        return compare_keys(a, b, nullptr);
    }, &arg);
    Item items[6] = {{{}, 3}, {{}, 1}, {{}, 5}, {{}, 2}, {{}, 4}, {{}, 3}};
    Item probe{{}, 4};
    auto only = [&](const void *first) {
        for (const auto &[a, carg] : calls)
            EXPECT_TRUE(a == first && carg == &arg);
        calls.clear();
    };
    for (Item &item : items) {
        NRBTreeInsert(t, &item.node);
        only(&item);
    }
    NRBTreeFind(t, &probe);
    NRBTreeFindMoreThan(t, &probe, 0);
    NRBTreeFindLessThan(t, &probe, 1);
    only(&probe);
    EXPECT_LT(NRBTreeCompare(t, &items[1], &items[0]), 0);
    only(&items[1]);
    NRBTreeDestroy(t);
}

} // namespace
