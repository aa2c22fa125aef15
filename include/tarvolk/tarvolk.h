/*
 * tarvolk/tarvolk.h - the whole public interface of libtarvolk_r.
 */
#ifndef TARVOLK_TARVOLK_H
#define TARVOLK_TARVOLK_H

#include <tarvolk/bsearch.h>
#include <tarvolk/buffer.h>
#include <tarvolk/common.h>
#include <tarvolk/convert.h>
#include <tarvolk/crypt.h>
#include <tarvolk/debug.h>
#include <tarvolk/dhash.h>
#include <tarvolk/event.h>
#include <tarvolk/file.h>
#include <tarvolk/gate.h>
#include <tarvolk/hashlist.h>
#include <tarvolk/hashtable.h>
#include <tarvolk/i18n.h>
#include <tarvolk/incralloc.h>
#include <tarvolk/list.h>
#include <tarvolk/lmutex.h>
#include <tarvolk/log.h>
#include <tarvolk/log_stdout.h>
#include <tarvolk/mem.h>
#include <tarvolk/mutex.h>
#include <tarvolk/nversion.h>
#include <tarvolk/once.h>
#include <tarvolk/qsort.h>
#include <tarvolk/rbtree.h>
#include <tarvolk/regexp.h>
#include <tarvolk/retcode.h>
#include <tarvolk/retcode_table.h>
#include <tarvolk/semaph.h>
#include <tarvolk/services.h>
#include <tarvolk/shlib.h>
#include <tarvolk/sortkey.h>
#include <tarvolk/stopwatch.h>
#include <tarvolk/string.h>
#include <tarvolk/thr.h>
#include <tarvolk/time.h>
#include <tarvolk/timeval.h>
#include <tarvolk/tree.h>
#include <tarvolk/wstring.h>

#endif /* TARVOLK_TARVOLK_H */
