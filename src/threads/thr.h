// Internal interface of the thread manager: the thread record.
#pragma once

#include <tarvolk/semaph.h>
#include <tarvolk/thr.h>

#include <pthread.h>

// Interim value types, until the value layer provides them: a union over
// the library's data types and the value with its type. Only the members
// that an exception entry reads are here.
union NValue {
    int16_t s;
    int32_t i;
    uint32_t u;
    double r;
    int64_t i64;
    uint64_t u64;
    struct {
        char *text;
        uint32_t length; // bytes without the terminator
    } string;
    struct {
        uint32_t length;
        void *data;
    } binary;
};

struct NTypedValue {
    int32_t type;
    NValue value;
};

// Data types of NTypedValue that an exception entry knows.
enum : int32_t {
    NTHR_TYPE_NONE = 0,
    NTHR_TYPE_SHORT = 1,
    NTHR_TYPE_INTEGER = 2,
    NTHR_TYPE_UNSIGNED = 3,
    NTHR_TYPE_BOOLEAN = 4,
    NTHR_TYPE_REAL = 5,
    NTHR_TYPE_UTC = 6,
    NTHR_TYPE_STRING = 7,
    NTHR_TYPE_BINARY = 8,
    NTHR_TYPE_INTEGER64 = 9,
    NTHR_TYPE_UNSIGNED64 = 10,
};

// One entry of the exception stack. text is the caller's default message,
// not a copy; a string value points into the record's pool.
struct NThreadException {
    NI18nCatalog catalog;
    int32_t set;
    int32_t message;
    const char *text;
    int32_t value_type;
    union {
        int64_t i64;
        uint64_t u64;
        double r;
        struct {
            const char *pointer;
            uint32_t length;
        } bytes;
    } value;
};

// The record of a thread.
struct NThread {
    pthread_t tid; // the hash key: first, so a word holding an id is a key
    char name[NTHREAD_NAME_SIZE];
    NThreadFunc function;
    void *argument;
    int32_t keep_running; // one writer, polling readers: relaxed atomics
    char error_buffer[NTHREAD_ERROR_BUFFER_SIZE];
    const char *exception_title;
    int32_t exception_count;
    int32_t self_reap;
    NRC exit_code;
    NSemaphore *start_semaphore;
    NSemaphore *stop_semaphore;
    NThreadException exceptions[NTHREAD_EXCEPTION_MAX];
    char string_pool[NTHREAD_STRING_POOL_SIZE];
    int32_t string_pool_used;
};

extern "C" {
// Makes the thread table and the record "MAIN" of the calling thread, once.
NRC _NThreadInitialise(void);
// pthread_kill on the record's thread.
int _NThreadKill(NThread *thread, int signal_number);
}

namespace tvk {
// NThreadDataKeyCreate with a destructor that pthread runs for a thread's
// non-null value when the thread ends.
NRC thread_data_key_create(NThreadDataKey *key, void (*destructor)(void *));
// Number of records in the thread table.
int32_t thread_count();
} // namespace tvk
