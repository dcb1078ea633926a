#include "VolumeFiles.h"
#include "ZbvolumeProcess.h"

#include <zblib/types/ZbPrimTypeVisit.h>

#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <set>

namespace
{

struct Grid {
    std::array<int, 3> dims;
    std::vector<double> values;

    long index(int x, int y, int z) const { return x + dims[0] * (y + long(dims[1]) * z); }
    std::vector<std::int64_t> sizes() const { return {dims[0], dims[1], dims[2]}; }
};

Grid randomGrid(std::array<int, 3> dims, int values, unsigned seed)
{
    std::mt19937 random(seed);
    Grid grid{dims, std::vector<double>(std::size_t(dims[0]) * std::size_t(dims[1]) * std::size_t(dims[2]))};
    for (double& value : grid.values)
        value = double(random() % unsigned(values));
    return grid;
}

template <typename T>
std::vector<T> as(const Grid& grid)
{
    return std::vector<T>(grid.values.begin(), grid.values.end());
}

// Whether two voxels this far apart touch: neighbours are given by how many of the three steps may differ
// from 0, and whether slices count.
bool touch(int neighbours, int dx, int dy, int dz)
{
    const int steps = std::abs(dx) + std::abs(dy) + std::abs(dz);
    switch (neighbours) {
    case 4:
        return dz == 0 && steps == 1;
    case 8:
        return dz == 0 && steps >= 1;
    case 10:
        return (dz == 0 && steps >= 1) || (dz != 0 && steps == 1);
    default:
        return steps >= 1 && steps <= (neighbours == 6 ? 1 : neighbours == 18 ? 2 : 3);
    }
}

struct Object {
    std::vector<long> voxels;  // in raster order
    int strong = 0;
};

// Objects by flood fill, in raster order of their first voxels.
std::vector<Object> floodFill(const Grid& grid, int neighbours, double low, double high, bool byValue)
{
    std::vector<Object> objects;
    std::vector<bool> seen(grid.values.size());
    for (long start = 0; start < long(grid.values.size()); start++) {
        if (seen[std::size_t(start)] || grid.values[std::size_t(start)] < low)
            continue;
        Object object;
        std::vector<long> open = {start};
        seen[std::size_t(start)] = true;
        while (!open.empty()) {
            const long at = open.back();
            open.pop_back();
            object.voxels.push_back(at);
            object.strong += grid.values[std::size_t(at)] >= high;
            const int x = int(at % grid.dims[0]);
            const int y = int(at / grid.dims[0] % grid.dims[1]);
            const int z = int(at / grid.dims[0] / grid.dims[1]);
            for (int k = std::max(0, z - 1); k <= std::min(grid.dims[2] - 1, z + 1); k++)
                for (int j = std::max(0, y - 1); j <= std::min(grid.dims[1] - 1, y + 1); j++)
                    for (int i = std::max(0, x - 1); i <= std::min(grid.dims[0] - 1, x + 1); i++) {
                        const auto next = std::size_t(grid.index(i, j, k));
                        if (!seen[next] && grid.values[next] >= low &&
                            touch(neighbours, i - x, j - y, k - z) &&
                            (!byValue || grid.values[next] == grid.values[std::size_t(at)])) {
                            seen[next] = true;
                            open.push_back(long(next));
                        }
                    }
        }
        std::sort(object.voxels.begin(), object.voxels.end());
        objects.push_back(object);
    }
    return objects;
}

void keepLargestFirst(std::vector<Object>& objects, std::size_t minSize, bool needsStrong)
{
    std::erase_if(objects, [&](const Object& object) {
        return object.voxels.size() < minSize || (needsStrong && object.strong == 0);
    });
    std::stable_sort(objects.begin(), objects.end(),
                     [](const Object& a, const Object& b) { return a.voxels.size() > b.voxels.size(); });
}

class ZbvolumeCount : public ZbvolumeTest
{
protected:
    // The labels in a file, as niftiio reads them.
    std::vector<int> labels(const std::string& name, int datatype)
    {
        const std::unique_ptr<nifti_image, decltype(&nifti_image_free)> image(
            nifti_image_read(path(name).c_str(), 1), &nifti_image_free);
        if (!image) {
            ADD_FAILURE() << name << " cannot be read";
            return {};
        }
        EXPECT_EQ(image->datatype, datatype);
        EXPECT_EQ(image->scl_slope, 1);
        std::vector<int> result;
        for (std::int64_t i = 0; i < image->nvox; i++)
            result.push_back(datatype == DT_UINT8    ? static_cast<unsigned char*>(image->data)[i]
                             : datatype == DT_UINT16 ? static_cast<unsigned short*>(image->data)[i]
                                                     : static_cast<int*>(image->data)[i]);
        return result;
    }

    // Compares the JSON table and the labels with the objects that are expected, voxel by voxel.
    void expectObjects(const Grid& grid, const std::vector<Object>& expected, const QJsonObject& json,
                       const std::vector<int>& found)
    {
        EXPECT_EQ(json["objects"].toInt(), int(expected.size()));
        const QJsonArray table = json["table"].toArray();
        ASSERT_EQ(table.size(), int(expected.size()));
        std::vector<int> wanted(grid.values.size());
        for (std::size_t i = 0; i < expected.size(); i++) {
            const QJsonObject row = table[int(i)].toObject();
            std::array<double, 3> sum{};
            std::array<int, 3> low = grid.dims;
            std::array<int, 3> high{};
            for (const long voxel : expected[i].voxels) {
                const std::array<int, 3> at = {int(voxel % grid.dims[0]),
                                               int(voxel / grid.dims[0] % grid.dims[1]),
                                               int(voxel / grid.dims[0] / grid.dims[1])};
                for (std::size_t k = 0; k < 3; k++) {
                    sum[k] += at[k];
                    low[k] = std::min(low[k], at[k]);
                    high[k] = std::max(high[k], at[k]);
                }
                wanted[std::size_t(voxel)] = int(i) + 1;
            }
            const auto size = double(expected[i].voxels.size());
            EXPECT_EQ(row["object"].toInt(), int(i) + 1);
            EXPECT_EQ(row["voxels"].toDouble(), size);
            const char* names[] = {"x", "y", "z"};
            for (std::size_t k = 0; k < 3; k++) {
                EXPECT_DOUBLE_EQ(row[names[k]].toDouble(), sum[k] / size);
                EXPECT_EQ(row[QString(names[k]) + "_min"].toInt(), low[k]);
                EXPECT_EQ(row[QString(names[k]) + "_max"].toInt(), high[k]);
            }
            EXPECT_EQ(row["strong"].toInt(expected[i].strong), expected[i].strong);
        }
        EXPECT_EQ(found, wanted);
    }
};

}  // namespace

class ZbvolumeNeighbourhood : public ZbvolumeCount, public ::testing::WithParamInterface<int>
{
};

TEST_P(ZbvolumeNeighbourhood, findsTheObjectsOfAFloodFill)
{
    const std::string neighbours = std::to_string(GetParam());
    // From specks to one sponge, and for that in one slice and one row.
    for (const auto& [dims, low] : {std::pair(std::array{33, 20, 9}, 8), std::pair(std::array{33, 20, 9}, 6),
                                    std::pair(std::array{16, 17, 5}, 4), std::pair(std::array{40, 37, 1}, 5),
                                    std::pair(std::array{97, 1, 1}, 5)}) {
        SCOPED_TRACE(low);
        const Grid grid = randomGrid(dims, 10, unsigned(low));
        writeVolume(path("v.nii"), grid.sizes(), as<unsigned char>(grid));
        std::vector<Object> expected = floodFill(grid, GetParam(), low, low, false);
        keepLargestFirst(expected, 1, false);
        const Outcome outcome = zbvolume({"count", "v.nii", "--threshold", std::to_string(low),
                                          "--neighbours", neighbours, "--labels", "l.nii.gz", "--json"});
        EXPECT_EQ(outcome.err, "");
        expectObjects(grid, expected, outcome.json(),
                      labels("l.nii.gz", expected.size() <= 255 ? DT_UINT8 : DT_UINT16));
    }
}
INSTANTIATE_TEST_SUITE_P(All, ZbvolumeNeighbourhood, ::testing::Values(4, 6, 8, 10, 18, 26));

TEST_F(ZbvolumeCount, keepsStrongAndLargeObjectsAndNumbersThemAnew)
{
    const Grid grid = randomGrid({40, 30, 6}, 100, 3);
    writeVolume(path("v.nii"), grid.sizes(), as<short>(grid));
    std::vector<Object> expected = floodFill(grid, 6, 80, 97, false);
    const auto all = expected.size();
    keepLargestFirst(expected, 3, true);
    const QJsonObject json = zbvolume({"count", "v.nii", "--threshold", "80", "--strong", "97",
                                       "--neighbours", "6", "--min-size", "3", "--labels", "l.hdr", "--json"})
                                 .json();
    expectObjects(grid, expected, json, labels("l.hdr", DT_UINT8));
    EXPECT_EQ(expected.size() + std::size_t(json["too_small"].toInt() + json["too_weak"].toInt()), all);
    EXPECT_EQ(files(), (std::vector<std::string>{"l.hdr", "l.img", "v.nii"}));
}

TEST_F(ZbvolumeCount, separatesTouchingLabelsByValue)
{
    const Grid grid = randomGrid({12, 11, 7}, 3, 5);
    for (const double low : {0.0, 1.0}) {
        std::vector<Object> expected = floodFill(grid, 18, low, low, true);
        keepLargestFirst(expected, 1, false);
        writeVolume(path("v.nii"), grid.sizes(), as<float>(grid));
        std::vector<std::string> arguments = {"count", "v.nii",  "--by-value", "--neighbours",
                                              "18",    "--json", "--labels",   "l.nii"};
        if (low == 0)
            arguments.insert(arguments.end(), {"--threshold", "0"});
        const QJsonObject json = zbvolume(arguments).json();
        expectObjects(grid, expected, json, labels("l.nii", expected.size() <= 255 ? DT_UINT8 : DT_UINT16));
        for (std::size_t i = 0; i < expected.size(); i++)
            EXPECT_EQ(json["table"].toArray()[int(i)].toObject()["value"].toDouble(),
                      grid.values[std::size_t(expected[i].voxels.front())]);
    }
}

TEST_F(ZbvolumeCount, writesLabelsAsWideAsTheirNumberNeeds)
{
    // Every second voxel of a row is an object of its own, and slices do not touch.
    for (const auto& [count, datatype] : {std::pair(255, DT_UINT8), std::pair(256, DT_UINT16),
                                          std::pair(65535, DT_UINT16), std::pair(65536, DT_INT32)}) {
        SCOPED_TRACE(count);
        const int slices = (count + 255) / 256;
        std::vector<unsigned char> values(std::size_t(512 * slices));
        for (int i = 0; i < count; i++)
            values[std::size_t(2 * i)] = 1;
        writeVolume(path("v.nii"), {512, 1, slices}, values);
        const Outcome outcome =
            zbvolume({"count", "v.nii", "--threshold", "1", "--neighbours", "4", "--labels", "l.nii"});
        EXPECT_EQ(outcome.err, "");
        const std::vector<int> found = labels("l.nii", datatype);
        ASSERT_EQ(found.size(), values.size());
        for (int i = 0; i < count; i++)
            ASSERT_EQ(found[std::size_t(2 * i)], i + 1);
    }
}

namespace
{

struct ThresholdCase {
    const char* name;
    ZbPrimType::Type type;
    const char* threshold;
    int objects;
    friend void PrintTo(const ThresholdCase& c, std::ostream* out) { *out << c.name; }
};

// The volume is a row of 0 1 0 2 0 100 0 127 0 in each type.
const ThresholdCase thresholdCases[] = {
    {"below", ZbPrimType::BYTE, "-7", 1},
    {"fractionIsRoundedUp", ZbPrimType::BYTE, "1.2", 3},
    {"fractionIsRoundedUpToNone", ZbPrimType::SHORT, "127.01", 0},
    {"equal", ZbPrimType::UINT, "100", 2},
    {"beyondTheType", ZbPrimType::BYTE, "256", 0},
    {"farBeyondTheType", ZbPrimType::INT, "1e300", 0},
    {"farBelowTheType", ZbPrimType::FLOAT, "-1e300", 1},
    {"signedByte", ZbPrimType::SBYTE, "127", 1},
    {"signedByteBeyond", ZbPrimType::SBYTE, "128", 0},
    {"int64", ZbPrimType::INT64, "1.5", 3},
    {"uint64", ZbPrimType::UINT64, "100", 2},
    {"float", ZbPrimType::FLOAT, "99.5", 2},
    {"double", ZbPrimType::DOUBLE, "1e-300", 4},
};

class ZbvolumeThreshold : public ZbvolumeTest, public ::testing::WithParamInterface<ThresholdCase>
{
};

}  // namespace

TEST_P(ZbvolumeThreshold, meansAtOrAboveForEveryType)
{
    const Grid grid{{9, 1, 1}, {0, 1, 0, 2, 0, 100, 0, 127, 0}};
    zbVisitPrimType<unsigned char, signed char, short, int, unsigned int, long long, unsigned long long,
                    float, double>(GetParam().type, [&](auto tag) {
        writeVolume(path("v.nii"), grid.sizes(), as<typename decltype(tag)::Type>(grid));
    });
    const std::string threshold = GetParam().threshold;
    const std::string expected = std::to_string(GetParam().objects);
    EXPECT_EQ(zbvolume({"count", "v.nii", "--threshold", threshold}).value("objects"), expected);
    EXPECT_EQ(zbvolume({"count", "v.nii", "--threshold", "-1e301", "--strong", threshold}).value("objects"),
              GetParam().objects > 0 ? "1" : "0");
}
INSTANTIATE_TEST_SUITE_P(All, ZbvolumeThreshold, ::testing::ValuesIn(thresholdCases),
                         [](const auto& test) { return test.param.name; });

TEST_F(ZbvolumeCount, comparesFloatsAsTheyAreShown)
{
    writeVolume<float>(path("v.nii"), {3, 1, 1}, {0.7F, 0, 0.1F});
    EXPECT_EQ(zbvolume({"count", "v.nii", "--threshold", "0.7"}).value("objects"), "1");
    EXPECT_EQ(zbvolume({"count", "v.nii", "--threshold", "0.1"}).value("objects"), "2");
}

TEST_F(ZbvolumeCount, asksWhatToDoWithNan)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    writeVolume<float>(path("v.nii"), {5, 1, 1}, {1, nan, 1, 0, nan});
    const Outcome refused = zbvolume({"count", "v.nii", "--threshold", "1"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err,
              "zbvolume: v.nii: has 2 voxels that are not a number; --nan-background takes them as "
              "background\n");
    EXPECT_EQ(zbvolume({"count", "v.nii", "--threshold", "1", "--nan-background"}).value("objects"), "2");
}

TEST_F(ZbvolumeCount, showsTheRasterPassBesideTheTrueRegions)
{
    // Near the density at which everything connects, chains of merged labels get longer than that pass follows.
    const Grid grid = randomGrid({64, 64, 24}, 100, 17);
    writeVolume(path("v.nii"), grid.sizes(), as<unsigned char>(grid));
    const auto run = [&](std::vector<std::string> extra) {
        std::vector<std::string> arguments = {"count",        "v.nii", "--threshold", "68",
                                              "--neighbours", "6",     "--json"};
        arguments.insert(arguments.end(), extra.begin(), extra.end());
        return zbvolume(arguments).json();
    };
    const QJsonObject exact = run({});
    const QJsonObject given = run({"--raster-pass"});
    EXPECT_GT(given["objects"].toInt(), exact["objects"].toInt());
    EXPECT_LT(given["voxels"].toInt(), exact["voxels"].toInt());
    EXPECT_FALSE(given["table"].toArray()[0].toObject().contains("x_min"));
}

TEST_F(ZbvolumeCount, printsLinesThenTheTable)
{
    writeVolume<short>(path("v.nii"), {5, 2, 1}, {7, 0, 0, 9, 9, 0, 0, 0, 0, 9}, {.spacing = 2});
    EXPECT_EQ(zbvolume({"count", "v.nii", "--threshold", "7", "--strong", "9", "--csv", "t.csv"}).out,
              R"(objects: 1
voxels: 3
percent: 30
threshold: 7
strong: 9
neighbours: 26
too weak: 1
written: t.csv

  object  voxels  mm^3  strong     x     y     z  x mm  y mm  z mm  x min  y min  z min  x max  y max  z max
       1       3  24.0       3  3.67  0.33  0.00  7.33  0.67  0.00      3      0      0      4      1      0
)");
    EXPECT_EQ(readFile(path("t.csv")),
              "object,voxels,volume_mm3,strong,x,y,z,x_mm,y_mm,z_mm,x_min,y_min,z_min,x_max,y_max,z_max\n"
              "1,3,24,3,3.6666666666666665,0.3333333333333333,0,7.333333333333333,0.6666666666666666,0,3,0,0,"
              "4,1,0\n");
}

TEST_F(ZbvolumeCount, labelsLieInTheSpaceOfTheVolume)
{
    nifti_1_header header = {};
    const NiftiLayout layout{.dims = {2, 2, 2, 3}, .slope = 3, .offset = 5, .spacing = 1.5};
    std::memcpy(&header, headerOf(layout).data(), sizeof header);
    header.qform_code = 1;
    header.quatern_d = 1;  // half a turn around z
    header.qoffset_x = 40;
    header.intent_code = NIFTI_INTENT_TTEST;
    header.cal_max = 99;
    writeFile(path("v.nii"), std::string(reinterpret_cast<const char*>(&header), sizeof header) +
                                 std::string(4, '\0') + bytesOf(std::vector<short>(24, 4)));
    ASSERT_EQ(zbvolume({"count", "v.nii", "--frame", "2", "--threshold", "1", "--labels", "l.nii"}).err, "");
    const std::unique_ptr<nifti_image, decltype(&nifti_image_free)> image(
        nifti_image_read(path("l.nii").c_str(), 1), &nifti_image_free);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->ndim, 3);
    EXPECT_EQ(image->nvox, 8);
    EXPECT_EQ(image->qform_code, 1);
    EXPECT_NEAR(image->qto_xyz.m[0][0], -1.5, 1e-6);
    EXPECT_EQ(image->qto_xyz.m[0][3], 40);
    EXPECT_EQ(image->intent_code, NIFTI_INTENT_NONE);
    EXPECT_EQ(image->cal_max, 0);
    EXPECT_EQ(image->scl_inter, 0);
}
