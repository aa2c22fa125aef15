// Internal interface of the socket layer.
#pragma once

#include <tarvolk/common.h>

extern "C" {
// Last step of NInitialise: chooses and loads the IP address driver.
NRC _NSocketInitialise(void);
// Unloads the IP address driver.
void _NSocketShutdown(void);
}
