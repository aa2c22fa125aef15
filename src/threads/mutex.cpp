// NMutex: the general mutex, recursive by its own bookkeeping, and NCond.
//
// The record keeps the holder and its depth beside one default POSIX mutex.
// Only the holder of `lock' ever writes `owner' and `depth' (it sets them
// after it got the lock and clears them before it lets go, also around a
// condition wait), so they need no lock of their own: another thread can
// never find `owner' equal to itself unless it holds `lock'. That keeps an
// uncontended lock to one POSIX lock and two plain stores.
#include <pthread.h>

#include <cerrno>
#include <new>

#include <tarvolk/mem.h>
#include <tarvolk/mutex.h>
#include <tarvolk/retcode.h>

#include "threads/resource.h"
#include "threads/sync.h"

struct NMutex {
    char name[NMUTEX_NAME_SIZE + 1];
    pthread_mutex_t lock; // held from the outermost lock to the outermost unlock
    tvk::Owner owner;     // the holder, 0 when free
    int32_t depth;        // nested locks of the holder, 0 when free
    NResource *resource;  // the deadlock detector's record, or null
};

struct NCond {
    pthread_cond_t cond;
};

extern "C" {

NRC NMutexCreate(const char *name, NMutex **mutex)
{
    if (mutex == nullptr)
        return NRC_FAILURE;
    void *memory = n_malloc(sizeof(NMutex));
    if (memory == nullptr)
        return ENOMEM;
    NMutex *created = new (memory) NMutex;
    tvk::copy_lock_name(created->name, name);
    created->resource = nullptr;
    _NResourceCreate(created->name, N_RESOURCE_MUTEX, created, &created->resource);
    int rc = pthread_mutex_init(&created->lock, nullptr);
    if (rc != 0) {
        _NResourceDestroy(created->resource);
        created->~NMutex();
        n_free(created);
        return rc;
    }
    created->owner.store(0, std::memory_order_relaxed);
    created->depth = 0;
    *mutex = created;
    return 0;
}

NRC NMutexDestroy(NMutex *mutex)
{
    if (mutex == nullptr)
        return EINVAL;
    _NResourceDestroy(mutex->resource);
    pthread_mutex_destroy(&mutex->lock);
    mutex->~NMutex();
    n_free(mutex);
    return 0;
}

NRC NMutexLock(NMutex *mutex)
{
    if (mutex == nullptr)
        return EINVAL;
    tvk::resource_acquire(mutex->resource, 0);
    if (!tvk::is_owner(mutex->owner)) {
        pthread_mutex_lock(&mutex->lock);
        mutex->owner.store(pthread_self(), std::memory_order_relaxed);
    }
    ++mutex->depth;
    tvk::resource_acquire(mutex->resource, 1);
    return 0;
}

NRC NMutexTryLock(NMutex *mutex)
{
    if (mutex == nullptr)
        return EINVAL;
    tvk::resource_acquire(mutex->resource, 0);
    if (!tvk::is_owner(mutex->owner)) {
        if (pthread_mutex_trylock(&mutex->lock) != 0)
            return NRC_LOCK_FAILED;
        mutex->owner.store(pthread_self(), std::memory_order_relaxed);
    }
    ++mutex->depth;
    tvk::resource_acquire(mutex->resource, 1);
    return 0;
}

NRC NMutexUnlock(NMutex *mutex)
{
    if (mutex == nullptr)
        return EINVAL;
    tvk::resource_release(mutex->resource, 0);
    if (tvk::is_owner(mutex->owner) && --mutex->depth == 0) {
        mutex->owner.store(0, std::memory_order_relaxed);
        pthread_mutex_unlock(&mutex->lock);
    }
    tvk::resource_release(mutex->resource, 1);
    return 0;
}

int32_t NMutexIsLocked(NMutex *mutex)
{
    return mutex != nullptr && mutex->owner.load(std::memory_order_relaxed) != 0 ? 1 : 0;
}

NRC NCondCreate(NCond **cond)
{
    return tvk::create_cond_record(cond);
}

NRC NCondDestroy(NCond *cond)
{
    return tvk::destroy_cond_record(cond);
}

NRC NCondSignal(NCond *cond)
{
    return tvk::broadcast_cond_record(cond);
}

NRC NCondWait(NCond *cond, NMutex *mutex)
{
    if (cond == nullptr || mutex == nullptr)
        return EINVAL;
    if (!tvk::is_owner(mutex->owner))
        return 0;
    // Every nested level is given up for the wait and taken back after it;
    // the deadlock detector keeps the thread listed as the holder.
    int32_t depth = mutex->depth;
    mutex->depth = 0;
    mutex->owner.store(0, std::memory_order_relaxed);
    pthread_cond_wait(&cond->cond, &mutex->lock);
    mutex->owner.store(pthread_self(), std::memory_order_relaxed);
    mutex->depth = depth;
    return 0;
}

NRC NCondTimedWait2(NCond *cond, NMutex *mutex, uint32_t *milliseconds)
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
        int32_t depth = mutex->depth;
        mutex->depth = 0;
        mutex->owner.store(0, std::memory_order_relaxed);
        if (pthread_cond_timedwait(&cond->cond, &mutex->lock, &deadline) == ETIMEDOUT)
            result = NRC_TIMEOUT;
        mutex->owner.store(pthread_self(), std::memory_order_relaxed);
        mutex->depth = depth;
    }
    timeval after;
    rc = n_gettimeofday(&after);
    if (rc != 0)
        return rc;
    tvk::count_down(milliseconds, before, after);
    return result;
}

NRC NCondTimedWait(NCond *cond, NMutex *mutex, uint32_t milliseconds)
{
    return NCondTimedWait2(cond, mutex, &milliseconds);
}

} // extern "C"
