// File services.
#include <tarvolk/file.h>

#include <tarvolk/i18n.h>

#include <unistd.h>

extern "C" int NFileExists(const char *path)
{
    if (path == nullptr)
        return 0;
    return NI18nAccess(path, F_OK) == 0 ? 1 : 0;
}
