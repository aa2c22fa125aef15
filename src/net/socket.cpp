// The socket layer.
//
// The IP address driver is not built yet. Its loader resolves the family's
// installation directory, below which the driver modules live, so a
// missing installation ends the process at this step as it will once the
// driver is loaded; nothing else is done.
#include "net/socket.h"

#include <tarvolk/services.h>

extern "C" NRC _NSocketInitialise(void)
{
    (void)NGetTARVOLKHOME();
    return 0;
}

extern "C" void _NSocketShutdown(void) {}
