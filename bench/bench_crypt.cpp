// The DES password hash: n_crypt beside the system's crypt_r (libcrypt) with
// one reused struct crypt_data, time per hash. Both cycle through the same 64
// passwords and salts. The parts of n_crypt are timed alone too: the build of
// the state's four salted tables, which every call does afresh, and the 25
// encryptions. The argument places the state that many bytes past a 64-byte
// boundary (a heap block of this size typically lies 16 past one), as the
// time of the build depends a little on it.
#include <tarvolk/crypt.h>

#include <crypt.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

namespace {

struct Inputs {
    std::vector<std::string> passwords, salts;

    Inputs()
    {
        const std::string alphabet = "./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
        std::mt19937 rng(2024);
        for (int i = 0; i < 64; ++i) {
            std::string p(1 + rng() % 8, ' ');
            for (char &c : p)
                c = static_cast<char>('!' + rng() % 94);
            passwords.push_back(p);
            salts.push_back({alphabet[rng() % 64], alphabet[rng() % 64]});
        }
    }
};

const Inputs inputs;

// A state placed offset bytes past a 64-byte boundary.
class PlacedState {
public:
    explicit PlacedState(int64_t offset)
        : raw_(static_cast<unsigned char *>(std::aligned_alloc(64, (sizeof(NCryptState) + 127) / 64 * 64)))
    {
        state_ = new (raw_ + offset) NCryptState();
    }
    ~PlacedState() { std::free(raw_); }
    PlacedState(const PlacedState &) = delete;
    PlacedState &operator=(const PlacedState &) = delete;
    NCryptState *get() const { return state_; }

private:
    unsigned char *raw_;
    NCryptState *state_;
};

void BM_NCrypt(benchmark::State &state)
{
    const PlacedState data(state.range(0));
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(n_crypt(inputs.passwords[i].c_str(), inputs.salts[i].c_str(), data.get()));
        i = (i + 1) % inputs.passwords.size();
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_CryptR(benchmark::State &state)
{
    auto data = std::make_unique<crypt_data>();
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(crypt_r(inputs.passwords[i].c_str(), inputs.salts[i].c_str(), data.get()));
        i = (i + 1) % inputs.passwords.size();
    }
    state.SetItemsProcessed(state.iterations());
}

// The salted tables built from nothing, as n_crypt's salt step does.
void BM_NCryptTableBuild(benchmark::State &state)
{
    const PlacedState data(state.range(0));
    size_t i = 0;
    for (auto _ : state) {
        data.get()->initialized = 0;
        _NCryptSetupSalt_r(inputs.salts[i].c_str(), data.get());
        benchmark::DoNotOptimize(data.get()->sb3[4095]);
        i = (i + 1) % inputs.salts.size();
    }
    state.SetItemsProcessed(state.iterations());
}

// The 25 encryptions alone, on a built state.
void BM_NCryptRounds(benchmark::State &state)
{
    auto data = std::make_unique<NCryptState>();
    n_crypt("warm up", "ab", data.get());
    for (auto _ : state) {
        uint32_t block[4] = {};
        _NCryptDoEncrypt_r(25, data.get(), block);
        benchmark::DoNotOptimize(block[0]);
    }
    state.SetItemsProcessed(state.iterations());
}

} // namespace

BENCHMARK(BM_NCrypt)->Arg(0)->Arg(8)->Arg(16)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_CryptR)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_NCryptTableBuild)->Arg(0)->Arg(8)->Arg(16)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_NCryptRounds)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
