// The log manager: the level table, the filter and the composition of a
// message, the default module, the choice of a destination module, log
// handles, the log header and the debug facilities.
//
// Everything process-wide here is plain static data without destructors:
// the log must keep working while the process exits, after static objects
// may already be gone. Only the module's write is serialised; a message is
// composed in the caller's thread on its own buffers. The level and the
// function pointers of a log are read without the lock, so they are loaded
// and stored as relaxed atomics (a plain move on this platform).
#include <tarvolk/log.h>

#include <tarvolk/buffer.h>
#include <tarvolk/hashtable.h>
#include <tarvolk/i18n.h>
#include <tarvolk/list.h>
#include <tarvolk/log_stdout.h>
#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>

#include <atomic>
#include <cctype>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

#include <dlfcn.h>

#include "frame/log.h"

namespace {

// ---- the level table ----

struct LevelRow {
    int32_t set;
    int32_t number;
    const char *name;
    size_t name_length; // 0 until _NLogMgrInitialise fills it
    NLogLevel value;
    char letter;
    bool name_owned; // name is an n_strdup copy from the catalog
};

// The last row ends every scan.
LevelRow level_control[] = {
    {NI18N_SET_LEVEL_NAMES, 1, "fatal", 0, NLOG_FATAL, 'F', false},
    {NI18N_SET_LEVEL_NAMES, 2, "error", 0, NLOG_ERROR, 'E', false},
    {NI18N_SET_LEVEL_NAMES, 3, "warn", 0, NLOG_WARN, 'W', false},
    {NI18N_SET_LEVEL_NAMES, 4, "info", 0, NLOG_INFO, 'I', false},
    {NI18N_SET_LEVEL_NAMES, 5, "debug", 0, NLOG_DEBUG, 'D', false},
    {NI18N_SET_LEVEL_NAMES, 6, "unknown!", 0, NLOG_UNKNOWN, 'U', false},
};

// Before the table is filled the names' own lengths serve, so that a level
// text read before NInitialise still parses.
size_t name_length(const LevelRow &row)
{
    return row.name_length != 0 ? row.name_length : std::strlen(row.name);
}

// The first row (fatal to debug) whose name is a prefix of text, ignoring
// case; null if none.
const LevelRow *match_level(const char *text)
{
    if (text == nullptr)
        return nullptr;
    for (const LevelRow &row : level_control) {
        if (row.value == NLOG_UNKNOWN)
            break;
        if (strncasecmp(text, row.name, name_length(row)) == 0)
            return &row;
    }
    return nullptr;
}

char level_letter(NLogLevel level)
{
    for (const LevelRow &row : level_control) {
        if (row.value == NLOG_UNKNOWN)
            break;
        if (row.value == level)
            return row.letter;
    }
    return 'X';
}

// ---- relaxed access to the fields read outside the lock ----

template <typename T> T load(T &field)
{
    return std::atomic_ref<T>(field).load(std::memory_order_relaxed);
}

template <typename T> void store(T &field, T value)
{
    std::atomic_ref<T>(field).store(value, std::memory_order_relaxed);
}

void set_default_functions(NLogFile &log)
{
    store(log.open, &_NLogDefaultOpen);
    store(log.format, &_NLogDefaultFormat);
    store(log.write, &_NLogDefaultWrite);
    store(log.close, &_NLogDefaultClose);
    store(log.module_handle, static_cast<void *>(nullptr));
}

// ---- process-wide state ----

constexpr NLogLevel start_level = NLOG_WARN;

} // namespace

// The process-wide log, usable before NInitialise: standard error without a
// lock. It has a plain C name because the filter of NLog reads its level
// from assembly.
extern "C" __attribute__((visibility("hidden"))) NLogFile _NLogProcessFile;
NLogFile _NLogProcessFile = {nullptr,           start_level,        0,
                             _NLogDefaultOpen,  _NLogDefaultFormat, _NLogDefaultWrite,
                             _NLogDefaultClose, nullptr};

namespace {

NLogFile &log_file = _NLogProcessFile;

// Set once _NLogMgrInitialise has brought the log up.
bool manager_up = false;

NList *header_list = nullptr;

struct DebugFacility {
    char name[NDEBUG_FACILITY_NAME_SIZE + 1]; // lower case; first, as the key
    int32_t value;
    int32_t *variable;
};

NHash *facility_table = nullptr;

// ---- composition ----

constexpr size_t code_size = 8;
constexpr size_t format_size = 1024;

void report_format_error(const char *format, NRC rc)
{
    std::fprintf(stderr, "Log message format error [Msg=%s]. (%d:%s)\n", format, rc,
                 NRCToString(rc));
}

// Prints the identification "L-CCC-SSS-NNN: " into buffer.
NRC print_identification(NBuffer *buffer, NLogLevel level, NI18nCatalog catalog, int32_t set,
                         int32_t number)
{
    char code[code_size];
    NI18nMessageGet(catalog, NI18N_SET_CATALOG_CODE, 1, "UNK", code, sizeof code);
    return nb_sprintf(buffer, "%c-%s-%03d-%03d: ", level_letter(level), code, set, number);
}

// Everything behind the filter. Kept out of line so that the filter of the
// callers stays a few instructions. The message is printed straight behind
// the identification, in the same buffer: one allocation and no copy.
__attribute__((noinline)) NRC compose_and_write(NLogFile *log, NLogLevel level,
                                                NI18nCatalog catalog, int32_t set, int32_t number,
                                                const char *format, va_list args)
{
    if (format == nullptr)
        format = "";
    NBuffer identified;
    nb_init(&identified);
    char text[format_size];
    const char *failed_format = format;
    char *line = nullptr;

    NRC rc = print_identification(&identified, level, catalog, set, number);
    const int32_t identification_length = identified.length;
    if (rc == 0) {
        NI18nMessageGet(catalog, set, number, format, text, sizeof text);
        failed_format = text;
        rc = nb_vsprintf(&identified, text, args);
    }
    if (rc == 0) {
        const char *joined = nb_strval(&identified);
        NLogFormatFunc layout = load(log->format);
        if (layout == nullptr) {
            std::fprintf(stderr, "No log formatter! %s",
                         joined != nullptr ? joined + identification_length : "");
            nb_free(&identified);
            return NRC_FAILURE;
        }
        if (joined == nullptr) {
            std::fputs("NLogToFileAP buffer resize error\n", stderr);
            nb_free(&identified);
            return ENOMEM;
        }
        rc = layout(log, level, catalog, set, number, joined, &line);
        if (rc == 0 && line == nullptr)
            rc = ENOMEM;
    }
    nb_free(&identified);
    if (rc != 0) {
        report_format_error(failed_format, rc);
        n_free(line);
        return rc;
    }

    NMutex *mutex = log->mutex;
    if (mutex != nullptr)
        NMutexLock(mutex);
    rc = load(log->write)(load(log->module_handle), level, line);
    if (mutex != nullptr)
        NMutexUnlock(mutex);
    n_free(line);

    if (level == NLOG_FATAL && load(log->fatal_does_not_exit) == 0)
        std::exit(1);
    return rc;
}

// The filter: a dropped message costs two comparisons.
inline bool dropped(const NLogFile &log, NLogLevel level, int32_t debug_flag)
{
    return std::atomic_ref<const NLogLevel>(log.level).load(std::memory_order_relaxed) > level ||
           (level == NLOG_DEBUG && debug_flag == 0);
}

// ---- headers ----

NRC header_add(const char *format, va_list args, bool log_now)
{
    NMutexLock(log_file.mutex);
    NRC rc = 0;
    if (header_list != nullptr) {
        NBuffer buffer;
        nb_init(&buffer);
        const char *text = nullptr;
        if (format != nullptr && nb_vsprintf(&buffer, format, args) == 0)
            text = nb_strval(&buffer);
        if (text == nullptr) {
            rc = ENOMEM;
        } else {
            const size_t size = std::strlen(text) + 1;
            auto *node = static_cast<char *>(NListAlloc(size));
            if (node == nullptr) {
                rc = NRC_FAILURE;
            } else {
                std::memcpy(node, text, size);
                if (log_now)
                    NLogLog(NLOG_DEBUG, 1, nullptr, NI18N_SET_DEBUG, 0, "%s", node);
                NListInsertAfter(header_list, node, NListTail(header_list));
            }
        }
        nb_free(&buffer);
    }
    NMutexUnlock(log_file.mutex);
    return rc;
}

// ---- debug facilities ----

int compare_facility(const void *a, const void *b, void *)
{
    return std::strcmp(static_cast<const char *>(a), static_cast<const char *>(b));
}

uint32_t hash_facility(const void *key, void *)
{
    return NHashString2(key);
}

bool make_facility_table()
{
    if (facility_table == nullptr)
        facility_table = NHashCreateWith(n_malloc, 127, hash_facility, nullptr, compare_facility,
                                         nullptr);
    return facility_table != nullptr;
}

// Lower-cases name into key, cut to the longest name kept.
void facility_key(const char *name, char (&key)[NDEBUG_FACILITY_NAME_SIZE + 1])
{
    size_t i = 0;
    for (; i < NDEBUG_FACILITY_NAME_SIZE && name[i] != '\0'; ++i)
        key[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(name[i])));
    key[i] = '\0';
}

bool is_blank(char c)
{
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

// Whether name stands in selection as a word: begun by the start of the
// text, whitespace or "!", ended by the end, whitespace or a comma.
bool facility_selected(const char *selection, const char *name)
{
    const size_t length = std::strlen(name);
    if (length == 0)
        return false;
    for (const char *at = std::strstr(selection, name); at != nullptr;
         at = std::strstr(at + 1, name)) {
        const bool begins = at == selection || is_blank(at[-1]) || at[-1] == '!';
        const char after = at[length];
        const bool ends = after == '\0' || is_blank(after) || after == ',';
        if (begins && ends)
            return true;
    }
    return false;
}

NRC bring_log_up(const char *destination);

struct BuiltinFacility {
    const char *name;
    int32_t *variable;
};

} // namespace

extern "C" {

int32_t libtarvolk_arg_mgr_debug = 0;
int32_t libtarvolk_cb_mgr_debug = 0;
int32_t libtarvolk_clock_debug = 0;
int32_t libtarvolk_prop_mgr_debug = 0;
int32_t libtarvolk_module_debug = 0;
int32_t libtarvolk_signal_debug = 0;
int32_t libtarvolk_thread_debug = 0;
int32_t libtarvolk_timer_debug = 0;

// ---- writing ----

#if defined(__x86_64__)

// NLog and NLogLog are one entry point. A dropped message must cost no more
// than an empty call, which a variadic C++ function can't give: its prologue
// saves the argument registers for va_start before any test can run. The
// entry therefore filters in assembly, touching neither the stack nor the
// arguments, and jumps on with every register as it came to _NLogPass,
// which has the same signature and does the rest. The common drop, by level,
// takes no branch.
static_assert(offsetof(NLogFile, level) == 8, "the entry below reads the level at offset 8");
asm(R"(
    .text
    .globl  NLog
    .type   NLog, @function
    .globl  NLogLog
    .type   NLogLog, @function
    .p2align 4
NLog:
NLogLog:
    .cfi_startproc
    cmpl    _NLogProcessFile+8(%rip), %edi
    jae     1f
    xorl    %eax, %eax
    ret
1:  cmpl    $1, %edi
    jne     _NLogPass
    testl   %esi, %esi
    jne     _NLogPass
    xorl    %eax, %eax
    ret
    .cfi_endproc
    .size   NLog, .-NLog
    .size   NLogLog, .-NLogLog
)");

__attribute__((visibility("hidden"))) NRC _NLogPass(NLogLevel level, int32_t debug_flag,
                                                     NI18nCatalog catalog, int32_t set,
                                                     int32_t number, const char *format, ...);

NRC _NLogPass(NLogLevel level, int32_t, NI18nCatalog catalog, int32_t set, int32_t number,
              const char *format, ...)
{
    va_list args;
    va_start(args, format);
    const NRC rc = compose_and_write(&log_file, level, catalog, set, number, format, args);
    va_end(args);
    return rc;
}

#else

NRC NLog(NLogLevel level, int32_t debug_flag, NI18nCatalog catalog, int32_t set, int32_t number,
         const char *format, ...)
{
    if (dropped(log_file, level, debug_flag))
        return 0;
    va_list args;
    va_start(args, format);
    const NRC rc = compose_and_write(&log_file, level, catalog, set, number, format, args);
    va_end(args);
    return rc;
}

NRC NLogLog(NLogLevel level, int32_t debug_flag, NI18nCatalog catalog, int32_t set,
            int32_t number, const char *format, ...) __attribute__((alias("NLog")));

#endif

NRC NLogAP(NLogLevel level, int32_t debug_flag, NI18nCatalog catalog, int32_t set,
           int32_t number, const char *format, va_list args)
{
    if (dropped(log_file, level, debug_flag))
        return 0;
    return compose_and_write(&log_file, level, catalog, set, number, format, args);
}

NRC NLogToFile(NLogFile *log, NLogLevel level, int32_t debug_flag, NI18nCatalog catalog,
               int32_t set, int32_t number, const char *format, ...)
{
    if (log == nullptr)
        return EINVAL;
    if (dropped(*log, level, debug_flag))
        return 0;
    va_list args;
    va_start(args, format);
    const NRC rc = compose_and_write(log, level, catalog, set, number, format, args);
    va_end(args);
    return rc;
}

NRC NLogToFileAP(NLogFile *log, NLogLevel level, int32_t debug_flag, NI18nCatalog catalog,
                 int32_t set, int32_t number, const char *format, va_list args)
{
    if (log == nullptr)
        return EINVAL;
    if (dropped(*log, level, debug_flag))
        return 0;
    return compose_and_write(log, level, catalog, set, number, format, args);
}

void NLogMgrTvkcryptLogCB(const char *format, va_list args)
{
    (void)NLogAP(NLOG_INFO, 0, nullptr, 0, 0, format, args);
}

// ---- the default module ----

NRC _NLogDefaultOpen(const char *, void **module_handle)
{
    *module_handle = nullptr;
    return 0;
}

NRC _NLogDefaultFormat(NLogFile *, NLogLevel level, NI18nCatalog catalog, int32_t set,
                       int32_t number, const char *text, char **line)
{
    *line = nullptr;
    NBuffer buffer;
    nb_init(&buffer);
    NRC rc = print_identification(&buffer, level, catalog, set, number);
    if (rc == 0)
        rc = nb_strcat(&buffer, text != nullptr ? text : "");
    if (rc == 0 && (*line = nb_strval(&buffer)) == nullptr)
        rc = ENOMEM;
    if (rc != 0) {
        std::fprintf(stderr, "Log message format error (%d:%s)\n", rc, NRCToString(rc));
        nb_free(&buffer);
    }
    // On success the buffer's storage is the line, which the caller frees.
    return rc;
}

NRC _NLogDefaultWrite(void *, NLogLevel level, const char *line)
{
    std::fprintf(stderr, "%s: %s\n", NLogLevelToString(level), line);
    return 0;
}

NRC _NLogDefaultClose(void *)
{
    return 0;
}

// ---- levels ----

const char *NLogLevelToString(NLogLevel level)
{
    for (const LevelRow &row : level_control)
        if (row.value == level || row.value == NLOG_UNKNOWN)
            return row.name;
    return "unknown!";
}

NLogLevel NLogLevelFromString(const char *text)
{
    const LevelRow *row = match_level(text);
    return row != nullptr ? row->value : NLOG_UNKNOWN;
}

NLogLevel NLogFileGetLevel(NLogFile *log)
{
    return log != nullptr ? load(log->level) : NLOG_UNKNOWN;
}

NLogLevel NLogMgrGetLevel(void)
{
    return load(log_file.level);
}

NRC NLogFileSetLevel(NLogFile *log, NLogLevel level)
{
    if (log == nullptr)
        return EINVAL;
    if (log->mutex != nullptr)
        NMutexLock(log->mutex);
    store(log->level, level);
    if (log->mutex != nullptr)
        NMutexUnlock(log->mutex);
    return 0;
}

NRC NLogMgrSetLevel(NLogLevel level)
{
    return NLogFileSetLevel(&log_file, level);
}

NRC NLogFileSetLevelFromString(NLogFile *log, const char *text)
{
    const LevelRow *row = match_level(text);
    if (row == nullptr)
        return NRC_FAILURE;
    return NLogFileSetLevel(log, row->value);
}

NRC NLogMgrSetLevelFromString(const char *text)
{
    return NLogFileSetLevelFromString(&log_file, text);
}

NRC NLogFileQuantizeLevel(const char *text, char **result)
{
    if (result == nullptr)
        return NRC_FAILURE;
    *result = nullptr;
    const LevelRow *row = match_level(text);
    if (row == nullptr)
        return NRC_FAILURE;
    const size_t length = name_length(*row);
    auto *copy = static_cast<char *>(n_malloc(length + 1));
    if (copy == nullptr)
        return ENOMEM;
    std::memcpy(copy, text, length);
    copy[length] = '\0';
    *result = copy;
    return 0;
}

NRC NLogFileSetFatalDoesNotExit(NLogFile *log, int32_t flag)
{
    if (log == nullptr)
        return EINVAL;
    store(log->fatal_does_not_exit, flag);
    return 0;
}

NRC NLogMgrSetFatalDoesNotExit(int32_t flag)
{
    return NLogFileSetFatalDoesNotExit(&log_file, flag);
}

// ---- choice of module ----

NRC _NLogLoad(NLogFile *log, const char *destination, char *target)
{
    target[0] = '\0';
    const char *text = destination != nullptr ? destination : "";
    char module[NLOG_MODULE_NAME_SIZE];
    const char *target_text = text;
    const char *colon = std::strchr(text, ':');

    auto set_module = [&module](const char *name, size_t length) {
        if (length >= sizeof module)
            length = sizeof module - 1;
        std::memcpy(module, name, length);
        module[length] = '\0';
    };

    if (std::strcmp(text, "stdout:") == 0 || std::strcmp(text, "stdout") == 0) {
        set_module("stdout", 6);
        target_text = "stdout";
    } else if (std::strcmp(text, "stderr:") == 0 || std::strcmp(text, "stderr") == 0) {
        set_module("stderr", 6);
        target_text = "stderr";
    } else if (std::strcmp(text, "system:") == 0 || std::strcmp(text, "syslog:") == 0) {
        set_module("syslog", 6);
        target_text = "";
    } else if (std::strstr(text, "://") != nullptr) {
        // colon is not null: "://" holds one. file://tmp/x names /tmp/x.
        set_module(text, static_cast<size_t>(colon - text));
        target_text = colon + 2;
    } else if (std::strncmp(text, "file:", 5) == 0) {
        set_module("file", 4);
        target_text = text + 5;
    } else {
        set_module("file", 4);
    }

    // A target that doesn't fit names no file that could be opened; the log
    // then keeps the functions it has.
    if (std::strlen(target_text) >= NLOG_TARGET_SIZE)
        return 0;
    std::strcpy(target, target_text);

    if (std::strcmp(module, "stdout") == 0 || std::strcmp(module, "stderr") == 0) {
        NLogOpenFunc open = nullptr;
        NLogFormatFunc format = nullptr;
        NLogWriteFunc write = nullptr;
        NLogStdoutModuleFuncs(&open, &format, &write);
        store(log->open, open);
        store(log->format, format);
        store(log->write, write);
    }
    // The file module is not part of the library yet: a file destination
    // stays on the functions the log has, as after a failed open. Any other
    // name ("syslog" among them) changes nothing either.
    return 0;
}

// ---- logs ----

NRC NLogFileOpen(const char *destination, NLogFile **log)
{
    if (log == nullptr)
        return NRC_FAILURE;
    *log = nullptr;
    auto *made = static_cast<NLogFile *>(n_calloc(1, sizeof(NLogFile)));
    if (made == nullptr)
        return ENOMEM;
    NRC rc = NMutexCreate("LogFileHandle", &made->mutex);
    if (rc != 0) {
        n_free(made);
        return rc;
    }
    made->level = start_level;
    if (const char *level = std::getenv("NDE_DEFAULT_LOG_LEVEL"); level != nullptr)
        (void)NLogFileSetLevelFromString(made, level);
    made->fatal_does_not_exit = 0;
    set_default_functions(*made);

    char target[NLOG_TARGET_SIZE];
    _NLogLoad(made, destination, target);
    void *handle = nullptr;
    rc = made->open(target, &handle);
    if (rc != 0)
        set_default_functions(*made);
    else
        made->module_handle = handle;
    *log = made;
    return rc;
}

NRC NLogFileClose(NLogFile *log)
{
    if (log == nullptr)
        return EINVAL;
    const NRC rc = log->close(log->module_handle);
    if (rc != 0)
        return rc;
    NMutexDestroy(log->mutex);
    n_free(log);
    return 0;
}

NRC NLogMgrSwitch(const char *destination)
{
    NMutexLock(log_file.mutex);
    (void)log_file.close(log_file.module_handle);
    // The new table is made aside and put in as a whole: a thread that reads
    // the format function meanwhile gets the old module's or the new one's,
    // never the default one of a passing moment.
    NLogFile next = log_file;
    set_default_functions(next);
    char target[NLOG_TARGET_SIZE];
    _NLogLoad(&next, destination, target);
    void *handle = nullptr;
    const NRC rc = next.open(target, &handle);
    if (rc != 0)
        set_default_functions(next);
    else
        next.module_handle = handle;
    store(log_file.open, next.open);
    store(log_file.format, next.format);
    store(log_file.write, next.write);
    store(log_file.close, next.close);
    store(log_file.module_handle, next.module_handle);
    NMutexUnlock(log_file.mutex);
    return rc;
}

NRC NLogModuleOverrideMsgFormat(NLogFormatFunc format)
{
    if (NMutexLock(log_file.mutex) != 0)
        return NRC_FAILURE;
    store(log_file.format, format);
    NMutexUnlock(log_file.mutex);
    return 0;
}

// ---- the process-wide log ----

NRC _NLogMgrInitialise(const char *destination)
{
    // A repeated NInitialise (after a later step failed) keeps the log that
    // the first one brought up, and goes on with the steps behind it.
    if (!manager_up) {
        const NRC rc = bring_log_up(destination);
        if (rc != 0)
            return rc;
        manager_up = true;
    }

    if (header_list == nullptr) {
        header_list = NListCreateWith(n_malloc);
        if (header_list == nullptr) {
            std::fputs("Failed to create log header list\n", stderr);
            return NRC_FAILURE;
        }
    }

    // libtvkcrypt's messages join this log when the library is loaded.
    using RegisterLogCB = void (*)(void (*)(const char *, va_list));
    if (void *symbol = dlsym(RTLD_DEFAULT, "TVKUTILSRegisterLogCB"); symbol != nullptr)
        reinterpret_cast<RegisterLogCB>(symbol)(NLogMgrTvkcryptLogCB);
    return 0;
}

} // extern "C"

namespace {

// Steps 1 to 7 of _NLogMgrInitialise: the level names, the mutex, the
// level, the destination, the exit handler and the library's facilities.
NRC bring_log_up(const char *destination)
{
    for (LevelRow &row : level_control) {
        char name[64];
        NI18nMessageGet(libtarvolk_catalog, row.set, row.number, row.name, name, sizeof name);
        if (name[0] != '\0') {
            if (char *copy = n_strdup(name); copy != nullptr) {
                if (row.name_owned)
                    n_free(const_cast<char *>(row.name));
                row.name = copy;
                row.name_owned = true;
            }
        }
        row.name_length = std::strlen(row.name);
    }

    if (log_file.mutex == nullptr) {
        const NRC rc = NMutexCreate("LogFileSubsystem", &log_file.mutex);
        if (rc != 0)
            return rc;
    }
    store(log_file.level, start_level);
    if (const char *level = std::getenv("NDE_DEFAULT_LOG_LEVEL"); level != nullptr)
        (void)NLogMgrSetLevelFromString(level);
    store(log_file.fatal_does_not_exit, 0);

    if (const char *forced = std::getenv("NDE_FORCE_LOG_MODULE"); forced != nullptr)
        destination = forced;
    char target[NLOG_TARGET_SIZE];
    _NLogLoad(&log_file, destination, target);
    void *handle = nullptr;
    if (log_file.open(target, &handle) != 0)
        set_default_functions(log_file);
    else
        store(log_file.module_handle, handle);

    std::atexit(_NLogMgrShutdown);

    const BuiltinFacility builtins[] = {
        {"arg_mgr", &libtarvolk_arg_mgr_debug}, {"cb_mgr", &libtarvolk_cb_mgr_debug},
        {"clock", &libtarvolk_clock_debug},     {"prop_mgr", &libtarvolk_prop_mgr_debug},
        {"module", &libtarvolk_module_debug},   {"signal", &libtarvolk_signal_debug},
        {"thread", &libtarvolk_thread_debug},   {"timer", &libtarvolk_timer_debug},
    };
    for (const BuiltinFacility &facility : builtins)
        (void)NDebugFacilityRegister(facility.name, facility.variable);
    return 0;
}

} // namespace

extern "C" {

void _NLogMgrShutdown(void)
{
    const NLogCloseFunc close = load(log_file.close);
    void *handle = load(log_file.module_handle);
    set_default_functions(log_file);
    (void)close(handle);
}

// ---- the log header ----

NRC NLogHeaderAdd(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    const NRC rc = header_add(format, args, true);
    va_end(args);
    return rc;
}

NRC NLogHeaderAddAP(const char *format, va_list args)
{
    return header_add(format, args, true);
}

NRC NLogHeaderAddNoLog(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    const NRC rc = header_add(format, args, false);
    va_end(args);
    return rc;
}

NRC NLogHeaderLog(void)
{
    NMutexLock(log_file.mutex);
    if (header_list != nullptr) {
        NLogLog(NLOG_DEBUG, 1, nullptr, NI18N_SET_DEBUG, 0, "*** Log Header Begin ***");
        for (const char *name : {"LANG", "LC_ALL", "LC_CTYPE", "TZ"}) {
            if (const char *value = std::getenv(name); value != nullptr)
                NLogLog(NLOG_DEBUG, 1, nullptr, NI18N_SET_DEBUG, 0,
                        "ENV: %s env var is set to [%s]", name, value);
            else
                NLogLog(NLOG_DEBUG, 1, nullptr, NI18N_SET_DEBUG, 0, "ENV: %s env var is unset",
                        name);
        }
        for (void *item = NListFirst(header_list); item != nullptr; item = NListNext(item))
            NLogLog(NLOG_DEBUG, 1, nullptr, NI18N_SET_DEBUG, 0, "%s",
                    static_cast<const char *>(item));
        NLogLog(NLOG_DEBUG, 1, nullptr, NI18N_SET_DEBUG, 0, "*** Log Header End ***");
    }
    NMutexUnlock(log_file.mutex);
    return 0;
}

// ---- debug facilities ----

NRC _NDebugFacilityRegister(const char *name, int32_t *variable, int32_t use_environment)
{
    if (name == nullptr)
        return NRC_FAILURE;
    if (!make_facility_table()) {
        // Better too much debug output than none.
        if (variable != nullptr)
            *variable = 1;
        return ENOMEM;
    }
    char key[NDEBUG_FACILITY_NAME_SIZE + 1];
    facility_key(name, key);
    if (auto *found = static_cast<DebugFacility *>(NHashFind(facility_table, key));
        found != nullptr) {
        if (found->variable == nullptr)
            found->variable = variable;
        if (variable != nullptr)
            *variable = found->value;
        return 0;
    }

    auto *made = static_cast<DebugFacility *>(NHashAlloc(sizeof(DebugFacility)));
    if (made == nullptr)
        return ENOMEM;
    std::memcpy(made->name, key, sizeof key);
    made->variable = variable;
    made->value = variable != nullptr ? *variable : 0;
    NHashInsert(facility_table, made);

    int32_t value = 1;
    const char *selection = use_environment != 0 ? std::getenv("NDE_DEBUG_FACILITY") : nullptr;
    if (selection != nullptr) {
        value = facility_selected(selection, name) ? 1 : 0;
        if (selection[0] == '!')
            value = !value;
    }
    return NDebugFacilitySet(name, value);
}

NRC NDebugFacilityRegister(const char *name, int32_t *variable)
{
    return _NDebugFacilityRegister(name, variable, 1);
}

NRC NDebugFacilityUnregister(const char *name)
{
    if (name == nullptr)
        return NRC_FAILURE;
    if (facility_table == nullptr)
        return NRC_NOT_FOUND;
    char key[NDEBUG_FACILITY_NAME_SIZE + 1];
    facility_key(name, key);
    void *found = NHashFind(facility_table, key);
    if (found == nullptr)
        return NRC_NOT_FOUND;
    NHashDelete(facility_table, found);
    NHashFree(found);
    return 0;
}

NRC NDebugFacilitySet(const char *name, int32_t value)
{
    if (name == nullptr)
        return NRC_FAILURE;
    if (!make_facility_table())
        return ENOMEM;
    char key[NDEBUG_FACILITY_NAME_SIZE + 1];
    facility_key(name, key);
    auto *found = static_cast<DebugFacility *>(NHashFind(facility_table, key));
    if (found == nullptr) {
        found = static_cast<DebugFacility *>(NHashAlloc(sizeof(DebugFacility)));
        if (found == nullptr)
            return ENOMEM;
        std::memcpy(found->name, key, sizeof key);
        found->variable = nullptr;
        NHashInsert(facility_table, found);
    }
    found->value = value;
    if (found->variable != nullptr)
        *found->variable = value;
    return 0;
}

void NDebugFacilityPrint(void)
{
    constexpr int32_t indent = 8;
    constexpr int32_t width_limit = 78;
    char title[256];
    char on_mark[64];
    NI18nMessageGet(libtarvolk_catalog, NI18N_SET_USER_INTERFACE, 61,
                    "Registered debug facilities:", title, sizeof title);
    NI18nMessageGet(libtarvolk_catalog, NI18N_SET_USER_INTERFACE, 62, "[ON]", on_mark,
                    sizeof on_mark);
    std::fprintf(stderr, "%s\n\t", title);
    NHashCursor *cursor = facility_table != nullptr ? NHashCursorOpen(facility_table) : nullptr;
    if (cursor != nullptr) {
        int32_t column = indent;
        bool first = true;
        while (auto *facility = static_cast<DebugFacility *>(NHashCursorNext(cursor))) {
            if (!first) {
                std::fputs(", ", stderr);
                column += 2;
            }
            first = false;
            const char *mark = facility->value != 0 ? on_mark : "";
            const auto width = static_cast<int32_t>(std::strlen(facility->name) + std::strlen(mark));
            if (column + width > width_limit) {
                std::fputs("\n\t", stderr);
                column = indent + width;
            } else {
                column += width;
            }
            std::fprintf(stderr, "%s%s", facility->name, mark);
        }
        NHashCursorClose(cursor);
    }
    std::fputs("\n", stderr);
}

} // extern "C"

namespace tvk {

NLogFile *process_log()
{
    return &log_file;
}

const char *log_level_word(NLogLevel level)
{
    switch (level) {
    case NLOG_FATAL:
        return "Fatal";
    case NLOG_ERROR:
        return "Error";
    case NLOG_WARN:
        return "Warning";
    case NLOG_INFO:
        return "Information";
    case NLOG_DEBUG:
        return "Debug";
    default:
        return "Unknown";
    }
}

} // namespace tvk
