// Internal helpers of the memory family.
#pragma once

#include <cstddef>

namespace tvk {

// Size of the block that n_xstrdup takes for a text of `length' bytes: the
// length plus terminator, rounded up to the next multiple of 4. Zero when
// that overflows.
constexpr std::size_t xstrdup_block_size(std::size_t length) noexcept
{
    if (length > static_cast<std::size_t>(-1) - 4)
        return 0;
    return (length + 1 + 3) & ~static_cast<std::size_t>(3);
}

} // namespace tvk
