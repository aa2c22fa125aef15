/*
 * tarvolk/time.h - re-entrant wrappers of the system's time calls and their
 * fixed text forms (the arithmetic on timeval pairs is in tarvolk/timeval.h).
 * time_t is the system's (64-bit here): times past 2038 work.
 *
 * A null argument crashes nothing: calls that return a code give 22
 * (EINVAL), calls that return a pointer give null, the mktime pair -1.
 */
#ifndef TARVOLK_TIME_H
#define TARVOLK_TIME_H

#include <sys/time.h>
#include <time.h>

#include <tarvolk/common.h>

N_BEGIN_DECLS

/* Size of the buffers of n_ctime, n_ctimex and n_timestring. */
#define N_CTIME_BUFFER_SIZE 32

/* gettimeofday: 0, or its errno. */
NAPI NRC n_gettimeofday(struct timeval *now);
/* The calling thread's processor time: 0, or the errno of the clock. */
NAPI NRC n_getthreadcputime(struct timeval *spent);

/* time(2); the two are the same. */
NAPI time_t NGetCurrentTime(time_t *now);
NAPI time_t NGetCurrentUTC(time_t *now);
/* localtime_r. */
NAPI struct tm *n_localtime(const time_t *when, struct tm *result);
/* mktime. */
NAPI time_t n_mktime(struct tm *fields);
NAPI time_t n_mktime_t(struct tm *fields);

/* The text of ctime_r with its line feed, in a buffer of at least 32 bytes
   (every year up to ten digits fits); "Invalid time: %ld", cut to 32 bytes,
   for a negative time or one whose year a struct tm cannot hold. Returns
   buffer; null with a null buffer, or with a null time (the buffer then
   holds ""). */
NAPI char *n_ctime(const time_t *when, char *buffer);
/* The same text without the line feed: 24 characters for a four-digit
   year. A longer year and the "Invalid time" text stay whole. */
NAPI char *n_ctimex(const time_t *when, char *buffer);
/* The present time as n_ctimex gives it. */
NAPI char *n_timestring(char *buffer);
/* The local present time as "%Y-%m-%dT%H:%M:%S", or the seconds since the
   epoch if that doesn't fit (only their leading digits if they don't fit
   either). Null with a null buffer or a size of 0. */
NAPI char *n_ISOtimestring(char *buffer, size_t size);
/* The local present time as "%x %X", or n_timestring's text (cut to whole
   characters within size - 1 bytes) if that doesn't fit. Null with a null
   buffer or a size of 0. */
NAPI char *n_localtimestring(char *buffer, size_t size);

N_END_DECLS

#endif /* TARVOLK_TIME_H */
