// The log manager.
//
// The log manager is not built yet: until it is, its entry point succeeds
// and does nothing, and nothing in the library logs.
#include "frame/log.h"

extern "C" NRC _NLogMgrInitialise(const char *destination)
{
    (void)destination;
    return 0;
}
