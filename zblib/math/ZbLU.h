#pragma once

// Private: the factors of matrices whose size is known when they are compiled.

#include <cmath>
#include <utility>

namespace ZbDetail
{

/// See ZbMat4::LUDecomposition.
template <typename T, int N>
bool luDecompose(T (&a)[N][N], int* index, T& d) noexcept
{
    d = 1;
    for (int i = 0; i < N; ++i)
        index[i] = i;
    for (int k = 0; k < N; ++k) {
        int pivot = k;
        T largest = std::fabs(a[k][k]);
        for (int i = k + 1; i < N; ++i) {
            const T size = std::fabs(a[i][k]);
            pivot = size > largest ? i : pivot;
            largest = size > largest ? size : largest;
        }
        if (largest == 0)
            return false;
        d = pivot == k ? d : -d;
        std::swap(index[k], index[pivot]);
        for (int j = 0; j < N; ++j)
            std::swap(a[k][j], a[pivot][j]);
        for (int i = k + 1; i < N; ++i) {
            a[i][k] /= a[k][k];
            for (int j = k + 1; j < N; ++j)
                a[i][j] -= a[i][k] * a[k][j];
        }
    }
    return true;
}

/// See ZbMat4::LUBackSubstitution.
template <typename T, int N>
void luSolve(const T (&a)[N][N], const int* index, T* b) noexcept
{
    T x[N];
    for (int i = 0; i < N; ++i) {
        x[i] = b[index[i]];
        for (int j = 0; j < i; ++j)
            x[i] -= a[i][j] * x[j];
    }
    for (int i = N - 1; i >= 0; --i) {
        for (int j = i + 1; j < N; ++j)
            x[i] -= a[i][j] * x[j];
        x[i] /= a[i][i];
    }
    for (int i = 0; i < N; ++i)
        b[i] = x[i];
}

}  // namespace ZbDetail
