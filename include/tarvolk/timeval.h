/*
 * tarvolk/timeval.h - arithmetic on timeval pairs. The microseconds stay
 * within 0..999999 as long as the inputs' do. Spans in microseconds are
 * signed 32-bit numbers: a span of more than about 35 minutes wraps. A null
 * timeval makes an operation do nothing (and give 0).
 */
#ifndef TARVOLK_TIMEVAL_H
#define TARVOLK_TIMEVAL_H

#include <sys/time.h>

#include <tarvolk/common.h>

N_BEGIN_DECLS

/* a = a + b, with one carry. */
NAPI void NTimevalAdd(struct timeval *a, const struct timeval *b);
/* a = a - b, with one borrow. */
NAPI void NTimevalSubtract(struct timeval *a, const struct timeval *b);
/* Seconds * 1000000 + microseconds as a signed 32-bit number: a span of
   more than about 35 minutes wraps. */
NAPI int32_t NTimevalToMicroseconds(const struct timeval *a);
/* a = the span of `microseconds', truncating: a negative span gives
   negative seconds and microseconds (-1500000: -1 s, -500000 us). */
NAPI void NTimevalFromMicroseconds(struct timeval *a, int32_t microseconds);
/* b - a in microseconds, signed 32-bit (the later time second gives a
   positive result). */
NAPI int32_t NTimevalDifference(const struct timeval *a, const struct timeval *b);
/* a = a + or - a span of microseconds of either sign; the microseconds of
   a stay within 0..999999 if they were. */
NAPI void NTimevalIncrement(struct timeval *a, int32_t microseconds);
NAPI void NTimevalDecrement(struct timeval *a, int32_t microseconds);

N_END_DECLS

#endif /* TARVOLK_TIMEVAL_H */
