#include <zblib/data/ZbRawData.h>

#include <zblib/data/ZbSwapDims.h>
#include <zblib/data/ZbUnsupportedType.h>

#include <algorithm>

bool ZbRawData::swapDims(ZbTypedPointer data, int* dims, const int* permutation, int components)
{
    if (permutation[0] == 0 && permutation[1] == 1 && permutation[2] == 2)
        return true;
    bool isUsed[3] = {};
    for (int k = 0; k < 3; ++k) {
        if (permutation[k] < 0 || permutation[k] > 2 || isUsed[permutation[k]] || dims[k] < 0)
            return false;
        isUsed[permutation[k]] = true;
    }
    if (components < 0)
        return false;

    const ZbDim3l sizes(dims[0], dims[1], dims[2]);
    const auto rewriteSizes = [&] {
        for (int k = 0; k < 3; ++k)
            dims[k] = static_cast<int>(sizes[permutation[k]]);
        return true;
    };
    const long typeSize = long(ZbDetail::sizeOrZero(data.getPrimType()));
    long values = 0, bytes = 0;
    if (__builtin_mul_overflow(sizes.nx * sizes.ny, sizes.nz, &values) ||
        __builtin_mul_overflow(values, long(components), &values) ||
        __builtin_mul_overflow(values, typeSize, &bytes))
        return false;
    // NaNs pass for constant here, and then keep their places in memory; this is meant.
    if (values == 0 || isConstant(data, static_cast<unsigned long>(values)))
        return rewriteSizes();

    const long width = long(components) * typeSize;
    if (width != 1 && width != 2 && width != 4 && width != 8) {
        ZbDetail::reportUnsupportedType(data.getPrimType(), "ZbRawData::swapDims()");
        return false;
    }
    // Memory that is touched for the first time costs more than ten times a copy: little of it, where the
    // block is small, and never more than stays in the caches.
    const long pieceBytes = std::clamp(bytes / 64, 1L << 20, 8L << 20);
    if (ZbDetail::swapDimsBlocked(data.getData(), sizes, permutation, static_cast<int>(width), pieceBytes) ||
        ZbDetail::swapDimsPlain(data.getData(), sizes, permutation, static_cast<int>(width)))
        return rewriteSizes();
    return false;
}
