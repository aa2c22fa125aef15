// Conversions between lists, hash tables and trees.
#include <gtest/gtest.h>

#include <tarvolk/convert.h>
#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/keyed.h"

namespace {

struct Item {
    int key;
};
const auto compare = tvk_test::compare_by<Item, &Item::key>;

void push_key(void *item, void *arg)
{
    static_cast<std::vector<int> *>(arg)->push_back(static_cast<Item *>(item)->key);
}

// The three containers, each able to hold items of its own family.
enum class Kind { list, hash, tree };

struct Container {
    Kind kind;
    NList *list = nullptr;
    NHash *hash = nullptr;
    NTree *tree = nullptr;

    explicit Container(Kind k) : kind(k)
    {
        if (k == Kind::list)
            list = NListCreateWith(n_malloc);
        else if (k == Kind::hash)
            hash = NHashCreateWith(n_malloc, 7, tvk_test::hash_by<Item, &Item::key>, nullptr, compare, nullptr);
        else
            tree = NTreeCreateWith(n_malloc, compare, nullptr);
    }
    ~Container()
    {
        if (kind == Kind::list)
            NListDestroyWith(list, NListFree, nullptr, n_free);
        else if (kind == Kind::hash)
            NHashDestroyWith(hash, NHashFree, nullptr, n_free);
        else
            NTreeDestroyWith(tree, NTreeFree, nullptr, n_free);
    }
    Container(const Container &) = delete;
    Container &operator=(const Container &) = delete;

    Item *make(int key) const
    {
        auto *item = static_cast<Item *>(kind == Kind::list   ? NListAlloc(sizeof(Item))
                                         : kind == Kind::hash ? NHashAlloc(sizeof(Item))
                                                              : NTreeAlloc(sizeof(Item)));
        item->key = key;
        return item;
    }
    void add(int key)
    {
        Item *item = make(key);
        if (kind == Kind::list)
            NListInsertAfter(list, item, NListTail(list));
        else if (kind == Kind::hash)
            NHashInsert(hash, item);
        else if (NTreeInsert(tree, item) != nullptr)
            NTreeFree(item);
    }
    // The keys in the order in which a conversion walks them.
    std::vector<int> keys() const
    {
        std::vector<int> out;
        if (kind == Kind::list)
            for (void *item = NListFirst(list); item != nullptr; item = NListNext(item))
                push_key(item, &out);
        else if (kind == Kind::hash)
            NHashWalk(hash, [](void *item, void *arg) { return push_key(item, arg), 0; }, &out, 0, nullptr);
        else
            NTreeTraverse(tree, NTREE_INORDER, push_key, &out);
        return out;
    }
};

// Convert function: a new item of the target's family with key times ten,
// or null for keys divisible by three. Items a tree refused are freed by
// the test afterwards.
struct Converter {
    const Container *target;
    std::vector<Item *> made;
};

void *convert(void *item, void *arg1, void *arg2)
{
    auto *converter = static_cast<Converter *>(arg1);
    EXPECT_EQ(arg2, &converter->made);
    const int key = static_cast<Item *>(item)->key;
    if (key % 3 == 0)
        return nullptr;
    Item *made = converter->target->make(key * 10);
    converter->made.push_back(made);
    return made;
}

// Source and target in the order list, hash, tree: case source * 3 + target.
NRC run(const Container &s, const Container &t, Converter *c)
{
    void *a2 = &c->made;
    switch (static_cast<int>(s.kind) * 3 + static_cast<int>(t.kind)) {
    case 0: return NListToNList(s.list, t.list, convert, c, a2), 0;
    case 1: return NListToNHash(s.list, t.hash, convert, c, a2), 0;
    case 2: return NListToNTree(s.list, t.tree, convert, c, a2), 0;
    case 3: return NHashToNList(s.hash, t.list, convert, c, a2);
    case 4: return NHashToNHash(s.hash, t.hash, convert, c, a2);
    case 5: return NHashToNTree(s.hash, t.tree, convert, c, a2);
    case 6: return NTreeToNList(s.tree, t.list, convert, c, a2), 0;
    case 7: return NTreeToNHash(s.tree, t.hash, convert, c, a2), 0;
    default: return NTreeToNTree(s.tree, t.tree, convert, c, a2), 0;
    }
}

TEST(ConvertTest, EveryPairWalksTheSourceOnceAndFillsTheTarget)
{
    const std::vector<int> source_keys = {5, 3, 8, 1, 4, 7, 2, 6, 5, 10};
    for (Kind from : {Kind::list, Kind::hash, Kind::tree}) {
        for (Kind to : {Kind::list, Kind::hash, Kind::tree}) {
            SCOPED_TRACE(std::to_string(static_cast<int>(from)) + " -> " +
                         std::to_string(static_cast<int>(to)));
            Container source(from);
            Container target(to);
            target.add(20); // already there: a tree keeps it, lists and tables get a second
            for (int key : source_keys)
                source.add(key);
            const std::vector<int> before = source.keys();

            Converter converter{&target, {}};
            EXPECT_EQ(0, run(source, target, &converter));
            EXPECT_EQ(before, source.keys()) << "the source is not changed";

            std::vector<int> expected{20};
            for (int key : before)
                if (key % 3 != 0)
                    expected.push_back(key * 10);
            std::vector<int> got = target.keys();
            if (to != Kind::list) { // a list is appended to in the order of the source's walk
                std::sort(expected.begin(), expected.end());
                std::sort(got.begin(), got.end());
                if (to == Kind::tree)
                    expected.erase(std::unique(expected.begin(), expected.end()), expected.end());
            }
            EXPECT_EQ(expected, got);

            // Items a tree refused stay the caller's.
            if (to == Kind::tree)
                for (Item *made : converter.made)
                    if (NTreeFind(target.tree, made) != made)
                        NTreeFree(made);
        }
    }
}

TEST(ConvertTest, NullResultsAndArgumentsLeaveTheTargetAlone)
{
    Container source(Kind::list);
    Container target(Kind::list);
    for (int key : {3, 6, 9})
        source.add(key);
    Converter converter{&target, {}};
    NListToNList(source.list, target.list, convert, &converter, &converter.made);
    EXPECT_EQ(0, NListNumItems(target.list));

    Container hash(Kind::hash);
    EXPECT_EQ(NRC_FAILURE, NHashToNList(hash.hash, target.list, nullptr, nullptr, nullptr));
    EXPECT_EQ(NRC_FAILURE, NHashToNList(nullptr, target.list, convert, nullptr, nullptr));
    NListToNList(source.list, nullptr, convert, &converter, &converter.made);
    NTreeToNList(nullptr, target.list, convert, &converter, &converter.made);
    EXPECT_TRUE(converter.made.empty());
}

} // namespace
