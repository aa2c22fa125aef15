/*
 * tarvolk/semaph.h - the counting semaphore.
 */
#ifndef TARVOLK_SEMAPH_H
#define TARVOLK_SEMAPH_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

typedef struct NSemaphore NSemaphore;

/* 0; 12 on exhaustion; the system's error number if its mutex or condition
   can't be made (nothing is left behind). */
NAPI NRC NSemaphoreCreateN(int32_t count, NSemaphore **semaphore);
/* 0; the system's error number if a destroy fails (the record stays). */
NAPI NRC NSemaphoreDestroy(NSemaphore *semaphore);
/* Waits without limit until the count is positive, then takes one. 0. */
NAPI NRC NSemaphoreWait(NSemaphore *semaphore);
/* Takes one: 0; 11 (EAGAIN) when the count is below 1. */
NAPI NRC NSemaphoreTry(NSemaphore *semaphore);
/* Adds one and wakes one waiter. 0. */
NAPI NRC NSemaphorePost(NSemaphore *semaphore);
/* Adds amount (negative or not); a positive amount wakes that many. 0. */
NAPI NRC NSemaphorePostN(NSemaphore *semaphore, int32_t amount);

N_END_DECLS

#endif /* TARVOLK_SEMAPH_H */
