// Internal interface of the encoding core.
#pragma once

#include <tarvolk/thr.h>
#include <tarvolk/wstring.h>

extern "C" {
// Creates the key of the threads' converters, once.
void _NUStringThrSpecificDataInit(void);
}

namespace tvk {
// The key of the threads' converters, once it exists (null before).
NThreadDataKey converter_key();
} // namespace tvk
