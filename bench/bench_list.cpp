// NListMergeSort beside std::list::sort and std::stable_sort on the same
// random int keys. Every variant starts each iteration from the same unsorted
// order, with nodes laid out in memory in list order; rebuilding is not timed.
#include <tarvolk/list.h>
#include <tarvolk/mem.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <list>
#include <random>
#include <vector>

namespace {

std::vector<int> random_keys(int64_t n)
{
    std::mt19937 rng(12345);
    std::vector<int> keys(static_cast<size_t>(n));
    for (int &key : keys)
        key = static_cast<int>(rng() & 0x7fffffff);
    return keys;
}

int compare_ints(const void *left, const void *right, void *)
{
    const int l = *static_cast<const int *>(left);
    const int r = *static_cast<const int *>(right);
    return (l > r) - (l < r);
}

void BM_NListMergeSort(benchmark::State &state)
{
    const std::vector<int> keys = random_keys(state.range(0));
    std::vector<int *> items;
    for (int key : keys) {
        auto *item = static_cast<int *>(NListAlloc(sizeof(int)));
        *item = key;
        items.push_back(item);
    }
    NList *list = NListCreateWith(n_malloc);
    for (auto _ : state) {
        state.PauseTiming();
        NListFlush(list, nullptr, nullptr);
        for (int *item : items)
            NListInsertAfter(list, item, NListTail(list));
        state.ResumeTiming();
        NListMergeSort(list, compare_ints, nullptr);
        benchmark::DoNotOptimize(NListFirst(list));
    }
    NListDestroyWith(list, NListFree, nullptr, n_free);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_StdListSort(benchmark::State &state)
{
    const std::vector<int> keys = random_keys(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        auto *list = new std::list<int>(keys.begin(), keys.end());
        state.ResumeTiming();
        list->sort();
        benchmark::DoNotOptimize(list->front());
        state.PauseTiming();
        delete list;
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_StdStableSortVector(benchmark::State &state)
{
    const std::vector<int> keys = random_keys(state.range(0));
    std::vector<int> work;
    for (auto _ : state) {
        state.PauseTiming();
        work = keys;
        state.ResumeTiming();
        std::stable_sort(work.begin(), work.end());
        benchmark::DoNotOptimize(work.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

} // namespace

BENCHMARK(BM_NListMergeSort)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_StdListSort)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_StdStableSortVector)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
