// Lock and unlock of the library's mutexes beside the system's: the light
// mutex against a default pthread mutex, the general (recursive) mutex
// against a recursive pthread mutex, and std::mutex; uncontended and with
// two threads on one lock. The semaphore beside a POSIX sem_t.
#include <tarvolk/lmutex.h>
#include <tarvolk/mutex.h>
#include <tarvolk/semaph.h>

#include <benchmark/benchmark.h>

#include <pthread.h>
#include <semaphore.h>

#include <mutex>

namespace {

// Every lock is made once and shared by all threads of a benchmark.
NLightMutex *light_mutex()
{
    static NLightMutex *mutex = [] {
        NLightMutex *made = nullptr;
        NLightMutexCreate("bench light", &made);
        return made;
    }();
    return mutex;
}

NMutex *general_mutex()
{
    static NMutex *mutex = [] {
        NMutex *made = nullptr;
        NMutexCreate("bench general", &made);
        return made;
    }();
    return mutex;
}

pthread_mutex_t *normal_pthread_mutex()
{
    static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    return &mutex;
}

pthread_mutex_t *recursive_pthread_mutex()
{
    static pthread_mutex_t mutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
    return &mutex;
}

std::mutex &std_mutex()
{
    static std::mutex mutex;
    return mutex;
}

void BM_NLightMutex(benchmark::State &state)
{
    NLightMutex *mutex = light_mutex();
    for (auto _ : state) {
        NLightMutexLock(mutex);
        NLightMutexUnlock(mutex);
    }
}

void BM_pthread_mutex_normal(benchmark::State &state)
{
    pthread_mutex_t *mutex = normal_pthread_mutex();
    for (auto _ : state) {
        pthread_mutex_lock(mutex);
        pthread_mutex_unlock(mutex);
    }
}

void BM_std_mutex(benchmark::State &state)
{
    std::mutex &mutex = std_mutex();
    for (auto _ : state) {
        mutex.lock();
        mutex.unlock();
    }
}

void BM_NMutex(benchmark::State &state)
{
    NMutex *mutex = general_mutex();
    for (auto _ : state) {
        NMutexLock(mutex);
        NMutexUnlock(mutex);
    }
}

void BM_pthread_mutex_recursive(benchmark::State &state)
{
    pthread_mutex_t *mutex = recursive_pthread_mutex();
    for (auto _ : state) {
        pthread_mutex_lock(mutex);
        pthread_mutex_unlock(mutex);
    }
}

// Two levels deep: the inner lock is the recursive path.
void BM_NMutex_nested(benchmark::State &state)
{
    NMutex *mutex = general_mutex();
    for (auto _ : state) {
        NMutexLock(mutex);
        NMutexLock(mutex);
        NMutexUnlock(mutex);
        NMutexUnlock(mutex);
    }
}

void BM_pthread_mutex_recursive_nested(benchmark::State &state)
{
    pthread_mutex_t *mutex = recursive_pthread_mutex();
    for (auto _ : state) {
        pthread_mutex_lock(mutex);
        pthread_mutex_lock(mutex);
        pthread_mutex_unlock(mutex);
        pthread_mutex_unlock(mutex);
    }
}

NSemaphore *library_semaphore()
{
    static NSemaphore *semaphore = [] {
        NSemaphore *made = nullptr;
        NSemaphoreCreateN(0, &made);
        return made;
    }();
    return semaphore;
}

sem_t *posix_semaphore()
{
    static sem_t semaphore;
    static bool made = (sem_init(&semaphore, 0, 0) == 0);
    (void)made;
    return &semaphore;
}

// A post and a wait that never has to sleep; with two threads, both post
// and take from the one semaphore.
void BM_NSemaphore_post_wait(benchmark::State &state)
{
    NSemaphore *semaphore = library_semaphore();
    for (auto _ : state) {
        NSemaphorePost(semaphore);
        NSemaphoreWait(semaphore);
    }
}

void BM_sem_t_post_wait(benchmark::State &state)
{
    sem_t *semaphore = posix_semaphore();
    for (auto _ : state) {
        sem_post(semaphore);
        sem_wait(semaphore);
    }
}

void BM_NSemaphore_try(benchmark::State &state)
{
    NSemaphore *semaphore = library_semaphore();
    for (auto _ : state)
        benchmark::DoNotOptimize(NSemaphoreTry(semaphore));
}

void BM_sem_t_trywait(benchmark::State &state)
{
    sem_t *semaphore = posix_semaphore();
    for (auto _ : state)
        benchmark::DoNotOptimize(sem_trywait(semaphore));
}

} // namespace

BENCHMARK(BM_NLightMutex)->Threads(1)->Threads(2);
BENCHMARK(BM_pthread_mutex_normal)->Threads(1)->Threads(2);
BENCHMARK(BM_std_mutex)->Threads(1)->Threads(2);
BENCHMARK(BM_NMutex)->Threads(1)->Threads(2);
BENCHMARK(BM_pthread_mutex_recursive)->Threads(1)->Threads(2);
BENCHMARK(BM_NMutex_nested)->Threads(1)->Threads(2);
BENCHMARK(BM_pthread_mutex_recursive_nested)->Threads(1)->Threads(2);
BENCHMARK(BM_NSemaphore_post_wait)->Threads(1)->Threads(2);
BENCHMARK(BM_sem_t_post_wait)->Threads(1)->Threads(2);
BENCHMARK(BM_NSemaphore_try);
BENCHMARK(BM_sem_t_trywait);

BENCHMARK_MAIN();
