#pragma once

// Private: copies and exchanges of memory in the blocks that reorder voxels.

#include <emmintrin.h>

#include <cstring>

namespace ZbDetail
{

/// As much of memory as the processor moves at a time, in registers.
class CacheLine
{
public:
    static constexpr long size = 64;

    explicit CacheLine(const char* from)
        : m_parts{load(from), load(from + 16), load(from + 32), load(from + 48)}
    {
    }
    void store(char* to) const
    {
        for (int i = 0; i < 4; ++i)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 16 * i), m_parts[i]);
    }

private:
    static __m128i load(const char* from) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from)); }

    __m128i m_parts[4];
};

/// Asks for memory that will be read soon, where the processor cannot see that coming.
inline void prefetch(const char* memory, long bytes)
{
    for (long line = 0; line < bytes; line += CacheLine::size)
        __builtin_prefetch(memory + line);
}

/// Copies bytes from one place to another that does not overlap it. Both may be null where there are none.
///
/// For copies inside the caches, where memcpy() has a trap: from about 2 KiB on the C library may take the
/// string instructions of the processor, and those of some run at a thirtieth of the speed where the target
/// lies up to some 32 bytes above the source, modulo 4096. That is common among blocks that the allocator has
/// placed alike.
inline void copyBytes(char* target, const char* source, long bytes)
{
    for (; bytes >= CacheLine::size; bytes -= CacheLine::size) {
        CacheLine(source).store(target);
        target += CacheLine::size;
        source += CacheLine::size;
    }
    if (bytes > 0)
        std::memcpy(target, source, static_cast<size_t>(bytes));
}

/// Exchanges the bytes of two places that do not overlap. Both may be null where there are none.
inline void exchangeBytes(char* a, char* b, long bytes)
{
    for (; bytes >= CacheLine::size; bytes -= CacheLine::size) {
        const CacheLine fromA(a), fromB(b);
        fromA.store(b);
        fromB.store(a);
        a += CacheLine::size;
        b += CacheLine::size;
    }
    if (bytes == 0)
        return;
    char rest[CacheLine::size];
    std::memcpy(rest, a, static_cast<size_t>(bytes));
    std::memcpy(a, b, static_cast<size_t>(bytes));
    std::memcpy(b, rest, static_cast<size_t>(bytes));
}

}  // namespace ZbDetail
