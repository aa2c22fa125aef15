// NTree beside std::set and NRBTree beside std::multimap: insert and find of
// the same distinct int keys in random order.
//
// Each iteration takes the next of eight random orders of the keys 0..n-1,
// so that the branch predictor can't learn one order by heart across
// iterations (at 1e3 keys it otherwise does, and flatters code that
// branches on each comparison); at 1e6 keys one order does. Insert builds a whole tree per iteration;
// tearing it down is not timed.
// NTree items come from NTreeAlloc inside the timed loop, as std::set
// allocates its nodes. NRBTree nodes are embedded in the caller's items, so
// its items are preallocated, in insertion order, in an array per order,
// and only linked in the timed loop (the multimap still allocates a node
// per insert). Find looks every key up
// once, in the other orders in turn, in a tree built beforehand from the
// first.
#include <tarvolk/mem.h>
#include <tarvolk/rbtree.h>
#include <tarvolk/tree.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <numeric>
#include <random>
#include <set>
#include <vector>

namespace {

// 0 .. n-1, shuffled.
std::vector<int> shuffled_keys(int64_t n, unsigned seed)
{
    std::vector<int> keys(static_cast<size_t>(n));
    std::iota(keys.begin(), keys.end(), 0);
    std::shuffle(keys.begin(), keys.end(), std::mt19937(seed));
    return keys;
}

// Random orders of the keys, taken in turn: eight, but one for a million
// keys, where no predictor remembers an order anyway.
size_t order_count(int64_t n)
{
    return static_cast<size_t>(std::clamp<int64_t>(1000000 / n, 1, 8));
}

class KeyOrders {
public:
    explicit KeyOrders(int64_t n) : orders_(order_count(n))
    {
        for (size_t i = 0; i < orders_.size(); ++i)
            orders_[i] = shuffled_keys(n, static_cast<unsigned>(i + 1));
    }
    const std::vector<int> &next() { return orders_[turn_++ % orders_.size()]; }

private:
    std::vector<std::vector<int>> orders_;
    size_t turn_ = 0;
};

int compare_ints(const void *a, const void *b, void *)
{
    const int l = *static_cast<const int *>(a);
    const int r = *static_cast<const int *>(b);
    return (l > r) - (l < r);
}

struct RBItem {
    NRBTreeNode node;
    int key;
};

int compare_rb_items(const void *a, const void *b, void *)
{
    const int l = static_cast<const RBItem *>(a)->key;
    const int r = static_cast<const RBItem *>(b)->key;
    return (l > r) - (l < r);
}

NTree *build_ntree(const std::vector<int> &keys)
{
    NTree *tree = NTreeCreateWith(n_malloc, compare_ints, nullptr);
    for (int key : keys) {
        auto *item = static_cast<int *>(NTreeAlloc(sizeof(int)));
        *item = key;
        NTreeInsert(tree, item);
    }
    return tree;
}

// Preallocated NRBTree items: one array per order, holding the keys in that
// order, so that items lie in memory in insertion order, as a caller's
// items from malloc would.
class RBItems {
public:
    explicit RBItems(int64_t n) : sets_(order_count(n))
    {
        KeyOrders orders(n);
        for (auto &set : sets_) {
            for (int key : orders.next())
                set.push_back(RBItem{{}, key});
        }
    }
    std::vector<RBItem> &next() { return sets_[turn_++ % sets_.size()]; }

private:
    std::vector<std::vector<RBItem>> sets_;
    size_t turn_ = 0;
};

void BM_NTreeInsert(benchmark::State &state)
{
    KeyOrders orders(state.range(0));
    for (auto _ : state) {
        NTree *tree = build_ntree(orders.next());
        benchmark::DoNotOptimize(NTreeFindMin(tree));
        state.PauseTiming();
        NTreeDestroyWith(tree, NTreeFree, nullptr, n_free);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_StdSetInsert(benchmark::State &state)
{
    KeyOrders orders(state.range(0));
    for (auto _ : state) {
        std::set<int> set;
        for (int key : orders.next())
            set.insert(key);
        benchmark::DoNotOptimize(*set.begin());
        state.PauseTiming();
        set.clear();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_NRBTreeInsert(benchmark::State &state)
{
    RBItems items(state.range(0));
    NRBTree *tree = NRBTreeCreate(compare_rb_items, nullptr);
    for (auto _ : state) {
        NRBTreeClear(tree);
        for (RBItem &item : items.next())
            NRBTreeInsert(tree, &item.node);
        benchmark::DoNotOptimize(NRBTreeMin(tree));
    }
    NRBTreeDestroy(tree);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_StdMultimapInsert(benchmark::State &state)
{
    KeyOrders orders(state.range(0));
    for (auto _ : state) {
        std::multimap<int, int> map;
        for (int key : orders.next())
            map.emplace(key, key);
        benchmark::DoNotOptimize(map.begin()->second);
        state.PauseTiming();
        map.clear();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_NTreeFind(benchmark::State &state)
{
    KeyOrders orders(state.range(0));
    NTree *tree = build_ntree(orders.next());
    for (auto _ : state) {
        for (const int &key : orders.next())
            benchmark::DoNotOptimize(NTreeFind(tree, &key));
    }
    NTreeDestroyWith(tree, NTreeFree, nullptr, n_free);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_StdSetFind(benchmark::State &state)
{
    KeyOrders orders(state.range(0));
    const std::vector<int> &keys = orders.next();
    const std::set<int> set(keys.begin(), keys.end());
    for (auto _ : state) {
        for (int key : orders.next())
            benchmark::DoNotOptimize(set.find(key));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_NRBTreeFind(benchmark::State &state)
{
    RBItems items(state.range(0));
    NRBTree *tree = NRBTreeCreate(compare_rb_items, nullptr);
    for (RBItem &item : items.next())
        NRBTreeInsert(tree, &item.node);
    KeyOrders orders(state.range(0));
    orders.next();
    RBItem probe{};
    for (auto _ : state) {
        for (int key : orders.next()) {
            probe.key = key;
            benchmark::DoNotOptimize(NRBTreeFind(tree, &probe));
        }
    }
    NRBTreeDestroy(tree);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_StdMultimapFind(benchmark::State &state)
{
    KeyOrders orders(state.range(0));
    std::multimap<int, int> map;
    for (int key : orders.next())
        map.emplace(key, key);
    for (auto _ : state) {
        for (int key : orders.next())
            benchmark::DoNotOptimize(map.find(key));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

} // namespace

#define TREE_BENCH(fn) \
    BENCHMARK(fn)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMicrosecond)

TREE_BENCH(BM_NTreeInsert);
TREE_BENCH(BM_StdSetInsert);
TREE_BENCH(BM_NRBTreeInsert);
TREE_BENCH(BM_StdMultimapInsert);
TREE_BENCH(BM_NTreeFind);
TREE_BENCH(BM_StdSetFind);
TREE_BENCH(BM_NRBTreeFind);
TREE_BENCH(BM_StdMultimapFind);

BENCHMARK_MAIN();
