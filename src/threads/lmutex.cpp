// NLightMutex: a named, owner-tracking, non-recursive mutex, and NLightCond.
// A lock is one POSIX lock and one store.
#include <pthread.h>

#include <cerrno>
#include <new>

#include <tarvolk/lmutex.h>
#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>

#include "threads/sync.h"

struct NLightMutex {
    char name[NMUTEX_NAME_SIZE + 1];
    pthread_mutex_t lock;
    tvk::Owner owner; // written by the holder alone, 0 when free
};

struct NLightCond {
    pthread_cond_t cond;
};

extern "C" {

NRC NLightMutexCreate(const char *name, NLightMutex **mutex)
{
    if (mutex == nullptr)
        return NRC_FAILURE;
    void *memory = n_malloc(sizeof(NLightMutex));
    if (memory == nullptr)
        return ENOMEM;
    NLightMutex *created = new (memory) NLightMutex;
    tvk::copy_lock_name(created->name, name);
    int rc = pthread_mutex_init(&created->lock, nullptr);
    if (rc != 0) {
        created->~NLightMutex();
        n_free(created);
        return rc;
    }
    created->owner.store(0, std::memory_order_relaxed);
    *mutex = created;
    return 0;
}

NRC NLightMutexDestroy(NLightMutex *mutex)
{
    if (mutex == nullptr)
        return EINVAL;
    pthread_mutex_destroy(&mutex->lock);
    mutex->~NLightMutex();
    n_free(mutex);
    return 0;
}

NRC NLightMutexLock(NLightMutex *mutex)
{
    if (mutex == nullptr)
        return EINVAL;
    if (pthread_mutex_lock(&mutex->lock) != 0)
        return NRC_FAILURE;
    mutex->owner.store(pthread_self(), std::memory_order_relaxed);
    return 0;
}

NRC NLightMutexUnlock(NLightMutex *mutex)
{
    if (mutex == nullptr)
        return EINVAL;
    if (!tvk::is_owner(mutex->owner))
        return NRC_FAILURE;
    mutex->owner.store(0, std::memory_order_relaxed);
    if (pthread_mutex_unlock(&mutex->lock) != 0) {
        mutex->owner.store(pthread_self(), std::memory_order_relaxed);
        return NRC_FAILURE;
    }
    return 0;
}

int32_t NLightMutexIsLocked(NLightMutex *mutex)
{
    return mutex != nullptr && mutex->owner.load(std::memory_order_relaxed) != 0 ? 1 : 0;
}

NRC NLightCondCreate(NLightCond **cond)
{
    return tvk::create_cond_record(cond);
}

NRC NLightCondDestroy(NLightCond *cond)
{
    return tvk::destroy_cond_record(cond);
}

NRC NLightCondSignal(NLightCond *cond)
{
    return tvk::broadcast_cond_record(cond);
}

NRC NLightCondWait(NLightCond *cond, NLightMutex *mutex)
{
    if (cond == nullptr || mutex == nullptr)
        return EINVAL;
    if (!tvk::is_owner(mutex->owner))
        return 0;
    mutex->owner.store(0, std::memory_order_relaxed);
    pthread_cond_wait(&cond->cond, &mutex->lock);
    mutex->owner.store(pthread_self(), std::memory_order_relaxed);
    return 0;
}

NRC NLightCondTimedWait2(NLightCond *cond, NLightMutex *mutex, uint32_t *milliseconds)
{
    if (cond == nullptr || mutex == nullptr || milliseconds == nullptr)
        return EINVAL;
    timeval before;
    NRC rc = n_gettimeofday(&before);
    if (rc != 0)
        return rc;
    NRC result = 0;
    if (tvk::is_owner(mutex->owner)) {
        timespec deadline = tvk::deadline_after(before, *milliseconds);
        mutex->owner.store(0, std::memory_order_relaxed);
        if (pthread_cond_timedwait(&cond->cond, &mutex->lock, &deadline) == ETIMEDOUT)
            result = NRC_TIMEOUT;
        mutex->owner.store(pthread_self(), std::memory_order_relaxed);
    }
    timeval after;
    rc = n_gettimeofday(&after);
    if (rc != 0)
        return rc;
    tvk::count_down(milliseconds, before, after);
    return result;
}

NRC NLightCondTimedWait(NLightCond *cond, NLightMutex *mutex, uint32_t milliseconds)
{
    return NLightCondTimedWait2(cond, mutex, &milliseconds);
}

} // extern "C"
