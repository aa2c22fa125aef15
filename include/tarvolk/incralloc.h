/*
 * tarvolk/incralloc.h - the incremental allocator: a grow-only arena that
 * carves pieces out of large blobs and releases or rewinds everything at
 * once. Every piece is 8-byte aligned. No locking.
 */
#ifndef TARVOLK_INCRALLOC_H
#define TARVOLK_INCRALLOC_H

#include <tarvolk/common.h>
#include <tarvolk/list.h>

N_BEGIN_DECLS

/* A new arena with blobs of size bytes (rounded up to a multiple of 8).
   The clearing form zeroes blobs before carving them. Null on exhaustion. */
NAPI NIncrAllocator *NIncrAllocatorCreate(uint32_t size);
NAPI NIncrAllocator *NIncrAllocatorCreateNoClear(uint32_t size);

/* At least size bytes; null on exhaustion (the arena is unchanged). */
NAPI void *NIncrAllocatorAlloc(NIncrAllocator *arena, size_t size);
/* A copy of text with its terminator. */
NAPI char *NIncrAllocatorStrdup(NIncrAllocator *arena, const char *text);
/* All that is left of the current blob (a fresh blob if nothing is left);
   its size in *size. Null on exhaustion, *size then untouched. */
NAPI void *NIncrAllocatorAllocRestBlob(NIncrAllocator *arena, uint32_t *size);
/* Directly after NIncrAllocatorAllocRestBlob: hands the last `unused' bytes
   (rounded down to a multiple of 8) of that piece back. */
NAPI void NIncrAllocatorAllocResize(NIncrAllocator *arena, uint32_t unused);

/* Rewinds to the first blob and keeps all blobs for reuse. */
NAPI void NIncrAllocatorExpunge(NIncrAllocator *arena);
/* Frees all blobs but the current one and rewinds to it. */
NAPI void NIncrAllocatorFlush(NIncrAllocator *arena);
/* Frees all blobs and the arena. */
NAPI void NIncrAllocatorDestroy(NIncrAllocator *arena);

NAPI int32_t NIncrAllocatorNumBlobs(NIncrAllocator *arena);
/* Number of blobs times the nominal blob size (saturating). */
NAPI uint32_t NIncrAllocatorEstimateSize(NIncrAllocator *arena);

N_END_DECLS

#endif /* TARVOLK_INCRALLOC_H */
