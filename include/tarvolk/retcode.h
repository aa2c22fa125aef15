/*
 * tarvolk/retcode.h - return codes: the library's own codes, the
 * registration of further tables, and NRCToString.
 *
 * Number space of NRC:
 *   0                     success
 *   negative              a code of the library or of a registered table
 *   1 .. 1000000          an errno value              (text of strerror)
 *   1000001 .. 1000254    a name-resolution error + 1000000 (gai_strerror)
 *   above 1000254         taken for an errno value    (text of strerror)
 */
#ifndef TARVOLK_RETCODE_H
#define TARVOLK_RETCODE_H

#include <tarvolk/common.h>
#include <tarvolk/i18n.h>
#include <tarvolk/retcode_table.h>

N_BEGIN_DECLS

/* The library's own codes: NRC_SUCCESS, NRC_FAILURE, ... */
#define N_RC_ENUMERATOR(name, code, set, number, text) name = (code),
enum NRCCode { N_RC_TABLE(N_RC_ENUMERATOR) NRC_CODE_END_ = 1 };
#undef N_RC_ENUMERATOR

/* Bounds of the name-resolution range of the number space. */
#define NRC_RESOLVER_BASE 1000000
#define NRC_RESOLVER_FIRST 1000001
#define NRC_RESOLVER_LAST 1000254

/* Number of slots of the table of tables; slot 0 is the library's own. */
#define NRC_MAX_TABLES 64

/* A row of a return code table: the code, its message set and number in the
   table's catalog, and the default text. */
typedef struct NRCTableEntry {
    NRC code;
    int32_t set;
    int32_t number;
    const char *text;
} NRCTableEntry;

/*
 * Appends a table of `count' rows with its catalog (may be null). The rows
 * are neither copied nor checked: they stay the caller's for the life of
 * the process. A code known to several tables takes the text of the table
 * registered first. Returns NRC_FAILURE when all 64 slots are in use, or
 * for null rows with a positive count; else 0.
 */
NAPI NRC NRCRegister(NI18nCatalog catalog, int32_t count, const NRCTableEntry *rows);

/*
 * Text of a return code. Never null, never to be freed. Text of the tables
 * (codes 0 and below) lies in the calling thread's error buffer and stays
 * valid until the same thread's next call; without a thread record it is
 * "Unknown thread error". Positive codes give the system library's text.
 */
NAPI const char *NRCToString(NRC code);

N_END_DECLS

#endif /* TARVOLK_RETCODE_H */
