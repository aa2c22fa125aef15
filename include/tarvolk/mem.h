/*
 * tarvolk/mem.h - the memory family. All of the library's allocation passes
 * through these functions. Exhaustion is never fatal: the call returns null
 * and the caller reports 12 (ENOMEM).
 */
#ifndef TARVOLK_MEM_H
#define TARVOLK_MEM_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

/* malloc, calloc and realloc. */
NAPI void *n_malloc(size_t size);
NAPI void *n_calloc(size_t count, size_t size);
NAPI void *n_realloc(void *ptr, size_t size);

/* free; a null pointer is ignored. */
NAPI void n_free(void *ptr);

/* Heap copy of text, which must not be null (null gives null here). */
NAPI char *n_strdup(const char *text);

/* Heap copy of text in a block whose size is the length plus terminator
   rounded up to the next multiple of 4 ("abc" takes 4 bytes, "abcd" 8). The
   bytes behind the terminator are zero. Null on exhaustion or null text. */
NAPI char *n_xstrdup(const char *text);

/* Fills size bytes with zero. */
NAPI void n_bzero(void *ptr, size_t size);

/* Copies size bytes; the areas may overlap. Destination first. */
NAPI void n_bcopy(void *dst, const void *src, size_t size);

N_END_DECLS

#endif /* TARVOLK_MEM_H */
