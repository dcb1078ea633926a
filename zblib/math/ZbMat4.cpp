#include <zblib/math/ZbMat4.h>

#include <zblib/math/ZbJacobi3.h>
#include <zblib/math/ZbLU.h>
#include <zblib/math/ZbMat3.h>
#include <zblib/math/ZbRot.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

// ---- inverse

template <typename T>
bool ZbMat4<T>::LUDecomposition(int index[4], T& d) noexcept
{
    return ZbDetail::luDecompose(m_rows, index, d);
}

template <typename T>
void ZbMat4<T>::LUBackSubstitution(const int index[4], T b[4]) const noexcept
{
    ZbDetail::luSolve(m_rows, index, b);
}

namespace
{

template <typename T>
bool hasAffineColumn(const ZbMat4<T>& m) noexcept
{
    return m[0][3] == 0 && m[1][3] == 0 && m[2][3] == 0 && m[3][3] == 1;
}

}  // namespace

template <typename T>
bool ZbMat4<T>::affine_inverse(const ZbMat4& in, ZbMat4& out) noexcept
{
    if (!hasAffineColumn(in))
        return false;

    const auto product = [&in](int j0, int j1, int j2) { return double(in[0][j0]) * in[1][j1] * in[2][j2]; };
    double positive = 0, negative = 0;
    for (const double term : {product(0, 1, 2), product(1, 2, 0), product(2, 0, 1), -product(2, 1, 0),
                              -product(1, 0, 2), -product(0, 2, 1)}) {
        // The machine's maximum and minimum, because nobody can predict a branch here.
        positive += term > 0 ? term : 0;
        negative += 0 < term ? 0 : term;
    }
    const double det = positive + negative;
    if (positive - negative == 0 || std::fabs(det / (positive - negative)) < 1e-15)
        return false;

    const ZbMat3<T> block(in[0][0], in[0][1], in[0][2], in[1][0], in[1][1], in[1][2], in[2][0], in[2][1],
                          in[2][2]);
    const ZbVec3<T> t(in[3]);
    const ZbMat3<T> adjugate = block.inverse(1);
    using Pair [[gnu::vector_size(2 * sizeof(double))]] = double;
    T quotients[9];
    for (int i = 0; i < 8; i += 2) {
        const Pair quotient =
            Pair{double(adjugate[i / 3][i % 3]), double(adjugate[(i + 1) / 3][(i + 1) % 3])} / det;
        quotients[i] = T(quotient[0]);
        quotients[i + 1] = T(quotient[1]);
    }
    quotients[8] = T(adjugate[2][2] / det);
    for (int i = 0; i < 3; ++i) {
        std::copy(quotients + 3 * i, quotients + 3 * i + 3, out[i]);
        out[i][3] = 0;
    }
    for (int j = 0; j < 3; ++j)
        out[3][j] = -(t.x * out[0][j] + t.y * out[1][j] + t.z * out[2][j]);
    out[3][3] = 1;
    return true;
}

namespace
{

// LUDecomposition and LUBackSubstitution for the four unit vectors, each of which is a column of b: the same products
// and sums, a row at once. The solution needs no transposition so. Without loops all indices are constants, and
// the rows stay in registers. False at a pivot of 0.
template <typename T>
bool invertByFactors(const ZbMat4<T>& m, ZbMat4<T>& inverse) noexcept
{
    using Row [[gnu::vector_size(4 * sizeof(T))]] = T;
    Row a[4], b[4] = {Row{1, 0, 0, 0}, Row{0, 1, 0, 0}, Row{0, 0, 1, 0}, Row{0, 0, 0, 1}};
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i)
        std::memcpy(&a[i], m[i], sizeof a[i]);
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) {
        int pivot = k;
        T largest = std::fabs(a[k][k]);
#pragma GCC unroll 4
        for (int i = k + 1; i < 4; ++i) {
            const T size = std::fabs(a[i][k]);
            pivot = size > largest ? i : pivot;
            largest = size > largest ? size : largest;
        }
        if (largest == 0)
            return false;
#pragma GCC unroll 4
        for (int i = k + 1; i < 4; ++i) {
            if (i == pivot) {
                std::swap(a[i], a[k]);
                std::swap(b[i], b[k]);
            }
        }
#pragma GCC unroll 4
        for (int i = k + 1; i < 4; ++i) {
            const T factor = a[i][k] / a[k][k];
            a[i] -= factor * a[k];
            b[i] -= factor * b[k];
        }
    }
#pragma GCC unroll 4
    for (int i = 3; i >= 0; --i) {
#pragma GCC unroll 4
        for (int j = i + 1; j < 4; ++j)
            b[i] -= a[i][j] * b[j];
        b[i] /= a[i][i];
    }
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i)
        std::memcpy(inverse[i], &b[i], sizeof b[i]);
    return true;
}

}  // namespace

template <typename T>
ZbMat4<T> ZbMat4<T>::inverse() const noexcept
{
    ZbMat4 result;
    if (*this == identity()) {
        result = *this;
    } else if (!(hasAffineColumn(*this) && affine_inverse(*this, result)) &&
               !invertByFactors(*this, result)) {
        result = *this;
        int index[4];
        T d;
        result.LUDecomposition(index, d);
    }
    return result;
}

// ---- composing and decomposing

template <typename T>
void ZbMat4<T>::setTransform(const ZbVec3<T>& t, const ZbRot<T>& r, const ZbVec3<T>& s) noexcept
{
    setTransform(t, r, s, ZbRot<T>(0, 0, 0, 1), ZbVec3<T>(0, 0, 0));
}

template <typename T>
void ZbMat4<T>::setTransform(const ZbVec3<T>& t, const ZbRot<T>& r, const ZbVec3<T>& s, const ZbRot<T>& so,
                             const ZbVec3<T>& c) noexcept
{
    const ZbVec3<T> zero(0, 0, 0);
    const ZbRot<T> noRotation(0, 0, 0, 1);
    ZbMat4 result = identity(), part;
    const auto translate = [&](const ZbVec3<T>& by) {
        part.setTranslate(by);
        result.multLeft(part);
    };
    const auto rotate = [&](const ZbRot<T>& by) {
        if (by != noRotation) {
            part.setRotate(by);
            result.multLeft(part);
        }
    };

    if (t != zero)
        translate(t);
    if (c != zero)
        translate(c);
    rotate(r);
    if (s != ZbVec3<T>(1, 1, 1)) {
        rotate(so);
        part.setScale(s);
        result.multLeft(part);
        if (so != noRotation)
            rotate(so.inverse());
    }
    if (c != zero)
        translate(-c);
    *this = result;
}

namespace
{

// The upper left 3 x 3 of a matrix as a product axes * diag(scale) * turned: rotations left and right, and scale
// factors of one sign.
struct Decomposition {
    ZbMat3d axes;  // its columns are the scaled axes
    ZbVec3d scale;
    ZbMat3d turned;   // its rows are where the axes lie after the transformation, without the scaling
    bool isSingular;  // to double precision

    ZbMat3d rotation() const { return axes * turned; }
};

ZbVec3d row(const ZbMat3d& m, int i)
{
    return ZbVec3d(m[i]);
}

void setRow(ZbMat3d& m, int i, const ZbVec3d& values)
{
    values.getValue(m[i]);
}

// Turns rows, and the columns of axes with them, until the rows are orthogonal to working precision: by the
// eigenvectors of their products. One pass makes them orthogonal to the longest row; the further ones are for
// rows that are very much shorter, whose products get lost beside those of the longest.
void makeRowsOrthogonal(ZbMat3d& rows, ZbMat3d& axes)
{
    constexpr double tolerance = 4 * std::numeric_limits<double>::epsilon();
    for (int pass = 0; pass < 6; ++pass) {
        const ZbMat3d products = rows * rows.transpose();
        bool areOrthogonal = true;
        for (const auto& [i, j] : {std::pair(0, 1), std::pair(0, 2), std::pair(1, 2)}) {
            if (std::fabs(products[i][j]) > tolerance * std::sqrt(products[i][i] * products[j][j]))
                areOrthogonal = false;
        }
        if (areOrthogonal)
            return;
        double values[3];
        ZbVec3d vectors[3];
        int nrot;
        products.jacobi(values, vectors, nrot);
        const ZbMat3d turn(vectors[0], vectors[1], vectors[2]);
        rows = turn * rows;
        axes = axes * turn.transpose();
    }
}

ZbVec3d anyPerpendicular(const ZbVec3d& unit)
{
    // The coordinate axis that lies farthest from it makes the longest product.
    ZbVec3d size(std::fabs(unit.x), std::fabs(unit.y), std::fabs(unit.z));
    ZbVec3d axis(0, 0, 0);
    axis[size.x <= size.y && size.x <= size.z ? 0 : size.y <= size.z ? 1 : 2] = 1;
    ZbVec3d result = unit.cross(axis);
    result.normalize();
    return result;
}

template <typename T>
Decomposition decompose(const ZbMat4<T>& m)
{
    const ZbMat3d unit(1, 0, 0, 0, 1, 0, 0, 0, 1);
    Decomposition result{unit, ZbVec3d(0, 0, 0), unit, true};
    double largest = 0;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            const double size = std::fabs(double(m[i][j]));
            largest = largest < size || std::isnan(size) ? size : largest;
        }
    }
    if (largest == 0 || !std::isfinite(largest)) {
        result.scale = ZbVec3d(largest, largest, largest);
        return result;
    }
    // By a power of two, which is exact, so that products neither overflow nor vanish.
    const int exponent = std::ilogb(largest);
    ZbMat3d rows;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j)
            rows[i][j] = std::scalbn(double(m[i][j]), -exponent);
    }
    makeRowsOrthogonal(rows, result.axes);

    // From the longest row to the shortest: what is lost of a row by making it orthogonal to longer ones is in
    // the order of their rounding.
    int order[3] = {0, 1, 2};
    const ZbVec3d lengths(row(rows, 0).length(), row(rows, 1).length(), row(rows, 2).length());
    bool isOdd = false;
    for (const auto& [i, j] : {std::pair(0, 1), std::pair(1, 2), std::pair(0, 1)}) {
        if (lengths[order[i]] < lengths[order[j]]) {
            std::swap(order[i], order[j]);
            isOdd = !isOdd;
        }
    }
    const double singular = 8 * std::numeric_limits<double>::epsilon() * lengths[order[0]];
    ZbVec3d first = row(rows, order[0]) / lengths[order[0]];
    ZbVec3d second = row(rows, order[1]);
    second -= first * first.dot(second);
    if (second.length() <= singular)
        second = anyPerpendicular(first);
    if (second.dot(row(rows, order[1])) < 0)
        second = -second;
    second.normalize();
    const ZbVec3d third = isOdd ? second.cross(first) : first.cross(second);
    ZbVec3d scale;
    scale[order[0]] = first.dot(row(rows, order[0]));
    scale[order[1]] =
        std::max(0.0, second.dot(row(rows, order[1])));  // normalising may have turned a tiny one
    scale[order[2]] = third.dot(row(rows, order[2]));
    result.isSingular = std::fabs(scale[order[2]]) <= singular;
    if (scale[order[2]] < 0) {  // it reflects
        first = -first;
        second = -second;
        scale[order[0]] = -scale[order[0]];
        scale[order[1]] = -scale[order[1]];
    }
    setRow(result.turned, order[0], first);
    setRow(result.turned, order[1], second);
    setRow(result.turned, order[2], third);
    for (int i = 0; i < 3; ++i)
        result.scale[i] = std::scalbn(scale[i], exponent);
    return result;
}

template <typename T>
ZbMat4<T> embedded(const ZbMat3d& m)
{
    return {T(m[0][0]), T(m[0][1]), T(m[0][2]), 0, T(m[1][0]), T(m[1][1]), T(m[1][2]), 0,
            T(m[2][0]), T(m[2][1]), T(m[2][2]), 0, 0,          0,          0,          1};
}

template <typename T>
ZbRot<T> rotationOf(const ZbMat3d& m)
{
    ZbRotd r(embedded<double>(m));
    r.normalize();
    return {T(r[0]), T(r[1]), T(r[2]), T(r[3])};
}

}  // namespace

template <typename T>
void ZbMat4<T>::getTransform(ZbVec3<T>& t, ZbRot<T>& r, ZbVec3<T>& s, ZbRot<T>& so,
                             const ZbVec3<T>& c) const noexcept
{
    const Decomposition parts = decompose(*this);
    // Where the centre goes, from the centre.
    ZbVec3d image;
    const ZbVec3d centre(c);
    ZbMat4d(*this).multDirMatrix(centre, image);
    t = ZbVec3<T>(image + ZbVec3d(ZbVec3<T>(m_rows[3])) - centre);
    r = rotationOf<T>(parts.rotation());
    s = ZbVec3<T>(parts.scale);
    so = rotationOf<T>(parts.axes.transpose());
}

template <typename T>
bool ZbMat4<T>::factor(ZbMat4& r, ZbVec3<T>& s, ZbMat4& u, ZbVec3<T>& t, ZbMat4& proj) const noexcept
{
    const ZbMat4 m = *this;
    const bool isAffine = hasAffineColumn(m);
    const Decomposition parts = decompose(m);
    proj = identity();
    if (parts.isSingular && !isAffine) {
        r = u = identity();
        s = ZbVec3<T>(1, 1, 1);
        t = ZbVec3<T>(0, 0, 0);
        proj = m;
        return false;
    }
    r = embedded<T>(parts.axes);
    s = ZbVec3<T>(parts.scale);
    u = embedded<T>(parts.rotation());
    t = ZbVec3<T>(m[3]);
    if (!isAffine) {
        // The column p for which the block times p is the last column.
        ZbVec3d p(m[0][3], m[1][3], m[2][3]);
        parts.axes.multVecMatrix(p, p);
        p = p.compquot(parts.scale);
        parts.turned.multVecMatrix(p, p);
        for (int i = 0; i < 3; ++i)
            proj[i][3] = T(p[i]);
        proj[3][3] = T(m[3][3] - ZbVec3d(t).dot(p));
    }
    return !parts.isSingular;
}

template <typename T>
void ZbMat4<T>::jacobi3(T evalues[3], ZbVec3<T> evectors[3], int& nrot) const noexcept
{
    ZbDetail::jacobi3(*this, evalues, evectors, nrot);
}

template <typename T>
void ZbMat4<T>::print(std::FILE* file) const noexcept
{
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j)
            std::fprintf(file, "%10.5g%c", double(m_rows[i][j]), j < 3 ? '\t' : '\n');
    }
}

template class ZbMat4<float>;
template class ZbMat4<double>;
