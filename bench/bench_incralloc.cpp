// Batches of small pieces (16 to 64 bytes) from the arena beside malloc.
// Each iteration allocates a whole batch, writes to every piece and then
// releases the batch: an arena rewind (or destroy) against one free per
// piece.
#include <tarvolk/incralloc.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <random>
#include <vector>

namespace {

std::vector<size_t> piece_sizes(int64_t n)
{
    std::mt19937 rng(4711);
    std::vector<size_t> sizes(static_cast<size_t>(n));
    for (size_t &size : sizes)
        size = 16 + rng() % 49;
    return sizes;
}

// Allocates the batch from the arena, writing to every piece.
void alloc_batch(NIncrAllocator *arena, const std::vector<size_t> &sizes)
{
    for (size_t size : sizes) {
        auto *piece = static_cast<char *>(NIncrAllocatorAlloc(arena, size));
        piece[0] = 1;
        benchmark::DoNotOptimize(piece);
    }
}

// The arena lives across iterations and is rewound after each batch; a
// clearing arena zeroes every blob it reuses.
void expunge_batches(benchmark::State &state, NIncrAllocator *(*create)(uint32_t))
{
    const std::vector<size_t> sizes = piece_sizes(state.range(0));
    NIncrAllocator *arena = create(64 * 1024);
    for (auto _ : state) {
        alloc_batch(arena, sizes);
        NIncrAllocatorExpunge(arena);
    }
    NIncrAllocatorDestroy(arena);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_IncrAllocExpunge(benchmark::State &state)
{
    expunge_batches(state, NIncrAllocatorCreateNoClear);
}

void BM_IncrAllocClearingExpunge(benchmark::State &state)
{
    expunge_batches(state, NIncrAllocatorCreate);
}

// A fresh arena per batch: blobs come from and go back to the heap.
void BM_IncrAllocDestroy(benchmark::State &state)
{
    const std::vector<size_t> sizes = piece_sizes(state.range(0));
    for (auto _ : state) {
        NIncrAllocator *arena = NIncrAllocatorCreateNoClear(64 * 1024);
        alloc_batch(arena, sizes);
        NIncrAllocatorDestroy(arena);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_MallocFree(benchmark::State &state)
{
    const std::vector<size_t> sizes = piece_sizes(state.range(0));
    std::vector<char *> pieces(sizes.size());
    for (auto _ : state) {
        for (size_t i = 0; i < sizes.size(); ++i) {
            pieces[i] = static_cast<char *>(std::malloc(sizes[i]));
            pieces[i][0] = 1;
            benchmark::DoNotOptimize(pieces[i]);
        }
        for (char *piece : pieces)
            std::free(piece);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

} // namespace

BENCHMARK(BM_IncrAllocExpunge)->Arg(1000)->Arg(100000);
BENCHMARK(BM_IncrAllocClearingExpunge)->Arg(1000)->Arg(100000);
BENCHMARK(BM_IncrAllocDestroy)->Arg(1000)->Arg(100000);
BENCHMARK(BM_MallocFree)->Arg(1000)->Arg(100000);

BENCHMARK_MAIN();
