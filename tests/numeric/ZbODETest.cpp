#include <zblib/math/ZbVec2.h>
#include <zblib/math/ZbVec3.h>
#include <zblib/math/ZbVec4.h>
#include <zblib/numeric/ZbODE.h>

#include "tests/support/RandomNumbers.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace
{

using Ode = ZbODE<ZbVec2d>;

template <typename V>
class ZbODETest : public testing::Test
{
};
using Vectors = testing::Types<ZbVec2f, ZbVec2d, ZbVec3f, ZbVec3d, ZbVec4f>;
TYPED_TEST_SUITE(ZbODETest, Vectors);

// Fields for the right-hand side.
bool uniform(const ZbVec2d&, ZbVec2d& dx, void*)
{
    dx = ZbVec2d(1, 0);
    return false;
}
bool untilPlane(const ZbVec2d& x, ZbVec2d& dx, void* plane)
{
    dx = ZbVec2d(3, 4);
    return x.x > *static_cast<double*>(plane);
}

// The published tables: nodes' rows, weights, and the weights of the lower order.
struct Pair {
    int method;
    std::vector<std::vector<double>> rows;
    std::vector<double> weights, lower;
    double exponent;
    int order;
};
// clang-format off
const Pair pairs[] = {
    {Ode::rk21, {{}, {.5}}, {0, 1}, {1, 0}, 1. / 2, 2},
    {Ode::rk32, {{}, {.5}, {0, .75}, {2. / 9, 1. / 3, 4. / 9}},
     {2. / 9, 1. / 3, 4. / 9, 0}, {7. / 24, 1. / 4, 1. / 3, 1. / 8}, 1. / 3, 3},
    {Ode::rk43, {{}, {.5}, {0, .5}, {0, 0, 1}, {1. / 6, 1. / 3, 1. / 3, 1. / 6}},
     {1. / 6, 1. / 3, 1. / 3, 1. / 6, 0}, {1. / 6, 1. / 3, 1. / 3, 0, 1. / 6}, 1. / 4, 4},
    {Ode::rk54,
     {{}, {1. / 5}, {3. / 40, 9. / 40}, {44. / 45, -56. / 15, 32. / 9},
      {19372. / 6561, -25360. / 2187, 64448. / 6561, -212. / 729},
      {9017. / 3168, -355. / 33, 46732. / 5247, 49. / 176, -5103. / 18656},
      {35. / 384, 0, 500. / 1113, 125. / 192, -2187. / 6784, 11. / 84}},
     {35. / 384, 0, 500. / 1113, 125. / 192, -2187. / 6784, 11. / 84, 0},
     {5179. / 57600, 0, 7571. / 16695, 393. / 640, -92097. / 339200, 187. / 2100, 1. / 40}, 1. / 5, 5},
    {Ode::rkck,
     {{}, {1. / 5}, {3. / 40, 9. / 40}, {3. / 10, -9. / 10, 6. / 5}, {-11. / 54, 5. / 2, -70. / 27, 35. / 27},
      {1631. / 55296, 175. / 512, 575. / 13824, 44275. / 110592, 253. / 4096}},
     {37. / 378, 0, 250. / 621, 125. / 594, 0, 512. / 1771},
     {2825. / 27648, 0, 18575. / 48384, 13525. / 55296, 277. / 14336, 1. / 4}, 1. / 5, 5},
};
// clang-format on

// An integrator that takes its first step of size h, and hands out its end.
Ode stepper(int method, Ode::RightHandSide field, void* data, float h, float tolerance)
{
    Ode ode;
    ode.setRightHandSide(field, data);
    ode.setNormalization(0);
    ode.setMethod(method);
    ode.setHSampling(h);
    ode.setHMinMax(1e-6f, 100);
    ode.setTolerance(tolerance);
    return ode;
}

bool nonlinear(const ZbVec2d& x, ZbVec2d& dx, void*)
{
    dx = ZbVec2d(x.y + 0.3 * x.x * x.x, std::cos(x.x) - 0.5 * x.y);
    return false;
}

}  // namespace

TYPED_TEST(ZbODETest, circlesByDefault)
{
    ZbODE<TypeParam> ode;
    TypeParam start = TypeParam(), x, previous;
    start.x = 1;
    previous = start;
    ode.init(start, 0);
    EXPECT_EQ(ode.getStatus(), 0);
    EXPECT_NEAR(ode.getStepSize(), std::pow(0.02, 0.25), 1e-6);
    ode.setTolerance(1e-5f);
    for (int i = 1; i <= 100; ++i) {
        ASSERT_EQ(ode.next(x, 0), 0);
        EXPECT_NEAR(x.length(), 1, 1e-2);
        EXPECT_NEAR(x.x, std::cos(i), 2e-2) << i;  // the start itself is no sample
        EXPECT_NEAR(x.y, std::sin(i), 2e-2);
        EXPECT_NEAR((x - previous).length(), 2 * std::sin(0.5), 1e-2);
        previous = x;
    }
    EXPECT_GE(ode.getTime(), 100);

    ode.init(TypeParam(), 0);
    EXPECT_EQ(ode.getStatus(), 2);
    EXPECT_EQ(ode.next(x, 0), 2);
}

TEST(ZbODE, everyPairIsThePublishedOne)
{
    for (const Pair& pair : pairs) {
        SCOPED_TRACE(pair.method);
        EXPECT_EQ(Ode::exponent(pair.method), pair.exponent);
        const double h = 0.25;
        const ZbVec2d x0(0.3, -0.2);
        std::vector<ZbVec2d> k(pair.rows.size());
        for (size_t i = 0; i < k.size(); ++i) {
            ZbVec2d x = x0;
            for (size_t j = 0; j < pair.rows[i].size(); ++j)
                x += k[j] * (h * pair.rows[i][j]);
            nonlinear(x, k[i], nullptr);
        }
        ZbVec2d x1 = x0, error(0, 0);
        for (size_t i = 0; i < k.size(); ++i) {
            x1 += k[i] * (h * pair.weights[i]);
            error += k[i] * (h * (pair.weights[i] - pair.lower[i]));
        }

        const auto tolerance = float(error.length() * 1.1);  // accepted, and the factor is near 1
        Ode ode = stepper(pair.method, nonlinear, nullptr, float(h), tolerance);
        ode.init(x0, float(h));
        ZbVec2d x, dx, ddx, derivative;
        EXPECT_EQ(ode.next(x, dx, ddx, 0), 0);
        EXPECT_NEAR(x.distance(x1), 0, 1e-14);
        EXPECT_NEAR(ode.getStepSize(), h * std::pow(0.8 * tolerance / error.length(), pair.exponent), 1e-6);
        nonlinear(x1, derivative, nullptr);
        EXPECT_NEAR(dx.distance(derivative * h), 0, 1e-14);  // by the parameter of the step
    }
}

TEST(ZbODE, convergesWithTheOrderOfItsPair)
{
    for (const Pair& pair : pairs) {
        SCOPED_TRACE(pair.method);
        const auto errorWith = [&pair](float h) {
            Ode ode = stepper(pair.method, Ode::defaultRightHandSide, nullptr, 2, 1e9f);
            ode.setHMinMax(0, h);  // every step is h
            ode.init(ZbVec2d(1, 0), h);
            ZbVec2d x;
            EXPECT_EQ(ode.next(x, 0), 0);
            return x.distance(ZbVec2d(std::cos(2.0), std::sin(2.0)));
        };
        EXPECT_NEAR(std::log2(errorWith(0x1p-3f) / errorWith(0x1p-4f)), pair.order, 0.2);
    }
}

// The shortcut around std::pow may not show in any bit.
TEST(ZbODE, stepsGrowByThePowerOfTheError)
{
    struct Bump {
        int evaluation, call = 0;  // the derivative is (1, 0), and (1, size) at this evaluation
        double size = 0;
    };
    const auto field = [](const ZbVec2d&, ZbVec2d& dx, void* data) {
        auto& bump = *static_cast<Bump*>(data);
        dx = ZbVec2d(1, ++bump.call == bump.evaluation ? bump.size : 0);
        return false;
    };
    // The weight of that evaluation in the error.
    const struct {
        int evaluation;
        double weight;
    } errors[] = {{2, 1}, {4, -1. / 8}, {4, 1. / 6}, {7, -1. / 40}, {6, 512. / 1771 - 1. / 4}};
    RandomNumbers random(1);
    for (const Pair& pair : pairs) {
        const auto& [evaluation, weight] = errors[pair.method];
        for (int round = 0; round < 2000; ++round) {
            Bump bump{evaluation};
            Ode ode = stepper(pair.method, field, &bump, 0.75f, 0.5f);
            bump.size = 0.6 * std::exp(random(-8, 0)) / weight;
            ode.init(ZbVec2d(0, 0), 0.75f);
            ZbVec2d x;
            ASSERT_EQ(ode.next(x, 0), 0);
            const double error = pair.method == Ode::rk43 ? std::fabs(0.75 * bump.size / 6)
                                                          : std::fabs(0.75 * (weight * bump.size));
            const double factor = std::clamp(std::pow(0.8 * 0.5f / error, pair.exponent), 0.5, 2.0);
            ASSERT_EQ(ode.getStepSize(), float(0.75f * factor)) << pair.method << ' ' << error;
        }
    }
}

TEST(ZbODE, controlsItsSteps)
{
    Ode ode;
    ode.setRightHandSide(uniform, nullptr);
    ode.setHMinMax(0.1f, 3);
    ode.init(ZbVec2d(0, 0), 1);
    ZbVec2d x;
    ode.next(x, 0);
    EXPECT_EQ(x, ZbVec2d(1, 0));
    EXPECT_EQ(ode.getStepSize(), 2);  // no error: doubled
    ode.next(x, 0);
    EXPECT_EQ(ode.getTime(), 3);
    EXPECT_EQ(ode.getStepSize(), 3);  // up to hMax

    // Without a step the size follows from the tolerance and the length of the derivative, or from the samples.
    ode.setSpeed(4);
    ode.init(ZbVec2d(0, 0), -1);
    EXPECT_FLOAT_EQ(ode.getStepSize(), float(std::pow(double(0.02f), 0.25) / 4));
    ode.setHSampling(0.01f);
    ode.init(ZbVec2d(0, 0), 0);
    EXPECT_FLOAT_EQ(ode.getStepSize(), 0.05f);

    // Too large an error below hMin.
    ode = Ode();
    ode.setTolerance(1e-9f);
    ode.init(ZbVec2d(1, 0), 1);
    EXPECT_EQ(ode.next(x, 0), 3);
    EXPECT_EQ(x, ZbVec2d(1, 0));
    // Accepted, but shorter than hMin.
    for (const int check : {0, 1}) {
        ode = Ode();
        ode.setHMinMax(0.5f, 10);
        ode.setCheckHMin(check);
        ode.init(ZbVec2d(1, 0), 0.25f);
        EXPECT_EQ(ode.next(x, 0), check ? 3 : 0);
    }
}

TEST(ZbODE, stopsAtTheBorder)
{
    double plane = 2.9;
    for (const int extrapolate : {0, 1}) {
        Ode ode;
        ode.setRightHandSide(untilPlane, &plane);
        ode.setHSampling(1);
        ode.init(ZbVec2d(0, 0), 1);
        ZbVec2d x, dx, ddx;
        int count = 0;
        while (ode.next(x, dx, ddx, extrapolate) == 0)
            EXPECT_NEAR(x.distance(ZbVec2d(0.6, 0.8) * ++count), 0, 1e-12);
        EXPECT_EQ(count, 4);  // the fifth sample would lie beyond
        EXPECT_EQ(ode.getStatus(), 1);
        plane = -1;  // not asked any more
        if (extrapolate) {
            EXPECT_NEAR(x.distance(ZbVec2d(3, 4)), 0, 1e-6);
            EXPECT_EQ(ode.next(x, 1), 1);
            EXPECT_NEAR(x.distance(ZbVec2d(3.6, 4.8)), 0, 1e-6);
        } else {
            EXPECT_LE(x.x, 2.9);
            EXPECT_GT(x.x, 2.9 - 0.6 * 0.1);  // closer than hMin
            const ZbVec2d last = x;
            EXPECT_EQ(ode.next(x, 0), 1);
            EXPECT_EQ(x, last);
            EXPECT_NEAR(dx.distance(ZbVec2d(0.6, 0.8)), 0, 1e-12);
        }
        plane = 2.9;
        ode.init(ZbVec2d(0, 0), 1);  // from the start again
        EXPECT_EQ(ode.next(x, 0), 0);
        ode.init(ZbVec2d(5, 0), 1);
        EXPECT_EQ(ode.getStatus(), 1);
    }
}

TEST(ZbODE, alwaysComesToAnEnd)
{
    const float nan = std::numeric_limits<float>::quiet_NaN(),
                infinity = std::numeric_limits<float>::infinity();
    ZbVec2d x;
    for (const int method : {-1, 7, 1000000, int(Ode::rk43)}) {
        Ode ode;
        ode.setMethod(method);
        ode.init(ZbVec2d(1, 0), 0);
        EXPECT_EQ(ode.getStatus(), 0);
        EXPECT_EQ(ode.next(x, 0), method == Ode::rk43 ? 0 : 5);
    }
    const auto undefined = [](const ZbVec2d& point, ZbVec2d& dx, void*) {
        dx = ZbVec2d(point.x > 0.5 ? std::nan("") : 1, 0);
        return false;
    };
    Ode ode;
    ode.setRightHandSide(undefined, nullptr);
    ode.init(ZbVec2d(0, 0), 1);
    EXPECT_EQ(ode.next(x, 0), 3);  // as if refused
    EXPECT_LE(x.x, 0.5);

    for (const float bad : {nan, infinity, -1.f, 0.f}) {
        for (int parameter = 0; parameter < 6; ++parameter) {
            SCOPED_TRACE(testing::Message() << bad << ' ' << parameter);
            ode = Ode();
            if (parameter == 0)
                ode.setTolerance(bad);
            if (parameter == 1)
                ode.setHMinMax(0, bad);
            if (parameter == 2)
                ode.setHMinMax(bad, 10);
            if (parameter == 3 && bad != infinity)
                ode.setHSampling(bad);
            if (parameter == 4)
                ode.setSpeed(bad);
            ode.init(ZbVec2d(1, 0), parameter == 5 ? bad : 1.f);
            for (int i = 0; i < 10; ++i)
                ode.next(x, i % 2);
        }
    }
    // So far that a step does not change the time.
    ode = Ode();
    ode.setHSampling(1e9f);
    ode.setHMinMax(0, 1e9f);
    ode.setTolerance(1e9f);
    ode.init(ZbVec2d(1, 0), 1e9f);
    EXPECT_EQ(ode.next(x, 0), 0);
    ode.setHMinMax(0, 1);
    ode.setTolerance(1);
    EXPECT_EQ(ode.next(x, 0), 3);
}

TEST(ZbODE, copiesGoOnWithTheSameUserData)
{
    static void* seen;
    const auto note = [](const ZbVec2d&, ZbVec2d& dx, void* userData) {
        seen = userData;
        dx = ZbVec2d(1, 0);
        return false;
    };
    Ode ode;
    ode.setRightHandSide(note, &ode);
    ode.init(ZbVec2d(0, 0), 1);
    EXPECT_EQ(seen, &ode);
    Ode copy = ode;
    ZbVec2d x, y;
    ode.next(x, 0);
    copy.next(y, 0);  // goes on where the other was
    EXPECT_EQ(seen, &ode);
    EXPECT_EQ(x, y);
    ode.setRightHandSide(note, &x);
    copy = ode;
    copy.next(y, 0);
    EXPECT_EQ(seen, &x);
    copy.setHSampling(1e-9f);  // no time is that little later than another
    EXPECT_EQ(copy.next(y, 0), 3);
}

// The steps as they are told, in floats, on a field that is left at its border.
TEST(ZbODE, samplesAreThoseOfThePlainSteps)
{
    using Vec = ZbVec2f;
    const auto field = [](const Vec& x, Vec& dx, void*) {
        dx = Vec(1 + x.y * x.y, std::sin(3 * x.x) - x.y * 0.25f);
        return x.x > 9;
    };
    ZbODE<Vec> ode;
    ode.setRightHandSide(field, nullptr);
    ode.setHSampling(0.3f);
    ode.setTolerance(1e-3f);
    ode.setHMinMax(0.01f, 2);
    ode.setSpeed(1.5f);
    ode.init(Vec(0.1f, 0.2f), 0.5f);

    const auto eval = [&](const Vec& x, Vec& dx) {
        const bool refused = field(x, dx, nullptr);
        dx *= float(1.5 / std::sqrt(double(dx.length2())));
        return !refused;
    };
    float t = 0, tSample = 0, h = 0.5f;
    Vec x(0.1f, 0.2f), k1, k2, k3, k4, k5, sample[4] = {};
    eval(x, k1);
    int count = 0;
    for (bool isInside = true; isInside; ++count) {
        for (int i = 0; i < 3; ++i)
            sample[i] += sample[i + 1];
        tSample += 0.3f;
        while (isInside && tSample > t) {
            Vec x1;
            const bool isDone = eval(x + h / 2 * k1, k2) && eval(x + h / 2 * k2, k3) &&
                                eval(x + h * k3, k4) &&
                                eval(x1 = x + h * ((k2 + k3) / 3 + (k1 + k4) / 6), k5);
            if (!isDone) {
                isInside = !(0.01f > h);
                h /= isInside ? 4 : 1;
                continue;
            }
            const float error = (h * (k4 - k5) / 6).length(), taken = h;
            const double factor = error > 0 ? std::pow(0.8 * double(1e-3f) / error, 0.25) : 2;
            h = std::min(2.f, float(h * std::min(2.0, std::max(0.5, factor))));
            if (error > 1e-3f)
                continue;
            if (tSample <= t + taken) {
                const float length = t + taken - t, s = (tSample - t) / length, d = 0.3f / length;
                const Vec a = 2.f * x - 2.f * x1 + length * k1 + length * k5;
                const Vec b = 3.f * x1 - 3.f * x - 2 * length * k1 - length * k5, c = length * k1;
                sample[0] = ((a * s + b) * s + c) * s + x;
                sample[1] = a * (d * (3 * s * s + 3 * s * d + d * d)) + b * (d * (2 * s + d)) + c * d;
                sample[2] = a * (6 * d * d * (s + d)) + b * (2 * d * d);
                sample[3] = a * (6 * d * d * d);
            }
            t += taken;
            x = x1;
            k1 = k5;
        }
        Vec actual;
        EXPECT_EQ(ode.next(actual, 0), isInside ? 0 : 1);
        EXPECT_EQ(actual, isInside ? sample[0] : x) << count;
    }
    EXPECT_GT(count, 20);
}
