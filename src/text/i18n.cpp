// The internationalisation frame: locales, catalogs, messages, and the
// file, environment and search wrappers.
#include "text/i18n.h"

#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>
#include <tarvolk/wstring.h>

#include <atomic>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "text/wstring.h"

struct NI18nLocaleRec {
    int32_t unused;
};

struct NI18nCatalogRec {
    char code[4];
};

namespace tvk {

NThreadDataKey date_key = nullptr;
NThreadDataKey cal_key = nullptr;
NThreadDataKey format_key = nullptr;

// The catalogs of the product family and the codes they log under. The
// library's own catalog, "libtarvolk", logs as TVK.
const CatalogMapRow catalog_map[] = {
    {"libtarvolk", "tvk"},
    {"libtarvolk_r", "tvk"},
    {"libtvkcrypt", "kce"},
    {"version", "ver"},
    {"ipv6_r", "ip6"},
    {"ipv4_r", "ip4"},
    {"zimbrel", "zim"},
    {"zimbrel_server", "zsv"},
    {"zimbrel_gateway", "zgw"},
    {"zimbrel_probe", "zpb"},
    {"tvk_server", "srv"},
    {"tvk_gateway", "gwy"},
    {"tvk_probe", "prb"},
    {"tvk_monitor", "mon"},
    {"tvk_tsm", "tsm"},
    {"tvk_agent", "agt"},
    {"tvk_proxy", "prx"},
    {"tvk_admin", "adm"},
    {"tvk_config", "cfg"},
    {"tvk_console", "con"},
    {"tvk_import", "imp"},
    {"tvk_export", "exp"},
    {"tvk_rules", "rul"},
    {"tvk_scheduler", "sch"},
    {"tvk_keytool", "key"},
    {"tvk_pidmgr", "pid"},
    {"tvk_http", "htp"},
    {"tvk_snmp", "snm"},
    {"tvk_syslog", "slg"},
    {"tvk_mail", "mal"},
    {"tvk_sql", "sql"},
    {"tvk_ldap", "ldp"},
    {"tvp_ui", "ui"},
    {"tvp_scripting", "scr"},
    {"tvp_reports", "rpt"},
    {"libnsock", "nsk"},
    {"libnregexp", "rgx"},
    {"libnmodule", "mod"},
    {nullptr, nullptr},
};

} // namespace tvk

namespace {

std::atomic<int32_t> i18n_initialised_flag{0};

// Makes a key unless an earlier call already made it; 0 or the failure.
NRC create_key(NThreadDataKey *key)
{
    if (*key != nullptr)
        return 0;
    return NThreadDataKeyCreate(key);
}

const char *mapped_code(const char *name)
{
    for (const tvk::CatalogMapRow *row = tvk::catalog_map; row->name != nullptr; ++row) {
        if (std::strcmp(row->name, name) == 0)
            return row->code;
    }
    return nullptr;
}

const char *code_from_name(const char *name)
{
    for (const char *prefix : {"tvk_", "tvp_", "libn"}) {
        const size_t length = std::strlen(prefix);
        if (std::strncmp(name, prefix, length) == 0)
            return name + length;
    }
    return name;
}

} // namespace

namespace tvk {

bool i18n_initialised()
{
    return i18n_initialised_flag.load(std::memory_order_acquire) != 0;
}

} // namespace tvk

extern "C" {

// ---- frame ----

NRC NI18nInitialize(void)
{
    _NUStringThrSpecificDataInit();
    i18n_initialised_flag.store(1, std::memory_order_release);
    NRC rc = create_key(&tvk::date_key);
    if (rc == 0)
        rc = create_key(&tvk::cal_key);
    if (rc == 0)
        rc = create_key(&tvk::format_key);
    return rc;
}

NRC NI18nShutdown(void)
{
    return 0;
}

NRC NI18nLocaleCreate(const char *language, const char *country, const char *variant,
                      const char *keywords, NI18nLocale *result)
{
    (void)language;
    (void)country;
    (void)variant;
    (void)keywords;
    if (result == nullptr)
        return NRC_FAILURE;
    *result = static_cast<NI18nLocale>(n_calloc(1, sizeof(NI18nLocaleRec)));
    return 0;
}

NRC NI18nLocaleDestroy(NI18nLocale locale)
{
    n_free(locale);
    return 0;
}

NRC NI18nSetEncoding(const char *encoding)
{
    if (encoding == nullptr || n_utf8_enabled != 0)
        return 0;
    const size_t length = std::strlen(encoding);
    if (length >= sizeof n_code_page)
        return 0;
    std::memcpy(n_code_page, encoding, length + 1);
    n_utf8_enabled = 1;
    return 0;
}

NRC NEnablePropUTF8Enabled(void)
{
    return 0;
}

// ---- catalogs and messages ----

NRC NI18nCatalogOpen(NI18nLocale locale, const char *name, NI18nCatalog *result)
{
    if (result == nullptr)
        return NRC_FAILURE;
    *result = nullptr;
    if (!tvk::i18n_initialised() || name == nullptr)
        return NRC_FAILURE;
    if (locale == nullptr)
        return NRC_I18N_GLOBAL_LOCALE;
    auto *catalog = static_cast<NI18nCatalog>(n_calloc(1, sizeof(NI18nCatalogRec)));
    if (catalog == nullptr)
        return 12;

    const char *code = mapped_code(name);
    if (code == nullptr)
        code = code_from_name(name);
    size_t i = 0;
    for (; i < 3 && code[i] != '\0'; ++i)
        catalog->code[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(code[i])));
    catalog->code[i] = '\0';

    *result = catalog;
    return 0;
}

NRC NI18nCatalogClose(NI18nCatalog catalog)
{
    n_free(catalog);
    return 0;
}

NRC NI18nMessageGet(NI18nCatalog catalog, int32_t set, int32_t number, const char *default_text,
                    char *buffer, size_t size)
{
    if (buffer == nullptr || size == 0)
        return NRC_FAILURE;
    const char *source = default_text != nullptr ? default_text : "";
    if (catalog != nullptr && set == NI18N_SET_CATALOG_CODE && number == 1)
        source = catalog->code;
    std::strncpy(buffer, source, size);
    buffer[size - 1] = '\0';
    return 0;
}

// ---- files, environment and search ----

FILE *NI18nFopen(const char *path, const char *mode)
{
    return std::fopen(path, mode);
}

FILE *NI18nFreopen(const char *path, const char *mode, FILE *stream)
{
    return std::freopen(path, mode, stream);
}

int _NI18nOpenWithBOMOption(const char *path, int flags, mode_t permission, int option)
{
    (void)option;
    return open(path, flags, permission);
}

int NI18nOpen(const char *path, int flags, mode_t permission)
{
    return _NI18nOpenWithBOMOption(path, flags, permission, 1);
}

int NI18nOpenKeepBOM(const char *path, int flags, mode_t permission)
{
    return _NI18nOpenWithBOMOption(path, flags, permission, 0);
}

int NI18nBOMCount(void)
{
    return 0;
}

int NI18nRemove(const char *path)
{
    return std::remove(path);
}

int NI18nRename(const char *old_path, const char *new_path)
{
    return std::rename(old_path, new_path);
}

int NI18nUnlink(const char *path)
{
    return unlink(path);
}

int NI18nStat(const char *path, struct stat *info)
{
    return stat(path, info);
}

int NI18nMkdir(const char *path, mode_t permission)
{
    return mkdir(path, permission);
}

int NI18nAccess(const char *path, int mode)
{
    return access(path, mode);
}

char *NI18nRealPath(char *resolved, const char *path)
{
    return realpath(path, resolved);
}

char *NI18nGetenv(const char *name)
{
    return std::getenv(name);
}

void NI18nFreeenv(char *text)
{
    (void)text;
}

int NI18nPutenv(char *text)
{
    return putenv(text);
}

NRC NI18nStrstr(NI18nLocale locale, const char *text, const char *part, char **result)
{
    (void)locale;
    if (result == nullptr)
        return NRC_FAILURE;
    *result = nullptr;
    if (text == nullptr || part == nullptr)
        return NRC_FAILURE;
    *result = const_cast<char *>(std::strstr(text, part));
    return 0;
}

NRC NI18nTempnam(char **result)
{
    if (result == nullptr)
        return NRC_FAILURE;
    *result = nullptr;
    char *name = tempnam(nullptr, "tarv");
    if (name == nullptr)
        return NRC_FAILURE;
    *result = n_strdup(name);
    std::free(name);
    return *result == nullptr ? NRC_FAILURE : 0;
}

// ---- environment accessors ----

const char *NEnvGet(const char *name)
{
    if (name == nullptr)
        return nullptr;
    return NI18nGetenv(name);
}

void NEnvFree(const char *value)
{
    (void)value;
}

int NEnvIsSet(const char *name)
{
    return NEnvGet(name) != nullptr ? 1 : 0;
}

const char *NEnvGetWithDefault(const char *name, const char *default_text)
{
    const char *value = NEnvGet(name);
    if (value != nullptr)
        return value;
    return default_text != nullptr ? n_strdup(default_text) : nullptr;
}

NRC NEnvSet(const char *name, const char *value)
{
    if (name == nullptr || value == nullptr || name[0] == '\0' ||
        std::strchr(name, '=') != nullptr)
        return NRC_FAILURE;
    const size_t name_length = std::strlen(name);
    const size_t value_length = std::strlen(value);
    // The block becomes part of the environment and is never freed.
    auto *entry = static_cast<char *>(n_malloc(name_length + value_length + 2));
    if (entry == nullptr)
        return 12;
    std::memcpy(entry, name, name_length);
    entry[name_length] = '=';
    std::memcpy(entry + name_length + 1, value, value_length + 1);
    if (NI18nPutenv(entry) != 0) {
        const int error = errno;
        n_free(entry);
        return error != 0 ? error : NRC_FAILURE;
    }
    return 0;
}

} // extern "C"
