/*
 * tarvolk/regexp.h - regular expressions: one interface over two engines,
 * chosen for the whole process. TRE (POSIX extended syntax) is selected at
 * start; the library's own engine takes a smaller language (literal bytes,
 * ".", classes "[...]" and "[^...]", groups, "|", "*", "+", "?", "^", "$",
 * and a backslash that makes the next byte literal) and matches leftmost,
 * first alternative first, repetitions greedy.
 *
 * Use: compile once; for each subject, NRegexpMatch and then any number of
 * NRegexpGetSub and NRegexpSubst, which refer to that last match; free at
 * the end. A match searches: the expression may match anywhere in the
 * subject. Substrings point into the subject, which is not copied: it must
 * stay alive and unchanged until the last substring has been read. A
 * handle keeps its last match inside itself, so it serves one thread at a
 * time; different handles may be used in parallel. An expression keeps the
 * engine that compiled it, whatever is selected later.
 *
 * Codes: 0; NRC_REGEXP_INVALID (-70) for a bad pattern; NRC_REGEXP_TOO_BIG
 * (-71) for an expression too large for the library's engine;
 * NRC_REGEXP_BAD_MATCH (-72) when a substitution finds that the subject has
 * changed since the match; NRC_REGEXP_NO_MATCH (-73), a normal result of
 * NRegexpMatch; NRC_FAILURE (-19); 12 (ENOMEM); 22 (EINVAL) for a null
 * pattern, handle, subject, template or destination, or a null out-pointer.
 *
 * Groups are numbered 1 to 9 in the order of their opening parenthesis;
 * index 0 is the whole match.
 */
#ifndef TARVOLK_REGEXP_H
#define TARVOLK_REGEXP_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

/* A compiled expression; opaque. */
typedef struct NRegexp NRegexp;

/* Arguments of NRegexpLibrarySwitch. */
#define NREGEXP_LIBRARY_TARVOLK 0
#define NREGEXP_LIBRARY_TRE 1

/* Compiles pattern with the selected engine and stores the handle in out.
   On failure nothing stays allocated and out is not touched. Under TRE a
   bad pattern gives -70, or -19 for an unbalanced parenthesis and a bad
   range; the library's engine gives -70 for every syntax fault. */
NAPI NRC NRegexpCompile(const char *pattern, NRegexp **out);

/* Searches subject: 0 on a match, -73 when there is none, -19 when the
   engine gives up (TRE out of memory; the library's engine at its depth
   limit, see docs/decisions.md). */
NAPI NRC NRegexpMatch(NRegexp *regexp, const char *subject);

/* Copies substring index (0 to 9) of the last match, and a NUL, into
   destination, which must be large enough. -19 for a group that took no
   part, or with no successful last match (TRE). An index out of range gives
   22 under TRE and -19 under the library's engine. */
NAPI NRC NRegexpGetSub(NRegexp *regexp, int32_t index, char *destination);

/* Writes templ to destination with "&" and "\0" replaced by the whole
   match, "\1" to "\9" by the groups, "\\" by "\" and "\&" by "&"; a
   backslash before any other byte stays. An unset or empty group writes
   nothing; after a failed match every group is unset. destination has no
   size: it must hold the result and its NUL. */
NAPI NRC NRegexpSubst(NRegexp *regexp, const char *templ, char *destination);

/* Releases the expression; null is ignored. */
NAPI void NRegexpFree(NRegexp *regexp);

/* Prints the compiled program to standard output (the library's engine);
   nothing for TRE or a null handle. */
NAPI void NRegexpDump(NRegexp *regexp);

/* Selects the engine of later compilations: NREGEXP_LIBRARY_TARVOLK or
   NREGEXP_LIBRARY_TRE. 0, or -19 with no change for another number. */
NAPI NRC NRegexpLibrarySwitch(int32_t library);

/* The same by name: "TARVOLK" or "TRE", in any case. 0, or -19 with no
   change (also for null). */
NAPI NRC NRegexpLibrarySwitchFromString(const char *name);

/* Name of the selected engine: "TRE Regular Expression Library" or
   "Tarvolk Regular Expression Library". */
NAPI const char *NRegexpLibraryGetName(void);

N_END_DECLS

#endif /* TARVOLK_REGEXP_H */
