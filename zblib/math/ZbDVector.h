#pragma once

#include <zblib/containers/ZbDArray.h>

#include <cmath>
#include <type_traits>
#include <utility>

/// A ZbDArray with the arithmetic of vectors. Operands have equal sizes; the dot product sums from the first
/// element to the last. Memory, errors and threads are those of ZbDArray; an operation takes one pass.
template <typename T>
class ZbDVector : public ZbDArray<T>
{
public:
    using ZbDArray<T>::ZbDArray;

    ZbDVector& operator+=(const ZbDVector& v)
    {
        for (long i = 0; i < this->size(); ++i)
            (*this)[i] += v[i];
        return *this;
    }
    ZbDVector& operator-=(const ZbDVector& v)
    {
        for (long i = 0; i < this->size(); ++i)
            (*this)[i] -= v[i];
        return *this;
    }
    ZbDVector& operator*=(T s)
    {
        for (T& value : *this)
            value *= s;
        return *this;
    }
    ZbDVector& operator/=(T s)
    {
        for (T& value : *this)
            value /= s;
        return *this;
    }

    friend ZbDVector operator+(ZbDVector a, const ZbDVector& b) { return std::move(a += b); }
    friend ZbDVector operator-(ZbDVector a, const ZbDVector& b) { return std::move(a -= b); }
    friend ZbDVector operator*(ZbDVector a, T s) { return std::move(a *= s); }
    friend ZbDVector operator*(T s, ZbDVector a) { return std::move(a *= s); }
    friend ZbDVector operator/(ZbDVector a, T s) { return std::move(a /= s); }

    T dot(const ZbDVector& v) const
    {
        T sum = 0;
        for (long i = 0; i < this->size(); ++i)
            sum += (*this)[i] * v[i];
        return sum;
    }
    T length2() const { return dot(*this); }
    T length() const { return std::sqrt(length2()); }
};

template <typename T>
struct ZbIsRelocatable<ZbDVector<T>> : std::true_type {
};
