// Internal interface of the log manager.
#pragma once

#include <tarvolk/common.h>

extern "C" {
// Step 9 of NInitialise: brings the process-wide log up on destination.
NRC _NLogMgrInitialise(const char *destination);
}
