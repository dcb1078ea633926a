#pragma once

// Private: how many bytes a block takes whose sizes come from callers.

#include <zblib/foundation/ZbMemoryException.h>

#include <climits>
#include <initializer_list>

namespace ZbDetail
{

/// The product of sizes; 0 when one of them is 0 or less. A product that does not fit is ULONG_MAX, which no
/// allocator grants.
inline unsigned long blockBytes(std::initializer_list<long> sizes)
{
    for (const long size : sizes)
        if (size <= 0)
            return 0;
    unsigned long bytes = 1;
    for (const long size : sizes)
        if (__builtin_mul_overflow(bytes, static_cast<unsigned long>(size), &bytes))
            return ULONG_MAX;
    return bytes;
}

/// The same; throws ZbMemoryException for a product that does not fit.
inline unsigned long requireBlockBytes(std::initializer_list<long> sizes)
{
    const unsigned long bytes = blockBytes(sizes);
    if (bytes == ULONG_MAX)
        throw ZbMemoryException(bytes);
    return bytes;
}

/// The bytes of an element of several values, which blocks keep as an int; throws as above.
inline int elementBytes(int valueBytes, int components)
{
    const unsigned long bytes = blockBytes({valueBytes, components});
    if (bytes > INT_MAX)
        throw ZbMemoryException(bytes);
    return static_cast<int>(bytes);
}

}  // namespace ZbDetail
