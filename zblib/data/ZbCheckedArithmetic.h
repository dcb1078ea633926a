#pragma once

// Private: arithmetic on the extents of selections, which come from callers and may not fit.

namespace ZbDetail
{

[[noreturn]] void throwExtentTooLarge();

/// Throws ZbException unless numDims is a number of dimensions that a data space may have.
void requireNumDims(long numDims);

inline long checkedSum(long a, long b)
{
    long sum;
    if (__builtin_add_overflow(a, b, &sum))
        throwExtentTooLarge();
    return sum;
}

inline long checkedDifference(long a, long b)
{
    long difference;
    if (__builtin_sub_overflow(a, b, &difference))
        throwExtentTooLarge();
    return difference;
}

inline long checkedProduct(long a, long b)
{
    long product;
    if (__builtin_mul_overflow(a, b, &product))
        throwExtentTooLarge();
    return product;
}

}  // namespace ZbDetail
