// Exchange of two array elements of any width.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tvk {

// Exchanges the size bytes at a and b (which don't overlap unless equal).
// Word-sized elements go in one step, others in chunks through a small
// buffer; the result is that of a byte-by-byte exchange.
inline void swap_elements(void *a, void *b, size_t size) noexcept
{
    if (a == b)
        return;
    auto *p = static_cast<unsigned char *>(a);
    auto *q = static_cast<unsigned char *>(b);
    if (size == sizeof(uint64_t)) {
        uint64_t t;
        std::memcpy(&t, p, sizeof t);
        std::memcpy(p, q, sizeof t);
        std::memcpy(q, &t, sizeof t);
        return;
    }
    if (size == sizeof(uint32_t)) {
        uint32_t t;
        std::memcpy(&t, p, sizeof t);
        std::memcpy(p, q, sizeof t);
        std::memcpy(q, &t, sizeof t);
        return;
    }
    unsigned char buffer[64];
    while (size > 0) {
        const size_t chunk = size < sizeof buffer ? size : sizeof buffer;
        std::memcpy(buffer, p, chunk);
        std::memcpy(p, q, chunk);
        std::memcpy(q, buffer, chunk);
        p += chunk;
        q += chunk;
        size -= chunk;
    }
}

} // namespace tvk
