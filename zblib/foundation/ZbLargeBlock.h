#pragma once

// Private: memory for whole volumes.

#include <zblib/foundation/ZbMemory.h>
#include <zblib/foundation/ZbMemoryException.h>

#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace ZbDetail
{

/// A block as by zbmalloc(), which the system may back with pages of 2 MiB.
///
/// For blocks that are written whole right away: the first touch of so many small pages takes more time than the
/// writing. What is used of the last page only costs memory, so small blocks are left as they are.
[[nodiscard, gnu::malloc, gnu::returns_nonnull]] inline void* allocateLarge(unsigned long bytes)
{
    constexpr unsigned long worthwhile = 4ul << 20;
    constexpr std::uintptr_t page = 4096;
    void* block = zbmalloc(bytes);
    if (bytes >= worthwhile) {
        char* const begin = static_cast<char*>(block);
        char* const first = begin + (page - reinterpret_cast<std::uintptr_t>(begin) % page) % page;
        const auto length = static_cast<std::size_t>(begin + bytes - first) / page * page;
        // A wish: where the system does not grant it, nothing is lost.
        (void)madvise(first, length, MADV_HUGEPAGE);
    }
    return block;
}

struct FreeBlock {
    void operator()(char* block) const { zbfree(block); }
};
using OwnedBlock = std::unique_ptr<char, FreeBlock>;

/// As by allocateLarge(), but the exception knows the size.
inline OwnedBlock allocateBlock(unsigned long bytes)
{
    try {
        return OwnedBlock(static_cast<char*>(allocateLarge(bytes)));
    } catch (const ZbMemoryException&) {
        throw ZbMemoryException(bytes);
    }
}

}  // namespace ZbDetail
