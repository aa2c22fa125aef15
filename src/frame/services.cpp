// Names of the process and of the directories of an installation, path
// building, and the system's FIPS setting.
#include <tarvolk/services.h>

#include <tarvolk/file.h>
#include <tarvolk/i18n.h>
#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <pthread.h>
#include <unistd.h>

namespace tvk {
// The pointer given to NInitialise, stored as it is and never copied.
std::atomic<const char *> application_name{nullptr};
} // namespace tvk

namespace {

constexpr const char *default_platform = "linux2x86";
constexpr const char *default_zimbrelhome = "/opt/tarvolk/zimbrel";
constexpr const char *default_tarvolkhome = "/opt/tarvolk";
constexpr size_t platform_dir_size = 1024;
constexpr size_t detected_platform_size = 256;
constexpr size_t host_name_size = 64;

char *process_name = nullptr;

// The caches are filled at the first call and only read afterwards. Two
// first calls at once compute equal values; the atomics keep that race
// well defined.
std::atomic<const char *> platform_name{nullptr};
std::atomic<const char *> zimbrelhome{nullptr};
std::atomic<const char *> tarvolkhome{nullptr};

char detected_platform[detected_platform_size];
pthread_once_t detected_platform_once = PTHREAD_ONCE_INIT;

char host_name[host_name_size];
pthread_once_t host_name_once = PTHREAD_ONCE_INIT;

// Reads an installation directory at the first call and tests it for read
// and search access; a directory that fails the test ends the process.
const char *installation_home(std::atomic<const char *> &cache, const char *variable,
                              const char *fallback)
{
    const char *home = cache.load(std::memory_order_acquire);
    if (home != nullptr)
        return home;
    home = NEnvGet(variable);
    if (home == nullptr)
        home = fallback;
    if (NI18nAccess(home, R_OK | X_OK) != 0) {
        std::fprintf(stderr, "Fatal Error: Failed to access %s directory: %s", variable, home);
        std::exit(1);
    }
    cache.store(home, std::memory_order_release);
    return home;
}

// Directories below the platform: "NAME/PLATFORM", written into the
// service's own buffer. The text is the same at every call once the
// platform is known; the buffer is written again only if it differs, so
// that readers of an earlier result never see a write.
struct PlatformDir {
    char buffer[platform_dir_size];
    pthread_mutex_t lock;
};

PlatformDir tsm_dir = {{}, PTHREAD_MUTEX_INITIALIZER};
PlatformDir monitor_dir = {{}, PTHREAD_MUTEX_INITIALIZER};
PlatformDir probe_dir = {{}, PTHREAD_MUTEX_INITIALIZER};

const char *platform_dir(PlatformDir &dir, const char *name)
{
    char text[platform_dir_size];
    std::snprintf(text, sizeof text, "%s/%s", name, NGetPlatform());
    pthread_mutex_lock(&dir.lock);
    if (std::strcmp(dir.buffer, text) != 0)
        std::memcpy(dir.buffer, text, std::strlen(text) + 1);
    pthread_mutex_unlock(&dir.lock);
    return dir.buffer;
}

void detect_platform()
{
    std::snprintf(detected_platform, sizeof detected_platform, "%s", NGetPlatform());
}

void read_host_name()
{
    if (gethostname(host_name, sizeof host_name) != 0)
        std::snprintf(host_name, sizeof host_name, "%s", "localhost");
    host_name[sizeof host_name - 1] = '\0';
}

// Appends pieces to dst at offset `used' while they fit in `size' bytes
// with the terminator; cuts the first that doesn't. Returns 0 or
// NRC_FAILURE.
NRC append_bounded(char *dst, size_t size, size_t used, va_list pieces)
{
    for (const char *piece = va_arg(pieces, const char *); piece != nullptr;
         piece = va_arg(pieces, const char *)) {
        const size_t length = std::strlen(piece);
        if (length >= size - used) {
            const size_t room = size - 1 - used;
            std::memcpy(dst + used, piece, room);
            dst[size - 1] = '\0';
            return NRC_FAILURE;
        }
        std::memcpy(dst + used, piece, length);
        used += length;
        dst[used] = '\0';
    }
    return 0;
}

} // namespace

extern "C" {

const char *NGetAppName(void)
{
    return tvk::application_name.load(std::memory_order_acquire);
}

const char *NGetProcName(void)
{
    if (process_name != nullptr)
        return process_name;
    return NGetAppName();
}

NRC NSetProcName(const char *name)
{
    // The copy is made before the old name goes, so that the current name
    // may be given back (NSetProcName(NGetProcName())).
    char *copy = name != nullptr ? n_strdup(name) : nullptr;
    n_free(process_name);
    process_name = copy;
    return name != nullptr && copy == nullptr ? 12 : 0;
}

const char *NGetBinDir(void)
{
    return "bin";
}

const char *NGetLibDir(void)
{
    return "lib";
}

const char *NGetEtcDir(void)
{
    return "etc";
}

const char *NGetVarDir(void)
{
    return "var";
}

const char *NGetConfigDir(void)
{
    return "config";
}

const char *NGetGateDir(void)
{
    return "gates";
}

const char *NGetLogDir(void)
{
    return "log";
}

const char *NGetTsmDir(void)
{
    return platform_dir(tsm_dir, "tsm");
}

const char *NGetMonitorDir(void)
{
    return platform_dir(monitor_dir, "monitors");
}

const char *NGetProbeDir(void)
{
    return platform_dir(probe_dir, "probes");
}

const char *NGetPlatform(void)
{
    const char *platform = platform_name.load(std::memory_order_acquire);
    if (platform != nullptr)
        return platform;
    platform = NEnvGet("TARVOLKPLATFORM");
    if (platform == nullptr)
        platform = default_platform;
    // The first value stored wins, so every caller sees the same pointer.
    const char *expected = nullptr;
    if (!platform_name.compare_exchange_strong(expected, platform, std::memory_order_acq_rel))
        platform = expected;
    return platform;
}

const char *NDetectPlatform(void)
{
    pthread_once(&detected_platform_once, detect_platform);
    return detected_platform;
}

const char *NGetZIMBRELHOME(void)
{
    return installation_home(zimbrelhome, "ZIMBRELHOME", default_zimbrelhome);
}

const char *NGetTARVOLKHOME(void)
{
    return installation_home(tarvolkhome, "TARVOLKHOME", default_tarvolkhome);
}

const char *NGetHostName(void)
{
    pthread_once(&host_name_once, read_host_name);
    return host_name;
}

void NConstructPath(char *dst, const char *first, ...)
{
    if (dst == nullptr)
        return;
    std::strcpy(dst, first != nullptr ? first : "");
    size_t used = std::strlen(dst);
    va_list pieces;
    va_start(pieces, first);
    for (const char *piece = va_arg(pieces, const char *); piece != nullptr;
         piece = va_arg(pieces, const char *)) {
        const size_t length = std::strlen(piece);
        std::memcpy(dst + used, piece, length + 1);
        used += length;
    }
    va_end(pieces);
}

NRC NConstructPathWithLength(char *dst, uint32_t size, const char *first, ...)
{
    if (dst == nullptr || size == 0)
        return NRC_FAILURE;
    if (first == nullptr)
        first = "";
    const size_t length = std::strlen(first);
    if (length >= size) {
        std::memcpy(dst, first, size - 1);
        dst[size - 1] = '\0';
        return NRC_FAILURE;
    }
    std::memcpy(dst, first, length + 1);
    va_list pieces;
    va_start(pieces, first);
    NRC rc = append_bounded(dst, size, length, pieces);
    va_end(pieces);
    return rc;
}

NRC NIsSystemFIPS(int32_t *is_fips)
{
    if (is_fips == nullptr)
        return NRC_FAILURE;
    char path[4096];
    (void)NConstructPathWithLength(path, sizeof path, NGetTARVOLKHOME(), "/", NGetEtcDir(), "/",
                                   "security", "/", "fips.conf", static_cast<char *>(nullptr));
    *is_fips = NFileExists(path) ? 1 : 0;
    return 0;
}

} // extern "C"
