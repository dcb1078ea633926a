#include <zblib/data/ZbRawData.h>

#include <zblib/data/ZbClampTo.h>
#include <zblib/data/ZbCopyBytes.h>
#include <zblib/data/ZbUnsupportedType.h>
#include <zblib/foundation/ZbMultiversion.h>
#include <zblib/types/ZbPrimTypeVisit.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <emmintrin.h>
#include <limits>
#include <type_traits>

namespace
{

using Byte = unsigned char;
using SByte = signed char;
using UShort = unsigned short;
using UInt = unsigned int;
using Int64 = long long;
using UInt64 = unsigned long long;

const char* const memsetPlace = "ZbRawData::memset()";

bool fill(ZbTypedPointer data, int value, long count)
{
    return zbVisitPrimType<Byte, SByte, short, UShort, int, UInt, float, double>(
        data.getPrimType(), [&](auto tag) {
            using T = typename decltype(tag)::Type;
            std::fill_n(static_cast<T*>(data.getData()), count, T(value));
        });
}

// The low 32 bits of value rounded to an integer. Up to UINT_MAX, so that unsigned int data can be set to all
// of its values.
int roundedBits(double value)
{
    if (!(value >= double(INT_MIN) - 0.5 && value < double(UINT_MAX) + 0.5))
        return INT_MIN;
    return int(UInt(std::llrint(value)));
}

// ---- conversion

// Values are converted in blocks that stay in the first cache. So the target may be the source, and compilers
// need not ask whether they overlap.
constexpr unsigned long blockSize = 512;

// From this size on, in bytes, a target is written past the caches, which could not hold it anyway. Its old
// contents need not be fetched then, a third of the traffic of most conversions.
constexpr unsigned long streamingSize = 8ul << 20;

// block[i] = rule(source[i])
template <typename To, typename From, typename Rule>
inline void convertBlock(To* block, const From* source, unsigned long count, Rule rule)
{
    if constexpr (sizeof(To) < sizeof(int)) {
        // In two loops: compilers make poor code of double to int to a narrow type in one.
        int wide[blockSize];
        for (unsigned long i = 0; i < count; ++i)
            wide[i] = rule(source[i]);  // NOLINT(bugprone-signed-char-misuse): the sign is part of it
        for (unsigned long i = 0; i < count; ++i)
            block[i] = To(wide[i]);
    } else {
        for (unsigned long i = 0; i < count; ++i)
            block[i] = rule(source[i]);
    }
}

// Values in front of the first one at a multiple of 16 bytes, from which on the target can be streamed to;
// count if it cannot or should not.
template <typename To>
unsigned long valuesBeforeStream(const To* target, const void* source, unsigned long count)
{
    const unsigned long bytes = -std::uintptr_t(target) % sizeof(__m128i);
    const bool streams = count >= streamingSize / sizeof(To) && bytes % sizeof(To) == 0 && target != source;
    return streams ? bytes / sizeof(To) : count;
}

// convert(block, source, count) converts up to blockSize values.
template <typename To, typename From, typename Convert>
void convertBlocks(To* target, const From* source, unsigned long count, Convert convert)
{
    alignas(32) To block[blockSize];
    const unsigned long cached = valuesBeforeStream(target, source, count);
    unsigned long i = 0;
    while (i < count) {
        const unsigned long n = std::min(blockSize, (i < cached ? cached : count) - i);
        // The next block; the hardware alone runs too little ahead on a busy machine.
        const unsigned long next = std::min(blockSize, count - i - n);
        ZbDetail::prefetch(reinterpret_cast<const char*>(source + i + n), long(next * sizeof(From)));
        convert(block, source + i, n);
        if (i >= cached && n == blockSize) {
            for (unsigned long k = 0; k < blockSize; k += sizeof(__m128i) / sizeof(To))
                _mm_stream_si128(reinterpret_cast<__m128i*>(target + i + k),
                                 _mm_load_si128(reinterpret_cast<const __m128i*>(block + k)));
        } else {
            std::memcpy(target + i, block, n * sizeof(To));
        }
        i += n;
    }
    if (cached < count)
        _mm_sfence();
}

template <typename To, typename From, typename Rule>
void convertValues(To* target, const From* source, unsigned long count, Rule rule)
{
    convertBlocks(target, source, count,
                  [=](To* block, const From* from, unsigned long n) { convertBlock(block, from, n, rule); });
}

// ---- the linear map: (offset + value) * scale in double, by ClampTo
//
// Float is twice as fast, and serves wherever it provably gives the same result.

template <typename From>
constexpr bool fitsFloat = std::is_same_v<From, float> || (std::is_integral_v<From> && sizeof(From) <= 2);

// Whether offset + value is the same in float and in double, for all values: a whole number below 2^24, or
// the value itself.
template <typename From>
bool sumIsExactInFloat(double offset)
{
    return std::is_integral_v<From> ? std::abs(offset) <= 0x1p23 && offset == std::trunc(offset)
                                    : offset == 0.0;
}

// Scaling by a power of two is exact in float too, but for results that are clamped or truncated to 0 anyway.
bool isPowerOfTwo(double scale)
{
    int exponent;
    return std::abs(scale) >= 0x1p-60 && std::abs(scale) <= 0x1p60 &&
           std::abs(std::frexp(scale, &exponent)) == 0.5;
}

// To a narrow integer where sum and product are exact in float.
template <typename To, typename From>
void mapExactFloats(To* target, const From* source, unsigned long count, float offset, float scale)
{
    const float low = ZbDetail::hidden(float(std::numeric_limits<To>::lowest()));
    const float high = ZbDetail::hidden(float(std::numeric_limits<To>::max()));
    convertValues(target, source, count, [=](From from) {
        float value = (offset + float(from)) * scale;
        value = value == value ? value : 0.0f;
        value = value > low ? value : low;
        value = value < high ? value : high;
        return int(value);
    });
}

template <typename To, typename From>
void mapValues(To* target, const From* source, unsigned long count, double offset, double scale)
{
    if constexpr (fitsFloat<From> && std::is_same_v<To, float> && std::is_integral_v<From>) {
        // The product has at most 48 bits. It is exact in double, so that rounding it to float is all that
        // happens to it either way.
        if (sumIsExactInFloat<From>(offset) && double(float(scale)) == scale) {
            const float floatOffset = float(offset);
            const float floatScale = float(scale);
            convertValues(target, source, count,
                          [=](From value) { return (floatOffset + float(value)) * floatScale; });
            return;
        }
    }
    if constexpr (fitsFloat<From> && sizeof(To) <= 2) {
        if (sumIsExactInFloat<From>(offset) && isPowerOfTwo(scale)) {
            mapExactFloats(target, source, count, float(offset), float(scale));
            return;
        }
    }
    const ZbDetail::ClampTo<To> clamp;
    convertValues(target, source, count, [=](From value) { return clamp((offset + double(value)) * scale); });
}

template <typename To, typename From>
void mapIntegers(To* target, const From* source, unsigned long count, int offset, int scale)
{
    // What of the range of the target an int can reach.
    constexpr int low = int(std::max<Int64>(INT_MIN, std::numeric_limits<To>::min()));
    constexpr int high = int(std::min<Int64>(INT_MAX, std::numeric_limits<To>::max()));
    convertValues(target, source, count, [=](From value) {
        // In unsigned arithmetic, which wraps around without undefined behaviour.
        const int mapped = int((UInt(offset) + UInt(value)) * UInt(scale));
        return To(std::max(std::min(mapped, high), low));
    });
}

void copyValues(ZbTypedPointer target, ZbTypedPointer source, unsigned long count)
{
    if (count > 0)
        std::memmove(target.getData(), source.getData(), count * ZbDetail::sizeOrZero(source.getPrimType()));
}

bool haveSameType(ZbTypedPointer target, ZbTypedPointer source)
{
    return target.getPrimType() == source.getPrimType() && ZbDetail::sizeOrZero(target.getPrimType()) > 0;
}

template <typename... T>
struct Types {
};
using ConvertTargets = Types<Byte, SByte, short, UShort, int, UInt, float, double>;
using ConvertSources = Types<Byte, SByte, short, UShort, int, UInt, float, double, Int64, UInt64>;
using IntegerTargets = Types<Byte, SByte, short, UShort, int, UInt>;
using IntegerSources = Types<Byte, SByte, short, UShort, int, UInt, Int64, UInt64>;

// Calls kernel(To*, const From*) for the types of the two blocks, in a copy for the machine's instruction
// set. A type that is not listed is reported, the target's first.
template <typename... To, typename... From, typename Kernel>
void convert(Types<To...>, ZbTypedPointer target, Types<From...>, ZbTypedPointer source, const char* place,
             Kernel kernel)
{
    bool sourceKnown = true;
    const bool targetKnown = zbVisitPrimType<To...>(target.getPrimType(), [&](auto targetTag) {
        sourceKnown = zbVisitPrimType<From...>(source.getPrimType(), [&](auto sourceTag) {
            auto* out = static_cast<typename decltype(targetTag)::Type*>(target.getData());
            const auto* in = static_cast<const typename decltype(sourceTag)::Type*>(source.getData());
            zbMultiversion([=] { kernel(out, in); });
        });
    });
    if (!targetKnown)
        ZbDetail::reportUnsupportedType(target.getPrimType(), place);
    else if (!sourceKnown)
        ZbDetail::reportUnsupportedType(source.getPrimType(), place);
}

bool isComplex(ZbTypedPointer data)
{
    return data.getPrimType() == ZbPrimType::COMPLEX;
}

bool isReal(ZbTypedPointer data)
{
    return data.getPrimType() == ZbPrimType::FLOAT || data.getPrimType() == ZbPrimType::DOUBLE;
}

}  // namespace

void ZbRawData::memset(ZbTypedPointer data, int value, long count)
{
    if (!fill(data, value, count))
        ZbDetail::reportUnsupportedType(data.getPrimType(), memsetPlace);
}

void ZbRawData::memset(ZbTypedPointer data, double value, long count)
{
    const bool real = zbVisitPrimType<float, double>(data.getPrimType(), [&](auto tag) {
        using T = typename decltype(tag)::Type;
        std::fill_n(static_cast<T*>(data.getData()), count, T(value));
    });
    if (!real)
        memset(data, roundedBits(value), count);
}

void ZbRawData::memcpy(ZbTypedPointer target, ZbTypedPointer source, long count)
{
    const auto n = (unsigned long)(std::max(count, 0L));
    if (haveSameType(target, source))
        copyValues(target, source, n);
    else if (isComplex(target) || isComplex(source))
        std::fputs("ERROR: ZbRawData::memcpy() does not support complex data.\n", stderr);
    else
        convert(ConvertTargets(), target, ConvertSources(), source, "ZbRawData()",
                [=](auto* out, const auto* in) { mapValues(out, in, n, 0.0, 1.0); });
}

void ZbRawData::mapLinear(ZbTypedPointer target, ZbTypedPointer source, unsigned long count, double offset,
                          double scale)
{
    if (haveSameType(target, source) && offset == 0.0 && scale == 1.0) {
        copyValues(target, source, count);
        return;
    }
    if (isComplex(target) != isComplex(source)) {
        std::fputs("ERROR: ZbRawData::mapLinear() does not support mapping complex to real data.\n", stderr);
        return;
    }
    if (isComplex(target)) {
        target.setPrimType(ZbPrimType::FLOAT);
        source.setPrimType(ZbPrimType::FLOAT);
        count *= 2;
    }
    convert(ConvertTargets(), target, ConvertSources(), source, "mapLinear()",
            [=](auto* out, const auto* in) { mapValues(out, in, count, offset, scale); });
}

void ZbRawData::mapLinear(ZbTypedPointer target, ZbTypedPointer source, unsigned long count, int offset,
                          int scale)
{
    if (isReal(target) || isReal(source) || isComplex(target) || isComplex(source)) {
        mapLinear(target, source, count, double(offset), double(scale));
        return;
    }
    if (haveSameType(target, source) && offset == 0 && scale == 1) {
        copyValues(target, source, count);
        return;
    }
    convert(IntegerTargets(), target, IntegerSources(), source, "mapLinear()",
            [=](auto* out, const auto* in) { mapIntegers(out, in, count, offset, scale); });
}
