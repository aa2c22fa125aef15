/*
 * tarvolk/debug.h - the landing point of the assertion macro of code built on
 * the library.
 */
#ifndef TARVOLK_DEBUG_H
#define TARVOLK_DEBUG_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

/*
 * Flushes standard output and standard error, writes
 *   "\n[TAG] Assertion failure in function FUNCTION() line LINE of FILE\n"
 *   "Failed test is \"TEST\"\n"
 * to standard error (the function part only when function is not null) and
 * aborts. Never returns.
 */
NAPI N_NORETURN void _n_DebugAssert(const char *tag, const char *function, const char *file,
                                    uint32_t line, const char *test);

/* Assertion macro for applications: active unless NDEBUG is defined. */
#ifdef NDEBUG
#define N_ASSERT(tag, test) ((void)0)
#else
#define N_ASSERT(tag, test) \
    ((test) ? (void)0 : _n_DebugAssert((tag), __func__, __FILE__, __LINE__, #test))
#endif

N_END_DECLS

#endif /* TARVOLK_DEBUG_H */
