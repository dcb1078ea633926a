#include <zblib/math/ZbMat4.h>

#include <zblib/foundation/ZbMultiversion.h>

#include <algorithm>
#include <cstring>

namespace
{

enum class Divide { No, Yes };

// Rows times m, in the order of the forms for one vector. Blocks are taken apart into their coordinates, so that
// the arithmetic runs on whole registers, and so that src may be dst.
template <Divide divide, typename T>
void transform(const ZbMat4<T>& m, const ZbVec3<T>* src, ZbVec3<T>* dst, long count)
{
    constexpr long blockSize = 128;
    T x[blockSize], y[blockSize], z[blockSize];
    for (long first = 0; first < count; first += blockSize) {
        const long n = std::min(blockSize, count - first);
        for (long i = 0; i < n; ++i) {
            x[i] = src[first + i].x;
            y[i] = src[first + i].y;
            z[i] = src[first + i].z;
        }
        for (long i = 0; i < n; ++i) {
            const T px = x[i], py = y[i], pz = z[i];
            const auto element = [&](int j) {
                const T sum = px * m[0][j] + py * m[1][j] + pz * m[2][j];
                return divide == Divide::Yes ? sum + m[3][j] : sum;
            };
            const T w = divide == Divide::Yes ? element(3) : T(1);
            x[i] = element(0) / w;
            y[i] = element(1) / w;
            z[i] = element(2) / w;
        }
        for (long i = 0; i < n; ++i) {
            dst[first + i].x = x[i];
            dst[first + i].y = y[i];
            dst[first + i].z = z[i];
        }
    }
}

// The same for as many vectors as fill registers, eight or four at a time; returns how many. Half a register holds
// whole vectors, so that none crosses the middle. A group is read before it is written: src may be dst.
template <Divide divide, typename T>
ZB_TARGET_V3 long transformV3(const ZbMat4<T>& matrix, const ZbVec3<T>* source, ZbVec3<T>* target, long count)
{
    using Half [[gnu::vector_size(16)]] = T;
    using Vector [[gnu::vector_size(32)]] = T;
    constexpr int halfLanes = 16 / sizeof(T), lanes = 2 * halfLanes;
    Vector m[4][4];
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j)
            m[i][j] = matrix[i][j] + Vector{};
    }
    if (count <= 0)
        return 0;  // there may be no point to take the address of
    const T* src = &source->x;
    T* dst = &target->x;
    long done = 0;
    for (; done + lanes <= count; done += lanes, src += 3 * lanes, dst += 3 * lanes) {
        Vector part[3];
        for (int k = 0; k < 3; ++k) {
            Half low, high;
            std::memcpy(&low, src + k * halfLanes, sizeof low);
            std::memcpy(&high, src + (3 + k) * halfLanes, sizeof high);
            if constexpr (halfLanes == 4)
                part[k] = __builtin_shufflevector(low, high, 0, 1, 2, 3, 4, 5, 6, 7);
            else
                part[k] = __builtin_shufflevector(low, high, 0, 1, 2, 3);
        }
        const auto [a, b, c] = part;
        Vector x, y, z;
        if constexpr (halfLanes == 4) {  // a: x0 y0 z0 x1, b: y1 z1 x2 y2, c: z2 x3 y3 z3
            const Vector xy = __builtin_shufflevector(b, c, 2, 3, 9, 10, 6, 7, 13, 14);  // x2 y2 x3 y3
            const Vector yz = __builtin_shufflevector(a, b, 1, 2, 8, 9, 5, 6, 12, 13);   // y0 z0 y1 z1
            x = __builtin_shufflevector(a, xy, 0, 3, 8, 10, 4, 7, 12, 14);
            y = __builtin_shufflevector(yz, xy, 0, 2, 9, 11, 4, 6, 13, 15);
            z = __builtin_shufflevector(yz, c, 1, 3, 8, 11, 5, 7, 12, 15);
        } else {  // a: x0 y0, b: z0 x1, c: y1 z1
            x = __builtin_shufflevector(a, b, 0, 5, 2, 7);
            y = __builtin_shufflevector(a, c, 1, 4, 3, 6);
            z = __builtin_shufflevector(b, c, 0, 5, 2, 7);
        }
        Vector result[4];
        for (int j = 0; j < 4; ++j) {
            result[j] = x * m[0][j] + y * m[1][j] + z * m[2][j];
            if constexpr (divide == Divide::Yes)
                result[j] += m[3][j];
        }
        if constexpr (divide == Divide::Yes) {
            for (int j = 0; j < 3; ++j)
                result[j] /= result[3];
        }
        x = result[0];
        y = result[1];
        z = result[2];
        if constexpr (halfLanes == 4) {
            const Vector xy = __builtin_shufflevector(x, y, 0, 2, 8, 10, 4, 6, 12, 14);  // x0 x2 y0 y2
            const Vector yz = __builtin_shufflevector(y, z, 1, 3, 9, 11, 5, 7, 13, 15);  // y1 y3 z1 z3
            const Vector zx = __builtin_shufflevector(z, x, 0, 2, 9, 11, 4, 6, 13, 15);  // z0 z2 x1 x3
            part[0] = __builtin_shufflevector(xy, zx, 0, 2, 8, 10, 4, 6, 12, 14);
            part[1] = __builtin_shufflevector(yz, xy, 0, 2, 9, 11, 4, 6, 13, 15);
            part[2] = __builtin_shufflevector(zx, yz, 1, 3, 9, 11, 5, 7, 13, 15);
        } else {
            part[0] = __builtin_shufflevector(x, y, 0, 4, 2, 6);
            part[1] = __builtin_shufflevector(z, x, 0, 5, 2, 7);
            part[2] = __builtin_shufflevector(y, z, 1, 5, 3, 7);
        }
        for (int k = 0; k < 3; ++k) {
            std::memcpy(dst + k * halfLanes, &part[k], 16);
            std::memcpy(dst + (3 + k) * halfLanes, reinterpret_cast<const char*>(&part[k]) + 16, 16);
        }
    }
    return done;
}

template <Divide divide, typename T>
void transformAll(const ZbMat4<T>& m, const ZbVec3<T>* src, ZbVec3<T>* dst, long count)
{
    const long done = zbCpuLevel() == ZbCpuLevel::V3 ? transformV3<divide>(m, src, dst, count) : 0;
    transform<divide>(m, src + done, dst + done, count - done);
}

}  // namespace

template <typename T>
void ZbMat4<T>::multVecMatrix(const ZbVec3<T>* src, ZbVec3<T>* dst, long count) const noexcept
{
    const ZbMat4 m = *this;
    transformAll<Divide::Yes>(m, src, dst, count);
}

template <typename T>
void ZbMat4<T>::multMatrixVec(const ZbVec3<T>* src, ZbVec3<T>* dst, long count) const noexcept
{
    const ZbMat4 m = this->transpose();
    transformAll<Divide::Yes>(m, src, dst, count);
}

template <typename T>
void ZbMat4<T>::multDirMatrix(const ZbVec3<T>* src, ZbVec3<T>* dst, long count) const noexcept
{
    const ZbMat4 m = *this;
    transformAll<Divide::No>(m, src, dst, count);
}

template void ZbMat4<float>::multVecMatrix(const ZbVec3<float>*, ZbVec3<float>*, long) const noexcept;
template void ZbMat4<float>::multMatrixVec(const ZbVec3<float>*, ZbVec3<float>*, long) const noexcept;
template void ZbMat4<float>::multDirMatrix(const ZbVec3<float>*, ZbVec3<float>*, long) const noexcept;
template void ZbMat4<double>::multVecMatrix(const ZbVec3<double>*, ZbVec3<double>*, long) const noexcept;
template void ZbMat4<double>::multMatrixVec(const ZbVec3<double>*, ZbVec3<double>*, long) const noexcept;
template void ZbMat4<double>::multDirMatrix(const ZbVec3<double>*, ZbVec3<double>*, long) const noexcept;
