#pragma once

// Private: memory for whole volumes.

#include <zblib/foundation/ZbMemory.h>
#include <zblib/foundation/ZbMemoryException.h>

#include <sys/mman.h>

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
        const std::uintptr_t first = (reinterpret_cast<std::uintptr_t>(block) + page - 1) / page * page;
        const std::uintptr_t end = (reinterpret_cast<std::uintptr_t>(block) + bytes) / page * page;
        // A wish: where the system does not grant it, nothing is lost.
        (void)madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
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
