// Tests of the array sorts and the binary search. Each runs beside a model of
// its algorithm on an array of ids and must make the same compare calls in the
// same order and leave the same order; results are checked on their own too.
#include <tarvolk/bsearch.h>
#include <tarvolk/qsort.h>
#include <tarvolk/retcode.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <ostream>
#include <random>
#include <set>
#include <utility>
#include <vector>

#include "support/keyed.h"

namespace {

using Calls = std::vector<std::pair<int, int>>;

using tvk_test::three_way;

// An element carries its id in its first bytes (up to four, little-endian)
// and a filler derived from the id in the rest, so that a torn exchange shows.
void put_element(unsigned char *p, size_t width, int id)
{
    const auto u = static_cast<unsigned>(id);
    for (size_t b = 0; b < width; ++b)
        p[b] = static_cast<unsigned char>(b < 4 ? u >> (8 * b) : u * 131 + b * 7);
}

int id_at(const void *p, size_t width)
{
    unsigned id = 0;
    for (size_t b = 0; b < width && b < 4; ++b)
        id |= unsigned{static_cast<const unsigned char *>(p)[b]} << (8 * b);
    return static_cast<int>(id);
}

struct Block {
    size_t width;
    std::vector<unsigned char> bytes;

    Block(const std::vector<int> &ids, size_t w) : width(w), bytes(ids.size() * w)
    {
        for (size_t k = 0; k < ids.size(); ++k)
            put_element(&bytes[k * w], w, ids[k]);
    }
    unsigned char *data() { return bytes.data(); }
    // The ids in array order; -1 for an element whose bytes don't belong together.
    std::vector<int> ids() const
    {
        std::vector<int> out;
        std::vector<unsigned char> expect(width);
        for (size_t at = 0; at < bytes.size(); at += width) {
            put_element(expect.data(), width, id_at(&bytes[at], width));
            out.push_back(std::memcmp(expect.data(), &bytes[at], width) == 0 ? id_at(&bytes[at], width) : -1);
        }
        return out;
    }
};

// State of recording_compare, which records (id of a, id of b) and notes
// pointers that aren't elements of the array (a is the key in a search).
struct Recorder {
    const std::vector<int> &keys;
    Block &block;
    bool key_outside = false;
    Calls calls{};
    bool stray = false;

    bool in_array(const void *p) const
    {
        const auto at = reinterpret_cast<uintptr_t>(p), from = reinterpret_cast<uintptr_t>(block.data());
        return at >= from && at < from + block.bytes.size() && (at - from) % block.width == 0;
    }
};

// Answers with varying magnitudes: only the sign may matter.
int recording_compare(const void *a, const void *b, void *arg)
{
    auto *rec = static_cast<Recorder *>(arg);
    rec->stray |= !rec->in_array(b) || (!rec->key_outside && !rec->in_array(a));
    const int ia = id_at(a, rec->block.width), ib = id_at(b, rec->block.width);
    rec->calls.emplace_back(ia, ib);
    return three_way(rec->keys[ia], rec->keys[ib]) * (1 + ((ia ^ ib) & 3));
}

int counting_compare(const void *a, const void *b, void *arg)
{
    ++*static_cast<long *>(arg);
    return three_way(*static_cast<const int *>(a), *static_cast<const int *>(b));
}

// The algorithms as they are meant to run, on ids.
struct Model {
    std::vector<int> ids;
    const std::vector<int> &keys;
    Calls calls{};

    int cmp(ptrdiff_t i, ptrdiff_t j)
    {
        calls.emplace_back(ids[i], ids[j]);
        return three_way(keys[ids[i]], keys[ids[j]]);
    }
    void exchange(ptrdiff_t i, ptrdiff_t j) { std::swap(ids[i], ids[j]); }
    ptrdiff_t last() const { return static_cast<ptrdiff_t>(ids.size()) - 1; }

    void insertion(ptrdiff_t lo, ptrdiff_t hi)
    {
        for (ptrdiff_t i = lo + 1; i <= hi; ++i)
            for (ptrdiff_t j = i; j > lo && cmp(j, j - 1) < 0; --j)
                exchange(j, j - 1);
    }
    void insertion_all() { insertion(0, last()); }
    void shell()
    {
        for (ptrdiff_t gap = (last() + 1) / 2; gap > 0; gap /= 2)
            for (ptrdiff_t i = gap; i <= last(); ++i)
                for (ptrdiff_t j = i - gap; j >= 0 && cmp(j, j + gap) > 0; j -= gap)
                    exchange(j, j + gap);
    }
    void quick()
    {
        if (last() < 1)
            return;
        ptrdiff_t lo = 0, hi = last();
        std::vector<std::pair<ptrdiff_t, ptrdiff_t>> stack{{lo, hi}};
        while (!stack.empty()) {
            if (hi - lo < 17) {
                insertion(lo, hi);
                std::tie(lo, hi) = stack.back();
                stack.pop_back();
                continue;
            }
            const ptrdiff_t mid = (lo + hi) / 2;
            for (auto [i, j] : {std::pair{lo + 1, mid}, {lo + 1, hi}, {mid, hi}})
                if (cmp(i, j) > 0)
                    exchange(i, j);
            exchange(lo, mid);
            ptrdiff_t split = lo;
            for (ptrdiff_t i = lo + 1; i <= hi; ++i)
                if (const int r = cmp(i, lo); r < 0 || (r == 0 && split < mid))
                    exchange(++split, i);
            exchange(lo, split);
            if (hi - split <= split - lo)
                stack.emplace_back(lo, split - 1), lo = split + 1;
            else
                stack.emplace_back(split + 1, hi), hi = split - 1;
        }
    }
    ptrdiff_t search(int key_id)
    {
        for (ptrdiff_t low = 0, high = last(); low <= high;) {
            const ptrdiff_t mid = (low + high) / 2;
            calls.emplace_back(key_id, ids[mid]);
            const int r = three_way(keys[key_id], keys[ids[mid]]);
            if (r == 0)
                return mid;
            if (r < 0)
                high = mid - 1;
            else
                low = mid + 1;
        }
        return -1;
    }
};

enum Kind { wide, few, equal, ascending, descending, kinds };

std::vector<int> make_keys(int kind, size_t n, std::mt19937 &rng)
{
    std::vector<int> keys(n);
    for (size_t i = 0; i < n; ++i)
        keys[i] = kind == wide ? static_cast<int>(rng() % 1000000) - 500000
                : kind == few ? static_cast<int>(rng() % 3)
                : kind == equal ? 7
                : kind == ascending ? static_cast<int>(i / 2) : -static_cast<int>(i);
    return keys;
}

std::vector<int> iota_ids(size_t n)
{
    std::vector<int> ids(n);
    std::iota(ids.begin(), ids.end(), 0);
    return ids;
}

struct Sort {
    const char *name;
    NRC (*run)(void *, size_t, size_t, NCompareFunc, void *);
    void (Model::*model)();
    size_t max_count; // insertion sort is quadratic
};
const Sort sorts[] = {
    {"NInsertionSort", NInsertionSort, &Model::insertion_all, 1025},
    {"n_qsort", [](void *b, size_t n, size_t w, NCompareFunc c, void *a) { return n_qsort(b, n, w, c, a), NRC{0}; },
     &Model::shell, 4097},
    {"NQuickSort", NQuickSort, &Model::quick, 4097},
};
constexpr size_t widths[] = {1, 3, 4, 8, 12, 24, 100};

void PrintTo(const Sort &sort, std::ostream *out) { *out << sort.name; }

class SortTest : public ::testing::TestWithParam<Sort> {};
INSTANTIATE_TEST_SUITE_P(All, SortTest, ::testing::ValuesIn(sorts), [](const auto &p) { return p.param.name; });

TEST_P(SortTest, MatchesModelAndSorts)
{
    const Sort &sort = GetParam();
    std::mt19937 rng(2024);
    for (size_t width : widths)
        for (size_t n : {0, 1, 2, 3, 5, 16, 17, 18, 19, 31, 32, 33, 63, 64, 65, 255, 256, 257, 1023, 1024, 1025, 2047,
                         2048, 2049, 4095, 4096, 4097}) {
            if (n > sort.max_count || (width == 1 && n > 256))
                continue;
            for (int kind = 0; kind < kinds; ++kind) {
                SCOPED_TRACE(::testing::Message() << "width " << width << ", count " << n << ", kind " << kind);
                const std::vector<int> keys = make_keys(kind, n, rng), ids = iota_ids(n);
                Model model{ids, keys};
                (model.*sort.model)();
                Block block(ids, width);
                Recorder rec{keys, block};
                ASSERT_EQ(sort.run(block.data(), n, width, recording_compare, &rec), 0);
                ASSERT_EQ(rec.calls, model.calls);
                ASSERT_FALSE(rec.stray);
                const std::vector<int> got = block.ids();
                ASSERT_EQ(got, model.ids);
                // Apart from the model: sorted.
                ASSERT_TRUE(std::is_sorted(got.begin(), got.end(), [&](int a, int b) { return keys[a] < keys[b]; }));
            }
        }
}

TEST_P(SortTest, DegenerateArgumentsTouchNothing)
{
    struct Case { bool base; size_t count, width; bool compare; NRC rc; };
    const bool can_fail = GetParam().run != sorts[1].run; // n_qsort returns nothing
    for (const Case c : {Case{true, 0, 4, true, 0}, {true, 1, 4, true, 0}, {false, 0, 4, true, 0},
                         {false, 1, 4, true, 0}, {false, 2, 4, true, NRC_FAILURE}, {true, 3, 0, true, NRC_FAILURE},
                         {true, 3, 4, false, NRC_FAILURE}}) {
        int data[3] = {3, 1, 2};
        long calls = 0;
        const NRC rc = GetParam().run(c.base ? data : nullptr, c.count, c.width,
                                      c.compare ? counting_compare : nullptr, &calls);
        EXPECT_EQ(rc, can_fail ? c.rc : 0) << "count " << c.count << ", width " << c.width;
        EXPECT_EQ(calls, 0);
        EXPECT_EQ(data[0] * 100 + data[1] * 10 + data[2], 312);
    }
}

// 100000 equal, sorted and reversed keys stay near n log n compares.
// (Allocation failure, which must give 12, can't be provoked from here.)
TEST(QuickSortTest, StaysNearNLogN)
{
    const int n = 100000;
    for (int kind : {equal, ascending, descending}) {
        std::vector<int> data(n);
        for (int i = 0; i < n; ++i)
            data[i] = kind == equal ? 5 : kind == ascending ? i : n - i;
        long calls = 0;
        ASSERT_EQ(NQuickSort(data.data(), data.size(), sizeof(int), counting_compare, &calls), 0);
        EXPECT_LT(static_cast<double>(calls), 3.0 * n * std::log2(n)) << "kind " << kind;
        EXPECT_TRUE(std::is_sorted(data.begin(), data.end()));
    }
}

TEST(SearchTest, BinarySearchMatchesModel)
{
    std::mt19937 rng(99);
    for (size_t width : widths)
        for (size_t n : {0, 1, 2, 3, 7, 8, 9, 100, 254, 1000, 4097}) {
            for (int kind : {wide, few, equal}) {
                if (width == 1 && n > 254)
                    continue;
                SCOPED_TRACE(::testing::Message() << "width " << width << ", count " << n << ", kind " << kind);
                std::vector<int> keys = make_keys(kind, n, rng);
                std::sort(keys.begin(), keys.end());
                std::set<int> probes{-1000000};
                for (int k : keys)
                    probes.insert({k - 1, k, k + 1});
                const std::vector<int> ids = iota_ids(n);
                Block block(ids, width), key({static_cast<int>(n)}, width);
                keys.push_back(0); // the key's own entry, id n
                for (int probe : probes) {
                    keys.back() = probe;
                    Model model{ids, keys};
                    const ptrdiff_t want = model.search(static_cast<int>(n));
                    Recorder rec{keys, block, true};
                    const void *found = NBinarySearch(key.data(), block.data(), n, width, recording_compare, &rec);
                    ASSERT_EQ(rec.calls, model.calls) << "probe " << probe;
                    ASSERT_FALSE(rec.stray);
                    ASSERT_EQ(found, want < 0 ? nullptr : &block.bytes[static_cast<size_t>(want) * width]);
                }
            }
        }
}

TEST(SearchTest, DegenerateArgumentsGiveNullWithoutCompare)
{
    const int data[2] = {1, 2}, key = 1;
    struct Case { const int *base; size_t count, width; bool compare; };
    for (const Case c : {Case{data, 0, 4, true}, {nullptr, 0, 4, true}, {data, 2, 0, true}, {data, 2, 4, false}}) {
        long calls = 0;
        EXPECT_EQ(NBinarySearch(&key, c.base, c.count, c.width, c.compare ? counting_compare : nullptr, &calls),
                  nullptr);
        EXPECT_EQ(calls, 0);
    }
}

} // namespace
