#pragma once

// Private: the sizes of a grid as the image operations see them.

namespace ZbDetail
{

/// The sizes of a grid. Row y of slice z has the number y + ny * z.
struct GridSize {
    GridSize(long x, long y, long z) noexcept : nx(x), ny(y), nz(z)
    {
        long slice = 0;
        long all = 0;
        const bool isEmpty = nx <= 0 || ny <= 0 || nz <= 0;
        if (!isEmpty)
            isPossible = !__builtin_mul_overflow(nx, ny, &slice) && !__builtin_mul_overflow(slice, nz, &all);
        if (isEmpty || !isPossible)
            nx = ny = nz = 0;
    }
    explicit GridSize(const int* dims) noexcept : GridSize(dims[0], dims[1], dims[2]) {}

    long numRows() const noexcept { return ny * nz; }
    long numVoxels() const noexcept { return nx * ny * nz; }

    long nx, ny, nz;  // all positive, or all 0 for an empty grid
    // False if the number of voxels is no long: then there is no such grid, and the sizes are 0.
    bool isPossible = true;
};

}  // namespace ZbDetail
