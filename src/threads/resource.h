// Hooks of the resource deadlock detector, called by the tracked locks.
//
// A lock asks for a record when it is made; a null record means the lock
// isn't tracked, and then every report costs the lock one test and no call.
#pragma once

#include <cstdint>

#include <tarvolk/common.h>

struct NResource;

// Kinds of tracked locks.
enum : int32_t {
    N_RESOURCE_MUTEX = 0,
};

extern "C" {
// Always 0; *resource is null unless the lock is tracked.
NRC _NResourceCreate(const char *name, int32_t kind, void *lock, NResource **resource);
void _NResourceDestroy(NResource *resource);
// Phase 0 before the operation, phase 1 at its point of success.
void _NResourceAcquire(NResource *resource, int32_t phase);
void _NResourceRelease(NResource *resource, int32_t phase);
}

namespace tvk {

inline void resource_acquire(NResource *resource, int32_t phase)
{
    if (resource != nullptr)
        _NResourceAcquire(resource, phase);
}

inline void resource_release(NResource *resource, int32_t phase)
{
    if (resource != nullptr)
        _NResourceRelease(resource, phase);
}

} // namespace tvk
