// The resource deadlock detector.
//
// The detector is not built yet: no lock is tracked, so every lock gets a
// null record and the reports never reach these functions.
#include "threads/resource.h"

extern "C" NRC _NResourceCreate(const char *name, int32_t kind, void *lock, NResource **resource)
{
    (void)name;
    (void)kind;
    (void)lock;
    if (resource != nullptr)
        *resource = nullptr;
    return 0;
}

extern "C" void _NResourceDestroy(NResource *resource)
{
    (void)resource;
}

extern "C" void _NResourceAcquire(NResource *resource, int32_t phase)
{
    (void)resource;
    (void)phase;
}

extern "C" void _NResourceRelease(NResource *resource, int32_t phase)
{
    (void)resource;
    (void)phase;
}
