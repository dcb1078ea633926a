#pragma once

// The routines of LAPACK that stand beside ours, by their Fortran names: no header is needed for them.

#include <cstddef>
#include <vector>

extern "C" {
void sgesv_(const int* n, const int* nrhs, float* a, const int* lda, int* pivots, float* b, const int* ldb,
            int* info);
void sgbsv_(const int* n, const int* kl, const int* ku, const int* nrhs, float* ab, const int* ldab,
            int* pivots, float* b, const int* ldb, int* info);
void sgesvd_(const char* jobu, const char* jobvt, const int* m, const int* n, float* a, const int* lda,
             float* s, float* u, const int* ldu, float* vt, const int* ldvt, float* work, const int* lwork,
             int* info);
void sgesdd_(const char* jobz, const int* m, const int* n, float* a, const int* lda, float* s, float* u,
             const int* ldu, float* vt, const int* ldvt, float* work, const int* lwork, int* iwork,
             int* info);
// Where LAPACK is OpenBLAS.
[[gnu::weak]] void openblas_set_num_threads(int count);
}

namespace ZbBench
{

inline void useOneThread()
{
    if (openblas_set_num_threads)
        openblas_set_num_threads(1);
}

enum class SvdMethod { QrSteps, DivideAndConquer };

/// The thin singular value decomposition of a, m x n by columns, which is lost: u is m x k, vt k x n, by columns too.
inline void svd(SvdMethod method, int m, int n, std::vector<float>& a, std::vector<float>& s,
                std::vector<float>& u, std::vector<float>& vt)
{
    const int k = m < n ? m : n;
    s.resize(size_t(k));
    u.resize(size_t(m) * size_t(k));
    vt.resize(size_t(k) * size_t(n));
    std::vector<int> integers(8 * size_t(k));
    int info = 0;
    const auto run = [&](float* work, int size) {
        if (method == SvdMethod::QrSteps)
            sgesvd_("S", "S", &m, &n, a.data(), &m, s.data(), u.data(), &m, vt.data(), &k, work, &size,
                    &info);
        else
            sgesdd_("S", &m, &n, a.data(), &m, s.data(), u.data(), &m, vt.data(), &k, work, &size,
                    integers.data(), &info);
    };
    float size = 0;
    run(&size, -1);
    std::vector<float> work(static_cast<size_t>(size));
    run(work.data(), int(size));
}

}  // namespace ZbBench
