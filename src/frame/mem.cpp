// The memory family: thin layers over the system allocator.
#include <tarvolk/mem.h>

#include <cstdlib>
#include <cstring>

#include "frame/mem.h"

extern "C" {

void *n_malloc(size_t size)
{
    return std::malloc(size);
}

void *n_calloc(size_t count, size_t size)
{
    return std::calloc(count, size);
}

void *n_realloc(void *ptr, size_t size)
{
    return std::realloc(ptr, size);
}

void n_free(void *ptr)
{
    if (ptr != nullptr)
        std::free(ptr);
}

char *n_strdup(const char *text)
{
    if (text == nullptr)
        return nullptr;
    const size_t size = std::strlen(text) + 1;
    auto *copy = static_cast<char *>(n_malloc(size));
    if (copy != nullptr)
        std::memcpy(copy, text, size);
    return copy;
}

char *n_xstrdup(const char *text)
{
    if (text == nullptr)
        return nullptr;
    const size_t length = std::strlen(text);
    const size_t block = tvk::xstrdup_block_size(length);
    if (block == 0)
        return nullptr;
    auto *copy = static_cast<char *>(n_malloc(block));
    if (copy == nullptr)
        return nullptr;
    std::memcpy(copy, text, length);
    std::memset(copy + length, 0, block - length);
    return copy;
}

void n_bzero(void *ptr, size_t size)
{
    if (size != 0)
        std::memset(ptr, 0, size);
}

void n_bcopy(void *dst, const void *src, size_t size)
{
    if (size != 0)
        std::memmove(dst, src, size);
}

} // extern "C"
