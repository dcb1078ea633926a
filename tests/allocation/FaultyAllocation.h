#pragma once

/// Lets allocations of the calling thread fail while this lives: those of the library and of the C++ library beneath.
/// Those of the thread libraries are spared, which end the process where they get no memory, and those of Qt, whose
/// lists do not ask whether they got it, with its compression.
class FaultyAllocation
{
public:
    enum class Mode {
        Once,     ///< one allocation fails
        FromThen  ///< all from that one on fail, those for a message too
    };

    /// The allocation with this number, counted from 0, fails.
    FaultyAllocation(long number, Mode mode);
    ~FaultyAllocation();
    FaultyAllocation(const FaultyAllocation&) = delete;
    FaultyAllocation& operator=(const FaultyAllocation&) = delete;

    /// Whether there has been an allocation with that number.
    [[nodiscard]] static bool hasFailed();
    /// Blocks of memory that the library and what it calls hold, in all threads.
    [[nodiscard]] static long numLiveBlocks();
};
