#pragma once

#include <zblib/foundation/ZbExport.h>

#include <type_traits>

/// Statistics of arrays, and Student's t test from summary statistics.
///
/// Variances and covariances are those of a population (divided by n, not n - 1). Sums run from the last
/// element to the first, float arrays in float and double arrays in double, so that results can be repeated
/// to the last bit. Every array has n elements; for n = 0 the results are NaN. Output pointers may be null.
/// Stateless and thread-safe; O(n), nothing is allocated. T is float or double.
class ZbStatistics
{
public:
    ZbStatistics() = delete;  // static functions only

    /// An output is of the type that the arrays tell, so that a mere nullptr will do.
    template <typename T>
    using Output = std::type_identity_t<T>;

    template <typename T>
    ZB_API static T computeMean(const T* x, long n);

    template <typename T>
    ZB_API static T computeVariance(const T* x, long n, Output<T>* mean = nullptr);

    /// Both meanX and meanY receive the mean of x; the mean of y is not handed out. This is meant: callers
    /// rely on it.
    template <typename T>
    ZB_API static T computeCovariance(const T* x, const T* y, long n, Output<T>* meanX = nullptr,
                                      Output<T>* meanY = nullptr);

    /// Pearson's correlation coefficient of x and y; NaN where one of them is constant.
    template <typename T>
    ZB_API static T computeCorrelation(const T* x, const T* y, long n, Output<T>* covariance = nullptr,
                                       Output<T>* meanX = nullptr, Output<T>* meanY = nullptr,
                                       Output<T>* varianceX = nullptr, Output<T>* varianceY = nullptr);

    /// The same, and writes each element's contribution (x - meanX)(y - meanY), divided by the product of
    /// both sums of squares, into contributions (n elements). By the product itself, not by its root: they do
    /// not add up to the coefficient, and this is meant.
    template <typename T>
    ZB_API static T computeCorrelation(const T* x, const T* y, T* contributions, long n,
                                       Output<T>* covariance = nullptr, Output<T>* meanX = nullptr,
                                       Output<T>* meanY = nullptr, Output<T>* varianceX = nullptr,
                                       Output<T>* varianceY = nullptr);

    /// Root of the mean square.
    template <typename T>
    ZB_API static T computeRMS(const T* x, long n);

    /// Root of the mean square of the differences x - y, summed in double for floats, too.
    template <typename T>
    ZB_API static T computeRMSD(const T* x, const T* y, long n);

    /// ln Gamma(x) for x > 0 (Lanczos' series with six terms, SIAM Journal on Numerical Analysis 1, 1964).
    ZB_API static float gammln(float x);
    /// The continued fraction of the incomplete beta function (modified Lentz method). Where 100 iterations
    /// do not suffice it prints one line on standard output and returns what it has.
    ZB_API static float betacf(float a, float b, float x);
    /// The regularised incomplete beta function I_x(a, b); 0 for x outside [0, 1].
    ZB_API static float betai(float a, float b, float x);
    /// The probability that a value of Student's distribution with the given degrees of freedom lies in [-|t|, |t|].
    /// Computed in float: good to two digits for up to 10^4 degrees of freedom, meaningless from about 10^6.
    ZB_API static float integratedStudentDistribution(float t, int degreesOfFreedom);
    /// Student's t test of two samples with pooled variance: the two-sided significance of the difference of
    /// means, which is 1 for equal means.
    ZB_API static float tTest(int sizeA, float meanA, float deviationA, int sizeB, float meanB,
                              float deviationB);
};
