// Internal interface of the log manager, shared with its modules and tests.
#pragma once

#include <tarvolk/common.h>
#include <tarvolk/log.h>

// Room of _NLogLoad's target: a target of up to 4095 bytes and terminator.
#define NLOG_TARGET_SIZE 4096
// Room of a module name: up to 79 bytes and terminator.
#define NLOG_MODULE_NAME_SIZE 80

extern "C" {
// Step 9 of NInitialise: brings the process-wide log up on destination.
NRC _NLogMgrInitialise(const char *destination);
// The atexit handler: the process-wide log goes back to standard error and
// its module is closed.
void _NLogMgrShutdown(void);
// Picks the module that destination names and sets log's functions to it
// (an unknown module leaves them alone); target (NLOG_TARGET_SIZE bytes)
// receives the text for the module's open. Always 0.
NRC _NLogLoad(NLogFile *log, const char *destination, char *target);
// The default module: standard error, no handle.
NRC _NLogDefaultOpen(const char *target, void **module_handle);
NRC _NLogDefaultFormat(NLogFile *log, NLogLevel level, NI18nCatalog catalog, int32_t set,
                       int32_t number, const char *text, char **line);
NRC _NLogDefaultWrite(void *module_handle, NLogLevel level, const char *line);
NRC _NLogDefaultClose(void *module_handle);
// NDebugFacilityRegister, which reads NDE_DEBUG_FACILITY only if
// use_environment is non-zero.
NRC _NDebugFacilityRegister(const char *name, int32_t *variable, int32_t use_environment);
}

namespace tvk {

// The process-wide log.
NLogFile *process_log();

// The level word of the modules' lines: "Fatal" ... "Debug", else
// "Unknown".
const char *log_level_word(NLogLevel level);

} // namespace tvk
