#include "VolumeFiles.h"
#include "ZbvolumeProcess.h"

#include <functional>
#include <random>

namespace
{

constexpr char rawTypes[] = "byte sbyte short ushort int uint int64 uint64 float double";

// A good file of 2 x 2 x 2 shorts, after change had its way with the layout.
std::string fileOf(const std::function<void(NiftiLayout&)>& change, std::size_t voxelBytes = 16)
{
    NiftiLayout layout{.dims = {2, 2, 2}};
    change(layout);
    return headerOf(layout) + std::string(voxelBytes, '\1');
}
std::string goodFile()
{
    return fileOf([](NiftiLayout&) {});
}

struct WrongInput {
    const char* name;
    std::vector<std::string> arguments;
    std::string message;             // behind "zbvolume: "
    std::string bytes = goodFile();  // of v.nii
    friend void PrintTo(const WrongInput& c, std::ostream* out) { *out << c.name; }
};

const WrongInput wrongInputs[] = {
    {"missing", {"info", "none.nii"}, "none.nii: No such file or directory"},
    {"folder", {"info", "."}, ".: is a folder"},
    {"device", {"info", "/dev/null"}, "/dev/null: is not a regular file"},
    {"empty", {"info", "v.nii"}, "v.nii: is not a NIfTI file", ""},
    {"text", {"info", "v.nii"}, "v.nii: is not a NIfTI file", std::string(1000, 'x')},
    {"shortHeader",
     {"info", "v.nii"},
     "v.nii: is truncated inside its header: 200 bytes, 348 expected",
     goodFile().substr(0, 200)},
    {"shortHeader2",
     {"info", "v.nii"},
     "v.nii: is truncated inside its header: 500 bytes, 540 expected",
     fileOf([](NiftiLayout& l) { l.version = 2; }).substr(0, 500)},
    {"noMagic", {"info", "v.nii"}, "v.nii: is not a NIfTI file", goodFile().replace(344, 4, 4, '\0')},
    {"shortData",
     {"info", "v.nii"},
     "v.nii: is truncated: 367 bytes, 368 expected",
     fileOf([](NiftiLayout&) {}, 15)},
    {"shortSeries",
     {"info", "v.nii"},
     "v.nii: is truncated: 368 bytes, 416 expected",
     fileOf([](NiftiLayout& l) {
         l.dims = {2, 2, 2, 4};
     })},
    {"noDimensions",
     {"info", "v.nii"},
     "v.nii: has 0 dimensions, 1 to 7 expected",
     fileOf([](NiftiLayout& l) { l.dims = {}; })},
    {"negativeSize", {"info", "v.nii"}, "v.nii: has size -3 in dimension 2", fileOf([](NiftiLayout& l) {
         l.dims = {2, -3, 2};
     })},
    {"zeroFrames", {"info", "v.nii"}, "v.nii: has size 0 in dimension 5", fileOf([](NiftiLayout& l) {
         l.dims = {2, 2, 2, 1, 0};
     })},
    {"hugeSizes",
     {"info", "v.nii"},
     "v.nii: is truncated: 368 bytes, 70362301923678 expected",
     fileOf([](NiftiLayout& l) {
         l.dims = {32767, 32767, 32767};
     })},
    {"overflow", {"info", "v.nii"}, "v.nii: has sizes whose product overflows", fileOf([](NiftiLayout& l) {
         l.dims = {32767, 32767, 32767, 32767, 32767};
     })},
    {"overflow2", {"info", "v.nii"}, "v.nii: has sizes whose product overflows", fileOf([](NiftiLayout& l) {
         l.version = 2, l.dims = {2, 2, 2, std::int64_t(1) << 62};
     })},
    {"wideSize",
     {"info", "v.nii"},
     "v.nii: has size 4294967298 in dimension 1, which is too large",
     fileOf([](NiftiLayout& l) {
         l.version = 2, l.dims = {(std::int64_t(1) << 32) + 2, 1, 1};
     })},
    {"unknownType", {"info", "v.nii"}, "v.nii: unknown voxel type 999", fileOf([](NiftiLayout& l) {
         l.datatype = 999;
     })},
    {"noType", {"info", "v.nii"}, "v.nii: unknown voxel type 0", fileOf([](NiftiLayout& l) {
         l.datatype = 0;
     })},
    {"colours",
     {"info", "v.nii"},
     "v.nii: voxels of type RGB24 are not supported",
     fileOf([](NiftiLayout& l) { l.datatype = DT_RGB24; }, 24)},
    {"offsetInHeader",
     {"info", "v.nii"},
     "v.nii: has an impossible offset of the voxels",
     fileOf([](NiftiLayout& l) { l.dataOffset = 100; })},
    {"offsetBehindFile",
     {"info", "v.nii"},
     "v.nii: is truncated: 368 bytes, 1000000016 expected",
     fileOf([](NiftiLayout& l) { l.dataOffset = 1000000000; })},
    {"offsetIsNan",
     {"info", "v.nii"},
     "v.nii: has an impossible offset of the voxels",
     goodFile().replace(108, 4, "\xff\xff\xff\x7f")},
    {"offsetOverflows",
     {"info", "v.nii"},
     "v.nii: has an impossible offset of the voxels",
     fileOf([](NiftiLayout& l) { l.version = 2, l.dataOffset = std::numeric_limits<std::int64_t>::max(); })},
    {"noFrame",
     {"info", "v.nii", "--frame", "1"},
     "v.nii: has 1 frames, there is no frame 1 (the first is 0)"},
    {"negativeFrame",
     {"info", "v.nii", "--frame", "-1"},
     "v.nii: has 1 frames, there is no frame -1 (the first is 0)"},
    {"pairWithoutImage",
     {"info", "v.hdr"},
     "v.img: No such file or directory",
     headerOf({.dims = {2, 2, 2}}, false)},
    {"pairInOneFile",
     {"info", "v.nii"},
     "v.nii: is the header of a pair of files, its name must end in .hdr",
     headerOf({.dims = {2, 2, 2}}, false) + std::string(16, '\1')},
    {"wide64",
     {"info", "v.nii"},
     "v.nii: has the value 9007199254740993, and 64-bit values beyond 2^53 are not supported",
     headerOf({.dims = {1, 1, 1}, .datatype = DT_INT64}) + bytesOf<long long>({(1LL << 53) + 1})},
    {"rawShort",
     {"info", "v.nii", "--raw", "8", "8", "8", "short"},
     "v.nii: is truncated: 368 bytes, 1024 expected"},
    {"rawSkip",
     {"info", "v.nii", "--raw", "2", "2", "2", "byte", "--skip", "361"},
     "v.nii: is truncated: 368 bytes, 369 expected"},
    {"rawOverflow",
     {"info", "v.nii", "--raw", "2000000000", "2000000000", "2000000000", "byte"},
     "v.nii: the product of the sizes overflows"},
    {"rawHugeSkip",
     {"info", "v.nii", "--raw", "2", "2", "2", "byte", "--skip", "9223372036854775807"},
     "v.nii: is truncated: 368 bytes, 9223372036854775815 expected"},
    {"rawZero", {"info", "v.nii", "--raw", "2", "0", "2", "byte"}, "v.nii: size 0 is not in 1 to 2147483647"},
    {"rawType",
     {"info", "v.nii", "--raw", "2", "2", "2", "Byte"},
     std::string("v.nii: unknown voxel type 'Byte', expected one of ") + rawTypes},
    {"rawComplex",
     {"info", "v.nii", "--raw", "2", "2", "2", "complex"},
     "v.nii: voxels of type complex are not supported"},
    {"noFolder", {"histogram", "v.nii", "--png", "none/h.png"}, "none/h.png: its folder does not exist"},
    {"fileAsFolder", {"histogram", "v.nii", "--csv", "v.nii/h.csv"}, "v.nii/h.csv: Not a directory"},
    {"folderAsFile", {"histogram", "v.nii", "--csv", "."}, ".: is a folder"},
    {"labelsName",
     {"count", "v.nii", "--threshold", "1", "--labels", "l.tif"},
     "l.tif: cannot be written: its name must end in .nii, .nii.gz, .hdr, .img or .raw"},
    {"bareEnding",
     {"sample", ".nii"},
     ".nii: cannot be written: its name must end in .nii, .nii.gz, .hdr, .img or .raw"},
    {"oneNameTwice", {"histogram", "v.nii", "--csv", "h", "--png", "h"}, "h: is named for two results"},
    {"oneFileTwice", {"histogram", "v.nii", "--csv", "h", "--png", "./h"}, "./h: is named for two results"},
    {"nothingFinite",
     {"histogram", "v.nii"},
     "v.nii: has no finite value",
     headerOf({.dims = {1, 1, 1}, .datatype = DT_FLOAT32}) + "\xff\xff\xff\x7f"},
    {"cropOutside",
     {"crop", "v.nii", "--from", "0", "2", "0", "--to", "1", "5", "1", "-o", "o.nii"},
     "v.nii: has size 2 along y: the box from 0 2 0 to 1 5 1 holds none of its voxels"},
    {"cropHuge",
     {"crop", "v.nii", "--from", "0", "0", "0", "--to", "2000000000", "2000000000", "9", "-o", "o.nii"},
     "v.nii: not enough memory for the result"},
    {"cropTooWide",
     {"crop", "v.nii", "--from", "-2000000000", "0", "0", "--to", "2000000000", "1", "1", "-o", "o.nii"},
     "v.nii: the box from -2000000000 0 0 to 2000000000 1 1 is too large"},
    {"cropFill",
     {"crop", "v.nii", "--from", "0", "0", "0", "--to", "1", "1", "2", "--fill", "0.5", "-o", "o.nii"},
     "v.nii: has voxels of type short, which cannot be 0.5"},
    {"pictureOntoInput", {"histogram", "v.nii", "--png", "./v.nii"}, "./v.nii: is the file that is read"},
    {"resampleHuge",
     {"resample", "v.nii", "--factor", "1e9", "-o", "o.nii.gz"},
     "v.nii: cannot have 2000000000 voxels along x"},
    {"resampleTooWide",
     {"resample", "v.nii", "--factor", "1e99", "-o", "o.nii.gz"},
     "v.nii: cannot have 2e+99 voxels along x"},
    {"protectMissing",
     {"erode", "v.nii", "--threshold", "1", "--protect", "p.raw", "-o", "o.nii"},
     "p.raw: No such file or directory"},
    {"protectSize",
     {"erode", "v.nii", "--raw", "3", "2", "1", "byte", "--threshold", "1", "--protect", "v.nii", "-o",
      "o.nii"},
     "v.nii: has 2 x 2 x 2 voxels, 3 x 2 x 1 expected"},
    {"erodeNan",
     {"erode", "v.nii", "--threshold", "1", "-o", "o.nii"},
     "v.nii: has 1 voxels that are not a number; --nan-background takes them as background",
     headerOf({.dims = {1, 1, 1}, .datatype = DT_FLOAT32}) + "\xff\xff\xff\x7f"},
    {"resultName",
     {"convert", "v.nii", "--type", "byte", "-o", "o.png"},
     "o.png: cannot be written: its name must end in .nii, .nii.gz, .hdr, .img or .raw"},
    {"resultOverItself",
     {"permute", "v.nii", "--order", "0", "1", "2", "-o", "o.nii", "--png", "./o.nii"},
     "./o.nii: is named for two results"},
    {"lineFeed", {"info", "a\nb"}, "a b: No such file or directory"},
};

class ZbvolumeWrongInput : public ZbvolumeTest, public ::testing::WithParamInterface<WrongInput>
{
};

}  // namespace

TEST_P(ZbvolumeWrongInput, givesOneLineAndNothingElse)
{
    writeFile(path("v.nii"), GetParam().bytes);
    if (GetParam().arguments[1] == "v.hdr")
        std::rename(path("v.nii").c_str(), path("v.hdr").c_str());
    const auto before = files();
    const Outcome outcome = zbvolume(GetParam().arguments);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "zbvolume: " + GetParam().message + "\n");
    EXPECT_EQ(files(), before);
}
INSTANTIATE_TEST_SUITE_P(All, ZbvolumeWrongInput, ::testing::ValuesIn(wrongInputs),
                         [](const auto& test) { return test.param.name; });

using ZbvolumeBytes = ZbvolumeTest;

TEST_F(ZbvolumeBytes, damagedCompressedFilesAreRefused)
{
    const auto complaint = [&](const std::string& bytes) {
        writeFile(path("v.nii.gz"), bytes);
        return zbvolume({"info", "v.nii.gz"}).err;
    };
    // Noise does not compress, so that the length of the stream is that of the voxels and a little more. Where
    // its last bytes, the check sum, begin a buffer of the decoder, they are read only by who asks for more.
    std::mt19937 random(1);
    std::string whole;
    for (std::int64_t length = 20000; whole.size() % 8192 < 1 || whole.size() % 8192 > 7; length++) {
        std::vector<short> values(std::size_t(length), 0);
        for (short& value : values)
            value = short(random());
        whole = compressed(headerOf({.dims = {length}}) + bytesOf(values), path("scratch"));
        ASSERT_LT(length, 25000);
    }
    EXPECT_EQ(complaint(whole), "");
    EXPECT_EQ(complaint(whole.substr(0, whole.size() / 2)).find("zbvolume: v.nii.gz: is truncated: "), 0U);
    std::string flipped = whole;
    flipped[whole.size() - 6] ^= 1;  // in the check sum
    EXPECT_EQ(complaint(flipped), "zbvolume: v.nii.gz: is damaged: its compressed data does not decode\n");
    // What a few bytes cannot expand to is not even asked memory for.
    EXPECT_EQ(complaint(compressed(headerOf({.dims = {32767, 32767, 32767}}), path("scratch")))
                  .find("zbvolume: v.nii.gz: is truncated: "),
              0U);
}

TEST_F(ZbvolumeBytes, randomHeadersAreReadOrRefused)
{
    // Changes of single bytes of good headers get further than noise does.
    std::mt19937 random(7);
    for (int i = 0; i < 60; i++) {
        std::string bytes = fileOf(
            [&](NiftiLayout& l) {
                l.version = 1 + int(random() % 2);
                l.isBigEndian = random() % 2 == 0;
                l.datatype = random() % 2 == 0 ? DT_FLOAT32 : DT_INT16;
            },
            4096);
        for (auto changes = 1 + random() % 6; changes > 0; changes--)
            bytes[random() % (random() % 3 == 0 ? bytes.size() : 348)] = char(random());
        writeFile(path("v.nii"), bytes);
        const Outcome outcome = zbvolume({"count", "v.nii", "--threshold", "1", "--nan-background"});
        EXPECT_TRUE(outcome.status == 0 || outcome.status == 1) << "round " << i << ": " << outcome.err;
        EXPECT_LE(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
        EXPECT_EQ(outcome.err.empty(), outcome.status == 0);
    }
}

namespace
{

struct WrongCommand {
    const char* name;
    std::vector<std::string> arguments;
    const char* message;
    friend void PrintTo(const WrongCommand& c, std::ostream* out) { *out << c.name; }
};

const WrongCommand wrongCommands[] = {
    {"nothing", {}, "A subcommand is required (see zbvolume --help)"},
    {"unknownCommand", {"paint"}, "unknown command 'paint' (see zbvolume --help)"},
    {"noFile", {"info"}, "FILE is required (see zbvolume info --help)"},
    {"unknownOption",
     {"info", "v.nii", "--fast"},
     "The following argument was not expected: --fast (see zbvolume info --help)"},
    {"noThreshold", {"count", "v.nii"}, "--threshold is required (see zbvolume count --help)"},
    {"nanThreshold",
     {"count", "v.nii", "--threshold", "nan"},
     "--threshold: 'nan' is not a finite number (see zbvolume count --help)"},
    {"weakStrong",
     {"count", "v.nii", "--threshold", "3", "--strong", "2"},
     "--strong must not be below --threshold (see zbvolume count --help)"},
    {"cropOrder",
     {"crop", "v.nii", "--from", "1", "1", "1", "--to", "1", "0", "1", "-o", "o.nii"},
     "--from must not exceed --to along y (see zbvolume crop --help)"},
    {"noResult",
     {"convert", "v.nii", "--type", "byte"},
     "--output is required (see zbvolume convert --help)"},
    {"zeroScale",
     {"convert", "v.nii", "--type", "byte", "--scale", "0", "-o", "o.nii"},
     "--scale must not be 0 (see zbvolume convert --help)"},
    {"noSize",
     {"resample", "v.nii", "-o", "o.nii"},
     "--size or --factor is required (see zbvolume resample --help)"},
    {"axes",
     {"erode", "v.nii", "--threshold", "1", "--axes", "xx", "-o", "o.nii"},
     "--axes: some of x, y and z expected, not 'xx' (see zbvolume erode --help)"},
    {"order",
     {"permute", "v.nii", "--order", "0", "1", "1", "-o", "o.nii"},
     "--order: each of 0, 1 and 2 must be named once (see zbvolume permute --help)"},
    {"range",
     {"histogram", "v.nii", "--range", "2", "2"},
     "--range: LO must be less than HI (see zbvolume histogram --help)"},
};

class ZbvolumeWrongCommand : public ZbvolumeTest, public ::testing::WithParamInterface<WrongCommand>
{
};

}  // namespace

TEST_P(ZbvolumeWrongCommand, endsWithStatusTwo)
{
    writeFile(path("v.nii"), goodFile());
    const Outcome outcome = zbvolume(GetParam().arguments);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, std::string("zbvolume: ") + GetParam().message + "\n");
}
INSTANTIATE_TEST_SUITE_P(All, ZbvolumeWrongCommand, ::testing::ValuesIn(wrongCommands),
                         [](const auto& test) { return test.param.name; });

TEST_F(ZbvolumeBytes, numbersOutOfTheirBoundsAreAWrongCommandLine)
{
    writeFile(path("v.nii"), goodFile());
    const std::vector<std::vector<std::string>> commands = {
        {"count", "v.nii", "--threshold", "1", "--neighbours", "7"},
        {"count", "v.nii", "--threshold", "1", "--min-size", "0"},
        {"count", "v.nii", "--threshold", "many"},
        {"histogram", "v.nii", "--bins", "0"},
        {"histogram", "v.nii", "--scale", "cubic"},
        {"convert", "v.nii", "-o", "o.nii", "--type", "complex"},
        {"crop", "v.nii", "-o", "o.nii", "--from", "0", "0", "--to", "1", "1", "1"},
        {"erode", "v.nii", "-o", "o.nii", "--threshold", "1", "--iterations", "0"},
        {"resample", "v.nii", "-o", "o.nii", "--size", "0", "1", "1"},
        {"resample", "v.nii", "-o", "o.nii", "--factor", "2", "--size", "1", "1", "1"},
        {"resample", "v.nii", "-o", "o.nii", "--factor", "-1"},
        {"resample", "v.nii", "-o", "o.nii", "--factor", "2", "--kernel", "best"},
        {"histogram", "v.nii", "--csv", ""},
        {"info", "v.nii", "--big-endian"},
        {"info", "v.nii", "--raw", "2", "2", "2", "byte", "--skip", "-3"},
        {"info", "v.nii", "--raw", "2", "2", "two", "byte"},
        {"sample", "s.nii", "--size", "63"},
    };
    for (const auto& command : commands) {
        const Outcome outcome = zbvolume(command);
        EXPECT_EQ(outcome.status, 2) << command.back();
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    }
}
