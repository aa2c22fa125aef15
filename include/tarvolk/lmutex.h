/*
 * tarvolk/lmutex.h - the light mutex and its condition variable: named and
 * owner-tracking, but not recursive, with no try-lock and no deadlock
 * detector. A light mutex must not be locked twice by one thread, nor
 * unlocked by another. NLightCondSignal wakes all waiters.
 */
#ifndef TARVOLK_LMUTEX_H
#define TARVOLK_LMUTEX_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

typedef struct NLightMutex NLightMutex;
typedef struct NLightCond NLightCond;

/* 0; 12 on exhaustion; NRC_FAILURE for a null out-pointer. */
NAPI NRC NLightMutexCreate(const char *name, NLightMutex **mutex);
NAPI NRC NLightMutexDestroy(NLightMutex *mutex);
/* 0; NRC_FAILURE if the system lock fails. */
NAPI NRC NLightMutexLock(NLightMutex *mutex);
/* 0; NRC_FAILURE if the caller is not the owner (nothing changes) or the
   system unlock fails. */
NAPI NRC NLightMutexUnlock(NLightMutex *mutex);
/* 1 when a thread holds it (a snapshot), else 0. */
NAPI int32_t NLightMutexIsLocked(NLightMutex *mutex);

NAPI NRC NLightCondCreate(NLightCond **cond);
NAPI NRC NLightCondDestroy(NLightCond *cond);
NAPI NRC NLightCondSignal(NLightCond *cond);
NAPI NRC NLightCondWait(NLightCond *cond, NLightMutex *mutex);
/* As NCondTimedWait2 and NCondTimedWait. */
NAPI NRC NLightCondTimedWait2(NLightCond *cond, NLightMutex *mutex, uint32_t *milliseconds);
NAPI NRC NLightCondTimedWait(NLightCond *cond, NLightMutex *mutex, uint32_t milliseconds);

N_END_DECLS

#endif /* TARVOLK_LMUTEX_H */
