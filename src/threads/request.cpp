// The request thread.
//
// Signal delivery is not built yet: until it is, the entry point succeeds
// and starts nothing.
#include "threads/request.h"

extern "C" NRC _NRequestInitialise(void)
{
    return 0;
}
