// nb_sprintf beside vasprintf and std::string on a log-line-sized format
// (~80 bytes, a few %s and %d). Two shapes: N lines appended to one growing
// text, and each line formatted into a text of its own. The fresh-text
// variants also run on two threads, which must scale: nb_sprintf shares no
// stream or lock between threads, unlike measuring on a shared null stream.
#include <tarvolk/buffer.h>

#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

#define LINE_FORMAT "%s [%s] %s:%d: request %d took %d us from %s\n"
#define LINE_ARGS(k) "2024-05-17 12:34:56", "info", "server.c", 412, (k), 1733, "10.11.12.13"

// The idiom with no format parsing at all: pieces and std::to_chars.
void append_pieces(std::string &s, int k)
{
    char digits[16];
    auto number = [&](int value) {
        const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
        s.append(digits, static_cast<size_t>(end - digits));
    };
    s += "2024-05-17 12:34:56";
    s += " [";
    s += "info";
    s += "] ";
    s += "server.c";
    s += ':';
    number(412);
    s += ": request ";
    number(k);
    s += " took ";
    number(1733);
    s += " us from ";
    s += "10.11.12.13";
    s += '\n';
}

// The two-pass snprintf idiom into a std::string, as nb_sprintf does it.
void append_snprintf(std::string &s, const char *format, ...) __attribute__((format(printf, 2, 3)));
void append_snprintf(std::string &s, const char *format, ...)
{
    va_list args, measure;
    va_start(args, format);
    va_copy(measure, args);
    const int size = std::vsnprintf(nullptr, 0, format, measure);
    va_end(measure);
    const size_t at = s.size();
    s.resize(at + static_cast<size_t>(size));
    std::vsnprintf(s.data() + at, static_cast<size_t>(size) + 1, format, args);
    va_end(args);
}

void BM_AppendNbSprintf(benchmark::State &state)
{
    for (auto _ : state) {
        NBuffer b;
        nb_init(&b);
        for (int k = 0; k < state.range(0); ++k)
            nb_sprintf(&b, LINE_FORMAT, LINE_ARGS(k));
        benchmark::DoNotOptimize(nb_strval(&b));
        nb_free(&b);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_AppendStringSnprintf(benchmark::State &state)
{
    for (auto _ : state) {
        std::string s;
        for (int k = 0; k < state.range(0); ++k)
            append_snprintf(s, LINE_FORMAT, LINE_ARGS(k));
        benchmark::DoNotOptimize(s.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_AppendStringToChars(benchmark::State &state)
{
    for (auto _ : state) {
        std::string s;
        for (int k = 0; k < state.range(0); ++k)
            append_pieces(s, k);
        benchmark::DoNotOptimize(s.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// The other way to measure a format without a scratch buffer: print it to
// one process-wide stream on /dev/null. Every thread then takes that
// stream's lock for each measuring pass.
char *format_via_shared_sink(const char *format, ...) __attribute__((format(printf, 1, 2)));
char *format_via_shared_sink(const char *format, ...)
{
    static FILE *const sink = std::fopen("/dev/null", "wb");
    va_list args, measure;
    va_start(args, format);
    va_copy(measure, args);
    const int size = std::vfprintf(sink, format, measure);
    va_end(measure);
    auto *text = static_cast<char *>(std::malloc(static_cast<size_t>(size) + 1));
    std::vsnprintf(text, static_cast<size_t>(size) + 1, format, args);
    va_end(args);
    return text;
}

void BM_FreshSharedSink(benchmark::State &state)
{
    int k = 0;
    for (auto _ : state) {
        char *text = format_via_shared_sink(LINE_FORMAT, LINE_ARGS(++k));
        benchmark::DoNotOptimize(text);
        std::free(text);
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_FreshNbSprintf(benchmark::State &state)
{
    int k = 0;
    for (auto _ : state) {
        NBuffer b;
        nb_init(&b);
        nb_sprintf(&b, LINE_FORMAT, LINE_ARGS(++k));
        benchmark::DoNotOptimize(b.data);
        nb_free(&b);
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_FreshVasprintf(benchmark::State &state)
{
    int k = 0;
    for (auto _ : state) {
        char *text = nullptr;
        if (asprintf(&text, LINE_FORMAT, LINE_ARGS(++k)) < 0)
            state.SkipWithError("asprintf failed");
        benchmark::DoNotOptimize(text);
        std::free(text);
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_FreshStringSnprintf(benchmark::State &state)
{
    int k = 0;
    for (auto _ : state) {
        std::string s;
        append_snprintf(s, LINE_FORMAT, LINE_ARGS(++k));
        benchmark::DoNotOptimize(s.data());
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_FreshStringToChars(benchmark::State &state)
{
    int k = 0;
    for (auto _ : state) {
        std::string s;
        append_pieces(s, ++k);
        benchmark::DoNotOptimize(s.data());
    }
    state.SetItemsProcessed(state.iterations());
}

} // namespace

BENCHMARK(BM_AppendNbSprintf)->Arg(1000)->MinTime(0.1)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_AppendStringSnprintf)->Arg(1000)->MinTime(0.1)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_AppendStringToChars)->Arg(1000)->MinTime(0.1)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FreshNbSprintf)->MinTime(0.1)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(BM_FreshSharedSink)->MinTime(0.1)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(BM_FreshVasprintf)->MinTime(0.1)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(BM_FreshStringSnprintf)->MinTime(0.1)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(BM_FreshStringToChars)->MinTime(0.1)->Threads(1)->Threads(2)->UseRealTime();

BENCHMARK_MAIN();
