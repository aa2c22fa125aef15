// Text conversion beside its peers: multibyte text to UTF-16 and back with
// the thread's converter (NUStringCreate, NUStringUStrToStr), raw ICU with a
// converter opened once (allocating its result the same way), and iconv.
// For UTF-16 input the raw ICU case is given the length for nothing, and a
// second case measures it first, as a caller with a zero-terminated text
// must. Texts of 40 bytes and of 64 KiB, UTF-8 in a UTF-8 locale, mostly ASCII
// with some Latin and Japanese characters.
#include <tarvolk/mem.h>
#include <tarvolk/wstring.h>

#include <benchmark/benchmark.h>

#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <iconv.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

std::string sample_text(size_t size)
{
    static const char pattern[] = "The caf\xc3\xa9 on the corner serves \xe6\x97\xa5\xe6\x9c\xac tea; "
                                  "prices in \xe2\x82\xac. ";
    std::string text;
    while (text.size() < size)
        text += pattern;
    // Cut at a character boundary at or below the size.
    size_t cut = size;
    while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80)
        --cut;
    text.resize(cut);
    return text;
}

void enter_locale()
{
    std::setlocale(LC_ALL, "C.UTF-8");
}

std::u16string utf16_of(const std::string &text)
{
    NUChar *units = nullptr;
    NUStringCreate(text.c_str(), &units);
    std::u16string out(units);
    n_free(units);
    return out;
}

void BM_NUStringCreate(benchmark::State &state)
{
    enter_locale();
    const std::string text = sample_text(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        NUChar *units = nullptr;
        benchmark::DoNotOptimize(NUStringCreate(text.c_str(), &units));
        n_free(units);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_NUStringCreate)->Arg(40)->Arg(64 << 10);

void BM_IcuToUChars(benchmark::State &state)
{
    enter_locale();
    const std::string text = sample_text(static_cast<size_t>(state.range(0)));
    UErrorCode error = U_ZERO_ERROR;
    UConverter *converter = ucnv_open("UTF-8", &error);
    for (auto _ : state) {
        const auto capacity = static_cast<int32_t>(text.size() * 2 + 1);
        auto *units = static_cast<UChar *>(malloc(static_cast<size_t>(capacity) * sizeof(UChar)));
        error = U_ZERO_ERROR;
        benchmark::DoNotOptimize(
            ucnv_toUChars(converter, units, capacity, text.c_str(), -1, &error));
        free(units);
    }
    ucnv_close(converter);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_IcuToUChars)->Arg(40)->Arg(64 << 10);

void BM_IconvToUtf16(benchmark::State &state)
{
    const std::string text = sample_text(static_cast<size_t>(state.range(0)));
    iconv_t cd = iconv_open("UTF-16LE", "UTF-8");
    for (auto _ : state) {
        const size_t capacity = text.size() * 4 + 2;
        auto *units = static_cast<char *>(malloc(capacity));
        char *in = const_cast<char *>(text.data());
        size_t in_left = text.size();
        char *out = units;
        size_t out_left = capacity;
        iconv(cd, nullptr, nullptr, nullptr, nullptr);
        benchmark::DoNotOptimize(iconv(cd, &in, &in_left, &out, &out_left));
        free(units);
    }
    iconv_close(cd);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_IconvToUtf16)->Arg(40)->Arg(64 << 10);

void BM_NUStringUStrToStr(benchmark::State &state)
{
    enter_locale();
    const std::string text = sample_text(static_cast<size_t>(state.range(0)));
    const std::u16string units = utf16_of(text);
    for (auto _ : state) {
        char *bytes = nullptr;
        benchmark::DoNotOptimize(NUStringUStrToStr(units.c_str(), &bytes));
        n_free(bytes);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_NUStringUStrToStr)->Arg(40)->Arg(64 << 10);

// Raw ICU from UTF-16: with the length given for nothing, or measured with
// u_strlen first, as a caller that, like NUStringUStrToStr, is given a
// zero-terminated text must.
template <bool measure> void icu_from_uchars(benchmark::State &state)
{
    enter_locale();
    const std::string text = sample_text(static_cast<size_t>(state.range(0)));
    const std::u16string units = utf16_of(text);
    UErrorCode error = U_ZERO_ERROR;
    UConverter *converter = ucnv_open("UTF-8", &error);
    for (auto _ : state) {
        const auto length =
            measure ? u_strlen(units.c_str()) : static_cast<int32_t>(units.size());
        const int32_t capacity = (length + 10) * ucnv_getMaxCharSize(converter) + 1;
        auto *bytes = static_cast<char *>(malloc(static_cast<size_t>(capacity)));
        error = U_ZERO_ERROR;
        benchmark::DoNotOptimize(
            ucnv_fromUChars(converter, bytes, capacity, units.c_str(), length, &error));
        free(bytes);
    }
    ucnv_close(converter);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void BM_IcuFromUChars(benchmark::State &state)
{
    icu_from_uchars<false>(state);
}
BENCHMARK(BM_IcuFromUChars)->Arg(40)->Arg(64 << 10);

void BM_IcuFromUCharsTerminated(benchmark::State &state)
{
    icu_from_uchars<true>(state);
}
BENCHMARK(BM_IcuFromUCharsTerminated)->Arg(40)->Arg(64 << 10);

void BM_IconvFromUtf16(benchmark::State &state)
{
    const std::string text = sample_text(static_cast<size_t>(state.range(0)));
    const std::u16string units = utf16_of(text);
    iconv_t cd = iconv_open("UTF-8", "UTF-16LE");
    for (auto _ : state) {
        const size_t capacity = (units.size() + 10) * 3 + 1;
        auto *bytes = static_cast<char *>(malloc(capacity));
        char *in = reinterpret_cast<char *>(const_cast<char16_t *>(units.data()));
        size_t in_left = units.size() * 2;
        char *out = bytes;
        size_t out_left = capacity;
        iconv(cd, nullptr, nullptr, nullptr, nullptr);
        benchmark::DoNotOptimize(iconv(cd, &in, &in_left, &out, &out_left));
        free(bytes);
    }
    iconv_close(cd);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_IconvFromUtf16)->Arg(40)->Arg(64 << 10);

} // namespace

BENCHMARK_MAIN();
