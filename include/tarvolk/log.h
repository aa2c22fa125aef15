/*
 * tarvolk/log.h - the log manager: leveled messages with a fixed
 * identification, the process-wide log and further log handles, the log
 * header and the debug facilities.
 *
 * A message carries a level, a debug flag, a catalog, a message set and
 * number, and a format with its arguments. The log drops it when the log's
 * level is above the message's, and a debug message (level 1) also when its
 * flag is 0. A message that passes is printed, prefixed with its
 * identification "L-CCC-SSS-NNN: " (level letter, catalog code, set,
 * number), laid out by the log's module and written under the log's mutex.
 * A fatal message (level 5) then ends the process with exit(1), unless the
 * log was told not to. Failures of the log itself go to standard error.
 */
#ifndef TARVOLK_LOG_H
#define TARVOLK_LOG_H

#include <stdarg.h>

#include <tarvolk/common.h>
#include <tarvolk/i18n.h>
#include <tarvolk/mutex.h>

N_BEGIN_DECLS

/* Log level: higher is more severe. */
typedef uint32_t NLogLevel;

#define NLOG_DEBUG 1
#define NLOG_INFO 2
#define NLOG_WARN 3
#define NLOG_ERROR 4
#define NLOG_FATAL 5
/* Ends the level table; never a level of a log. */
#define NLOG_UNKNOWN 6

typedef struct NLogFile NLogFile;

/* The four functions of a destination module. `open' stores the module's
   handle; `format' lays out the final line from the identified text and
   hands out a heap text (freed with n_free); `write' writes it; `close'
   ends the handle. */
typedef NRC (*NLogOpenFunc)(const char *target, void **module_handle);
typedef NRC (*NLogFormatFunc)(NLogFile *log, NLogLevel level, NI18nCatalog catalog, int32_t set,
                              int32_t number, const char *text, char **line);
typedef NRC (*NLogWriteFunc)(void *module_handle, NLogLevel level, const char *line);
typedef NRC (*NLogCloseFunc)(void *module_handle);

/* One log. The level and the format function are read without the lock;
   write runs under `mutex'. */
struct NLogFile {
    NMutex *mutex;               /* guards write; null until made */
    NLogLevel level;             /* messages below it are dropped */
    int32_t fatal_does_not_exit; /* non-zero: a fatal message returns */
    NLogOpenFunc open;
    NLogFormatFunc format;
    NLogWriteFunc write;
    NLogCloseFunc close;
    void *module_handle; /* what open gave, for write and close */
};

/* ---- writing a message: 0, or the failure of printing or of the module;
   a dropped message returns 0 without looking at its arguments ---- */

/* Log to the process-wide log. NLogLog is the same function. */
NAPI NRC NLog(NLogLevel level, int32_t debug_flag, NI18nCatalog catalog, int32_t set,
              int32_t number, const char *format, ...) N_PRINTF(6, 7);
NAPI NRC NLogLog(NLogLevel level, int32_t debug_flag, NI18nCatalog catalog, int32_t set,
                 int32_t number, const char *format, ...) N_PRINTF(6, 7);
NAPI NRC NLogAP(NLogLevel level, int32_t debug_flag, NI18nCatalog catalog, int32_t set,
                int32_t number, const char *format, va_list args) N_PRINTF(6, 0);
/* Log to a handle of NLogFileOpen. A null log gives 22 (EINVAL). */
NAPI NRC NLogToFile(NLogFile *log, NLogLevel level, int32_t debug_flag, NI18nCatalog catalog,
                    int32_t set, int32_t number, const char *format, ...) N_PRINTF(7, 8);
NAPI NRC NLogToFileAP(NLogFile *log, NLogLevel level, int32_t debug_flag, NI18nCatalog catalog,
                      int32_t set, int32_t number, const char *format, va_list args)
    N_PRINTF(7, 0);
/* The receiver of libtvkcrypt's messages: level info, flag 0, no catalog,
   set 0, number 0. */
NAPI void NLogMgrTvkcryptLogCB(const char *format, va_list args) N_PRINTF(1, 0);

/* ---- levels ---- */

/* The level's name ("fatal" ... "debug"); "unknown!" for any other level. */
NAPI const char *NLogLevelToString(NLogLevel level);
/* The first level whose name is a case-blind prefix of text ("WARNING"
   gives warn, "war" nothing), tried from fatal to debug; else
   NLOG_UNKNOWN. */
NAPI NLogLevel NLogLevelFromString(const char *text);
NAPI NLogLevel NLogFileGetLevel(NLogFile *log);
NAPI NLogLevel NLogMgrGetLevel(void);
/* Store the level (under the log's mutex if it has one). 0. */
NAPI NRC NLogFileSetLevel(NLogFile *log, NLogLevel level);
NAPI NRC NLogMgrSetLevel(NLogLevel level);
/* As the above with the level of the text; NRC_FAILURE (nothing changes)
   if it names none. */
NAPI NRC NLogFileSetLevelFromString(NLogFile *log, const char *text);
NAPI NRC NLogMgrSetLevelFromString(const char *text);
/* *result: a heap copy of text cut to the length of the level name it
   starts with ("Warning" gives "Warn"). NRC_FAILURE if it names no level,
   12 on exhaustion; *result is null then. */
NAPI NRC NLogFileQuantizeLevel(const char *text, char **result);
/* Non-zero: a fatal message on the log returns instead of ending the
   process. 0. */
NAPI NRC NLogFileSetFatalDoesNotExit(NLogFile *log, int32_t flag);
NAPI NRC NLogMgrSetFatalDoesNotExit(int32_t flag);

/* ---- logs ---- */

/*
 * A new log on destination: "stdout" or "stderr" (with or without a
 * trailing colon) for a standard stream, "file:PATH", "MODULE://TARGET", or
 * a file name. Level warn, or NDE_DEFAULT_LOG_LEVEL. Returns what the
 * module's open returned; if that failed, *log is still a working log on
 * standard error. 12 on exhaustion, the code of the mutex; *log null then.
 */
NAPI NRC NLogFileOpen(const char *destination, NLogFile **log);
/* Closes the module; if that fails its code is returned and the log stays
   as it is, else the log is freed. */
NAPI NRC NLogFileClose(NLogFile *log);
/* Moves the process-wide log to destination. While it runs other threads
   wait to write. If the new module doesn't open, the log writes to standard
   error and its code is returned. For use after NInitialise. */
NAPI NRC NLogMgrSwitch(const char *destination);
/* Replaces the process-wide log's layout function until the next
   NLogMgrSwitch. NRC_FAILURE if the log's lock can't be had. */
NAPI NRC NLogModuleOverrideMsgFormat(NLogFormatFunc format);

/* ---- the log header: lines logged again at each reopening of a log file,
   as debug messages (set 105, number 0). Do nothing and return 0 before
   NInitialise ---- */

/* Print the line, log it now and keep it. 12 if printing fails,
   NRC_FAILURE if it can't be kept. */
NAPI NRC NLogHeaderAdd(const char *format, ...) N_PRINTF(1, 2);
NAPI NRC NLogHeaderAddAP(const char *format, va_list args) N_PRINTF(1, 0);
/* The same without logging it now. */
NAPI NRC NLogHeaderAddNoLog(const char *format, ...) N_PRINTF(1, 2);
/* Logs the header: a begin line, LANG, LC_ALL, LC_CTYPE and TZ, the kept
   lines in the order of adding, an end line. 0. */
NAPI NRC NLogHeaderLog(void);

/* ---- debug facilities: named process-wide flags ---- */

/* Longest facility name kept, in bytes (longer names are cut). */
#define NDEBUG_FACILITY_NAME_SIZE 43

/*
 * Registers the facility `name' (held in lower case) with the owner's flag
 * *variable, and sets the flag. A facility set or registered before keeps
 * its value. Otherwise NDE_DEBUG_FACILITY decides: unset, every facility
 * is on; else a facility is on if its name stands in the text as a word
 * (begun by the start, whitespace or "!", ended by the end, whitespace or
 * a comma), and a leading "!" inverts the choice. 0; 12 on exhaustion (a
 * table that can't be made turns the flag on).
 */
NAPI NRC NDebugFacilityRegister(const char *name, int32_t *variable);
/* Forgets the facility; its flag keeps its value. NRC_NOT_FOUND if it
   isn't known. */
NAPI NRC NDebugFacilityUnregister(const char *name);
/* Sets the facility's value and its flag; an unknown facility is kept with
   the value for its later registration. 0; 12 on exhaustion. */
NAPI NRC NDebugFacilitySet(const char *name, int32_t value);
/* Writes the facilities and their state to standard error. */
NAPI void NDebugFacilityPrint(void);

/* The library's own facilities, passed as debug flags by its subsystems. */
extern NAPI int32_t libtarvolk_arg_mgr_debug;
extern NAPI int32_t libtarvolk_cb_mgr_debug;
extern NAPI int32_t libtarvolk_clock_debug;
extern NAPI int32_t libtarvolk_prop_mgr_debug;
extern NAPI int32_t libtarvolk_module_debug;
extern NAPI int32_t libtarvolk_signal_debug;
extern NAPI int32_t libtarvolk_thread_debug;
extern NAPI int32_t libtarvolk_timer_debug;

N_END_DECLS

#endif /* TARVOLK_LOG_H */
