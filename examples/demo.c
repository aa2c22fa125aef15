/*
 * demo - a tour of what libtarvolk_r offers so far.
 *
 * Run it through `make demo`, which points TARVOLKHOME and ZIMBRELHOME at a
 * small installation tree in the build folder.
 */
#include <locale.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <tarvolk/tarvolk.h>

struct city {
    const char *name;
    int population; /* thousands */
};

static int by_population(const void *left, const void *right, void *arg)
{
    const struct city *a = left;
    const struct city *b = right;
    (void)arg;
    return (a->population > b->population) - (a->population < b->population);
}

static void show_names(void)
{
    int32_t fips = 0;

    printf("Application   %s\n", NGetAppName());
    printf("Process       %s\n", NGetProcName());
    printf("Host          %s\n", NGetHostName());
    printf("Platform      %s\n", NGetPlatform());
    printf("TARVOLKHOME   %s\n", NGetTARVOLKHOME());
    printf("ZIMBRELHOME   %s\n", NGetZIMBRELHOME());
    printf("Directories   %s %s %s %s %s %s %s\n", NGetBinDir(), NGetLibDir(), NGetEtcDir(),
           NGetVarDir(), NGetConfigDir(), NGetGateDir(), NGetLogDir());
    printf("              %s %s %s\n", NGetTsmDir(), NGetMonitorDir(), NGetProbeDir());
    NIsSystemFIPS(&fips);
    printf("FIPS          %s\n", fips ? "on" : "off");
    printf("Product       %s %s (%s)\n\n", _n_GetProductName(), _n_GetFullVersionString(),
           _n_GetProductDCIName());
}

static void show_revisions(void)
{
    char *revisions = NULL;

    if (NVersionInfoString(&revisions) == 0 && revisions != NULL) {
        fputs(revisions, stdout);
        n_free(revisions);
    }
    putchar('\n');
}

static void show_return_codes(void)
{
    static const NRC codes[] = {NRC_SUCCESS, NRC_FAILURE, NRC_TIMEOUT, NRC_PROP_NOT_FOUND,
                                -302, 2, 12};
    size_t i;

    printf("Return codes:\n");
    for (i = 0; i < sizeof codes / sizeof codes[0]; i++)
        printf("  %8d  %s\n", (int)codes[i], NRCToString(codes[i]));
    putchar('\n');
}

static int show_sorted_list(void)
{
    static const struct city cities[] = {
        {"Lisbon", 545}, {"Oslo", 709}, {"Tallinn", 438}, {"Porto", 232},
        {"Bergen", 286}, {"Tartu", 97},  {"Braga", 193},
    };
    NList *list = NListCreateWith(n_malloc);
    struct city *item;
    size_t i;

    if (list == NULL)
        return 12;
    for (i = 0; i < sizeof cities / sizeof cities[0]; i++) {
        item = NListAlloc(sizeof *item);
        if (item == NULL) {
            NListDestroyWith(list, NListFree, NULL, n_free);
            return 12;
        }
        *item = cities[i];
        NListInsertAfter(list, item, NListTail(list));
    }
    NListMergeSort(list, by_population, NULL);

    printf("Cities by population (merge sort of an NList of %d items):\n",
           (int)NListNumItems(list));
    for (item = NListFirst(list); item != NULL; item = NListNext(item))
        printf("  %-8s %4d000\n", item->name, item->population);
    NListDestroyWith(list, NListFree, NULL, n_free);
    return 0;
}

struct word {
    const char *text;
    int count;
};

static uint32_t hash_word(const void *item, void *arg)
{
    (void)arg;
    return NHashString2(((const struct word *)item)->text);
}

static int compare_words(const void *left, const void *right, void *arg)
{
    (void)arg;
    return strcmp(((const struct word *)left)->text, ((const struct word *)right)->text);
}

static int compare_ints(const void *left, const void *right, void *arg)
{
    int a = *(const int *)left;
    int b = *(const int *)right;
    (void)arg;
    return (a > b) - (a < b);
}

static void *word_to_tree(void *item, void *arg1, void *arg2)
{
    struct word *copy = NTreeAlloc(sizeof *copy);
    (void)arg1;
    (void)arg2;
    if (copy != NULL)
        *copy = *(const struct word *)item;
    return copy;
}

static void print_word(void *item, void *arg)
{
    const struct word *w = item;
    (void)arg;
    printf(" %s:%d", w->text, w->count);
}

/* Counts words in a hash table, then lists them in order through a tree
   made by a conversion; sorts and searches an array. */
static int show_containers(void)
{
    static const char *const text[] = {"the", "quick", "fox", "and", "the", "lazy",
                                       "dog", "and", "the", "fox"};
    int numbers[] = {42, 7, 19, 3, 88, 23, 7, 61};
    int wanted = 23;
    NHash *words = NHashCreateWith(n_malloc, 127, hash_word, NULL, compare_words, NULL);
    NTree *sorted = NTreeCreateWith(n_malloc, compare_words, NULL);
    size_t i;
    int *found;

    if (words == NULL || sorted == NULL)
        return 12;
    for (i = 0; i < sizeof text / sizeof text[0]; i++) {
        struct word key = {text[i], 0};
        struct word *w = NHashFind(words, &key);
        if (w == NULL) {
            w = NHashAlloc(sizeof *w);
            if (w == NULL)
                break;
            *w = key;
            NHashInsert(words, w);
        }
        w->count++;
    }
    NHashToNTree(words, sorted, word_to_tree, NULL, NULL);
    printf("Word counts (hash table, then a tree in order):");
    NTreeTraverse(sorted, NTREE_INORDER, print_word, NULL);
    printf("\n");

    NQuickSort(numbers, sizeof numbers / sizeof numbers[0], sizeof numbers[0], compare_ints, NULL);
    found = NBinarySearch(&wanted, numbers, sizeof numbers / sizeof numbers[0], sizeof numbers[0],
                          compare_ints, NULL);
    printf("Sorted numbers:");
    for (i = 0; i < sizeof numbers / sizeof numbers[0]; i++)
        printf(" %d", numbers[i]);
    printf("; %d found at index %d\n\n", wanted, found ? (int)(found - numbers) : -1);

    NTreeDestroyWith(sorted, NTreeFree, NULL, n_free);
    NHashDestroyWith(words, NHashFree, NULL, n_free);
    return 0;
}

/* Work shared by the main thread and a worker: numbers parsed from text are
   handed over one at a time through a semaphore and summed under a mutex. */
struct handover {
    NSemaphore *ready;
    NSemaphore *taken;
    NMutex *lock;
    int32_t value;
    int64_t sum;
    int done;
};

static NRC sum_worker(NThread *self, void *arg)
{
    struct handover *h = arg;

    for (;;) {
        NSemaphoreWait(h->ready);
        NMutexLock(h->lock);
        if (h->done) {
            NMutexUnlock(h->lock);
            NLog(NLOG_INFO, 1, NULL, 0, 0, "worker %s summed %lld", NThreadGetName(self),
                 (long long)h->sum);
            return 0;
        }
        h->sum += h->value;
        NMutexUnlock(h->lock);
        NSemaphorePost(h->taken);
    }
}

/* Parses numbers in several notations, sums them in a spawned worker, times
   the run with a stopwatch and writes the report into a growable buffer. */
static int show_text_and_threads(void)
{
    static const char *const texts[] = {"42", "0x10", "010", "  -7", "3000000000", "12abc"};
    struct handover h = {NULL, NULL, NULL, 0, 0, 0};
    NStopWatch *watch = NULL;
    NBuffer report;
    NThread *worker = NULL;
    uint32_t keep = NTHREAD_KEEP_RECORD;
    char *quoted = NULL;
    char when[N_CTIME_BUFFER_SIZE];
    time_t future = 2208988800; /* 2040-01-01 */
    size_t i;
    int rc = 0;

    nb_init(&report);
    if (NSemaphoreCreateN(0, &h.ready) != 0 || NSemaphoreCreateN(0, &h.taken) != 0 ||
        NMutexCreate("demo sum", &h.lock) != 0 || NStopWatchCreate(&watch) != 0 ||
        NThreadSpawn("demo summer", sum_worker, &h, &keep, &worker) != 0)
        return 12;
    NStopWatchStart(watch);
    nb_strcat(&report, "\nNumbers read by NStringToInteger:");
    for (i = 0; i < sizeof texts / sizeof texts[0]; i++) {
        int32_t value = 0;
        NStringToInteger(texts[i], &value);
        nb_sprintf(&report, " \"%s\"=%d", texts[i], (int)value);
        NMutexLock(h.lock);
        h.value = value;
        NMutexUnlock(h.lock);
        NSemaphorePost(h.ready);
        NSemaphoreWait(h.taken);
    }
    NMutexLock(h.lock);
    h.done = 1;
    NMutexUnlock(h.lock);
    NSemaphorePost(h.ready);
    NThreadDestroy(worker); /* waits for the worker and collects its exit code */
    NStopWatchStop(watch);

    if (NStringQuoted("it's a \"quoted\"\ttext", &quoted) == 0) {
        nb_sprintf(&report, "\nSummed by a worker thread: %lld\nQuoted for a properties file: %s\n",
                   (long long)h.sum, quoted);
        n_free(quoted);
    }
    nb_sprintf(&report, "A time past 2038: %s", n_ctime(&future, when));
    nb_sprintf(&report, "Hand-over of %d numbers took %.6f s (stopwatch)\n\n",
               (int)(sizeof texts / sizeof texts[0]), NStopWatchGetElapsed(watch));
    if (nb_strval(&report) == NULL)
        rc = 12;
    else
        fputs(nb_strval(&report), stdout);

    nb_free(&report);
    NStopWatchDestroy(watch);
    NMutexDestroy(h.lock);
    NSemaphoreDestroy(h.taken);
    NSemaphoreDestroy(h.ready);
    return rc;
}

/* Text in the locale's code set: characters rather than bytes, cutting,
 * case mapping and collation order. */
static NRC show_encoding(void)
{
    static const char *const words[] = {"\xc3\xa9t\xc3\xa9", "Zebra", "apple", "\xc3\x84rger"};
    const char *text = "  Stra\xc3\x9f" "e \xe6\x97\xa5\xe6\x9c\xac  ";
    NUChar *units = NULL, *trimmed = NULL, *upper = NULL;
    char *shown = NULL;
    char cut[8];
    NRC rc = NUStringCreate(text, &units);

    if (rc == 0)
        rc = NUStringLRTrim(units, &trimmed);
    if (rc == 0 && (upper = NUStringUpper(trimmed)) == NULL)
        rc = 12;
    if (rc == 0)
        rc = NUStringUStrToStr(upper, &shown);
    if (rc == 0) {
        printf("text: %d bytes, %d characters; trimmed and upper-cased: \"%s\"\n",
               (int)strlen(text), NUStringMbsCountUChar32(text), shown);
        NUStringMbsStrncpy(cut, text + 2, 7);
        printf("its first 7 bytes cut at a whole character: \"%s\"\n", cut);
    }
    NUStringStrDestroy(shown);
    NUStringDestroy(upper);
    NUStringDestroy(trimmed);
    NUStringDestroy(units);

    if (rc == 0) {
        NSortKeyContext *context = NULL;
        uint8_t keys[4][64];
        int32_t length;
        size_t i;

        rc = NSortKeyCreate(&context, NSORTKEY_LOWER_FIRST);
        for (i = 0; rc == 0 && i < 4; ++i)
            rc = NSortKeyGenerate(context, words[i], keys[i], sizeof keys[i], &length);
        if (rc == 0)
            printf("sort keys order \"%s\" %s \"%s\" (bytes: \"%s\" %s \"%s\")\n", words[3],
                   memcmp(keys[3], keys[1], sizeof keys[3]) < 0 ? "before" : "after", words[1],
                   words[3], strcmp(words[3], words[1]) < 0 ? "before" : "after", words[1]);
        NSortKeyDestroy(context);
    }
    NUStringThrSpecificDataFree();
    return rc;
}

int main(void)
{
    NRC rc;

    /* The demo's texts are UTF-8 whatever the locale: it says so before any
     * text operation. */
    setlocale(LC_ALL, "");
    NI18nSetEncoding("UTF-8");
    rc = NInitialise("demo", "stdout");

    if (rc != 0) {
        fprintf(stderr, "NInitialise failed: %s\n", NRCToString(rc));
        return 1;
    }
    NSetProcName("tarvolk-demo");
    NLogMgrSetLevelFromString("info");

    show_names();
    show_revisions();
    show_return_codes();
    rc = show_containers();
    if (rc == 0)
        rc = show_sorted_list();
    if (rc == 0)
        rc = show_encoding();
    if (rc == 0)
        rc = show_text_and_threads();

    NShutdown();
    return rc == 0 ? 0 : 1;
}
