#include <zblib/imaging/ZbResampler.h>

#include <cmath>

// Each is rounded from double to float once, at the end; powers are floats where a variable holds them.

float ZbResampler::box_filter(float x)
{
    return x >= -0.5f && x <= 0.5f ? 1.0f : 0.0f;
}

float ZbResampler::triangle_filter(float x)
{
    const float a = std::fabs(x);
    return a < 1.0f ? 1.0f - a : 0.0f;
}

float ZbResampler::bell_filter(float x)
{
    const double a = std::fabs(x);
    if (a < 0.5)
        return float(0.75 - a * a);
    if (a < 1.5)
        return float(0.5 * ((a - 1.5) * (a - 1.5)));
    return 0.0f;
}

float ZbResampler::Mitchell_filter(float x)
{
    constexpr double b = 1.0 / 3.0, c = 1.0 / 3.0;
    const double a = std::fabs(x);
    const double square = a * a;
    const double cube = square * a;
    if (a < 1.0)
        return float(
            ((12.0 - 9.0 * b - 6.0 * c) * cube + (-18.0 + 12.0 * b + 6.0 * c) * square + (6.0 - 2.0 * b)) /
            6.0);
    if (a < 2.0)
        return float(((-b - 6.0 * c) * cube + (6.0 * b + 30.0 * c) * square + (-12.0 * b - 48.0 * c) * a +
                      (8.0 * b + 24.0 * c)) /
                     6.0);
    return 0.0f;
}

namespace
{

double sinc(double t)
{
    constexpr float pi = 3.1415927f;  // the float: the zeros of the kernel miss the samples by its error
    const double angle = double(pi) * t;
    return angle == 0.0 ? 1.0 : std::sin(angle) / angle;
}

}  // namespace

float ZbResampler::Lanczos3_filter(float x)
{
    const double a = std::fabs(x);
    return a < 3.0 ? float(sinc(a) * sinc(a / 3.0)) : 0.0f;
}

float ZbResampler::LanczosTest_filter(float x)
{
    return Lanczos3_filter(x);
}

float ZbResampler::B_spline_filter(float x)
{
    const float a = std::fabs(x);
    if (a < 1.0f) {
        const float square = a * a;
        return float(0.5 * square * a - square + 2.0 / 3.0);
    }
    if (a < 2.0f) {
        const float rest = 2.0f - a;
        const float cube = rest * rest * rest;
        return float(1.0 / 6.0 * cube);
    }
    return 0.0f;
}

float ZbResampler::cubic6_filter(float x)
{
    const float a = std::fabs(x);
    const float square = a * a;
    const float cube = square * a;
    if (a < 1.0f)
        return float(6.0 / 5.0 * cube - 11.0 / 5.0 * square + 1.0);
    if (a < 2.0f)
        return float(-3.0 / 5.0 * cube + 16.0 / 5.0 * square - 27.0 / 5.0 * a + 14.0 / 5.0);
    if (a < 3.0f)
        return float(1.0 / 5.0 * cube - 8.0 / 5.0 * square + 21.0 / 5.0 * a - 18.0 / 5.0);
    return 0.0f;
}

float ZbResampler::cubic8_filter(float x)
{
    const float a = std::fabs(x);
    const float square = a * a;
    const float cube = square * a;
    if (a < 1.0f)
        return float(67.0 / 56.0 * cube - 123.0 / 56.0 * square + 1.0);
    if (a < 2.0f)
        return float(-33.0 / 56.0 * cube + 177.0 / 56.0 * square - 75.0 / 14.0 * a + 39.0 / 14.0);
    if (a < 3.0f)
        return float(9.0 / 56.0 * cube - 75.0 / 56.0 * square + 51.0 / 14.0 * a - 45.0 / 14.0);
    if (a < 4.0f)
        return float(-3.0 / 56.0 * cube + 33.0 / 56.0 * square - 15.0 / 7.0 * a + 18.0 / 7.0);
    return 0.0f;
}
