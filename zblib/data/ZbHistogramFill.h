#pragma once

// Private: adds arrays of values to a histogram.

#include <zblib/data/ZbHistogram.h>

#include <limits>

class ZbProgressInterface;

namespace ZbDetail
{

/// Adds arrays to a histogram on the calling thread, with the results of adding each value.
///
/// Instantiated for all element types of raw data, char, long and unsigned long.
class HistogramFill
{
public:
    explicit HistogramFill(ZbHistogram& target) : m_target(target) {}

    /// Leaves out values that are equal to this when converted to double.
    void ignore(double value) { m_ignored = value; }
    /// Tells progress the fraction done of each array, every 1,000,000 values.
    void reportTo(ZbProgressInterface* progress) { m_progress = progress; }

    /// Adds data[0], data[stride], data[2 * stride], ..., count values.
    template <typename T>
    void add(const T* data, unsigned long count, long stride = 1);

    /// A histogram of the same bins, all empty.
    static ZbHistogram emptyLike(const ZbHistogram& other);

private:
    template <typename T>
    bool isWanted(T value) const;
    template <typename T>
    void addEach(const T* data, unsigned long count, long stride);
    template <typename Tally, typename T>
    void addByTally(Tally tally, const T* data, unsigned long count, long stride);

    ZbHistogram& m_target;
    double m_ignored = std::numeric_limits<double>::quiet_NaN();  // NaN: none is
    ZbProgressInterface* m_progress = nullptr;
};

}  // namespace ZbDetail
