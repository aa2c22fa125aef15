/*
 * tarvolk/services.h - names of the process and of the directories of an
 * installation, path building, and the system's FIPS setting.
 *
 * Every returned text is the library's: do not free or change it.
 */
#ifndef TARVOLK_SERVICES_H
#define TARVOLK_SERVICES_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

/* The name given to NInitialise; null before it. */
NAPI const char *NGetAppName(void);
/* The name set by NSetProcName, else the application name. */
NAPI const char *NGetProcName(void);
/* Replaces the process name by a copy of name; null unsets it. Returns 0,
   or 12 if the copy fails (the name is then unset). Must not run beside
   NGetProcName. */
NAPI NRC NSetProcName(const char *name);

/* Names of the directories of an installation: "bin", "lib", "etc", "var",
   "config", "gates", "log". */
NAPI const char *NGetBinDir(void);
NAPI const char *NGetLibDir(void);
NAPI const char *NGetEtcDir(void);
NAPI const char *NGetVarDir(void);
NAPI const char *NGetConfigDir(void);
NAPI const char *NGetGateDir(void);
NAPI const char *NGetLogDir(void);

/* "tsm/PLATFORM", "monitors/PLATFORM", "probes/PLATFORM". */
NAPI const char *NGetTsmDir(void);
NAPI const char *NGetMonitorDir(void);
NAPI const char *NGetProbeDir(void);

/* TARVOLKPLATFORM as read at the first call, default "linux2x86". */
NAPI const char *NGetPlatform(void);
/* A copy of NGetPlatform made at the first call. */
NAPI const char *NDetectPlatform(void);

/* ZIMBRELHOME (default "/opt/tarvolk/zimbrel") and TARVOLKHOME (default
   "/opt/tarvolk"), read and tested for read and search access at the first
   call. If the test fails the process ends with status 1 after
   "Fatal Error: Failed to access ZIMBRELHOME directory: %s" (or
   TARVOLKHOME) on standard error. */
NAPI const char *NGetZIMBRELHOME(void);
NAPI const char *NGetTARVOLKHOME(void);

/* The host name, "localhost" if the system can't tell. */
NAPI const char *NGetHostName(void);

/* Copies first into dst and appends each further text up to a null
   pointer, with no separator and no bound. */
NAPI void NConstructPath(char *dst, const char *first, ...);

/*
 * The bounded form; size counts the terminator. Pieces are appended whole
 * while they fit with the terminator; the first that doesn't is cut so that
 * the result fills size - 1 bytes, the rest are not looked at, and the
 * result is NRC_FAILURE (also when first alone doesn't fit). dst always ends
 * in a terminator. 0 when everything fits. A null dst or a size of 0 gives
 * NRC_FAILURE and writes nothing; a null first counts as empty.
 */
NAPI NRC NConstructPathWithLength(char *dst, uint32_t size, const char *first, ...);

/* Stores 1 in *is_fips if TARVOLKHOME/etc/security/fips.conf exists, else
   0. Returns 0 (NRC_FAILURE for a null pointer). */
NAPI NRC NIsSystemFIPS(int32_t *is_fips);

N_END_DECLS

#endif /* TARVOLK_SERVICES_H */
