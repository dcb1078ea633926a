#pragma once

#include <zblib/foundation/ZbExport.h>

#include <QtCore/qglobal.h>

#include <concepts>
#include <cstddef>
#include <cstring>

QT_FORWARD_DECLARE_CLASS(QString)

/// The hash values of the library's tables, and what callers need who probe tables of their own.
///
/// A type becomes a key of ZbHashTable by a function zbhash(const Key&) in its own header and namespace,
/// where the table finds it by argument-dependent lookup; the vectors and ZbString have theirs so. Values are
/// the same on every machine and in every run, addresses aside.

/// The value itself.
constexpr unsigned int zbhash(int value) noexcept
{
    return static_cast<unsigned int>(value);
}

/// The value itself; of a 64-bit integer the low 32 bits.
constexpr unsigned int zbhash(std::integral auto value) noexcept
{
    return static_cast<unsigned int>(value);
}

/// The low 32 bits of the address. The lowest bits of aligned addresses are all equal, so a table uses only
/// every eighth or sixteenth bucket: prefer other keys for large tables.
inline unsigned int zbhash(const void* address) noexcept
{
    return static_cast<unsigned int>(reinterpret_cast<quintptr>(address));
}

inline unsigned int zbhash(void* address) noexcept
{
    return zbhash(static_cast<const void*>(address));
}

namespace ZbDetail
{

constexpr int hashBitsInFingerprint = 24;

// The hash of a text, and a fingerprint for telling texts apart without going to them: the low bits of the hash
// below a byte of another one. The hash alone is the same for many numbered names, since two digits
// a b and a + 1, b - 9 fold to one value.
struct KeyHash {
    unsigned int hash;
    unsigned int fingerprint;
};

// 9^7 a + 9^6 b + ... + h for the eight characters a to h of a word, a in its lowest byte.
constexpr unsigned int hashWord(quint64 word) noexcept
{
    constexpr quint64 evenBytes = 0x00FF00FF00FF00FF;
    constexpr quint64 evenPairs = 0x0000FFFF0000FFFF;
    constexpr unsigned int excess = 128U * 5380840U;  // 128 (9^7 + 9^6 + ... + 1)
    // Plus 128, so that none is negative and no sum reaches into the next one.
    const quint64 bytes = word ^ 0x8080808080808080;
    const quint64 pairs = 9 * (bytes & evenBytes) + (bytes >> 8 & evenBytes);
    const quint64 fours = 81 * (pairs & evenPairs) + (pairs >> 16 & evenPairs);
    return 6561U * static_cast<unsigned int>(fours) + static_cast<unsigned int>(fours >> 32) - excess;
}

// Eight characters at a time: a lookup of a text far from the caches costs as much as its hash, and the fewer
// instructions that takes, the more lookups overlap.
inline KeyHash hashText(const char* text) noexcept
{
    constexpr unsigned int nineToTheEighth = 43046721;
    constexpr quint64 mixer = 0x9E3779B97F4A7C15;  // odd, with no pattern in its bits
    const std::size_t length = std::strlen(text);
    // The characters that are too many for whole words come first, behind zeros, which add nothing.
    const std::size_t first = length % 8;
    quint64 word = 0;
    if (length < 8) {
        for (std::size_t i = 0; i < first; ++i)
            word = word >> 8 | quint64(static_cast<unsigned char>(text[i])) << 56;
    } else if (first > 0) {
        std::memcpy(&word, text, 8);
        word <<= 64 - 8 * first;
    }
    unsigned int hash = hashWord(word);
    quint64 other = mixer * word;
    for (std::size_t i = first; i < length; i += 8) {
        std::memcpy(&word, text + i, 8);
        hash = nineToTheEighth * hash + hashWord(word);
        other = mixer * (other ^ word);
    }
    constexpr unsigned int hashBits = (1U << hashBitsInFingerprint) - 1;
    return {hash, (hash & hashBits) | static_cast<unsigned int>(other >> 56) << hashBitsInFingerprint};
}

}  // namespace ZbDetail

/// h = 9 h + c over the bytes up to the terminating zero, taken as signed char; 0 for the empty text.
inline unsigned int zbhash(const char* text) noexcept
{
    return ZbDetail::hashText(text).hash;
}

/// The hash of the text's UTF-8 form, up to the first NUL.
ZB_API unsigned int zbhash(const QString& text);

namespace ZbDetail
{

// a % m, with the one case that overflows.
constexpr int remainderOf(int a, int m) noexcept
{
    return m == -1 ? 0 : a % m;
}

// (a * f + b) % m, the sum modulo 2^32.
constexpr int hashStep(int a, int f, int b, int m) noexcept
{
    const auto sum =
        static_cast<unsigned int>(a) * static_cast<unsigned int>(f) + static_cast<unsigned int>(b);
    return remainderOf(static_cast<int>(sum), m);
}

}  // namespace ZbDetail

/// a % m, the remainder of signed division, for a table of m places that its owner probes. The forms for
/// vectors fold their components with the factor f. m is not 0.
constexpr unsigned int zbhash(int a, int, int m) noexcept
{
    return static_cast<unsigned int>(ZbDetail::remainderOf(a, m));
}

/// The step of a double-hashing probe, m - zbhash(a, m, m): in [1, m] for keys that are not negative.
constexpr unsigned int hash2(int a, int m) noexcept
{
    return static_cast<unsigned int>(m) - zbhash(a, m, m);
}

/// A prime size for a table of n entries: the smallest odd number that no odd number from 3 on divides and
/// that is not below n + n/3, an even sum counting as the next odd number. For more entries than an int can
/// number so, the largest prime of int. n is not negative.
ZB_API int computePrime(int n);
