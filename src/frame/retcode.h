// Internal interface of the return code tables.
#pragma once

#include <tarvolk/retcode.h>

extern "C" {
// Registers the library's table with catalog, once per process; later
// calls return 0 and do nothing.
NRC _NRCInitialise(NI18nCatalog catalog);
}

namespace tvk {
// Number of slots in use.
int32_t rc_table_count();
} // namespace tvk
