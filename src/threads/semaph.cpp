// NSemaphore: a counting semaphore made of a count, a mutex and a condition.
#include "threads/sync.h"

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <new>

#include <tarvolk/mem.h>
#include <tarvolk/semaph.h>

struct NSemaphore {
    // Changed only under mutex; atomic so that NSemaphoreTry can see an
    // empty semaphore without taking the mutex.
    std::atomic<int32_t> count;
    pthread_mutex_t mutex;
    pthread_cond_t cond;
    int32_t waiters; // threads inside NSemaphoreWait's wait, under mutex
};

namespace {

// Adds amount to the count, kept within 32 bits.
void add_to_count(NSemaphore *semaphore, int32_t amount)
{
    int64_t count = static_cast<int64_t>(semaphore->count.load(std::memory_order_relaxed)) + amount;
    if (count > INT32_MAX)
        count = INT32_MAX;
    else if (count < INT32_MIN)
        count = INT32_MIN;
    semaphore->count.store(static_cast<int32_t>(count), std::memory_order_relaxed);
}

} // namespace

extern "C" {

NRC NSemaphoreCreateN(int32_t count, NSemaphore **semaphore)
{
    if (semaphore == nullptr)
        return EINVAL;
    void *memory = n_malloc(sizeof(NSemaphore));
    if (memory == nullptr)
        return ENOMEM;
    auto *created = new (memory) NSemaphore;
    const int rc = tvk::init_mutex_and_cond(&created->mutex, &created->cond);
    if (rc != 0) {
        n_free(created);
        return rc;
    }
    created->count.store(count, std::memory_order_relaxed);
    created->waiters = 0;
    *semaphore = created;
    return 0;
}

NRC NSemaphoreDestroy(NSemaphore *semaphore)
{
    if (semaphore == nullptr)
        return EINVAL;
    int rc = pthread_cond_destroy(&semaphore->cond);
    if (rc != 0)
        return rc;
    rc = pthread_mutex_destroy(&semaphore->mutex);
    if (rc != 0)
        return rc;
    n_free(semaphore);
    return 0;
}

NRC NSemaphoreWait(NSemaphore *semaphore)
{
    if (semaphore == nullptr)
        return EINVAL;
    pthread_mutex_lock(&semaphore->mutex);
    while (semaphore->count.load(std::memory_order_relaxed) < 1) {
        ++semaphore->waiters;
        pthread_cond_wait(&semaphore->cond, &semaphore->mutex);
        --semaphore->waiters;
    }
    semaphore->count.store(semaphore->count.load(std::memory_order_relaxed) - 1,
                           std::memory_order_relaxed);
    pthread_mutex_unlock(&semaphore->mutex);
    return 0;
}

NRC NSemaphoreTry(NSemaphore *semaphore)
{
    if (semaphore == nullptr)
        return EINVAL;
    // An empty semaphore answers at once; the answer is the one a locked
    // look would have given an instant earlier.
    if (semaphore->count.load(std::memory_order_relaxed) < 1)
        return EAGAIN;
    NRC rc = EAGAIN;
    pthread_mutex_lock(&semaphore->mutex);
    if (semaphore->count.load(std::memory_order_relaxed) >= 1) {
        semaphore->count.store(semaphore->count.load(std::memory_order_relaxed) - 1,
                           std::memory_order_relaxed);
        rc = 0;
    }
    pthread_mutex_unlock(&semaphore->mutex);
    return rc;
}

NRC NSemaphorePost(NSemaphore *semaphore)
{
    return NSemaphorePostN(semaphore, 1);
}

NRC NSemaphorePostN(NSemaphore *semaphore, int32_t amount)
{
    if (semaphore == nullptr)
        return EINVAL;
    pthread_mutex_lock(&semaphore->mutex);
    add_to_count(semaphore, amount);
    // One signal for each unit added; signals past the number of sleeping
    // waiters would find nobody, so they are not sent.
    for (int32_t signals = amount < semaphore->waiters ? amount : semaphore->waiters;
         signals > 0; --signals)
        pthread_cond_signal(&semaphore->cond);
    pthread_mutex_unlock(&semaphore->mutex);
    return 0;
}

} // extern "C"
