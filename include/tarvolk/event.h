/*
 * tarvolk/event.h - the event: a broadcast wake-up with no memory. A signal
 * that finds nobody waiting leaves no trace; callers test their own
 * predicate under NEventLock and wait with the ...AlreadyLocked forms.
 */
#ifndef TARVOLK_EVENT_H
#define TARVOLK_EVENT_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

typedef struct NEvent NEvent;

NAPI NRC NEventCreate(NEvent **event);
NAPI NRC NEventDestroy(NEvent *event);
/* Take and release the event's mutex. */
NAPI NRC NEventLock(NEvent *event);
NAPI NRC NEventUnlock(NEvent *event);
/* Waits once (taking the mutex around it). 0. */
NAPI NRC NEventWait(NEvent *event);
/* Waits once; the caller holds the mutex. 0. */
NAPI NRC NEventWaitAlreadyLocked(NEvent *event);
/* Waits once, at most `milliseconds' (a wall-clock deadline): 0 whether
   signalled or timed out; the errno of a failing clock read. */
NAPI NRC NEventTimedWait(NEvent *event, uint32_t milliseconds);
NAPI NRC NEventTimedWaitAlreadyLocked(NEvent *event, uint32_t milliseconds);
/* Wakes all waiters. 0. */
NAPI NRC NEventSignal(NEvent *event);

N_END_DECLS

#endif /* TARVOLK_EVENT_H */
