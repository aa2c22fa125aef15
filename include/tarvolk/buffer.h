/*
 * tarvolk/buffer.h - the growable byte buffer. The record is the caller's
 * (usually a local variable); storage comes from the allocator pair given
 * at initialisation. Content is not terminated unless an operation says it
 * writes a terminator: read text through nb_strval. One thread at a time.
 *
 * Codes: 0; 12 when the allocator gives null (the buffer is unchanged);
 * NRC_STRING_TOO_LONG (-36) when the content would pass the largest length,
 * 0x7FFFFFFE bytes (every operation that appends checks it; the buffer is
 * unchanged); another positive value is the system's errno. A null buffer
 * (or a null text with a non-zero count) gives 22 (EINVAL), a null pointer
 * or 0 where no code is returned. Storage grows by doubling, from 128 bytes,
 * up to 0x7FFFFFFF bytes. A text or byte argument must not point into the
 * buffer's own storage, which growth releases.
 */
#ifndef TARVOLK_BUFFER_H
#define TARVOLK_BUFFER_H

#include <stdarg.h>
#include <stdio.h>

#include <tarvolk/common.h>

N_BEGIN_DECLS

typedef struct NBuffer {
    char *data;        /* storage, null until the first growth */
    int32_t capacity;  /* bytes at data; 0 means no storage */
    int32_t length;    /* bytes of content */
    NAllocFunc alloc;  /* gets storage */
    NFreeFunc release; /* gives it back */
} NBuffer;

/* Largest content length of a buffer. */
#define NB_MAX_LENGTH 0x7FFFFFFE

/* Both functions must be given; if either is null the record is cleared
   with no pair (it can't grow: 12) and 22 is returned. */
NAPI NRC nb_init_with(NBuffer *buffer, NAllocFunc alloc, NFreeFunc release);
/* nb_init_with with n_malloc and n_free. */
NAPI NRC nb_init(NBuffer *buffer);
/* Releases the storage and clears the record, keeping the allocator pair;
   the record stays usable. */
NAPI NRC nb_free(NBuffer *buffer);
NAPI int32_t nb_strsize(NBuffer *buffer);
NAPI int32_t nb_strlen(NBuffer *buffer);
/* Zeroes all storage and empties the content. */
NAPI NRC nb_reset(NBuffer *buffer);
/* Appends text with its terminator. */
NAPI NRC nb_strcat(NBuffer *buffer, const char *text);
/* Appends exactly count bytes as strncpy does, then a terminator. */
NAPI NRC nb_strncat(NBuffer *buffer, const char *text, size_t count);
/* Appends count raw bytes; no terminator. */
NAPI NRC nb_append(NBuffer *buffer, const void *bytes, size_t count);
/* Terminates the content and returns it; null if no storage could be had. */
NAPI char *nb_strval(NBuffer *buffer);
/* Cuts the content to length, or pads it with blanks; then terminates.
   A negative length gives 22, the buffer unchanged. */
NAPI NRC nb_strtrunc(NBuffer *buffer, int32_t length);
/* Appends formatted text with its terminator. */
NAPI NRC nb_sprintf(NBuffer *buffer, const char *format, ...) N_PRINTF(2, 3);
NAPI NRC nb_vsprintf(NBuffer *buffer, const char *format, va_list args) N_PRINTF(2, 0);
/* Append the next line (newline included) from a stream or a descriptor;
   0 at the end of input (nothing added then), or the errno of a failed
   read (EINTR included: it isn't retried) with the bytes read so far kept.
   nb_reads takes nothing from the descriptor behind the newline. */
NAPI NRC nb_fgets(NBuffer *buffer, FILE *stream);
NAPI NRC nb_reads(NBuffer *buffer, int fd);

N_END_DECLS

#endif /* TARVOLK_BUFFER_H */
