// The growable byte buffer.
//
// Storage grows only by allocate, copy, release through the record's own
// allocator pair; nothing is resized in place. Sizes are worked out in 64
// bits, so a length near the limit can't wrap an int32_t on the way.
#include <tarvolk/buffer.h>

#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include <unistd.h>

namespace {

constexpr int64_t first_capacity = 128;
constexpr int64_t largest_capacity = INT32_MAX;
constexpr int64_t largest_length = NB_MAX_LENGTH;

// Makes sure the storage can take the content that an operation is about to
// produce, `required' bytes (what that counts is the operation's business;
// see each caller). Growth happens unless required is below capacity - 1;
// the new capacity doubles (128 at first), or becomes required + 1 where
// doubling falls short.
//
// The capacity is an int32_t, so growth stops at 0x7FFFFFFF bytes: that
// holds the largest content, NB_MAX_LENGTH bytes, and its terminator, which
// is all any caller may ask for (each checks its sum against the limit
// first). Storage already at that size is therefore never reallocated.
//
// On a null from alloc the record is untouched and the result is ENOMEM.
NRC make_room(NBuffer *buffer, int64_t required) noexcept
{
    const int64_t capacity = buffer->capacity;
    if (capacity != 0 && required < capacity - 1)
        return 0;
    int64_t grown = capacity == 0 ? first_capacity : 2 * capacity;
    if (grown <= required)
        grown = required + 1;
    if (grown > largest_capacity)
        grown = largest_capacity;
    if (grown <= capacity)
        return 0;
    // A record that was never given an allocator (zero-filled) can't get
    // storage; it fails like an exhausted allocator.
    if (buffer->alloc == nullptr)
        return ENOMEM;
    auto *data = static_cast<char *>(buffer->alloc(static_cast<size_t>(grown)));
    if (data == nullptr)
        return ENOMEM;
    if (capacity != 0 && buffer->data != nullptr) {
        if (buffer->length > 0)
            std::memcpy(data, buffer->data, static_cast<size_t>(buffer->length));
        if (buffer->release != nullptr)
            buffer->release(buffer->data);
    }
    buffer->data = data;
    buffer->capacity = static_cast<int32_t>(grown);
    return 0;
}

// True if count more bytes would take the content past the limit.
bool passes_limit(const NBuffer *buffer, size_t count) noexcept
{
    return count > static_cast<uint64_t>(largest_length - buffer->length);
}

void terminate(NBuffer *buffer) noexcept
{
    buffer->data[buffer->length] = '\0';
}

// The end of a line read: terminates what is there and returns `error',
// unless the storage for the terminator can't be had.
NRC finish_line(NBuffer *buffer, int error) noexcept
{
    const NRC rc = make_room(buffer, buffer->length);
    if (rc != 0)
        return rc;
    terminate(buffer);
    return error;
}

// Stores one byte read by nb_fgets or nb_reads; 0, or the code that ends
// the read with the byte lost.
NRC put_byte(NBuffer *buffer, char byte) noexcept
{
    if (passes_limit(buffer, 1))
        return NRC_STRING_TOO_LONG;
    const NRC rc = make_room(buffer, int64_t{buffer->length} + 1);
    if (rc != 0)
        return rc;
    buffer->data[buffer->length++] = byte;
    return 0;
}

} // namespace

extern "C" {

NRC nb_init_with(NBuffer *buffer, NAllocFunc alloc, NFreeFunc release)
{
    if (buffer == nullptr)
        return EINVAL;
    buffer->data = nullptr;
    buffer->capacity = 0;
    buffer->length = 0;
    // A half pair could hand out storage that it can't take back: keep
    // neither, so that growth fails cleanly with ENOMEM.
    if (alloc == nullptr || release == nullptr) {
        buffer->alloc = nullptr;
        buffer->release = nullptr;
        return EINVAL;
    }
    buffer->alloc = alloc;
    buffer->release = release;
    return 0;
}

NRC nb_init(NBuffer *buffer)
{
    return nb_init_with(buffer, n_malloc, n_free);
}

NRC nb_free(NBuffer *buffer)
{
    if (buffer == nullptr)
        return EINVAL;
    if (buffer->capacity != 0 && buffer->data != nullptr && buffer->release != nullptr)
        buffer->release(buffer->data);
    buffer->data = nullptr;
    buffer->capacity = 0;
    buffer->length = 0;
    return 0;
}

int32_t nb_strsize(NBuffer *buffer)
{
    return buffer == nullptr ? 0 : buffer->capacity;
}

int32_t nb_strlen(NBuffer *buffer)
{
    return buffer == nullptr ? 0 : buffer->length;
}

NRC nb_reset(NBuffer *buffer)
{
    if (buffer == nullptr)
        return EINVAL;
    if (buffer->data != nullptr && buffer->capacity > 0)
        std::memset(buffer->data, 0, static_cast<size_t>(buffer->capacity));
    buffer->length = 0;
    return 0;
}

NRC nb_strcat(NBuffer *buffer, const char *text)
{
    if (buffer == nullptr || text == nullptr)
        return EINVAL;
    const size_t count = std::strlen(text);
    if (passes_limit(buffer, count))
        return NRC_STRING_TOO_LONG;
    const NRC rc = make_room(buffer, int64_t{buffer->length} + static_cast<int64_t>(count));
    if (rc != 0)
        return rc;
    std::memcpy(buffer->data + buffer->length, text, count + 1);
    buffer->length += static_cast<int32_t>(count);
    return 0;
}

NRC nb_strncat(NBuffer *buffer, const char *text, size_t count)
{
    if (buffer == nullptr || (text == nullptr && count != 0))
        return EINVAL;
    if (passes_limit(buffer, count))
        return NRC_STRING_TOO_LONG;
    // The terminator counts here, unlike in the other appends.
    const NRC rc = make_room(buffer, int64_t{buffer->length} + static_cast<int64_t>(count) + 1);
    if (rc != 0)
        return rc;
    // strncpy's result: the text up to count bytes, zeros for the rest.
    char *end = buffer->data + buffer->length;
    const size_t copied = count == 0 ? 0 : strnlen(text, count);
    if (copied != 0)
        std::memcpy(end, text, copied);
    std::memset(end + copied, 0, count - copied + 1);
    buffer->length += static_cast<int32_t>(count);
    return 0;
}

NRC nb_append(NBuffer *buffer, const void *bytes, size_t count)
{
    if (buffer == nullptr || (bytes == nullptr && count != 0))
        return EINVAL;
    if (passes_limit(buffer, count))
        return NRC_STRING_TOO_LONG;
    const NRC rc = make_room(buffer, int64_t{buffer->length} + static_cast<int64_t>(count));
    if (rc != 0)
        return rc;
    if (count != 0)
        std::memcpy(buffer->data + buffer->length, bytes, count);
    buffer->length += static_cast<int32_t>(count);
    return 0;
}

char *nb_strval(NBuffer *buffer)
{
    if (buffer == nullptr || make_room(buffer, 0) != 0)
        return nullptr;
    terminate(buffer);
    return buffer->data;
}

NRC nb_strtrunc(NBuffer *buffer, int32_t length)
{
    if (buffer == nullptr || length < 0)
        return EINVAL;
    if (length > largest_length)
        return NRC_STRING_TOO_LONG;
    const NRC rc = make_room(buffer, length);
    if (rc != 0)
        return rc;
    if (length > buffer->length)
        std::memset(buffer->data + buffer->length, ' ', static_cast<size_t>(length - buffer->length));
    buffer->length = length;
    terminate(buffer);
    return 0;
}

NRC nb_sprintf(NBuffer *buffer, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    const NRC rc = nb_vsprintf(buffer, format, args);
    va_end(args);
    return rc;
}

// Growth is decided by the size of the formatted text, so that size must be
// known before anything is appended. Formatting is the costly part, so the
// first pass, which measures, also keeps its text when it can: it formats
// straight into the room behind the content when that room is at least a
// scratch array's worth, into the scratch array on the stack otherwise. A
// text that fits there (in place: without the growth its size would call
// for) is kept, and the call formats once. Only a longer text is formatted
// a second time, into the grown storage; the first pass works on a copy of
// the argument list, so the second still finds it whole. Nothing is shared
// between calls, so threads never wait on each other here.
NRC nb_vsprintf(NBuffer *buffer, const char *format, va_list args)
{
    if (buffer == nullptr || format == nullptr)
        return EINVAL;
    char scratch[256];
    // In place, the text needs size + 1 bytes below capacity - 1 (the
    // growth test), so the pass gets capacity - length - 1 bytes.
    const int64_t room = buffer->capacity == 0 ? 0 : int64_t{buffer->capacity} - buffer->length - 1;
    const bool in_place = room >= static_cast<int64_t>(sizeof scratch);
    char *const end = in_place ? buffer->data + buffer->length : nullptr;
    const char kept = in_place ? *end : '\0';
    char *const first = in_place ? end : scratch;
    const size_t first_room = in_place ? static_cast<size_t>(room) : sizeof scratch;

    va_list copy;
    va_copy(copy, args);
    const int size = std::vsnprintf(first, first_room, format, copy);
    va_end(copy);
    NRC rc = 0;
    if (size < 0)
        rc = errno != 0 ? errno : EINVAL;
    else if (int64_t{size} + buffer->length >= largest_capacity)
        rc = NRC_STRING_TOO_LONG;
    else if (in_place && static_cast<size_t>(size) < first_room) {
        // A %c of a zero byte ends the text that counts.
        buffer->length += static_cast<int32_t>(std::strlen(end));
        return 0;
    } else
        rc = make_room(buffer, int64_t{buffer->length} + size);
    if (rc != 0) {
        if (in_place)
            *end = kept; // the byte behind the content, as it was
        return rc;
    }
    char *const to = buffer->data + buffer->length;
    if (!in_place && static_cast<size_t>(size) < first_room) {
        std::memcpy(to, scratch, static_cast<size_t>(size) + 1);
    } else if (std::vsnprintf(to, static_cast<size_t>(size) + 1, format, args) < 0) {
        *to = '\0';
        return errno != 0 ? errno : EINVAL;
    }
    buffer->length += static_cast<int32_t>(std::strlen(to));
    return 0;
}

NRC nb_fgets(NBuffer *buffer, FILE *stream)
{
    if (buffer == nullptr || stream == nullptr)
        return EINVAL;
    // One lock for the whole line rather than one per byte.
    flockfile(stream);
    NRC rc = 0;
    for (;;) {
        const int c = getc_unlocked(stream);
        if (c == EOF) {
            // The end of input returns 0; a failed read its errno (EIO if
            // the stream left errno clear).
            if (feof_unlocked(stream))
                errno = 0;
            else if (errno == 0)
                errno = EIO;
            rc = finish_line(buffer, errno);
            break;
        }
        rc = put_byte(buffer, static_cast<char>(c));
        if (rc != 0)
            break;
        if (c == '\n') {
            terminate(buffer);
            break;
        }
    }
    funlockfile(stream);
    return rc;
}

// One read of one byte at a time, so that nothing behind the newline is
// taken from the descriptor. An interrupted read ends the line like a failed
// one: EINTR comes back with the bytes so far in the buffer.
NRC nb_reads(NBuffer *buffer, int fd)
{
    if (buffer == nullptr)
        return EINVAL;
    for (;;) {
        char c = 0;
        const ssize_t got = read(fd, &c, 1);
        if (got != 1)
            return finish_line(buffer, got == 0 ? 0 : errno);
        const NRC rc = put_byte(buffer, c);
        if (rc != 0)
            return rc;
        if (c == '\n') {
            terminate(buffer);
            return 0;
        }
    }
}

} // extern "C"
