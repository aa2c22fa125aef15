// Entering and leaving the library: the load-time constructor and
// destructor, NInitialise and NShutdown.
#include <tarvolk/shlib.h>

#include <tarvolk/nversion.h>

#include <atomic>
#include <clocale>
#include <cstdio>
#include <cstdlib>

#include <pthread.h>

#include "frame/log.h"
#include "frame/retcode.h"
#include "frame/shlib.h"
#include "net/socket.h"
#include "threads/mt.h"

// The library's revision line.
extern "C" const char *const _libtarvolk_revision = NLIBTARVOLK_REVISION;

namespace {

const char *const revision_line = _libtarvolk_revision;

// Set only as the very last step of a fully successful NInitialise.
std::atomic<int32_t> initialised_flag{0};

// Serialises callers of NInitialise. The library expects a single caller
// before other threads exist; the lock only keeps a second one from racing.
pthread_mutex_t initialise_lock = PTHREAD_MUTEX_INITIALIZER;

// The default locale handle, alive for the whole process.
NI18nLocale process_locale = nullptr;

void set_process_locale()
{
    (void)std::setlocale(LC_ALL, "");
}

bool shlib_load_debug()
{
    return std::getenv("NDE_SHLIB_LOAD_DEBUG") != nullptr;
}

} // namespace

// The pointer given to NInitialise, kept as it is (see services.cpp).
namespace tvk {
extern std::atomic<const char *> application_name;
}

extern "C" {

NI18nCatalog libtarvolk_catalog = nullptr;

// Load time: print first, then register the revision line.
void _libtarvolk_init(void)
{
    if (shlib_load_debug())
        std::fprintf(stderr, "%s %s\n", revision_line, "**LOADED**");
    NVersionInfoRegister(revision_line);
}

// Unload time: unregister first, then print.
void _libtarvolk_fini(void)
{
    NVersionInfoUnregister(revision_line);
    tvk::version_info_release_if_empty();
    if (shlib_load_debug())
        std::fprintf(stderr, "%s %s\n", revision_line, "**UNLOADED**");
}

} // extern "C"

namespace {

__attribute__((constructor)) void library_loaded()
{
    _libtarvolk_init();
}

__attribute__((destructor)) void library_unloaded()
{
    _libtarvolk_fini();
}

} // namespace

namespace tvk {

InitSteps default_init_steps()
{
    return InitSteps{
        set_process_locale,
        NI18nInitialize,
        NI18nLocaleCreate,
        NI18nCatalogOpen,
        _NRCInitialise,
        _NMTInitialise,
        _NLogMgrInitialise,
        _NSocketInitialise,
    };
}

InitSteps init_steps = default_init_steps();

bool initialised()
{
    return initialised_flag.load(std::memory_order_acquire) != 0;
}

NI18nLocale default_locale()
{
    return process_locale;
}

} // namespace tvk

namespace {

NRC run_initialise(const char *application_name, const char *log_destination)
{
    const tvk::InitSteps &steps = tvk::init_steps;

    tvk::application_name.store(application_name, std::memory_order_release);
    steps.set_locale();

    NRC rc = steps.i18n_initialize();
    if (rc != 0)
        goto register_codes_without_catalog;

    {
        NI18nLocale locale = nullptr;
        rc = steps.locale_create(nullptr, nullptr, nullptr, nullptr, &locale);
        if (rc != 0)
            goto register_codes_without_catalog;
        // A repeated call makes a new handle; the old one carries nothing
        // and nothing refers to it.
        if (process_locale != nullptr && locale != process_locale)
            NI18nLocaleDestroy(process_locale);
        process_locale = locale;
    }

    {
        // Its result is not looked at. A catalog opened by an earlier, failed
        // call stays in place: the return code tables may already refer to
        // it, and the new one holds the same code.
        NI18nCatalog catalog = nullptr;
        (void)steps.catalog_open(process_locale, "libtarvolk", &catalog);
        if (libtarvolk_catalog == nullptr)
            libtarvolk_catalog = catalog;
        else if (catalog != nullptr)
            NI18nCatalogClose(catalog);
    }

    rc = steps.rc_initialise(libtarvolk_catalog);
    if (rc != 0)
        goto register_codes_without_catalog;

    rc = steps.mt_initialise();
    if (rc != 0)
        return rc;
    rc = steps.logmgr_initialise(log_destination);
    if (rc != 0)
        return rc;
    rc = steps.socket_initialise();
    if (rc != 0)
        return rc;

    initialised_flag.store(1, std::memory_order_release);
    return 0;

register_codes_without_catalog:
    (void)steps.rc_initialise(nullptr);
    return rc;
}

} // namespace

extern "C" {

NRC NInitialise(const char *application_name, const char *log_destination)
{
    if (tvk::initialised())
        return 0;
    pthread_mutex_lock(&initialise_lock);
    NRC rc = tvk::initialised() ? 0 : run_initialise(application_name, log_destination);
    pthread_mutex_unlock(&initialise_lock);
    return rc;
}

void NShutdown(void)
{
    _NMTShutdown();
    _NSocketShutdown();
}

} // extern "C"
