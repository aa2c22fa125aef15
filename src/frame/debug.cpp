// The landing point of assertion failures.
#include <tarvolk/debug.h>

#include <cstdio>
#include <cstdlib>

extern "C" void _n_DebugAssert(const char *tag, const char *function, const char *file,
                               uint32_t line, const char *test)
{
    std::fflush(stdout);
    std::fflush(stderr);
    std::fprintf(stderr, "\n[%s] Assertion failure", tag);
    if (function != nullptr)
        std::fprintf(stderr, " in function %s()", function);
    std::fprintf(stderr, " line %u of %s\n", line, file);
    std::fprintf(stderr, "Failed test is \"%s\"\n", test);
    std::fflush(stderr);
    std::abort();
}
