// Pieces shared by the mutex families: names, wall-clock deadlines and the
// count of milliseconds that a timed wait writes back.
#pragma once

#include <pthread.h>
#include <sys/time.h>
#include <time.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include <tarvolk/common.h>
#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>
#include <tarvolk/mutex.h>
#include <tarvolk/time.h>

namespace tvk {

// A lock's name: at most NMUTEX_NAME_SIZE bytes of the given text, always
// terminated. A null name is the empty name.
inline void copy_lock_name(char (&to)[NMUTEX_NAME_SIZE + 1], const char *name)
{
    size_t length = name != nullptr ? strnlen(name, NMUTEX_NAME_SIZE) : 0;
    std::memcpy(to, name != nullptr ? name : "", length);
    to[length] = '\0';
}

// The absolute deadline `milliseconds' from now on the wall clock, which
// is the clock of a condition made with default attributes.
inline timespec deadline_after(const timeval &now, uint32_t milliseconds)
{
    timespec deadline;
    deadline.tv_sec = now.tv_sec + static_cast<time_t>(milliseconds / 1000);
    deadline.tv_nsec = static_cast<long>(now.tv_usec) * 1000 +
                       static_cast<long>(milliseconds % 1000) * 1000000;
    if (deadline.tv_nsec >= 1000000000) {
        deadline.tv_nsec -= 1000000000;
        deadline.tv_sec += 1;
    }
    return deadline;
}

// Takes the milliseconds that passed from `before' to `after' off *count,
// down to 0. A clock stepped back gives a negative span, which adds to the
// count; it is kept within 32 bits.
inline void count_down(uint32_t *count, const timeval &before, const timeval &after)
{
    int64_t elapsed = static_cast<int64_t>(after.tv_sec - before.tv_sec) * 1000 +
                      static_cast<int64_t>(after.tv_usec - before.tv_usec) / 1000;
    int64_t left = static_cast<int64_t>(*count) - elapsed;
    if (left <= 0)
        *count = 0;
    else if (left > static_cast<int64_t>(UINT32_MAX))
        *count = UINT32_MAX;
    else
        *count = static_cast<uint32_t>(left);
}

// The holder of a lock, as pthread_self() gives it; 0 when the lock is free.
// Only the thread that holds the system lock stores into it; others may read
// it at any time (a snapshot), hence the atomic word with relaxed order: a
// thread always reads back its own latest store, which is all that the owner
// tests need.
using Owner = std::atomic<pthread_t>;

inline bool is_owner(const Owner &owner)
{
    return owner.load(std::memory_order_relaxed) == pthread_self();
}

// Initialises a lock with the condition that goes with it; if the
// condition fails, the lock is destroyed again. 0 or pthread's code.
inline int init_mutex_and_cond(pthread_mutex_t *mutex, pthread_cond_t *cond)
{
    int rc = pthread_mutex_init(mutex, nullptr);
    if (rc != 0)
        return rc;
    rc = pthread_cond_init(cond, nullptr);
    if (rc != 0)
        pthread_mutex_destroy(mutex);
    return rc;
}

// A condition record (NCond, NLightCond: a pthread condition in `cond'):
// made on the heap, or NRC_FAILURE for a null result, ENOMEM, or pthread's
// code with nothing left allocated.
template <typename Record> NRC create_cond_record(Record **result)
{
    if (result == nullptr)
        return NRC_FAILURE;
    auto *created = static_cast<Record *>(n_malloc(sizeof(Record)));
    if (created == nullptr)
        return ENOMEM;
    const int rc = pthread_cond_init(&created->cond, nullptr);
    if (rc != 0) {
        n_free(created);
        return rc;
    }
    *result = created;
    return 0;
}

template <typename Record> NRC destroy_cond_record(Record *record)
{
    if (record == nullptr)
        return EINVAL;
    pthread_cond_destroy(&record->cond);
    n_free(record);
    return 0;
}

// Wakes every waiter of the record's condition.
template <typename Record> NRC broadcast_cond_record(Record *record)
{
    if (record == nullptr)
        return EINVAL;
    pthread_cond_broadcast(&record->cond);
    return 0;
}

} // namespace tvk
