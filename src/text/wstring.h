// Internal interface of the encoding core, shared by the text units.
#pragma once

#include <tarvolk/log.h>
#include <tarvolk/retcode.h>
#include <tarvolk/thr.h>
#include <tarvolk/wstring.h>

#include <cstdint>
#include <limits>

#include <unicode/ucnv.h>
#include <unicode/utypes.h>

namespace tvk {

// The key of the threads' converters, once it exists (null before).
NThreadDataKey converter_key();

namespace text {

inline constexpr int64_t max_size = std::numeric_limits<int32_t>::max();

// NUChar and ICU's UChar are the same type under two names.
inline UChar *uc(NUChar *text) { return reinterpret_cast<UChar *>(text); }
inline const UChar *uc(const NUChar *text) { return reinterpret_cast<const UChar *>(text); }

// Units of a UTF-16 text before its terminator (as u_strlen, eight units at
// a time), at most INT32_MAX.
int32_t length(const NUChar *text);

// A result of ICU that is no usable text: a failure, or a buffer filled to
// the last unit with no room for the terminator.
inline bool failed(UErrorCode error)
{
    return U_FAILURE(error) || error == U_STRING_NOT_TERMINATED_WARNING;
}

// The common start of an operation with a result: clears the result and
// tells whether the call must be refused, for a null result or a null
// argument.
template <typename Result, typename... Arguments>
inline bool refused(Result **result, const Arguments *...arguments)
{
    if (result == nullptr)
        return true;
    *result = nullptr;
    return ((arguments == nullptr) || ...);
}

// A message of the text layer: set 102 of the library's catalog, debug
// flag 1.
void log(NLogLevel level, int32_t number, const char *format, ...) N_PRINTF(3, 4);

// The first steps of decoding text to UTF-16 at 2 units a byte: the calling
// thread's converter and the text's length in bytes. 0, the converter's
// code, or NRC_STRING_TOO_LONG when 2 x bytes + 1 doesn't fit an int32_t.
NRC prepare_to_utf16(const char *text, UConverter **converter, size_t *bytes);

// The calling thread's converter with its to-Unicode side reset, for a walk
// with ucnv_getNextUChar; null if there is none.
UConverter *walking_converter();

// Name of the converter of the process's locale: its code set when ICU
// knows it, else null (ICU's default).
const char *locale_converter_name();

} // namespace text
} // namespace tvk
