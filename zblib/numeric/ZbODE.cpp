#include <zblib/numeric/ZbODE.h>

#include <zblib/math/ZbVec2.h>
#include <zblib/math/ZbVec3.h>
#include <zblib/math/ZbVec4.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

// Products and sums are rounded one by one (-ffp-contract=off, as in the whole library): whether a step is accepted
// hangs on the last bit of its error, and with fused operations the same field would give other stream lines on
// other machines. For the same reason every sum stands in one order here and is never regrouped for speed.

namespace
{

// x to the power of 1 / n, for n of 3 and 5 and a normal x > 0, with a relative error below 1e-11: Halley's iteration
// from a guess by the bits of the exponent, which is 4 % off.
template <int n>
double root(double x) noexcept
{
    constexpr auto one = std::bit_cast<std::uint64_t>(1.0);
    double y = std::bit_cast<double>(std::bit_cast<std::uint64_t>(x) / n + (one - one / n) -
                                     (std::uint64_t(1) << 47));
    for (int pass = 0; pass < 2; ++pass) {
        double power = y * y;
        power = n == 5 ? power * power * y : power * y;
        y *= ((n - 1) * power + (n + 1) * x) / ((n + 1) * power + (n - 1) * x);
    }
    return y;
}

// The lower order of a method plus 1; 1 for no method.
int orderOfError(int method) noexcept
{
    constexpr int orders[] = {2, 3, 4, 5, 5};
    return method >= 0 && method < 5 ? orders[method] : 1;
}

// ratio to the power of 1 / order, or 0 where that is not 2, 3, 4 or 5, with a relative error below 1e-11.
double rootOfOrder(double ratio, int order) noexcept
{
    switch (order) {
    case 2:
        return std::sqrt(ratio);
    case 3:
        return root<3>(ratio);
    case 4:
        return std::sqrt(std::sqrt(ratio));
    case 5:
        return root<5>(ratio);
    default:
        return 0;
    }
}

}  // namespace

template <typename V>
ZbODE<V>::ZbODE() noexcept
{
    for (V* state : {&m_x, &m_dx, &m_sample, &m_sample1, &m_sample2, &m_sample3, &m_derivative,
                     &m_derivative1, &m_derivative2, &m_second, &m_second1})
        *state = V();
}

template <typename V>
void ZbODE<V>::setRightHandSide(RightHandSide f, void* userData) noexcept
{
    m_rightHandSide = f;
    m_userData = userData;
    m_isOwnUserData = false;
}

template <typename V>
double ZbODE<V>::exponent(int method) noexcept
{
    return 1.0 / orderOfError(method);
}

template <typename V>
bool ZbODE<V>::defaultRightHandSide(const V& x, V& dx, void*)
{
    dx = x / T(2);
    dx.x = -x.y;
    dx.y = x.x;
    return false;
}

// ---- one step

template <typename V>
[[gnu::always_inline]] inline bool ZbODE<V>::eval(const V& x, V& dx) noexcept
{
    if (m_rightHandSide(x, dx, m_isOwnUserData ? this : m_userData)) {
        m_status = 1;
        return false;
    }
    const T squares = dx.length2();
    if (squares == 0) {
        m_status = 2;
        return false;
    }
    if (m_normalize)
        dx *= T(m_speed / std::sqrt(double(squares)));
    else if (m_speed != 1)
        dx *= T(m_speed);
    return true;
}

template <typename V>
bool ZbODE<V>::doRk21(V& x, V& dx, V& err) noexcept
{
    const T h = m_h;
    const V &k1 = dx, x0 = x;
    V k2, end;
    if (!eval(x0 + h / 2 * k1, k2))
        return false;
    const V x1 = x0 + h * k2;
    if (!eval(x1, end))
        return false;
    err = h * (k2 - k1);
    x = x1;
    dx = end;
    return true;
}

template <typename V>
bool ZbODE<V>::doRk32(V& x, V& dx, V& err) noexcept
{
    const T h = m_h;
    const V &k1 = dx, x0 = x;
    V k2, k3, k4;
    if (!eval(x0 + h / 2 * k1, k2) || !eval(x0 + h * T(3. / 4) * k2, k3))
        return false;
    const V x1 = x0 + h * (T(2. / 9) * k1 + T(1. / 3) * k2 + T(4. / 9) * k3);
    if (!eval(x1, k4))
        return false;
    err =
        h * (T(2. / 9 - 7. / 24) * k1 + T(1. / 3 - 1. / 4) * k2 + T(4. / 9 - 1. / 3) * k3 + T(-1. / 8) * k4);
    x = x1;
    dx = k4;
    return true;
}

template <typename V>
bool ZbODE<V>::doRk43(V& x, V& dx, V& err) noexcept
{
    const T h = m_h;
    const V &k1 = dx, x0 = x;
    V k2, k3, k4, k5;
    if (!eval(x0 + h / 2 * k1, k2) || !eval(x0 + h / 2 * k2, k3) || !eval(x0 + h * k3, k4))
        return false;
    const V x1 = x0 + h * ((k2 + k3) / T(3) + (k1 + k4) / T(6));
    if (!eval(x1, k5))
        return false;
    err = h * (k4 - k5) / T(6);
    x = x1;
    dx = k5;
    return true;
}

template <typename V>
bool ZbODE<V>::doRk54(V& x, V& dx, V& err) noexcept
{
    const T h = m_h;
    const V &k1 = dx, x0 = x;
    V k2, k3, k4, k5, k6, k7;
    if (!eval(x0 + h * (T(1. / 5) * k1), k2) || !eval(x0 + h * (T(3. / 40) * k1 + T(9. / 40) * k2), k3) ||
        !eval(x0 + h * (T(44. / 45) * k1 + T(-56. / 15) * k2 + T(32. / 9) * k3), k4) ||
        !eval(x0 + h * (T(19372. / 6561) * k1 + T(-25360. / 2187) * k2 + T(64448. / 6561) * k3 +
                        T(-212. / 729) * k4),
              k5) ||
        !eval(x0 + h * (T(9017. / 3168) * k1 + T(-355. / 33) * k2 + T(46732. / 5247) * k3 +
                        T(49. / 176) * k4 + T(-5103. / 18656) * k5),
              k6))
        return false;
    const V x1 = x0 + h * (T(35. / 384) * k1 + T(500. / 1113) * k3 + T(125. / 192) * k4 +
                           T(-2187. / 6784) * k5 + T(11. / 84) * k6);
    if (!eval(x1, k7))
        return false;
    err = h * (T(71. / 57600) * k1 + T(-71. / 16695) * k3 + T(71. / 1920) * k4 + T(-17253. / 339200) * k5 +
               T(22. / 525) * k6 + T(-1. / 40) * k7);
    x = x1;
    dx = k7;
    return true;
}

template <typename V>
bool ZbODE<V>::doRkck(V& x, V& dx, V& err) noexcept
{
    const T h = m_h;
    const V &k1 = dx, x0 = x;
    V k2, k3, k4, k5, k6, end;
    if (!eval(x0 + h * (T(1. / 5) * k1), k2) || !eval(x0 + h * (T(3. / 40) * k1 + T(9. / 40) * k2), k3) ||
        !eval(x0 + h * (T(3. / 10) * k1 + T(-9. / 10) * k2 + T(6. / 5) * k3), k4) ||
        !eval(x0 + h * (T(-11. / 54) * k1 + T(5. / 2) * k2 + T(-70. / 27) * k3 + T(35. / 27) * k4), k5) ||
        !eval(x0 + h * (T(1631. / 55296) * k1 + T(175. / 512) * k2 + T(575. / 13824) * k3 +
                        T(44275. / 110592) * k4 + T(253. / 4096) * k5),
              k6))
        return false;
    const V x1 = x0 + h * (T(37. / 378) * k1 + T(250. / 621) * k3 + T(125. / 594) * k4 + T(512. / 1771) * k6);
    if (!eval(x1, end))
        return false;
    err = h * (T(37. / 378 - 2825. / 27648) * k1 + T(250. / 621 - 18575. / 48384) * k3 +
               T(125. / 594 - 13525. / 55296) * k4 + T(-277. / 14336) * k5 + T(512. / 1771 - 1. / 4) * k6);
    x = x1;
    dx = end;
    return true;
}

// Tries a step of the current size from x and its derivative dx, which are replaced if it succeeds.
template <typename V>
bool ZbODE<V>::doRungeKutta(V& x, V& dx, V& err) noexcept
{
    switch (m_method) {
    case rk21:
        return doRk21(x, dx, err);
    case rk32:
        return doRk32(x, dx, err);
    case rk43:
        return doRk43(x, dx, err);
    case rk54:
        return doRk54(x, dx, err);
    case rkck:
        return doRkck(x, dx, err);
    default:
        m_status = 5;
        return false;
    }
}

template <typename V>
void ZbODE<V>::adjustStepSizeH(double err) noexcept
{
    // No lower bound: the loop over the steps looks after hMin.
    const auto adjusted = [this](double factor) {
        return std::min(float(m_h * (factor <= 0.5 ? 0.5 : factor > 2 ? 2 : factor)), m_hMax);
    };
    if (!(err > 0)) {
        m_h = adjusted(2);
        return;
    }
    const double ratio = 0.8 * m_tolerance / err;
    if (ratio > 1e-30 && ratio < 1e30) {
        // The next step waits for the power, which is slow. What is not exact about a faster one disappears where both
        // of its bounds lead to the same float, because all that follows is monotonic.
        const double factor = rootOfOrder(ratio, orderOfError(m_method));
        const float low = adjusted(factor * (1 - 1e-11)), high = adjusted(factor * (1 + 1e-11));
        if (low == high && factor != 0) {
            m_h = low;
            return;
        }
    }
    m_h = adjusted(std::pow(ratio, exponent(m_method)));
}

// Also where it has vanished or is not finite, so that there is an end whatever the parameters are.
template <typename V>
bool ZbODE<V>::isStepTooSmall() const noexcept
{
    return m_hMin > m_h || !(m_h > 0) || std::isinf(m_h);
}

template <typename V>
int ZbODE<V>::nextRK(V& x, V& dx, float& hTaken) noexcept
{
    for (;;) {
        V newX = x, newDx = dx, err;
        bool isDone = doRungeKutta(newX, newDx, err);
        if (m_status == 5)
            return m_status;
        const double size = isDone ? double(err.length()) : 0;
        if (std::isnan(size)) {
            m_status = 3;
            isDone = false;
        }
        if (!isDone) {
            if (isStepTooSmall())
                return m_status;
            m_status = 0;
            m_h /= 4;
        } else if (size <= m_tolerance) {
            hTaken = m_h;
            x = newX;
            dx = newDx;
            adjustStepSizeH(size);
            return 0;
        } else {
            if (isStepTooSmall())
                return m_status = 3;
            adjustStepSizeH(size);
        }
    }
}

// ---- the trajectory

template <typename V>
void ZbODE<V>::init(const V& x0, float h0) noexcept
{
    V dx0;
    m_status = 0;
    if (!eval(x0, dx0))
        return;
    m_x = m_sample = x0;
    m_dx = m_derivative = dx0;
    m_sample1 = m_sample2 = m_sample3 = V();
    m_derivative1 = m_derivative2 = V();
    m_second = m_second1 = V();
    m_t = m_tSample = 0;
    if (h0 > 0) {
        m_h = h0;
    } else {
        double h = std::pow(double(m_tolerance), exponent(m_method));
        const double length = dx0.length();
        if (length != 0)
            h /= length;
        m_h = std::min(float(h), 5 * m_hSampling);
    }
}

template <typename V>
int ZbODE<V>::next() noexcept
{
    nextCubicPolynomialStep();
    if (m_status != 0)
        return m_status;
    const float tSample = m_tSample + m_hSampling;
    if (!(tSample > m_tSample))
        return m_status = 3;
    m_tSample = tSample;
    while (m_tSample > m_t) {
        const V x0 = m_x, dx0 = m_dx;
        const float t0 = m_t;
        float hTaken = 0;
        if (nextRK(m_x, m_dx, hTaken) != 0)
            return m_status;
        if (m_checkHMin && hTaken < m_hMin)
            return m_status = 3;
        const float t1 = t0 + hTaken;
        if (!(t1 > t0))
            return m_status = 3;
        m_t = t1;
        if (m_tSample <= m_t)
            initCubicPolynomial(t0, x0, dx0, t1, m_x, m_dx, m_tSample, m_hSampling);
    }
    return 0;
}

template <typename V>
int ZbODE<V>::next(V& x, V& dx, V& ddx, int extrapolate) noexcept
{
    if (m_status != 0) {
        if (extrapolate)
            nextCubicPolynomialStep();
    } else if (next() != 0 && !extrapolate) {
        m_sample = m_x;
        m_derivative = m_dx;
    }
    x = m_sample;
    dx = m_derivative;
    ddx = m_second;
    return m_status;
}

template <typename V>
int ZbODE<V>::next(V& x, int extrapolate) noexcept
{
    V dx, ddx;
    return next(x, dx, ddx, extrapolate);
}

// ---- samples

template <typename V>
void ZbODE<V>::initCubicPolynomial(float t0, const V& x0, const V& dx0, float t1, const V& x1, const V& dx1,
                                   float tSample, float hSampling) noexcept
{
    const T length = t1 - t0;
    const T s = (tSample - t0) / length, delta = hSampling / length;
    const V a = T(2) * x0 - T(2) * x1 + length * dx0 + length * dx1;
    const V b = T(3) * x1 - T(3) * x0 - 2 * length * dx0 - length * dx1;
    const V c = length * dx0;

    m_sample = ((a * s + b) * s + c) * s + x0;
    m_sample1 =
        a * (delta * (3 * s * s + 3 * s * delta + delta * delta)) + b * (delta * (2 * s + delta)) + c * delta;
    m_sample2 = a * (6 * delta * delta * (s + delta)) + b * (2 * delta * delta);
    m_sample3 = a * (6 * delta * delta * delta);
    m_derivative = (T(3) * a * s + T(2) * b) * s + c;
    m_derivative1 = a * (3 * delta * (2 * s + delta)) + b * (2 * delta);
    m_derivative2 = a * (6 * delta * delta);
    m_second = T(6) * a * s + T(2) * b;
    m_second1 = a * (6 * delta);
}

template <typename V>
void ZbODE<V>::nextCubicPolynomialStep() noexcept
{
    m_sample += m_sample1;
    m_sample1 += m_sample2;
    m_sample2 += m_sample3;
    m_derivative += m_derivative1;
    m_derivative1 += m_derivative2;
    m_second += m_second1;
}

// Marked once more, because an instance is else no more visible than the vector it is for.
template class ZB_API ZbODE<ZbVec2<float>>;
template class ZB_API ZbODE<ZbVec2<double>>;
template class ZB_API ZbODE<ZbVec3<float>>;
template class ZB_API ZbODE<ZbVec3<double>>;
template class ZB_API ZbODE<ZbVec4<float>>;
