/*
 * tarvolk/mutex.h - the general mutex and its condition variable.
 *
 * NMutex is named, recursive by its own bookkeeping and owner-tracking; an
 * unlock by a thread that doesn't hold it changes nothing. Waiting on an
 * NCond gives up every nested level of the mutex at once and takes them all
 * back afterwards. NCondSignal wakes all waiters.
 */
#ifndef TARVOLK_MUTEX_H
#define TARVOLK_MUTEX_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

typedef struct NMutex NMutex;
typedef struct NCond NCond;

/* Longest name kept, in bytes (longer names are cut). */
#define NMUTEX_NAME_SIZE 40

/* 0; 12 (the out-pointer left alone) on exhaustion; NRC_FAILURE for a null
   out-pointer. */
NAPI NRC NMutexCreate(const char *name, NMutex **mutex);
NAPI NRC NMutexDestroy(NMutex *mutex);
/* Blocks until the caller holds the mutex, one level deeper. 0. */
NAPI NRC NMutexLock(NMutex *mutex);
/* 0 when acquired or already held by the caller (one level deeper);
   NRC_LOCK_FAILED when another thread holds it. */
NAPI NRC NMutexTryLock(NMutex *mutex);
/* One level less; free at the outermost. 0, also for a non-holder. */
NAPI NRC NMutexUnlock(NMutex *mutex);
/* 1 when any thread holds it (a snapshot), else 0. */
NAPI int32_t NMutexIsLocked(NMutex *mutex);

NAPI NRC NCondCreate(NCond **cond);
NAPI NRC NCondDestroy(NCond *cond);
/* Wakes all waiters. */
NAPI NRC NCondSignal(NCond *cond);
/* Waits once; returns at once (0) if the caller doesn't hold the mutex. */
NAPI NRC NCondWait(NCond *cond, NMutex *mutex);
/* Waits until woken or until *milliseconds have passed (a deadline on the
   wall clock): 0 when woken, NRC_TIMEOUT when the time ran out, or the errno
   of a failing clock read. *milliseconds is left with the time that
   remains. */
NAPI NRC NCondTimedWait2(NCond *cond, NMutex *mutex, uint32_t *milliseconds);
NAPI NRC NCondTimedWait(NCond *cond, NMutex *mutex, uint32_t milliseconds);

N_END_DECLS

#endif /* TARVOLK_MUTEX_H */
