// Tests of the double hash: lookups by both keys against a model, and the
// operations that go by key 1.
#include <tarvolk/dhash.h>
#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

#include "support/keyed.h"

namespace {

struct Rec {
    int k1;
    int k2;
    int id;
};

NDHash *new_table(uint32_t size)
{
    return NDHashCreateWith(n_malloc, size, tvk_test::hash_by<Rec, &Rec::k1>, nullptr,
                            tvk_test::compare_by<Rec, &Rec::k1>,
                            nullptr, tvk_test::hash_by<Rec, &Rec::k2>, nullptr,
                            tvk_test::compare_by<Rec, &Rec::k2>, nullptr);
}

Rec *new_rec(int k1, int k2, int id)
{
    auto *rec = static_cast<Rec *>(NDHashAlloc(sizeof(Rec)));
    *rec = Rec{k1, k2, id};
    return rec;
}

void destroy(NDHash *table)
{
    NDHashDestroyWith(table, NDHashFree, nullptr, n_free);
}

template <void *(*Find)(NDHash *, const void *), void *(*Next)(NDHash *, void *)>
std::vector<Rec *> equal_items(NDHash *table, const Rec &probe)
{
    std::vector<Rec *> out;
    for (void *item = Find(table, &probe); item != nullptr; item = Next(table, item))
        out.push_back(static_cast<Rec *>(item));
    return out;
}

// The model: the live items equal in one key, newest (highest id) first.
template <int Rec::*Key> std::vector<Rec *> newest_first(std::vector<Rec *> live, const Rec &probe)
{
    std::erase_if(live, [&probe](const Rec *rec) { return rec->*Key != probe.*Key; });
    std::sort(live.begin(), live.end(), [](const Rec *a, const Rec *b) { return a->id > b->id; });
    return live;
}

// Random inserts and deletes; lookups by both keys are checked after every
// step. Items that agree in one key mostly differ in the other.
TEST(DHashTest, BothKeysMatchModels)
{
    NDHash *table = new_table(7);
    std::vector<Rec *> live;
    std::mt19937 rng(3);
    for (int step = 0; step < 3000; ++step) {
        const Rec probe{static_cast<int>(rng() % 23), static_cast<int>(rng() % 31), -1};
        if (live.empty() || rng() % 3 != 0) {
            live.push_back(new_rec(probe.k1, probe.k2, step));
            NDHashInsert(table, live.back());
        } else {
            std::swap(live[rng() % live.size()], live.back());
            NDHashDelete(table, live.back());
            NDHashFree(live.back());
            live.pop_back();
        }
        ASSERT_EQ((equal_items<NDHashFind1, NDHashNext1>(table, probe)),
                  newest_first<&Rec::k1>(live, probe));
        ASSERT_EQ((equal_items<NDHashFind2, NDHashNext2>(table, probe)),
                  newest_first<&Rec::k2>(live, probe));
        ASSERT_EQ(NDHashNumItems(table), static_cast<int32_t>(live.size()));
    }
    destroy(table);
}

int g_sort_arg;

int by_k2_then_id(const void *a, const void *b, void *arg)
{
    EXPECT_EQ(arg, &g_sort_arg);
    const auto *l = static_cast<const Rec *>(a);
    const auto *r = static_cast<const Rec *>(b);
    if (l->k2 != r->k2)
        return (l->k2 > r->k2) - (l->k2 < r->k2);
    return (l->id > r->id) - (l->id < r->id);
}

int record(void *item, void *arg)
{
    static_cast<std::vector<int> *>(arg)->push_back(static_cast<Rec *>(item)->id);
    return 0;
}

// What goes by key 1. The sorted walk takes the caller's compare and arg; a
// non-zero result of fn stops either walk but comes back as 0. The copy has
// both keys. The unsorted walk and the cursor see each item once, and the
// cursor lets the item just returned be deleted. Flush clears both bucket
// arrays.
TEST(DHashTest, WalksCopyCursorAndFlush)
{
    NDHash *table = new_table(5);
    for (int i = 0; i < 12; ++i)
        NDHashInsert(table, new_rec((i * 7) % 12, i % 3, i));
    std::vector<int> sorted, walked, cursor_ids;
    EXPECT_EQ(NDHashWalk(table, record, &sorted, 1, by_k2_then_id, &g_sort_arg), 0);
    EXPECT_EQ(sorted, std::vector<int>({0, 3, 6, 9, 1, 4, 7, 10, 2, 5, 8, 11}));
    EXPECT_EQ(NDHashWalk(table, record, &sorted, 1, nullptr, nullptr), NRC_FAILURE);
    for (int order : {0, 1}) {
        int calls = 0;
        auto stop = [](void *, void *arg) { return ++*static_cast<int *>(arg); };
        EXPECT_EQ(NDHashWalk(table, stop, &calls, order, by_k2_then_id, &g_sort_arg), 0);
        EXPECT_EQ(calls, 1);
    }

    auto copy_some = [](void *item, void *) -> void * {
        const auto *rec = static_cast<Rec *>(item);
        return rec->id % 4 == 0 ? nullptr : new_rec(rec->k1, rec->k2, rec->id);
    };
    NDHash *copy = NDHashCopy(table, copy_some, nullptr);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(NDHashNumItems(copy), 9);
    const Rec probe{11, 2, -1}; // item 5
    EXPECT_EQ(static_cast<Rec *>(NDHashFind1(copy, &probe))->id, 5);
    EXPECT_EQ((equal_items<NDHashFind2, NDHashNext2>(copy, probe)).size(), 3u); // 2, 5, 11
    destroy(copy);

    EXPECT_EQ(NDHashWalk(table, record, &walked, 0, nullptr, nullptr), 0);
    auto place = [](int id) { return std::pair((id * 7) % 12 % 5, -id); }; // key 1's chains
    std::sort(sorted.begin(), sorted.end(), [&](int a, int b) { return place(a) < place(b); });
    EXPECT_EQ(walked, sorted);
    NDHashCursor *cursor = NDHashCursorOpen(table);
    for (void *item; cursor_ids.size() < 6 && (item = NDHashCursorNext(cursor)) != nullptr;) {
        cursor_ids.push_back(static_cast<Rec *>(item)->id);
        NDHashDelete(table, item);
        NDHashFree(item);
    }
    NDHashCursorClose(cursor);
    walked.resize(6);
    EXPECT_EQ(cursor_ids, walked);
    NDHashFlush(table, NDHashFree, nullptr);
    EXPECT_EQ(NDHashNumItems(table), 0);
    EXPECT_EQ(NDHashFind1(table, &probe), nullptr);
    EXPECT_EQ(NDHashFind2(table, &probe), nullptr);
    Rec *rec = new_rec(1, 2, 99);
    NDHashInsert(table, rec);
    EXPECT_EQ(NDHashFind2(table, &probe), rec);
    destroy(table);
}

} // namespace
