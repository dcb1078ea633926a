#include <zblib/numeric/ZbStatistics.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>

// The sums below have one order, from the last element to the first. A loop that carries several of them runs
// as fast as one, because additions to different sums do not wait for each other.

namespace
{

template <typename T>
struct Means {
    T x, y;
};

template <typename T>
Means<T> meansOf(const T* x, const T* y, long n)
{
    T sumX = 0;
    T sumY = 0;
    for (long i = n - 1; i >= 0; i--) {
        sumX += x[i];
        sumY += y[i];
    }
    return {sumX / static_cast<T>(n), sumY / static_cast<T>(n)};
}

template <typename T>
void store(T* target, T value)
{
    if (target)
        *target = value;
}

}  // namespace

template <typename T>
T ZbStatistics::computeMean(const T* x, long n)
{
    T sum = 0;
    for (long i = n - 1; i >= 0; i--)
        sum += x[i];
    return sum / static_cast<T>(n);
}

template <typename T>
T ZbStatistics::computeVariance(const T* x, long n, Output<T>* mean)
{
    const T m = computeMean(x, n);
    T sum = 0;
    for (long i = n - 1; i >= 0; i--)
        sum += (x[i] - m) * (x[i] - m);
    store(mean, m);
    return sum / static_cast<T>(n);
}

template <typename T>
T ZbStatistics::computeCovariance(const T* x, const T* y, long n, Output<T>* meanX, Output<T>* meanY)
{
    const Means<T> mean = meansOf(x, y, n);
    T sum = 0;
    for (long i = n - 1; i >= 0; i--)
        sum += (y[i] - mean.y) * (x[i] - mean.x);
    store(meanX, mean.x);
    store(meanY, mean.x);  // the mean of x here as well: see the header
    return sum / static_cast<T>(n);
}

template <typename T>
T ZbStatistics::computeCorrelation(const T* x, const T* y, long n, Output<T>* covariance, Output<T>* meanX,
                                   Output<T>* meanY, Output<T>* varianceX, Output<T>* varianceY)
{
    return computeCorrelation<T>(x, y, nullptr, n, covariance, meanX, meanY, varianceX, varianceY);
}

template <typename T>
T ZbStatistics::computeCorrelation(const T* x, const T* y, T* contributions, long n, Output<T>* covariance,
                                   Output<T>* meanX, Output<T>* meanY, Output<T>* varianceX,
                                   Output<T>* varianceY)
{
    const Means<T> mean = meansOf(x, y, n);
    T sumXY = 0;
    T sumXX = 0;
    T sumYY = 0;
    for (long i = n - 1; i >= 0; i--) {
        const T dx = x[i] - mean.x;
        const T dy = y[i] - mean.y;
        sumXY += dx * dy;
        sumXX += dx * dx;
        sumYY += dy * dy;
    }
    const T product = sumXX * sumYY;
    if (contributions) {
        for (long i = 0; i < n; i++)
            contributions[i] = (x[i] - mean.x) * (y[i] - mean.y) / product;
    }
    store(covariance, sumXY / static_cast<T>(n));
    store(meanX, mean.x);
    store(meanY, mean.y);
    store(varianceX, sumXX / static_cast<T>(n));
    store(varianceY, sumYY / static_cast<T>(n));
    return sumXY / std::sqrt(product);
}

template <typename T>
T ZbStatistics::computeRMS(const T* x, long n)
{
    T sum = 0;
    for (long i = n - 1; i >= 0; i--)
        sum += x[i] * x[i];
    return std::sqrt(sum / static_cast<T>(n));
}

template <typename T>
T ZbStatistics::computeRMSD(const T* x, const T* y, long n)
{
    double sum = 0;
    for (long i = n - 1; i >= 0; i--) {
        const double d = static_cast<double>(x[i]) - static_cast<double>(y[i]);
        sum += d * d;
    }
    return static_cast<T>(std::sqrt(sum / static_cast<double>(n)));
}

template float ZbStatistics::computeMean(const float*, long);
template double ZbStatistics::computeMean(const double*, long);
template float ZbStatistics::computeVariance(const float*, long, float*);
template double ZbStatistics::computeVariance(const double*, long, double*);
template float ZbStatistics::computeCovariance(const float*, const float*, long, float*, float*);
template double ZbStatistics::computeCovariance(const double*, const double*, long, double*, double*);
template float ZbStatistics::computeCorrelation(const float*, const float*, long, float*, float*, float*,
                                                float*, float*);
template double ZbStatistics::computeCorrelation(const double*, const double*, long, double*, double*,
                                                 double*, double*, double*);
template float ZbStatistics::computeCorrelation(const float*, const float*, float*, long, float*, float*,
                                                float*, float*, float*);
template double ZbStatistics::computeCorrelation(const double*, const double*, double*, long, double*,
                                                 double*, double*, double*, double*);
template float ZbStatistics::computeRMS(const float*, long);
template double ZbStatistics::computeRMS(const double*, long);
template float ZbStatistics::computeRMSD(const float*, const float*, long);
template double ZbStatistics::computeRMSD(const double*, const double*, long);

float ZbStatistics::gammln(float xFloat)
{
    static constexpr double coefficients[] = {76.18009172947146,  -86.50532032941678,   24.01409824083091,
                                              -1.231739572450155, 0.001208650973866179, -5.395239384953e-06};
    const double x = static_cast<double>(xFloat);
    const double tmp = x + 5.5;
    double series = 1.000000000190015;
    for (int k = 0; k < 6; k++)
        series += coefficients[k] / (x + (k + 1));
    return static_cast<float>(std::log(2.5066282746310007 * series / x) - (tmp - (x + 0.5) * std::log(tmp)));
}

float ZbStatistics::betacf(float a, float b, float x)
{
    constexpr int maxIterations = 100;
    constexpr float epsilon = 3e-7F;
    constexpr float smallest = 1e-30F;
    const auto raised = [](float value) { return std::fabs(value) < smallest ? smallest : value; };

    const float sum = a + b;
    const float aPlus = a + 1;
    const float aMinus = a - 1;
    float c = 1;
    float d = 1 / raised(1 - sum * x / aPlus);
    float result = d;
    for (int m = 1; m <= maxIterations; m++) {
        const float k = static_cast<float>(m);
        const float twice = 2 * k;
        const float even = k * (b - k) * x / ((aMinus + twice) * (a + twice));
        d = 1 / raised(1 + even * d);
        c = raised(1 + even / c);
        result *= d * c;
        const float odd = -(a + k) * (sum + k) * x / ((a + twice) * (aPlus + twice));
        d = 1 / raised(1 + odd * d);
        c = raised(1 + odd / c);
        const float delta = d * c;
        result *= delta;
        if (std::fabs(delta - 1) < epsilon)
            return result;
    }
    std::puts("a or b too big, or MAXIT too small in betacf");
    return result;
}

float ZbStatistics::betai(float a, float b, float x)
{
    if (x < 0 || x > 1)
        return 0;
    double bt = 0;
    if (x != 0 && x != 1) {
        const double xd = static_cast<double>(x);
        const double logBeta = static_cast<double>(gammln(a + b)) - static_cast<double>(gammln(a)) -
                               static_cast<double>(gammln(b));
        bt = std::exp(logBeta + static_cast<double>(a) * std::log(xd) +
                      static_cast<double>(b) * std::log(1 - xd));
    }
    if (x < (a + 1) / (a + b + 2))
        return static_cast<float>(bt * static_cast<double>(betacf(a, b, x)) / static_cast<double>(a));
    return static_cast<float>(1 - bt * static_cast<double>(betacf(b, a, 1 - x)) / static_cast<double>(b));
}

float ZbStatistics::integratedStudentDistribution(float t, int degreesOfFreedom)
{
    const float nu = static_cast<float>(degreesOfFreedom);
    return 1 - betai(nu / 2, 0.5F, nu / (nu + t * t));
}

float ZbStatistics::tTest(int sizeA, float meanA, float deviationA, int sizeB, float meanB, float deviationB)
{
    // Without a difference there is none to be significant, whatever the deviations are.
    if (meanA == meanB)
        return 1;
    // In double from here: the product of the sizes does not fit an int, and roots and quotients follow.
    const double nA = sizeA;
    const double nB = sizeB;
    const double sA = static_cast<double>(deviationA);
    const double sB = static_cast<double>(deviationB);
    const double s = std::sqrt((nA - 1) * sA * sA + (nB - 1) * sB * sB);
    const double difference = static_cast<double>(meanA) - static_cast<double>(meanB);
    const double t = difference / s * std::sqrt(nA * nB * (nA + nB - 2) / (nA + nB));
    const int degreesOfFreedom =
        static_cast<int>(std::min(static_cast<long>(sizeA) + sizeB - 2, static_cast<long>(INT_MAX)));
    return 1 - integratedStudentDistribution(static_cast<float>(t), degreesOfFreedom);
}
