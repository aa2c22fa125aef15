/*
 * tarvolk/log_stdout.h - the log module of the standard streams: lines
 * "STAMP: Level: TEXT" to standard output or standard error, flushed one
 * by one. Chosen by the destinations "stdout" and "stderr".
 */
#ifndef TARVOLK_LOG_STDOUT_H
#define TARVOLK_LOG_STDOUT_H

#include <tarvolk/common.h>
#include <tarvolk/log.h>

N_BEGIN_DECLS

/* Stores the module's open, format and write functions through the three
   pointers; the close function is not the module's to give. Its open
   accepts the targets "stdout" and "stderr" and fails with NRC_FAILURE for
   any other. */
NAPI void NLogStdoutModuleFuncs(NLogOpenFunc *open, NLogFormatFunc *format, NLogWriteFunc *write);

N_END_DECLS

#endif /* TARVOLK_LOG_STDOUT_H */
