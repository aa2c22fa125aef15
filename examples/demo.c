/*
 * demo - a tour of what libtarvolk_r offers so far.
 *
 * Run it through `make demo`, which points TARVOLKHOME and ZIMBRELHOME at a
 * small installation tree in the build folder.
 */
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

int main(void)
{
    NRC rc = NInitialise("demo", "stdout");

    if (rc != 0) {
        fprintf(stderr, "NInitialise failed: %s\n", NRCToString(rc));
        return 1;
    }
    NSetProcName("tarvolk-demo");

    show_names();
    show_revisions();
    show_return_codes();
    rc = show_containers();
    if (rc == 0)
        rc = show_sorted_list();

    NShutdown();
    return rc == 0 ? 0 : 1;
}
