#include <zblib/math/ZbBandMatrix.h>

#include <zblib/foundation/ZbAssert.h>

#include <algorithm>
#include <cmath>
#include <utility>

template <typename T>
void bandec(T* a, int n, int m1, int m2, T* al, int* pivots, T& d)
{
    const long width = long(m1) + m2 + 1;
    const auto row = [=](long i) { return a + (i - 1) * width; };  // [0] is its column 1
    // The first rows begin left of the matrix: move them to where their first element in it is.
    for (long i = 1; i <= std::min(m1, n); ++i) {
        const long outside = m1 + 1 - i;
        std::move(row(i) + outside, row(i) + width, row(i));
        std::fill(row(i) + width - outside, row(i) + width, T(0));
    }
    d = 1;
    for (long k = 1; k <= n; ++k) {
        const long last = std::min(k + m1, long(n));
        long pivot = k;
        for (long i = k + 1; i <= last; ++i) {
            if (std::fabs(row(i)[0]) > std::fabs(row(pivot)[0]))
                pivot = i;
        }
        pivots[k] = int(pivot);
        if (row(pivot)[0] == 0)
            row(k)[0] = T(1.0e-20);
        if (pivot != k) {
            d = -d;
            std::swap_ranges(row(k), row(k) + width, row(pivot));
        }
        const T* upper = row(k);
        for (long i = k + 1; i <= last; ++i) {
            T* values = row(i);
            const T factor = values[0] / upper[0];
            al[(k - 1) * m1 + i - k - 1] = factor;
            for (long j = 1; j < width; ++j)
                values[j - 1] = values[j] - factor * upper[j];
            values[width - 1] = 0;
        }
    }
}

template <typename T>
void banbks(const T* a, int n, int m1, int m2, const T* al, const int* pivots, T* b)
{
    const long width = long(m1) + m2 + 1;
    for (long k = 1; k <= n; ++k) {
        if (pivots[k] != k)
            std::swap(b[k - 1], b[pivots[k] - 1]);
        const long last = std::min(k + m1, long(n));
        for (long i = k + 1; i <= last; ++i)
            b[i - 1] -= al[(k - 1) * m1 + i - k - 1] * b[k - 1];
    }
    for (long i = n; i >= 1; --i) {
        const T* upper = a + (i - 1) * width;
        const long count = std::min(width, n - i + 1);
        T value = b[i - 1];
        for (long j = 1; j < count; ++j)
            value -= upper[j] * b[i - 1 + j];
        b[i - 1] = value / upper[0];
    }
}

namespace
{

template <typename Value>
std::unique_ptr<Value[]> copied(const std::unique_ptr<Value[]>& values, long count)
{
    if (!values)
        return nullptr;
    auto copy = std::make_unique<Value[]>(size_t(count));
    std::copy(values.get(), values.get() + count, copy.get());
    return copy;
}

}  // namespace

template <typename T>
ZbBandMatrix<T>::ZbBandMatrix(int n, int m1, int m2)
    : m_n(std::max(n, 0))
    , m_m1(std::max(m1, 0))
    , m_m2(std::max(m2, 0))
    , m_band(std::make_unique<T[]>(size_t(m_n * width())))
{
}

template <typename T>
ZbBandMatrix<T>::ZbBandMatrix(const ZbBandMatrix& other)
    : m_n(other.m_n)
    , m_m1(other.m_m1)
    , m_m2(other.m_m2)
    , m_band(copied(other.m_band, m_n * width()))
    , m_lower(copied(other.m_lower, long(m_n) * m_m1))
    , m_pivots(copied(other.m_pivots, m_n + 1l))
{
}

template <typename T>
ZbBandMatrix<T>& ZbBandMatrix<T>::operator=(const ZbBandMatrix& other)
{
    return *this = ZbBandMatrix(other);
}

template <typename T>
void ZbBandMatrix<T>::setRow(int i, const ZbDArray<T>& values)
{
    ZB_ASSERT(i >= 0 && i < m_n);
    T* row = m_band.get() + i * width();
    const long count = std::min(values.size(), width());
    std::copy(values.data(), values.data() + count, row);
    std::fill(row + count, row + width(), T(0));
}

template <typename T>
void ZbBandMatrix<T>::decompose()
{
    m_lower = std::make_unique<T[]>(size_t(long(m_n) * m_m1));
    m_pivots = std::make_unique<int[]>(size_t(m_n + 1l));
    T d;
    bandec(m_band.get(), m_n, m_m1, m_m2, m_lower.get(), m_pivots.get(), d);
}

template <typename T>
void ZbBandMatrix<T>::solve(const ZbDVector<T>& b, ZbDVector<T>& x) const
{
    ZB_ASSERT(m_pivots != nullptr);
    const long given = std::min(b.size(), long(m_n));
    x.resize(m_n);
    if (&x != &b)
        std::copy(b.data(), b.data() + given, x.data());
    std::fill(x.data() + given, x.data() + m_n, T(0));
    banbks(m_band.get(), m_n, m_m1, m_m2, m_lower.get(), m_pivots.get(), x.data());
}

template void bandec<float>(float*, int, int, int, float*, int*, float&);
template void bandec<double>(double*, int, int, int, double*, int*, double&);
template void banbks<float>(const float*, int, int, int, const float*, const int*, float*);
template void banbks<double>(const double*, int, int, int, const double*, const int*, double*);
template class ZbBandMatrix<float>;
template class ZbBandMatrix<double>;
