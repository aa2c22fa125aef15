// Internal interface of the thread manager: the thread record.
#pragma once

#include <tarvolk/thr.h>

#include <pthread.h>

// The record of a thread.
struct NThread {
    pthread_t tid;
    char name[NTHREAD_NAME_SIZE];
    NRC (*function)(NThread *thread, void *argument);
    void *argument;
    int32_t keep_running;
    char error_buffer[NTHREAD_ERROR_BUFFER_SIZE];
};

extern "C" {
// Makes the thread table and the record "MAIN" of the calling thread, once.
NRC _NThreadInitialise(void);
}

namespace tvk {
// Number of records in the thread table.
int32_t thread_count();
} // namespace tvk
