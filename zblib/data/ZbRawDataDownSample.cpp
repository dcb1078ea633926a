#include <zblib/data/ZbRawData.h>

#include <zblib/containers/ZbDArray.h>
#include <zblib/data/ZbUnsupportedType.h>
#include <zblib/foundation/ZbMultiversion.h>
#include <zblib/types/ZbPrimTypeVisit.h>

#include <algorithm>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

namespace
{

__extension__ using Int128 = __int128;

// Where the boxes of one axis lie: box i covers [begin(i), end(i)).
struct Axis {
    long size;
    long factor;

    Axis(int sizeOfBlock, int factorOfBlock)
        : size(sizeOfBlock), factor(std::clamp<long>(factorOfBlock, 1, std::max(1, sizeOfBlock)))
    {
    }
    long count() const { return (size + factor - 1) / factor; }
    long begin(long i) const { return i * factor; }
    long end(long i) const { return std::min(size, (i + 1) * factor); }
    long length(long i) const { return end(i) - begin(i); }
};

struct Grid {
    Axis x, y, z;
    long components;

    Grid(const int* dims, int numComponents, const int* factors)
        : x(dims[0], factors[0]), y(dims[1], factors[1]), z(dims[2], factors[2]), components(numComponents)
    {
    }
    bool isEmpty() const { return x.size == 0 || y.size == 0 || z.size == 0; }
    long rowOffset(long row, long slice) const { return (slice * y.size + row) * x.size * components; }
};

bool isValid(const int* dims, int components, const int* factors)
{
    return std::all_of(dims, dims + 3, [](int size) { return size >= 0; }) &&
           std::all_of(factors, factors + 3, [](int factor) { return factor >= 1; }) && components >= 1;
}

// ---- reductions: values of a box, one after the other, become one value

// Sums of integers are exact: Sum holds the sum of as many values as a box has. The mean is rounded to the
// nearest integer, halves away from zero.
template <typename T, typename Sum>
struct Mean {
    using State = Sum;

    static Sum start(T value) { return value; }
    static Sum fold(Sum sum, T value) { return sum + value; }
    static Sum merge(Sum a, Sum b) { return a + b; }
    static T finish(Sum sum, long count)
    {
        if constexpr (std::floating_point<T>) {
            return static_cast<T>(sum / static_cast<double>(count));
        } else if constexpr (sizeof(Sum) == 4) {
            // In double this is exact, and there are instructions for several divisions at once: the distance
            // of a quotient from the next integer is many times the error of the division.
            const double half = sum < 0 ? -0.5 : 0.5;
            const double n = static_cast<double>(count);
            return static_cast<T>(static_cast<Sum>((sum + half * n) / n));
        } else {
            const Sum half = sum < 0 ? -static_cast<Sum>(count / 2) : static_cast<Sum>(count / 2);
            return static_cast<T>((sum + half) / count);
        }
    }
};

// NaNs are passed over; a box of NaNs alone becomes NaN.
template <typename T>
struct Maximum {
    using State = T;

    static T start(T value) { return value; }
    static T fold(T largest, T value)
    {
        if constexpr (std::floating_point<T>)
            return value > largest || std::isnan(largest) ? value : largest;
        else
            return value > largest ? value : largest;
    }
    static T merge(T a, T b) { return fold(a, b); }
    static T finish(T largest, long) { return largest; }
};

template <typename T>
struct Minimum {
    using State = T;

    static T start(T value) { return value; }
    static T fold(T smallest, T value) { return value < smallest ? value : smallest; }
    static T merge(T a, T b) { return fold(a, b); }
};

template <typename Reduction, typename T>
void startRow(typename Reduction::State* __restrict states, const T* __restrict row, long count)
{
    for (long i = 0; i < count; ++i)
        states[i] = Reduction::start(row[i]);
}

template <typename Reduction, typename T>
void foldRow(typename Reduction::State* __restrict states, const T* __restrict row, long count)
{
    for (long i = 0; i < count; ++i)
        states[i] = Reduction::fold(states[i], row[i]);
}

// Merges the states of each full box along x. A factor that the compiler knows, and a single component, make
// this a loop over pairs or triples that it vectorises.
template <typename Reduction, long knownFactor, typename State>
void mergeAlongX(State* __restrict merged, const State* __restrict states, long boxes, long factor,
                 long components)
{
    if constexpr (knownFactor > 0) {
        for (long i = 0; i < boxes; ++i) {
            State state = states[i * knownFactor];
            for (long k = 1; k < knownFactor; ++k)
                state = Reduction::merge(state, states[i * knownFactor + k]);
            merged[i] = state;
        }
    } else {
        for (long i = 0; i < boxes; ++i, states += factor * components)
            for (long c = 0; c < components; ++c) {
                State state = states[c];
                for (long k = 1; k < factor; ++k)
                    state = Reduction::merge(state, states[k * components + c]);
                *merged++ = state;
            }
    }
}

template <typename Reduction, typename State>
void mergeRow(State* __restrict merged, const State* __restrict states, const Axis& x, long components)
{
    const long full = x.size / x.factor;
    if (components == 1 && x.factor == 2)
        mergeAlongX<Reduction, 2>(merged, states, full, 2, 1);
    else if (components == 1 && x.factor == 3)
        mergeAlongX<Reduction, 3>(merged, states, full, 3, 1);
    else if (components == 1 && x.factor == 4)
        mergeAlongX<Reduction, 4>(merged, states, full, 4, 1);
    else
        mergeAlongX<Reduction, 0>(merged, states, full, x.factor, components);
    if (full < x.count())
        mergeAlongX<Reduction, 0>(merged + full * components, states + full * x.factor * components, 1,
                                  x.length(full), components);
}

template <typename Reduction, typename T>
void finishRow(T* __restrict target, const typename Reduction::State* __restrict merged, long count,
               long boxSize)
{
    for (long i = 0; i < count; ++i)
        target[i] = Reduction::finish(merged[i], boxSize);
}

// The states of one row of boxes, folded along y and z.
template <typename Reduction, typename T>
void foldRows(typename Reduction::State* states, const T* source, const Grid& grid, long y, long z)
{
    const long length = grid.x.size * grid.components;
    startRow<Reduction>(states, source + grid.rowOffset(grid.y.begin(y), grid.z.begin(z)), length);
    for (long slice = grid.z.begin(z); slice < grid.z.end(z); ++slice)
        for (long row = grid.y.begin(y); row < grid.y.end(y); ++row)
            if (row > grid.y.begin(y) || slice > grid.z.begin(z))
                foldRow<Reduction>(states, source + grid.rowOffset(row, slice), length);
}

// Whole rows at a time along y and z, then along x.
template <typename Reduction, typename T>
void reduce(const T* source, const Grid& grid, T* target)
{
    if (grid.isEmpty())
        return;
    using State = typename Reduction::State;
    ZbDArray<State> states(grid.x.size * grid.components);
    ZbDArray<State> merged(grid.x.count() * grid.components);
    const long last = grid.x.count() - 1;
    for (long z = 0; z < grid.z.count(); ++z)
        for (long y = 0; y < grid.y.count(); ++y, target += merged.size())
            zbMultiversion([&] {
                const long boxRows = grid.y.length(y) * grid.z.length(z);
                foldRows<Reduction>(states.data(), source, grid, y, z);
                mergeRow<Reduction>(merged.data(), states.data(), grid.x, grid.components);
                finishRow<Reduction>(target, merged.data(), last * grid.components, grid.x.factor * boxRows);
                finishRow<Reduction>(target + last * grid.components, merged.data() + last * grid.components,
                                     grid.components, grid.x.length(last) * boxRows);
            });
}

template <typename T>
void reduceToMean(const T* source, const Grid& grid, T* target)
{
    if constexpr (std::floating_point<T>) {
        reduce<Mean<T, double>>(source, grid, target);
    } else if constexpr (sizeof(T) == 8) {
        reduce<Mean<T, Int128>>(source, grid, target);
    } else {
        const Int128 boxSize = Int128(grid.x.factor) * grid.y.factor * grid.z.factor;
        if (sizeof(T) <= 2 && boxSize <= 0x7fff)
            reduce<Mean<T, std::int32_t>>(source, grid, target);
        else if (boxSize <= 0x7fffffff)
            reduce<Mean<T, std::int64_t>>(source, grid, target);
        else
            reduce<Mean<T, Int128>>(source, grid, target);
    }
}

// ---- labels

// The most frequent of the values, the smallest of several; may sort them.
template <typename T>
T mostFrequent(T* values, long count)
{
    // If any value makes up more than half, it is the one that survives when unequal values cancel out.
    T best = values[0];
    long votes = 0;
    for (long i = 0; i < count; ++i) {
        if (votes == 0)
            best = values[i];
        votes += values[i] == best ? 1 : -1;
    }
    if (2 * std::count(values, values + count, best) > count)
        return best;

    std::sort(values, values + count);
    long bestRun = 0;
    for (long first = 0; first < count;) {
        long last = first + 1;
        while (last < count && values[last] == values[first])
            ++last;
        if (last - first > bestRun) {
            bestRun = last - first;
            best = values[first];
        }
        first = last;
    }
    return best;
}

// Most boxes lie inside of a region: where the smallest and the largest label are equal, nothing is counted.
template <typename T>
void reduceToLabels(const T* source, const Grid& grid, T* target)
{
    if (grid.isEmpty())
        return;
    const long count = grid.x.count();
    ZbDArray<T> row(grid.x.size), smallest(count), largest(count);
    ZbDArray<T> box(grid.x.factor * grid.y.factor * grid.z.factor);
    for (long z = 0; z < grid.z.count(); ++z)
        for (long y = 0; y < grid.y.count(); ++y) {
            zbMultiversion([&] {
                foldRows<Minimum<T>>(row.data(), source, grid, y, z);
                mergeRow<Minimum<T>>(smallest.data(), row.data(), grid.x, 1);
                foldRows<Maximum<T>>(row.data(), source, grid, y, z);
                mergeRow<Maximum<T>>(largest.data(), row.data(), grid.x, 1);
            });
            for (long x = 0; x < count; ++x, ++target) {
                *target = smallest[x];
                if (smallest[x] == largest[x])
                    continue;
                T* end = box.data();
                for (long slice = grid.z.begin(z); slice < grid.z.end(z); ++slice)
                    for (long line = grid.y.begin(y); line < grid.y.end(y); ++line) {
                        const T* values = source + grid.rowOffset(line, slice);
                        end = std::copy(values + grid.x.begin(x), values + grid.x.end(x), end);
                    }
                *target = mostFrequent(box.data(), end - box.data());
            }
        }
}

// ---- the types of the values

template <typename Visit>
bool visitIntegers(ZbPrimType type, Visit visit)
{
    return zbVisitPrimType<unsigned char, signed char, short, unsigned short, int, unsigned int, long long,
                           unsigned long long>(type, visit);
}

template <typename Visit>
bool visitNumbers(ZbPrimType type, Visit visit)
{
    return visitIntegers(type, visit) || zbVisitPrimType<float, double>(type, visit);
}

}  // namespace

bool ZbRawData::downSample3D(ZbTypedPointer source, const int* dims, int components, const int* factors,
                             ZbTypedPointer target)
{
    const ZbPrimType type = source.getPrimType();
    if (!isValid(dims, components, factors))
        return false;
    if (type == ZbPrimType::COMPLEX) {
        const auto* parts = static_cast<const float*>(source.getData());
        Grid grid(dims, components, factors);
        grid.components *= 2;
        reduceToMean(parts, grid, static_cast<float*>(target.getData()));
        return true;
    }
    const Grid grid(dims, components, factors);
    const bool known = visitNumbers(type, [&](auto tag) {
        using T = typename decltype(tag)::Type;
        reduceToMean(static_cast<const T*>(source.getData()), grid, static_cast<T*>(target.getData()));
    });
    if (!known)
        ZbDetail::reportUnsupportedType(type, "ZbRawData::downSample3D()");
    return known;
}

bool ZbRawData::downSample3DN(ZbTypedPointer source, const int* dims, int components, const int* factors,
                              ZbTypedPointer target)
{
    if (!isValid(dims, components, factors))
        return false;
    const Grid grid(dims, components, factors);
    const long typeSize = long(ZbDetail::sizeOrZero(source.getPrimType()));
    if (typeSize == 0) {
        ZbDetail::reportUnsupportedType(source.getPrimType(), "ZbRawData::downSample3DN()");
        return false;
    }
    const long voxelBytes = grid.components * typeSize;
    const auto middle = [](const Axis& axis, long i) { return axis.begin(i) + (axis.length(i) - 1) / 2; };
    const char* from = static_cast<const char*>(source.getData());
    char* to = static_cast<char*>(target.getData());
    const auto copyVoxels = [&](auto bytes) {
        for (long z = 0; z < grid.z.count(); ++z)
            for (long y = 0; y < grid.y.count(); ++y) {
                const char* row = from + grid.rowOffset(middle(grid.y, y), middle(grid.z, z)) * typeSize;
                for (long x = 0; x < grid.x.count(); ++x, to += voxelBytes)
                    std::memcpy(to, row + middle(grid.x, x) * voxelBytes, bytes);
            }
    };
    switch (voxelBytes) {  // sizes that the compiler knows are single moves
    case 1:
        copyVoxels(std::integral_constant<size_t, 1>());
        break;
    case 2:
        copyVoxels(std::integral_constant<size_t, 2>());
        break;
    case 4:
        copyVoxels(std::integral_constant<size_t, 4>());
        break;
    case 8:
        copyVoxels(std::integral_constant<size_t, 8>());
        break;
    default:
        copyVoxels(static_cast<size_t>(voxelBytes));
    }
    return true;
}

bool ZbRawData::downSampleLabels3D(ZbTypedPointer source, const int* dims, const int* factors,
                                   ZbTypedPointer target)
{
    if (!isValid(dims, 1, factors))
        return false;
    const Grid grid(dims, 1, factors);
    const ZbPrimType type = source.getPrimType();
    const bool known = visitIntegers(type, [&](auto tag) {
        using T = typename decltype(tag)::Type;
        reduceToLabels(static_cast<const T*>(source.getData()), grid, static_cast<T*>(target.getData()));
    });
    if (!known)
        ZbDetail::reportUnsupportedType(type, "ZbRawData::downSampleLabels3D()");
    return known;
}

bool ZbRawData::downSampleMaxFilterComponents3DN(ZbTypedPointer source, const int* dims, int components,
                                                 const int* factors, ZbTypedPointer target)
{
    if (!isValid(dims, components, factors))
        return false;
    const Grid grid(dims, components, factors);
    const ZbPrimType type = source.getPrimType();
    const bool known = visitNumbers(type, [&](auto tag) {
        using T = typename decltype(tag)::Type;
        reduce<Maximum<T>>(static_cast<const T*>(source.getData()), grid, static_cast<T*>(target.getData()));
    });
    if (!known)
        ZbDetail::reportUnsupportedType(type, "ZbRawData::downSampleMaxFilterComponents3DN()");
    return known;
}
