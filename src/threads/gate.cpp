// NGate: a door that threads wait at. A waiter at a closed gate passes at
// its first wake-up of any kind; that is what lets NGateRelease send the
// present waiters through while the gate stays closed.
#include "threads/sync.h"

#include <pthread.h>

#include <cerrno>

#include <tarvolk/gate.h>
#include <tarvolk/mem.h>

struct NGate {
    pthread_mutex_t mutex;
    pthread_cond_t cond;
    int32_t closed; // 1 closed, 0 open; under mutex
};

extern "C" {

NRC NGateCreate(NGate **gate)
{
    if (gate == nullptr)
        return EINVAL;
    auto *created = static_cast<NGate *>(n_malloc(sizeof(NGate)));
    if (created == nullptr)
        return ENOMEM;
    const int rc = tvk::init_mutex_and_cond(&created->mutex, &created->cond);
    if (rc != 0) {
        n_free(created);
        return rc;
    }
    created->closed = 1;
    *gate = created;
    return 0;
}

NRC NGateDestroy(NGate *gate)
{
    if (gate == nullptr)
        return EINVAL;
    pthread_cond_destroy(&gate->cond);
    pthread_mutex_destroy(&gate->mutex);
    n_free(gate);
    return 0;
}

NRC NGateWait(NGate *gate)
{
    if (gate == nullptr)
        return EINVAL;
    pthread_mutex_lock(&gate->mutex);
    if (gate->closed)
        pthread_cond_wait(&gate->cond, &gate->mutex);
    pthread_mutex_unlock(&gate->mutex);
    return 0;
}

NRC NGateClose(NGate *gate)
{
    if (gate == nullptr)
        return EINVAL;
    pthread_mutex_lock(&gate->mutex);
    gate->closed = 1;
    pthread_mutex_unlock(&gate->mutex);
    return 0;
}

NRC NGateOpen(NGate *gate)
{
    if (gate == nullptr)
        return EINVAL;
    pthread_mutex_lock(&gate->mutex);
    gate->closed = 0;
    pthread_cond_broadcast(&gate->cond);
    pthread_mutex_unlock(&gate->mutex);
    return 0;
}

NRC NGateRelease(NGate *gate)
{
    if (gate == nullptr)
        return EINVAL;
    pthread_cond_broadcast(&gate->cond);
    return 0;
}

} // extern "C"
