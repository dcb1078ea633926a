#include <zblib/data/ZbRawData.h>

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cmath>
#include <complex>
#include <functional>
#include <map>
#include <random>

namespace
{

using Triple = std::array<int, 3>;

int boxes(int size, int factor)
{
    return int((long(size) + factor - 1) / factor);
}

template <typename T>
std::vector<T> randomValues(size_t count)
{
    std::mt19937 random(4);
    std::vector<T> values(count);
    for (T& value : values) {
        // A few values over and over, so that labels tie, between ones from the whole range of an integer.
        const unsigned roll = random();
        value = roll % 4 ? T(roll / 4 % 3) : T((roll / 4) * 977u);
    }
    return values;
}

// Applies reduce(values of a box in the order of memory, number per axis) to each component of each box.
template <typename T>
std::vector<T> reducedPlain(const std::vector<T>& source, const Triple& dims, int components,
                            const Triple& factors,
                            const std::function<T(const std::vector<T>&, const Triple&)>& reduce)
{
    std::vector<T> result;
    const auto [nx, ny, nz] = dims;
    const auto [fx, fy, fz] = factors;
    for (int bz = 0; bz < nz; bz += fz)
        for (int by = 0; by < ny; by += fy)
            for (int bx = 0; bx < nx; bx += fx)
                for (int c = 0; c < components; ++c) {
                    const Triple box{std::min(fx, nx - bx), std::min(fy, ny - by), std::min(fz, nz - bz)};
                    std::vector<T> values;
                    for (int z = bz; z < bz + box[2]; ++z)
                        for (int y = by; y < by + box[1]; ++y)
                            for (int x = bx; x < bx + box[0]; ++x)
                                values.push_back(source[size_t((x + nx * (y + ny * z)) * components + c)]);
                    result.push_back(reduce(values, box));
                }
    return result;
}

template <typename T>
T meanOf(const std::vector<T>& values, const Triple& box)
{
    if constexpr (std::is_integral_v<T>) {
        __extension__ __int128 sum = 0;
        for (const T value : values)
            sum += value;
        const long n = long(values.size());
        const auto magnitude = ((sum < 0 ? -sum : sum) * 2 + n) / (2 * n);
        return T(sum < 0 ? -magnitude : magnitude);
    } else {
        double sum = 0;
        for (int x = 0; x < box[0]; ++x) {
            double column = 0;
            for (size_t i = size_t(x); i < values.size(); i += size_t(box[0]))
                column += values[i];
            sum = x == 0 ? column : sum + column;
        }
        return T(sum / double(values.size()));
    }
}

template <typename T>
T nearestOf(const std::vector<T>& values, const Triple& box)
{
    return values[size_t((box[0] - 1) / 2 + box[0] * ((box[1] - 1) / 2 + box[1] * ((box[2] - 1) / 2)))];
}

template <typename T>
T labelOf(const std::vector<T>& values, const Triple&)
{
    std::map<T, int> counts;
    for (const T value : values)
        ++counts[value];
    return std::max_element(counts.begin(), counts.end(),
                            [](const auto& a, const auto& b) { return a.second < b.second; })
        ->first;
}

template <typename T>
T maximumOf(const std::vector<T>& values, const Triple&)
{
    return *std::max_element(values.begin(), values.end());
}

const Triple allDims[] = {{1, 1, 1}, {8, 6, 4}, {19, 7, 5}, {3, 40, 2}, {67, 3, 3}};
const Triple allFactors[] = {{1, 1, 1}, {2, 2, 2}, {3, 1, 2}, {2, 5, 3}, {100, INT_MAX, 1}};

template <typename T>
class ZbRawDataDownSample : public ::testing::Test
{
};
using Types = ::testing::Types<unsigned char, signed char, short, unsigned short, int, unsigned int,
                               long long, unsigned long long, float, double>;
TYPED_TEST_SUITE(ZbRawDataDownSample, Types);

TYPED_TEST(ZbRawDataDownSample, agreesWithTheDefinitionOfEachReduction)
{
    using T = TypeParam;
    for (const Triple& dims : allDims)
        for (const Triple& factors : allFactors)
            for (const int components : {1, 3}) {
                SCOPED_TRACE(::testing::Message() << "row " << dims[0] << ", factor " << factors[0]
                                                  << ", components " << components);
                std::vector<T> source = randomValues<T>(size_t(dims[0] * dims[1] * dims[2] * components));
                std::vector<T> target(size_t(boxes(dims[0], factors[0]) * boxes(dims[1], factors[1]) *
                                             boxes(dims[2], factors[2]) * components));
                const ZbPrimType type(static_cast<T*>(nullptr));
                const ZbTypedPointer from(source.data(), type), to(target.data(), type);
                const auto expected = [&](auto reduce) {
                    return reducedPlain<T>(source, dims, components, factors, reduce);
                };
                ASSERT_TRUE(ZbRawData::downSample3D(from, dims.data(), components, factors.data(), to));
                EXPECT_EQ(target, expected(meanOf<T>));
                ASSERT_TRUE(ZbRawData::downSample3DN(from, dims.data(), components, factors.data(), to));
                EXPECT_EQ(target, expected(nearestOf<T>));
                ASSERT_TRUE(ZbRawData::downSampleMaxFilterComponents3DN(from, dims.data(), components,
                                                                        factors.data(), to));
                EXPECT_EQ(target, expected(maximumOf<T>));
                if (components == 1 && std::is_integral_v<T>) {
                    ASSERT_TRUE(ZbRawData::downSampleLabels3D(from, dims.data(), factors.data(), to));
                    EXPECT_EQ(target, expected(labelOf<T>));
                }
            }
}

template <typename T>
T meanOfAll(std::vector<T> source)
{
    const int dims[] = {int(source.size()), 1, 1};
    T target{};
    const ZbPrimType type(static_cast<T*>(nullptr));
    EXPECT_TRUE(ZbRawData::downSample3D(ZbTypedPointer(source.data(), type), dims, 1, dims,
                                        ZbTypedPointer(&target, type)));
    return target;
}

TEST(ZbRawDataDownSample, sumsExactlyAndRoundsHalvesAwayFromZero)
{
    EXPECT_EQ(meanOfAll<unsigned char>({2, 3}), 3);
    EXPECT_EQ(meanOfAll<short>({-2, -3}), -3);
    EXPECT_EQ(meanOfAll<int>({-2, -3, -2}), -2);
    EXPECT_EQ(meanOfAll<int>({INT_MIN, INT_MIN, INT_MIN}), INT_MIN);
    EXPECT_EQ(meanOfAll<unsigned long long>({ULLONG_MAX, ULLONG_MAX, ULLONG_MAX - 1}), ULLONG_MAX);
    // Boxes on both sides of what a sum of 32 bits holds.
    for (const size_t count : {32767u, 32768u, 70000u}) {
        EXPECT_EQ(meanOfAll(std::vector<unsigned short>(count, 65535)), 65535);
        EXPECT_EQ(meanOfAll(std::vector<short>(count, -32768)), -32768);
    }
}

TEST(ZbRawDataDownSample, treatsNansPartsAndUnknownTypes)
{
    const int dims[] = {4, 1, 1}, two[] = {2, 1, 1}, zero[] = {2, 0, 1};
    float values[] = {NAN, -1, NAN, NAN}, largest[2];
    ASSERT_TRUE(ZbRawData::downSampleMaxFilterComponents3DN(values, dims, 1, two, largest));
    EXPECT_EQ(largest[0], -1);
    EXPECT_TRUE(std::isnan(largest[1]));

    std::complex<float> complex[] = {{1, 2}, {3, 6}, {5, 8}, {5, 8}}, mean[2];
    const ZbTypedPointer from(complex, ZbPrimType::COMPLEX), to(mean, ZbPrimType::COMPLEX);
    ASSERT_TRUE(ZbRawData::downSample3D(from, dims, 1, two, to));
    EXPECT_EQ(mean[0], std::complex<float>(2, 4));

    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(ZbRawData::downSampleMaxFilterComponents3DN(from, dims, 1, two, to));
    EXPECT_FALSE(ZbRawData::downSampleLabels3D(values, dims, two, largest));
    const ZbTypedPointer unknown(complex, ZbPrimType(12));
    EXPECT_FALSE(ZbRawData::downSampleLabels3D(unknown, dims, two, to));
    EXPECT_FALSE(ZbRawData::downSample3DN(unknown, dims, 1, two, to));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "Unsupported data type complex in ZbRawData::downSampleMaxFilterComponents3DN()\n"
              "Unsupported data type float in ZbRawData::downSampleLabels3D()\n"
              "Unsupported data type unknown in ZbRawData::downSampleLabels3D()\n"
              "Unsupported data type unknown in ZbRawData::downSample3DN()\n");
    EXPECT_FALSE(ZbRawData::downSample3D(from, dims, 1, zero, to));
    EXPECT_EQ(mean[0], std::complex<float>(2, 4));
}

}  // namespace
