#pragma once

// Private: the cyclic Jacobi method for symmetric 3 x 3 matrices.

#include <cmath>
#include <cstdio>

namespace ZbDetail
{

/// Diagonalises a, of which it reads and overwrites the upper triangle.
///
/// d receives the eigenvalues, the columns of v the eigenvectors, nrot the number of rotations. Returns false
/// where 50 sweeps were not enough; d holds the values of the last one then.
template <typename T>
bool jacobi3(T (&a)[3][3], T (&d)[3], T (&v)[3][3], int& nrot) noexcept
{
    // Sums of the updates apart from the diagonal: small ones are not lost one by one.
    T diagonal[3], updates[3] = {};
    for (int i = 0; i < 3; ++i) {
        diagonal[i] = d[i] = a[i][i];
        for (int j = 0; j < 3; ++j)
            v[i][j] = i == j;
    }
    nrot = 0;
    const auto rotate = [](T& first, T& second, T s, T tau) {
        const T g = first, h = second;
        first = g - s * (h + g * tau);
        second = h + s * (g - h * tau);
    };
    // One element above the diagonal; o is the third index.
    const auto annihilate = [&](int p, int q, int o, int sweep, T threshold) {
        T& apq = a[p][q];
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
                if (theta < 0)
                    t = -t;
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
            rotate(o < p ? a[o][p] : a[p][o], o < q ? a[o][q] : a[q][o], s, tau);
            for (int i = 0; i < 3; ++i)
                rotate(v[i][p], v[i][q], s, tau);
            ++nrot;
        }
    };
    for (int sweep = 0; sweep < 50; ++sweep) {
        const T sum = std::fabs(a[0][1]) + std::fabs(a[0][2]) + std::fabs(a[1][2]);
        if (sum == 0)
            return true;
        const T threshold = sweep < 4 ? T(0.2) * sum / 9 : T(0);
        annihilate(0, 1, 2, sweep, threshold);
        annihilate(0, 2, 1, sweep, threshold);
        annihilate(1, 2, 0, sweep, threshold);
        for (int i = 0; i < 3; ++i) {
            diagonal[i] += updates[i];
            d[i] = diagonal[i];
            updates[i] = 0;
        }
    }
    return false;
}

/// The same for any matrix with rows, whose vectors come out one by one; what ZbMat3::jacobi promises.
template <typename T, typename Matrix, typename Vec>
void jacobi3(const Matrix& m, T* evalues, Vec* evectors, int& nrot) noexcept
{
    T a[3][3], d[3], v[3][3];
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j)
            a[i][j] = m[i][j];
    }
    const bool converged = jacobi3(a, d, v, nrot);
    for (int i = 0; i < 3; ++i) {
        evalues[i] = d[i];
        if (converged)
            evectors[i].setValue(v[0][i], v[1][i], v[2][i]);
    }
    if (!converged)
        std::fputs("Too many iterations in routine jacobi\n", stderr);
}

}  // namespace ZbDetail
