// Tests of the chained hash table: a differential test against an ordered
// model, the string hashes, what the cursors survive, walks and copy.
#include <tarvolk/hashtable.h>
#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <map>
#include <random>
#include <utility>
#include <vector>

#include "containers/hashtable_private.h"
#include "support/keyed.h"

namespace {

// Items hash to their key, so key % size is the bucket; ids grow with
// creation, so in a chain the newer item has the larger id.
struct Rec {
    int key;
    int id;
};

const auto hash_key = tvk_test::hash_by<Rec, &Rec::key>;
int g_next_id = 0;
const void *g_first = nullptr; // when set, the first argument compare must get

int compare_key(const void *a, const void *b, void *)
{
    if (g_first != nullptr) {
        EXPECT_EQ(a, g_first);
    }
    return tvk_test::compare_by<Rec, &Rec::key>(a, b, nullptr);
}

Rec *new_rec(int key)
{
    auto *rec = static_cast<Rec *>(NHashAlloc(sizeof(Rec)));
    *rec = Rec{key, g_next_id++};
    return rec;
}

NHash *new_table(uint32_t size, std::initializer_list<int> keys = {}, void *compare_arg = nullptr)
{
    NHash *table = NHashCreateWith(n_malloc, size, hash_key, nullptr, compare_key, compare_arg);
    for (int key : keys)
        NHashInsert(table, new_rec(key));
    return table;
}

void destroy(NHash *table)
{
    NHashDestroyWith(table, NHashFree, nullptr, n_free);
}

// Find passes the key first, next-equal the item it starts from.
std::vector<int> equal_ids(NHash *table, int key)
{
    std::vector<int> out;
    const Rec probe{key, -1};
    g_first = &probe;
    for (void *item = NHashFind(table, &probe); item != nullptr; item = NHashNext(table, item)) {
        out.push_back(static_cast<Rec *>(item)->id);
        g_first = item;
    }
    g_first = nullptr;
    return out;
}

// Ids of what step() gives up to its end; visit may change the table.
template <typename Step, typename Visit = void (*)(void *)>
std::vector<int> drain(Step step, Visit visit = [](void *) {})
{
    std::vector<int> out;
    for (void *item; (item = step()) != nullptr; visit(item))
        out.push_back(static_cast<Rec *>(item)->id);
    EXPECT_EQ(step(), nullptr);
    return out;
}

int record(void *item, void *arg)
{
    static_cast<std::vector<int> *>(arg)->push_back(static_cast<Rec *>(item)->id);
    return 0;
}

class HashDifferential : public ::testing::TestWithParam<uint32_t> {};

// Random inserts (many equal keys), deletes anywhere in the chains and a
// flush half way. The model is ordered as the table iterates: by bucket,
// then newest first.
TEST_P(HashDifferential, MatchesModel)
{
    const uint32_t size = GetParam();
    NHash *table = new_table(size);
    std::map<std::pair<uint32_t, int>, Rec *> model; // (bucket, -id)
    auto place = [size](const Rec *rec) { return std::pair(rec->key % size, -rec->id); };
    std::vector<Rec *> live;
    std::mt19937 rng(size);
    for (int step = 1; step <= 3000; ++step) {
        const int key = static_cast<int>(rng() % 40);
        if (live.empty() || rng() % 3 != 0) {
            live.push_back(new_rec(key));
            NHashInsert(table, live.back());
            model[place(live.back())] = live.back();
        } else {
            std::swap(live[rng() % live.size()], live.back());
            model.erase(place(live.back()));
            NHashDelete(table, live.back());
            NHashFree(live.back());
            live.pop_back();
        }
        tvk::NHashNode **buckets = tvk::trailing_buckets(table); // back links right
        for (uint32_t b = 0; b < size; ++b)
            for (tvk::NHashNode **slot = &buckets[b]; *slot != nullptr; slot = &(*slot)->next)
                ASSERT_EQ((*slot)->link, slot) << "step " << step;
        ASSERT_EQ(NHashNumItems(table), static_cast<int32_t>(model.size()));
        std::vector<int> equal, order;
        for (auto it = model.lower_bound({key % size, INT_MIN});
             it != model.end() && it->first.first == key % size; ++it)
            if (it->second->key == key)
                equal.push_back(it->second->id);
        ASSERT_EQ(equal_ids(table, key), equal) << "step " << step;
        if (step % 250 != 0)
            continue;
        for (const auto &entry : model)
            order.push_back(entry.second->id);
        std::vector<int> walked;
        EXPECT_EQ(NHashWalk(table, record, &walked, 0, nullptr), 0);
        EXPECT_EQ(walked, order);
        NHashCursor *c = NHashCursorOpen(table);
        NHashCursorCurrent *cc = NHashCursorCurrentOpen(table);
        EXPECT_EQ(drain([c] { return NHashCursorNext(c); }), order);
        EXPECT_EQ(drain([cc] { return NHashCursorCurrentNext(cc); }), order);
        NHashCursorClose(c);
        NHashCursorCurrentClose(cc);
        if (step == 1500) { // in iteration order, each link read before the callback frees
            std::vector<int> flushed;
            auto record_and_free = [](void *item, void *arg) {
                record(item, arg);
                NHashFree(item);
            };
            NHashFlush(table, record_and_free, &flushed);
            EXPECT_EQ(flushed, order);
            model.clear();
            live.clear();
        }
    }
    destroy(table);
}

INSTANTIATE_TEST_SUITE_P(Sizes, HashDifferential, ::testing::Values(1u, 7u, 127u));

TEST(HashTest, StringHashes)
{
    struct Row {
        const char *text;
        uint32_t sum, fold, fold_ic;
    } const rows[] = {
        {"abc", 294, 26499, 17763},      {"", 0, 0, 0},
        {"\xe9\xff", 488, 3983, 3983}, // bytes taken as unsigned
        {"Name", 385, 346165, 337429},   {"name", 417, 477237, 337429},
        {"NAME", 289, 337429, 337429},   {"tarvolk hash table", 1775, 251924181, 252374069},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(NHashString1(row.text), row.sum) << row.text;
        EXPECT_EQ(NHashString2(row.text), row.fold) << row.text;
        EXPECT_EQ(NHashStringIC(row.text, nullptr), row.fold_ic) << row.text;
    }
}

TEST(HashTest, CreateAndEmptyTable)
{
    EXPECT_EQ(NHashCreateWith(n_malloc, 0, hash_key, nullptr, compare_key, nullptr), nullptr);
    EXPECT_EQ(NHashCreateWith(n_malloc, 5, hash_key, nullptr, nullptr, nullptr), nullptr);
    NHash *table = new_table(4);
    EXPECT_EQ(equal_ids(table, 1), std::vector<int>());
    std::vector<int> ids;
    EXPECT_EQ(NHashWalk(table, record, &ids, 1, nullptr), 0);
    EXPECT_EQ(NHashWalk(table, nullptr, nullptr, 0, nullptr), NRC_FAILURE);
    NHashCursor *c = NHashCursorOpen(table);
    EXPECT_EQ(drain([c] { return NHashCursorNext(c); }), std::vector<int>());
    NHashCursorClose(c);
    destroy(table);
}

// Reading ahead: the item just returned is deleted and freed (all items in
// the last bucket). Current: its successor is, so every other item is seen.
TEST(HashTest, CursorSurvival)
{
    NHash *table = new_table(6, {5, 11, 17, 23});
    NHashCursor *c = NHashCursorOpen(table);
    auto drop = [table](void *item) { NHashDelete(table, item), NHashFree(item); };
    int newest = g_next_id - 1;
    EXPECT_EQ(drain([c] { return NHashCursorNext(c); }, drop),
              std::vector<int>({newest, newest - 1, newest - 2, newest - 3}));
    EXPECT_EQ(NHashNumItems(table), 0);
    NHashCursorClose(c);
    destroy(table);

    table = new_table(1, {0, 1, 2, 3, 4, 5, 6}); // one chain, keys 6 .. 0
    NHashCursorCurrent *cc = NHashCursorCurrentOpen(table);
    auto drop_following = [table](void *item) {
        const Rec following{static_cast<Rec *>(item)->key - 1, -1};
        if (void *victim = NHashFind(table, &following))
            NHashDelete(table, victim), NHashFree(victim);
    };
    newest = g_next_id - 1;
    EXPECT_EQ(drain([cc] { return NHashCursorCurrentNext(cc); }, drop_following),
              std::vector<int>({newest, newest - 2, newest - 4, newest - 6}));
    NHashCursorCurrentClose(cc);
    destroy(table);
}

// Inserts during an iteration are seen only in buckets not yet reached;
// bucket 0 counts as reached once the reading-ahead cursor is open.
TEST(HashTest, InsertDuringIteration)
{
    for (bool ahead : {true, false}) {
        NHash *table = new_table(4, {1});
        NHashCursor *c = NHashCursorOpen(table);
        NHashCursorCurrent *cc = NHashCursorCurrentOpen(table);
        NHashInsert(table, new_rec(0)); // bucket 0, before the first step
        std::vector<int> keys;
        for (void *item; (item = ahead ? NHashCursorNext(c) : NHashCursorCurrentNext(cc));) {
            keys.push_back(static_cast<Rec *>(item)->key);
            if (keys.back() == 1) {
                NHashInsert(table, new_rec(5)); // the bucket being read
                NHashInsert(table, new_rec(3)); // a bucket still to come
            }
        }
        EXPECT_EQ(keys, ahead ? std::vector<int>({1, 3}) : std::vector<int>({0, 1, 3}));
        NHashCursorClose(c);
        NHashCursorCurrentClose(cc);
        destroy(table);
    }
}

int g_compare_arg;

int reverse_key(const void *a, const void *b, void *arg)
{
    EXPECT_EQ(arg, &g_compare_arg); // the table's, also for the caller's compare
    return compare_key(b, a, nullptr);
}

TEST(HashTest, SortedWalkAndEarlyStop)
{
    NHash *table = new_table(7, {12, 5, 40, 19, 3, 26}, &g_compare_arg);
    std::vector<int> ids;
    EXPECT_EQ(NHashWalk(table, record, &ids, 1, reverse_key), 0);
    const int base = g_next_id - 6;
    EXPECT_EQ(ids, std::vector<int>({base + 2, base + 5, base + 3, base, base + 1, base + 4}));
    for (int sorted : {0, 1}) {
        int calls = 0;
        auto stop = [](void *, void *arg) { return ++*static_cast<int *>(arg), 7; };
        EXPECT_EQ(NHashWalk(table, stop, &calls, sorted, nullptr), 7);
        EXPECT_EQ(calls, 1);
    }
    // A sorted walk works on a snapshot: fn may delete and free its item.
    auto drop = [](void *item, void *arg) {
        NHashDelete(static_cast<NHash *>(arg), item);
        return NHashFree(item), 0;
    };
    EXPECT_EQ(NHashWalk(table, drop, table, 1, nullptr), 0);
    EXPECT_EQ(NHashNumItems(table), 0);
    destroy(table);
}

// Odd keys are left out; equal items come out in reverse order.
TEST(HashTest, Copy)
{
    NHash *table = new_table(5, {2, 2, 2, 3, 4, 7});
    auto copy_even = [](void *item, void *) -> void * {
        const auto *rec = static_cast<Rec *>(item);
        auto *dup = rec->key % 2 != 0 ? nullptr : static_cast<Rec *>(NHashAlloc(sizeof(Rec)));
        return dup == nullptr ? nullptr : &(*dup = *rec);
    };
    NHash *copy = NHashCopy(table, copy_even, nullptr);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->size, 5u);
    EXPECT_EQ(NHashNumItems(copy), 4);
    std::vector<int> reversed = equal_ids(table, 2);
    std::reverse(reversed.begin(), reversed.end());
    EXPECT_EQ(equal_ids(copy, 2), reversed);
    EXPECT_EQ(equal_ids(copy, 3), std::vector<int>());
    destroy(copy);
    destroy(table);
}

} // namespace
