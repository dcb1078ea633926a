#include "VolumeFiles.h"
#include "ZbvolumeProcess.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <random>

// The commands that make a volume of a volume.

namespace
{

using Index = std::array<int, 3>;
using Image = std::unique_ptr<nifti_image, decltype(&nifti_image_free)>;

const Index sizes = {7, 5, 4};

long at(const Index& dims, int x, int y, int z)
{
    return x + dims[0] * (y + long(dims[1]) * z);
}

void forEach(const Index& dims, const std::function<void(const Index&)>& visit)
{
    for (int z = 0; z < dims[2]; z++)
        for (int y = 0; y < dims[1]; y++)
            for (int x = 0; x < dims[0]; x++)
                visit({x, y, z});
}

class ZbvolumeResult : public ZbvolumeTest
{
protected:
    Image read(const std::string& name) const
    {
        return {nifti_image_read(path(name).c_str(), 1), &nifti_image_free};
    }

    template <typename T>
    std::vector<T> voxels(const std::string& name) const
    {
        const Image image = read(name);
        if (!image || image->datatype != datatypeOf(ZbPrimType(static_cast<T*>(nullptr)))) {
            ADD_FAILURE() << name << " has another type";
            return {};
        }
        const T* values = static_cast<T*>(image->data);
        return std::vector<T>(values, values + image->nvox);
    }

    // Random values below limit, as v.nii.
    template <typename T>
    std::vector<T> writeRandom(unsigned limit)
    {
        std::mt19937 random(5);
        std::vector<T> values(std::size_t(sizes[0] * sizes[1] * sizes[2]));
        for (T& value : values)
            value = T(random() % limit);
        writeVolume(path("v.nii"), {sizes[0], sizes[1], sizes[2]}, values);
        return values;
    }
};

struct GridCase {
    const char* name;
    std::vector<std::string> arguments;
    Index dims;
    // Index i along new axis k is start[k] + step[k] * i along the old axis axes[k].
    Index axes;
    std::array<double, 3> start, step;
    friend void PrintTo(const GridCase& c, std::ostream* out) { *out << c.name; }
};

const GridCase gridCases[] = {
    {"crop",
     {"crop", "--from", "2", "-1", "1", "--to", "4", "3", "5"},
     {3, 5, 5},
     {0, 1, 2},
     {2, -1, 1},
     {1, 1, 1}},
    {"permute", {"permute", "--order", "2", "0", "1"}, {4, 7, 5}, {2, 0, 1}, {0, 0, 0}, {1, 1, 1}},
    {"mirrored", {"permute", "--order", "1", "0", "2"}, {5, 7, 4}, {1, 0, 2}, {0, 0, 0}, {1, 1, 1}},
    {"enlarged",
     {"resample", "--factor", "2"},
     {14, 10, 8},
     {0, 1, 2},
     {-0.25, -0.25, -0.25},
     {0.5, 0.5, 0.5}},
    {"sized", {"resample", "--size", "14", "1", "4"}, {14, 1, 4}, {0, 1, 2}, {-0.25, 2, 0}, {0.5, 5, 1}},
    {"eroded", {"erode", "--threshold", "1"}, {7, 5, 4}, {0, 1, 2}, {0, 0, 0}, {1, 1, 1}},
};

class ZbvolumeGrid : public ZbvolumeResult, public ::testing::WithParamInterface<GridCase>
{
};

}  // namespace

TEST_P(ZbvolumeGrid, staysInItsPlaceWhateverTheHeaderPlacesItBy)
{
    const GridCase& c = GetParam();
    for (const auto& [qform, sform] : {std::pair(1, 2), std::pair(3, 0), std::pair(0, 4), std::pair(0, 0)}) {
        SCOPED_TRACE(::testing::Message() << "qform " << qform << ", sform " << sform);
        nifti_1_header header = {};
        const NiftiLayout layout{.dims = {7, 5, 4}, .slope = 2, .offset = -9};
        std::memcpy(&header, headerOf(layout).data(), sizeof header);
        const float steps[3] = {0.5F, 0.75F, 2};
        std::copy(std::begin(steps), std::end(steps), header.pixdim + 1);
        header.pixdim[0] = -1;
        header.qform_code = short(qform);
        header.quatern_b = 0.5F, header.quatern_c = -0.1F, header.quatern_d = 0.3F;
        header.qoffset_x = 40, header.qoffset_y = -7, header.qoffset_z = 11;
        header.sform_code = short(sform);
        const float rows[3][4] = {{0.1F, 0.6F, 0.2F, 5}, {-0.5F, 0.1F, 0, 6}, {0, -0.2F, 1.9F, 7}};
        std::memcpy(header.srow_x, rows, sizeof rows);
        header.dim_info = char(FPS_INTO_DIM_INFO(1, 2, 3));
        writeFile(path("v.nii"), std::string(reinterpret_cast<const char*>(&header), sizeof header) +
                                     std::string(4, '\0') + bytesOf(std::vector<short>(140, 4)));

        std::vector<std::string> arguments = c.arguments;
        arguments.insert(arguments.end(), {"v.nii", "-o", "o.nii"});
        ASSERT_EQ(zbvolume(arguments).err, "");
        const Image before = read("v.nii");
        const Image after = read("o.nii");
        ASSERT_TRUE(before && after);
        EXPECT_EQ(after->qform_code, qform);
        const double* newSteps[3] = {&after->dx, &after->dy, &after->dz};
        for (std::size_t k = 0; k < 3; k++) {
            EXPECT_EQ(after->dim[k + 1], c.dims[k]);
            EXPECT_NEAR(*newSteps[k], double(steps[c.axes[k]]) * c.step[k], 1e-6);
        }
        const bool isMask = c.arguments[0] == "erode";
        EXPECT_EQ(after->scl_slope, isMask ? 1 : 2);
        EXPECT_EQ(after->scl_inter, isMask ? 0 : -9);
        EXPECT_EQ(c.axes[std::size_t(after->freq_dim) - 1], 0);
        EXPECT_EQ(c.axes[std::size_t(after->slice_dim) - 1], 2);

        // Every corner of the new grid lies where it lay before.
        const auto expectSame = [&](const nifti_dmat44& oldSpace, const nifti_dmat44& newSpace) {
            forEach({2, 2, 2}, [&](const Index& corner) {
                for (int row = 0; row < 3; row++) {
                    double was = oldSpace.m[row][3];
                    double is = newSpace.m[row][3];
                    for (std::size_t k = 0; k < 3; k++) {
                        const double index = corner[k] * (c.dims[k] - 1);
                        is += newSpace.m[row][k] * index;
                        was += oldSpace.m[row][c.axes[k]] * (c.start[k] + c.step[k] * index);
                    }
                    EXPECT_NEAR(is, was, 1e-4);
                }
            });
        };
        nifti_dmat44 bySpacing = {};
        for (int k = 0; k < 3; k++)
            bySpacing.m[k][k] = double(steps[k]);
        if (qform > 0)
            expectSame(before->qto_xyz, after->qto_xyz);
        if (sform > 0)
            expectSame(before->sto_xyz, after->sto_xyz);
        else if (qform == 0 && !isMask)
            expectSame(bySpacing, after->sto_xyz);
        EXPECT_EQ(after->sform_code, sform > 0 || qform > 0 || isMask ? sform : NIFTI_XFORM_ALIGNED_ANAT);
    }
}
INSTANTIATE_TEST_SUITE_P(All, ZbvolumeGrid, ::testing::ValuesIn(gridCases),
                         [](const auto& test) { return test.param.name; });

TEST_F(ZbvolumeResult, cropCutsAndFills)
{
    const auto values = writeRandom<short>(1000);
    const Outcome outcome = zbvolume(
        {"crop", "v.nii", "--from", "-2", "1", "3", "--to", "4", "2", "5", "--fill", "-7", "-o", "o.hdr"});
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.value("size"), "7 x 2 x 3");
    EXPECT_EQ(outcome.value("filled"), "32");
    std::vector<short> expected;
    forEach({7, 2, 3}, [&](const Index& i) {
        const bool isInside = i[0] >= 2 && i[2] < 1;
        expected.push_back(isInside ? values[std::size_t(at(sizes, i[0] - 2, i[1] + 1, i[2] + 3))]
                                    : short(-7));
    });
    EXPECT_EQ(voxels<short>("o.img"), expected);
}

TEST_F(ZbvolumeResult, permuteMovesEveryVoxelNanToo)
{
    std::vector<float> values(std::size_t(sizes[0] * sizes[1] * sizes[2]), 1);
    for (std::size_t i = 0; i < values.size(); i += 3)
        values[i] = std::nanf("");
    writeVolume(path("v.nii"), {sizes[0], sizes[1], sizes[2]}, values);
    Index order = {0, 1, 2};
    do {
        ASSERT_EQ(zbvolume({"permute", "v.nii", "--order", std::to_string(order[0]), std::to_string(order[1]),
                            std::to_string(order[2]), "-o", "o.nii.gz"})
                      .err,
                  "");
        const auto found = voxels<float>("o.nii.gz");
        ASSERT_EQ(found.size(), values.size());
        std::size_t i = 0;
        forEach({sizes[std::size_t(order[0])], sizes[std::size_t(order[1])], sizes[std::size_t(order[2])]},
                [&](const Index& now) {
                    Index was{};
                    for (std::size_t k = 0; k < 3; k++)
                        was[std::size_t(order[k])] = now[k];
                    // niftiio reads what is no number as 0.
                    EXPECT_EQ(found[i++] == 1, values[std::size_t(at(sizes, was[0], was[1], was[2]))] == 1);
                });
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST_F(ZbvolumeResult, convertClampsTruncatesAndKeepsRealValues)
{
    writeVolume<float>(path("v.nii"), {6, 1, 1}, {-5, 0.25F, 1.9F, 300, std::nanf(""), 1e30F},
                       {.slope = 3, .offset = 1});
    const auto run = [&](const std::string& type, std::vector<std::string> extra = {}) {
        extra.insert(extra.begin(), {"convert", "v.nii", "--type", type, "-o", "o.nii"});
        return zbvolume(extra);
    };
    const Outcome bytes = run("byte", {"--offset", "1", "--scale", "2"});
    EXPECT_EQ(bytes.err, "");
    EXPECT_EQ(voxels<unsigned char>("o.nii"), (std::vector<unsigned char>{0, 2, 5, 255, 0, 255}));
    EXPECT_EQ(bytes.value("clamped"), "3");
    EXPECT_EQ(bytes.value("nan"), "1");
    // 3 * value + 1 = 1.5 * ((value + 1) * 2) - 2
    EXPECT_EQ(bytes.value("slope"), "1.5");
    EXPECT_EQ(bytes.value("offset"), "-2");
    EXPECT_EQ(read("o.nii")->scl_inter, -2);

    EXPECT_EQ(run("short").value("slope"), "3");
    EXPECT_EQ(voxels<short>("o.nii"), (std::vector<short>{-5, 0, 1, 300, 0, 32767}));
    const long long least = std::numeric_limits<long long>::min();
    EXPECT_EQ(run("int64").value("clamped"), "1");
    EXPECT_EQ(voxels<long long>("o.nii"),
              (std::vector<long long>{-5, 0, 1, 300, least, std::numeric_limits<long long>::max()}));
    EXPECT_EQ(run("double").value("clamped"), "0");
    EXPECT_EQ(voxels<double>("o.nii")[3], 300);
    EXPECT_EQ(run("byte", {"--scale", "1e-60"}).value("slope"), "1");  // 3e60 is no slope of a header
}

TEST_F(ZbvolumeResult, keepsWide64BitVoxels)
{
    const std::vector<long long> values = {1LL << 53, -(1LL << 53), 7, 0};
    writeVolume(path("v.nii"), {2, 2, 1}, values);
    ASSERT_EQ(zbvolume({"permute", "v.nii", "--order", "0", "2", "1", "-o", "o.nii"}).err, "");
    EXPECT_EQ(voxels<long long>("o.nii"), values);
    ASSERT_EQ(zbvolume({"resample", "v.nii", "--size", "4", "2", "1", "--kernel", "box", "--categories", "-o",
                        "o.nii"})
                  .err,
              "");
    EXPECT_EQ(voxels<long long>("o.nii"),
              (std::vector<long long>{values[0], values[0], values[1], values[1], 7, 7, 0, 0}));
}

TEST_F(ZbvolumeResult, resampleTakesTheKernelAndTheType)
{
    const auto values = writeRandom<unsigned char>(5);
    const auto run = [&](std::vector<std::string> extra) {
        extra.insert(extra.begin(), {"resample", "v.nii", "-o", "o.nii"});
        EXPECT_EQ(zbvolume(extra).err, "");
    };
    run({"--factor", "2", "--kernel", "box"});
    const auto repeated = voxels<unsigned char>("o.nii");
    std::vector<unsigned char> expected;
    forEach({14, 10, 8}, [&](const Index& i) {
        expected.push_back(values[std::size_t(at(sizes, i[0] / 2, i[1] / 2, i[2] / 2))]);
    });
    EXPECT_EQ(repeated, expected);

    run({"--size", "1", "1", "1", "--kernel", "box", "--type", "double"});
    double sum = 0;
    for (const unsigned char value : values)
        sum += value;
    EXPECT_NEAR(voxels<double>("o.nii").at(0), sum / double(values.size()), 1e-5);

    // A third of the way from one voxel to the next each kernel has weights of its own; labels take the nearer.
    writeVolume<float>(path("v.nii"), {8, 1, 1}, {0, 0, 0, 0, 90, 90, 90, 90});
    const std::pair<const char*, double> kernels[] = {
        {"box", 0.0000},       {"triangle", 30.0000}, {"bell", 31.2500},   {"mitchell", 29.0741},
        {"lanczos3", 27.1237}, {"bspline", 33.8889},  {"cubic6", 27.3333}, {"cubic8", 27.6190},
    };
    for (const auto& [kernel, value] : kernels) {
        run({"--size", "24", "1", "1", "--kernel", kernel});
        EXPECT_NEAR(voxels<float>("o.nii").at(11), value, 1e-3) << kernel;
        run({"--size", "24", "1", "1", "--kernel", kernel, "--categories"});
        for (const float label : voxels<float>("o.nii"))
            EXPECT_TRUE(label == 0 || label == 90) << kernel;
    }
}

TEST_F(ZbvolumeResult, erodeAndDilateFollowTheirRules)
{
    const auto values = writeRandom<unsigned char>(10);
    std::vector<unsigned char> protect(values.size());
    for (std::size_t i = 0; i < protect.size(); i += 2)
        protect[i] = 9;
    writeFile(path("p.raw"), bytesOf(protect));
    // A step changes a voxel that has a neighbour of the other kind along one of the axes.
    const auto step = [&](std::vector<bool> mask, bool isErosion, const std::string& axes, bool protects) {
        std::vector<bool> next = mask;
        forEach(sizes, [&](const Index& i) {
            for (std::size_t k = 0; k < 3; k++)
                for (const int side : {-1, 1}) {
                    Index n = i;
                    n[k] += side;
                    const auto here = std::size_t(at(sizes, i[0], i[1], i[2]));
                    if (axes.find("xyz"[k]) == std::string::npos || n[k] < 0 || n[k] >= sizes[k] ||
                        mask[std::size_t(at(sizes, n[0], n[1], n[2]))] == isErosion)
                        continue;
                    if (!protects || protect[here] == 0)
                        next[here] = !isErosion;
                }
        });
        return next;
    };
    for (const char* axes : {"xyz", "x", "zy"})
        for (const bool protects : {false, true})
            for (const bool isErosion : {true, false})
                for (const int iterations : {1, 2, 1000000}) {
                    if (!isErosion && (protects || std::string(axes) != "xyz"))
                        continue;
                    SCOPED_TRACE(::testing::Message() << isErosion << axes << protects << iterations);
                    std::vector<bool> mask;
                    for (const unsigned char value : values)
                        mask.push_back(isErosion ? value >= 1 : value >= 9);
                    const auto before = std::count(mask.begin(), mask.end(), true);
                    for (int i = 0; i < std::min(iterations, 20); i++)
                        mask = step(mask, isErosion, axes, protects);
                    std::vector<std::string> arguments = {isErosion ? "erode" : "dilate",
                                                          "v.nii",
                                                          "--iterations",
                                                          std::to_string(iterations),
                                                          "--threshold",
                                                          isErosion ? "0.5" : "9",
                                                          "-o",
                                                          "o.nii"};
                    if (isErosion)
                        arguments.insert(arguments.end(), {"--axes", axes});
                    if (protects)
                        arguments.insert(arguments.end(), {"--protect", "p.raw"});
                    const Outcome outcome = zbvolume(arguments);
                    EXPECT_EQ(outcome.value("before"), std::to_string(before));
                    EXPECT_EQ(outcome.value("after"),
                              std::to_string(std::count(mask.begin(), mask.end(), true)));
                    EXPECT_EQ(voxels<unsigned char>("o.nii"),
                              std::vector<unsigned char>(mask.begin(), mask.end()));
                }
}
