/*
 * tarvolk/thr.h - the thread manager: one record for every thread that the
 * library knows (its own, the main thread, and foreign threads met on first
 * use) with its name, cooperative stop flag, error buffer and exception
 * stack; spawning with a start hand-shake and collection of exit codes; and
 * thread-specific data keys.
 */
#ifndef TARVOLK_THR_H
#define TARVOLK_THR_H

#include <stdio.h>

#include <tarvolk/common.h>
#include <tarvolk/i18n.h>

N_BEGIN_DECLS

/* The record of a thread. */
typedef struct NThread NThread;
/* A value with its data type, carried by an exception entry. */
typedef struct NTypedValue NTypedValue;

/* Size of a thread's error buffer, in bytes. */
#define NTHREAD_ERROR_BUFFER_SIZE 1024
/* Size of a thread's name field, terminator included. */
#define NTHREAD_NAME_SIZE 44
/* Entries of a thread's exception stack, and bytes of its string pool. */
#define NTHREAD_EXCEPTION_MAX 16
#define NTHREAD_STRING_POOL_SIZE 1024

/* Flags of NThreadSpawn. KEEP_RECORD: the record survives the thread until
   NThreadDestroy collects its exit code. SYSTEM_SCOPE: PTHREAD_SCOPE_SYSTEM.
   Every thread is created detached, whatever the flags. */
#define NTHREAD_KEEP_RECORD 0x40u
#define NTHREAD_SYSTEM_SCOPE 0x04u

/* The body of a spawned thread: its own record and the spawner's argument. */
typedef NRC (*NThreadFunc)(NThread *thread, void *argument);

/* Starts a detached thread that runs function(record, argument). The body
   starts only once the record is in the table and *thread is set. flags may
   be null. Returns 0; 12; the failure of making a semaphore; the error number
   of pthread_create. *thread is null on failure, and nothing is left behind.
   The name is cut to its field, and to 15 bytes as the system's name. */
NAPI NRC NThreadSpawn(const char *name, NThreadFunc function, void *argument,
                      const uint32_t *flags, NThread **thread);
/* Waits for the end of a thread spawned with NTHREAD_KEEP_RECORD, frees its
   record and returns its exit code. Must not be used on other threads. */
NAPI NRC NThreadDestroy(NThread *thread);

/* Cooperative stop: ScheduleStop clears the flag that ShouldContinue reads
   (1 until a stop is scheduled; 0 for null). Nothing wakes the thread. */
NAPI void NThreadScheduleStop(NThread *thread);
NAPI int32_t NThreadShouldContinue(NThread *thread);

/* The calling thread's record, made on the spot (named "UNKNOWN!") if there
   is none; null if the manager isn't initialised or memory runs out. */
NAPI NThread *NThreadGetID(void);

/* Registers the calling thread under name (null gives "UNKNOWN!"). A thread
   that already has a record keeps its record and name. Returns 0; 12 on
   exhaustion; NRC_FAILURE before the manager is initialised. */
NAPI NRC NThreadRegister(const char *name);

/* Deletes and frees the calling thread's record, if any. Returns 0;
   NRC_FAILURE before the manager is initialised. A foreign thread that ends
   without this loses its record at its end. */
NAPI NRC NThreadUnregister(void);

/* The thread's name and its 1024-byte error buffer (null for null). */
NAPI const char *NThreadGetName(NThread *thread);
NAPI char *NThreadGetErrorBuffer(NThread *thread);

/* ---- exception stack: a thread touches only its own ---- */

/* Empties the stack. */
NAPI void NThreadExceptionClear(NThread *thread);
/* Empties the stack, keeps title (not a copy) and adds the first entry. */
NAPI void NThreadExceptionRaise(NThread *thread, const char *title, NI18nCatalog catalog,
                                int32_t set, int32_t message, const char *text,
                                const NTypedValue *value);
/* Adds an entry; with 16 entries it does nothing. text is kept as a pointer;
   a string value is copied into the thread's pool, and dropped (the message
   stays) when the pool is full. value may be null. */
NAPI void NThreadExceptionAdd(NThread *thread, NI18nCatalog catalog, int32_t set,
                              int32_t message, const char *text, const NTypedValue *value);
/* 1 when the stack holds an entry, else 0. */
NAPI int32_t NThreadExceptionRaised(NThread *thread);
/* The text of the stack, for n_free; null when the stack is empty. Returns
   0; 12; NRC_FAILURE for a null out-pointer. */
NAPI NRC NThreadExceptionToBuffer(NThread *thread, char **text);
/* Logs the text at level error; nothing for an empty stack. */
NAPI void NThreadExceptionLog(NThread *thread);
/* Writes the text to stream; nothing for an empty stack. */
NAPI void NThreadExceptionPrint(NThread *thread, FILE *stream);

/* ---- thread-specific data ---- */

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
