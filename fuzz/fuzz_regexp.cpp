// Fuzz target: an input is a pattern, a NUL, and a subject (a missing NUL
// makes the subject empty). Compiles with the engine of the build
// (TVK_FUZZ_ENGINE_native or TVK_FUZZ_ENGINE_tre), matches, reads every
// substring and substitutes, and checks that codes and substrings are
// sound. A broken promise aborts, which libFuzzer reports.
#include <tarvolk/regexp.h>
#include <tarvolk/retcode.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "regexp/regexp_private.h"

namespace {

#if defined(TVK_FUZZ_ENGINE_native)
constexpr int32_t kEngine = NREGEXP_LIBRARY_TARVOLK;
#else
constexpr int32_t kEngine = NREGEXP_LIBRARY_TRE;
#endif

void require(bool condition)
{
    if (!condition)
        std::abort();
}

bool compile_code_ok(NRC rc)
{
    return rc == 0 || rc == NRC_REGEXP_INVALID || rc == NRC_REGEXP_TOO_BIG || rc == NRC_FAILURE ||
           rc == ENOMEM;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const bool selected = NRegexpLibrarySwitch(kEngine) == 0;
    require(selected);
    // Exponential backtracking is allowed to give up.
    tvk::regexp::set_native_step_limit(200000);

    const std::string input(reinterpret_cast<const char *>(data), size);
    const size_t nul = input.find('\0');
    const std::string pattern = input.substr(0, nul);
    std::string subject = nul == std::string::npos ? std::string() : input.substr(nul + 1);
    subject = subject.substr(0, subject.find('\0'));
    if (kEngine == NREGEXP_LIBRARY_TRE) {
        // TRE copies a bounded piece once per repetition, so nested bounds
        // grow as the product of their counts; and a back reference sends
        // it to a matcher that backtracks exponentially. Both are TRE's own
        // time, which a fuzzer can't afford.
        size_t bounds = 0;
        bool backref = false;
        for (size_t i = 0; i < pattern.size(); ++i) {
            bounds += pattern[i] == '{';
            backref = backref || (pattern[i] == '\\' && i + 1 < pattern.size() && pattern[i + 1] >= '0' &&
                                  pattern[i + 1] <= '9');
        }
        if (bounds > 1 || backref || subject.size() > 64)
            return 0;
    }

    NRegexp *re = nullptr;
    const NRC rc = NRegexpCompile(pattern.c_str(), &re);
    require(compile_code_ok(rc));
    require((rc == 0) == (re != nullptr));
    if (rc != 0)
        return 0;

    const NRC m = NRegexpMatch(re, subject.c_str());
    require(m == 0 || m == NRC_REGEXP_NO_MATCH || m == NRC_FAILURE);
    const auto *subs = reinterpret_cast<const NRegexpSubs *>(re);
    const char *begin = subject.c_str();
    const char *end = begin + subject.size();
    std::vector<char> out(subject.size() + 1);
    for (int32_t i = 0; i < kRegexpSubs; ++i) {
        const NRC g = NRegexpGetSub(re, i, out.data());
        if (m != 0) {
            require(g == NRC_FAILURE);
            continue;
        }
        if (g != 0) {
            require(g == NRC_FAILURE && (subs->start[i] == nullptr || subs->end[i] == nullptr));
            continue;
        }
        require(subs->start[i] >= begin && subs->start[i] <= subs->end[i] && subs->end[i] <= end);
        require(std::strlen(out.data()) == static_cast<size_t>(subs->end[i] - subs->start[i]));
        require(std::memcmp(out.data(), subs->start[i], std::strlen(out.data())) == 0);
    }
    require(m != 0 || (subs->start[0] != nullptr && subs->end[0] != nullptr));

    static const char templ[] = "<&|\\1|\\9|\\\\|\\&|\\x>";
    std::vector<char> result(sizeof templ * (subject.size() + 1) + 1);
    require(NRegexpSubst(re, templ, result.data()) == 0);
    NRegexpFree(re);
    return 0;
}
