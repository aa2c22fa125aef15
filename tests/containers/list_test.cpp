// Tests of the doubly linked list and its merge sort.
#include <tarvolk/list.h>
#include <tarvolk/mem.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>
#include <utility>
#include <vector>

#include "containers/list_private.h"

namespace {

struct Rec {
    int key;
    int id;
};

using Calls = std::vector<std::pair<int, int>>;

int id_of(void *item)
{
    return static_cast<Rec *>(item)->id;
}

Rec *new_rec(int key, int id)
{
    auto *rec = static_cast<Rec *>(NListAlloc(sizeof(Rec)));
    rec->key = key;
    rec->id = id;
    return rec;
}

bool self_linked(void *item)
{
    tvk::NListNode *node = tvk::item_node(item);
    return node->next == node && node->prev == node;
}

// Ids in forward order, read by walking forward or (backward) last to first.
std::vector<int> ids(NList *list, bool backward = false)
{
    std::vector<int> out;
    for (void *item = backward ? NListLast(list) : NListFirst(list); item != nullptr;
         item = backward ? NListPrev(item) : NListNext(item))
        out.push_back(id_of(item));
    if (backward)
        std::reverse(out.begin(), out.end());
    return out;
}

// Flush callback: records the id, checks the item is already unlinked, frees it.
void record_and_free(void *item, void *arg)
{
    EXPECT_TRUE(self_linked(item));
    static_cast<std::vector<int> *>(arg)->push_back(id_of(item));
    NListFree(item, nullptr);
}

void *failing_alloc(size_t)
{
    return nullptr;
}

int compare_keys(const void *left, const void *right, void *arg)
{
    const auto *l = static_cast<const Rec *>(left);
    const auto *r = static_cast<const Rec *>(right);
    static_cast<Calls *>(arg)->emplace_back(l->id, r->id);
    return l->key - r->key;
}

// Independent model of the sort on a vector of ids: bottom-up passes of
// pairs of runs, left run taken while compare < 1, stopping after a pass
// whose only pair kept its left run in the lead. Gives the compare calls and
// the final order.
std::pair<Calls, std::vector<int>> model_sort(const std::vector<int> &keys)
{
    const size_t n = keys.size();
    std::vector<int> seq(n);
    std::iota(seq.begin(), seq.end(), 0);
    Calls calls;
    if (n == 0)
        return {calls, seq};
    for (size_t run = 1;; run *= 2) {
        std::vector<int> out;
        int last_left = -1;
        for (size_t pos = 0; pos < n;) {
            const size_t left_end = std::min(n, pos + run);
            const size_t right_end = std::min(n, left_end + run);
            size_t i = pos;
            size_t j = left_end;
            while (i < left_end && j < right_end) {
                calls.emplace_back(seq[i], seq[j]);
                out.push_back(keys[seq[i]] - keys[seq[j]] < 1 ? seq[i++] : seq[j++]);
            }
            out.insert(out.end(), seq.begin() + i, seq.begin() + left_end);
            out.insert(out.end(), seq.begin() + j, seq.begin() + right_end);
            last_left = seq[pos];
            pos = right_end;
        }
        seq.swap(out);
        if (seq.front() == last_left)
            break;
    }
    return {calls, seq};
}

class ListTest : public ::testing::Test {
protected:
    void SetUp() override { list = NListCreateWith(n_malloc); }
    void TearDown() override { NListDestroyWith(list, NListFree, nullptr, n_free); }

    // Appends items with keys[i] and id i.
    void append(const std::vector<int> &keys)
    {
        for (size_t i = 0; i < keys.size(); ++i)
            NListInsertAfter(list, new_rec(keys[i], static_cast<int>(i)), NListTail(list));
    }

    NList *list = nullptr;
};

TEST_F(ListTest, InsertWalkDelete)
{
    void *fresh[] = {new_rec(0, 2), new_rec(0, 3), new_rec(0, 4), new_rec(0, 5)};
    for (void *item : fresh)
        EXPECT_TRUE(self_linked(item) && NListNext(item) == nullptr && NListPrev(item) == nullptr);
    EXPECT_EQ(NListAllocWith(failing_alloc, 8), nullptr);
    EXPECT_EQ(NListAllocWith(n_malloc, SIZE_MAX), nullptr);
    EXPECT_EQ(NListCreateWith(failing_alloc), nullptr);
    EXPECT_EQ(NListFirst(list), nullptr);
    EXPECT_EQ(NListLast(list), nullptr);
    EXPECT_EQ(NListTail(list), NListHead(list));
    EXPECT_EQ(NListNext(NListHead(list)), nullptr);
    append({0, 0});                                            // 0 1
    NListInsertAfter(list, fresh[0], NListHead(list));    // 2 0 1
    NListInsertBefore(list, fresh[1], NListNth(list, 2)); // 2 0 3 1
    NListInsertAfter(list, fresh[2], NListNth(list, 0));  // 2 4 0 3 1
    NListInsertBefore(list, fresh[3], NListFirst(list));  // 5 2 4 0 3 1
    const std::vector<int> expected{5, 2, 4, 0, 3, 1};
    EXPECT_EQ(NListNumItems(list), 6);
    EXPECT_EQ(ids(list), expected);
    EXPECT_EQ(ids(list, true), expected);
    EXPECT_EQ(id_of(NListNext(NListHead(list))), 5);
    EXPECT_EQ(NListTail(list), NListLast(list));
    EXPECT_EQ(id_of(NListNth(list, 0)), 5);
    EXPECT_EQ(id_of(NListNth(list, 5)), 1);
    for (int32_t bad : {-1, 6, INT32_MIN, INT32_MAX})
        EXPECT_EQ(NListNth(list, bad), nullptr) << bad;
    void *removed[4];
    removed[0] = NListDeleteNext(list, NListHead(list)); // 5, the front
    removed[1] = NListNth(list, 2);                      // 0, in the middle
    NListDelete(list, removed[1]);
    removed[2] = NListDeleteNext(list, NListFirst(list)); // 4
    removed[3] = NListLast(list);                         // 1, the back
    NListDelete(list, removed[3]);
    const int removed_ids[] = {5, 0, 4, 1};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(id_of(removed[i]), removed_ids[i]);
        EXPECT_TRUE(self_linked(removed[i])) << i;
        NListFreeWith(removed[i], n_free);
    }
    EXPECT_EQ(NListNumItems(list), 2);
    EXPECT_EQ(ids(list, true), (std::vector<int>{2, 3}));
}

TEST_F(ListTest, FlushAndDestroy)
{
    append({0, 0, 0, 0});
    std::vector<int> seen;
    NListFlush(list, record_and_free, &seen);
    EXPECT_EQ(seen, (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(NListNumItems(list), 0);
    EXPECT_EQ(NListTail(list), NListHead(list));

    // Without a callback the items survive, unlinked.
    append({0, 0});
    void *kept[] = {NListFirst(list), NListLast(list)};
    NListFlush(list, nullptr, nullptr);
    for (void *item : kept) {
        EXPECT_TRUE(self_linked(item));
        NListFree(item);
    }
    // Reusable afterwards; destroying flushes in order, then frees the header.
    append({0, 0, 0});
    EXPECT_EQ(ids(list, true), (std::vector<int>{0, 1, 2}));
    seen.clear();
    NListDestroyWith(list, record_and_free, &seen, n_free);
    list = nullptr;
    EXPECT_EQ(seen, (std::vector<int>{0, 1, 2}));
}

// The keys by pattern: random wide, random few, sorted, reversed, all equal, sawtooth.
std::vector<int> make_keys(int kind, size_t n)
{
    std::mt19937 rng(static_cast<uint32_t>(n) * 7919u + static_cast<uint32_t>(kind));
    std::vector<int> keys(n);
    for (size_t i = 0; i < n; ++i) {
        const int k = static_cast<int>(i);
        const int by_kind[] = {static_cast<int>(rng() % 1000000), static_cast<int>(rng() % 4), k, -k, 42, k % 13};
        keys[i] = by_kind[kind];
    }
    return keys;
}

TEST_F(ListTest, MergeSortMatchesStableSortAndCompareModel)
{
    std::vector<size_t> sizes{0, 1, 2, 3, 4, 5, 6, 7, 9, 1000, 3000};
    for (size_t power = 8; power <= 4096; power *= 2)
        sizes.insert(sizes.end(), {power - 1, power, power + 1});
    for (int kind = 0; kind < 6; ++kind)
        for (size_t n : sizes) {
            SCOPED_TRACE(::testing::Message() << "kind " << kind << ", count " << n);
            const std::vector<int> keys = make_keys(kind, n);
            append(keys);
            Calls calls;
            NListMergeSort(list, compare_keys, &calls);

            std::vector<int> expected(n);
            std::iota(expected.begin(), expected.end(), 0);
            std::stable_sort(expected.begin(), expected.end(), [&](int a, int b) { return keys[a] < keys[b]; });
            const auto [model_calls, model_order] = model_sort(keys);
            const std::vector<int> order = ids(list);
            EXPECT_EQ(NListNumItems(list), static_cast<int32_t>(n));
            EXPECT_TRUE(order == expected) << "differs from std::stable_sort";
            EXPECT_TRUE(order == model_order) << "differs from the model";
            EXPECT_TRUE(ids(list, true) == order) << "prev links not rebuilt";
            EXPECT_TRUE(calls == model_calls) << calls.size() << " compares, model " << model_calls.size();
            EXPECT_EQ(NListTail(list), n == 0 ? NListHead(list) : NListLast(list));
            NListFlush(list, NListFree, nullptr);
        }
}

} // namespace
