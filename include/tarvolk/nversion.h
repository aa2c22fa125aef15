/*
 * tarvolk/nversion.h - the product's version texts and the list of the
 * revisions of the loaded libraries.
 */
#ifndef TARVOLK_NVERSION_H
#define TARVOLK_NVERSION_H

#include <tarvolk/common.h>
#include <tarvolk/i18n.h>

N_BEGIN_DECLS

/* Appends a copy of a revision line (a failure of memory is silent). */
NAPI void NVersionInfoRegister(const char *line);
/* Removes the first line equal to line. */
NAPI void NVersionInfoUnregister(const char *line);
/* Writes "Library Revisions:\n" and "\t%s\n" for each line to standard
   error; nothing if no line was ever registered. */
NAPI void NVersionInfoPrint(void);
/* Stores in *text a new text (free with n_free): "Library Revisions:\n" and
   a tab, the line and a line feed for each line. *text stays null, with 0,
   if no line was ever registered. 12 on exhaustion; NRC_FAILURE for a null
   pointer. */
NAPI NRC NVersionInfoString(char **text);

/* Opens the catalog "version" for the locale and takes the version texts
   from it. Returns 0. */
NAPI NRC _NVersionInitialise(NI18nLocale locale);

/* Product name, notice, version, full version and short code. */
NAPI const char *_n_GetProductName(void);
NAPI const char *_n_GetNoticeString(void);
NAPI const char *_n_GetVersionString(void);
NAPI const char *_n_GetFullVersionString(void);
NAPI const char *_n_GetProductDCIName(void);

/* The version catalog, opened by _NVersionInitialise. */
extern NAPI NI18nCatalog libtarvolk_version_catalog;

N_END_DECLS

#endif /* TARVOLK_NVERSION_H */
