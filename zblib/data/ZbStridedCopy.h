#pragma once

// Private: how bytes get from one pattern to another.

#include <zblib/data/ZbBytePattern.h>

namespace ZbDetail
{

/// The number of units that a pattern visits; 0 for a default pattern.
long unitCount(const ZbBytePattern& pattern) noexcept;

/// True when the memory between the lowest and the highest byte of a pattern that starts at a meets that of
/// another that starts at b. Patterns count in units of so many bytes and are not empty.
bool spansMeet(const void* a, const ZbBytePattern& patternA, int unitBytesA, const void* b,
               const ZbBytePattern& patternB, int unitBytesB) noexcept;

/// A nest of loops that walks over a target and a source in step and copies a run of bytes at each position.
///
/// A plain value. Copying allocates nothing; it costs what a plain loop costs where a run has one of the
/// usual lengths of up to 16 bytes, and a memmove() per run otherwise.
class StridedCopy
{
public:
    explicit StridedCopy(long runBytes = 1) noexcept : m_runBytes(runBytes) {}

    /// Adds a loop around those that are there. Steps are in bytes.
    void addLoop(long count, long targetStep, long sourceStep) noexcept;

    /// Adds the loops that visit two patterns of bytes side by side, up to the end of the shorter one.
    ///
    /// The patterns need not have the same levels: a dense run on one side is split into the rows of the
    /// other. False when loops cannot do it, for instance with rows of 6 and of 4 bytes. No pattern is empty.
    bool addPatterns(const ZbBytePattern& target, const ZbBytePattern& source) noexcept;

    /// True when no run, copied in order, overwrites what a later one reads.
    bool isSafeInOrder(const void* target, const void* source) const noexcept;

    /// True when both sides are laid out alike. The order is free then, as long as isSafeInOrder() holds for
    /// it.
    bool isShift() const noexcept;

    /// The same runs from the last to the first; target and source move to the last.
    StridedCopy reversed(void*& target, const void*& source) const noexcept;

    /// Copies run by run, in order. The bytes of a single run may overlap.
    void run(void* target, const void* source) const noexcept
    {
        runLoops(m_depth, static_cast<char*>(target), static_cast<const char*>(source));
    }

private:
    struct Loop {
        long count;
        long targetStep;
        long sourceStep;
    };

    void runLoops(int depth, char* target, const char* source) const noexcept;
    void runRows(char* target, const char* source, Loop inner, Loop outer) const noexcept;
    template <int bytes>
    static void copyRows(char* target, const char* source, Loop inner, Loop outer) noexcept;

    Loop m_loops[2 * ZbBytePattern::maxNesting];  // innermost first
    int m_depth = 0;
    long m_runBytes;
};

/// Copies units [first, first + count) of a pattern that starts at data into a dense buffer.
///
/// The strides of the pattern are in units of unitBytes. The range lies in the pattern; the buffer does not
/// overlap the data. Takes O(nesting) StridedCopy.
void gather(void* buffer, const void* data, const ZbBytePattern& pattern, int unitBytes, long first,
            long count) noexcept;

/// The reverse of gather().
void scatter(void* data, const ZbBytePattern& pattern, int unitBytes, long first, long count,
             const void* buffer) noexcept;

}  // namespace ZbDetail
