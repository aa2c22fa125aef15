// Internal interface of the internationalisation frame.
#pragma once

#include <tarvolk/i18n.h>
#include <tarvolk/thr.h>

extern "C" {
// open(2); the byte order mark option has no effect on this platform.
int _NI18nOpenWithBOMOption(const char *path, int flags, mode_t permission, int option);
}

namespace tvk {

// Thread data keys of the date and time text layer, made by
// NI18nInitialize (null before).
extern NThreadDataKey date_key;
extern NThreadDataKey cal_key;
extern NThreadDataKey format_key;

// 1 once NI18nInitialize has run.
bool i18n_initialised();

// A row of the table of known catalogs.
struct CatalogMapRow {
    const char *name;
    const char *code;
};

// The table of known catalogs, ended by a row of nulls.
extern const CatalogMapRow catalog_map[];

} // namespace tvk
