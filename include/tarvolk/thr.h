/*
 * tarvolk/thr.h - the thread manager: one record for every thread that the
 * library knows, with its name, stop flag and error buffer; and
 * thread-specific data keys.
 */
#ifndef TARVOLK_THR_H
#define TARVOLK_THR_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

/* The record of a thread. */
typedef struct NThread NThread;

/* Size of a thread's error buffer, in bytes. */
#define NTHREAD_ERROR_BUFFER_SIZE 1024
/* Size of a thread's name field, terminator included. */
#define NTHREAD_NAME_SIZE 44

/* The calling thread's record, made on the spot (named "UNKNOWN!") if there
   is none; null if the manager isn't initialised or memory runs out. */
NAPI NThread *NThreadGetID(void);

/* Registers the calling thread under name (null gives "UNKNOWN!"). A thread
   that already has a record keeps its record and name. Returns 0; 12 on
   exhaustion; NRC_FAILURE before the manager is initialised. */
NAPI NRC NThreadRegister(const char *name);

/* Deletes and frees the calling thread's record, if any. Returns 0;
   NRC_FAILURE before the manager is initialised. */
NAPI NRC NThreadUnregister(void);

/* The thread's name and its 1024-byte error buffer (null for null). */
NAPI const char *NThreadGetName(NThread *thread);
NAPI char *NThreadGetErrorBuffer(NThread *thread);

/* A thread-specific data key. */
typedef struct NThreadDataKeyRec *NThreadDataKey;

/* Makes a key with no destructor. Returns 0, 12, or the error number of
   pthread_key_create; *key is null unless it succeeded. */
NAPI NRC NThreadDataKeyCreate(NThreadDataKey *key);
/* pthread_key_delete; the key is freed only when that gives 0. */
NAPI NRC NThreadDataKeyDestroy(NThreadDataKey key);
/* Stores the calling thread's value (null if none was set); returns 0. */
NAPI NRC NThreadDataGet(NThreadDataKey key, void **value);
/* pthread_setspecific. */
NAPI NRC NThreadDataSet(NThreadDataKey key, const void *value);

N_END_DECLS

#endif /* TARVOLK_THR_H */
