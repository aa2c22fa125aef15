// The array sorts beside glibc qsort and std::sort on the same random int
// keys: NQuickSort, n_qsort and qsort call their compare through a function
// pointer, std::sort compares inline. Every iteration starts from the same
// unsorted keys; restoring them is not timed.
#include <tarvolk/qsort.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

namespace {

int compare_ints(const void *left, const void *right, void *)
{
    const int l = *static_cast<const int *>(left);
    const int r = *static_cast<const int *>(right);
    return (l > r) - (l < r);
}

int compare_ints_libc(const void *left, const void *right)
{
    const int l = *static_cast<const int *>(left);
    const int r = *static_cast<const int *>(right);
    return (l > r) - (l < r);
}

// Sorts batch arrays of range(0) keys per iteration (short arrays come in
// batches so that pausing the timer doesn't swamp them). The unsorted keys
// rotate through a pool of about a million, so that the branch predictor
// can't learn one array's sort by heart.
template <typename Sorter> void run_sort(benchmark::State &state, int64_t batch, Sorter sorter)
{
    const auto n = static_cast<size_t>(state.range(0));
    const size_t length = n * static_cast<size_t>(batch);
    const size_t copies = std::max<size_t>(1, (size_t{1} << 20) / length);
    std::mt19937 rng(12345);
    std::vector<int> pool(length * copies);
    for (int &key : pool)
        key = static_cast<int>(rng() & 0x7fffffff);
    std::vector<int> work(length);
    size_t next = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const auto from = pool.begin() + static_cast<ptrdiff_t>(next * length);
        std::copy(from, from + static_cast<ptrdiff_t>(length), work.begin());
        next = (next + 1) % copies;
        state.ResumeTiming();
        for (size_t at = 0; at < length; at += n)
            sorter(work.data() + at, n);
        benchmark::ClobberMemory();
    }
    if (!std::is_sorted(work.begin(), work.begin() + static_cast<ptrdiff_t>(n)))
        state.SkipWithError("not sorted");
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(length));
}

void quick(int *keys, size_t n)
{
    NQuickSort(keys, n, sizeof(int), compare_ints, nullptr);
}
void shell(int *keys, size_t n)
{
    n_qsort(keys, n, sizeof(int), compare_ints, nullptr);
}
void insertion(int *keys, size_t n)
{
    NInsertionSort(keys, n, sizeof(int), compare_ints, nullptr);
}
void libc(int *keys, size_t n)
{
    std::qsort(keys, n, sizeof(int), compare_ints_libc);
}
void std_sort(int *keys, size_t n)
{
    std::sort(keys, keys + n);
}

constexpr int64_t small_batch = 1000;

void BM_NQuickSort(benchmark::State &state) { run_sort(state, 1, quick); }
void BM_n_qsort(benchmark::State &state) { run_sort(state, 1, shell); }
void BM_GlibcQsort(benchmark::State &state) { run_sort(state, 1, libc); }
void BM_StdSort(benchmark::State &state) { run_sort(state, 1, std_sort); }
void BM_NInsertionSort_x1000(benchmark::State &state) { run_sort(state, small_batch, insertion); }
void BM_StdSort_x1000(benchmark::State &state) { run_sort(state, small_batch, std_sort); }

} // namespace

BENCHMARK(BM_NQuickSort)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_n_qsort)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GlibcQsort)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_StdSort)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_NInsertionSort_x1000)->RangeMultiplier(2)->Range(8, 64)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_StdSort_x1000)->RangeMultiplier(2)->Range(8, 64)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
