#include "VolumeFiles.h"
#include "ZbvolumeProcess.h"

#include <QImage>

#include <limits>
#include <map>
#include <random>

namespace
{

class ZbvolumeHistogram : public ZbvolumeTest
{
protected:
    // The bins of the JSON object: centre and count of those that are not empty.
    std::map<double, int> bins(const QJsonObject& json)
    {
        std::map<double, int> result;
        const QJsonArray rows = json["histogram"].toArray();
        for (const auto& row : rows)
            if (const int count = row.toObject()["count"].toInt(); count > 0)
                result[row.toObject()["value"].toDouble()] = count;
        return result;
    }
};

}  // namespace

TEST_F(ZbvolumeHistogram, givesEachIntegerABinOfItsOwn)
{
    std::mt19937 random(2);
    std::vector<unsigned char> values(5000);
    std::map<double, int> expected;
    for (auto& value : values) {
        value = static_cast<unsigned char>(20 + random() % 200);
        expected[value]++;
    }
    writeVolume(path("v.nii"), {50, 100, 1}, values);
    const QJsonObject json = zbvolume({"histogram", "v.nii", "--json"}).json();
    EXPECT_EQ(bins(json), expected);
    EXPECT_EQ(json["bins"].toInt(), 200);
    EXPECT_EQ(json["bin_width"].toInt(), 1);
    EXPECT_EQ(json["voxels"].toInt(), 5000);
}

TEST_F(ZbvolumeHistogram, widensBinsOfIntegersToWholeNumbers)
{
    std::vector<short> values(100);
    for (int i = 0; i < 100; i++)
        values[std::size_t(i)] = short(i - 50);
    writeVolume(path("v.nii"), {100, 1, 1}, values);
    // 100 values in at most 7 bins: 15 values a bin, of which the last holds the 10 that are left.
    const QJsonObject json = zbvolume({"histogram", "v.nii", "--bins", "7", "--json"}).json();
    EXPECT_EQ(bins(json), (std::map<double, int>{
                              {-43, 15}, {-28, 15}, {-13, 15}, {2, 15}, {17, 15}, {32, 15}, {47, 10}}));
}

TEST_F(ZbvolumeHistogram, tellsValuesOutsideOfTheRangeApart)
{
    const float infinity = std::numeric_limits<float>::infinity();
    writeVolume<float>(path("v.nii"), {10, 1, 1},
                       {-infinity, -0.5F, 0, 0.25F, 0.5F, 0.5F, 1, 1.5F, infinity, std::nanf("")});
    const Outcome outcome =
        zbvolume({"histogram", "v.nii", "--range", "0", "1", "--bins", "4", "--ignore", "0.5"});
    EXPECT_EQ(outcome.out.substr(0, outcome.out.find("\n\n") + 1),
              "file: v.nii\nvoxels: 3\nbelow: 2\nabove: 2\nnan: 1\nignored: 2\nrange: 0 1\nbins: 4\n"
              "bin width: 0.25\nmean: 0.4583333\nmedian: 0.375\ndeviation: 0.3118048\n");
    // Without a range it is that of the finite values.
    EXPECT_EQ(zbvolume({"histogram", "v.nii"}).value("range"), "-0.5 1.5");
}

TEST_F(ZbvolumeHistogram, findsTheMedianWhereTheCountsReachOneHalf)
{
    writeVolume<short>(path("odd.nii"), {5, 1, 1}, {0, 0, 0, 1, 9});
    EXPECT_EQ(zbvolume({"histogram", "odd.nii"}).value("median"), "0");
    writeVolume<short>(path("even.nii"), {4, 1, 1}, {0, 0, 1, 9});
    EXPECT_EQ(zbvolume({"histogram", "even.nii"}).value("median"), "0.5");
}

TEST_F(ZbvolumeHistogram, takesConstantAndExtremeValues)
{
    const auto run = [&](auto value, auto other) {
        writeVolume<decltype(value)>(path("v.nii"), {3, 1, 1}, {value, value, other});
        return zbvolume({"histogram", "v.nii", "--png", "h.png"});
    };
    EXPECT_EQ(run(7.5F, 7.5F).value("bins"), "1");
    EXPECT_EQ(run(0.0, 5e-324).value("voxels"), "3");
    EXPECT_EQ(run(0U, 4294967295U).value("voxels"), "3");
    EXPECT_EQ(run(1e16, 1e16 + 2).value("voxels"), "3");
    EXPECT_EQ(run(-1.7e308, 1.7e308).err,
              "zbvolume: v.nii: has a range of values that is too wide for a histogram\n");
}

TEST_F(ZbvolumeHistogram, writesTheBinsAsCsv)
{
    writeVolume<short>(path("v.nii"), {4, 1, 1}, {-1, 0, 0, 1});
    EXPECT_EQ(zbvolume({"histogram", "v.nii", "--csv", "h.csv"}).value("written"), "h.csv");
    EXPECT_EQ(readFile(path("h.csv")), "value,low,high,count\n-1,-1.5,-0.5,1\n0,-0.5,0.5,2\n1,0.5,1.5,1\n");
}

TEST_F(ZbvolumeHistogram, drawsBarsWhereTheCountsAre)
{
    // Only the lower half of the range and its end are populated.
    std::vector<short> values(1000);
    for (std::size_t i = 0; i < values.size(); i++)
        values[i] = short(i % 100);
    values[0] = 199;
    writeVolume(path("v.nii"), {1000, 1, 1}, values);
    ASSERT_EQ(zbvolume({"histogram", "v.nii", "--png", "h.png", "--scale", "linear"}).err, "");
    const QImage image(path("h.png").c_str());
    ASSERT_EQ(image.size(), QSize(1200, 700));
    // Share of the blue of the bars in columns of the lower and of the upper half of the plot.
    const auto blue = [&](int from, int to) {
        int count = 0;
        for (int y = 110; y < 600; y++)
            for (int x = from; x < to; x++)
                count += image.pixelColor(x, y).blue() > image.pixelColor(x, y).red() + 50;
        return double(count) / (490.0 * (to - from));
    };
    EXPECT_GT(blue(150, 600), 0.85);
    EXPECT_LT(blue(700, 1100), 0.01);
}
