// The incremental allocator: a grow-only arena of blobs.
#include <tarvolk/incralloc.h>

#include <tarvolk/mem.h>

#include <cstdint>
#include <cstring>

namespace {

// A blob is a list item: its data size, then the data, which starts 8 bytes
// further (8-byte aligned behind the list's 16-byte item header).
struct NIncrBlob {
    uint32_t size;
    uint32_t reserved;
};

static_assert(sizeof(NIncrBlob) == 8, "blob data starts on an 8-byte boundary");

unsigned char *blob_data(NIncrBlob *blob) noexcept
{
    return reinterpret_cast<unsigned char *>(blob) + sizeof(NIncrBlob);
}

constexpr uint32_t max_rounded = UINT32_MAX & ~uint32_t{7};

// Rounds up to a multiple of 8; false if that leaves 32 bits.
bool round8(size_t size, uint32_t *rounded) noexcept
{
    if (size > max_rounded)
        return false;
    *rounded = static_cast<uint32_t>((size + 7) & ~size_t{7});
    return true;
}

} // namespace

struct NIncrAllocator {
    uint32_t blob_size;
    uint32_t left;
    NList *blobs;
    NIncrBlob *current;
    unsigned char *free;
    int32_t clear;
};

namespace {

void make_current(NIncrAllocator *arena, NIncrBlob *blob) noexcept
{
    if (arena->clear)
        std::memset(blob_data(blob), 0, blob->size);
    arena->current = blob;
    arena->free = blob_data(blob);
    arena->left = blob->size;
}

// Makes a blob of at least `needed' data bytes current: the retained blob
// behind the current one if it is big enough, else a new one linked
// directly behind the current one. 0, or 12 with nothing changed.
NRC create_new_blob(NIncrAllocator *arena, uint32_t needed)
{
    if (arena->current != nullptr) {
        auto *next = static_cast<NIncrBlob *>(NListNext(arena->current));
        if (next != nullptr && next->size >= needed) {
            make_current(arena, next);
            return 0;
        }
    }

    const uint32_t size = needed > arena->blob_size ? needed : arena->blob_size;
    if (static_cast<uint64_t>(size) + sizeof(NIncrBlob) > SIZE_MAX)
        return 12;
    auto *blob = static_cast<NIncrBlob *>(NListAlloc(sizeof(NIncrBlob) + size));
    if (blob == nullptr)
        return 12;
    blob->size = size;
    blob->reserved = 0;
    NListInsertAfter(arena->blobs, blob,
                     arena->current != nullptr ? arena->current : NListHead(arena->blobs));
    make_current(arena, blob);
    return 0;
}

NIncrAllocator *create_arena(uint32_t size, int32_t clear)
{
    uint32_t blob_size = 0;
    if (!round8(size, &blob_size))
        return nullptr;
    auto *arena = static_cast<NIncrAllocator *>(n_malloc(sizeof(NIncrAllocator)));
    if (arena == nullptr)
        return nullptr;
    arena->blob_size = blob_size;
    arena->left = blob_size;
    arena->blobs = NListCreateWith(n_malloc);
    arena->current = nullptr;
    arena->free = nullptr;
    arena->clear = clear;
    if (arena->blobs == nullptr) {
        n_free(arena);
        return nullptr;
    }
    if (create_new_blob(arena, 0) != 0) {
        NListDestroyWith(arena->blobs, nullptr, nullptr, n_free);
        n_free(arena);
        return nullptr;
    }
    return arena;
}

} // namespace

extern "C" {

NIncrAllocator *NIncrAllocatorCreate(uint32_t size)
{
    return create_arena(size, 1);
}

NIncrAllocator *NIncrAllocatorCreateNoClear(uint32_t size)
{
    return create_arena(size, 0);
}

void *NIncrAllocatorAlloc(NIncrAllocator *arena, size_t size)
{
    uint32_t rounded = 0;
    if (arena == nullptr || !round8(size, &rounded))
        return nullptr;
    if (rounded > arena->left && create_new_blob(arena, rounded) != 0)
        return nullptr;
    void *piece = arena->free;
    arena->free += rounded;
    arena->left -= rounded;
    return piece;
}

char *NIncrAllocatorStrdup(NIncrAllocator *arena, const char *text)
{
    if (text == nullptr)
        return nullptr;
    const size_t size = std::strlen(text) + 1;
    auto *copy = static_cast<char *>(NIncrAllocatorAlloc(arena, size));
    if (copy != nullptr)
        std::memcpy(copy, text, size);
    return copy;
}

void *NIncrAllocatorAllocRestBlob(NIncrAllocator *arena, uint32_t *size)
{
    if (arena == nullptr || size == nullptr)
        return nullptr;
    if (arena->left == 0 && create_new_blob(arena, arena->blob_size) != 0)
        return nullptr;
    void *piece = arena->free;
    *size = arena->left;
    arena->free += arena->left;
    arena->left = 0;
    return piece;
}

void NIncrAllocatorAllocResize(NIncrAllocator *arena, uint32_t unused)
{
    if (arena == nullptr)
        return;
    uint32_t back = unused & ~uint32_t{7};
    // Never hand back more than the current blob has given out.
    const auto given = static_cast<uint32_t>(arena->free - blob_data(arena->current));
    if (back > given)
        back = given;
    arena->free -= back;
    arena->left = back;
    // The caller may have written into the part it hands back; a clearing
    // arena gives out zeroed memory only.
    if (arena->clear)
        std::memset(arena->free, 0, back);
}

void NIncrAllocatorExpunge(NIncrAllocator *arena)
{
    if (arena == nullptr)
        return;
    make_current(arena, static_cast<NIncrBlob *>(NListFirst(arena->blobs)));
}

void NIncrAllocatorFlush(NIncrAllocator *arena)
{
    if (arena == nullptr)
        return;
    NIncrBlob *keep = arena->current;
    NListDelete(arena->blobs, keep);
    NListFlush(arena->blobs, NListFree, nullptr);
    NListInsertAfter(arena->blobs, keep, NListHead(arena->blobs));
    NIncrAllocatorExpunge(arena);
}

void NIncrAllocatorDestroy(NIncrAllocator *arena)
{
    if (arena == nullptr)
        return;
    NListDestroyWith(arena->blobs, NListFree, nullptr, n_free);
    n_free(arena);
}

int32_t NIncrAllocatorNumBlobs(NIncrAllocator *arena)
{
    return arena == nullptr ? 0 : NListNumItems(arena->blobs);
}

uint32_t NIncrAllocatorEstimateSize(NIncrAllocator *arena)
{
    if (arena == nullptr)
        return 0;
    const uint64_t estimate =
        static_cast<uint64_t>(NListNumItems(arena->blobs)) * arena->blob_size;
    return estimate > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(estimate);
}

} // extern "C"
