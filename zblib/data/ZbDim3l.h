#pragma once

/// The sizes of a three-dimensional block, in elements: x varies fastest in memory. A plain value.
struct ZbDim3l {
    long nx = 0;
    long ny = 0;
    long nz = 0;

    constexpr ZbDim3l() noexcept = default;
    constexpr ZbDim3l(long x, long y, long z) noexcept : nx(x), ny(y), nz(z) {}

    /// The size along an axis: 0 is x, 1 is y, 2 is z.
    constexpr long& operator[](int axis) noexcept { return axis == 0 ? nx : axis == 1 ? ny : nz; }
    constexpr long operator[](int axis) const noexcept { return axis == 0 ? nx : axis == 1 ? ny : nz; }

    friend constexpr bool operator==(const ZbDim3l&, const ZbDim3l&) noexcept = default;
};
