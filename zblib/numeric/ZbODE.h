#pragma once

#include <zblib/foundation/ZbExport.h>

#include <type_traits>
#include <utility>

/// Integrates dx/dt = f(x) with steps of adaptive size, and hands out points of the trajectory at equal distances in t.
///
/// For stream lines: derivatives are scaled to a constant length by default, so that t measures the length along
/// the curve. f may refuse points, such as those outside of its data; steps are shortened then, down to hMin.
///
///     ZbODE<ZbVec3f> ode;
///     ode.setRightHandSide(velocityAt, &field);
///     ode.init(seed, 0);
///     for (ZbVec3f x; ode.next(x, false) == 0;)
///         line.append(x);
///
/// V is a vector of float or double: ZbVec2, ZbVec3, or ZbVec4f. Step sizes, tolerances and times are floats whatever
/// V is. Samples between the steps lie on cubics through the ends of a step with the derivatives there. Nothing throws
/// or allocates. A plain value, which may be copied in the middle of a trajectory. Reentrant, not thread-safe.
///
/// Embedded Runge-Kutta pairs: Hairer, Norsett and Wanner, Solving Ordinary Differential Equations I, section II.4;
/// Cash and Karp, ACM Transactions on Mathematical Software 16, 1990.
template <typename V>
class ZbODE
{
    using T = std::remove_reference_t<decltype(std::declval<V&>()[0])>;

public:
    /// The pairs, by the orders of their solutions; rk54 is that of Dormand and Prince, rkck of Cash and Karp.
    enum Method : int { rk21 = 0, rk32 = 1, rk43 = 2, rk54 = 3, rkck = 4 };

    /// Writes the derivative at x to dx. Returns true to refuse x.
    using RightHandSide = bool (*)(const V& x, V& dx, void* userData);

    /// Step sizes from 0.1 to 10, samples 1 apart, tolerance 0.02, derivatives normalised to speed 1, method rk43,
    /// and the default right-hand side, whose user data is the integrator itself.
    ZB_API ZbODE() noexcept;

    /// userData is passed to f as it is, by copies as well.
    ZB_API void setRightHandSide(RightHandSide f, void* userData) noexcept;
    /// Whether derivatives are scaled to the length speed (1) or multiplied by speed (0).
    void setNormalization(int normalize) noexcept { m_normalize = normalize; }
    /// One of Method; with any other value the next step ends with status 5.
    void setMethod(int method) noexcept { m_method = method; }
    /// Whether an accepted step shorter than hMin ends the trajectory as well, with status 3.
    void setCheckHMin(int check) noexcept { m_checkHMin = check; }
    void setHMinMax(float hMin, float hMax) noexcept
    {
        m_hMin = hMin;
        m_hMax = hMax;
    }
    /// The distance in t between two samples, positive. To be set before init().
    void setHSampling(float hSampling) noexcept { m_hSampling = hSampling; }
    /// The length that the error estimate of a step may have.
    void setTolerance(float tolerance) noexcept { m_tolerance = tolerance; }
    void setSpeed(float speed) noexcept { m_speed = speed; }

    /// Begins a trajectory at x0, with a first step of h0, or of a size that suits the tolerance for h0 <= 0. Keeps
    /// all parameters. The status is 1 or 2 afterwards if x0 is refused or its derivative is 0.
    ZB_API void init(const V& x0, float h0) noexcept;

    /// Moves on to the next sample, the first one being hSampling behind the start, and returns the status.
    ///
    /// When the trajectory ends, which is when the status is not 0, x becomes the last point that was reached, at this
    /// call and all that follow; f is not called any more. Or, if extrapolate is set, x goes on along the
    /// last cubic, from the call on that returns the status first. After an init() that failed, x becomes the last
    /// sample of the trajectory before, or the origin.
    ZB_API int next(V& x, int extrapolate) noexcept;
    /// The same with the derivatives of the sample by the parameter that runs from 0 to 1 in the step it lies in:
    /// the directions are those of the trajectory, while the lengths depend on the step.
    ZB_API int next(V& x, V& dx, V& ddx, int extrapolate) noexcept;

    /// 0: all is well. 1: f refused a point near by. 2: the derivative is exactly 0 near by. 3: the step became smaller
    /// than hMin, or a step or the distance of samples is too small to change t. 5: there is no such method.
    int getStatus() const noexcept { return m_status; }
    /// The time of the last accepted step.
    float getTime() const noexcept { return m_t; }
    /// The size of the step to be tried next.
    float getStepSize() const noexcept { return m_h; }

    /// One over the lower order of the method plus 1; 1 for no method.
    ZB_API static double exponent(int method) noexcept;

    /// A rotation about the origin that grows in the further dimensions: (-y, x, z / 2, w / 2). Never refuses.
    ZB_API static bool defaultRightHandSide(const V& x, V& dx, void* userData);

private:
    int next() noexcept;
    int nextRK(V& x, V& dx, float& hTaken) noexcept;
    bool doRungeKutta(V& x, V& dx, V& err) noexcept;
    bool doRk21(V& x, V& dx, V& err) noexcept;
    bool doRk32(V& x, V& dx, V& err) noexcept;
    bool doRk43(V& x, V& dx, V& err) noexcept;
    bool doRk54(V& x, V& dx, V& err) noexcept;
    bool doRkck(V& x, V& dx, V& err) noexcept;
    bool eval(const V& x, V& dx) noexcept;
    void adjustStepSizeH(double err) noexcept;
    void initCubicPolynomial(float t0, const V& x0, const V& dx0, float t1, const V& x1, const V& dx1,
                             float tSample, float hSampling) noexcept;
    void nextCubicPolynomialStep() noexcept;
    bool isStepTooSmall() const noexcept;

    float m_h = 1;
    float m_hMin = 0.1f;
    float m_hMax = 10;
    float m_hSampling = 1;
    float m_tolerance = 0.02f;
    float m_speed = 1;
    int m_checkHMin = 0;
    int m_status = 0;
    int m_normalize = 1;
    int m_method = rk43;
    bool m_isOwnUserData =
        true;  // that of the default: the integrator itself, wherever it has been copied to
    void* m_userData = nullptr;
    RightHandSide m_rightHandSide = &defaultRightHandSide;

    float m_t = 0;        // of the last accepted step
    float m_tSample = 0;  // of the last sample
    V m_x, m_dx;          // the last accepted point and its derivative

    // The sample and its derivatives by the parameter of the step, with their differences from sample to sample.
    V m_sample, m_sample1, m_sample2, m_sample3;
    V m_derivative, m_derivative1, m_derivative2;
    V m_second, m_second1;
};
