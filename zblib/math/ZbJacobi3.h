#pragma once

// Private: the cyclic Jacobi method for symmetric 3 x 3 matrices.

#include <cmath>
#include <cstdio>

namespace ZbDetail
{

/// The state of one diagonalisation. The three elements above the diagonal and the columns of the vectors are members of
/// their own with indices that the compiler knows, so that they stay in registers.
template <typename T>
struct Jacobi3 {
    using Column [[gnu::vector_size(4 * sizeof(T))]] = T;

    Column v[3];   // eigenvectors; the fourth element is 0
    T a[3];        // element i lies in the row and column other than i
    T d[3];        // the diagonal
    T updates[3];  // of the diagonal in this sweep
    int nrot = 0;

    // The element in row p and column q; o is the third index.
    template <int p, int q, int o>
    void annihilate(int sweep, T threshold) noexcept
    {
        T& apq = a[o];
        const T g = 100 * std::fabs(apq);
        const T absP = std::fabs(d[p]), absQ = std::fabs(d[q]);
        if (sweep > 4 && absP + g == absP && absQ + g == absQ) {
            apq = 0;
        } else if (std::fabs(apq) > threshold) {
            T h = d[q] - d[p];
            T t;
            if (std::fabs(h) + g == std::fabs(h)) {
                t = apq / h;
            } else {
                const T theta = T(0.5) * h / apq;
                t = 1 / (std::fabs(theta) + std::sqrt(theta * theta + 1));
                // Negated where theta < 0: adding 0 takes the sign from -0. Nobody could predict a branch.
                t = std::copysign(t, theta + 0);
            }
            const T c = 1 / std::sqrt(t * t + 1);
            const T s = t * c;
            const T tau = s / (1 + c);
            h = t * apq;
            updates[p] -= h;
            updates[q] += h;
            d[p] -= h;
            d[q] += h;
            apq = 0;
            rotate(a[q], a[p], s, tau);  // row o's element of column p, and of column q
            rotate(v[p], v[q], s, tau);
            ++nrot;
        }
    }

    template <typename Value>
    static void rotate(Value& first, Value& second, T s, T tau) noexcept
    {
        const Value g = first, h = second;
        first = g - s * (h + g * tau);
        second = h + s * (g - h * tau);
    }
};

/// Diagonalises m, of which it reads the upper triangle.
///
/// d receives the eigenvalues, the columns of v the eigenvectors, nrot the number of rotations. Returns false
/// where 50 sweeps were not enough; d holds the values of the last one then, and v is left as it is.
template <typename T, typename Matrix, typename Vec>
bool diagonalize3(const Matrix& m, T* d, Vec* v, int& nrot) noexcept
{
    // Sums of the updates apart from the diagonal: small ones are not lost one by one.
    T diagonal[3] = {m[0][0], m[1][1], m[2][2]};
    Jacobi3<T> state = {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}},
                        {m[1][2], m[0][2], m[0][1]},
                        {m[0][0], m[1][1], m[2][2]},
                        {}};
    bool hasConverged = false;
    for (int sweep = 0; sweep < 50; ++sweep) {
        const T sum = std::fabs(state.a[2]) + std::fabs(state.a[1]) + std::fabs(state.a[0]);
        hasConverged = sum == 0;
        if (hasConverged)
            break;
        const T threshold = sweep < 4 ? T(0.2) * sum / 9 : T(0);
        state.template annihilate<0, 1, 2>(sweep, threshold);
        state.template annihilate<0, 2, 1>(sweep, threshold);
        state.template annihilate<1, 2, 0>(sweep, threshold);
        for (int i = 0; i < 3; ++i) {
            diagonal[i] += state.updates[i];
            state.d[i] = diagonal[i];
            state.updates[i] = 0;
        }
    }
    nrot = state.nrot;
    for (int i = 0; i < 3; ++i) {
        d[i] = state.d[i];
        if (hasConverged)  // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): it does not know elements of vectors
            v[i].setValue(state.v[i][0], state.v[i][1], state.v[i][2]);
    }
    return hasConverged;
}

/// The same with a word on standard error, as ZbMat3::jacobi promises.
template <typename T, typename Matrix, typename Vec>
void jacobi3(const Matrix& m, T* evalues, Vec* evectors, int& nrot) noexcept
{
    if (!diagonalize3(m, evalues, evectors, nrot))
        std::fputs("Too many iterations in routine jacobi\n", stderr);
}

}  // namespace ZbDetail
