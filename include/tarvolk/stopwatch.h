/*
 * tarvolk/stopwatch.h - measuring elapsed wall-clock time, or the calling
 * thread's processor time. A stopwatch belongs to one thread at a time.
 * When the thread's processor clock fails once, every stopwatch reads the
 * wall clock from then on. A null stopwatch gives 22 (EINVAL), 0 or 0.0.
 */
#ifndef TARVOLK_STOPWATCH_H
#define TARVOLK_STOPWATCH_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

typedef struct NStopWatch NStopWatch;

#define NSTOPWATCH_STOPPED 0
#define NSTOPWATCH_RUNNING 1

/* A stopped wall-clock stopwatch (or one of the thread's processor time).
   0; 12 with *watch null; 22 with a null out-pointer. */
NAPI NRC NStopWatchCreate(NStopWatch **watch);
NAPI NRC NStopWatchThreadTimeCreate(NStopWatch **watch);
NAPI void NStopWatchDestroy(NStopWatch *watch);
/* 0, or the errno of the clock (the state then stays). */
NAPI NRC NStopWatchStart(NStopWatch *watch);
NAPI NRC NStopWatchStop(NStopWatch *watch);
/* Zeroes state and readings; the kind of clock stays. */
NAPI void NStopWatchReset(NStopWatch *watch);
NAPI int32_t NStopWatchGetState(NStopWatch *watch);
/* Seconds from the start to the stop (or to now while running); 0.0 if
   the clock fails. */
NAPI double NStopWatchGetElapsed(NStopWatch *watch);

N_END_DECLS

#endif /* TARVOLK_STOPWATCH_H */
