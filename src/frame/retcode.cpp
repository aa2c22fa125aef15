// Return codes: the library's table, the table of tables and NRCToString.
#include <tarvolk/retcode.h>

#include <tarvolk/thr.h>

#include <atomic>
#include <cstdio>
#include <cstring>

#include <netdb.h>
#include <pthread.h>

#include "frame/retcode.h"

namespace {

#define N_RC_ROW(name, code, set, number, text) {(code), (set), (number), (text)},
const NRCTableEntry libtarvolk_nrc_table[] = {N_RC_TABLE(N_RC_ROW)};
#undef N_RC_ROW

static_assert(sizeof libtarvolk_nrc_table / sizeof libtarvolk_nrc_table[0] == N_RC_TABLE_ROWS,
              "the library's table has 92 rows");

struct NRCTableRef {
    NI18nCatalog catalog;
    int32_t count;
    const NRCTableEntry *rows;
};

// Slots are written before n_tables is raised past them, so readers that
// load n_tables see complete slots. Writers are serialised by table_lock.
NRCTableRef nrc_table[NRC_MAX_TABLES];
std::atomic<int32_t> n_tables{0};
pthread_mutex_t table_lock = PTHREAD_MUTEX_INITIALIZER;

// Format of the text of unknown codes, with one %d.
constexpr size_t unknown_error_size = 1024;
char unknown_error[unknown_error_size];
constexpr const char *unknown_error_default = "Unknown error %d";

std::atomic<bool> rc_initialised{false};
pthread_mutex_t initialise_lock = PTHREAD_MUTEX_INITIALIZER;

NRC register_table(NI18nCatalog catalog, int32_t count, const NRCTableEntry *rows)
{
    pthread_mutex_lock(&table_lock);
    const int32_t used = n_tables.load(std::memory_order_relaxed);
    NRC rc = NRC_FAILURE;
    if (used < NRC_MAX_TABLES) {
        nrc_table[used] = NRCTableRef{catalog, count, rows};
        n_tables.store(used + 1, std::memory_order_release);
        rc = 0;
    }
    pthread_mutex_unlock(&table_lock);
    return rc;
}

const NRCTableRef *find_row(NRC code, const NRCTableEntry **row)
{
    const int32_t used = n_tables.load(std::memory_order_acquire);
    for (int32_t slot = 0; slot < used; ++slot) {
        const NRCTableRef &table = nrc_table[slot];
        for (int32_t i = 0; i < table.count; ++i) {
            if (table.rows[i].code == code) {
                *row = &table.rows[i];
                return &table;
            }
        }
    }
    return nullptr;
}

} // namespace

namespace tvk {

int32_t rc_table_count()
{
    return n_tables.load(std::memory_order_acquire);
}

} // namespace tvk

extern "C" {

NRC _NRCInitialise(NI18nCatalog catalog)
{
    if (rc_initialised.load(std::memory_order_acquire))
        return 0;
    pthread_mutex_lock(&initialise_lock);
    NRC rc = 0;
    if (!rc_initialised.load(std::memory_order_relaxed)) {
        rc = register_table(catalog, N_RC_TABLE_ROWS, libtarvolk_nrc_table);
        if (catalog != nullptr)
            NI18nMessageGet(catalog, NI18N_SET_RETURN_CODES, 1, unknown_error_default,
                            unknown_error, sizeof unknown_error);
        else
            std::snprintf(unknown_error, sizeof unknown_error, "%s", unknown_error_default);
        // Set once the table and the unknown text are in place, so that a
        // concurrent first caller never sees them half made.
        rc_initialised.store(true, std::memory_order_release);
    }
    pthread_mutex_unlock(&initialise_lock);
    return rc;
}

NRC NRCRegister(NI18nCatalog catalog, int32_t count, const NRCTableEntry *rows)
{
    if (rows == nullptr && count > 0)
        return NRC_FAILURE;
    return register_table(catalog, count, rows);
}

const char *NRCToString(NRC code)
{
    (void)_NRCInitialise(nullptr);

    if (code >= 1) {
        if (code >= NRC_RESOLVER_FIRST && code <= NRC_RESOLVER_LAST)
            return gai_strerror(code - NRC_RESOLVER_BASE);
        return std::strerror(code);
    }

    NThread *thread = NThreadGetID();
    if (thread == nullptr)
        return "Unknown thread error";
    char *buffer = NThreadGetErrorBuffer(thread);

    const NRCTableEntry *row = nullptr;
    const NRCTableRef *table = find_row(code, &row);
    if (table == nullptr) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
        std::snprintf(buffer, NTHREAD_ERROR_BUFFER_SIZE, unknown_error, code);
#pragma GCC diagnostic pop
    } else if (table->catalog != nullptr) {
        NI18nMessageGet(table->catalog, row->set, row->number, row->text, buffer,
                        NTHREAD_ERROR_BUFFER_SIZE);
    } else {
        std::snprintf(buffer, NTHREAD_ERROR_BUFFER_SIZE, "%s", row->text != nullptr ? row->text : "");
    }
    return buffer;
}

} // extern "C"
