// Sort keys: byte strings whose memcmp order is the default locale's
// collation order.
#include <tarvolk/sortkey.h>

#include "text/wstring.h"

#include <tarvolk/mem.h>

#include <cstring>

#include <unicode/ucol.h>
#include <unicode/uloc.h>

using tvk::text::max_size;

extern "C" {

NRC NSortKeyCreate(NSortKeyContext **context, int32_t case_order)
{
    if (context == nullptr)
        return NRC_FAILURE;
    *context = nullptr;
    auto *made = static_cast<NSortKeyContext *>(n_calloc(1, sizeof(NSortKeyContext)));
    if (made == nullptr)
        return 12;
    const NRC rc = _NUStringGetConverter(&made->converter);
    if (rc != 0) {
        n_free(made);
        tvk::text::log(NLOG_ERROR, 21,
                       "Failed to open ICU converter, error code '%d' error message '%s'", rc,
                       NRCToString(rc));
        return NRC_TEXT_SORTKEY_CONVERTER;
    }
    UErrorCode error = U_ZERO_ERROR;
    made->collator = ucol_open(uloc_getDefault(), &error);
    if (U_FAILURE(error)) {
        n_free(made);
        tvk::text::log(NLOG_ERROR, 22,
                       "Failed to open ICU collator, error code '%d' error message '%s'",
                       static_cast<int>(error), u_errorName(error));
        return NRC_TEXT_COLLATOR_OPEN;
    }
    const UColAttributeValue order = case_order == NSORTKEY_UPPER_FIRST   ? UCOL_UPPER_FIRST
                                     : case_order == NSORTKEY_LOWER_FIRST ? UCOL_LOWER_FIRST
                                                                          : UCOL_OFF;
    error = U_ZERO_ERROR;
    ucol_setAttribute(made->collator, UCOL_CASE_FIRST, order, &error);
    *context = made;
    return 0;
}

NRC NSortKeyGenerate(NSortKeyContext *context, const char *text, uint8_t *buffer, int32_t size,
                     int32_t *length)
{
    if (context == nullptr || context->converter == nullptr || context->collator == nullptr)
        return NRC_SORTKEY_BAD_CONTEXT;
    if (text == nullptr || length == nullptr || size < 0 || (buffer == nullptr && size > 0))
        return NRC_FAILURE;
    const size_t bytes = std::strlen(text);
    const uint64_t scratch_size = static_cast<uint64_t>(bytes) * 4 + 4;
    if (scratch_size > static_cast<uint64_t>(max_size))
        return NRC_STRING_TOO_LONG;
    auto *scratch = static_cast<UChar *>(n_malloc(scratch_size));
    if (scratch == nullptr)
        return 12;
    UErrorCode error = U_ZERO_ERROR;
    ucnv_toUChars(context->converter, scratch, static_cast<int32_t>(scratch_size / sizeof(UChar)),
                  text, static_cast<int32_t>(bytes), &error);
    if (tvk::text::failed(error)) {
        n_free(scratch);
        return NRC_TEXT_SORTKEY_CONVERT;
    }
    *length = ucol_getSortKey(context->collator, scratch, -1, buffer, size);
    n_free(scratch);
    return 0;
}

void NSortKeyDestroy(NSortKeyContext *context)
{
    if (context == nullptr)
        return;
    ucol_close(context->collator);
    n_free(context);
}

} // extern "C"
