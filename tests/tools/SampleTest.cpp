#include "VolumeFiles.h"
#include "ZbvolumeProcess.h"

#include <QCryptographicHash>
#include <QImage>

#include <set>

using ZbvolumeSample = ZbvolumeTest;

TEST_F(ZbvolumeSample, holdsTheObjectsItPromises)
{
    for (const char* size : {"64", "71", "128"}) {
        SCOPED_TRACE(size);
        const Outcome sample = zbvolume({"sample", "s.nii.gz", "--size", size});
        ASSERT_EQ(sample.err, "");
        for (const char* neighbours : {"6", "18", "26"}) {
            const auto count = [&](std::vector<std::string> extra) {
                std::vector<std::string> arguments = {"count",    "s.nii.gz",    "--neighbours",
                                                      neighbours, "--threshold", sample.value("threshold")};
                arguments.insert(arguments.end(), extra.begin(), extra.end());
                return zbvolume(arguments).value("objects");
            };
            EXPECT_EQ(count({}), sample.value("objects"));
            EXPECT_EQ(count({"--strong", sample.value("strong")}), sample.value("strong objects"));
        }
    }
}

TEST_F(ZbvolumeSample, hasTheSameBytesOnEveryMachine)
{
    ASSERT_EQ(zbvolume({"sample", "s.raw", "--size", "64"}).err, "");
    const std::string voxels = readFile(path("s.raw"));
    ASSERT_EQ(voxels.size(), 64U * 64 * 64);
    EXPECT_EQ(QCryptographicHash::hash(QByteArray::fromStdString(voxels), QCryptographicHash::Sha1).toHex(),
              "33dba78f799d2c113d4e29653a50c550edbab8cb");
}

TEST_F(ZbvolumeSample, demoShowsItAndWritesPictures)
{
    const Outcome demo = zbvolume({"demo", "made/by demo"});
    EXPECT_EQ(demo.status, 0);
    EXPECT_EQ(demo.err, "");
    for (const char* line : {"$ zbvolume info 'made/by demo/sample.nii.gz'\n", "objects: 40\n",
                             "voxels: 2097152\n", "written: made/by demo/objects.png\n"})
        EXPECT_NE(demo.out.find(line), std::string::npos) << line;
    for (const char* name :
         {"sample.nii.gz", "histogram.csv", "labels.nii.gz", "objects.csv", "fractions.nii.gz"})
        EXPECT_FALSE(readFile(path("made/by demo/") + name).empty()) << name;
    for (const char* name : {"histogram", "crop", "resample", "erode", "dilate", "permute"})
        EXPECT_FALSE(QImage((path("made/by demo/") + name + ".png").c_str()).isNull()) << name;
    // Forty objects in colours of their own.
    const QImage objects(path("made/by demo/objects.png").c_str());
    std::set<int> hues;
    for (int y = 0; y < objects.height(); y++)
        for (int x = 0; x < objects.width(); x++)
            if (const QColor colour = objects.pixelColor(x, y); colour.saturation() > 80)
                hues.insert(colour.hue() / 8);
    EXPECT_GE(hues.size(), 25U);

    const QJsonObject json = zbvolume({"demo", "--json"}).json();
    EXPECT_EQ(json["count"].toObject()["objects"].toInt(), 40);
    EXPECT_FALSE(readFile(path("zbvolume-demo/objects.png")).empty());
}
