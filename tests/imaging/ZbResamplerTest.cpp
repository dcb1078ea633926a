#include <zblib/imaging/ZbResampler.h>

#include <tests/support/RandomBytes.h>
#include <zblib/containers/ZbString.h>
#include <zblib/data/ZbTypedData3D.h>
#include <zblib/foundation/ZbMemory.h>
#include <zblib/foundation/ZbProgressInterface.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <vector>

namespace
{

using Kernel = ZbResampler::Kernel;
using Sizes = std::array<int, 3>;

struct NamedKernel {
    const char* name;
    Kernel kernel;
    float support;
};

const NamedKernel kernels[] = {
    {"box", ZbResampler::box_filter, 0.5f},
    {"triangle", ZbResampler::triangle_filter, 1},
    {"bell", ZbResampler::bell_filter, 1.5f},
    {"Mitchell", ZbResampler::Mitchell_filter, 2},
    {"Lanczos3", ZbResampler::Lanczos3_filter, 3},
    {"B_spline", ZbResampler::B_spline_filter, 2},
    {"cubic6", ZbResampler::cubic6_filter, 3},
    {"cubic8", ZbResampler::cubic8_filter, 4},
    {"LanczosTest", ZbResampler::LanczosTest_filter, 3},
};

// ---- kernels

TEST(ZbResamplerKernels, haveTheValuesOfTheirFormulas)
{
    const struct {
        Kernel kernel;
        float x, value;
    } cases[] = {
        {ZbResampler::box_filter, 0.5f, 1},
        {ZbResampler::box_filter, -0.5f, 1},
        {ZbResampler::box_filter, 0.50001f, 0},
        {ZbResampler::triangle_filter, 1, 0},
        {ZbResampler::triangle_filter, -0.25f, 0.75f},
        {ZbResampler::bell_filter, 0.25f, 0.6875f},
        {ZbResampler::bell_filter, -1, 0.125f},
        {ZbResampler::Mitchell_filter, 0, 16.0f / 18},
        {ZbResampler::Mitchell_filter, 1, 1.0f / 18},
        {ZbResampler::Mitchell_filter, -1.5f, -5.0f / 144},
        {ZbResampler::Lanczos3_filter, 0, 1},
        {ZbResampler::Lanczos3_filter, 1.5f, -0.13509491f},
        {ZbResampler::Lanczos3_filter, 3, 0},
        {ZbResampler::B_spline_filter, 0, 2.0f / 3},
        {ZbResampler::B_spline_filter, 1, 1.0f / 6},
        {ZbResampler::B_spline_filter, -1.5f, 1.0f / 48},
        {ZbResampler::cubic6_filter, 0.5f, 0.6f},
        {ZbResampler::cubic6_filter, -1.5f, -0.125f},
        {ZbResampler::cubic6_filter, 2.5f, 0.025f},
        {ZbResampler::cubic8_filter, 0.5f, 0.60044643f},
        {ZbResampler::cubic8_filter, 1.5f, -0.12723214f},
        {ZbResampler::cubic8_filter, 2.5f, 0.033482143f},
        {ZbResampler::cubic8_filter, -3.5f, -0.0066964286f},
    };
    for (const auto& c : cases)
        EXPECT_NEAR(c.kernel(c.x), c.value, 3e-7f) << &c - cases;
    for (const NamedKernel& k : kernels) {
        EXPECT_EQ(k.kernel(std::nanf("")), 0) << k.name;
        EXPECT_EQ(k.kernel(std::nextafter(k.support, 9.0f)), 0) << k.name;
        EXPECT_GT(k.kernel(0), 0.5f) << k.name;
    }
    EXPECT_EQ(ZbResampler::box_filter(-0.0f), 1);
}

// ---- contribution lists

class Lists
{
public:
    Lists(int newSize, int oldSize, float scale, float shift, Kernel kernel, float support)
        : m_size(newSize)
        , m_lists(ZbResampler::filter_contrib(newSize, oldSize, scale, shift, kernel, support))
    {
    }
    Lists(const Lists&) = delete;
    Lists& operator=(const Lists&) = delete;
    ~Lists() { ZbResampler::free_contrib(m_lists, m_size); }

    int size() const { return m_size; }
    const ZbResampler::ContributionList& operator[](int i) const { return m_lists[i]; }

private:
    int m_size;
    ZbResampler::ContributionList* m_lists;
};

// Recorded arguments of the last kernel calls.
std::vector<float> seen;
float recordingKernel(float x)
{
    seen.push_back(x);
    return 2.0f;
}

TEST(ZbResamplerLists, areThoseOfTheRule)
{
    // Twice the samples: output 3 lies at 1.25.
    const Lists larger(8, 4, 2, 0, ZbResampler::triangle_filter, 1);
    ASSERT_EQ(larger[3].count, 2);
    EXPECT_EQ(larger[3].entries[0].index, 1);
    EXPECT_EQ(larger[3].entries[0].weight, 0.75f);
    EXPECT_EQ(larger[3].entries[1].weight, 0.25f);
    // The first lies at -0.25: input -1 is left out, and the weight of input 0 becomes 1.
    ASSERT_EQ(larger[0].count, 1);
    EXPECT_EQ(larger[0].entries[0].index, 0);
    EXPECT_EQ(larger[0].entries[0].weight, 1);

    // Half of the samples: output 1 lies at 2.5, with inputs 1 to 4 at 1.5 and 0.5 input samples.
    const Lists smaller(3, 6, 0.5f, 0, ZbResampler::triangle_filter, 1);
    ASSERT_EQ(smaller[1].count, 4);
    EXPECT_EQ(smaller[1].entries[0].index, 1);
    EXPECT_EQ(smaller[1].entries[0].weight, 0.125f);
    EXPECT_EQ(smaller[1].entries[1].weight, 0.375f);

    // Arguments keep their sign, and are stretched when shrinking.
    seen.clear();
    const Lists recorded(1, 4, 0.25f, 0, recordingKernel, 0.5f);
    EXPECT_EQ(seen, (std::vector<float>{0.375f, 0.125f, -0.125f, -0.375f}));
    EXPECT_EQ(recorded[0].entries[3].weight, 0.25f);

    // A shift is in output samples; equal sizes keep the samples in place, with zeros beside them.
    const Lists shifted(4, 4, 1, 1, ZbResampler::triangle_filter, 1);
    ASSERT_EQ(shifted[0].count, 3);
    EXPECT_EQ(shifted[0].entries[0].index, 0);
    EXPECT_EQ(shifted[0].entries[0].weight, 0);
    EXPECT_EQ(shifted[0].entries[1].weight, 1);
    EXPECT_EQ(shifted[3].count, 1);  // input 3 at distance 1, whose weight is 0 and stays so
    EXPECT_EQ(shifted[3].entries[0].weight, 0);
}

TEST(ZbResamplerLists, areEmptyWhereNoInputIsNear)
{
    const float infinity = std::numeric_limits<float>::infinity();
    const struct {
        float scale, shift, support;
    } cases[] = {{1, 1e9f, 3},    {1, -1e9f, 3}, {0, 0, 3},   {-1, 0, 3},  {1, 0, -4},
                 {1e-30f, 0, -3}, {1, 0, NAN},   {NAN, 0, 3}, {1, NAN, 3}, {infinity, infinity, 3}};
    for (const auto& c : cases) {
        const Lists lists(2, 5, c.scale, c.shift, ZbResampler::Lanczos3_filter, c.support);
        EXPECT_EQ(lists[0].count + lists[1].count, 0) << &c - cases;
    }
    EXPECT_EQ(Lists(2, 0, 1, 0, ZbResampler::box_filter, 1)[1].count, 0);
    EXPECT_EQ(ZbResampler::filter_contrib(0, 4, 1, 0, ZbResampler::box_filter, 1), nullptr);
    EXPECT_EQ(Lists(2, 5, 1, 0, ZbResampler::box_filter, infinity)[1].count, 5);
}

TEST(ZbResampler, resamplesALineWithLanczos)
{
    const float line[] = {1, 2, 4, 8, 16, 32, 64};
    for (const float shift : {0.0f, 0.3f}) {
        float result[5];
        ZbResampler::resample(5, 0, result, 7, line, shift);
        const Lists lists(5, 7, 5.0f / 7, shift, ZbResampler::Lanczos3_filter, 3);
        for (int i = 0; i < 5; ++i) {
            float sum = 0;
            for (int k = 0; k < lists[i].count; ++k)
                sum += lists[i].entries[k].weight * line[lists[i].entries[k].index];
            EXPECT_EQ(result[i], sum);
        }
    }
    float shrunk[2];
    ZbResampler::resample(2, 1, shrunk, 2, line, 0);
    EXPECT_NEAR(shrunk[1], 2, 1e-6f);
}

// ---- three dimensions, against loops over the lists

template <typename T>
class Mean
{
public:
    void add(T value, float weight) { m_sum += weight * value; }
    T result() const { return m_sum; }

private:
    T m_sum = 0;
};

template <typename T>
class HeaviestLabel
{
public:
    void add(T value, float weight) { m_weights[value] += weight; }
    T result() const
    {
        T best = 0;
        float most = -std::numeric_limits<float>::infinity();
        for (const auto& [label, weight] : m_weights)
            if (weight > most) {
                best = label;
                most = weight;
            }
        return best;
    }

private:
    std::map<T, float> m_weights;  // the smaller of two comes first
};

template <typename T>
struct Volume {
    Sizes sizes;
    int components;
    std::vector<T> values;

    Volume(Sizes s, int c)
        : sizes(s), components(c), values(size_t(s[0]) * size_t(s[1]) * size_t(s[2]) * size_t(c))
    {
    }
    T& at(Sizes p, int c)
    {
        return values[size_t((long(p[2]) * sizes[1] + p[1]) * sizes[0] + p[0]) * size_t(components) +
                      size_t(c)];
    }
};

template <typename Rule, typename T>
Volume<T> pass(Volume<T> in, int axis, const Lists& lists)
{
    Sizes sizes = in.sizes;
    sizes[size_t(axis)] = lists.size();
    Volume<T> out(sizes, in.components);
    Sizes p;
    for (p[2] = 0; p[2] < sizes[2]; ++p[2])
        for (p[1] = 0; p[1] < sizes[1]; ++p[1])
            for (p[0] = 0; p[0] < sizes[0]; ++p[0])
                for (int c = 0; c < in.components; ++c) {
                    Rule rule;
                    const auto& list = lists[p[size_t(axis)]];
                    for (int k = 0; k < list.count; ++k) {
                        Sizes from = p;
                        from[size_t(axis)] = list.entries[k].index;
                        rule.add(in.at(from, c), list.entries[k].weight);
                    }
                    out.at(p, c) = rule.result();
                }
    return out;
}

// Whether result is what plain loops make of source when the passes are in some order.
template <typename Rule, typename T>
bool isPlainResult(const Volume<T>& result, const Volume<T>& source, const float* shifts,
                   const NamedKernel& kernel)
{
    std::vector<std::unique_ptr<Lists>> lists;
    for (size_t k = 0; k < 3; ++k)
        lists.push_back(std::make_unique<Lists>(result.sizes[k], source.sizes[k],
                                                float(result.sizes[k]) / float(source.sizes[k]), shifts[k],
                                                kernel.kernel, kernel.support));
    Sizes order = {0, 1, 2};
    do {
        Volume<T> volume = source;
        for (const int axis : order)
            volume = pass<Rule>(volume, axis, *lists[size_t(axis)]);
        if (volume.values == result.values)
            return true;
    } while (std::next_permutation(order.begin(), order.end()));
    return false;
}

template <typename T>
Volume<T> randomVolume(Sizes sizes, int components, int low, int high)
{
    Volume<T> volume(sizes, components);
    std::mt19937 random(unsigned(sizes[0] * 131 + sizes[1] * 17 + sizes[2] + components));
    for (T& value : volume.values)
        value = T(std::uniform_int_distribution<int>(low, high)(random));
    return volume;
}

template <typename T, typename U>
bool resampleTo(Volume<T>& source, Volume<U>& target, const float* shifts, const NamedKernel& kernel,
                ZbResampler::FilterType type, unsigned shrinkFactor = 0, float factor = 1)
{
    const ZbTypedData3D in(source.sizes[0], source.sizes[1], source.sizes[2], ZbPrimType((T*)nullptr),
                           source.components, source.values.data());
    ZbTypedData3D out(target.sizes[0], target.sizes[1], target.sizes[2], ZbPrimType((U*)nullptr),
                      target.components, target.values.data());
    ZbString error;
    return ZbResampler::resample(in, out, shifts, ZbPrimType((U*)nullptr), shrinkFactor, factor,
                                 kernel.kernel, kernel.support, type, error);
}

struct Geometry {
    Sizes from, to;
    int components;
    std::array<float, 3> shifts;
};

// Around groups of sixteen rows, thin and long ones, slabs, larger and smaller by axis.
const Geometry geometries[] = {
    {{16, 16, 16}, {24, 24, 24}, 1, {}},      {{17, 15, 13}, {33, 1, 40}, 1, {0.3f, 0, -0.7f}},
    {{20, 33, 18}, {7, 16, 9}, 1, {}},        {{31, 4, 5}, {2, 17, 3}, 3, {0, 1.5f, 0}},
    {{1, 40, 3}, {5, 11, 7}, 2, {}},          {{300, 3, 2}, {700, 3, 2}, 1, {}},
    {{5, 3, 260}, {9, 3, 31}, 1, {0, 0, 40}}, {{5, 700, 4}, {3, 2, 260}, 2, {}},
};

TEST(ZbResamplerVolumes, agreeWithPlainLoopsInOneOrder)
{
    for (const Geometry& g : geometries)
        for (const NamedKernel& kernel : kernels) {
            SCOPED_TRACE(testing::Message() << "geometry " << &g - geometries << ", " << kernel.name);
            auto source = randomVolume<float>(g.from, g.components, -1000, 1000);
            Volume<float> target(g.to, g.components);
            ASSERT_TRUE(resampleTo(source, target, g.shifts.data(), kernel, ZbResampler::FILTER_VALUES));
            EXPECT_TRUE(isPlainResult<Mean<float>>(target, source, g.shifts.data(), kernel));
        }
}

TEST(ZbResamplerVolumes, takeTheHeaviestLabel)
{
    for (const Geometry& g : geometries)
        for (const int labels : {2, 1000}) {
            SCOPED_TRACE(testing::Message() << "geometry " << &g - geometries << ", " << labels << " labels");
            auto source = randomVolume<unsigned>(g.from, g.components, 0, labels - 1);
            for (unsigned& label : source.values)
                label = UINT_MAX - label;  // neighbours that are equal as floats
            Volume<unsigned> target(g.to, g.components);
            ASSERT_TRUE(resampleTo(source, target, g.shifts.data(), kernels[4], ZbResampler::FILTER_LABELS));
            EXPECT_TRUE(isPlainResult<HeaviestLabel<unsigned>>(target, source, g.shifts.data(), kernels[4]));
        }
    // Ties: the smaller label.
    Volume<short> pair({2, 1, 1}, 1), one({1, 1, 1}, 1);
    pair.values = {7, -3};
    ASSERT_TRUE(resampleTo(pair, one, nullptr, kernels[1], ZbResampler::FILTER_LABELS));
    EXPECT_EQ(one.values[0], -3);
}

// ---- types

template <typename T>
class ZbResamplerTypes : public testing::Test
{
};
using NumberTypes = testing::Types<unsigned char, signed char, short, unsigned short, int, unsigned,
                                   long long, unsigned long long, float, double>;
TYPED_TEST_SUITE(ZbResamplerTypes, NumberTypes);

TYPED_TEST(ZbResamplerTypes, areReadAsFloats)
{
    for (const Sizes to : {Sizes{30, 25, 20}, Sizes{6, 8, 7}}) {
        auto source = randomVolume<TypeParam>({20, 19, 18}, 1, 0, 100);
        Volume<float> floats(source.sizes, 1), expected(to, 1), target(to, 1);
        std::copy(source.values.begin(), source.values.end(), floats.values.begin());
        ASSERT_TRUE(resampleTo(floats, expected, nullptr, kernels[3], ZbResampler::FILTER_VALUES));
        ASSERT_TRUE(resampleTo(source, target, nullptr, kernels[3], ZbResampler::FILTER_VALUES));
        EXPECT_EQ(target.values, expected.values);
    }
}

TYPED_TEST(ZbResamplerTypes, areWrittenClampedAndTruncated)
{
    using Limits = std::numeric_limits<TypeParam>;
    // Box of width 1 at equal sizes: each value by itself.
    Volume<float> source({9, 1, 1}, 1);
    Volume<TypeParam> target({9, 1, 1}, 1);
    source.values = {1.75f, -2.5f, 3e38f, -3e38f, 99.999999f, 4.99999f, 0.0f, 100.00001f, NAN};
    ASSERT_TRUE(resampleTo(source, target, nullptr, kernels[0], ZbResampler::FILTER_VALUES));
    if constexpr (Limits::is_integer) {
        const TypeParam minus2 = Limits::is_signed ? TypeParam(-2) : TypeParam(0);
        const TypeParam ofNan = sizeof(TypeParam) == 8 ? TypeParam(1ull << 63) : TypeParam(0x80000000u);
        // 4.99999 is 20 units in the last place below 5.
        EXPECT_EQ(target.values,
                  (std::vector<TypeParam>{1, minus2, Limits::max(), Limits::min(), 100, 4, 0, 100, ofNan}));
    } else {
        for (size_t i = 0; i < 8; ++i)
            EXPECT_EQ(target.values[i], TypeParam(source.values[i]));
        EXPECT_TRUE(std::isnan(target.values[8]));
    }
    ASSERT_TRUE(resampleTo(source, target, nullptr, kernels[0], ZbResampler::FILTER_VALUES, 0, 0.5f));
    EXPECT_EQ(target.values[7], TypeParam(source.values[7] * 0.5f));
    // Labels: the limits of any type survive in the widest, and are clamped in others.
    Volume<long long> labels({3, 1, 1}, 1), same({3, 1, 1}, 1);
    labels.values = {LLONG_MAX, LLONG_MIN, 5};
    Volume<TypeParam> converted({3, 1, 1}, 1);
    ASSERT_TRUE(resampleTo(labels, converted, nullptr, kernels[1], ZbResampler::FILTER_LABELS));
    EXPECT_EQ(converted.values[2], TypeParam(5));
    if constexpr (Limits::is_integer) {
        EXPECT_EQ(converted.values[0], TypeParam(std::min<unsigned long long>(LLONG_MAX, Limits::max())));
    }
    ASSERT_TRUE(resampleTo(converted, same, nullptr, kernels[1], ZbResampler::FILTER_LABELS));
    if constexpr (Limits::is_integer) {
        EXPECT_EQ(same.values[1], (long long)(Limits::min()));
    }
    ASSERT_TRUE(resampleTo(labels, converted, nullptr, kernels[1], ZbResampler::FILTER_LABELS, 0, 2.5f));
    EXPECT_EQ(converted.values[2], TypeParam(12.5));
}

TEST(ZbResamplerVolumes, keepGapsWhereTheGridStays)
{
    Volume<float> source({4, 3, 2}, 1), target({4, 3, 2}, 1);
    source.values[5] = INFINITY;
    source.values[6] = NAN;
    for (const NamedKernel& kernel : {kernels[0], kernels[1]}) {
        ASSERT_TRUE(resampleTo(source, target, nullptr, kernel, ZbResampler::FILTER_VALUES));
        EXPECT_EQ(target.values[4], 0) << kernel.name;
        EXPECT_EQ(target.values[5], INFINITY) << kernel.name;
        EXPECT_TRUE(std::isnan(target.values[6])) << kernel.name;
        EXPECT_EQ(target.values[7], 0) << kernel.name;
    }
}

TEST(ZbResamplerVolumes, multiplyLabelsAsValues)
{
    Volume<unsigned char> source({3, 1, 1}, 1), target({3, 1, 1}, 1);
    source.values = {10, 20, 30};
    ASSERT_TRUE(resampleTo(source, target, nullptr, kernels[0], ZbResampler::FILTER_LABELS, 0, 0.7f));
    EXPECT_EQ(target.values, (std::vector<unsigned char>{7, 14, 21}));
}

TEST(ZbResamplerVolumes, keepConstantBytesConstant)
{
    for (const int value : {1, 100, 255})
        for (const int to : {1, 2, 3, 7, 24, 31, 60, 97})
            for (const NamedKernel& kernel : kernels) {
                Volume<unsigned char> source({61, 59, 40}, 1), target({to, to + 2, to}, 1);
                std::fill(source.values.begin(), source.values.end(), (unsigned char)(value));
                ASSERT_TRUE(resampleTo(source, target, nullptr, kernel, ZbResampler::FILTER_VALUES));
                EXPECT_EQ(std::count(target.values.begin(), target.values.end(), value),
                          std::ssize(target.values))
                    << value << " to " << to << ", " << kernel.name;
            }
}

TEST(ZbResamplerVolumes, mayBeReducedFirst)
{
    // A ramp stays where it is, also where the factor does not divide the size.
    Volume<float> source({100, 21, 4}, 1), target({9, 21, 4}, 1);
    for (size_t i = 0; i < source.values.size(); ++i)
        source.values[i] = float(i % 100);
    ASSERT_TRUE(resampleTo(source, target, nullptr, kernels[1], ZbResampler::FILTER_VALUES, 3));
    for (int x = 1; x < 8; ++x)
        EXPECT_NEAR(target.at({x, 3, 2}, 0), (float(x) + 0.5f) * 100 / 9 - 0.5f, 0.3f);
    Volume<float> plain({9, 21, 4}, 1);
    ASSERT_TRUE(resampleTo(source, plain, nullptr, kernels[1], ZbResampler::FILTER_VALUES, 12));
    EXPECT_NE(plain.values, target.values);  // the ratio is 11

    auto labels = randomVolume<short>({40, 40, 40}, 1, 3, 3);
    Volume<short> few({5, 6, 7}, 1);
    ASSERT_TRUE(resampleTo(labels, few, nullptr, kernels[1], ZbResampler::FILTER_LABELS, 2));
    EXPECT_EQ(std::count(few.values.begin(), few.values.end(), 3), std::ssize(few.values));
}

// ---- the operation

class Reporter : public ZbProgressInterface
{
public:
    explicit Reporter(int asksUntilStop) : m_left(asksUntilStop) {}
    bool wasInterrupted(bool) override { return m_left-- == 0; }
    void setProgressText(const QString& text) override { texts += text + "|"; }
    void setProgressValueGlobal(float value) override { values.push_back(value); }

    QString texts;
    std::vector<float> values;

private:
    int m_left;
};

bool resampleBlock(const ZbTypedData3D& source, ZbTypedData3D& target, ZbString& error,
                   ZbProgressInterface* progress = nullptr)
{
    return ZbResampler::resample(source, target, nullptr, 0, 1, ZbResampler::triangle_filter, 1,
                                 ZbResampler::FILTER_VALUES, error, progress);
}

TEST(ZbResamplerOperation, allocatesReportsAndStops)
{
    ZbTypedData3D source(20, 20, 20, ZbPrimType::USHORT, 2), target;
    source.clear();
    target.init(200, 200, 200, ZbPrimType::BYTE, 1, nullptr);
    ZbString error("old");
    Reporter stopping(1);
    EXPECT_FALSE(resampleBlock(source, target, error, &stopping));
    EXPECT_EQ(target.dataPtr(), nullptr);
    EXPECT_TRUE(error.isEmpty());

    Reporter patient(-1);
    ASSERT_TRUE(resampleBlock(source, target, error, &patient));
    EXPECT_EQ(patient.texts, "Resampling ...|");
    EXPECT_TRUE(std::is_sorted(patient.values.begin(), patient.values.end()));
    EXPECT_EQ(patient.values.back(), 1);
    EXPECT_GE(patient.values.size(), 3u);
    EXPECT_TRUE(target.isLocal());
    EXPECT_EQ(target.primType(), ZbPrimType::USHORT);
    EXPECT_EQ(target.numComponents(), 2);
    EXPECT_EQ(target.getElemSize(), 4);
}

TEST(ZbResamplerOperation, saysWhatFailed)
{
    ZbTypedData3D source(2, 2, 2, ZbPrimType::FLOAT), target;
    source.clear();
    ZbString error;
    // 2^21 * 2^21 * 4 * 4 bytes are 2^26 MB.
    target.init(1 << 21, 1 << 21, 4, ZbPrimType::FLOAT, 1, nullptr);
    EXPECT_FALSE(resampleBlock(source, target, error));
    EXPECT_STREQ(error.getString(), "could not allocate 67108864 MB");
    // Data that claims such sizes: a plane between the passes is the first memory that is missing.
    const ZbTypedData3D huge(1 << 14, 1 << 14, 2, ZbPrimType::FLOAT, 1 << 20, source.dataPtr());
    target.init(1 << 14, 1 << 14, 1, ZbPrimType::FLOAT, 1 << 20, source.dataPtr());
    testing::internal::CaptureStderr();
    EXPECT_FALSE(resampleBlock(huge, target, error));
    // Sanitizers have a word of their own.
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::EndsWith("No enough memory available to resample the dataset.\n"));
    EXPECT_EQ(std::strncmp(error.getString(), "could not allocate ", 19), 0);

    target.init(1, 1, 1, ZbPrimType::FLOAT);
    ZbTypedData3D complex(2, 2, 2, ZbPrimType::COMPLEX);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(resampleBlock(complex, target, error));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Unsupported data type complex in ZbResampler::resample()\n");
    target.init(1, 1, 1, ZbPrimType::FLOAT, 2);
    EXPECT_FALSE(resampleBlock(source, target, error));
    EXPECT_FALSE(error.isEmpty());
}

TEST(ZbResamplerOperation, fillsWithZeroWithoutInput)
{
    ZbTypedData3D source(3, 0, 2, ZbPrimType::INT), target(2, 2, 2, ZbPrimType::INT);
    static_cast<int*>(target.dataPtr())[7] = 5;
    ZbString error;
    ASSERT_TRUE(resampleBlock(source, target, error));
    EXPECT_EQ(static_cast<int*>(target.dataPtr())[7], 0);
    ZbTypedData3D nothing(0, 2, 2, ZbPrimType::INT);
    EXPECT_TRUE(resampleBlock(target, nothing, error));
}

}  // namespace
