// The multi-threading layer's entry points.
#include "threads/mt.h"

#include "threads/request.h"
#include "threads/thr.h"

extern "C" NRC _NMTInitialise(void)
{
    NRC rc = _NThreadInitialise();
    if (rc != 0)
        return rc;
    return _NRequestInitialise();
}

extern "C" void _NMTShutdown(void) {}
