#include <zblib/data/ZbStridedCopy.h>

#include <zblib/foundation/ZbMultiversion.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace ZbDetail
{

namespace
{

// The addresses that a pattern touches, [low, high).
struct Span {
    std::intptr_t low;
    std::intptr_t high;

    Span(const void* data, const ZbBytePattern& pattern, int unitBytes) noexcept
        : low(reinterpret_cast<std::intptr_t>(data)), high(low + unitBytes)
    {
        for (int level = 0; level < pattern.nesting(); ++level) {
            if (pattern.count(level) < 2)
                continue;
            const long reach = (pattern.count(level) - 1) * pattern.stride(level) * unitBytes;
            (reach < 0 ? low : high) += reach;
        }
    }
};

// One side of a pair of patterns: what is left of one of its levels.
struct Side {
    const ZbBytePattern& pattern;
    int level = -1;
    long count = 1;
    long stride = 0;

    // Goes up to a level with repetitions left. False behind the outermost.
    bool findRepetitions() noexcept
    {
        while (count == 1 && ++level < pattern.nesting()) {
            count = pattern.count(level);
            stride = pattern.stride(level);
        }
        return count > 1;
    }
    bool isOutermost() const noexcept
    {
        for (int above = level + 1; above < pattern.nesting(); ++above)
            if (pattern.count(above) > 1)
                return false;
        return true;
    }
    void take(long n) noexcept
    {
        count /= n;
        stride *= n;
    }
};

// Reads all bytes before it writes: both places may overlap.
template <int bytes>
inline void copyUnit(char* target, const char* source) noexcept
{
    constexpr int headBytes = int(std::bit_floor(unsigned(bytes)));
    constexpr int tailBytes = bytes - headBytes;
    char head[headBytes];
    std::memcpy(head, source, headBytes);
    if constexpr (tailBytes > 0) {
        char tail[tailBytes];
        std::memcpy(tail, source + headBytes, tailBytes);
        std::memcpy(target + headBytes, tail, tailBytes);
    }
    std::memcpy(target, head, headBytes);
}

// A dense target and a source whose step is known here: compilers load and shuffle whole vectors.
template <int bytes, int unitsPerStep>
void packRows(char* target, long targetRowStep, const char* source, long sourceRowStep, long units,
              long rows) noexcept
{
    for (; rows > 0; --rows, target += targetRowStep, source += sourceRowStep)
        for (long i = 0; i < units; ++i)
            copyUnit<bytes>(target + i * bytes, source + i * (unitsPerStep * bytes));
}

// Copies a range of a pattern from or to a dense buffer.
template <bool toPacked>
class RangeCopy
{
public:
    RangeCopy(char* packed, const ZbBytePattern& pattern, int unitBytes) noexcept
        : m_packed(packed), m_pattern(pattern), m_unitBytes(unitBytes)
    {
        long units = 1;
        for (int level = 0; level < pattern.nesting(); ++level) {
            m_unitsBelow[level] = units;
            units *= pattern.count(level);
        }
    }

    // Copies units [first, last) of the levels up to level, which begin at data: the rest of the block that
    // is begun, whole blocks, the beginning of the next block.
    void copy(int level, char* data, long first, long last) noexcept
    {
        const long step = m_pattern.stride(level) * m_unitBytes;
        const long below = m_unitsBelow[level];
        long block = first / below;
        const long lastBlock = last / below;
        if (const long begun = first % below; begun != 0) {
            copy(level - 1, data + block * step, begun, block < lastBlock ? below : last % below);
            if (block++ == lastBlock)
                return;
        }
        if (block < lastBlock)
            copyBlocks(level, data + block * step, lastBlock - block);
        if (const long rest = last % below; rest != 0)
            copy(level - 1, data + lastBlock * step, 0, rest);
    }

private:
    void copyBlocks(int level, char* data, long count) noexcept
    {
        StridedCopy blocks(m_unitBytes);
        for (int k = 0; k <= level; ++k) {
            const long repetitions = k < level ? m_pattern.count(k) : count;
            if (repetitions == 1)
                continue;
            const long packedStep = m_unitsBelow[k] * m_unitBytes;
            const long step = m_pattern.stride(k) * m_unitBytes;
            blocks.addLoop(repetitions, toPacked ? packedStep : step, toPacked ? step : packedStep);
        }
        blocks.run(toPacked ? m_packed : data, toPacked ? data : m_packed);
        m_packed += count * m_unitsBelow[level] * m_unitBytes;
    }

    char* m_packed;  // goes on with what is copied
    const ZbBytePattern& m_pattern;
    int m_unitBytes;
    long m_unitsBelow[ZbBytePattern::maxNesting] = {};  // units in one step of each level
};

template <bool toPacked>
void copyRange(char* packed, char* data, const ZbBytePattern& pattern, int unitBytes, long first,
               long count) noexcept
{
    if (count > 0)
        RangeCopy<toPacked>(packed, pattern, unitBytes)
            .copy(pattern.nesting() - 1, data, first, first + count);
}

}  // namespace

long unitCount(const ZbBytePattern& pattern) noexcept
{
    return pattern.nesting() > 0 ? pattern.byteCount() : 0;
}

bool spansMeet(const void* a, const ZbBytePattern& patternA, int unitBytesA, const void* b,
               const ZbBytePattern& patternB, int unitBytesB) noexcept
{
    const Span spanA(a, patternA, unitBytesA);
    const Span spanB(b, patternB, unitBytesB);
    return spanA.low < spanB.high && spanB.low < spanA.high;
}

void StridedCopy::addLoop(long count, long targetStep, long sourceStep) noexcept
{
    if (count == 1)
        return;
    if (m_depth == 0 && targetStep == m_runBytes && sourceStep == m_runBytes) {
        m_runBytes *= count;
        return;
    }
    if (m_depth > 0) {
        Loop& below = m_loops[m_depth - 1];
        if (targetStep == below.count * below.targetStep && sourceStep == below.count * below.sourceStep) {
            below.count *= count;
            return;
        }
    }
    m_loops[m_depth++] = {count, targetStep, sourceStep};
}

bool StridedCopy::addPatterns(const ZbBytePattern& targetPattern, const ZbBytePattern& sourcePattern) noexcept
{
    Side target{targetPattern};
    Side source{sourcePattern};
    while (target.findRepetitions() && source.findRepetitions()) {
        const long n = std::min(target.count, source.count);
        addLoop(n, target.stride, source.stride);
        if (std::max(target.count, source.count) % n != 0)
            return (target.count < source.count ? target : source).isOutermost();
        target.take(n);
        source.take(n);
    }
    return true;
}

bool StridedCopy::isSafeInOrder(const void* target, const void* source) const noexcept
{
    const long distance = static_cast<const char*>(source) - static_cast<const char*>(target);
    for (const long direction : {1L, -1L}) {
        // Runs are read in the order of their addresses, without overlap, and no run is written further on
        // than where it is read.
        bool isSafe = direction * distance >= 0;
        long extent = m_runBytes;
        for (int i = 0; i < m_depth && isSafe; ++i) {
            const long sourceStep = direction * m_loops[i].sourceStep;
            isSafe = sourceStep >= extent && direction * m_loops[i].targetStep <= sourceStep;
            extent += (m_loops[i].count - 1) * sourceStep;
        }
        if (isSafe)
            return true;
    }
    return false;
}

bool StridedCopy::isShift() const noexcept
{
    return std::all_of(m_loops, m_loops + m_depth,
                       [](const Loop& loop) { return loop.targetStep == loop.sourceStep; });
}

StridedCopy StridedCopy::reversed(void*& target, const void*& source) const noexcept
{
    StridedCopy copy(m_runBytes);
    long targetOffset = 0;
    long sourceOffset = 0;
    for (; copy.m_depth < m_depth; ++copy.m_depth) {
        const auto [count, targetStep, sourceStep] = m_loops[copy.m_depth];
        targetOffset += (count - 1) * targetStep;
        sourceOffset += (count - 1) * sourceStep;
        copy.m_loops[copy.m_depth] = {count, -targetStep, -sourceStep};
    }
    target = static_cast<char*>(target) + targetOffset;
    source = static_cast<const char*>(source) + sourceOffset;
    return copy;
}

// The two innermost loops around runs whose length is known here.
template <int bytes>
void StridedCopy::copyRows(char* target, const char* source, Loop inner, Loop outer) noexcept
{
    if constexpr (std::has_single_bit(unsigned(bytes)) && bytes <= 8) {
        const auto pack = [=](auto unitsPerStep) {
            if (inner.targetStep != bytes || inner.sourceStep != unitsPerStep() * bytes)
                return false;
            zbMultiversion([=] {
                packRows<bytes, unitsPerStep()>(target, outer.targetStep, source, outer.sourceStep,
                                                inner.count, outer.count);
            });
            return true;
        };
        if (pack(std::integral_constant<int, 2>()) || pack(std::integral_constant<int, 3>()) ||
            pack(std::integral_constant<int, 4>()) || pack(std::integral_constant<int, -1>()))
            return;
    }
    for (long row = 0; row < outer.count; ++row, target += outer.targetStep, source += outer.sourceStep)
        for (long i = 0; i < inner.count; ++i)
            copyUnit<bytes>(target + i * inner.targetStep, source + i * inner.sourceStep);
}

void StridedCopy::runRows(char* target, const char* source, Loop inner, Loop outer) const noexcept
{
    switch (m_runBytes) {
    case 1:
        return copyRows<1>(target, source, inner, outer);
    case 2:
        return copyRows<2>(target, source, inner, outer);
    case 3:
        return copyRows<3>(target, source, inner, outer);
    case 4:
        return copyRows<4>(target, source, inner, outer);
    case 6:
        return copyRows<6>(target, source, inner, outer);
    case 8:
        return copyRows<8>(target, source, inner, outer);
    case 12:
        return copyRows<12>(target, source, inner, outer);
    case 16:
        return copyRows<16>(target, source, inner, outer);
    }
    for (long row = 0; row < outer.count; ++row, target += outer.targetStep, source += outer.sourceStep)
        for (long i = 0; i < inner.count; ++i)
            std::memmove(target + i * inner.targetStep, source + i * inner.sourceStep, size_t(m_runBytes));
}

void StridedCopy::runLoops(int depth, char* target, const char* source) const noexcept
{
    if (depth <= 2) {
        const Loop once{1, 0, 0};
        return runRows(target, source, depth > 0 ? m_loops[0] : once, depth > 1 ? m_loops[1] : once);
    }
    const Loop& loop = m_loops[depth - 1];
    for (long i = 0; i < loop.count; ++i)
        runLoops(depth - 1, target + i * loop.targetStep, source + i * loop.sourceStep);
}

void gather(void* buffer, const void* data, const ZbBytePattern& pattern, int unitBytes, long first,
            long count) noexcept
{
    copyRange<true>(static_cast<char*>(buffer), static_cast<char*>(const_cast<void*>(data)), pattern,
                    unitBytes, first, count);
}

void scatter(void* data, const ZbBytePattern& pattern, int unitBytes, long first, long count,
             const void* buffer) noexcept
{
    copyRange<false>(static_cast<char*>(const_cast<void*>(buffer)), static_cast<char*>(data), pattern,
                     unitBytes, first, count);
}

}  // namespace ZbDetail
