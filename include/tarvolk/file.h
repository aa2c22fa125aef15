/*
 * tarvolk/file.h - file services.
 */
#ifndef TARVOLK_FILE_H
#define TARVOLK_FILE_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

/* 1 if path names an existing file (access with mode 0), else 0. A dangling
   symbolic link does not exist. */
NAPI int NFileExists(const char *path);

N_END_DECLS

#endif /* TARVOLK_FILE_H */
