/*
 * tarvolk/sortkey.h - sort keys in the default locale's collation, and the
 * library's case-insensitive substring search.
 *
 * A sort key is a byte string whose memcmp order is the collation order of
 * the texts it was made from. A context holds the creating thread's
 * converter (not owned) and a collator (owned): it belongs to that thread,
 * and the thread's converter must outlive it.
 */
#ifndef TARVOLK_SORTKEY_H
#define TARVOLK_SORTKEY_H

#include <string.h>

#include <tarvolk/common.h>
#include <tarvolk/wstring.h>

N_BEGIN_DECLS

struct UCollator;

typedef struct NSortKeyContext {
    struct UConverter *converter; /* the creating thread's; not owned */
    struct UCollator *collator;   /* the default locale's; owned */
} NSortKeyContext;

/* Case orders of NSortKeyCreate; any other value leaves case order off. */
#define NSORTKEY_UPPER_FIRST 1
#define NSORTKEY_LOWER_FIRST 2

/* A context without a converter or a collator. */
#define NRC_SORTKEY_BAD_CONTEXT (-53)

/* 0; 12 on exhausted memory; NRC_TEXT_SORTKEY_CONVERTER without a
   converter; NRC_TEXT_COLLATOR_OPEN without a collator. *context is null
   on failure. */
NAPI NRC NSortKeyCreate(NSortKeyContext **context, int32_t case_order);
/* Writes the key of the text into the buffer of `size' bytes and stores
   the key's full length in *length: a length above the size means the
   buffer was short and the key is incomplete; call again with a larger
   one. NRC_SORTKEY_BAD_CONTEXT, NRC_STRING_TOO_LONG, 12,
   NRC_TEXT_SORTKEY_CONVERT. */
NAPI NRC NSortKeyGenerate(NSortKeyContext *context, const char *text, uint8_t *buffer,
                          int32_t size, int32_t *length);
/* Closes the collator and frees the record; null does nothing. */
NAPI void NSortKeyDestroy(NSortKeyContext *context);

/* The library exports strcasestr(3) under its own name, and so replaces the
   system library's in the process. It differs in one point: an empty part
   matches at the end of the text, not at its start. C++ sees the system
   library's declarations of <string.h>, which name the same symbol. */
#ifndef __cplusplus
NAPI char *strcasestr(const char *text, const char *part);
#endif

N_END_DECLS

#endif /* TARVOLK_SORTKEY_H */
