/*
 * tarvolk/shlib.h - entering and leaving the library.
 */
#ifndef TARVOLK_SHLIB_H
#define TARVOLK_SHLIB_H

#include <tarvolk/common.h>
#include <tarvolk/i18n.h>

N_BEGIN_DECLS

/* The library's revision line, registered in the version list at load. */
#define NLIBTARVOLK_REVISION "libtarvolk: 5.50.97"

/*
 * Brings the library up, once per process: the locale, the text layer, the
 * library's catalog, the return code tables, the thread registry and the
 * request thread, the log manager, the socket layer. application_name is
 * kept as given (not copied) for the life of the process. Returns 0, or the
 * code of the step that failed; a failed call may be repeated, and every
 * call after a successful one returns 0 at once.
 */
NAPI NRC NInitialise(const char *application_name, const char *log_destination);

/* Unloads the IP address driver. Threads, the log and the flag of
   NInitialise are left alone. */
NAPI void NShutdown(void);

N_END_DECLS

#endif /* TARVOLK_SHLIB_H */
