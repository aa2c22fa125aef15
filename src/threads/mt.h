// Internal interface of the multi-threading layer.
#pragma once

#include <tarvolk/common.h>

extern "C" {
// Step 8 of NInitialise: the thread registry, then the request thread.
NRC _NMTInitialise(void);
// Called by NShutdown; does nothing.
void _NMTShutdown(void);
}
