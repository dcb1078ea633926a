#pragma once

#include <zblib/foundation/ZbExport.h>

#include <cstddef>

/// The allocator of the library's containers and buffers: the C allocator, with failures thrown.
///
/// Blocks that the library hands to callers come from here too and go back with zbfree, never with free or
/// delete. All three functions may be called from any thread. The setting CHECK_FREERAM (HX_CHECK_FREERAM in
/// the environment; read once, at the first zbmalloc of the process) makes zbmalloc refuse what is larger
/// than the free physical memory, for finding out where a program begins to swap.

/// A block of at least size bytes, aligned as by malloc. Throws ZbMemoryException, never returns null.
[[nodiscard, gnu::malloc, gnu::returns_nonnull]] ZB_API void* zbmalloc(unsigned long size);

/// Resizes a block, in place where the C allocator can, and returns where it is now.
///
/// Null asks for a new block as by zbmalloc; size 0 frees the block and returns null. On failure throws
/// ZbMemoryException, and the old block is unchanged and still the caller's. The free memory is not checked
/// when a block is resized.
[[nodiscard]] ZB_API void* zbrealloc(void* ptr, unsigned long size);

/// Frees a block of zbmalloc or zbrealloc; null is ignored.
ZB_API void zbfree(void* ptr);

/// A base for classes whose objects are made with new: their memory is from zbmalloc, so that the want of it is told in
/// the same way.
struct ZbAllocated {
    static void* operator new(std::size_t size) { return zbmalloc(size); }
    static void* operator new[](std::size_t size) { return zbmalloc(size); }
    static void operator delete(void* ptr) { zbfree(ptr); }
    static void operator delete[](void* ptr) { zbfree(ptr); }
};
