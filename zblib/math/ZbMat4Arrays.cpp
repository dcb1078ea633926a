#include <zblib/math/ZbMat4.h>

#include <zblib/foundation/ZbMultiversion.h>

#include <algorithm>

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

}  // namespace

template <typename T>
void ZbMat4<T>::multVecMatrix(const ZbVec3<T>* src, ZbVec3<T>* dst, long count) const noexcept
{
    const ZbMat4 m = *this;
    zbMultiversion([&] { transform<Divide::Yes>(m, src, dst, count); });
}

template <typename T>
void ZbMat4<T>::multMatrixVec(const ZbVec3<T>* src, ZbVec3<T>* dst, long count) const noexcept
{
    const ZbMat4 m = this->transpose();
    zbMultiversion([&] { transform<Divide::Yes>(m, src, dst, count); });
}

template <typename T>
void ZbMat4<T>::multDirMatrix(const ZbVec3<T>* src, ZbVec3<T>* dst, long count) const noexcept
{
    const ZbMat4 m = *this;
    zbMultiversion([&] { transform<Divide::No>(m, src, dst, count); });
}

template void ZbMat4<float>::multVecMatrix(const ZbVec3<float>*, ZbVec3<float>*, long) const noexcept;
template void ZbMat4<float>::multMatrixVec(const ZbVec3<float>*, ZbVec3<float>*, long) const noexcept;
template void ZbMat4<float>::multDirMatrix(const ZbVec3<float>*, ZbVec3<float>*, long) const noexcept;
template void ZbMat4<double>::multVecMatrix(const ZbVec3<double>*, ZbVec3<double>*, long) const noexcept;
template void ZbMat4<double>::multMatrixVec(const ZbVec3<double>*, ZbVec3<double>*, long) const noexcept;
template void ZbMat4<double>::multDirMatrix(const ZbVec3<double>*, ZbVec3<double>*, long) const noexcept;
