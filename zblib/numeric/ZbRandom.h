#pragma once

#include <zblib/foundation/ZbExport.h>

/// Pseudo-random numbers: the minimal standard generator with a shuffle table.
///
/// For jitter, sampling and start values, where speed and the same behaviour everywhere matter more than
/// length: the period is about 2^31. Take the generators of the standard library for long simulations, and
/// none of these for secrets. A step is 16807 * seed mod (2^31 - 1) (Park and Miller, Communications of the
/// ACM 31, 1988), shuffled over 32 entries (Bays and Durham, ACM Transactions on Mathematical Software 2,
/// 1976). Not thread-safe: a generator belongs to one thread at a time, and that includes the generator of
/// the process.
class ZB_API ZbRandom
{
public:
    /// Starts from the clock, so that two runs differ.
    ZbRandom();
    /// Starts from a given value: the same value gives the same numbers. It is reduced into [1, 2^31 - 2].
    explicit ZbRandom(long long start);

    /// The generator of the process, created on first use (thread-safe) and started from the clock.
    static ZbRandom& getTheRandom();

    /// A uniform number in (0, 1) from the generator of the process.
    static double rand() { return getTheRandom().nextUniform(); }
    /// A standard normal number from the generator of the process.
    static double randNormalDistribution() { return getTheRandom().nextNormalDistributedNumber(); }

    /// A uniform number in (0, 1): at least 4.6e-10 and at most 1 - 1.2e-7.
    double nextUniform();
    /// A normal number of mean 0 and deviation 1 (polar method of Box, Muller and Marsaglia). Two are made at
    /// a time: every second call only hands out the other one.
    double nextNormalDistributedNumber();

private:
    static constexpr int tableSize = 32;

    long long step();

    long long m_seed;  // in [1, 2^31 - 2]
    long long m_last;  // the entry that was handed out last; its high bits select the next one
    long long m_table[tableSize];
    double m_cachedNormal = 0;
    bool m_hasCachedNormal = false;
};
