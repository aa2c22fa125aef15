// The product's version texts and the list of revision lines of the loaded
// libraries.
#include <tarvolk/nversion.h>

#include <tarvolk/list.h>
#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>

#include <cstdio>
#include <cstring>

#include <pthread.h>

#include "frame/shlib.h"

namespace {

// A version text: its catalog, message set and number, and the text.
struct VersionString {
    NI18nCatalog *catalog;
    int32_t set;
    int32_t number;
    const char *text;
    char *translated; // heap copy taken from the catalog, if any
};

enum VersionRow {
    row_product_name,
    row_notice,
    row_version,
    row_full_version,
    row_short_code,
    row_library_revisions,
    row_code_revision,
    row_compilation_date,
    row_compilation_machine,
    row_compilation_system,
    row_code_generation,
    row_banner,
    row_revision_line,
    row_assertions,
    row_debug,
    row_production,
    row_count
};

VersionString version_strings[row_count] = {
    {&libtarvolk_version_catalog, 1, 1, "Tarvolk/Zimbrel", nullptr},
    {&libtarvolk_version_catalog, 1, 2,
     "Copyright (c) 2026 the Tarvolk authors. All rights reserved.", nullptr},
    {&libtarvolk_version_catalog, 1, 3, "8.1.0", nullptr},
    {&libtarvolk_version_catalog, 1, 4, "Version 8.1.0", nullptr},
    {&libtarvolk_version_catalog, 1, 5, "TVK", nullptr},
    {&libtarvolk_catalog, 4, 53, "Library Revisions:\n", nullptr},
    {&libtarvolk_catalog, 4, 9, "Code Revision: %s\n", nullptr},
    {&libtarvolk_catalog, 4, 10, "Compilation Date: %s\n", nullptr},
    {&libtarvolk_catalog, 4, 11, "Compilation Machine: %s\n", nullptr},
    {&libtarvolk_catalog, 4, 12, "Compilation System: %s\n", nullptr},
    {&libtarvolk_catalog, 4, 13, "Code Generation: ", nullptr},
    {&libtarvolk_catalog, 4, 54, "\n%s %s %s\n\n%s\n\n", nullptr},
    {&libtarvolk_catalog, 4, 55, "\t%s\n", nullptr},
    {&libtarvolk_catalog, 4, 56, "ASSERTIONS ", nullptr},
    {&libtarvolk_catalog, 4, 57, "DEBUG\n", nullptr},
    {&libtarvolk_catalog, 4, 58, "PRODUCTION\n", nullptr},
};

const char *row_text(VersionRow row)
{
    const VersionString &entry = version_strings[row];
    return entry.translated != nullptr ? entry.translated : entry.text;
}

// The revision lines, as list items holding the text. Libraries register
// and unregister from their load and unload, which may happen in any
// thread; the lock keeps those calls apart.
NList *version_info_list = nullptr;
pthread_mutex_t version_info_lock = PTHREAD_MUTEX_INITIALIZER;

struct VersionInfoLock {
    VersionInfoLock() { pthread_mutex_lock(&version_info_lock); }
    ~VersionInfoLock() { pthread_mutex_unlock(&version_info_lock); }
    VersionInfoLock(const VersionInfoLock &) = delete;
    VersionInfoLock &operator=(const VersionInfoLock &) = delete;
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
// Writes the revision line in the form of its row ("\t%s\n") into buffer
// (of size bytes, may be null with 0) and returns the length of the whole
// entry, or a negative value on error.
int revision_entry(char *buffer, size_t size, const char *line)
{
    return std::snprintf(buffer, size, row_text(row_revision_line), line);
}

void print_revision_entry(const char *line)
{
    std::fprintf(stderr, row_text(row_revision_line), line);
}
#pragma GCC diagnostic pop

} // namespace

extern "C" {

NI18nCatalog libtarvolk_version_catalog = nullptr;

void NVersionInfoRegister(const char *line)
{
    if (line == nullptr)
        return;
    VersionInfoLock guard;
    if (version_info_list == nullptr) {
        version_info_list = NListCreateWith(n_malloc);
        if (version_info_list == nullptr)
            return;
    }
    const size_t size = std::strlen(line) + 1;
    auto *copy = static_cast<char *>(NListAlloc(size));
    if (copy == nullptr)
        return;
    std::memcpy(copy, line, size);
    NListInsertAfter(version_info_list, copy, NListTail(version_info_list));
}

void NVersionInfoUnregister(const char *line)
{
    if (line == nullptr)
        return;
    VersionInfoLock guard;
    if (version_info_list == nullptr)
        return;
    for (void *item = NListFirst(version_info_list); item != nullptr; item = NListNext(item)) {
        if (std::strcmp(static_cast<const char *>(item), line) == 0) {
            NListDelete(version_info_list, item);
            NListFree(item);
            return;
        }
    }
}

void NVersionInfoPrint(void)
{
    VersionInfoLock guard;
    if (version_info_list == nullptr)
        return;
    std::fputs(row_text(row_library_revisions), stderr);
    for (void *item = NListFirst(version_info_list); item != nullptr; item = NListNext(item))
        print_revision_entry(static_cast<const char *>(item));
}

NRC NVersionInfoString(char **text)
{
    if (text == nullptr)
        return NRC_FAILURE;
    *text = nullptr;
    VersionInfoLock guard;
    if (version_info_list == nullptr)
        return 0;

    const char *title = row_text(row_library_revisions);
    size_t size = std::strlen(title) + 1;
    for (void *item = NListFirst(version_info_list); item != nullptr; item = NListNext(item)) {
        const int length = revision_entry(nullptr, 0, static_cast<const char *>(item));
        if (length < 0)
            return NRC_FAILURE;
        size += static_cast<size_t>(length);
    }
    auto *result = static_cast<char *>(n_malloc(size));
    if (result == nullptr)
        return 12;
    size_t used = std::strlen(title);
    std::memcpy(result, title, used + 1);
    for (void *item = NListFirst(version_info_list); item != nullptr; item = NListNext(item))
        used += static_cast<size_t>(
            revision_entry(result + used, size - used, static_cast<const char *>(item)));
    *text = result;
    return 0;
}

} // extern "C"

namespace tvk {

void version_info_release_if_empty()
{
    VersionInfoLock guard;
    if (version_info_list != nullptr && NListNumItems(version_info_list) == 0) {
        NListDestroyWith(version_info_list, nullptr, nullptr, n_free);
        version_info_list = nullptr;
    }
}

} // namespace tvk

extern "C" {

NRC _NVersionInitialise(NI18nLocale locale)
{
    NI18nCatalog catalog = nullptr;
    if (NI18nCatalogOpen(locale, "version", &catalog) == 0) {
        if (libtarvolk_version_catalog != nullptr)
            NI18nCatalogClose(libtarvolk_version_catalog);
        libtarvolk_version_catalog = catalog;
    }
    char message[1024];
    // Printing uses these texts as formats under the same lock.
    VersionInfoLock guard;
    for (VersionString &entry : version_strings) {
        NI18nMessageGet(*entry.catalog, entry.set, entry.number, entry.text, message,
                        sizeof message);
        if (std::strcmp(message, row_text(static_cast<VersionRow>(&entry - version_strings))) ==
            0)
            continue;
        char *copy = n_strdup(message);
        if (copy == nullptr)
            continue;
        n_free(entry.translated);
        entry.translated = copy;
    }
    return 0;
}

const char *_n_GetProductName(void)
{
    return row_text(row_product_name);
}

const char *_n_GetNoticeString(void)
{
    return row_text(row_notice);
}

const char *_n_GetVersionString(void)
{
    return row_text(row_version);
}

const char *_n_GetFullVersionString(void)
{
    return row_text(row_full_version);
}

const char *_n_GetProductDCIName(void)
{
    return row_text(row_short_code);
}

} // extern "C"
