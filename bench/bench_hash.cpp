// NHashFind and NHashInsert beside std::unordered_map and GLib's GHashTable,
// on the same keys: n distinct random strings of 16 characters, or n
// distinct random 32-bit integers.
//
// Hash functions, each container's usual one:
//   strings:  NHash NHashString2 (and strcmp); std::hash<std::string_view>;
//             GLib g_str_hash (and g_str_equal)
//   integers: identity for all three (NHash with a three-way compare through
//             a function pointer; std::hash<uint32_t>; GLib g_direct_hash
//             without an equal function, so it compares keys inline)
//
// NHash runs with the library's usual 127 buckets and with bucket counts
// sized to the data: the first prime >= n, and >= 2n. For strings it also
// runs with g_str_hash, to compare the tables on one hash. The other two
// containers grow as they fill; the std map is reserved to n for the insert
// runs.
//
// Find: every key once per iteration, in a shuffled order, through a
// separate copy of the key (so string compares really compare). Insert:
// per iteration a new container is created, filled with all n keys and
// destroyed. NHash items are allocated once outside the loop, as the caller
// of an intrusive table does; std::unordered_map allocates a node per
// insert, GHashTable its arrays.
#include <tarvolk/hashtable.h>
#include <tarvolk/mem.h>

#include <benchmark/benchmark.h>
#include <glib.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <random>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace {

constexpr size_t key_length = 16;
using Text = std::array<char, 24>; // a key with its NUL, padded

// Keys and the order in which they are looked up, per n.
struct Data {
    std::vector<Text> texts;     // the stored keys
    std::vector<Text> probes;    // copies of the keys, in lookup order
    std::vector<uint32_t> ints;  // stored integer keys
    std::vector<uint32_t> int_probes;
};

const Data &data_for(size_t n)
{
    static std::unordered_map<size_t, Data> cache;
    auto found = cache.find(n);
    if (found != cache.end())
        return found->second;
    Data &d = cache[n];
    std::mt19937 rng(static_cast<uint32_t>(n));
    static const char alphabet[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::unordered_set<std::string_view> seen;
    d.texts.reserve(n);
    while (d.texts.size() < n) {
        Text text{};
        for (size_t i = 0; i < key_length; ++i)
            text[i] = alphabet[rng() % (sizeof(alphabet) - 1)];
        d.texts.push_back(text); // reserved: the views into texts stay valid
        if (!seen.insert(std::string_view(d.texts.back().data())).second)
            d.texts.pop_back();
    }
    std::unordered_set<uint32_t> ints;
    while (d.ints.size() < n) {
        const uint32_t key = static_cast<uint32_t>(rng()) | 1u; // never 0
        if (ints.insert(key).second)
            d.ints.push_back(key);
    }
    d.probes = d.texts;
    d.int_probes = d.ints;
    std::shuffle(d.probes.begin(), d.probes.end(), rng);
    std::shuffle(d.int_probes.begin(), d.int_probes.end(), rng);
    return d;
}

uint32_t prime_at_least(size_t n)
{
    auto prime = [](size_t p) {
        if (p < 2)
            return false;
        for (size_t f = 2; f * f <= p; ++f)
            if (p % f == 0)
                return false;
        return true;
    };
    while (!prime(n))
        ++n;
    return static_cast<uint32_t>(n);
}

void set_counters(benchmark::State &state, size_t n)
{
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * n));
    state.counters["ns/op"] = benchmark::Counter(
        static_cast<double>(n),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// ---- NHash ----

// Items begin with their key, so a bare text is a key.
struct StrItem {
    Text key;
    int64_t value;
};

struct IntItem {
    uint32_t key;
    int32_t value;
};

int compare_text(const void *a, const void *b, void *)
{
    return std::strcmp(static_cast<const char *>(a), static_cast<const char *>(b));
}

uint32_t hash_int(const void *item, void *)
{
    return *static_cast<const uint32_t *>(item);
}

int compare_int(const void *a, const void *b, void *)
{
    const uint32_t l = *static_cast<const uint32_t *>(a);
    const uint32_t r = *static_cast<const uint32_t *>(b);
    return (l > r) - (l < r);
}

enum class Keys { strings, ints };

// The table's items, allocated once per benchmark.
struct NHashItems {
    std::vector<void *> items;

    NHashItems(const Data &d, Keys keys)
    {
        const size_t n = keys == Keys::strings ? d.texts.size() : d.ints.size();
        for (size_t i = 0; i < n; ++i) {
            if (keys == Keys::strings) {
                auto *item = static_cast<StrItem *>(NHashAlloc(sizeof(StrItem)));
                *item = StrItem{d.texts[i], static_cast<int64_t>(i) + 1};
                items.push_back(item);
            } else {
                auto *item = static_cast<IntItem *>(NHashAlloc(sizeof(IntItem)));
                *item = IntItem{d.ints[i], static_cast<int32_t>(i) + 1};
                items.push_back(item);
            }
        }
    }
    ~NHashItems()
    {
        for (void *item : items)
            NHashFree(item);
    }
    NHashItems(const NHashItems &) = delete;
    NHashItems &operator=(const NHashItems &) = delete;
};

// The GLib string hash, for NHash runs with the same hash as GHashTable.
uint32_t glib_str_hash(const void *text, void *)
{
    return g_str_hash(text);
}

// Arguments of the NHash runs: n; buckets (0: the usual 127, 1: the first
// prime >= n, 2: the first prime >= 2n); for strings, the hash (0:
// NHashString2, 1: g_str_hash).
NHash *create_nhash(Keys keys, benchmark::State &state)
{
    const auto n = static_cast<size_t>(state.range(0));
    const uint32_t buckets =
        state.range(1) == 0 ? 127 : prime_at_least(n * static_cast<size_t>(state.range(1)));
    if (keys == Keys::ints)
        return NHashCreateWith(n_malloc, buckets, hash_int, nullptr, compare_int, nullptr);
    NHashFunc hash = state.range(2) == 0 ? NHashString2 : glib_str_hash;
    return NHashCreateWith(n_malloc, buckets, hash, nullptr, compare_text, nullptr);
}

template <Keys K> void BM_NHashFind(benchmark::State &state)
{
    const Data &d = data_for(static_cast<size_t>(state.range(0)));
    NHashItems items(d, K);
    NHash *table = create_nhash(K, state);
    for (void *item : items.items)
        NHashInsert(table, item);
    for (auto _ : state) {
        int64_t sum = 0;
        if constexpr (K == Keys::strings) {
            for (const Text &probe : d.probes)
                if (auto *item = static_cast<StrItem *>(NHashFind(table, probe.data())))
                    sum += item->value;
        } else {
            for (const uint32_t &probe : d.int_probes)
                if (auto *item = static_cast<IntItem *>(NHashFind(table, &probe)))
                    sum += item->value;
        }
        benchmark::DoNotOptimize(sum);
    }
    NHashDestroyWith(table, nullptr, nullptr, n_free);
    set_counters(state, items.items.size());
}

template <Keys K> void BM_NHashInsert(benchmark::State &state)
{
    const Data &d = data_for(static_cast<size_t>(state.range(0)));
    NHashItems items(d, K);
    for (auto _ : state) {
        NHash *table = create_nhash(K, state);
        for (void *item : items.items)
            NHashInsert(table, item);
        benchmark::DoNotOptimize(NHashNumItems(table));
        NHashDestroyWith(table, nullptr, nullptr, n_free);
    }
    set_counters(state, items.items.size());
}

// ---- std::unordered_map ----

template <Keys K> void BM_StdFind(benchmark::State &state)
{
    const Data &d = data_for(static_cast<size_t>(state.range(0)));
    if constexpr (K == Keys::strings) {
        std::unordered_map<std::string_view, int64_t> map;
        for (size_t i = 0; i < d.texts.size(); ++i)
            map.emplace(d.texts[i].data(), static_cast<int64_t>(i) + 1);
        for (auto _ : state) {
            int64_t sum = 0;
            for (const Text &probe : d.probes)
                if (auto it = map.find(probe.data()); it != map.end())
                    sum += it->second;
            benchmark::DoNotOptimize(sum);
        }
    } else {
        std::unordered_map<uint32_t, int32_t> map;
        for (size_t i = 0; i < d.ints.size(); ++i)
            map.emplace(d.ints[i], static_cast<int32_t>(i) + 1);
        for (auto _ : state) {
            int64_t sum = 0;
            for (uint32_t probe : d.int_probes)
                if (auto it = map.find(probe); it != map.end())
                    sum += it->second;
            benchmark::DoNotOptimize(sum);
        }
    }
    set_counters(state, d.texts.size());
}

template <Keys K> void BM_StdInsert(benchmark::State &state)
{
    const Data &d = data_for(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        if constexpr (K == Keys::strings) {
            std::unordered_map<std::string_view, int64_t> map;
            map.reserve(d.texts.size());
            for (size_t i = 0; i < d.texts.size(); ++i)
                map.emplace(d.texts[i].data(), static_cast<int64_t>(i) + 1);
            benchmark::DoNotOptimize(map.size());
        } else {
            std::unordered_map<uint32_t, int32_t> map;
            map.reserve(d.ints.size());
            for (size_t i = 0; i < d.ints.size(); ++i)
                map.emplace(d.ints[i], static_cast<int32_t>(i) + 1);
            benchmark::DoNotOptimize(map.size());
        }
    }
    set_counters(state, d.texts.size());
}

// ---- GHashTable ----

gpointer int_key(uint32_t key)
{
    return reinterpret_cast<gpointer>(static_cast<uintptr_t>(key));
}

gpointer value_of(size_t i)
{
    return reinterpret_cast<gpointer>(static_cast<uintptr_t>(i + 1));
}

GHashTable *filled_glib(const Data &d, Keys keys)
{
    GHashTable *table = keys == Keys::strings ? g_hash_table_new(g_str_hash, g_str_equal)
                                              : g_hash_table_new(g_direct_hash, nullptr);
    for (size_t i = 0; i < d.texts.size(); ++i) {
        if (keys == Keys::strings)
            g_hash_table_insert(table, const_cast<char *>(d.texts[i].data()), value_of(i));
        else
            g_hash_table_insert(table, int_key(d.ints[i]), value_of(i));
    }
    return table;
}

template <Keys K> void BM_GHashTableLookup(benchmark::State &state)
{
    const Data &d = data_for(static_cast<size_t>(state.range(0)));
    GHashTable *table = filled_glib(d, K);
    for (auto _ : state) {
        uintptr_t sum = 0;
        if constexpr (K == Keys::strings) {
            for (const Text &probe : d.probes)
                sum += reinterpret_cast<uintptr_t>(g_hash_table_lookup(table, probe.data()));
        } else {
            for (uint32_t probe : d.int_probes)
                sum += reinterpret_cast<uintptr_t>(g_hash_table_lookup(table, int_key(probe)));
        }
        benchmark::DoNotOptimize(sum);
    }
    g_hash_table_destroy(table);
    set_counters(state, d.texts.size());
}

template <Keys K> void BM_GHashTableInsert(benchmark::State &state)
{
    const Data &d = data_for(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        GHashTable *table = filled_glib(d, K);
        benchmark::DoNotOptimize(g_hash_table_size(table));
        g_hash_table_destroy(table);
    }
    set_counters(state, d.texts.size());
}

// Sizes 1e3 .. 1e6; NHash with 127 buckets stops at 1e5 (its chains are
// then ~800 items long, and a run at 1e6 would take minutes).
template <Keys K> void nhash_args(benchmark::internal::Benchmark *b)
{
    for (int64_t n : {1000, 10000, 100000, 1000000}) {
        for (int64_t buckets : {0, 1, 2}) {
            if (buckets == 0 && n > 100000)
                continue;
            if (K == Keys::ints) {
                b->Args({n, buckets});
            } else {
                b->Args({n, buckets, 0});
                if (buckets == 1)
                    b->Args({n, buckets, 1});
            }
        }
    }
    if (K == Keys::ints)
        b->ArgNames({"n", "buckets"});
    else
        b->ArgNames({"n", "buckets", "g_str_hash"});
}

void other_args(benchmark::internal::Benchmark *b)
{
    for (int64_t n : {1000, 10000, 100000, 1000000})
        b->Arg(n);
    b->ArgName("n");
}

} // namespace

BENCHMARK_TEMPLATE(BM_NHashFind, Keys::strings)->Apply(nhash_args<Keys::strings>);
BENCHMARK_TEMPLATE(BM_StdFind, Keys::strings)->Apply(other_args);
BENCHMARK_TEMPLATE(BM_GHashTableLookup, Keys::strings)->Apply(other_args);
BENCHMARK_TEMPLATE(BM_NHashFind, Keys::ints)->Apply(nhash_args<Keys::ints>);
BENCHMARK_TEMPLATE(BM_StdFind, Keys::ints)->Apply(other_args);
BENCHMARK_TEMPLATE(BM_GHashTableLookup, Keys::ints)->Apply(other_args);

BENCHMARK_TEMPLATE(BM_NHashInsert, Keys::strings)->Apply(nhash_args<Keys::strings>);
BENCHMARK_TEMPLATE(BM_StdInsert, Keys::strings)->Apply(other_args);
BENCHMARK_TEMPLATE(BM_GHashTableInsert, Keys::strings)->Apply(other_args);
BENCHMARK_TEMPLATE(BM_NHashInsert, Keys::ints)->Apply(nhash_args<Keys::ints>);
BENCHMARK_TEMPLATE(BM_StdInsert, Keys::ints)->Apply(other_args);
BENCHMARK_TEMPLATE(BM_GHashTableInsert, Keys::ints)->Apply(other_args);

BENCHMARK_MAIN();
