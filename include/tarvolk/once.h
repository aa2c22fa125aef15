/*
 * tarvolk/once.h - one-time initialisation over pthread_once. The control
 * is the caller's, initialised with PTHREAD_ONCE_INIT.
 */
#ifndef TARVOLK_ONCE_H
#define TARVOLK_ONCE_H

#include <pthread.h>

#include <tarvolk/common.h>

N_BEGIN_DECLS

typedef void (*NOnceInitFunc)(void);

/* What pthread_once returns. */
NAPI NRC NOneTimeInitialise(pthread_once_t *control, NOnceInitFunc function);
/* pthread_once; returns 0. */
NAPI NRC NOnceFunc(pthread_once_t *control, NOnceInitFunc function);

N_END_DECLS

#endif /* TARVOLK_ONCE_H */
