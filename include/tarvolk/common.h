/*
 * tarvolk/common.h - definitions shared by every public header of
 * libtarvolk_r: the export macro, the return code type and the function
 * types that the containers take.
 */
#ifndef TARVOLK_COMMON_H
#define TARVOLK_COMMON_H

#include <stddef.h>
#include <stdint.h>

/* Every public declaration carries NAPI; everything else stays hidden. */
#if defined(__GNUC__)
#define NAPI __attribute__((visibility("default")))
#define N_NORETURN __attribute__((noreturn))
#define N_PRINTF(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define NAPI
#define N_NORETURN
#define N_PRINTF(fmt, args)
#endif

#ifdef __cplusplus
#define N_BEGIN_DECLS extern "C" {
#define N_END_DECLS }
#else
#define N_BEGIN_DECLS
#define N_END_DECLS
#endif

N_BEGIN_DECLS

/*
 * Return code: 0 is success, a positive value an errno number, a value from
 * 1000001 to 1000254 a name-resolution error plus 1000000, a negative value
 * one of the library's codes (see tarvolk/retcode.h).
 */
typedef int32_t NRC;

/* Allocation and release functions given to the `With' forms of the
   containers; callers normally pass n_malloc and n_free. */
typedef void *(*NAllocFunc)(size_t size);
typedef void (*NFreeFunc)(void *block);

/* Item callback of the flush, destroy, range and traversal operations of
   the containers: receives the item and the caller's argument. */
typedef void (*NItemFunc)(void *item, void *arg);

/* Compare function of the containers and sorts: negative, zero or positive
   as a sorts before, with or after b. */
typedef int (*NCompareFunc)(const void *a, const void *b, void *arg);

/* Hash function of the hash tables: an unsigned 32-bit hash of a key or an
   item. */
typedef uint32_t (*NHashFunc)(const void *key, void *arg);

/* Walk callback of the hash tables: non-zero stops the walk. */
typedef int (*NWalkFunc)(void *item, void *arg);

/* Copy callback of the hash tables: a new item made from item, or null to
   leave it out. */
typedef void *(*NCopyFunc)(void *item, void *arg);

/* The incremental allocator (tarvolk/incralloc.h). */
typedef struct NIncrAllocator NIncrAllocator;

/* First argument of a variadic macro argument list (internal helper of the
   item release macros, which accept one argument or two). */
#define N_FIRST_ARG(...) N_FIRST_ARG_(__VA_ARGS__, 0)
#define N_FIRST_ARG_(first, ...) first

N_END_DECLS

#endif /* TARVOLK_COMMON_H */
