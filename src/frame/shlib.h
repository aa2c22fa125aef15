// Internal interface of the library's entry: the steps of NInitialise.
#pragma once

#include <tarvolk/common.h>
#include <tarvolk/i18n.h>

namespace tvk {

// The subsystem steps of NInitialise, in the order in which it runs them.
// They point at the subsystems' entry points; tests replace them to watch
// the order and to make a step fail.
struct InitSteps {
    void (*set_locale)();
    NRC (*i18n_initialize)();
    NRC (*locale_create)(const char *, const char *, const char *, const char *,
                         NI18nLocale *);
    NRC (*catalog_open)(NI18nLocale, const char *, NI18nCatalog *);
    NRC (*rc_initialise)(NI18nCatalog);
    NRC (*mt_initialise)();
    NRC (*logmgr_initialise)(const char *);
    NRC (*socket_initialise)();
};

extern InitSteps init_steps;

// The steps as the library ships them.
InitSteps default_init_steps();

// 1 once NInitialise has succeeded.
bool initialised();

// The default locale handle made by NInitialise (null before).
NI18nLocale default_locale();

// Frees the version list if no line is left in it (at unload, when the
// list would otherwise outlive the library's code).
void version_info_release_if_empty();

} // namespace tvk

extern "C" {
extern const char *const _libtarvolk_revision;
void _libtarvolk_init(void);
void _libtarvolk_fini(void);
}
