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
    rc = show_sorted_list();

    NShutdown();
    return rc == 0 ? 0 : 1;
}
