#include "VolumeFiles.h"
#include "ZbvolumeProcess.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>

namespace
{

// Two frames of 4 x 3 x 2 voxels; the second is the first plus 1000.
std::vector<short> seriesValues()
{
    std::vector<short> values(48);
    for (std::size_t i = 0; i < values.size(); i++)
        values[i] = short(i < 24 ? 300 - 7 * int(i) : 1300 - 7 * int(i - 24));
    return values;
}

struct FormatCase {
    const char* name;
    const char* format;  // as shown
    const char* file;    // as given to the program
    int version = 1;
    bool isBigEndian = false;
    const char* header = nullptr;  // of a pair: the files that are written
    const char* image = nullptr;
    friend void PrintTo(const FormatCase& c, std::ostream* out) { *out << c.name; }
};

const FormatCase formatCases[] = {
    {"nifti1", "NIfTI-1, little-endian", "v.nii"},
    {"nifti1BigEndian", "NIfTI-1, big-endian", "v.nii", 1, true},
    {"nifti2", "NIfTI-2, little-endian", "v.nii", 2},
    {"nifti2BigEndian", "NIfTI-2, big-endian", "v.nii", 2, true},
    {"compressed", "NIfTI-1, little-endian, compressed", "v.nii.gz"},
    {"compressedWithPlainName", "NIfTI-2, big-endian, compressed", "v.nii", 2, true, "v.nii.gz"},
    {"pairByHeader", "NIfTI-1 pair, little-endian", "v.hdr", 1, false, "v.hdr", "v.img"},
    {"pairByImage", "NIfTI-2 pair, big-endian", "v.img", 2, true, "v.hdr", "v.img"},
    {"compressedPair", "NIfTI-1 pair, big-endian, compressed", "v.hdr.gz", 1, true, "v.hdr.gz", "v.img.gz"},
    {"halfCompressedPair", "NIfTI-1 pair, little-endian, compressed", "v.img.gz", 1, false, "v.hdr",
     "v.img.gz"},
};

class ZbvolumeFormat : public ZbvolumeTest, public ::testing::WithParamInterface<FormatCase>
{
protected:
    void write(const std::string& name, const std::string& bytes)
    {
        const bool isCompressed = name.size() > 3 && name.substr(name.size() - 3) == ".gz";
        writeFile(path(name), isCompressed ? compressed(bytes, path("scratch")) : bytes);
    }
};

}  // namespace

TEST_P(ZbvolumeFormat, isRead)
{
    const FormatCase& c = GetParam();
    NiftiLayout layout{.dims = {4, 3, 2, 2}, .version = c.version, .isBigEndian = c.isBigEndian};
    layout.slope = 0.5;
    layout.offset = -1024;
    layout.spacing = 2;
    const std::string voxels = bytesOf(seriesValues(), c.isBigEndian);
    if (c.image != nullptr) {
        write(c.header, headerOf(layout, false));
        write(c.image, voxels);
    } else {
        write(c.header != nullptr ? c.header : c.file, headerOf(layout) + voxels);
        if (c.header != nullptr)
            std::rename(path(c.header).c_str(), path(c.file).c_str());
    }
    for (const int frame : {0, 1}) {
        const Outcome outcome = zbvolume({"info", c.file, "--frame", std::to_string(frame)});
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(outcome.value("format"), c.format);
        EXPECT_EQ(outcome.value("type"), "short");
        EXPECT_EQ(outcome.value("size"), "4 x 3 x 2");
        EXPECT_EQ(outcome.value("frames"), "2");
        EXPECT_EQ(outcome.value("spacing"), "2 x 2 x 2 mm");
        EXPECT_EQ(outcome.value("slope"), "0.5");
        EXPECT_EQ(outcome.value("offset"), "-1024");
        EXPECT_EQ(outcome.value("range"), frame == 0 ? "139 300" : "1139 1300");
        EXPECT_EQ(outcome.value("mean"), frame == 0 ? "219.5" : "1219.5");
        EXPECT_EQ(outcome.value("median"), frame == 0 ? "219.5" : "1219.5");
        EXPECT_EQ(outcome.value("deviation"), "48.45531");  // 7 * sqrt((24^2 - 1) / 12)
    }
}
INSTANTIATE_TEST_SUITE_P(All, ZbvolumeFormat, ::testing::ValuesIn(formatCases),
                         [](const auto& test) { return test.param.name; });

using ZbvolumeInfo = ZbvolumeTest;

TEST_F(ZbvolumeInfo, readsRawFilesOfEitherByteOrderBehindAnOffset)
{
    const std::vector<unsigned short> values = {1, 2, 60000, 4, 5, 6};
    for (const bool isBigEndian : {false, true}) {
        writeFile(path("v.raw"), "12345" + bytesOf(values, isBigEndian) + "rest");
        std::vector<std::string> arguments = {"info", "v.raw",  "--raw",  "3", "2",
                                              "1",    "ushort", "--skip", "5"};
        if (isBigEndian)
            arguments.push_back("--big-endian");
        const Outcome outcome = zbvolume(arguments);
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(outcome.value("size"), "3 x 2 x 1");
        EXPECT_EQ(outcome.value("range"), "1 60000");
        EXPECT_EQ(outcome.value("median"), "4.5");
        EXPECT_EQ(outcome.value("spacing"), "no spacing");
    }
}

TEST_F(ZbvolumeInfo, followsTheTransformAndTheUnitOfTheHeader)
{
    nifti_1_header header = {};
    std::memcpy(&header, headerOf({.dims = {2, 2, 2}, .spacing = 500}).data(), sizeof header);
    header.xyzt_units = NIFTI_UNITS_MICRON;
    header.sform_code = 1;
    const float rows[3][4] = {{0, 500, 0, 1000}, {-500, 0, 0, 2000}, {0, 0, 500, -3000}};
    std::memcpy(header.srow_x, rows, sizeof rows);
    writeFile(path("v.nii"), std::string(reinterpret_cast<const char*>(&header), sizeof header) +
                                 std::string(4, '\0') + bytesOf<short>({0, 9, 0, 0, 0, 9, 0, 0}));
    EXPECT_EQ(zbvolume({"info", "v.nii"}).value("spacing"), "0.5 x 0.5 x 0.5 mm");
    EXPECT_EQ(zbvolume({"info", "v.nii"}).value("origin"), "1 2 -3 mm");
    // The object is at x = 1, y = 0, z from 0 to 1 of the grid.
    const auto object =
        zbvolume({"count", "v.nii", "--threshold", "9", "--json"}).json()["table"].toArray()[0].toObject();
    EXPECT_EQ(object["x"].toDouble(), 1);
    EXPECT_EQ(object["z"].toDouble(), 0.5);
    EXPECT_DOUBLE_EQ(object["x_mm"].toDouble(), 1);
    EXPECT_DOUBLE_EQ(object["y_mm"].toDouble(), 1.5);
    EXPECT_DOUBLE_EQ(object["z_mm"].toDouble(), -2.75);
    EXPECT_DOUBLE_EQ(object["volume_mm3"].toDouble(), 0.25);
}

namespace
{

// The figures of values that are finite, the slow way.
struct Expected {
    double minimum, maximum, mean, median, deviation;

    template <typename T>
    explicit Expected(std::vector<T> values)
    {
        std::erase_if(values, [](T value) { return !std::isfinite(double(value)); });
        std::sort(values.begin(), values.end());
        minimum = double(values.front());
        maximum = double(values.back());
        long double sum = 0;
        for (const T value : values)
            sum += (long double)value;
        const long double exactMean = sum / (long double)values.size();
        long double squares = 0;
        for (const T value : values)
            squares += ((long double)value - exactMean) * ((long double)value - exactMean);
        mean = double(exactMean);
        deviation = double(sqrtl(squares / (long double)values.size()));
        const std::size_t middle = values.size() / 2;
        median = values.size() % 2 != 0 ? double(values[middle])
                                        : (double(values[middle - 1]) + double(values[middle])) / 2;
    }
};

template <typename T>
class ZbvolumeStatistics : public ZbvolumeTest
{
};
using VoxelTypes = ::testing::Types<unsigned char, signed char, short, unsigned short, int, unsigned int,
                                    long long, unsigned long long, float, double>;
TYPED_TEST_SUITE(ZbvolumeStatistics, VoxelTypes);

}  // namespace

TYPED_TEST(ZbvolumeStatistics, areExactForRandomVolumes)
{
    std::mt19937_64 random(11);
    for (const int size : {1, 2, 35, 36}) {
        SCOPED_TRACE(size);
        std::vector<TypeParam> values;
        const bool isWide = sizeof(TypeParam) == 8 && std::is_integral_v<TypeParam>;
        for (int i = 0; i < size * 100; i++) {
            const auto bits = random();
            if constexpr (std::is_floating_point_v<TypeParam>)
                values.push_back(TypeParam(double(std::int64_t(bits)) * 1e-15));
            else if (isWide)
                values.push_back(TypeParam(std::int64_t(bits >> 12) -
                                           (std::is_signed_v<TypeParam> ? std::int64_t(1) << 51 : 0)));
            else
                values.push_back(TypeParam(bits));
        }
        if (std::is_floating_point_v<TypeParam>) {
            values[3] = std::numeric_limits<TypeParam>::quiet_NaN();
            values[5] = std::numeric_limits<TypeParam>::infinity();
            values[6] = -std::numeric_limits<TypeParam>::infinity();
            values[8] = TypeParam(-0.0);
        }
        writeVolume<TypeParam>(this->path("v.nii"), {size, 50, 2}, values);
        const Expected expected(values);
        const QJsonObject json = this->zbvolume({"info", "v.nii", "--json"}).json();
        const auto near = [](const QJsonValue& actual, double value) {
            return std::abs(actual.toDouble() - value) <= 1e-6 * std::abs(value) + 1e-9;
        };
        EXPECT_EQ(TypeParam(json["range"].toArray()[0].toDouble()), TypeParam(expected.minimum));
        EXPECT_EQ(TypeParam(json["range"].toArray()[1].toDouble()), TypeParam(expected.maximum));
        EXPECT_PRED2(near, json["mean"], expected.mean);
        EXPECT_PRED2(near, json["median"], expected.median);
        EXPECT_PRED2(near, json["deviation"], expected.deviation);
        if (std::is_floating_point_v<TypeParam>) {
            EXPECT_EQ(json["nan"].toInt(), 1);
            EXPECT_EQ(json["infinite"].toInt(), 2);
        }
    }
}

TEST_F(ZbvolumeInfo, tellsWhenNothingIsFinite)
{
    const float infinity = std::numeric_limits<float>::infinity();
    writeVolume<float>(path("v.nii"), {3, 1, 1}, {infinity, std::nanf(""), infinity});
    const Outcome outcome = zbvolume({"info", "v.nii"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.value("range"), "none");
    EXPECT_EQ(outcome.value("nan"), "1");
    EXPECT_EQ(outcome.value("infinite"), "2");
}

TEST_F(ZbvolumeInfo, takesValuesWhoseSumAndRangeNoDoubleHolds)
{
    writeVolume<double>(path("v.nii"), {4, 1, 1}, {1.5e308, 1.5e308, -1.5e308, 1.5e308});
    const Outcome outcome = zbvolume({"info", "v.nii"});
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.value("mean"), "7.5e+307");
    EXPECT_EQ(outcome.value("median"), "1.5e+308");
    EXPECT_EQ(outcome.value("deviation"), "1.299038e+308");  // 1.5e308 * sqrt(3) / 2
}

TEST_F(ZbvolumeInfo, showsTheSameAsTextAndAsJson)
{
    writeVolume<float>(path("v.nii"), {4, 1, 1}, {0.1F, 0.7F, -3.25e-5F, 12});
    EXPECT_EQ(zbvolume({"info", "v.nii"}).out, R"(file: v.nii
format: NIfTI-1, little-endian
type: float
size: 4 x 1 x 1
voxels: 4
spacing: 1 x 1 x 1 mm
origin: 0 0 0 mm
slope: 1
offset: 0
range: -3.25e-05 12
mean: 3.199992
median: 0.4
deviation: 5.087735

       from  voxels       %  (bars are logarithmic)
  -3.25e-05       3   75.00  ##############################################
  0.7499695       0    0.00
   1.499972       0    0.00
   2.249974       0    0.00
   2.999976       0    0.00
   3.749978       0    0.00
    4.49998       0    0.00
   5.249982       0    0.00
   5.999984       0    0.00
   6.749986       0    0.00
   7.499988       0    0.00
    8.24999       0    0.00
   8.999992       0    0.00
   9.749994       0    0.00
       10.5       0    0.00
      11.25       1   25.00  ##################
)");
    const QJsonObject json = zbvolume({"info", "v.nii", "--json"}).json();
    EXPECT_EQ(json["range"].toArray(), QJsonArray({-3.25e-05, 12}));
    EXPECT_EQ(json["median"].toDouble(), 0.4);
    EXPECT_EQ(json["size"].toArray(), QJsonArray({4, 1, 1}));
    EXPECT_EQ(json["histogram"].toArray()[15].toObject()["count"].toInt(), 1);
}
