/*
 * load_probe LIBRARY - loads the shared library with dlopen, prints its
 * revision list, and unloads it again. Exit status 0 on success. The log
 * hook of libtvkcrypt, which the library needs, must be reachable through
 * the library's handle.
 */
#include <dlfcn.h>
#include <stdio.h>

typedef int (*version_string_fn)(char **text);
typedef void (*free_fn)(void *ptr);

int main(int argc, char **argv)
{
    void *library;
    version_string_fn version_string;
    free_fn n_free_ptr;
    char *text = NULL;

    if (argc != 2) {
        fprintf(stderr, "usage: load_probe LIBRARY\n");
        return 2;
    }
    library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (library == NULL) {
        fprintf(stderr, "dlopen: %s\n", dlerror());
        return 1;
    }
    *(void **)&version_string = dlsym(library, "NVersionInfoString");
    *(void **)&n_free_ptr = dlsym(library, "n_free");
    if (version_string == NULL || n_free_ptr == NULL ||
        dlsym(library, "TVKUTILSRegisterLogCB") == NULL) {
        fprintf(stderr, "dlsym: %s\n", dlerror());
        return 1;
    }
    if (version_string(&text) != 0 || text == NULL)
        return 1;
    fputs(text, stdout);
    fflush(stdout);
    n_free_ptr(text);
    return dlclose(library) == 0 ? 0 : 1;
}
