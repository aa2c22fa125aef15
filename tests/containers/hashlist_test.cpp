// Tests of the hash list: list order and lookups against a std::list.
#include <tarvolk/hashlist.h>
#include <tarvolk/incralloc.h>
#include <tarvolk/mem.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <list>
#include <random>
#include <vector>

#include "support/keyed.h"

namespace {

struct Rec {
    int key;
    int id;
};
const auto hash_key = tvk_test::hash_by<Rec, &Rec::key>;
const auto compare_key = tvk_test::compare_by<Rec, &Rec::key>;

// Random inserts at both ends and beside random items, deletes of random
// items and of their successors, and a flush half way; list order (both
// ways) and newest-first lookups are checked after every step. The table
// lies in an arena.
TEST(HashListTest, MatchesListAndMultimap)
{
    NIncrAllocator *arena = NIncrAllocatorCreate(256);
    NHashList *table = NIncrHashListCreate(arena, 5, hash_key, nullptr, compare_key, nullptr);
    ASSERT_NE(table, nullptr);
    std::list<Rec *> order;
    std::mt19937 rng(11);
    for (int step = 1; step <= 2000; ++step) {
        const int key = static_cast<int>(rng() % 17);
        auto pos = std::next(order.begin(), order.empty() ? 0 : rng() % order.size());
        const unsigned op = order.empty() ? rng() % 2 : rng() % 6;
        Rec *rec = op < 4 ? static_cast<Rec *>(NHashListAlloc(sizeof(Rec))) : *pos;
        if (op == 0) {
            NHashListInsertAfter(table, &(*rec = Rec{key, step}), NHashListHead(table));
            order.push_front(rec);
        } else if (op == 1) {
            NHashListInsertAfter(table, &(*rec = Rec{key, step}), NHashListTail(table));
            order.push_back(rec);
        } else if (op == 2) {
            NHashListInsertAfter(table, &(*rec = Rec{key, step}), *pos);
            order.insert(std::next(pos), rec);
        } else if (op == 3) {
            NHashListInsertBefore(table, &(*rec = Rec{key, step}), *pos);
            order.insert(pos, rec);
        } else if (std::next(pos) == order.end()) { // nothing behind the last item
            ASSERT_EQ(NHashListDeleteNext(table, rec), nullptr);
            NHashListDelete(table, rec);
        } else if (op == 4) {
            rec = *std::next(pos);
            ASSERT_EQ(NHashListDeleteNext(table, *pos), rec);
        } else {
            NHashListDelete(table, rec); // its links stay as they were
            EXPECT_EQ(NHashListNext(rec), *std::next(pos));
        }
        if (op >= 4) {
            order.remove(rec);
            NHashListFree(rec);
        }
        std::vector<Rec *> forward, backward, equal, found;
        for (void *item = NHashListFirst(table); item != nullptr; item = NHashListNext(item))
            forward.push_back(static_cast<Rec *>(item));
        for (void *item = NHashListLast(table); item != nullptr; item = NHashListPrev(item))
            backward.push_back(static_cast<Rec *>(item));
        std::reverse(backward.begin(), backward.end());
        ASSERT_EQ(forward, std::vector<Rec *>(order.begin(), order.end())) << step;
        ASSERT_EQ(backward, forward) << step;
        ASSERT_EQ(NHashListNumItems(table), static_cast<int32_t>(order.size()));
        std::copy_if(order.begin(), order.end(), std::back_inserter(equal),
                     [key](const Rec *r) { return r->key == key; });
        std::sort(equal.begin(), equal.end(), [](Rec *a, Rec *b) { return a->id > b->id; });
        const Rec probe{key, -1};
        for (void *item = NHashListFind(table, &probe); item != nullptr;
             item = NHashListNextHash(table, item))
            found.push_back(static_cast<Rec *>(item));
        ASSERT_EQ(found, equal) << "step " << step;
        if (step == 1000) { // in list order; the table keeps its functions
            std::vector<Rec *> flushed;
            auto record_and_free = [](void *item, void *arg) {
                static_cast<std::vector<Rec *> *>(arg)->push_back(static_cast<Rec *>(item));
                NHashListFree(item);
            };
            NHashListFlush(table, record_and_free, &flushed);
            EXPECT_EQ(flushed, forward);
            order.clear();
        }
    }
    NHashListDestroyWith(table, NHashListFree, nullptr, nullptr);
    EXPECT_EQ(NHashListCreateWith(n_malloc, 0, hash_key, nullptr, compare_key, nullptr), nullptr);
    NIncrAllocatorDestroy(arena);
}

} // namespace
