// The log module of the standard streams. Its handle is the stream itself;
// it has no close of its own, since the streams are the process's.
#include <tarvolk/log_stdout.h>

#include <tarvolk/buffer.h>
#include <tarvolk/retcode.h>
#include <tarvolk/time.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "frame/log.h"

namespace {

// Size of the time stamp's buffer.
constexpr size_t stamp_size = 128;

NRC stdout_open(const char *target, void **module_handle)
{
    *module_handle = nullptr;
    if (target != nullptr && std::strcmp(target, "stdout") == 0)
        *module_handle = stdout;
    else if (target != nullptr && std::strcmp(target, "stderr") == 0)
        *module_handle = stderr;
    else
        return NRC_FAILURE;
    return 0;
}

// "STAMP: Level: TEXT". The stamp is always the ISO form: the library has
// no old-style stamp to offer.
NRC stdout_format(NLogFile *, NLogLevel level, NI18nCatalog, int32_t, int32_t, const char *text,
                  char **line)
{
    char stamp[stamp_size];
    if (n_ISOtimestring(stamp, sizeof stamp) == nullptr)
        stamp[0] = '\0';
    NBuffer buffer;
    nb_init(&buffer);
    // "%s: %s: %s", without a pass of printf over the text.
    NRC rc = 0;
    for (const char *piece : {static_cast<const char *>(stamp), ": ", tvk::log_level_word(level),
                              ": ", text})
        if (rc == 0)
            rc = nb_strcat(&buffer, piece);
    *line = rc == 0 ? nb_strval(&buffer) : nullptr;
    if (*line == nullptr) {
        nb_free(&buffer);
        return rc != 0 ? rc : ENOMEM;
    }
    // The buffer's storage is the line now.
    return 0;
}

NRC stdout_write(void *module_handle, NLogLevel, const char *line)
{
    auto *stream = static_cast<FILE *>(module_handle);
    std::fprintf(stream, "%s\n", line);
    std::fflush(stream);
    return 0;
}

} // namespace

extern "C" void NLogStdoutModuleFuncs(NLogOpenFunc *open, NLogFormatFunc *format,
                                      NLogWriteFunc *write)
{
    if (open != nullptr)
        *open = stdout_open;
    if (format != nullptr)
        *format = stdout_format;
    if (write != nullptr)
        *write = stdout_write;
}
