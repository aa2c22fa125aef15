// NEvent: a broadcast wake-up with no memory.
#include <pthread.h>

#include <cerrno>

#include <tarvolk/event.h>
#include <tarvolk/mem.h>
#include <tarvolk/time.h>

#include "threads/sync.h"

struct NEvent {
    pthread_cond_t cond;
    pthread_mutex_t mutex;
};

extern "C" {

NRC NEventCreate(NEvent **event)
{
    if (event == nullptr)
        return EINVAL;
    auto *created = static_cast<NEvent *>(n_malloc(sizeof(NEvent)));
    if (created == nullptr)
        return ENOMEM;
    const int rc = tvk::init_mutex_and_cond(&created->mutex, &created->cond);
    if (rc != 0) {
        n_free(created);
        return rc;
    }
    *event = created;
    return 0;
}

NRC NEventDestroy(NEvent *event)
{
    if (event == nullptr)
        return EINVAL;
    pthread_cond_destroy(&event->cond);
    pthread_mutex_destroy(&event->mutex);
    n_free(event);
    return 0;
}

NRC NEventLock(NEvent *event)
{
    if (event == nullptr)
        return EINVAL;
    pthread_mutex_lock(&event->mutex);
    return 0;
}

NRC NEventUnlock(NEvent *event)
{
    if (event == nullptr)
        return EINVAL;
    pthread_mutex_unlock(&event->mutex);
    return 0;
}

NRC NEventWaitAlreadyLocked(NEvent *event)
{
    if (event == nullptr)
        return EINVAL;
    pthread_cond_wait(&event->cond, &event->mutex);
    return 0;
}

NRC NEventWait(NEvent *event)
{
    if (event == nullptr)
        return EINVAL;
    pthread_mutex_lock(&event->mutex);
    pthread_cond_wait(&event->cond, &event->mutex);
    pthread_mutex_unlock(&event->mutex);
    return 0;
}

NRC NEventTimedWaitAlreadyLocked(NEvent *event, uint32_t milliseconds)
{
    if (event == nullptr)
        return EINVAL;
    timeval now;
    NRC rc = n_gettimeofday(&now);
    if (rc != 0)
        return rc;
    timespec deadline = tvk::deadline_after(now, milliseconds);
    // A timeout, a signal and a spurious wake-up are all the same here.
    pthread_cond_timedwait(&event->cond, &event->mutex, &deadline);
    return 0;
}

NRC NEventTimedWait(NEvent *event, uint32_t milliseconds)
{
    if (event == nullptr)
        return EINVAL;
    pthread_mutex_lock(&event->mutex);
    NRC rc = NEventTimedWaitAlreadyLocked(event, milliseconds);
    pthread_mutex_unlock(&event->mutex);
    return rc;
}

NRC NEventSignal(NEvent *event)
{
    if (event == nullptr)
        return EINVAL;
    pthread_cond_broadcast(&event->cond);
    return 0;
}

} // extern "C"
