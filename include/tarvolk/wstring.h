/*
 * tarvolk/wstring.h - the encoding core: the library's encoding setting.
 */
#ifndef TARVOLK_WSTRING_H
#define TARVOLK_WSTRING_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

/* Size of n_code_page, terminator included. */
#define N_CODE_PAGE_SIZE 60

/* 1 once an encoding has been set (NI18nSetEncoding), else 0. */
extern NAPI int32_t n_utf8_enabled;
/* The encoding's name, zero-terminated. */
extern NAPI char n_code_page[N_CODE_PAGE_SIZE];
/* A word for client code; the library neither writes nor reads it. */
extern NAPI int32_t utf8enabled_isenabled;

N_END_DECLS

#endif /* TARVOLK_WSTRING_H */
