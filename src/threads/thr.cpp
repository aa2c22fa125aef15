// The thread manager: the records of the threads that the library knows,
// and thread-specific data keys.
//
// This is the part of the manager that return code texts need: the table
// of records, the record of the main thread, records made on first use,
// and the error buffer. Spawning, the stop protocol and the exception
// stack come with the rest of the manager.
#include <tarvolk/thr.h>

#include <tarvolk/hashtable.h>
#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>

#include <atomic>
#include <cstdio>
#include <cstring>

#include "threads/thr.h"

namespace {

constexpr uint32_t thread_table_buckets = 127;

// The table and its lock are made once and live until the process ends:
// threads may run past exit, so nothing here has a destructor.
NHash *thread_table = nullptr;
pthread_mutex_t thread_table_lock = PTHREAD_MUTEX_INITIALIZER;
std::atomic<bool> thread_table_ready{false};

pthread_mutex_t init_lock = PTHREAD_MUTEX_INITIALIZER;
bool init_done = false;

constexpr const char *unknown_thread_name = "UNKNOWN!";

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

struct TableLock {
    TableLock() { pthread_mutex_lock(&thread_table_lock); }
    ~TableLock() { pthread_mutex_unlock(&thread_table_lock); }
    TableLock(const TableLock &) = delete;
    TableLock &operator=(const TableLock &) = delete;
};

NThread *find(pthread_t tid)
{
    TableLock guard;
    return static_cast<NThread *>(NHashFind(thread_table, &tid));
}

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

// A zeroed record of the calling thread; names longer than the field are
// cut.
NThread *new_record(const char *name)
{
    auto *thread = static_cast<NThread *>(NHashAlloc(sizeof(NThread)));
    if (thread == nullptr)
        return nullptr;
    n_bzero(thread, sizeof(NThread));
    thread->tid = pthread_self();
    std::snprintf(thread->name, sizeof thread->name, "%s", name);
    thread->keep_running = 1;
    return thread;
}

} // namespace

namespace tvk {

int32_t thread_count()
{
    if (!thread_table_ready.load(std::memory_order_acquire))
        return 0;
    TableLock guard;
    return NHashNumItems(thread_table);
}

} // namespace tvk

extern "C" {

NRC _NThreadInitialise(void)
{
    pthread_mutex_lock(&init_lock);
    NRC rc = 0;
    if (!init_done) {
        // Only the first caller sees a failure.
        init_done = true;
        thread_table = NHashCreateWith(n_malloc, thread_table_buckets, NThreadHash, nullptr,
                                       NThreadComp, nullptr);
        if (thread_table == nullptr) {
            rc = 12;
        } else {
            thread_table_ready.store(true, std::memory_order_release);
            NThread *main_thread = new_record("MAIN");
            if (main_thread == nullptr)
                rc = 12;
            else
                insert(main_thread);
        }
    }
    pthread_mutex_unlock(&init_lock);
    return rc;
}

NThread *NThreadGetID(void)
{
    if (!thread_table_ready.load(std::memory_order_acquire))
        return nullptr;
    const pthread_t self = pthread_self();
    NThread *thread = find(self);
    if (thread != nullptr)
        return thread;
    // Only the thread itself adds its own id, so the two separate lock
    // holds of lookup and insertion cannot race.
    thread = new_record(unknown_thread_name);
    if (thread != nullptr)
        insert(thread);
    return thread;
}

NRC NThreadRegister(const char *name)
{
    if (!thread_table_ready.load(std::memory_order_acquire))
        return NRC_FAILURE;
    if (find(pthread_self()) != nullptr)
        return 0;
    NThread *thread = new_record(name != nullptr ? name : unknown_thread_name);
    if (thread == nullptr)
        return 12;
    insert(thread);
    return 0;
}

NRC NThreadUnregister(void)
{
    if (!thread_table_ready.load(std::memory_order_acquire))
        return NRC_FAILURE;
    NThread *thread = find(pthread_self());
    if (thread != nullptr) {
        remove(thread);
        NHashFree(thread);
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

// ---- thread-specific data ----

struct NThreadDataKeyRec {
    pthread_key_t key;
};

extern "C" {

NRC NThreadDataKeyCreate(NThreadDataKey *key)
{
    if (key == nullptr)
        return NRC_FAILURE;
    *key = nullptr;
    auto *made = static_cast<NThreadDataKey>(n_malloc(sizeof(NThreadDataKeyRec)));
    if (made == nullptr)
        return 12;
    const int rc = pthread_key_create(&made->key, nullptr);
    if (rc != 0) {
        n_free(made);
        return rc;
    }
    *key = made;
    return 0;
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
