#include <zblib/imaging/ZbLabelGrid.h>

#include <zblib/containers/ZbDArray.h>
#include <zblib/data/ZbClampTo.h>
#include <zblib/data/ZbUnsupportedType.h>
#include <zblib/foundation/ZbMultiversion.h>
#include <zblib/types/ZbPrimTypeVisit.h>

#include <algorithm>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <limits>

namespace ZbDetail
{
namespace
{

template <typename Visit>
bool visitLabelType(ZbPrimType type, Visit&& visit)
{
    return zbVisitPrimType<unsigned char, short, unsigned short, int, unsigned int, float, double>(type,
                                                                                                   visit);
}

template <typename T>
T thresholdOf(double value)
{
    if constexpr (std::integral<T>)
        return clampTo<T>(std::floor(value + 0.5));
    else
        return T(value);
}

template <typename T>
class GridRowsOf final : public GridRows
{
public:
    GridRowsOf(const T* values, const GridSize& size, double low, double high, bool keepsRows)
        : GridRows(size)
        , m_values(values)
        , m_low(thresholdOf<T>(low))
        , m_high(thresholdOf<T>(high))
        , m_numKept(!keepsRows    ? 0
                    : size.nz > 1 ? size.ny + 2
                                  : 2)
        , m_kept(m_numKept * size.nx)
    {
    }

    void enter(long row) override
    {
        m_row = row;
        m_current = m_values + row * m_size.nx;
        if (m_numKept > 0)
            std::copy_n(m_current, m_size.nx, kept(row));
    }

    void foreground(RowWord* bits) const override
    {
        zbMultiversion([bits, nx = m_size.nx, row = m_current, low = m_low] {
            setRowBits(nx, bits, [row, low](long x) { return !(row[x] < low); });
        });
    }

    void strong(RowWord* bits) const override
    {
        zbMultiversion([bits, nx = m_size.nx, row = m_current, high = m_high] {
            setRowBits(nx, bits, [row, high](long x) { return row[x] >= high; });
        });
    }

    void changes(RowWord* bits) const override
    {
        equals(m_current, -1, bits);
        const long lastWord = numRowWords(m_size.nx) - 1;
        for (long w = 0; w <= lastWord; ++w)
            bits[w] = ~bits[w];
        bits[lastWord] &= bitsUpTo(m_size.nx - 1);
    }

    void equalsEarlier(long rowsBack, int dx, RowWord* bits) const override
    {
        const long row = m_row - rowsBack;
        equals(m_numKept > 0 ? kept(row) : m_values + row * m_size.nx, dx, bits);
    }

    double value(long x) const override { return double(m_current[x]); }

private:
    T* kept(long row) { return m_kept.data() + row % m_numKept * m_size.nx; }
    const T* kept(long row) const { return m_kept.data() + row % m_numKept * m_size.nx; }

    // The bits where voxel x of the current row equals voxel x + dx of the other one.
    void equals(const T* other, int dx, RowWord* bits) const
    {
        const long nx = m_size.nx;
        const T* row = m_current;
        const long lastWord = numRowWords(nx) - 1;
        bits[lastWord] = 0;  // has no voxel to compare if one is cut off
        if (dx < 0)
            ++row;
        else
            other += dx;
        zbMultiversion([bits, n = dx == 0 ? nx : nx - 1, row, other] {
            setRowBits(n, bits, [row, other](long x) { return row[x] == other[x]; });
        });
        if (dx < 0) {
            for (long w = lastWord; w > 0; --w)
                bits[w] = bitsOfPrevious(bits, w);
            bits[0] <<= 1;
        }
    }

    const T* const m_values;
    const T m_low, m_high;
    const long m_numKept;  // 0 if the rows stay where they are
    ZbDArray<T> m_kept;    // row r at r % m_numKept
    long m_row = 0;
    const T* m_current = nullptr;
};

template <typename T>
class LabelRowsOf final : public LabelRows
{
public:
    explicit LabelRowsOf(T* labels) : m_labels(labels) {}

    unsigned largestLabel() const override
    {
        if constexpr (std::integral<T>)
            return unsigned(std::numeric_limits<T>::max());
        else
            return unsigned(std::min(std::uint64_t(1) << std::numeric_limits<T>::digits,
                                     std::uint64_t(std::numeric_limits<unsigned>::max())));
    }

    void storeRuns(long first, long nx, const LabelRun* runs, long numRuns) override
    {
        m_row.resize(nx + blockSize);
        zbMultiversion([row = m_row.data(), nx, runs, numRuns] {
            long x = 0;
            for (long i = 0; i < numRuns; ++i) {
                fillBlocks(row, x, runs[i].begin, T(0));
                fillBlocks(row, runs[i].begin, runs[i].end, T(runs[i].label));
                x = runs[i].end;
            }
            fillBlocks(row, x, nx, T(0));
        });
        std::copy_n(m_row.data(), nx, m_labels + first);
    }

    int indexMask() const override { return sizeof(T) == 1 ? 0xff : sizeof(T) == 2 ? 0xffff : -1; }

    void store(long first, long n, const int* indices) override
    {
        zbMultiversion([labels = m_labels + first, n, indices] { storeLoop(labels, n, indices); });
    }

    void load(long first, long n, int* indices) const override
    {
        zbMultiversion([labels = m_labels + first, n, indices] { loadLoop(labels, n, indices); });
    }

    void remap(long n, const int* map, long numEntries) override
    {
        for (long i = 0; i < n; ++i) {
            const long index = indexOf(m_labels[i]);
            if (index >= 0 && index < numEntries)
                m_labels[i] = T(map[index]);
        }
    }

    // Labels of type int have a limit of their own; that unsigned int, float and double share the one of 16
    // bits is meant.
    int recordLimit() const override { return std::same_as<T, int> ? 9999998 : 64998; }

private:
    // The index that a label stands for; out of the range of int where it stands for none.
    static constexpr long indexOf(T label)
    {
        if constexpr (std::same_as<T, short>)
            return static_cast<unsigned short>(label);
        else if constexpr (std::floating_point<T>)
            return label >= T(0) && label < T(1L << 31) ? long(label) : -1;
        else
            return long(label);
    }

    // Functions of their own, with arguments by value: a store of a byte could change what a lambda captured.
    static void storeLoop(T* __restrict labels, long n, const int* __restrict indices)
    {
        for (long i = 0; i < n; ++i)
            labels[i] = T(indices[i]);
    }

    static void loadLoop(const T* __restrict labels, long n, int* __restrict indices)
    {
        for (long i = 0; i < n; ++i)
            indices[i] = int(indexOf(labels[i]));
    }

    // Most runs of a noisy row are shorter than a block, which is written without a loop.
    static constexpr long blockSize = 32 / sizeof(T);

    // Writes beyond end, by less than a block.
    static void fillBlocks(T* row, long begin, long end, T label)
    {
        for (; begin < end; begin += blockSize)
            for (long i = 0; i < blockSize; ++i)
                row[begin + i] = label;
    }

    T* const m_labels;
    ZbDArray<T> m_row;
};

}  // namespace

bool isLabelType(ZbPrimType type)
{
    return visitLabelType(type, [](auto) {});
}

std::unique_ptr<GridRows> GridRows::create(const ZbTypedPointer& in, const GridSize& size, double low,
                                           double high, const ZbTypedPointer& out, bool keepsRows)
{
    std::unique_ptr<GridRows> rows;
    visitLabelType(in.getPrimType(), [&](auto tag) {
        using T = typename decltype(tag)::Type;
        const auto values = reinterpret_cast<std::uintptr_t>(in.getData());
        const auto labels = reinterpret_cast<std::uintptr_t>(out.getData());
        const auto n = std::uintptr_t(size.numVoxels());
        const bool overlaps =
            values < labels + n * ZbDetail::sizeOrZero(out.getPrimType()) && labels < values + n * sizeof(T);
        rows = std::make_unique<GridRowsOf<T>>(static_cast<const T*>(in.getData()), size, low, high,
                                               keepsRows && overlaps);
    });
    return rows;
}

std::unique_ptr<LabelRows> LabelRows::create(const ZbTypedPointer& out)
{
    std::unique_ptr<LabelRows> rows;
    visitLabelType(out.getPrimType(), [&](auto tag) {
        using T = typename decltype(tag)::Type;
        rows = std::make_unique<LabelRowsOf<T>>(static_cast<T*>(out.getData()));
    });
    return rows;
}

}  // namespace ZbDetail
