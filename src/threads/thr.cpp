// The thread manager: the records of the threads that the library knows,
// spawning with a start hand-shake, the cooperative stop flag, the
// exception stack, and thread-specific data keys.
//
// A thread finds its own record through a key of its own rather than by
// its id: the system reuses the id of an ended thread, but a new thread
// always starts with an empty key, so it can never be handed the record
// of a dead one. The table keyed by id stays the registry that others
// search. When a thread that the library didn't start ends, the key's
// destructor takes its record out of the table and frees it.
#include <tarvolk/thr.h>

#include <tarvolk/buffer.h>
#include <tarvolk/hashtable.h>
#include <tarvolk/lmutex.h>
#include <tarvolk/log.h>
#include <tarvolk/mem.h>
#include <tarvolk/once.h>
#include <tarvolk/retcode.h>
#include <tarvolk/time.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "threads/thr.h"

namespace {

constexpr uint32_t thread_table_buckets = 127;
constexpr const char *unknown_thread_name = "UNKNOWN!";
// The system keeps 15 bytes of a thread's name, and a terminator.
constexpr size_t system_name_size = 16;

// Process-wide state. Threads may run past exit, so nothing here has a
// destructor: plain pointers and words, made once and never released.
pthread_once_t init_lock_once = PTHREAD_ONCE_INIT;
NLightMutex *init_lock = nullptr;
NRC locknrc = 0;
bool init_done = false; // under init_lock

NHash *thread_table = nullptr;
// Non-null once the table and the key exist; the manager is initialised.
std::atomic<NLightMutex *> thread_table_lock{nullptr};
// Each thread's own record.
pthread_key_t self_key;

// ---- log call-out ----
//
// ---- the table ----

// The thread id is the hash; a lookup key is a word holding an id, which
// has the layout of a record's first field.
static_assert(offsetof(NThread, tid) == 0, "the id leads the record");

uint32_t NThreadHash(const void *key, void *)
{
    return static_cast<uint32_t>(*static_cast<const pthread_t *>(key));
}

int NThreadComp(const void *a, const void *b, void *)
{
    const pthread_t x = *static_cast<const pthread_t *>(a);
    const pthread_t y = *static_cast<const pthread_t *>(b);
    return (x > y) - (x < y);
}

// Holds thread_table_lock. Nothing that blocks, logs or takes another lock
// runs under it.
class TableLock {
public:
    TableLock() : lock_(thread_table_lock.load(std::memory_order_acquire))
    {
        NLightMutexLock(lock_);
    }
    ~TableLock() { NLightMutexUnlock(lock_); }
    TableLock(const TableLock &) = delete;
    TableLock &operator=(const TableLock &) = delete;

private:
    NLightMutex *lock_;
};

void insert(NThread *thread)
{
    TableLock guard;
    NHashInsert(thread_table, thread);
}

void remove(NThread *thread)
{
    TableLock guard;
    NHashDelete(thread_table, thread);
}

void copy_name(NThread *thread, const char *name)
{
    std::snprintf(thread->name, sizeof thread->name, "%s", name);
}

// The system's copy of a name, cut to what it keeps.
void set_system_name(const char *name)
{
    char cut[system_name_size];
    size_t length = strnlen(name, sizeof cut - 1);
    std::memcpy(cut, name, length);
    cut[length] = '\0';
    pthread_setname_np(pthread_self(), cut);
}

NThread *alloc_record(const char *name)
{
    auto *thread = static_cast<NThread *>(NHashAlloc(sizeof(NThread)));
    if (thread == nullptr)
        return nullptr;
    n_bzero(thread, sizeof(NThread));
    copy_name(thread, name);
    thread->keep_running = 1;
    return thread;
}

void free_record(NThread *thread)
{
    if (thread->start_semaphore != nullptr)
        NSemaphoreDestroy(thread->start_semaphore);
    if (thread->stop_semaphore != nullptr)
        NSemaphoreDestroy(thread->stop_semaphore);
    NHashFree(thread);
}

// Records that a dead thread with the caller's id left in the table. Only
// records the library didn't spawn are freed: a kept record of a spawned
// thread waits for NThreadDestroy.
void drop_stale_records(pthread_t self)
{
    for (;;) {
        NThread *stale = nullptr;
        {
            TableLock guard;
            for (auto *item = static_cast<NThread *>(NHashFind(thread_table, &self));
                 item != nullptr; item = static_cast<NThread *>(NHashNext(thread_table, item)))
                if (item->start_semaphore == nullptr) {
                    stale = item;
                    NHashDelete(thread_table, stale);
                    break;
                }
        }
        if (stale == nullptr)
            return;
        NHashFree(stale);
    }
}

// A new record of the calling thread, in the table and in its key. Only the
// thread itself adds a record for its id, so looking up first and inserting
// afterwards cannot race.
NThread *adopt(const char *name)
{
    NThread *thread = alloc_record(name);
    if (thread == nullptr)
        return nullptr;
    thread->tid = pthread_self();
    if (pthread_setspecific(self_key, thread) != 0) {
        NHashFree(thread);
        return nullptr;
    }
    drop_stale_records(thread->tid);
    insert(thread);
    return thread;
}

// Destructor of self_key: a thread that the library didn't start ended
// with its record.
void release_self(void *record)
{
    auto *thread = static_cast<NThread *>(record);
    remove(thread);
    NHashFree(thread);
}

NThread *self_record()
{
    return static_cast<NThread *>(pthread_getspecific(self_key));
}

bool initialised()
{
    return thread_table_lock.load(std::memory_order_acquire) != nullptr;
}

void make_init_lock()
{
    locknrc = NLightMutexCreate("_NThreadInitialise lock", &init_lock);
}

// Steps of the first initialisation, under init_lock.
NRC first_initialise()
{
    thread_table = NHashCreateWith(n_malloc, thread_table_buckets, NThreadHash, nullptr,
                                   NThreadComp, nullptr);
    if (thread_table == nullptr)
        return 12;
    NLightMutex *lock = nullptr;
    NRC rc = NLightMutexCreate("ThreadTableLock", &lock);
    if (rc != 0)
        return rc;
    rc = pthread_key_create(&self_key, release_self);
    if (rc != 0)
        return rc;
    thread_table_lock.store(lock, std::memory_order_release);
    return adopt("MAIN") == nullptr ? 12 : 0;
}

// Start routine of every spawned thread.
void *NThreadWrapper(void *argument)
{
    auto *thread = static_cast<NThread *>(argument);
    NLogLog(NLOG_DEBUG, libtarvolk_thread_debug, libtarvolk_catalog, 4, 50,
            "THREAD MGR: thread %s (%p) running", thread->name, static_cast<void *>(thread));
    // The spawner posts only once the record is in the table and its
    // out-pointer is set.
    NSemaphoreWait(thread->start_semaphore);
    pthread_setspecific(self_key, thread);
    set_system_name(thread->name);

    thread->exit_code = thread->function(thread, thread->argument);
    if (thread->exit_code != 0)
        NLogLog(NLOG_ERROR, 1, libtarvolk_catalog, 4, 8, "THREAD MGR: thread %s (%p) *EXIT*: %s",
                thread->name, static_cast<void *>(thread), NRCToString(thread->exit_code));
    NLogLog(NLOG_DEBUG, libtarvolk_thread_debug, libtarvolk_catalog, 4, 51,
            "THREAD MGR: thread %s (%p) stopped", thread->name, static_cast<void *>(thread));

    // The key's destructor is for records of foreign threads.
    pthread_setspecific(self_key, nullptr);
    if (thread->self_reap == 0) {
        // NThreadDestroy owns the record from the post on.
        NSemaphorePost(thread->stop_semaphore);
        return nullptr;
    }
    remove(thread);
    free_record(thread);
    return nullptr;
}

} // namespace

namespace tvk {

int32_t thread_count()
{
    if (!initialised())
        return 0;
    TableLock guard;
    return NHashNumItems(thread_table);
}

} // namespace tvk

extern "C" {

NRC _NThreadInitialise(void)
{
    NRC rc = NOneTimeInitialise(&init_lock_once, make_init_lock);
    if (rc != 0)
        return rc;
    if (locknrc != 0)
        return locknrc;
    NLightMutexLock(init_lock);
    if (!init_done) {
        // Only the first caller sees a failure.
        init_done = true;
        rc = first_initialise();
    }
    NLightMutexUnlock(init_lock);
    return rc;
}

NRC NThreadSpawn(const char *name, NThreadFunc function, void *argument, const uint32_t *flags,
                 NThread **thread)
{
    _NThreadInitialise();
    if (thread == nullptr)
        return NRC_FAILURE;
    *thread = nullptr;
    if (function == nullptr || !initialised())
        return NRC_FAILURE;
    const uint32_t bits = flags == nullptr ? 0 : *flags;

    NThread *record = alloc_record(name != nullptr ? name : unknown_thread_name);
    if (record == nullptr)
        return 12;
    record->self_reap = (bits & NTHREAD_KEEP_RECORD) != 0 ? 0 : 1;
    record->function = function;
    record->argument = argument;
    NRC rc = NSemaphoreCreateN(0, &record->start_semaphore);
    if (rc == 0)
        rc = NSemaphoreCreateN(0, &record->stop_semaphore);
    if (rc != 0) {
        free_record(record);
        return rc;
    }

    pthread_attr_t attributes;
    rc = pthread_attr_init(&attributes);
    if (rc != 0) {
        free_record(record);
        return rc;
    }
    if ((bits & NTHREAD_SYSTEM_SCOPE) != 0)
        rc = pthread_attr_setscope(&attributes, PTHREAD_SCOPE_SYSTEM);
    if (rc == 0)
        rc = pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    if (rc == 0)
        rc = pthread_create(&record->tid, &attributes, NThreadWrapper, record);
    pthread_attr_destroy(&attributes);
    if (rc != 0) {
        free_record(record);
        return rc;
    }

    insert(record);
    *thread = record;
    NLogLog(NLOG_DEBUG, libtarvolk_thread_debug, libtarvolk_catalog, 4, 49,
            "THREAD MGR: started thread %s (%p)", record->name, static_cast<void *>(record));
    NSemaphorePost(record->start_semaphore);
    return 0;
}

NRC NThreadDestroy(NThread *thread)
{
    if (thread == nullptr || thread->stop_semaphore == nullptr)
        return NRC_FAILURE;
    NSemaphoreWait(thread->stop_semaphore);
    const NRC exit_code = thread->exit_code;
    remove(thread);
    free_record(thread);
    return exit_code;
}

void NThreadScheduleStop(NThread *thread)
{
    if (thread != nullptr)
        std::atomic_ref<int32_t>(thread->keep_running).store(0, std::memory_order_relaxed);
}

int32_t NThreadShouldContinue(NThread *thread)
{
    if (thread == nullptr)
        return 0;
    return std::atomic_ref<int32_t>(thread->keep_running).load(std::memory_order_relaxed);
}

int _NThreadKill(NThread *thread, int signal_number)
{
    if (thread == nullptr)
        return EINVAL;
    return pthread_kill(thread->tid, signal_number);
}

NThread *NThreadGetID(void)
{
    if (!initialised())
        return nullptr;
    NThread *thread = self_record();
    return thread != nullptr ? thread : adopt(unknown_thread_name);
}

NRC NThreadRegister(const char *name)
{
    if (!initialised())
        return NRC_FAILURE;
    if (self_record() != nullptr)
        return 0;
    if (adopt(name != nullptr ? name : unknown_thread_name) == nullptr)
        return 12;
    if (name != nullptr)
        set_system_name(name);
    return 0;
}

NRC NThreadUnregister(void)
{
    if (!initialised())
        return NRC_FAILURE;
    NThread *thread = self_record();
    // A spawned thread's record belongs to its wrapper (and NThreadDestroy).
    if (thread != nullptr && thread->start_semaphore == nullptr) {
        pthread_setspecific(self_key, nullptr);
        remove(thread);
        free_record(thread);
    }
    return 0;
}

const char *NThreadGetName(NThread *thread)
{
    return thread == nullptr ? nullptr : thread->name;
}

char *NThreadGetErrorBuffer(NThread *thread)
{
    return thread == nullptr ? nullptr : thread->error_buffer;
}

} // extern "C"

// ---- exception stack ----

namespace {

// Copies value into entry, as far as the entry can hold it.
void store_value(NThread *thread, NThreadException &entry, const NTypedValue *value)
{
    entry.value_type = NTHR_TYPE_NONE;
    entry.value.u64 = 0;
    if (value == nullptr)
        return;
    entry.value_type = value->type;
    const NValue &v = value->value;
    switch (value->type) {
    case NTHR_TYPE_SHORT:
        entry.value.i64 = v.s;
        break;
    case NTHR_TYPE_INTEGER:
    case NTHR_TYPE_BOOLEAN:
    case NTHR_TYPE_UTC:
        entry.value.i64 = v.i;
        break;
    case NTHR_TYPE_UNSIGNED:
        entry.value.u64 = v.u;
        break;
    case NTHR_TYPE_REAL:
        entry.value.r = v.r;
        break;
    case NTHR_TYPE_INTEGER64:
        entry.value.i64 = v.i64;
        break;
    case NTHR_TYPE_UNSIGNED64:
        entry.value.u64 = v.u64;
        break;
    case NTHR_TYPE_STRING: {
        const uint32_t length = v.string.length;
        const int64_t room = NTHREAD_STRING_POOL_SIZE - thread->string_pool_used;
        if (v.string.text == nullptr || int64_t{length} + 1 > room) {
            // The message stays; the value is lost.
            entry.value_type = NTHR_TYPE_NONE;
            break;
        }
        char *copy = thread->string_pool + thread->string_pool_used;
        std::memcpy(copy, v.string.text, length);
        copy[length] = '\0';
        thread->string_pool_used += static_cast<int32_t>(length) + 1;
        entry.value.bytes.pointer = copy;
        entry.value.bytes.length = length;
        break;
    }
    case NTHR_TYPE_BINARY:
        entry.value.bytes.pointer = static_cast<const char *>(v.binary.data);
        entry.value.bytes.length = v.binary.length;
        break;
    default: // unknown types keep their number but no value
        break;
    }
}

// Appends ": value" as the entry's type prints it, or nothing.
NRC append_value(NBuffer *text, const NThreadException &entry)
{
    switch (entry.value_type) {
    case NTHR_TYPE_SHORT:
    case NTHR_TYPE_INTEGER:
        return nb_sprintf(text, ": %d", static_cast<int>(entry.value.i64));
    case NTHR_TYPE_UNSIGNED:
        return nb_sprintf(text, ": %u", static_cast<unsigned>(entry.value.u64));
    case NTHR_TYPE_BOOLEAN:
        return nb_sprintf(text, ": %s", entry.value.i64 != 0 ? "TRUE" : "FALSE");
    case NTHR_TYPE_REAL:
        return nb_sprintf(text, ": %f", entry.value.r);
    case NTHR_TYPE_UTC: {
        const time_t when = static_cast<int32_t>(entry.value.i64);
        char stamp[N_CTIME_BUFFER_SIZE];
        return nb_sprintf(text, ": %s", n_ctimex(&when, stamp));
    }
    case NTHR_TYPE_STRING:
        return nb_sprintf(text, ": %s", entry.value.bytes.pointer);
    case NTHR_TYPE_INTEGER64:
        return nb_sprintf(text, ": %ld", static_cast<long>(entry.value.i64));
    case NTHR_TYPE_UNSIGNED64:
        return nb_sprintf(text, ": %lu", static_cast<unsigned long>(entry.value.u64));
    default:
        return 0;
    }
}

// The text of a non-empty stack: a header with the title, then one line per
// entry from the oldest, each a tab, the message and its value.
NRC build_text(NThread *thread, NBuffer *text)
{
    char message[1024];
    NI18nMessageGet(libtarvolk_catalog, NI18N_SET_EXCEPTIONS, 8, "'%s' exception occured:\n",
                    message, sizeof message);
    // The catalog's text is the header's format.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    NRC rc = nb_sprintf(text, message,
                        thread->exception_title != nullptr ? thread->exception_title : "");
#pragma GCC diagnostic pop
    for (int32_t i = 0; rc == 0 && i < thread->exception_count; ++i) {
        const NThreadException &entry = thread->exceptions[i];
        NI18nMessageGet(entry.catalog, entry.set, entry.message,
                        entry.text != nullptr ? entry.text : "", message, sizeof message);
        rc = nb_sprintf(text, "\t%s", message);
        if (rc == 0)
            rc = append_value(text, entry);
        if (rc == 0)
            rc = nb_strcat(text, "\n");
    }
    return rc;
}

} // namespace

extern "C" {

void NThreadExceptionClear(NThread *thread)
{
    if (thread == nullptr)
        return;
    thread->exception_count = 0;
    thread->exception_title = nullptr;
    thread->string_pool_used = 0;
}

void NThreadExceptionRaise(NThread *thread, const char *title, NI18nCatalog catalog, int32_t set,
                           int32_t message, const char *text, const NTypedValue *value)
{
    if (thread == nullptr)
        return;
    NThreadExceptionClear(thread);
    thread->exception_title = title;
    NThreadExceptionAdd(thread, catalog, set, message, text, value);
}

void NThreadExceptionAdd(NThread *thread, NI18nCatalog catalog, int32_t set, int32_t message,
                         const char *text, const NTypedValue *value)
{
    if (thread == nullptr || thread->exception_count >= NTHREAD_EXCEPTION_MAX)
        return;
    NThreadException &entry = thread->exceptions[thread->exception_count];
    entry.catalog = catalog;
    entry.set = set;
    entry.message = message;
    entry.text = text;
    store_value(thread, entry, value);
    ++thread->exception_count;
}

int32_t NThreadExceptionRaised(NThread *thread)
{
    return thread != nullptr && thread->exception_count > 0 ? 1 : 0;
}

NRC NThreadExceptionToBuffer(NThread *thread, char **text)
{
    if (text == nullptr)
        return NRC_FAILURE;
    *text = nullptr;
    if (NThreadExceptionRaised(thread) == 0)
        return 0;
    NBuffer buffer;
    nb_init(&buffer);
    const NRC rc = build_text(thread, &buffer);
    if (rc != 0) {
        nb_free(&buffer);
        return rc;
    }
    // The buffer's storage becomes the caller's text.
    *text = nb_strval(&buffer);
    return *text == nullptr ? 12 : 0;
}

void NThreadExceptionLog(NThread *thread)
{
    char *text = nullptr;
    if (NThreadExceptionToBuffer(thread, &text) != 0 || text == nullptr)
        return;
    NLogLog(NLOG_ERROR, 1, nullptr, 0, 0, "%s", text);
    n_free(text);
}

void NThreadExceptionPrint(NThread *thread, FILE *stream)
{
    char *text = nullptr;
    if (stream == nullptr || NThreadExceptionToBuffer(thread, &text) != 0 || text == nullptr)
        return;
    std::fputs(text, stream);
    n_free(text);
}

} // extern "C"

// ---- thread-specific data ----

struct NThreadDataKeyRec {
    pthread_key_t key;
};

NRC tvk::thread_data_key_create(NThreadDataKey *key, void (*destructor)(void *))
{
    if (key == nullptr)
        return NRC_FAILURE;
    *key = nullptr;
    auto *made = static_cast<NThreadDataKey>(n_malloc(sizeof(NThreadDataKeyRec)));
    if (made == nullptr)
        return 12;
    const int rc = pthread_key_create(&made->key, destructor);
    if (rc != 0) {
        n_free(made);
        return rc;
    }
    *key = made;
    return 0;
}

extern "C" {

NRC NThreadDataKeyCreate(NThreadDataKey *key)
{
    return tvk::thread_data_key_create(key, nullptr);
}

NRC NThreadDataKeyDestroy(NThreadDataKey key)
{
    if (key == nullptr)
        return NRC_FAILURE;
    const int rc = pthread_key_delete(key->key);
    if (rc == 0)
        n_free(key);
    return rc;
}

NRC NThreadDataGet(NThreadDataKey key, void **value)
{
    if (value == nullptr)
        return NRC_FAILURE;
    *value = key == nullptr ? nullptr : pthread_getspecific(key->key);
    return key == nullptr ? NRC_FAILURE : 0;
}

NRC NThreadDataSet(NThreadDataKey key, const void *value)
{
    if (key == nullptr)
        return NRC_FAILURE;
    return pthread_setspecific(key->key, value);
}

} // extern "C"
