/*
 * tarvolk/i18n.h - locales, message catalogs, the file, environment and
 * search wrappers, and the environment accessors.
 *
 * On this platform catalogs hold no translations: a message is always its
 * default text, except the catalog's own three-letter code (set 100,
 * number 1). The file wrappers pass straight through to the system library;
 * byte order marks are never skipped.
 */
#ifndef TARVOLK_I18N_H
#define TARVOLK_I18N_H

#include <stdio.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <tarvolk/common.h>

N_BEGIN_DECLS

/* A locale handle: carries nothing, only is not null. */
typedef struct NI18nLocaleRec *NI18nLocale;

/* A catalog handle: holds the catalog's code of up to three upper-case
   letters. */
typedef struct NI18nCatalogRec *NI18nCatalog;

/* Message sets of the catalogs. */
#define NI18N_SET_RETURN_CODES 1
#define NI18N_SET_EXCEPTIONS 3
#define NI18N_SET_USER_INTERFACE 4
#define NI18N_SET_LEVEL_NAMES 5
#define NI18N_SET_DATA_TYPE_NAMES 6
#define NI18N_SET_TEXT_LAYER 10
#define NI18N_SET_CATALOG_CODE 100
#define NI18N_SET_FATAL 101
#define NI18N_SET_ERRORS 102
#define NI18N_SET_WARNINGS 103
#define NI18N_SET_INFORMATION 104
#define NI18N_SET_DEBUG 105

/* The library's own catalog (null until NInitialise has opened it). */
extern NAPI NI18nCatalog libtarvolk_catalog;

/* ---- frame ---- */

/* Creates the thread data keys of the text layer and marks the frame
   initialised. Returns the first failure of making a key. */
NAPI NRC NI18nInitialize(void);

/* Does nothing; returns 0. */
NAPI NRC NI18nShutdown(void);

/* Stores a new locale handle in *result and returns 0. The four arguments
   are ignored (callers pass null). On exhausted memory *result is null and
   the return value is still 0. */
NAPI NRC NI18nLocaleCreate(const char *language, const char *country, const char *variant,
                           const char *keywords, NI18nLocale *result);
NAPI NRC NI18nLocaleDestroy(NI18nLocale locale);

/* Switches the library into encoding mode with the named encoding. Only the
   first call with a name takes effect. A name must be shorter than 60 bytes;
   a longer one is refused (nothing changes). Always returns 0. */
NAPI NRC NI18nSetEncoding(const char *encoding);

/* Does nothing; returns 0. */
NAPI NRC NEnablePropUTF8Enabled(void);

/* ---- catalogs and messages ---- */

/*
 * Opens the catalog `name' for `locale'. The catalog's code comes from the
 * table of known catalogs, else from the name: a leading "tvk_", "tvp_" or
 * "libn" is skipped and the first three characters that remain are
 * upper-cased. Returns NRC_FAILURE before NI18nInitialize (or with a null
 * name or result pointer), NRC_I18N_GLOBAL_LOCALE for a null locale, 12 on
 * exhausted memory; *result is null then.
 */
NAPI NRC NI18nCatalogOpen(NI18nLocale locale, const char *name, NI18nCatalog *result);
NAPI NRC NI18nCatalogClose(NI18nCatalog catalog);

/*
 * Copies the text of message (set, number) into buffer, at most size - 1
 * bytes and a terminator. The text is the catalog's code for set 100 number
 * 1 of a non-null catalog, and the default text otherwise. Returns 0;
 * NRC_FAILURE for a null buffer or a size of 0 (nothing is written).
 */
NAPI NRC NI18nMessageGet(NI18nCatalog catalog, int32_t set, int32_t number,
                         const char *default_text, char *buffer, size_t size);

/* ---- files, environment and search: the system library's results ---- */

NAPI FILE *NI18nFopen(const char *path, const char *mode);
NAPI FILE *NI18nFreopen(const char *path, const char *mode, FILE *stream);
/* open(2); a byte order mark is not skipped on this platform. */
NAPI int NI18nOpen(const char *path, int flags, mode_t permission);
NAPI int NI18nOpenKeepBOM(const char *path, int flags, mode_t permission);
/* Always 0: no byte order mark is ever skipped. */
NAPI int NI18nBOMCount(void);
NAPI int NI18nRemove(const char *path);
NAPI int NI18nRename(const char *old_path, const char *new_path);
NAPI int NI18nUnlink(const char *path);
NAPI int NI18nStat(const char *path, struct stat *info);
NAPI int NI18nMkdir(const char *path, mode_t permission);
NAPI int NI18nAccess(const char *path, int mode);
/* realpath(3), with the result buffer first. */
NAPI char *NI18nRealPath(char *resolved, const char *path);
/* getenv(3): the environment's own text. Pair with NI18nFreeenv. */
NAPI char *NI18nGetenv(const char *name);
NAPI void NI18nFreeenv(char *text);
/* putenv(3): the text ("name=value") is not copied; keep it alive. */
NAPI int NI18nPutenv(char *text);
/* Stores strstr(text, part) in *result; returns 0 (NRC_FAILURE for null
   arguments, *result then null). The locale is ignored. */
NAPI NRC NI18nStrstr(NI18nLocale locale, const char *text, const char *part, char **result);
/* Stores a new temporary file name with the prefix "tarv" in *result, which
   the caller frees with n_free. NRC_FAILURE if no name can be made. */
NAPI NRC NI18nTempnam(char **result);

/* ---- environment accessors ---- */

/* The value of name, or null. The environment's own text: do not change
   it; NEnvFree is the matching release. */
NAPI const char *NEnvGet(const char *name);
/* Does nothing. */
NAPI void NEnvFree(const char *value);
/* 1 if name is set, else 0. */
NAPI int NEnvIsSet(const char *name);
/* As NEnvGet; if unset, an n_strdup copy of default_text (null if that
   copy fails or default_text is null). */
NAPI const char *NEnvGetWithDefault(const char *name, const char *default_text);
/* Sets name to value through NI18nPutenv; the block made for it is never
   freed. Returns 0; 12 on exhaustion; errno if the environment refuses;
   NRC_FAILURE for a null or empty name, or one holding '='. */
NAPI NRC NEnvSet(const char *name, const char *value);

N_END_DECLS

#endif /* TARVOLK_I18N_H */
