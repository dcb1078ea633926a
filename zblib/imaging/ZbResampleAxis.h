#pragma once

// Private: the contribution lists of an axis in a form that is fast to go through.

#include <zblib/containers/ZbDArray.h>
#include <zblib/imaging/ZbResampler.h>

namespace ZbDetail
{

/// The lists of ZbResampler::filter_contrib() with their weights one behind the other. The indices of a list
/// have no gaps, so the first one and the count give them all.
class ResampleAxis
{
public:
    ResampleAxis(int newSize, int oldSize, float scale, float shift, ZbResampler::Kernel kernel,
                 float support);

    long newSize() const { return m_lists.size(); }
    long oldSize() const { return m_oldSize; }
    /// Of all lists.
    long numEntries() const { return m_weights.size(); }
    long longest() const { return m_longest; }

    /// The list of an output sample: the input samples [begin, end).
    long begin(long sample) const { return m_lists[sample].begin; }
    long end(long sample) const { return m_lists[sample].begin + m_lists[sample].count; }
    long count(long sample) const { return m_lists[sample].count; }
    const float* weights(long sample) const { return m_weights.data() + m_lists[sample].offset; }

    /// The input samples that the output samples [first, last), at least one, need lie in
    /// [inputBegin(first), inputEnd(last)).
    long inputBegin(long first) const { return begin(first); }
    long inputEnd(long last) const { return end(last - 1); }

private:
    // Neither the beginnings nor the ends decrease; an empty list lies where the one before it ends.
    struct List {
        int begin;
        int count;
        long offset;  // of its first weight
    };

    int m_oldSize;
    long m_longest = 0;
    ZbDArray<List> m_lists;
    ZbDArray<float> m_weights;
};

}  // namespace ZbDetail
