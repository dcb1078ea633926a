#include <zblib/data/ZbSwapDims.h>

#include <zblib/containers/ZbDArray.h>
#include <zblib/data/ZbCopyBytes.h>
#include <zblib/data/ZbTransposeBand.h>
#include <zblib/foundation/ZbMemoryException.h>
#include <zblib/imaging/ZbBitfield.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace
{

bool isPermutation(const int* permutation, int x, int y, int z)
{
    return permutation[0] == x && permutation[1] == y && permutation[2] == z;
}

// A matrix of rows x columns elements of width bytes, columns varying fastest, that is to be transposed in
// place; or count such matrices, one behind the other. All permutations but (2, 1, 0) are of this form.
struct Transposition {
    long count;
    long rows;
    long columns;
    long width;

    bool isNothing() const { return rows < 2 || columns < 2; }
    long matrixBytes() const { return rows * columns * width; }
};

// (0, 2, 1): whole rows along x move.
Transposition exchangeYZ(const ZbDim3l& dims, long width)
{
    return {1, dims.nz, dims.ny, dims.nx * width};
}

// (1, 0, 2): voxels move inside their slice.
Transposition exchangeXY(const ZbDim3l& dims, long width)
{
    return {dims.nz, dims.ny, dims.nx, width};
}

// (1, 2, 0)
Transposition moveXLast(const ZbDim3l& dims, long width)
{
    return {1, dims.ny * dims.nz, dims.nx, width};
}

// (2, 0, 1)
Transposition moveZFirst(const ZbDim3l& dims, long width)
{
    return {1, dims.nz, dims.nx * dims.ny, width};
}

// All the memory that a permutation needs, taken before the first voxel moves: it must not fail half-way.
class Workspace
{
public:
    Workspace(long bytes, long positions)
        : m_bytes(bytes), m_arrived(static_cast<unsigned long>(positions), ZbBitfield::INIT_UNSET)
    {
    }

    char* bytes() { return m_bytes.data(); }

    // A cleared bit for each position of a matrix. The first and the last one stay where they are.
    ZbBitfield& arrived(long positions)
    {
        std::fill_n(m_arrived.dataPtr(), (positions + 31) / 32, 0u);
        m_arrived.set(0);
        m_arrived.set(static_cast<unsigned long>(positions) - 1);
        return m_arrived;
    }

private:
    ZbDArray<char> m_bytes;
    ZbBitfield m_arrived;
};

// ---- the definition: elements one by one, along cycles

void transposePlain(char* matrix, const Transposition& job, Workspace& workspace)
{
    if (job.isNothing())
        return;
    const auto at = [&](long position) { return matrix + position * job.width; };
    const size_t width = static_cast<size_t>(job.width);
    char* hand = workspace.bytes();
    char* other = hand + width;
    if (job.rows == job.columns) {
        for (long row = 0; row < job.rows; ++row)
            for (long column = 0; column < row; ++column) {
                char* lower = at(row * job.columns + column);
                char* upper = at(column * job.columns + row);
                std::memcpy(hand, lower, width);
                std::memcpy(lower, upper, width);
                std::memcpy(upper, hand, width);
            }
        return;
    }
    const long positions = job.rows * job.columns;
    ZbBitfield& arrived = workspace.arrived(positions);
    for (long start = 1; start < positions; ++start) {
        if (arrived[start])
            continue;
        std::memcpy(hand, at(start), width);
        for (long position = start;;) {
            position = position / job.columns + job.rows * (position % job.columns);
            if (arrived[position])
                break;
            std::memcpy(other, at(position), width);
            std::memcpy(at(position), hand, width);
            arrived.set(position);
            std::swap(hand, other);
        }
    }
}

// ---- transposition in pieces

// Rows of at least this many bytes move along cycles at the speed of memory, nearly.
constexpr long longRow = 64;
// Panels are cut so that what moves along cycles afterwards is a row of this many bytes.
constexpr long panelRow = 1024;
// What moves at once of very long rows, so that the row in hand stays in the first cache.
constexpr long rowPiece = 8192;

enum class Method {
    Nothing,
    Buffered,      // a matrix is copied out and written back transposed
    MoveRows,      // elements are long: they move along cycles
    RowPanels,     // panels of some rows are transposed, then the rows of the panels move
    ColumnPanels,  // the same backwards
};

struct Plan {
    Transposition job;
    Method method = Method::Nothing;
    long panel = 0;      // rows or columns of a panel
    long bytes = 0;      // of workspace
    long positions = 0;  // bits of workspace
    int passes = 0;      // how often the block is read and written
};

long bandBytes(long rows, long columns, long width)
{
    return rows * std::min(columns, ZbDetail::bandColumns(width)) * width + ZbDetail::bandSlack;
}

// The matrix, and behind it the band that it is written back from.
long bufferBytes(long rows, long columns, long width)
{
    return rows * columns * width + ZbDetail::bandSlack + bandBytes(rows, columns, width);
}

// How many of length rows a panel has: about wanted, at most limit, a divisor of length when there is one
// near, because what is left over takes another pass.
long panelLength(long length, long wanted, long limit)
{
    limit = std::clamp(limit, 1L, length);
    wanted = std::min(wanted, limit);
    for (long panel = wanted; panel <= std::min(limit, 4 * wanted); ++panel)
        if (length % panel == 0)
            return panel;
    for (long panel = wanted; panel >= std::max(1L, wanted / 4); --panel)
        if (length % panel == 0)
            return panel;
    return wanted;
}

Plan plan(const Transposition& job, long pieceBytes)
{
    Plan result{job};
    if (job.isNothing())
        return result;
    if (job.matrixBytes() <= pieceBytes) {
        result.method = Method::Buffered;
        result.bytes = bufferBytes(job.rows, job.columns, job.width);
        result.passes = 1;
        return result;
    }
    if (job.width >= longRow) {
        result.method = Method::MoveRows;
        result.bytes = std::min(job.width, rowPiece);
        result.positions = job.rows == job.columns ? 0 : job.rows * job.columns;
        result.passes = 1;
        return result;
    }
    // The longer side is cut, so that panels are narrow and their rows long.
    const bool cutRows = job.rows >= job.columns;
    const long cut = cutRows ? job.rows : job.columns;
    const long kept = cutRows ? job.columns : job.rows;
    result.method = cutRows ? Method::RowPanels : Method::ColumnPanels;
    result.panel = panelLength(cut, panelRow / job.width, pieceBytes / (kept * job.width));
    result.bytes =
        cutRows ? bufferBytes(result.panel, kept, job.width) : bufferBytes(kept, result.panel, job.width);
    result.positions = cut / result.panel * kept;
    result.passes = cut % result.panel == 0 ? 2 : 3;
    return result;
}

void copyRows(char* target, long targetStride, const char* source, long sourceStride, long bytes, long count)
{
    if (targetStride == bytes && sourceStride == bytes) {
        ZbDetail::copyBytes(target, source, bytes * count);
        return;
    }
    for (long row = 0; row < count; ++row)
        ZbDetail::copyBytes(target + row * targetStride, source + row * sourceStride, bytes);
}

// Writes the columns of the matrix at source, which lies in a workspace, to target, targetStride bytes apart.
//
// Through a band, so that target sees long writes one after the other: its rows may lie at such distances
// that they compete for the same few lines of the caches.
void writeTransposed(const char* source, long sourceStride, long rows, long columns, long width, char* target,
                     long targetStride, char* band)
{
    const long step = ZbDetail::bandColumns(width);
    for (long column = 0; column < columns; column += step) {
        const char* from = source + column * width;
        const long count = std::min(step, columns - column);
        switch (width) {
        case 1:
            ZbDetail::transposeBand<1>(from, sourceStride, rows, count, band);
            break;
        case 2:
            ZbDetail::transposeBand<2>(from, sourceStride, rows, count, band);
            break;
        case 4:
            ZbDetail::transposeBand<4>(from, sourceStride, rows, count, band);
            break;
        case 8:
            ZbDetail::transposeBand<8>(from, sourceStride, rows, count, band);
            break;
        default:
            ZbDetail::transposeBandOf(width, from, sourceStride, rows, count, band);
        }
        copyRows(target + column * targetStride, targetStride, band, rows * width, rows * width, count);
    }
}

void transposeBuffered(char* matrix, long rows, long columns, long width, Workspace& workspace)
{
    char* buffer = workspace.bytes();
    char* band = buffer + rows * columns * width + ZbDetail::bandSlack;
    ZbDetail::copyBytes(buffer, matrix, rows * columns * width);
    writeTransposed(buffer, columns * width, rows, columns, width, matrix, rows * width, band);
}

// The transposition along cycles, for long rows. Unlike in the definition each position takes what belongs
// there, so that a row moves once and not through a buffer, and the position some steps ahead is known to
// the cache before it is read.
void moveRows(char* matrix, const Transposition& job, Workspace& workspace)
{
    char* hand = workspace.bytes();
    const auto at = [&](long position) { return matrix + position * job.width; };
    if (job.rows == job.columns) {
        for (long row = 0; row < job.rows; ++row)
            for (long column = 0; column < row; ++column)
                ZbDetail::exchangeBytes(at(row * job.columns + column), at(column * job.columns + row),
                                        job.width);
        return;
    }
    const auto originOf = [&](long position) {
        return position / job.rows + job.columns * (position % job.rows);
    };
    const long positions = job.rows * job.columns;
    for (long offset = 0; offset < job.width; offset += rowPiece) {
        const long bytes = std::min(rowPiece, job.width - offset);
        const long fetched = std::min(bytes, 4096L);
        const long distance = std::clamp(4096 / bytes, 1L, 8L);
        ZbBitfield& arrived = workspace.arrived(positions);
        const auto pieceAt = [&](long position) { return at(position) + offset; };
        for (long start = 1; start < positions; ++start) {
            if (arrived[start])
                continue;
            ZbDetail::copyBytes(hand, pieceAt(start), bytes);
            long ahead = start;
            for (long step = 0; step < distance; ++step)
                ahead = originOf(ahead);
            for (long position = start;;) {
                arrived.set(position);
                const long origin = originOf(position);
                if (origin == start) {
                    ZbDetail::copyBytes(pieceAt(position), hand, bytes);
                    break;
                }
                ahead = originOf(ahead);
                ZbDetail::prefetch(pieceAt(ahead), fetched);
                ZbDetail::copyBytes(pieceAt(position), pieceAt(origin), bytes);
                position = origin;
            }
        }
    }
}

// Transposes panels of some rows; the panels then are columns of long elements, and those move. The rows
// that fill no panel are set aside meanwhile, and go to the end of each of the longer rows.
void transposeRowPanels(char* matrix, const Plan& plan, Workspace& workspace)
{
    const auto [count, rows, columns, width] = plan.job;
    const long panels = rows / plan.panel;
    const long panelRows = panels * plan.panel;
    for (long panel = 0; panel < panels; ++panel)
        transposeBuffered(matrix + panel * plan.panel * columns * width, plan.panel, columns, width,
                          workspace);
    moveRows(matrix, {1, panels, columns, plan.panel * width}, workspace);
    const long rest = rows - panelRows;
    if (rest == 0)
        return;
    char* buffer = workspace.bytes();
    char* band = buffer + rest * columns * width + ZbDetail::bandSlack;
    ZbDetail::copyBytes(buffer, matrix + panelRows * columns * width, rest * columns * width);
    for (long column = columns - 1; column > 0; --column)
        std::memmove(matrix + column * rows * width, matrix + column * panelRows * width, panelRows * width);
    writeTransposed(buffer, columns * width, rest, columns, width, matrix + panelRows * width, rows * width,
                    band);
}

// The same backwards: the columns that fill no panel go to the end of the block, long elements move until
// panels of some columns lie together, and those are transposed.
void transposeColumnPanels(char* matrix, const Plan& plan, Workspace& workspace)
{
    const auto [count, rows, columns, width] = plan.job;
    const long panels = columns / plan.panel;
    const long panelColumns = panels * plan.panel;
    const long rest = columns - panelColumns;
    if (rest > 0) {
        char* buffer = workspace.bytes();
        char* band = buffer + rows * rest * width + ZbDetail::bandSlack;
        copyRows(buffer, rest * width, matrix + panelColumns * width, columns * width, rest * width, rows);
        for (long row = 1; row < rows; ++row)
            std::memmove(matrix + row * panelColumns * width, matrix + row * columns * width,
                         static_cast<size_t>(panelColumns * width));
        writeTransposed(buffer, rest * width, rows, rest, width, matrix + rows * panelColumns * width,
                        rows * width, band);
    }
    moveRows(matrix, {1, rows, panels, plan.panel * width}, workspace);
    for (long panel = 0; panel < panels; ++panel)
        transposeBuffered(matrix + panel * rows * plan.panel * width, rows, plan.panel, width, workspace);
}

void run(char* data, const Plan& plan, Workspace& workspace)
{
    const Transposition& job = plan.job;
    for (long i = 0; i < job.count; ++i) {
        char* matrix = data + i * job.matrixBytes();
        switch (plan.method) {
        case Method::Nothing:
            return;
        case Method::Buffered:
            transposeBuffered(matrix, job.rows, job.columns, job.width, workspace);
            break;
        case Method::MoveRows:
            moveRows(matrix, job, workspace);
            break;
        case Method::RowPanels:
            transposeRowPanels(matrix, plan, workspace);
            break;
        case Method::ColumnPanels:
            transposeColumnPanels(matrix, plan, workspace);
            break;
        }
    }
}

// ---- permutations

// (2, 1, 0) where x and z have equal sizes: each plane of one y stays where it is.
void exchangeXZInPlanes(char* data, const ZbDim3l& dims, long width, Workspace& workspace)
{
    const long row = dims.nx * width;
    const long slice = row * dims.ny;
    char* plane = workspace.bytes();
    char* band = plane + dims.nz * row + ZbDetail::bandSlack;
    for (long y = 0; y < dims.ny; ++y) {
        char* source = data + y * row;
        for (long z = 0; z < dims.nz; ++z) {
            if (z + 4 < dims.nz)  // the rows are too far apart for the processor to see the next one coming
                ZbDetail::prefetch(source + (z + 4) * slice, row);
            ZbDetail::copyBytes(plane + z * row, source + z * slice, row);
        }
        writeTransposed(plane, row, dims.nz, dims.nx, width, source, slice, band);
    }
}

// (2, 1, 0) of a small block.
void exchangeXZBuffered(char* data, const ZbDim3l& dims, long width, Workspace& workspace)
{
    const long row = dims.nx * width;
    const long bytes = row * dims.ny * dims.nz;
    char* band = workspace.bytes() + bytes + ZbDetail::bandSlack;
    ZbDetail::copyBytes(workspace.bytes(), data, bytes);
    for (long y = 0; y < dims.ny; ++y)
        writeTransposed(workspace.bytes() + y * row, row * dims.ny, dims.nz, dims.nx, width,
                        data + y * dims.nz * width, dims.nz * dims.ny * width, band);
}

using Plans = ZbDArray<Plan>;

// The transpositions that make a permutation, with the fewest passes over the block.
Plans plansFor(const ZbDim3l& dims, const int* permutation, long width, long pieceBytes)
{
    const auto [nx, ny, nz] = dims;
    if (isPermutation(permutation, 0, 2, 1))
        return {plan(exchangeYZ(dims, width), pieceBytes)};
    if (isPermutation(permutation, 1, 0, 2))
        return {plan(exchangeXY(dims, width), pieceBytes)};
    if (isPermutation(permutation, 1, 2, 0))
        return {plan(moveXLast(dims, width), pieceBytes)};
    if (isPermutation(permutation, 2, 0, 1))
        return {plan(moveZFirst(dims, width), pieceBytes)};
    // Three ways to (2, 1, 0): x and y between two exchanges of y and z; x to the end, then y and z; z to the
    // front, then x and y.
    const Plans ways[] = {
        {plan(exchangeYZ(dims, width), pieceBytes), plan(exchangeXY({nx, nz, ny}, width), pieceBytes),
         plan(exchangeYZ({nz, nx, ny}, width), pieceBytes)},
        {plan(moveXLast(dims, width), pieceBytes), plan(exchangeXY({ny, nz, nx}, width), pieceBytes)},
        {plan(moveZFirst(dims, width), pieceBytes), plan(exchangeYZ({nz, nx, ny}, width), pieceBytes)},
    };
    const auto passes = [](const Plans& plans) {
        int sum = 0;
        for (const Plan& step : plans)
            sum += step.passes;
        return sum;
    };
    return *std::min_element(std::begin(ways), std::end(ways),
                             [&](const Plans& a, const Plans& b) { return passes(a) < passes(b); });
}

}  // namespace

bool ZbDetail::swapDimsPlain(void* data, const ZbDim3l& dims, const int* permutation, int width)
{
    const auto [nx, ny, nz] = dims;
    // At most three steps: rows exchange y and z, voxels exchange x and y. Each works on the sizes that the
    // steps before it have left.
    Transposition steps[3] = {};
    if (isPermutation(permutation, 0, 2, 1)) {
        steps[0] = exchangeYZ(dims, width);
    } else if (isPermutation(permutation, 1, 0, 2)) {
        steps[0] = exchangeXY(dims, width);
    } else if (isPermutation(permutation, 1, 2, 0)) {
        steps[0] = exchangeXY(dims, width);
        steps[1] = exchangeYZ({ny, nx, nz}, width);
    } else {
        steps[0] = exchangeYZ(dims, width);
        steps[1] = exchangeXY({nx, nz, ny}, width);
        if (isPermutation(permutation, 2, 1, 0))
            steps[2] = exchangeYZ({nz, nx, ny}, width);
    }
    long rowBytes = 0, positions = 0;
    for (const Transposition& step : steps) {
        rowBytes = std::max(rowBytes, step.width);
        positions = std::max(positions, step.rows * step.columns);
    }
    try {
        Workspace workspace(2 * rowBytes, positions);
        for (const Transposition& step : steps)
            for (long i = 0; i < step.count; ++i)
                transposePlain(static_cast<char*>(data) + i * step.matrixBytes(), step, workspace);
    } catch (const ZbMemoryException&) {
        return false;
    }
    return true;
}

bool ZbDetail::swapDimsBlocked(void* data, const ZbDim3l& dims, const int* permutation, int width,
                               long pieceBytes)
{
    char* bytes = static_cast<char*>(data);
    try {
        if (isPermutation(permutation, 2, 1, 0)) {
            const long plane = dims.nx * dims.nz * width;
            if (dims.nx == dims.nz && plane <= pieceBytes) {
                Workspace workspace(bufferBytes(dims.nz, dims.nx, width), 0);
                exchangeXZInPlanes(bytes, dims, width, workspace);
                return true;
            }
            if (plane * dims.ny <= pieceBytes) {
                Workspace workspace(plane * dims.ny + bufferBytes(dims.nz, dims.nx, width), 0);
                exchangeXZBuffered(bytes, dims, width, workspace);
                return true;
            }
        }
        const Plans plans = plansFor(dims, permutation, width, pieceBytes);
        long scratch = 0, positions = 0;
        for (const Plan& step : plans) {
            scratch = std::max(scratch, step.bytes);
            positions = std::max(positions, step.positions);
        }
        Workspace workspace(scratch, positions);
        for (const Plan& step : plans)
            run(bytes, step, workspace);
    } catch (const ZbMemoryException&) {
        return false;
    }
    return true;
}
