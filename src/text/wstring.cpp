// The encoding core: the library's encoding setting and the key of the
// threads' converters.
#include "text/wstring.h"

#include <atomic>

#include <pthread.h>

extern "C" {
int32_t n_utf8_enabled = 0;
char n_code_page[N_CODE_PAGE_SIZE] = {};
int32_t utf8enabled_isenabled = 0;
}

namespace {

NThreadDataKey converter_key_value = nullptr;
std::atomic<bool> thr_specific_cnv_initialized{false};
pthread_mutex_t converter_key_lock = PTHREAD_MUTEX_INITIALIZER;

} // namespace

namespace tvk {

NThreadDataKey converter_key()
{
    return thr_specific_cnv_initialized.load(std::memory_order_acquire) ? converter_key_value
                                                                         : nullptr;
}

} // namespace tvk

extern "C" void _NUStringThrSpecificDataInit(void)
{
    if (thr_specific_cnv_initialized.load(std::memory_order_acquire))
        return;
    pthread_mutex_lock(&converter_key_lock);
    if (!thr_specific_cnv_initialized.load(std::memory_order_relaxed) &&
        NThreadDataKeyCreate(&converter_key_value) == 0)
        thr_specific_cnv_initialized.store(true, std::memory_order_release);
    pthread_mutex_unlock(&converter_key_lock);
}
