#pragma once

// Private: what resampling makes of the input samples of one output sample: a mean, or a label.
//
// A rule has Value, the type of intermediate values; Scratch, the memory that one thread needs; and two
// functions, one for passes along y and z, where whole rows are combined, and one for passes along x.

#include <zblib/containers/ZbDArray.h>
#include <zblib/data/ZbTransposeBand.h>
#include <zblib/foundation/ZbMemory.h>
#include <zblib/foundation/ZbMultiversion.h>
#include <zblib/imaging/ZbResampleAxis.h>
#include <zblib/imaging/ZbResampleConvert.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>

namespace ZbDetail
{

/// Rows that a pass along x works on: those of one plane that lie one behind the other.
struct RowGroup {
    const char* source;
    char* target;
    long sourceStride, targetStride;  // bytes
    long count;                       // at most rowGroupSize
};

inline constexpr long rowGroupSize = 16;

/// Whether a pass reads values of the source block, and whether it writes values of the target block; others
/// are intermediate ones.
struct PassEnds {
    bool readsSource, writesTarget;
};

// ---- means

/// target += or = the sum of n rows, each times its weight, in their order.
template <int n, bool startsAtZero>
void addRows(float* __restrict target, const float* const* rows, const float* weights, long count)
{
    const float* row[n];
    float weight[n];
    std::copy_n(rows, n, row);
    std::copy_n(weights, n, weight);
    for (long i = 0; i < count; ++i) {
        float sum = startsAtZero ? 0.0f : target[i];
        for (int k = 0; k < n; ++k)
            sum += weight[k] * row[k][i];
        target[i] = sum;
    }
}

inline constexpr long maxRows = 8;

template <bool startsAtZero>
void addUpTo8Rows(float* target, const float* const* rows, const float* weights, long n, long count)
{
    switch (n) {
    case 1:
        return addRows<1, startsAtZero>(target, rows, weights, count);
    case 2:
        return addRows<2, startsAtZero>(target, rows, weights, count);
    case 3:
        return addRows<3, startsAtZero>(target, rows, weights, count);
    case 4:
        return addRows<4, startsAtZero>(target, rows, weights, count);
    case 5:
        return addRows<5, startsAtZero>(target, rows, weights, count);
    case 6:
        return addRows<6, startsAtZero>(target, rows, weights, count);
    case 7:
        return addRows<7, startsAtZero>(target, rows, weights, count);
    case 8:
        return addRows<8, startsAtZero>(target, rows, weights, count);
    default:
        std::fill_n(target, count, 0.0f);
    }
}

/// The sums of the columns begin, begin + stride, ... of rowGroupSize lanes, each times its weight.
inline void addColumns(float* target, const float* columns, long stride, const float* weights, long count)
{
    using Half [[gnu::vector_size(32)]] = float;
    Half low{}, high{};
    for (long k = 0; k < count; ++k, columns += stride) {
        Half first, second;
        std::memcpy(&first, columns, sizeof(Half));
        std::memcpy(&second, columns + 8, sizeof(Half));
        low += weights[k] * first;
        high += weights[k] * second;
    }
    std::memcpy(target, &low, sizeof(Half));
    std::memcpy(target + 8, &high, sizeof(Half));
}

/// columns[x][lane] = value x of row lane. Rows from count on keep what is there.
inline void rowsToLanes(float* columns, const char* rows, long stride, long count, long length)
{
    constexpr long bytes = sizeof(float);
    for (long lane = 0; lane < count; lane += 4) {
        const char* from = rows + lane * stride;
        const long valid = std::min(4L, count - lane);
        long x = 0;
        for (; x + 4 <= length; x += 4)
            transposeSquare<4>(from + x * bytes, stride, valid,
                               reinterpret_cast<char*>(columns + x * rowGroupSize + lane),
                               rowGroupSize * bytes, 4);
        for (; x < length; ++x)
            for (long i = 0; i < valid; ++i)
                std::memcpy(columns + x * rowGroupSize + lane + i, from + i * stride + x * bytes, bytes);
    }
}

/// The way back.
inline void lanesToRows(char* rows, long stride, long count, const float* columns, long length)
{
    constexpr long bytes = sizeof(float);
    for (long lane = 0; lane < count; lane += 4) {
        char* to = rows + lane * stride;
        const long valid = std::min(4L, count - lane);
        long x = 0;
        for (; x + 4 <= length; x += 4)
            transposeSquare<4>(reinterpret_cast<const char*>(columns + x * rowGroupSize + lane),
                               rowGroupSize * bytes, 4, to + x * bytes, stride, valid);
        for (; x < length; ++x)
            for (long i = 0; i < valid; ++i)
                std::memcpy(to + i * stride + x * bytes, columns + x * rowGroupSize + lane + i, bytes);
    }
}

/// Weighted means in float.
class ResampleMeans
{
public:
    using Value = float;

    struct Scratch : ZbAllocated {
        ZbDArray<float> columns;  // of a group of rows, for passes along x
        ZbDArray<const char*> rows;
    };

    using Load = void (*)(float* values, const void* source, long count);
    using Finish = void (*)(void* target, const float* values, long count, MeanConversion conversion);

    /// load is null for a source of floats, and finish for a target of floats with the factor 1.
    ResampleMeans(Load load, long sourceBytes, Finish finish, long targetBytes, MeanConversion conversion)
        : m_load(load)
        , m_finish(finish)
        , m_sourceBytes(sourceBytes)
        , m_targetBytes(targetBytes)
        , m_conversion(conversion)
    {
    }

    /// Combines count rows of length values to one.
    void combineRows(char* target, const char* const* rows, const float* weights, long count, long length,
                     PassEnds ends, Scratch&) const
    {
        const Load load = ends.readsSource ? m_load : nullptr;
        const Finish finish = ends.writesTarget ? m_finish : nullptr;
        const long sourceBytes = load ? m_sourceBytes : long(sizeof(float));
        alignas(64) float sums[piece];
        alignas(64) float loaded[maxRows][piece];
        for (long x = 0; x < length; x += piece) {
            const long n = std::min(piece, length - x);
            float* out = finish ? sums : reinterpret_cast<float*>(target) + x;
            long k = 0;
            do {
                const long some = std::min(maxRows, count - k);
                const float* row[maxRows];
                for (long i = 0; i < some; ++i) {
                    const char* from = rows[k + i] + x * sourceBytes;
                    if (load)
                        load(loaded[i], from, n);
                    row[i] = load ? loaded[i] : reinterpret_cast<const float*>(from);
                }
                if (k == 0)
                    zbMultiversion([=] { addUpTo8Rows<true>(out, row, weights, some, n); });
                else
                    zbMultiversion([=] { addUpTo8Rows<false>(out, row, weights + k, some, n); });
                k += some;
            } while (k < count);
            if (finish)
                finish(target + x * m_targetBytes, sums, n, m_conversion);
        }
    }

    /// Resamples a group of rows of axis.oldSize() times components values.
    void resampleRows(const RowGroup& group, const ResampleAxis& axis, long components, PassEnds ends,
                      Scratch& scratch) const
    {
        const Load load = ends.readsSource ? m_load : nullptr;
        const Finish finish = ends.writesTarget ? m_finish : nullptr;
        float* columns = lanes(scratch);
        alignas(64) float rows[rowGroupSize * piece];
        constexpr long rowBytes = piece * sizeof(float);

        const long oldLength = axis.oldSize() * components;
        for (long x = 0; x < oldLength; x += piece) {
            const long n = std::min(piece, oldLength - x);
            const char* from = group.source + x * long(sizeof(float));
            long stride = group.sourceStride;
            if (load) {
                for (long i = 0; i < group.count; ++i)
                    load(rows + i * piece, group.source + i * stride + x * m_sourceBytes, n);
                from = reinterpret_cast<const char*>(rows);
                stride = rowBytes;
            }
            zbMultiversion([=] { rowsToLanes(columns + x * rowGroupSize, from, stride, group.count, n); });
        }

        alignas(64) float sums[piece * rowGroupSize];
        const long newLength = axis.newSize() * components;
        for (long x = 0; x < newLength; x += piece) {
            const long n = std::min(piece, newLength - x);
            zbMultiversion([&sums, &axis, columns, components, x, n] {
                long sample = x / components, component = x % components;
                for (long i = 0; i < n; ++i) {
                    addColumns(sums + i * rowGroupSize,
                               columns + (axis.begin(sample) * components + component) * rowGroupSize,
                               components * rowGroupSize, axis.weights(sample), axis.count(sample));
                    if (++component == components) {
                        component = 0;
                        ++sample;
                    }
                }
            });
            if (!finish) {
                char* to = group.target + x * long(sizeof(float));
                zbMultiversion(
                    [&sums, &group, to, n] { lanesToRows(to, group.targetStride, group.count, sums, n); });
                continue;
            }
            zbMultiversion([&sums, &group, out = rows, n] {
                lanesToRows(reinterpret_cast<char*>(out), rowBytes, group.count, sums, n);
            });
            for (long i = 0; i < group.count; ++i)
                finish(group.target + i * group.targetStride + x * m_targetBytes, rows + i * piece, n,
                       m_conversion);
        }
    }

    static void prepare(Scratch& scratch, long oldLength, long longest)
    {
        scratch.columns.resize(oldLength * rowGroupSize + alignment);
        scratch.columns.fill(0.0f);  // lanes without a row are computed too
        scratch.rows.resize(longest);
    }

private:
    static constexpr long piece = 256;     // values that the first cache holds several times sixteen of
    static constexpr long alignment = 16;  // of a column, in floats

    static float* lanes(Scratch& scratch)
    {
        float* const begin = scratch.columns.data();
        const auto place = long(reinterpret_cast<std::uintptr_t>(begin) / sizeof(float) % alignment);
        return begin + (alignment - place) % alignment;
    }

    Load m_load;
    Finish m_finish;
    long m_sourceBytes, m_targetBytes;
    MeanConversion m_conversion;
};

// ---- labels

/// The label with the largest summed weight.
template <typename Label>
class ResampleLabels
{
public:
    using Value = Label;

    struct Scratch : ZbAllocated {
        ZbDArray<const char*> rows;
        ZbDArray<Label> candidates;  // the labels of a list
        ZbDArray<Label> labels;      // those that differ
        ZbDArray<float> sums;        // their weights
        ZbDArray<long> order;
    };

    using Finish = void (*)(void* target, const Label* labels, long count, float factor);

    ResampleLabels(Finish finish, long targetBytes, float factor)
        : m_finish(finish), m_targetBytes(targetBytes), m_factor(factor)
    {
    }

    void combineRows(char* target, const char* const* rows, const float* weights, long count, long length,
                     PassEnds ends, Scratch& scratch) const
    {
        Label labels[piece];
        for (long x = 0; x < length; x += piece) {
            const long n = std::min(piece, length - x);
            const auto rowOf = [=](long k) { return reinterpret_cast<const Label*>(rows[k]) + x; };
            // Most of a block lies inside of regions.
            bool uniform = count > 0;
            for (long k = 1; uniform && k < count; ++k)
                uniform = std::memcmp(rowOf(k), rowOf(0), size_t(n) * sizeof(Label)) == 0;
            if (uniform) {
                std::copy_n(rowOf(0), n, labels);
            } else {
                for (long i = 0; i < n; ++i) {
                    for (long k = 0; k < count; ++k)
                        scratch.candidates[k] = rowOf(k)[i];
                    labels[i] = heaviest(scratch.candidates.data(), 1, weights, count, scratch);
                }
            }
            store(target, x, labels, n, ends);
        }
    }

    void resampleRows(const RowGroup& group, const ResampleAxis& axis, long components, PassEnds ends,
                      Scratch& scratch) const
    {
        Label labels[piece];
        const long length = axis.newSize() * components;
        for (long row = 0; row < group.count; ++row) {
            const auto* source = reinterpret_cast<const Label*>(group.source + row * group.sourceStride);
            for (long x = 0; x < length; x += piece) {
                const long n = std::min(piece, length - x);
                for (long i = 0; i < n; ++i) {
                    const long sample = (x + i) / components, component = (x + i) % components;
                    labels[i] = heaviest(source + axis.begin(sample) * components + component, components,
                                         axis.weights(sample), axis.count(sample), scratch);
                }
                store(group.target + row * group.targetStride, x, labels, n, ends);
            }
        }
    }

    static void prepare(Scratch& scratch, long, long longest)
    {
        scratch.rows.resize(longest);
        scratch.candidates.resize(longest);
        scratch.labels.resize(longest);
        scratch.sums.resize(longest);
        scratch.order.resize(longest);
    }

private:
    static constexpr long piece = 64;

    // NaNs count as one label, the largest.
    static bool isNan(Label label)
    {
        if constexpr (std::is_floating_point_v<Label>)
            return std::isnan(label);
        else
            return false;
    }
    static bool isSame(Label a, Label b) { return a == b || (isNan(a) && isNan(b)); }
    static bool isSmaller(Label a, Label b) { return a < b || (!isNan(a) && isNan(b)); }

    void store(char* target, long x, const Label* labels, long count, PassEnds ends) const
    {
        if (ends.writesTarget)
            m_finish(target + x * m_targetBytes, labels, count, m_factor);
        else
            std::memcpy(target + x * long(sizeof(Label)), labels, size_t(count) * sizeof(Label));
    }

    // Of count values, stride apart. Weights are summed in the order of the list.
    static Label heaviest(const Label* values, long stride, const float* weights, long count,
                          Scratch& scratch)
    {
        if (count == 0)
            return Label(0);
        long same = 1;
        while (same < count && isSame(values[same * stride], values[0]))
            ++same;
        if (same == count)
            return values[0];

        Label* labels = scratch.labels.data();
        float* sums = scratch.sums.data();
        long distinct = 0, last = 0;
        for (long k = 0; k < count; ++k) {
            const Label value = values[k * stride];
            // Neighbours are alike.
            long i = distinct > 0 && isSame(labels[last], value) ? last : 0;
            while (i < distinct && !isSame(labels[i], value))
                ++i;
            if (i == distinct) {
                if (distinct == maxSearched)
                    return heaviestOfMany(values, stride, weights, count, scratch);
                labels[distinct] = value;
                sums[distinct++] = 0.0f;
            }
            sums[i] += weights[k];
            last = i;
        }
        long best = 0;
        for (long i = 1; i < distinct; ++i)
            if (sums[i] > sums[best] || (sums[i] == sums[best] && isSmaller(labels[i], labels[best])))
                best = i;
        return labels[best];
    }

    // The same for long lists of many labels, which are sorted.
    static Label heaviestOfMany(const Label* values, long stride, const float* weights, long count,
                                Scratch& scratch)
    {
        long* order = scratch.order.data();
        std::iota(order, order + count, 0L);
        std::sort(order, order + count, [=](long a, long b) {
            const Label first = values[a * stride], second = values[b * stride];
            return isSame(first, second) ? a < b : isSmaller(first, second);
        });
        Label best = Label(0);
        float bestSum = 0.0f;
        for (long k = 0; k < count;) {
            const Label label = values[order[k] * stride];
            const bool isFirst = k == 0;
            float sum = 0.0f;
            for (; k < count && isSame(values[order[k] * stride], label); ++k)
                sum += weights[order[k]];
            if (isFirst || sum > bestSum) {
                best = label;
                bestSum = sum;
            }
        }
        return best;
    }

    static constexpr long maxSearched = 32;

    Finish m_finish;
    long m_targetBytes;
    float m_factor;
};

}  // namespace ZbDetail
