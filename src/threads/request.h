// Internal interface of the request thread.
#pragma once

#include <tarvolk/common.h>

extern "C" {
// Creates the request pipe and starts "Request Thread".
NRC _NRequestInitialise(void);
}
