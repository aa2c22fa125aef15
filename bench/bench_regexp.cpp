// Regular expressions on 4 MiB of generated English-like text: every match
// of a literal, an alternation and a class with a bound, and a global
// substitution, with the library's engine and TRE through NRegexp, TRE
// called directly, and PCRE2 (JIT). Each search starts again behind the
// last match, as a caller of NRegexpMatch does.
#include <tarvolk/regexp.h>
#include <tarvolk/retcode.h>

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>
#include <tre/tre.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

const std::string &text()
{
    static const std::string t = [] {
        static const char *const words[] = {
            "the", "of", "and", "to", "in", "a", "is", "that", "for", "it", "as", "was", "with", "be",
            "by", "on", "not", "he", "this", "are", "or", "his", "from", "at", "which", "but", "have",
            "an", "had", "they", "you", "were", "their", "one", "all", "we", "can", "her", "has",
            "there", "been", "if", "more", "when", "will", "would", "who", "so", "no", "river",
            "mountain", "valley", "government", "people", "between", "through", "another", "morning",
            "question", "language", "thinking", "building", "something", "everything", "quickly",
        };
        constexpr size_t n_words = sizeof words / sizeof words[0];
        std::mt19937 rng(42);
        std::string out;
        out.reserve(4u << 20);
        bool start = true;
        while (out.size() < (4u << 20)) {
            std::string w;
            const auto r = rng() % 1000;
            if (r < 3)
                w = std::to_string(1800 + rng() % 220); // a year, now and then
            else
                w = words[std::min<size_t>(n_words - 1, static_cast<size_t>(std::exponential_distribution<>(
                                                             0.08)(rng)))];
            if (start && w[0] >= 'a')
                w[0] = static_cast<char>(w[0] - 'a' + 'A');
            out += w;
            start = rng() % 12 == 0;
            out += start ? (rng() % 4 == 0 ? ".\n" : ". ") : (rng() % 15 == 0 ? ", " : " ");
        }
        return out;
    }();
    return t;
}

struct Pattern {
    const char *posix;  // TRE and PCRE2
    const char *native; // the same language for the library's engine
};

const Pattern patterns[] = {
    {"government", "government"},
    {"river|mountain|valley", "river|mountain|valley"},
    {"[0-9]{4}", "[0-9][0-9][0-9][0-9]"},
    {"(qu|th)[a-z]+ing", "(qu|th)[a-z]+ing"}, // the substitution's pattern
};
constexpr const char *kTemplate = "<\\1:&>";

// ---- through NRegexp ----

// The pattern compiled by the engine (in that engine's syntax); the default
// engine is selected again afterwards. Null, with the run marked, if the
// engine refuses it.
NRegexp *compile_with(int32_t engine, const Pattern &p, benchmark::State &state)
{
    NRegexpLibrarySwitch(engine);
    NRegexp *re = nullptr;
    const NRC rc = NRegexpCompile(engine == NREGEXP_LIBRARY_TRE ? p.posix : p.native, &re);
    NRegexpLibrarySwitch(NREGEXP_LIBRARY_TRE);
    if (rc != 0)
        state.SkipWithError("compile");
    return rc == 0 ? re : nullptr;
}

void front_end_search(benchmark::State &state, int32_t engine)
{
    const Pattern &p = patterns[state.range(0)];
    NRegexp *re = compile_with(engine, p, state);
    if (re == nullptr)
        return;
    const auto *subs = reinterpret_cast<const char *const *>(re); // start[10], end[10]
    size_t matches = 0;
    for (auto _ : state) {
        matches = 0;
        const char *s = text().c_str();
        while (NRegexpMatch(re, s) == 0) {
            ++matches;
            s = subs[10] > subs[0] ? subs[10] : subs[0] + 1;
        }
        benchmark::DoNotOptimize(matches);
    }
    state.counters["matches"] = static_cast<double>(matches);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text().size()));
    NRegexpFree(re);
}

void front_end_subst(benchmark::State &state, int32_t engine)
{
    const Pattern &p = patterns[3];
    NRegexp *re = compile_with(engine, p, state);
    if (re == nullptr)
        return;
    const auto *subs = reinterpret_cast<const char *const *>(re);
    std::string out;
    std::vector<char> piece(256);
    for (auto _ : state) {
        out.clear();
        const char *s = text().c_str();
        while (NRegexpMatch(re, s) == 0) {
            out.append(s, subs[0]);
            NRegexpSubst(re, kTemplate, piece.data());
            out += piece.data();
            s = subs[10] > subs[0] ? subs[10] : subs[0] + 1;
        }
        out += s;
        benchmark::DoNotOptimize(out.data());
    }
    state.counters["out_bytes"] = static_cast<double>(out.size());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text().size()));
    NRegexpFree(re);
}

void BM_Native(benchmark::State &state)
{
    front_end_search(state, NREGEXP_LIBRARY_TARVOLK);
}
void BM_TreFrontEnd(benchmark::State &state)
{
    front_end_search(state, NREGEXP_LIBRARY_TRE);
}
void BM_NativeSubst(benchmark::State &state)
{
    front_end_subst(state, NREGEXP_LIBRARY_TARVOLK);
}
void BM_TreFrontEndSubst(benchmark::State &state)
{
    front_end_subst(state, NREGEXP_LIBRARY_TRE);
}

// ---- TRE directly ----

void BM_TreDirect(benchmark::State &state)
{
    regex_t regex;
    if (tre_regcomp(&regex, patterns[state.range(0)].posix, REG_EXTENDED) != 0) {
        state.SkipWithError("compile");
        return;
    }
    regmatch_t m[10];
    size_t matches = 0;
    for (auto _ : state) {
        matches = 0;
        const char *s = text().c_str();
        while (tre_regexec(&regex, s, 10, m, 0) == 0) {
            ++matches;
            s += m[0].rm_eo > m[0].rm_so ? m[0].rm_eo : m[0].rm_so + 1;
        }
        benchmark::DoNotOptimize(matches);
    }
    state.counters["matches"] = static_cast<double>(matches);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text().size()));
    tre_regfree(&regex);
}

void BM_TreDirectSubst(benchmark::State &state)
{
    regex_t regex;
    if (tre_regcomp(&regex, patterns[3].posix, REG_EXTENDED) != 0) {
        state.SkipWithError("compile");
        return;
    }
    regmatch_t m[10];
    std::string out;
    for (auto _ : state) {
        out.clear();
        const char *s = text().c_str();
        while (tre_regexec(&regex, s, 10, m, 0) == 0) {
            out.append(s, static_cast<size_t>(m[0].rm_so));
            out += '<';
            out.append(s + m[1].rm_so, static_cast<size_t>(m[1].rm_eo - m[1].rm_so));
            out += ':';
            out.append(s + m[0].rm_so, static_cast<size_t>(m[0].rm_eo - m[0].rm_so));
            out += '>';
            s += m[0].rm_eo > m[0].rm_so ? m[0].rm_eo : m[0].rm_so + 1;
        }
        out += s;
        benchmark::DoNotOptimize(out.data());
    }
    state.counters["out_bytes"] = static_cast<double>(out.size());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text().size()));
    tre_regfree(&regex);
}

// ---- PCRE2 with its JIT ----

pcre2_code *pcre_compile(const char *pattern)
{
    int error = 0;
    PCRE2_SIZE offset = 0;
    pcre2_code *code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern), PCRE2_ZERO_TERMINATED, 0, &error,
                                     &offset, nullptr);
    if (code != nullptr)
        pcre2_jit_compile(code, PCRE2_JIT_COMPLETE);
    return code;
}

void BM_Pcre2(benchmark::State &state)
{
    pcre2_code *code = pcre_compile(patterns[state.range(0)].posix);
    pcre2_match_data *md = pcre2_match_data_create_from_pattern(code, nullptr);
    const auto *subject = reinterpret_cast<PCRE2_SPTR>(text().data());
    size_t matches = 0;
    for (auto _ : state) {
        matches = 0;
        PCRE2_SIZE at = 0;
        while (pcre2_match(code, subject, text().size(), at, 0, md, nullptr) >= 0) {
            ++matches;
            const PCRE2_SIZE *ov = pcre2_get_ovector_pointer(md);
            at = ov[1] > ov[0] ? ov[1] : ov[0] + 1;
        }
        benchmark::DoNotOptimize(matches);
    }
    state.counters["matches"] = static_cast<double>(matches);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text().size()));
    pcre2_match_data_free(md);
    pcre2_code_free(code);
}

void BM_Pcre2Subst(benchmark::State &state)
{
    pcre2_code *code = pcre_compile(patterns[3].posix);
    const auto *subject = reinterpret_cast<PCRE2_SPTR>(text().data());
    std::vector<PCRE2_UCHAR> out(text().size() * 2);
    PCRE2_SIZE length = 0;
    for (auto _ : state) {
        length = out.size();
        pcre2_substitute(code, subject, text().size(), 0, PCRE2_SUBSTITUTE_GLOBAL, nullptr, nullptr,
                         reinterpret_cast<PCRE2_SPTR>("<$1:$0>"), PCRE2_ZERO_TERMINATED, out.data(), &length);
        benchmark::DoNotOptimize(out.data());
    }
    state.counters["out_bytes"] = static_cast<double>(length);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text().size()));
    pcre2_code_free(code);
}

// Arguments: 0 literal, 1 alternation, 2 class with a bound.
BENCHMARK(BM_Native)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TreFrontEnd)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TreDirect)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Pcre2)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_NativeSubst)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TreFrontEndSubst)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TreDirectSubst)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Pcre2Subst)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
