#include <zblib/foundation/ZbProgressInterface.h>

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace
{

class Recorder : public ZbProgressInterface
{
public:
    void setProgressValueGlobal(float value) override { values.push_back(value); }
    void setProgressText(const QString& text) override { texts += text.toStdString() + ";"; }

    // The current range, asked from outside.
    std::pair<float, float> range()
    {
        setProgressValue(0);
        setProgressValue(1);
        const std::pair<float, float> ends(values[values.size() - 2], values.back());
        values.resize(values.size() - 2);
        return ends;
    }

    std::vector<float> values;
    std::string texts;
};

using Range = std::pair<float, float>;
using testing::ElementsAre;

}  // namespace

TEST(ZbProgressInterface, valuesFallIntoTheCurrentRange)
{
    Recorder progress;
    progress.startWorkingNoStop("all");
    progress.setProgressInfo(QString("100%"));
    progress.setProgressInfo("slice %d of %s", 3, "brain");
    progress.stopWorking();  // the whole scale never ends
    progress.subdivide({10, 20, 50});
    progress.startWorking("first");
    progress.setProgressValue(0.5F);
    progress.stopWorking();
    progress.setProgressValue(2);  // not cut
    progress.stopWorking();
    progress.stopWorking();  // the last one stays current
    EXPECT_THAT(progress.values, ElementsAre(0, 0, 0.125F, 0.25F, 1.75F, 1, 1));
    EXPECT_EQ(progress.texts, "all;100%;slice 3 of brain;first;");
}

TEST(ZbProgressInterface, subdivisionsNest)
{
    Recorder progress;
    progress.subdivide(2);
    progress.nextRange();
    progress.subdivide(4);
    progress.nextRange();
    EXPECT_EQ(progress.range(), Range(0.625F, 0.75F));
    progress.undivide();
    EXPECT_EQ(progress.range(), Range(0.5F, 1));
    progress.parentRange();
    EXPECT_EQ(progress.range(), Range(0, 1));
    progress.undivide();
    progress.parentRange();
    progress.nextRange();
    EXPECT_EQ(progress.range(), Range(0, 1));
    progress.subdivide(5);  // starts at its first part again
    EXPECT_EQ(progress.range(), Range(0, 0.2F));
}

TEST(ZbProgressInterface, degenerateBoundariesMakeOnePart)
{
    for (const ZbDArray<float>& boundaries :
         {ZbDArray<float>(), ZbDArray<float>{3}, ZbDArray<float>{3, 5, 3}, ZbDArray<float>{0, INFINITY}}) {
        Recorder progress;
        progress.subdivide({0, 1, 2});
        progress.subdivide(boundaries);
        progress.nextRange();
        EXPECT_EQ(progress.range(), Range(0, 0.5F));
        progress.undivide();
        progress.nextRange();
        EXPECT_EQ(progress.range(), Range(0.5F, 1));
    }
}

TEST(ZbProgressInterface, partsMeetTheEndsOfTheirRange)
{
    Recorder progress;
    for (int depth = 0; depth < 5000; ++depth) {  // deep trees need no recursion
        const Range whole = progress.range();
        progress.subdivide({0.1F, 0.2F, 0.7F});
        EXPECT_EQ(progress.range().first, whole.first);
        progress.nextRange();
        EXPECT_EQ(progress.range().second, whole.second);
    }
}
